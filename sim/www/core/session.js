// core/session.js: sends requests in the browser's session, one after the other, and returns to the
// login page when the session is over.
'use strict';

// The unit serves one request at a time, so all requests queue here. A person's request goes before the
// next poll.
const link = (() => {
  const ANSWER_MS = 20000;
  const SESSION_PAGE = '/session.htm'; // its text says that the session lives
  // What the unit sends in place of an answer when the session is over, with or without a reason.
  const TO_LOGIN = /^<html>\s*<body onLoad=window\.location\.href='(\/index\.htm(?:\?u=[a-z]+)?)'/;
  const NEVER = new Promise(() => {});

  class NoAnswer extends Error {}

  const tooLate = () =>
    new NoAnswer(`The unit has not answered for ${ANSWER_MS / 1000} seconds.`);

  const commands = [];
  const polls = [];
  let working = false;
  let leaving = false;

  async function work() {
    if (working)
      return;
    working = true;
    for (let job; !leaving && (job = commands.shift() || polls.shift()) !== undefined;)
      await job();
    working = false;
  }

  // Calls send() at its turn. The promise settles like the one of send().
  function inTurn(send, isPoll) {
    return new Promise((resolve, reject) => {
      (isPoll ? polls : commands).push(() => send().then(resolve, reject));
      work();
    });
  }

  // From here on nothing is sent: the next page would cut it off.
  function leaveFor(address) {
    leaving = true;
    location.assign(address);
    return NEVER;
  }

  function followed(text) {
    const match = TO_LOGIN.exec(text);
    return match === null ? text : leaveFor(match[1]);
  }

  // Returns the text of an answer with any status, without waiting for a turn. Throws NoAnswer also where
  // the unit refuses by closing the connection, as it does for a missing file.
  async function exchange(url, options) {
    try {
      const signal = AbortSignal.timeout(ANSWER_MS);
      const reply = await fetch(url, { cache: 'no-store', signal, ...options });
      return await reply.text();
    } catch (error) {
      throw error.name === 'TimeoutError' ? tooLate() : new NoAnswer('The unit does not answer.');
    }
  }

  const request = (url, options, isPoll) => inTurn(() => exchange(url, options), isPoll);

  // An uploaded file may look like the page that leads to the login: only SESSION_PAGE is believed.
  async function get(url, isPoll) {
    const text = await request(url, {}, isPoll);
    if (TO_LOGIN.test(text))
      await followed(await request(SESSION_PAGE, {}, isPoll));
    return text;
  }

  const getSession = () => get(SESSION_PAGE, true);

  async function post(url, headers, body, isPoll) {
    return followed(await request(url, { method: 'POST', headers, body }, isPoll));
  }

  return { ANSWER_MS, NoAnswer, tooLate, inTurn, leaveFor, exchange, get, getSession, post };
})();

// Logs in and out, keeps the session alive, and finds out whether it still lives.
const session = (() => {
  const FORM = { 'Content-Type': 'application/x-www-form-urlencoded' };
  const FIELD_BYTES = 127; // of user and password: the unit cuts longer texts
  const REMEMBERED = 'rtu.session'; // user and level, for display only
  const REBOOTED = 'rtu.rebooted';
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

  const command = (name, isPoll) => link.post('/index.htm', FORM, formOf(name, '', ''), isPoll);

  const verdict = async () => Number(await soap.poll('getRbacPerm'));

  // Returns the level in the unit's session table, or undefined if the session is not there.
  async function reportedLevel() {
    try {
      return Number(await soap.poll('getUserAuth'));
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
      await link.get('/index.htm', true); // throws unless the unit can send the login page
      await link.leaveFor('/index.htm?u=is');
    }
  }

  async function logOut() {
    await check(); // without a session the unit does not answer a logout
    localStorage.removeItem(REMEMBERED);
    await command('cgiLogout', false);
    await link.leaveFor('/index.htm');
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
    keepAlive: () => command('cgiKeepAlive', true),
    remembered: () => parsed(localStorage.getItem(REMEMBERED)),
    noteReboot: () => sessionStorage.setItem(REBOOTED, '1'),
    wasRebooted: () => sessionStorage.getItem(REBOOTED) !== null,
    forgetReboot: () => sessionStorage.removeItem(REBOOTED),
  };
})();
