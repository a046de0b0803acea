// core/session.js: logs in and out, keeps the session alive, and finds out whether it still lives.
'use strict';

const session = (() => {
  const FORM = { 'Content-Type': 'application/x-www-form-urlencoded' };
  const FIELD_BYTES = 127; // of user and password: the unit cuts longer texts
  const REMEMBERED = 'rtu.session'; // user and level, for display only
  const REBOOTED = 'rtu.rebooted';
  const PLACE = 'rtu.place'; // the address of the page in this tab that the login has interrupted
  const START_PAGE = '/QOPweb.htm';
  // An answer of getRbacPerm.
  const OWN_SECURITY = -1; // the library's own sessions: everybody may call every operation
  const NOT_AUTHENTICATED = 2;
  const ALLOWED = 3;

  const fits = text => page.bytesOf(text) <= FIELD_BYTES;

  function field(text) {
    return encodeURIComponent(btoa(String.fromCharCode(...new TextEncoder().encode(text))));
  }

  function formOf(command, user, password) {
    return `cgiMethod=${field(command)}&arg1=${field(user)}&arg2=${field(password)}`;
  }

  const command = (name, address) => link.post('/index.htm', FORM, formOf(name, '', ''), address);

  function parsed(json) {
    try {
      return JSON.parse(json) || {};
    } catch {
      return {};
    }
  }

  // Returns an empty text after a login, else the code of the reason, or '?' without a code. Does not wait
  // for its turn: a lost request for the unit's name must not delay a login.
  async function logIn(user, password) {
    const text = await link.exchange('/index.htm', {
      method: 'POST',
      headers: { ...FORM, 'Accept': 'application/json' },
      body: formOf('cgiLogin', user, password),
    });
    const answer = parsed(text);
    if (answer.status !== 'success')
      return (/\?u=([a-z]+)/.exec(text) || ['', '?'])[1];
    localStorage.setItem(REMEMBERED, JSON.stringify({ user, level: Number(answer.level) }));
    return '';
  }

  const verdict = async () => Number(await soap.call('getRbacPerm'));

  // Returns the level in the unit's session table, or undefined if the session is not there.
  async function reportedLevel() {
    try {
      return Number(await soap.call('getUserAuth'));
    } catch (error) {
      if (error instanceof soap.Fault)
        return undefined;
      throw error;
    }
  }

  // Without the cookie the unit sends no page, as if it did not run. Only its operations show the
  // difference.
  async function isCookieGone() {
    const answer = await verdict();
    if (answer !== OWN_SECURITY)
      return answer === NOT_AUTHENTICATED;
    if (await reportedLevel() !== undefined)
      return false;
    return link.getSession().then(() => false, () => true); // a live session may have no level
  }

  // Goes to the login page when the session is over. Throws NoAnswer when the unit does not answer or this
  // request was lost.
  async function check() {
    try {
      await link.getSession();
    } catch (lost) {
      if (!await isCookieGone())
        throw lost;
      await link.get('/index.htm'); // throws unless the unit can send the login page
      await link.leaveFor('/index.htm?u=is');
    }
  }

  // reason: the code that the login page explains, or an empty text.
  async function logOut(reason) {
    await check(); // without a session the unit does not answer a logout
    localStorage.removeItem(REMEMBERED);
    await command('cgiLogout', `/index.htm${reason === '' ? '' : `?u=${reason}`}`);
  }

  // After a login: leads to where the person was in this tab.
  function goOn() {
    sessionStorage.removeItem(REBOOTED);
    page.forgetReport();
    link.leaveFor(sessionStorage.getItem(PLACE) || START_PAGE);
  }

  // Another page of this browser has logged in, so the cookie may now be that of another user.
  function onOtherLogin(act) {
    window.addEventListener('storage', event => {
      if (event.key === REMEMBERED && event.newValue !== null)
        act();
    });
  }

  return {
    OWN_SECURITY,
    ALLOWED,
    fits,
    logIn,
    logOut,
    check,
    verdict,
    reportedLevel,
    onOtherLogin,
    keepAlive: () => command('cgiKeepAlive'),
    remembered: () => parsed(localStorage.getItem(REMEMBERED)),
    noteReboot: () => sessionStorage.setItem(REBOOTED, '1'),
    wasRebooted: () => sessionStorage.getItem(REBOOTED) !== null,
    notePlace: () => sessionStorage.setItem(PLACE, location.pathname + location.search + location.hash),
    goOn,
  };
})();
