// acts.js: what a person does to the unit happens once, at once or not at all, and the page says what
// became of it.
import assert from 'node:assert/strict';
import { setTimeout as sleep } from 'node:timers/promises';
import { openUnit } from './support/visitor.js';

const { unit, visit, visitAs } = await openUnit(['--strict', 'off', '--security', 'host', '--remote']);
const TAP = { inputType: 'command', inputName: 'TAP1_RAISE' };

// Never answers the page's polls. Waits until there is one.
async function holdPoll(page) {
  const isPoll = request => request.postData()?.includes('MultData');
  await page.route('**/', (route, request) => isPoll(request) || route.continue());
  await page.waitForRequest(isPoll);
}

visit('a held Enter, a double tap and a second Enter are one act', async (visitor, page) => {
  await visitor.isRefused('operator', 'wrong', 'Wrong user');
  await page.focus('#password');
  await visitor.holdEnter();
  await page.waitForLoadState('networkidle');
  assert.equal(visitor.count('/index.htm'), 2, 'logins');

  await visitor.logIn('operator');
  await page.fill('#filter-text', 'V_SETPOINT');
  await visitor.row('V_SETPOINT').locator('[data-action="set"]').focus();
  await visitor.holdEnter();
  assert.equal(visitor.count('Krunch'), 0, 'after Enter was held');
  await page.keyboard.press('Escape');
  await page.evaluate(async () => {
    document.querySelector('[data-point="V_SETPOINT"] [data-action="set"]').click();
    await new Promise(resolve => setTimeout(resolve, 300));
    document.querySelector('#dialog-confirm').click();
  });
  await sleep(500); // a write would follow
  assert.equal(visitor.count('Krunch'), 0, 'after a double tap');
  await page.route('**/', async (route, request) => {
    await sleep(request.postData().includes('Krunch') ? 500 : 0);
    await route.continue();
  });
  await page.click('#dialog-confirm', { trial: true });
  await page.press('#dialog-value', 'Enter');
  await page.press('#dialog-value', 'Enter');
  await visitor.sees('#result', 'done');
  await sleep(1000); // a second one would follow
  assert.equal(visitor.count('Krunch'), 1, 'after a second Enter');
});

visitAs('operator', 'only numbers are values; a command has its own button instead', async (visitor, page) => {
  await visitor.start('V_SETPOINT', 'set');
  await page.click('#dialog-confirm', { trial: true }); // waits until the dialog takes confirmations
  for (const text of ['', 'abc', '1,5', '1 2', '0x10', '1e999', '--1', '12.']) {
    await page.fill('#dialog-value', text);
    assert.equal(await page.isDisabled('#dialog-confirm'), text !== '12.', `"${text}"`);
  }
  await visitor.sees('#dialog-text', '132.5 kV (GOOD) → 12. kV');
  await page.click('#dialog-cancel');
  await visitor.start('TAP1_RAISE', 'operate');
  await visitor.sees('#dialog-confirm', 'Raise tap 1');
  assert.equal(await page.locator('#dialog input').count(), 0);
});

// By what happens while a command is asked for: what the page says, and the value that the unit then has.
const FATES = {
  'a poll waits for its answer': {
    meanwhile: holdPoll,
    outcome: 'Raise tap 1 (TAP1_RAISE): done.', kind: 'good', value: '1|GOOD',
  },
  'the unit hangs': {
    meanwhile: () => unit.pause(),
    outcome: 'Not sent: Raise tap 1 (TAP1_RAISE). The unit did not answer within 3 seconds.', kind: 'bad', value: '0|GOOD',
  },
  'the person cancels while the unit hangs': {
    meanwhile: () => unit.pause(),
    then: page => page.click('#dialog-cancel'),
    outcome: 'Not sent: Raise tap 1 (TAP1_RAISE). Cancelled.', kind: 'bad', value: '0|GOOD',
  },
  'the answer is lost': {
    meanwhile: page => page.route('**/', async (route, request) => {
      if (!request.postData().includes('Krunch'))
        return route.continue();
      await route.fetch();
      return route.abort();
    }),
    outcome: 'No answer: Raise tap 1 (TAP1_RAISE) may or may not have been done.', kind: 'unsure', value: '1|GOOD',
    expected: /ERR_FAILED/,
  },
};

for (const [name, { meanwhile, then, outcome, kind, value, expected = /^$/ }] of Object.entries(FATES))
  visitAs('operator', `a command while ${name}`, async (visitor, page) => {
    await unit.call('coreDbKrunchData', { ...TAP, value: 0 });
    await visitor.start('TAP1_RAISE', 'operate');
    await page.click('#dialog-confirm', { trial: true });
    await meanwhile(page);
    const asked = Date.now();
    try {
      await page.click('#dialog-confirm');
      await then?.(page);
      await visitor.sees('#result', outcome);
      assert.ok(Date.now() - asked < 10000, 'the page says it soon');
      assert.equal(await page.getAttribute('#result', 'data-kind'), kind);
    } finally {
      unit.resume();
    }
    assert.equal(await unit.call('coreDbReadData', { ...TAP, inputFormat: '' }), value);
    visitor.forgive(expected);
  });

visitAs('operator', 'a session that ends before a command says so, and the next goes on there', async (visitor, page) => {
  await visitor.openTab('unit');
  await page.click('#clock-pc');
  await holdPoll(page); // so that none sees the end of the session
  await unit.logIn('operator', 'operator');
  await page.unroute('**/');
  await page.click('#dialog-confirm');
  await visitor.isSentToLogin('is', 'ended');
  await visitor.sees('#last-report', /Not sent: Set the clock, .*\. The session has ended\./);
  await visitor.submitLogin('operator');
  await page.waitForURL('**/QOPweb.htm#unit');
  await visitor.sees('#unit-version', /\d/);
  visitor.forgive(/500/);
});
