// host_security.js: the pages of a unit with its own security module, which counts clients as remote.
import assert from 'node:assert/strict';
import { mkdir } from 'node:fs/promises';
import { join } from 'node:path';
import { after } from 'node:test';
import { firefox } from 'playwright-core';
import { openUnit, Visitor } from './support/visitor.js';

const OPTIONS = ['--strict', 'off', '--security', 'host', '--remote'];
const WRONG = /^Wrong user or password\.$/;

const EVIL = '<img/src=x/onerror=alert(1)>';
const USERS = ['admin', EVIL, 'anna', 'bert', 'cleo', 'dora'];
const HASH = '$y$j75$IejNbE7FbCOmIBGKmS0Cb1$o1am9ZAuw2Ahn6xjPnfzNwdYROZL1SvEvbETnAfoRx5'; // of the password "admin"
const crowded = await openUnit([...OPTIONS, '--points', 'points'], {
  points: [{ type: 'analog', name: 'A', unit: '<b>V</b>', text: EVIL }],
  'mnt/flash/security/accounts': USERS.map(name => ({ name, hash: HASH, roles: ['ADMIN'], locked: false })),
});
const { unit, visit, visitAs } = await openUnit(OPTIONS);
const otherBrowser = await firefox.launch({ channel: 'moz-firefox', executablePath: '/usr/bin/firefox-esr' });
after(() => otherBrowser.close());

visit('a wrong password is reported, the fifth in a row with a warning', async (visitor, page) => {
  await page.goto('/');
  await visitor.sees('#unit-type', '512Q');
  for (let attempt = 1; attempt <= 5; ++attempt) {
    const answered = page.waitForResponse('**/index.htm');
    await visitor.submitLogin('nobody', `wrong ${attempt}`);
    await (await answered).finished();
    await visitor.sees('#message', attempt < 5 ? WRONG : 'too many failures');
  }
});

for (const [browser, value] of [[undefined, '131.75'], [otherBrowser, '132.25']])
  visitAs('operator', 'an operator sees values change, writes and operates, but no more', async visitor => {
    await visitor.sees('#level', '200');
    const current = visitor.cell('FDR1_IA', 'value');
    await visitor.sees(current, /\d/);
    const first = await current.textContent();
    await visitor.sees(current, new RegExp(`^(?!${first.replace('.', '\\.')}$)\\d`));

    await visitor.act('V_SETPOINT', 'set', { value });
    await visitor.sees(visitor.cell('V_SETPOINT', 'value'), value);
    await visitor.start('TAP1_RAISE', 'operate');
    await visitor.holdEnter(); // on Cancel: closes the dialog once, and opens none
    await visitor.act('TAP1_RAISE', 'operate', {}, 'Raise tap 1 (TAP1_RAISE): done.');

    await visitor.openTab('unit');
    await visitor.seesDisabled('#reboot', 'unit', 'level 250');
    await visitor.openTab('users');
    await visitor.sees('#panel-users [data-reason]:visible', 'Only an administrator');
    await visitor.logOut();
  }, { browser });

visitAs('operator', 'points are blocked, and forced with quality', async visitor => {
  await visitor.act('BUS1_FREQ', 'block');
  await visitor.sees(visitor.cell('BUS1_FREQ', 'quality'), 'BLOCKED');
  await visitor.act('BUS1_FREQ', 'unblock');
  await visitor.sees(visitor.cell('BUS1_FREQ', 'quality'), 'GOOD');
  await visitor.act('BRK1_POS', 'force', { value: '1', flags: 'TEST,OLD' });
  await visitor.sees(visitor.cell('BRK1_POS', 'quality'), 'TEST,OLD');
  await visitor.act('BRK1_POS', 'unblock');
});

visitAs('operator', 'a command is refused while the unit is under local control', async (visitor, page) => {
  await unit.call('fnPut', { binContName: 'coreDb', function: 'setLR', arg: 'L' });
  await visitor.sees('#control', 'Local');
  await visitor.act('TAP1_RAISE', 'operate', {}, 'refused: the unit is under local control');
  await visitor.sees('#dialog-result', 'refused: the unit is under local control');
  await page.click('#dialog-cancel');
  await unit.call('fnPut', { binContName: 'coreDb', function: 'setLR', arg: 'R' });
  await visitor.act('TAP1_RAISE', 'operate');
  await visitor.openTab('log');
  await visitor.sees('#log-lines', 'refused under local control: a command or set point, by "operator"');
  await visitor.sees('#log-lines', 'force: 0: "command" "TAP1_RAISE" to "1", by "operator"');
});

visitAs('engineer', 'a configuration file is uploaded and read back', async (visitor, page) => {
  await visitor.openTab('files');
  const content = '<site name="Überlandwerk">\n  <bay/>\n</site>\n';
  await visitor.upload('site.xml', content);
  await visitor.view('site.xml', 'Überlandwerk');
  assert.equal(await page.textContent('#file-content'), content);
  await visitor.upload('site.xml', '<site name="Smith &amp; Sons"/>', 'Not sent: site.xml. The file contains "&"');
  await mkdir(join(unit.state, 'mnt/flash/cfgFiles/fixed.xml')); // cannot be written
  await visitor.upload('fixed.xml', '<fixed/>', 'NOT written');
  await page.click('#dialog-cancel');
  await visitor.upload('userLogin.xml', '<users/>', 'not known whether it was written');
  assert.equal(await page.getAttribute('#result', 'data-kind'), 'unsure');
  await page.click('#dialog-cancel');
  await visitor.upload('points.xml', '<points>', 'Not sent: points.xml. The list of points is damaged');
  const trap = '<html><body onLoad=window.location.href=\'/index.htm?u=is\'></body></html>'; // as of an ended session
  await visitor.upload('trap.xml', trap);
  await visitor.view('trap.xml', trap);
  visitor.forgive(/userLogin|ERR_EMPTY_RESPONSE|inline style/);
});

