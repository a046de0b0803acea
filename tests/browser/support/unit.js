// unit.js: a new reference unit for a test, on a free port of the loopback address.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdir, mkdtemp, rm, writeFile } from 'node:fs/promises';
import { request } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { text } from 'node:stream/consumers';

const { SIM, PRIVATE_MNT } = process.env; // set by CTest
const FIRST_PORT = 20000; // below those that the system hands out by itself
const PORTS = 9000;
const ATTEMPTS = 5; // the port may be in use
const PATIENCE_MS = 15000; // enough under a sanitizer while other tests run

// The password of all accounts that writeAccounts() makes, and its hash.
export const PASSWORD = 'a password';
const HASH = '$y$j75$IejNbE7FbCOmIBGKmS0Cb1$M/1r6nfrP1NdOw9nKQrbeUSjLTqEClQmWel3Chj7oOC';

async function writeAccounts(state, users) {
  const folder = join(state, 'mnt/flash/security');
  await mkdir(folder, { recursive: true });
  const accounts = users.map(name => ({ name, hash: HASH, roles: ['ADMIN'], locked: false }));
  await writeFile(join(folder, 'accounts'), JSON.stringify(accounts));
}

// Waits for what a program does. Ends one that takes too long.
function patiently(child, event) {
  const timer = setTimeout(() => child.kill('SIGKILL'), PATIENCE_MS);
  return event.finally(() => clearTimeout(timer));
}

// Resolves to whether the unit gets ready before it ends.
function isReady(child) {
  const lines = createInterface({ input: child.stdout });
  return new Promise(resolve => {
    lines.on('line', line => line.startsWith('Unit ready') && resolve(true));
    lines.on('close', () => resolve(false));
  });
}

const base64 = value => encodeURIComponent(Buffer.from(value).toString('base64'));

function envelope(operation, fields, authentication) {
  const elements = Object.entries(fields).map(([name, value]) => `<${name}>${value}</${name}>`);
  const header = authentication === undefined ? ''
    : `<E:Header><Authentication>${authentication}</Authentication></E:Header>`;
  return `<E:Envelope xmlns:E="http://schemas.xmlsoap.org/soap/envelope/">${header}`
    + `<E:Body><n:${operation} xmlns:n="urn:soapServ">${elements.join('')}</n:${operation}></E:Body>`
    + '</E:Envelope>';
}

export class Unit {
  #child;
  #log = '';

  constructor(options, state) {
    this.options = options;
    this.state = state; // its state folder
  }

  // users: the names of the first accounts, in place of those that the unit would make.
  static async start(options, users) {
    const unit = new Unit(options, await mkdtemp(join(tmpdir(), 'unit-')));
    if (users !== undefined)
      await writeAccounts(unit.state, users);
    for (let attempt = 0; attempt < ATTEMPTS; ++attempt)
      if (await unit.begin(FIRST_PORT + Math.floor(Math.random() * PORTS)))
        return unit;
    throw new Error(`the unit does not start:\n${unit.#log}`);
  }

  async begin(port) {
    const options = ['--port', port, '--state', this.state, ...this.options];
    this.#child = spawn(PRIVATE_MNT, [SIM, ...options], { stdio: ['ignore', 'pipe', 'pipe'] });
    this.#child.stderr.setEncoding('utf8').on('data', part => this.#log += part);
    this.port = port;
    this.address = `http://127.0.0.1:${port}`;
    return patiently(this.#child, isReady(this.#child));
  }

  // Ends the unit as Ctrl-C does. Throws unless the exit status is 0, as it is not after a sanitizer's
  // report.
  async end() {
    const ended = patiently(this.#child, once(this.#child, 'exit'));
    this.#child.kill('SIGINT');
    const [status] = await ended;
    if (status !== 0)
      throw new Error(`the unit ended with status ${status}:\n${this.#log}`);
  }

  // A paused unit accepts connections, and serves them when it goes on.
  pause = () => this.#child.kill('SIGSTOP');
  resume = () => this.#child.kill('SIGCONT');

  async stop() {
    await this.end();
    await rm(this.state, { recursive: true });
  }

  // Posts a body without a browser, from localAddress if it is given.
  async post(body, headers, localAddress) {
    const sent = request(this.address, { method: 'POST', headers, localAddress });
    sent.end(body);
    const [answer] = await once(sent, 'response');
    return { cookies: answer.headers['set-cookie'], reply: await text(answer) };
  }

  // Returns the result of an operation; throws on a fault.
  async call(operation, fields = {}) {
    return this.callWith({}, operation, fields, 'admin:admin');
  }

  // The same with further headers, and from localAddress if it is given.
  async callWith(headers, operation, fields, authentication, localAddress) {
    const { reply } = await this.post(envelope(operation, fields, authentication),
      { 'Content-Type': 'text/xml; charset=utf-8', ...headers }, localAddress);
    const found = /<return>(.*)<\/return>/s.exec(reply);
    if (found === null)
      throw new Error(`${operation}: ${reply}`);
    return found[1];
  }

  // Logs in and returns the id of the new session.
  async logIn(user, password, localAddress) {
    const { cookies, reply } = await this.post(
      `cgiMethod=${base64('cgiLogin')}&arg1=${base64(user)}&arg2=${base64(password)}`,
      { 'Content-Type': 'application/x-www-form-urlencoded', Accept: 'application/json' },
      localAddress);
    const found = /SESSIONID=([^;]+)/.exec(cookies);
    if (found === null)
      throw new Error(`${user} cannot log in: ${reply}`);
    return found[1];
  }
}
