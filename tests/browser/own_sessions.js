// own_sessions.js: the pages of a unit without a security module: the library's own sessions.
import assert from 'node:assert/strict';
import { setTimeout as sleep } from 'node:timers/promises';
import { openUnit } from './support/visitor.js';

const { visit, visitAs } = await openUnit(['--security', 'off', '--coredb-version', 'coreDb: 09.12.00']);

visitAs('admin', 'from the login to the logout, without an error', async (visitor, page) => {
  await visitor.sees('#level', '250');
  await visitor.act('V_SETPOINT', 'set', { value: '-12.5' });
  await visitor.sees(visitor.cell('V_SETPOINT', 'value'), '-12.5');

  // What the mode does not offer is disabled, with the reason.
  for (const [tab, button] of [['users', '#own-password'], ['log', '#log-refresh']]) {
    await visitor.openTab(tab);
    await visitor.seesDisabled(button, tab, 'without its security module');
  }

  await visitor.openTab('files');
  await visitor.upload('netConfig.xml', '<netConfig><ip>192.0.2.7</ip></netConfig>');
  await page.click('[data-file="/cfgFiles/netConfig.xml"]');
  await visitor.sees('#file-content', '192.0.2.7');
  await page.click('[data-file="/nvrFiles/counters.xml"]');
  await visitor.sees('#file-content', '<counters');
  await visitor.logOut();
});

visit('an open page keeps its session alive, until nobody has used it for as long as the unit allows', async (visitor, page) => {
  await page.clock.install();
  await visitor.logIn('admin');
  const kept = page.waitForResponse(answer => answer.status() === 204);
  await page.clock.fastForward('01:30');
  await kept;
  await page.clock.fastForward('12:45');
  await visitor.sees('#idle', /ends at \d\d:\d\d:\d\d/);
  await page.keyboard.press('Shift');
  await page.locator('#idle').waitFor({ state: 'hidden' });
  await page.clock.fastForward('15:00');
  await visitor.isSentToLogin('to', 'timed out');
});

visitAs('admin', 'the example page shows a value and operates', async (visitor, page) => {
  await page.goto('/example.htm');
  await visitor.sees('#current', /^\d+(\.\d+)? A, GOOD/);
  await page.click('#open');
  await page.click('#dialog-confirm');
  await visitor.sees('#result', 'Open breaker 1: done.');
  await visitor.logOut();
});

visitAs('admin', 'a hidden page asks at a tenth, and at once when it is seen', async (visitor, page) => {
  const see = seen => page.evaluate(hidden => {
    Object.defineProperty(document, 'hidden', { value: hidden, configurable: true });
    document.dispatchEvent(new Event('visibilitychange'));
  }, !seen);
  await see(false);
  await page.waitForRequest('**/session.htm'); // of the pause that has begun
  const before = visitor.count('/session.htm');
  await sleep(5000);
  assert.equal(visitor.count('/session.htm'), before);
  await page.locator('#no-start').waitFor({ state: 'hidden' }); // by now an old browser would show it
  await see(true);
  await page.waitForRequest('**/session.htm', { timeout: 1500 });
});

// By browser: what it does to the page before its scripts run.
const OLD = {
  'without dialogs': page => page.addInitScript(() => delete window.HTMLDialogElement.prototype.showModal),
  'without the syntax': page => page.route('**/login.js', route => route.fulfill({ body: 'let a = 1 ??? 2;' })),
};
for (const [browser, age] of Object.entries(OLD))
  visit(`a browser ${browser} says that it is too old`, async (visitor, page) => {
    await age(page);
    await page.goto('/');
    await visitor.sees('#no-start:visible', 'a later browser');
    visitor.forgive(/too old|SyntaxError/);
  });

visit('a page in a frame shows nothing', async (visitor, page) => {
  await page.goto('/', { waitUntil: 'networkidle' });
  await page.evaluate(() => document.body.append(Object.assign(document.createElement('iframe'), { src: '/' })));
  const frame = page.frameLocator('iframe');
  await frame.locator('html[hidden]').waitFor({ state: 'attached' });
  await frame.locator('#user').waitFor({ state: 'hidden' });
});

// The unit reports its old database with a fault, which the browser reports as an error.
visitAs('admin', 'an old database does not force with flags, and the page says so', async visitor => {
  await visitor.act('BUS1_FREQ', 'force', { value: '50', flags: 'TEST' }, 'not supported for this coreDb version');
  await visitor.sees('#dialog-result', 'not supported for this coreDb version');
  visitor.forgive(/500/);
});
