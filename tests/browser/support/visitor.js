// visitor.js: drives a real browser as a person would, and collects every error that it reports.
import assert from 'node:assert/strict';
import { mkdir } from 'node:fs/promises';
import { join } from 'node:path';
import { chromium } from 'playwright-core';

const { SCREENSHOTS } = process.env; // a folder; set by CTest
const PATIENCE_MS = 15000;

// Without a sandbox, which cannot be had as root, and without the browser's own network traffic.
const FLAGS = ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];

export const PANEL = { width: 1024, height: 768 };
export const PHONE = { width: 375, height: 812 };

export async function openBrowser() {
  await mkdir(SCREENSHOTS, { recursive: true });
  return chromium.launch({ executablePath: '/usr/bin/chromium', args: FLAGS });
}

export class Visitor {
  complaints = [];

  static async meet(browser, unit, options = {}) {
    const visitor = new Visitor();
    visitor.context = await browser.newContext({ baseURL: unit.address, viewport: PANEL, ...options });
    visitor.context.setDefaultTimeout(PATIENCE_MS);
    visitor.page = await visitor.context.newPage();
    visitor.#listen();
    return visitor;
  }

  #listen() {
    const complain = what => this.complaints.push(what);
    this.page.on('console', message => {
      if (['error', 'warning'].includes(message.type()))
        complain(`console: ${message.text()}`);
    });
    this.page.on('dialog', dialog => complain(`dialog: ${dialog.message()}`));
    this.page.on('pageerror', error => complain(`script: ${error.stack}`));
    this.page.on('requestfailed', request =>
      complain(`request: ${request.method()} ${request.url()}: ${request.failure().errorText}`));
    this.page.on('response', answer => {
      if (answer.status() >= 400)
        complain(`answer: ${answer.url()}: ${answer.status()}`);
    });
  }

  async leave() {
    const complaints = [...this.complaints]; // requests that the close cuts off do not count
    await this.context.close();
    assert.deepEqual(complaints, []);
  }

  // ---- What a person does ----

  async submitLogin(user, password = user) {
    await this.page.fill('#user', user);
    await this.page.fill('#password', password);
    await this.page.press('#password', 'Enter');
  }

  async logIn(user, password) {
    await this.page.goto('/', { waitUntil: 'networkidle' }); // waits for the icon as well
    await this.submitLogin(user, password);
    await this.page.waitForURL('**/QOPweb.htm*');
    await this.sees('#connection', 'Connected');
  }

  openTab = name => this.page.click(`#tab-${name}`);
  row = point => this.page.locator(`[data-point="${point}"]`);
  cell = (point, name) => this.row(point).locator(`[data-cell="${name}"]`);

  // Starts an action on a point, fills in the dialog's fields, and confirms it.
  async act(point, action, fields = {}) {
    await this.row(point).locator(`[data-action="${action}"]`).click();
    for (const [name, value] of Object.entries(fields))
      await this.page.fill(`#dialog-${name}`, value);
    await this.page.click('#dialog-confirm');
  }

  async upload(name, content) {
    await this.page.setInputFiles('#upload-file', { name, mimeType: 'text/xml', buffer: Buffer.from(content) });
    await this.page.click('#upload-submit');
  }

  async logOut() {
    await this.page.click('#logout');
    await this.page.waitForURL('**/index.htm', { waitUntil: 'networkidle' });
  }

  // ---- What a person sees ----

  // Waits until the text of an element contains or matches this.
  async sees(where, text) {
    const element = typeof where === 'string' ? this.page.locator(where) : where;
    try {
      await element.filter({ hasText: text }).first().waitFor();
    } catch {
      const there = await element.first().textContent({ timeout: 1000 }).catch(() => 'nothing');
      assert.fail(`${text} is not seen at ${element}, but: ${there}`);
    }
  }

  // Checks that an element is disabled and that its panel shows the reason.
  async seesDisabled(where, panel, reason) {
    assert.ok(await this.page.isDisabled(where), `${where} is enabled`);
    await this.sees(`#panel-${panel} [data-reason]:visible`, reason);
  }

  async isSentToLogin(code, explanation) {
    await this.page.waitForURL(`**/index.htm?u=${code}`);
    await this.sees('#message', explanation);
  }

  screenshot = name => this.page.screenshot({ path: join(SCREENSHOTS, `${name}.png`) });
}
