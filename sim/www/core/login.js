// core/login.js: the login page.
'use strict';

(() => {
  const REASONS = new Map([
    ['nv', 'Wrong user or password.'],
    ['nvm', 'Wrong user or password, or too many failures in a row: wait a while before you try '
      + 'again.'],
    ['ms', 'Too many people are logged in. Try once more: idle sessions are being ended.'],
    ['ia', 'This user has no right to use the web pages.'],
    ['is', 'The session has ended or could not be made: log in again. A new login of the same user '
      + 'ends the older session.'],
    ['wa', 'The session belongs to another address: log in again.'],
    ['to', 'The session timed out: log in again.'],
  ]);
  const REBOOTED = 'The unit has restarted: log in again.';

  function explain(code) {
    const rebooted = code === 'is' && session.wasRebooted();
    const reason = rebooted ? REBOOTED : REASONS.get(code) || 'The unit refused the login.';
    page.showMessage(page.byId('message'), code === null ? '' : reason, rebooted ? 'wait' : 'bad');
    page.showMessage(page.byId('last-report'), code === null ? '' : page.lastReport(), 'wait');
  }

  async function submit(event) {
    event.preventDefault();
    const user = page.byId('user').value;
    const password = page.byId('password').value;
    if (!session.fits(user) || !session.fits(password)) {
      page.showMessage(page.byId('message'), 'User and password may have 127 bytes each at most.', 'bad');
      return;
    }
    page.showMessage(page.byId('message'), 'Logging in…', 'wait');
    page.byId('submit').disabled = true;
    try {
      const code = await session.logIn(user, password);
      if (code === '') {
        session.goOn();
        return;
      }
      explain(code);
      page.byId('password').select();
    } catch (error) {
      page.showMessage(page.byId('message'), `${error.message} Try again.`, 'bad');
    }
    page.byId('submit').disabled = false;
  }

  page.byId('login').addEventListener('submit', submit);
  explain(new URLSearchParams(location.search).get('u'));
  page.showStation();
})();
