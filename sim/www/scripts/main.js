// scripts/main.js: starts the page that follows the login, polls the unit, and shows when the unit does
// not answer.
'use strict';

const poll = (() => {
  const POLL_MS = 2000;
  const RETRY_MS = 4000;
  const LEAST_PAUSE_MS = 200; // leaves the unit time for other clients
  const KEEP_ALIVE_MS = 60000;
  const REBOOT_MS = 5000; // a rebooting unit does not answer sooner
  const STALE_MS = 8000; // older values are marked, even if an answer may still come
  const SLOW_TURNS = 5; // polls from one request for what seldom changes to the next

  let turn = 0;
  let aliveMs = performance.now();
  let answeredMs = performance.now();
  let lastAnswer = ''; // the time of day
  let quietUntilMs = 0; // after a request to reboot
  let rebooting = false;

  function show(state, banner) {
    const names = { ok: 'Connected', lost: 'No answer' };
    page.write(page.byId('connection'), names[state]);
    document.body.dataset.connection = state;
    page.showMessage(page.byId('banner'), banner, 'bad');
  }

  function showOk() {
    if (document.body.dataset.connection === 'lost')
      page.showStation(); // the name may still be unknown, or this may be another unit now
    show('ok', '');
  }

  function showLost(error) {
    const since = lastAnswer === '' ? '' : ` Last answer at ${lastAnswer}: what you see is stale.`;
    show('lost', rebooting ? 'The unit is rebooting. This page goes on when it answers again.'
      : `${error.message}${since} Trying again…`);
  }

  function watch() {
    if (document.body.dataset.connection === 'ok' && performance.now() - answeredMs > STALE_MS)
      showLost(new Error('The unit is busy or away.'));
  }

  async function keepAlive() {
    if (rights.reason('read') !== '' || performance.now() - aliveMs < KEEP_ALIVE_MS)
      return;
    aliveMs = performance.now();
    await session.keepAlive();
  }

  async function askAll() {
    await session.check();
    if (turn % SLOW_TURNS === 0) {
      await rights.refresh();
      await control.refresh();
    }
    await clock.refresh();
    await points.refresh();
    await keepAlive();
  }

  function note(error) {
    turn = 0; // the rights may have changed
    if (error instanceof link.NoAnswer) {
      showLost(error);
      points.retry();
    } else {
      page.report({ good: false, text: error.message });
    }
  }

  async function run() {
    const began = performance.now();
    if (began < quietUntilMs) {
      setTimeout(run, quietUntilMs - began);
      return;
    }
    let pause = POLL_MS;
    try {
      await askAll();
      answeredMs = performance.now();
      lastAnswer = new Date().toTimeString().slice(0, 8);
      rebooting = rebooting && performance.now() < quietUntilMs; // the unit may answer until it goes down
      if (!rebooting)
        showOk();
      ++turn;
    } catch (error) {
      note(error);
      pause = RETRY_MS;
    }
    setTimeout(run, Math.max(LEAST_PAUSE_MS, pause - (performance.now() - began)));
  }

  function expectReboot() {
    rebooting = true;
    quietUntilMs = performance.now() + REBOOT_MS;
    showLost();
  }

  setInterval(watch, 1000);
  return { run, expectReboot };
})();

// The header, and the start.
(() => {
  function showUser() {
    const { user } = session.remembered();
    page.write(page.byId('user'), user || 'unknown user');
    const level = rights.level();
    page.write(page.byId('level'), level === null ? '' : `level ${level ?? 'unknown'}`);
  }

  async function logOut() {
    page.byId('logout').disabled = true;
    try {
      await session.logOut();
    } catch (error) {
      page.report({ good: false, text: `Not logged out. ${error.message}` });
      page.byId('logout').disabled = false;
    }
  }

  page.byId('logout').addEventListener('click', logOut);
  page.byId('result-close').addEventListener('click', () => page.show(page.byId('result'), false));
  document.addEventListener('rights', showUser);
  session.onOtherLogin(() => link.leaveFor('/QOPweb.htm'));
  showUser();
  rights.applyTo(document);
  tabs.openAddressed();
  page.showStation();
  poll.run();
})();
