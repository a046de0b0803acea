// unit.js: a new reference unit for a test, on a free port of the loopback address.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdir, mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { createInterface } from 'node:readline';

const { SIM, PRIVATE_MNT } = process.env; // set by CTest
const FIRST_PORT = 20000; // below those that the system hands out by itself
const PORTS = 9000;
const ATTEMPTS = 5; // the port may be in use
const PATIENCE_MS = 15000; // enough under a sanitizer while other tests run

// Waits for what a program does. Ends one that takes too long.
function patiently(child, event) {
  const timer = setTimeout(() => child.kill('SIGKILL'), PATIENCE_MS);
  return event.finally(() => clearTimeout(timer));
}

// Resolves to whether the unit gets ready before it ends.
async function isReady(child) {
  for await (const line of createInterface({ input: child.stdout }))
    if (line.startsWith('Unit ready'))
      return true;
  return false;
}

export class Unit {
  #child;
  #log = '';

  // files: what the unit's state folder holds as JSON, by path. The unit starts in this folder.
  static async start(options, files = {}) {
    const unit = new Unit();
    unit.options = options;
    unit.state = await mkdtemp(join(tmpdir(), 'unit-'));
    for (const [path, content] of Object.entries(files)) {
      await mkdir(join(unit.state, dirname(path)), { recursive: true });
      await writeFile(join(unit.state, path), JSON.stringify(content));
    }
    for (let attempt = 0; attempt < ATTEMPTS; ++attempt)
      if (await unit.begin(FIRST_PORT + Math.floor(Math.random() * PORTS)))
        return unit;
    throw new Error(`the unit does not start:\n${unit.#log}`);
  }

  async begin(port) {
    this.port = port;
    this.address = `http://127.0.0.1:${port}`;
    this.#child = spawn(PRIVATE_MNT, [SIM, '--port', port, '--state', this.state, ...this.options], { cwd: this.state });
    this.#child.stderr.on('data', part => this.#log += part);
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

  // Posts a body without a browser. Returns what the pattern captures in the reply, which must match.
  async #post(type, body, pattern) {
    const headers = { 'Content-Type': type, Accept: 'application/json' };
    const answer = await fetch(this.address, { method: 'POST', headers, body });
    const reply = await answer.text();
    assert.match(reply, pattern);
    return pattern.exec(reply)[1];
  }

  // Returns the result of an operation; throws on a fault.
  call(operation, fields = {}) {
    const elements = Object.entries(fields).map(([name, value]) => `<${name}>${value}</${name}>`);
    return this.#post('text/xml', '<E:Envelope xmlns:E="http://schemas.xmlsoap.org/soap/envelope/">'
      + `<E:Header><Authentication>admin:admin</Authentication></E:Header><E:Body><n:${operation} xmlns:n="urn:soapServ">`
      + `${elements.join('')}</n:${operation}></E:Body></E:Envelope>`, /<return>(.*)<\/return>/s);
  }

  // Throws unless the login succeeds.
  logIn(user, password) {
    const fields = { cgiMethod: btoa('cgiLogin'), arg1: btoa(user), arg2: btoa(password) };
    return this.#post('application/x-www-form-urlencoded', `${new URLSearchParams(fields)}`, /"success"/);
  }
}
