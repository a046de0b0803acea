// example.js: shows a current of the unit every two seconds, and opens a breaker.
'use strict';

(() => {
  const POLL_MS = 2000;
  const CURRENT = { inputType: 'analog', inputName: 'FDR1_IA', inputFormat: '%g' };
  const BREAKER = { inputType: 'command', inputName: 'BRK1_OPEN', value: '1' };

  async function show() {
    try {
      await session.check(); // leads to the login when the session is over
      const [value, quality] = (await soap.call('coreDbReadData', CURRENT)).split('|');
      page.write(page.byId('current'), `${value} A, ${quality}`);
      page.showMessage(page.byId('state'), '');
    } catch (error) {
      page.showMessage(page.byId('state'), `${error.message} The current is stale.`, 'bad');
    }
    setTimeout(show, POLL_MS);
  }

  page.byId('open').addEventListener('click', () => dialog.ask({
    title: 'Open breaker 1',
    text: () => 'Feeder 1 loses its supply.',
    confirm: 'Open breaker 1',
    action: () => soap.perform('Open breaker 1', 'coreDbKrunchData', BREAKER, { 1: 'the unit is under local control' }),
  }));
  page.byId('logout').addEventListener('click', () => session.logOut(''));
  window.addEventListener('pagehide', session.notePlace); // the login returns here
  show();
})();
