// scripts/session.js: the browser's session: login, logout, keep-alive, and whether it still lives.
'use strict';

const session = (() => {
  const FORM = { 'Content-Type': 'application/x-www-form-urlencoded' };
  const FIELD_BYTES = 127; // of user and password: the unit cuts longer ones
  const REMEMBERED = 'rtu.session'; // user and level, for display only
  const REBOOTED = 'rtu.rebooted';

  const utf8 = text => new TextEncoder().encode(text);
  const fits = text => utf8(text).length <= FIELD_BYTES;

  function field(text) {
    return encodeURIComponent(btoa(String.fromCharCode(...utf8(text))));
  }

  function formOf(command, user, password) {
    return `cgiMethod=${field(command)}&arg1=${field(user)}&arg2=${field(password)}`;
  }

  function parsed(json) {
    try {
      return JSON.parse(json) || {};
    } catch {
      return {};
    }
  }

  // Empty when logged in, else the reason's code; '?' when the unit gave none.
  async function logIn(user, password) {
    const options = {
      method: 'POST',
      headers: { ...FORM, 'Accept': 'application/json' },
      body: formOf('cgiLogin', user, password),
    };
    const text = await (await fetch('/index.htm', options)).text();
    const answer = parsed(text);
    if (answer.status !== 'success')
      return (/\?u=([a-z]+)/.exec(text) || ['', '?'])[1];
    localStorage.setItem(REMEMBERED, JSON.stringify({ user, level: Number(answer.level) }));
    return '';
  }

  const command = (name, isPoll) => link.post('/index.htm', FORM, formOf(name, '', ''), isPoll);

  // Goes to the login page when the session is over. Throws NoAnswer when the unit is away.
  async function check() {
    try {
      await link.get('/session.htm', true);
    } catch {
      await soap.poll('getRTU'); // answers everybody, so the unit is there
      // A browser that has lost its cookie gets no answer, either.
      await link.get('/session.htm', true).catch(() => link.leaveFor('/index.htm?u=is'));
    }
  }

  async function logOut() {
    await check(); // without a session the unit does not answer a logout
    localStorage.removeItem(REMEMBERED);
    await command('cgiLogout', false);
    await link.leaveFor('/index.htm');
  }

  return {
    fits,
    logIn,
    logOut,
    check,
    keepAlive: () => command('cgiKeepAlive', true),
    remembered: () => parsed(localStorage.getItem(REMEMBERED)),
    noteReboot: () => sessionStorage.setItem(REBOOTED, '1'),
    wasRebooted: () => sessionStorage.getItem(REBOOTED) !== null,
    forgetReboot: () => sessionStorage.removeItem(REBOOTED),
  };
})();
