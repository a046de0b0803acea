// scripts/unit.js: the unit itself, in the header and in a section: its clock, which ticks between polls,
// local or remote control, versions, setting the clock, and reboot.
'use strict';

const clock = (() => {
  const ANSWER = /^(\d\d):(\d\d):(\d\d):(\d\d):(\d\d):(\d\d)\|(-?\d+)$/;
  const SOURCES = new Map([['1', 'set by hand'], ['2', 'not set since the start']]);
  const SLACK_MS = 500; // a request may take so long on its way
  const TICK_MS = 250;

  // The unit's local time in milliseconds, read as if it were UTC, and the moment of that reading.
  let unitMs = null;
  let seenMs = 0;
  let source = '';

  const now = () => unitMs + performance.now() - seenMs;
  const textOf = ms => new Date(ms).toISOString().slice(0, 19).replace('T', ' ');
  const text = () => unitMs === null ? '' : textOf(now());

  // This PC's local time in the same form.
  function pcMs() {
    const date = new Date();
    return date.getTime() - date.getTimezoneOffset() * 60000;
  }

  // The answer has whole seconds: move the clock only if it cannot be right.
  function adjust(ms) {
    const ahead = unitMs === null ? NaN : now() - ms;
    if (ahead >= -SLACK_MS && ahead < 1000 + SLACK_MS)
      return;
    [unitMs, seenMs] = [ms, performance.now()];
  }

  function difference() {
    const seconds = Math.round((now() - pcMs()) / 1000);
    if (Math.abs(seconds) <= 1)
      return 'the same as on this PC';
    const days = Math.floor(Math.abs(seconds) / 86400);
    const amount = days > 0 ? `${days} days and more` : `${Math.abs(seconds)} s`;
    return `${amount} ${seconds > 0 ? 'ahead of' : 'behind'} this PC`;
  }

  function tick() {
    if (unitMs === null || document.body.dataset.connection === 'lost')
      return;
    page.write(page.byId('clock'), text());
    page.write(page.byId('unit-clock'), text());
    page.write(page.byId('unit-clock-difference'), difference());
    page.write(page.byId('unit-time-source'), source);
  }

  async function refresh() {
    if (rights.reason('read') !== '')
      return;
    const match = ANSWER.exec(await soap.poll('thmGetInfo') || '');
    if (match === null)
      return;
    const [year, month, day, hour, minute, second] = match.slice(1, 7).map(Number);
    adjust(Date.UTC(2000 + year, month - 1, day, hour, minute, second));
    source = `${match[7]} (${SOURCES.get(match[7]) || 'of the unit'})`;
    tick();
  }

  setInterval(tick, TICK_MS);
  return { refresh, text, pcText: () => textOf(pcMs()) };
})();

// Local or remote control.
const control = (() => {
  const NAMES = new Map([['L', 'Local'], ['R', 'Remote'], ['U', 'Unknown']]);
  const MEANINGS = new Map([
    ['L', 'The unit is operated on site: it refuses commands and set points from remote clients.'],
    ['R', 'The unit may be operated over the network.'],
  ]);
  const QUESTION =
    { binContName: 'coreDb', binName: '', function: 'getLR', arg: '', timeout: 1000 };
  let unavailable = false; // the unit would refuse every further question

  function show(state, meaning) {
    for (const id of ['control', 'unit-control']) {
      page.write(page.byId(id), NAMES.get(state) || 'Not known');
      page.byId(id).dataset.state = state;
    }
    page.byId('control').title = meaning;
    page.write(page.byId('unit-control-meaning'), meaning);
  }

  async function refresh() {
    const allowed = rights.reason('write') === '';
    if (!allowed || unavailable) {
      show('', allowed ? 'The unit does not report it.' : 'Shown from access level 200.');
      return;
    }
    try {
      const state = (await soap.poll('fnPutS', QUESTION) || '').charAt(0);
      show(state, MEANINGS.get(state) || 'The unit does not know: remote clients may be refused.');
    } catch (error) {
      if (!(error instanceof soap.Fault))
        throw error;
      unavailable = true;
    }
  }

  return { refresh };
})();

// The section.
(() => {
  const CLOCK_FIELD = /^20(\d\d)-(\d\d)-(\d\d)[T ](\d\d):(\d\d)(?::(\d\d))?$/;
  const MODES = new Map([
    ['host', 'the unit\'s security module'],
    ['off', 'off: everybody may call SOAP operations'],
  ]);

  function showRights() {
    page.write(page.byId('unit-security'), MODES.get(rights.mode()) || 'not known');
    page.write(page.byId('unit-level'), String(rights.level() ?? 'not known'));
  }

  async function readVersion() {
    page.showMessage(page.byId('unit-version'), await soap.call('baselineShowVer') || 'none', '');
  }

  // Takes "2026-11-21T12:00:30", with or without seconds.
  async function setClock(text) {
    const match = CLOCK_FIELD.exec(text);
    if (match === null)
      return { good: false, text: 'Enter a date and time of the years 2000 to 2099.' };
    const inputTime = match.slice(1).map(part => part || '00').join(':');
    const status = await soap.status('thmSetTime', { inputTime });
    await clock.refresh();
    return status === 0 ? { good: true, text: `Clock set to ${text.replace('T', ' ')}.` }
      : { good: false, text: `The clock was not set: the unit answered ${status}.` };
  }

  async function setAndReport(text) {
    page.reportAt(page.byId('clock-outcome'), await soap.outcomeOf(() => setClock(text)));
  }

  async function reboot() {
    // The operation needs a user and a password, but the unit only looks at the session.
    const user = session.remembered().user || 'user';
    const status = await soap.status('rtuReboot', { user, password: '' });
    if (status !== 0)
      return { good: false, text: `The unit does not reboot: it answered ${status}.` };
    session.noteReboot();
    poll.expectReboot();
    return { good: true, text: 'The unit reboots.' };
  }

  function askToReboot() {
    dialog.ask({
      title: 'Reboot the unit',
      text: () => `${page.byId('station').textContent}: the unit stops serving and monitoring until `
        + 'it has started again. Everybody is logged out.',
      confirm: 'Reboot',
      danger: true,
      action: reboot,
    });
  }

  function suggestTime() {
    if (page.byId('clock-field').value === '')
      page.byId('clock-field').value = clock.pcText().replace(' ', 'T');
  }

  page.byId('clock-form').addEventListener('submit', event => {
    event.preventDefault();
    setAndReport(page.byId('clock-field').value);
  });
  page.byId('clock-pc').addEventListener('click', () => setAndReport(clock.pcText()));
  page.byId('reboot').addEventListener('click', askToReboot);
  page.byId('panel-unit').addEventListener('shown', suggestTime);
  document.addEventListener('rights', showRights);
  tabs.loading('unit', 'read', 'unit-version', readVersion);
})();
