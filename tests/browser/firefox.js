// firefox.js: the main flow in Firefox: log in, see values change, write a set point, operate, log out.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import puppeteer from 'puppeteer-core';
import { Unit } from './support/unit.js';

test('the main flow works in Firefox', async context => {
  const unit = await Unit.start(['--security', 'host', '--remote']);
  context.after(() => unit.stop());
  const browser = await puppeteer.launch({
    browser: 'firefox',
    executablePath: '/usr/bin/firefox-esr',
    defaultViewport: { width: 1024, height: 768 },
  });
  context.after(() => browser.close());
  const page = await browser.newPage();
  const complaints = [];
  page.on('pageerror', error => complaints.push(error.message));
  const click = where => page.locator(where).click();
  const seen = (where, text) => page.waitForFunction((selector, part) =>
    document.querySelector(selector)?.textContent.includes(part), {}, where, text);

  await page.goto(unit.address);
  await page.locator('#user').fill('operator');
  await page.locator('#password').fill('operator');
  await page.keyboard.press('Enter');
  await seen('#connection', 'Connected');
  const value = '[data-point="FDR1_IA"] [data-cell="value"]';
  const first = await page.$eval(value, cell => cell.textContent);
  await page.waitForFunction((selector, text) =>
    document.querySelector(selector).textContent !== text, {}, value, first);
  const start = async (name, action) => {
    await page.locator('#filter-text').fill(name);
    await click(`[data-point="${name}"] [data-action="${action}"]`);
  };
  await start('V_SETPOINT', 'set');
  await page.locator('#dialog-value').fill('131.75');
  await click('#dialog-confirm');
  await seen('[data-point="V_SETPOINT"] [data-cell="value"]', '131.75');
  await start('TAP1_RAISE', 'operate');
  for (let held = 0; held < 50; ++held)
    await page.keyboard.down('Enter'); // on Cancel: closes the dialog once, and opens none
  await page.keyboard.up('Enter');
  await start('TAP1_RAISE', 'operate');
  await click('#dialog-confirm');
  await seen('#result', 'Raise tap 1 (TAP1_RAISE): done.');
  await click('#logout');
  await seen('#submit', 'Log in');
  assert.deepEqual(complaints, []);
});
