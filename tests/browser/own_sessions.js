// own_sessions.js: the pages of a unit without a security module: the library's own sessions.
import { openUnit } from './support/visitor.js';

const { visit } = await openUnit('--security', 'off', '--coredb-version', 'coreDb: 09.12.00');

visit('from a wrong password to the logout, without an error', async (visitor, page, context) => {
  await context.test('login', async () => {
    await page.goto('/', { waitUntil: 'networkidle' });
    await visitor.submitLogin('admin', 'wrong');
    await visitor.sees('#message', /^Wrong user or password\.$/);
    await visitor.logIn('admin');
    await visitor.sees('#level', '250');
  });

  await context.test('a set point is written', async () => {
    await visitor.act('V_SETPOINT', 'set', { value: '-12.5' });
    await visitor.sees(visitor.cell('V_SETPOINT', 'value'), '-12.5');
  });

  await context.test('what the mode does not offer is disabled, with the reason', async () => {
    await visitor.openTab('users');
    await visitor.seesDisabled('#own-password', 'users', 'without its security module');
    await visitor.openTab('log');
    await visitor.seesDisabled('#log-refresh', 'log', 'without its security module');
  });

  await context.test('a file is uploaded and viewed', async () => {
    await visitor.openTab('files');
    await visitor.upload('netConfig.xml', '<netConfig><ip>192.0.2.7</ip></netConfig>');
    await page.click('[data-file="/cfgFiles/netConfig.xml"]');
    await visitor.sees('#file-content', '192.0.2.7');
    await page.click('[data-file="/nvrFiles/counters.xml"]');
    await visitor.sees('#file-content', '<counters');
  });

  await context.test('logout', () => visitor.logOut());
});

visit('an open page keeps its session alive', async (visitor, page) => {
  await page.clock.install();
  await visitor.logIn('admin');
  const kept = page.waitForResponse(answer => answer.status() === 204);
  await page.clock.fastForward('01:30');
  await kept;
});

// The unit reports its old database with a fault, which the browser reports as an error.
visit('an old database does not force with flags, and the page says so', async visitor => {
  await visitor.logIn('admin');
  await visitor.act('BUS1_FREQ', 'force', { value: '50', flags: 'TEST' });
  await visitor.sees('#dialog-result', 'not supported for this coreDb version');
  visitor.complaints = visitor.complaints.filter(what => !what.includes('500'));
});
