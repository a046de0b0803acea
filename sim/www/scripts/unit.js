// scripts/unit.js: the unit itself, in the header and in a section: its clock, which ticks between polls,
// local or remote control, versions, setting the clock, and reboot.
'use strict';

// Returns the answer of one of the unit's functions, or null where the user or the unit has none to give.
async function askFunction(binContName, name) {
  const fields = { binContName, binName: '', function: name, arg: '', timeout: 1000 };
  try {
    return rights.reason('write') === '' ? await soap.call('fnPutS', fields) : null;
  } catch (error) {
    if (error instanceof soap.Fault)
      return null;
    throw error;
  }
}

const clock = (() => {
  const ANSWER = /^(\d\d):(\d\d):(\d\d):(\d\d):(\d\d):(\d\d)\|(-?\d+)$/;
  const OFFSET = /^([+-])(\d\d)(\d\d)$/;
  const SOURCES = new Map([['1', 'set by hand'], ['2', 'not set since the start']]);
  const SLACK_MS = 500; // a request may take so long on its way
  const TICK_MS = 250;
  const MINUTE_MS = 60000;

  // The unit's local time in milliseconds, read as if it were UTC, and the moment of that reading.
  let unitMs = null;
  let seenMs = 0;
  let source = '';
  let offset = null; // of the unit's local time from UTC, in minutes

  const pcOffset = () => -new Date().getTimezoneOffset();
  const now = () => unitMs + performance.now() - seenMs;
  const textOf = ms => new Date(ms).toISOString().slice(0, 19).replace('T', ' ');
  const text = () => unitMs === null ? '' : textOf(now());

  // This PC's time as a clock in the unit's zone shows it, or in the PC's own if the unit tells none.
  const pcMs = () => Date.now() + (offset ?? pcOffset()) * MINUTE_MS;

  function zoneText(minutes) {
    const clockText = textOf(Math.abs(minutes) * MINUTE_MS).slice(11, 16);
    return `UTC${minutes < 0 ? '-' : '+'}${clockText}`;
  }

  const zones = () => `unit: ${offset === null ? 'zone not known' : zoneText(offset)}; this PC: `
    + `${zoneText(pcOffset())}, ${Intl.DateTimeFormat().resolvedOptions().timeZone}`;

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
    if (unitMs === null || ['slow', 'lost'].includes(document.body.dataset.connection))
      return;
    page.write(page.byId('clock'), text());
    page.write(page.byId('clock-zone'), offset === null ? '' : zoneText(offset));
    page.write(page.byId('unit-clock'), text());
    page.write(page.byId('unit-clock-difference'), difference());
    page.write(page.byId('unit-zones'), zones());
    page.write(page.byId('unit-time-source'), source);
    dialog.update(); // it may show the time
  }

  async function refresh() {
    if (rights.reason('read') !== '')
      return;
    const match = ANSWER.exec(await soap.call('thmGetInfo') || '');
    if (match === null)
      return;
    const [year, month, day, hour, minute, second] = match.slice(1, 7).map(Number);
    adjust(Date.UTC(2000 + year, month - 1, day, hour, minute, second));
    source = `${match[7]} (${SOURCES.get(match[7]) || 'of the unit'})`;
    tick();
  }

  async function refreshZone() {
    const [, sign, hours, minutes] = OFFSET.exec(await askFunction('thm', 'utcOffset')) || [];
    offset = sign === undefined ? null : Number(`${sign}1`) * (60 * Number(hours) + Number(minutes));
  }

  setInterval(tick, TICK_MS);
  return { refresh, refreshZone, text, zones, pcText: () => textOf(pcMs()) };
})();

// Local or remote control.
const control = (() => {
  const NAMES = new Map([['L', 'Local'], ['R', 'Remote'], ['U', 'Unknown']]);
  const MEANINGS = new Map([
    ['L', 'The unit is operated on site: it refuses commands and set points from remote clients.'],
    ['R', 'The unit may be operated over the network.'],
    ['U', 'The unit does not know: remote clients may be refused.'],
  ]);

  async function refresh() {
    const state = (await askFunction('coreDb', 'getLR') || '').charAt(0);
    const unknown = rights.reason('write') === '' ? 'The unit does not report it.' : 'Shown from access level 200.';
    for (const id of ['control', 'unit-control']) {
      page.write(page.byId(id), NAMES.get(state) || 'Not known');
      page.byId(id).dataset.state = state;
    }
    page.byId('control').title = MEANINGS.get(state) || unknown;
    page.write(page.byId('unit-control-meaning'), MEANINGS.get(state) || unknown);
  }

  return { refresh };
})();

// The section.
(() => {
  const TIME = /^20(\d\d)-(\d\d)-(\d\d) (\d\d):(\d\d)(?::(\d\d))?$/;
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

  async function setClock(time) {
    const inputTime = TIME.exec(time).slice(1).map(part => part || '00').join(':');
    const outcome = await soap.perform(`Set the clock, ${clock.text()} → ${time}`, 'thmSetTime', { inputTime });
    clock.refresh().catch(() => {}); // the next poll shows what is wrong
    return outcome;
  }

  // timeOf(values) returns the new time as a text.
  function askToSet(title, fields, timeOf) {
    dialog.ask({
      title,
      fields,
      text: values => `${clock.text()} → ${timeOf(values) || '…'} (${clock.zones()})`,
      objection: values => TIME.test(timeOf(values)) ? '' : 'Enter a date and time of the years 2000 to 2099.',
      confirm: 'Set the clock',
      action: values => setClock(timeOf(values)),
    });
  }

  async function reboot() {
    // The operation needs a user and a password, but the unit only looks at the session.
    const user = session.remembered().user || 'user';
    const outcome = await soap.perform('Reboot', 'rtuReboot', { user, password: '' });
    if (outcome.kind === 'good') {
      session.noteReboot();
      poll.expectReboot();
    }
    return outcome;
  }

  page.byId('clock-set').addEventListener('click', () => askToSet('Set the unit\'s clock', [{
    name: 'time',
    label: 'New time, as the unit\'s local time',
    type: 'datetime-local',
    step: '1',
  }], ({ time }) => time.replace('T', ' ')));
  page.byId('clock-pc').addEventListener('click', () =>
    askToSet('Set the unit\'s clock to this PC\'s time', [], () => clock.pcText()));
  page.byId('reboot').addEventListener('click', () => dialog.ask({
    title: 'Reboot the unit',
    text: () => `${page.byId('station').textContent}: the unit stops serving and monitoring until it has `
      + 'started again. Everybody is logged out.',
    confirm: 'Reboot',
    danger: true,
    action: reboot,
  }));
  document.addEventListener('rights', showRights);
  tabs.loading('unit', 'read', 'unit-version', readVersion);
})();
