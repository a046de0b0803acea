// visitor.js: drives a real browser as a person would, and collects every error that it reports.
import assert from 'node:assert/strict';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { chromium } from 'playwright-core';
import { Unit } from './unit.js';

const { SCREENSHOTS } = process.env; // a folder; set by CTest
const PATIENCE_MS = 15000;
const HELD = 50; // repeats of a held key; even, so that a dialog that they close and open again stays open

const PANEL = { width: 1024, height: 768 };

const chrome = await chromium.launch({
  executablePath: '/usr/bin/chromium',
  args: ['--disable-gpu', '--disable-quic', '--disable-sync'], // no network traffic of the browser's own
});
after(() => chrome.close());

// Starts a unit for the tests of a file. Returns it, and the functions that define a test with a new visitor, who in
// one of them has logged in. Such a test fails when the browser reports an error.
export async function openUnit(options, files) {
  const unit = await Unit.start(options, files);
  after(() => unit.stop());
  const visit = (name, steps, look) => test(name, async context => {
    const visitor = await Visitor.meet(unit, look);
    await steps(visitor, visitor.page, context);
    await visitor.leave();
  });
  const visitAs = (user, name, steps, look) => visit(name, async (visitor, page, context) => {
    await visitor.logIn(user);
    await steps(visitor, page, context);
  }, look);
  return { unit, visit, visitAs };
}

export class Visitor {
  asked = []; // address and body of all requests
  complaints = [];

  static async meet(unit, { browser = chrome, ...look } = {}) {
    const visitor = new Visitor();
    visitor.context = await browser.newContext({ baseURL: unit.address, viewport: PANEL, ...look });
    visitor.context.setDefaultTimeout(PATIENCE_MS);
    const page = await visitor.context.newPage();
    visitor.page = page;
    const complain = what => visitor.complaints.push(what);
    page.on('console', message => { // also of requests without an answer, and of answers from 400 on
      if (['error', 'warning'].includes(message.type()))
        complain(`console: ${message.text()} ${message.location().url}`);
    });
    page.on('request', request => visitor.asked.push(`${request.url()} ${request.postData()}`));
    page.on('dialog', dialog => complain(`dialog: ${dialog.message()}`));
    page.on('pageerror', error => complain(`script: ${error.stack || error}`));
    return visitor;
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

  count = text => this.asked.filter(request => request.includes(text)).length;

  // ---- What a person does ----

  async holdEnter() {
    for (let times = 0; times < HELD; ++times, await sleep(30))
      await this.page.keyboard.down('Enter');
    await this.page.keyboard.up('Enter');
  }

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
  async act(name, action, fields = {}, result = 'done') {
    await this.start(name, action);
    for (const [field, value] of Object.entries(fields))
      if (typeof value === 'boolean')
        await this.page.setChecked(`#dialog-${field}`, value);
      else
        await this.page.fill(`#dialog-${field}`, value);
    await this.page.click('#dialog-confirm');
    await this.sees('#result', result);
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
