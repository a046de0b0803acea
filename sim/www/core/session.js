// core/session.js: sends requests in the browser's session, one after the other, and returns to the login
// page when the session is over.
'use strict';

// The unit serves one request at a time, so all requests queue here. What changes the unit goes first.
const link = (() => {
  const ANSWER_MS = 20000;
  const LEAVE_MS = 3000; // what changes the unit leaves so soon, or never
  const SESSION_PAGE = '/session.htm'; // its text says that the session lives
  // What the unit sends in place of an answer when the session is over, with or without a reason.
  const TO_LOGIN = /^<html>\s*<body onLoad=window\.location\.href='(\/index\.htm(?:\?u=[a-z]+)?)'/;
  const NEVER = new Promise(() => {});

  class NoAnswer extends Error {} // the request has left, and may have been served
  class NotSent extends Error {}

  const acts = []; // what changes the unit
  const reads = [];
  let running = null;
  let leaving = false;
  let restingUntilMs = 0;
  let answeredMs = performance.now();

  const nextJob = () =>
    leaving ? null : acts.shift() || performance.now() >= restingUntilMs && reads.shift() || null;

  async function work() {
    if (running !== null)
      return;
    while ((running = nextJob()) !== null) {
      const job = running;
      try {
        job.resolve(await job.send(job.abort.signal));
      } catch (error) {
        if (job.waitsAgain)
          reads.unshift(Object.assign(job, { abort: new AbortController(), waitsAgain: false }));
        else
          job.reject(job.dropped || error);
      }
      if (job.isAct)
        await new Promise(resolve => setTimeout(resolve)); // who asked may want the unit to rest
    }
  }

  function enqueue(queue, job) {
    return new Promise((resolve, reject) => {
      queue.push(Object.assign(job, { abort: new AbortController(), resolve, reject }));
      work();
    });
  }

  // For so long nothing is read: the unit is going down.
  function rest(ms) {
    restingUntilMs = performance.now() + ms;
    setTimeout(work, ms + 1);
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

  const tooLate = () => new NoAnswer(`The unit has not answered for ${ANSWER_MS / 1000} seconds.`);

  // Returns the text of an answer with any status, without waiting for a turn. Throws NoAnswer also where
  // the unit refuses by closing the connection, as it does for a missing file.
  async function exchange(url, options, signal) {
    const abort = new AbortController();
    const timer = setTimeout(() => abort.abort(tooLate()), ANSWER_MS);
    signal?.addEventListener('abort', () => abort.abort());
    try {
      const reply = await fetch(url, { cache: 'no-store', signal: abort.signal, ...options });
      const text = await reply.text();
      answeredMs = performance.now();
      return text;
    } catch (error) {
      throw error instanceof NoAnswer ? error : new NoAnswer('The unit does not answer.');
    } finally {
      clearTimeout(timer);
    }
  }

  const request = (url, options) =>
    enqueue(reads, { send: signal => exchange(url, options, signal) });

  // An uploaded file may look like the page that leads to the login: only SESSION_PAGE is believed.
  async function get(url) {
    const text = await request(url);
    if (TO_LOGIN.test(text))
      await followed(await request(SESSION_PAGE));
    return text;
  }

  const post = async (url, headers, body) =>
    followed(await request(url, { method: 'POST', headers, body }));

  // ---- What changes the unit ----

  function drop(job, reason) {
    job.dropped = new NotSent(reason);
    job.abort.abort();
    const place = acts.indexOf(job);
    if (place !== -1) {
      acts.splice(place, 1);
      job.reject(job.dropped);
    }
  }

  // Calls send() as soon as the unit shows that it serves this session now. A read that waits for its answer
  // is stopped and repeated later. Throws NotSent if the unit shows nothing in time: a request to a unit
  // that hangs would be served whenever it goes on. What has been sent is never taken back.
  function act(send) {
    const job = { isAct: true };
    const timer = setTimeout(() =>
      drop(job, `The unit did not answer within ${LEAVE_MS / 1000} seconds.`), LEAVE_MS);

    job.send = async signal => {
      const text = await exchange(SESSION_PAGE, {}, signal);
      if (signal.aborted)
        throw job.dropped;
      clearTimeout(timer);
      if (TO_LOGIN.test(text))
        throw new NotSent('The session has ended.');
      job.sent = true;
      document.dispatchEvent(new Event('sent'));
      return send();
    };
    if (running !== null && !running.isAct) {
      running.waitsAgain = true;
      running.abort.abort();
    }
    return enqueue(acts, job).catch(error => {
      throw job.sent || error instanceof NotSent ? error : new NotSent(error.message);
    }).finally(() => clearTimeout(timer));
  }

  // Drops what has not been sent yet.
  function cancel() {
    for (const job of [...acts, running])
      if (job !== null && job.isAct && !job.sent)
        drop(job, 'Cancelled.');
  }

  return {
    ANSWER_MS,
    NoAnswer,
    NotSent,
    tooLate,
    leaveFor,
    exchange,
    get,
    getSession: () => get(SESSION_PAGE),
    post,
    act,
    cancel,
    rest,
    answeredMs: () => answeredMs,
  };
})();

// Logs in and out, keeps the session alive, and finds out whether it still lives.
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

  const send = (headers, body) => link.exchange('/index.htm', { method: 'POST', headers, body });

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
    const text = await send({ ...FORM, 'Accept': 'application/json' }, formOf('cgiLogin', user, password));
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
    await send(FORM, formOf('cgiLogout', '', '')); // answers where to go, but without the reason
    await link.leaveFor(`/index.htm${reason === '' ? '' : `?u=${reason}`}`);
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
    keepAlive: () => link.post('/index.htm', FORM, formOf('cgiKeepAlive', '', '')),
    remembered: () => parsed(localStorage.getItem(REMEMBERED)),
    noteReboot: () => sessionStorage.setItem(REBOOTED, '1'),
    wasRebooted: () => sessionStorage.getItem(REBOOTED) !== null,
    notePlace: () => sessionStorage.setItem(PLACE, location.pathname + location.search + location.hash),
    goOn,
  };
})();
