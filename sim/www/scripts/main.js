// scripts/main.js: starts the page that follows the login, polls the unit, and shows when the unit does
// not answer.
'use strict';

const poll = (() => {
  const POLL_MS = 2000;
  const HIDDEN_POLL_MS = 10 * POLL_MS; // while nobody sees the page
  const RETRY_MS = 4000;
  const LEAST_PAUSE_MS = 200; // leaves the unit time for other clients
  const KEEP_ALIVE_MS = 60000;
  const REBOOT_MS = 5000; // a rebooting unit does not answer sooner
  const SLOW_MS = 8000; // without any answer
  const SLOW_TURNS = 5; // polls from one request for what seldom changes to the next

  let turn = 0;
  let aliveMs = performance.now();
  let timer;
  let running = false;
  let opened = false;
  let lastAnswer = ''; // the time of day
  let rebooting = false;

  function show(state, banner) {
    const names = { ok: 'Connected', slow: 'Slow', lost: 'No answer' };
    page.write(page.byId('connection'), names[state]);
    document.body.dataset.connection = state;
    page.showMessage(page.byId('banner'), banner, 'bad');
  }

  function showOk() {
    if (['wait', 'lost'].includes(document.body.dataset.connection))
      page.showStation(); // it may be another unit now
    show('ok', '');
  }

  const stale = () => lastAnswer === '' ? '' : ` Last answer at ${lastAnswer}, this PC's time: what you see is stale.`;

  function showLost(error) {
    show('lost', rebooting ? 'The unit is rebooting. This page goes on when it answers again.'
      : `${error.message}${stale()} Trying again…`);
  }

  function watch() {
    if (document.body.dataset.connection === 'ok' && running && performance.now() - link.answeredMs() > SLOW_MS)
      show('slow', `The unit has not answered for ${SLOW_MS / 1000} seconds.${stale()}`);
  }

  async function keepAlive() {
    if (rights.reason('read') !== '' || performance.now() - aliveMs < KEEP_ALIVE_MS)
      return;
    aliveMs = performance.now();
    await session.keepAlive();
  }

  // The first values come first: the unit has just sent this page, so the session lives.
  async function askAll() {
    if (opened)
      await session.check();
    opened = true;
    await points.refresh();
    if (turn % SLOW_TURNS === 0) {
      await rights.refresh();
      await control.refresh();
    }
    if (turn === 0) {
      await clock.refreshZone();
      await idle.refresh();
    }
    await clock.refresh();
    await keepAlive();
  }

  function note(error) {
    turn = 0; // the rights may have changed
    if (error instanceof link.NoAnswer) {
      showLost(error);
      points.retry();
    } else {
      page.report({ kind: 'bad', text: error.message });
    }
  }

  async function run() {
    running = true;
    let pause = document.hidden ? HIDDEN_POLL_MS : POLL_MS;
    const began = performance.now();
    try {
      await askAll();
      lastAnswer = new Date().toTimeString().slice(0, 8);
      rebooting = false;
      showOk();
      ++turn;
    } catch (error) {
      note(error);
      pause = RETRY_MS;
    }
    running = false;
    schedule(Math.max(LEAST_PAUSE_MS, pause - (performance.now() - began)));
  }

  function schedule(pause) {
    clearTimeout(timer);
    timer = setTimeout(run, pause);
  }

  function expectReboot() {
    rebooting = true;
    link.rest(REBOOT_MS);
    showLost();
  }

  document.addEventListener('visibilitychange', () => {
    if (!document.hidden && !running)
      schedule(0);
  });
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
      await session.logOut('');
    } catch (error) {
      page.report({ kind: 'bad', text: `Not logged out. ${error.message}` });
      page.byId('logout').disabled = false;
    }
  }

  page.byId('logout').addEventListener('click', logOut);
  page.byId('result-close').addEventListener('click', () => page.show(page.byId('result'), false));
  document.addEventListener('rights', showUser);
  window.addEventListener('pagehide', session.notePlace);
  session.onOtherLogin(() => location.reload());
  showUser();
  rights.applyTo(document);
  tabs.openAddressed();
  poll.run();
})();