visitAs('admin', 'an administrator takes roles, locks, and sets a password', async (visitor, page) => {
  const refused = async (password, explanation) => {
    const other = await Visitor.meet(unit);
    await other.isRefused('viewer', password, explanation);
    await other.leave();
  };
  await visitor.openTab('users');
  await visitor.act('viewer', 'roles', { VIEWER: false }, 'Roles of viewer, VIEWER → none: done');
  await refused('viewer', 'no right to use');
  await visitor.act('viewer', 'roles', { VIEWER: true });
  await visitor.act('viewer', 'lock');
  await visitor.sees(visitor.row('viewer'), 'LOCKED');
  await refused('viewer', WRONG);
  await visitor.act('viewer', 'unlock');
  await visitor.sees(visitor.row('viewer'), 'open');
  const secret = { password: 'a new secret', repeated: 'a new secret' };
  await visitor.act('viewer', 'password', secret, 'Password of viewer: done');
  await refused('viewer', WRONG);
  await visitor.start('admin', 'roles');
  await page.uncheck('#dialog-ADMIN');
  await visitor.sees('#dialog-result', 'Type admin');
  await page.fill('#dialog-check', 'admin');
  await page.click('#dialog-confirm');
  await visitor.sees('#dialog-result', 'no administrator');
  await page.click('#dialog-cancel');
  await visitor.logOut();
  await visitor.logIn('viewer', 'a new secret');
});

visitAs('engineer', 'the clock is set, the log shows it, and the page recovers from a reboot', async (visitor, page) => {
  await visitor.openTab('unit');
  await page.click('#clock-set');
  await page.fill('#dialog-time', '2031-02-03T04:05:06');
  await page.click('#dialog-confirm');
  await visitor.sees('#unit-clock', '2031-02-03 04:05:');
  await visitor.sees('#unit-version', /\d/);
  await visitor.openTab('log');
  await visitor.sees('#log-lines', 'clock: set');
  await visitor.openTab('unit');
  await page.click('#clock-pc');
  await visitor.sees('#dialog-text', /^2031-02-03 04:05:\d\d → 20.* \(unit: UTC\+00:00; this PC: UTC/);
  await page.click('#dialog-confirm');
  await visitor.sees('#unit-clock-difference', 'the same');

  await page.click('#reboot');
  await page.click('#dialog-confirm');
  await visitor.sees('#banner', 'rebooting');
  await visitor.isSentToLogin('is', 'restarted');
});

visitAs('operator', 'the page reports that the service has stopped, and that it is back', async visitor => {
  await unit.end();
  await visitor.sees('#banner', 'does not answer');
  await visitor.sees('#connection', 'No answer');
  await visitor.sees(visitor.cell('BRK1_POS', 'quality'), 'STALE');
  await visitor.screenshot('lost');
  await unit.begin(unit.port);
  await visitor.isSentToLogin('is', 'ended');
  visitor.forgive(/ERR_(CONNECTION_REFUSED|EMPTY_RESPONSE|CONNECTION_RESET|SOCKET_NOT_CONNECTED)/);
});

visit('ten requests bring the first values, then one per type and cycle', async (visitor, page) => {
  const types = () => visitor.asked.flatMap(text => /MultData.*<inputType>(.*)<\/inputType>/s.exec(text)?.[1] ?? []);
  await visitor.logIn('viewer', 'a new secret');
  while (types().length < 12)
    await page.waitForRequest('**/');
  const place = part => visitor.asked.findIndex(text => text.includes(part));
  assert.equal(place('getRbacPerm') - place('/index.htm cgiMethod'), 10);
  const cycle = types().slice(0, 4);
  assert.deepEqual([...cycle].sort(), ['analog', 'command', 'setPoint', 'status']);
  assert.deepEqual(types().slice(4, 12), [...cycle, ...cycle]);
});

// A hostile unit's names and texts are shown as they are, and nothing in them runs.
crowded.visitAs('admin', 'texts are never markup', async (visitor, page) => {
  await visitor.sees('[data-cell="text"]', EVIL);
  await visitor.act('A', 'force', { value: '1', flags: 'TEST' });
  await visitor.openTab('users');
  await visitor.sees('#users-rows', EVIL);
  await visitor.openTab('files');
  await visitor.upload('evil.xml', EVIL);
  await visitor.view('evil.xml', EVIL);
  await crowded.unit.logIn(EVIL, 'admin');
  await visitor.openTab('log');
  await visitor.sees('#log-lines', EVIL);
  assert.equal(await page.locator('main img, main b').count(), 0);
});

crowded.visit('a sixth login is refused', async visitor => {
  for (const user of USERS.slice(0, 5))
    await crowded.unit.logIn(user, 'admin');
  await visitor.isRefused(USERS[5], 'admin', 'Too many people');
});
