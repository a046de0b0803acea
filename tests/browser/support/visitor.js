// visitor.js: drives a real browser as a person would, and collects every error that it reports.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { chromium } from 'playwright-core';
import { Unit } from './unit.js';

const { SCREENSHOTS } = process.env; // a folder; set by CTest
const PATIENCE_MS = 15000;

const PANEL = { width: 1024, height: 768 };

// Opens a browser and a unit for the tests of a file. Returns the unit, and the function that defines a test
// with a new visitor; such a test fails when the browser reports an error.
export async function openUnit(...options) {
  const browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--disable-gpu', '--disable-quic', '--disable-sync'], // no network traffic of the browser's own
  });
  after(() => browser.close());
  const unit = await Unit.start(options);
  after(() => unit.stop());

  // own: the further options and the users of a unit that only this test uses. look: of the browser.
  function visit(name, steps, { own, ...look } = {}) {
    test(name, async context => {
      let visited = unit;
      if (own !== undefined) {
        visited = await Unit.start([...options, ...own.options ?? []], own.users);
        context.after(() => visited.stop());
      }
      const visitor = await Visitor.meet(browser, visited, look);
      await steps(visitor, visitor.page, context);
      await visitor.leave();
    });
  }
  return { unit, visit };
}

export class Visitor {
  complaints = [];

  static async meet(browser, unit, look) {
    const visitor = new Visitor();
    visitor.unit = unit;
    visitor.context = await browser.newContext({ baseURL: unit.address, viewport: PANEL, ...look });
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
    this.page.on('pageerror', error => complain(`script: ${error.stack || error}`));
    this.page.on('requestfailed', request => {
      const { errorText } = request.failure();
      if (errorText !== 'net::ERR_ABORTED') // the page stops a read for a command
        complain(`request: ${request.method()} ${request.url()}: ${errorText}`);
    });
    this.page.on('response', answer => {
      if (answer.status() >= 400)
        complain(`answer: ${answer.url()}: ${answer.status()}`);
    });
  }

  // Forgets errors that the test has asked for.
  forgive(expected) {
    this.complaints = this.complaints.filter(what => !expected.test(what));
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

  async isRefused(user, password, explanation) {
    await this.page.goto('/');
    await this.submitLogin(user, password);
    await this.sees('#message', explanation);
  }

  openTab = name => this.page.click(`#tab-${name}`);
  row = name => this.page.locator(`[data-point="${name}"], [data-user="${name}"]`);
  cell = (point, name) => this.row(point).locator(`[data-cell="${name}"]`);

  // A long list of points draws only the rows in sight, so a person looks for the point.
  async start(name, action) {
    if (await this.page.isVisible('#filter-text'))
      await this.page.fill('#filter-text', name);
    await this.row(name).locator(`[data-action="${action}"]`).click();
  }

  // Starts an action on a point or a user, fills in the dialog's fields, and confirms it.
  async act(name, action, fields = {}) {
    await this.start(name, action);
    for (const [field, value] of Object.entries(fields))
      if (typeof value === 'boolean')
        await this.page.setChecked(`#dialog-${field}`, value);
      else
        await this.page.fill(`#dialog-${field}`, value);
    await this.page.click('#dialog-confirm');
  }

  async upload(name, content, outcome = 'reads back as sent') {
    await this.page.setInputFiles('#upload-file', { name, mimeType: 'text/xml', buffer: Buffer.from(content) });
    await this.page.click('#upload-submit');
    if (!outcome.startsWith('Not sent'))
      await this.page.click('#dialog-confirm');
    await this.sees('#upload-outcome', outcome);
  }

  async view(name, content) {
    await this.page.fill('#view-name', name);
    await this.page.click('#view-submit');
    await this.sees('#file-content', content);
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
