// scripts/unit.js: the section of the unit itself: versions, setting its clock, reboot.
'use strict';

(() => {
  const CLOCK_FIELD = /^20(\d\d)-(\d\d)-(\d\d)[T ](\d\d):(\d\d)(?::(\d\d))?$/;
  const MODES = new Map([
    ['host', 'the unit\'s security module'],
    ['off', 'off: SOAP calls are allowed to everybody'],
  ]);

  function showRights() {
    page.write(page.byId('unit-security'), MODES.get(rights.mode()) || 'not known');
    page.write(page.byId('unit-level'), String(rights.level() ?? 'not known'));
    if (!page.byId('panel-unit').hidden)
      readVersion();
  }

  async function readVersion() {
    if (rights.reason('read') !== '')
      return;
    try {
      page.write(page.byId('unit-version'), await soap.call('baselineShowVer') || 'none');
    } catch (error) {
      page.write(page.byId('unit-version'), soap.describe(error));
    }
  }

  // Takes "2026-11-21T12:00:30", also without seconds.
  async function setClock(text) {
    const match = CLOCK_FIELD.exec(text);
    if (match === null) {
      page.tell(page.byId('clock-outcome'), 'Enter a date and time of the years 2000 to 2099.', 'bad');
      return;
    }
    const inputTime = match.slice(1).map(part => part || '00').join(':');
    let outcome = { good: true, text: `Clock set to ${text.replace('T', ' ')}.` };
    try {
      const status = await soap.status('thmSetTime', { inputTime });
      if (status !== 0)
        outcome = { good: false, text: `The clock was not set: the unit answered ${status}.` };
      await clock.refresh();
    } catch (error) {
      outcome = { good: false, text: soap.describe(error) };
    }
    page.tell(page.byId('clock-outcome'), outcome.text, outcome.good ? 'good' : 'bad');
    page.report(outcome.text, outcome.good);
  }

  async function reboot() {
    // The unit wants a user and a password to be there, and looks at your session only.
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
    setClock(page.byId('clock-field').value);
  });
  page.byId('clock-pc').addEventListener('click', () => setClock(clock.pcText()));
  page.byId('reboot').addEventListener('click', askToReboot);
  page.byId('panel-unit').addEventListener('shown', () => {
    suggestTime();
    readVersion();
  });
  document.addEventListener('rights', showRights);
})();
