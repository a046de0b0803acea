// unit.js: a new reference unit for a test, on a free port of the loopback address.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdir, mkdtemp, rm, writeFile } from 'node:fs/promises';
import { request } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

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

// Ends a program that takes too long. Returns the function that stops the clock.
function impatientWith(child) {
  const timer = setTimeout(() => child.kill('SIGKILL'), PATIENCE_MS);
  return () => clearTimeout(timer);
}

async function isReady(child) {
  const relax = impatientWith(child);
  const lines = createInterface({ input: child.stdout });
  const ready = await new Promise(resolve => {
    lines.on('line', line => line.startsWith('Unit ready') && resolve(true));
    lines.on('close', () => resolve(false)); // the unit has ended
  });
  relax();
  return ready;
}

const base64 = text => encodeURIComponent(Buffer.from(text).toString('base64'));

function envelope(operation, fields, authentication) {
  const escaped = text => String(text).replace(/[&<>]/g, sign => `&#${sign.charCodeAt(0)};`);
  const elements = Object.entries(fields).map(([name, text]) => `<${name}>${escaped(text)}</${name}>`);
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
    this.#child.stderr.setEncoding('utf8').on('data', text => this.#log += text);
    this.port = port;
    this.address = `http://127.0.0.1:${port}`;
    return isReady(this.#child);
  }

  // Ends the unit as Ctrl-C does. Throws unless the exit status is 0, as it is not after a sanitizer's
  // report.
  async end() {
    const ended = once(this.#child, 'exit');
    const relax = impatientWith(this.#child);
    this.#child.kill('SIGINT');
    const [status] = await ended;
    relax();
    if (status !== 0)
      throw new Error(`the unit ended with status ${status}:\n${this.#log}`);
  }

  async stop() {
    await this.end();
    await rm(this.state, { recursive: true });
  }

  // Posts a body without a browser, from localAddress if it is given.
  async post(body, headers, localAddress) {
    const sent = request(this.address, { method: 'POST', headers, localAddress });
    sent.end(body);
    const [answer] = await once(sent, 'response');
    let text = '';
    for await (const part of answer.setEncoding('utf8'))
      text += part;
    return { headers: answer.headers, text };
  }

  // Returns the result of an operation; throws on a fault.
  async call(operation, fields = {}) {
    return this.callWith({}, operation, fields, 'admin:admin');
  }

  // The same with further headers, and from localAddress if it is given.
  async callWith(headers, operation, fields, authentication, localAddress) {
    const { text } = await this.post(envelope(operation, fields, authentication),
      { 'Content-Type': 'text/xml; charset=utf-8', ...headers }, localAddress);
    const found = /<return>(.*)<\/return>/s.exec(text);
    if (found === null)
      throw new Error(`${operation}: ${text}`);
    return found[1];
  }

  // Logs in and returns the id of the new session.
  async logIn(user, password, localAddress) {
    const { headers, text } = await this.post(
      `cgiMethod=${base64('cgiLogin')}&arg1=${base64(user)}&arg2=${base64(password)}`,
      { 'Content-Type': 'application/x-www-form-urlencoded', Accept: 'application/json' },
      localAddress);
    const found = /SESSIONID=([^;]+)/.exec(headers['set-cookie']);
    if (found === null)
      throw new Error(`${user} cannot log in: ${text}`);
    return found[1];
  }
}
