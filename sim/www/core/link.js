// core/link.js: sends requests to the unit, one after the other, since it serves one at a time. What changes
// the unit goes first. Returns to the login page when the session is over.
'use strict';

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

  // Goes where the unit sends the browser in place of an answer, or to another address.
  function followed(text, address) {
    const match = TO_LOGIN.exec(text);
    return match === null ? text : leaveFor(address || match[1]);
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

  // follow() is part of the job: when it leaves, the next request waits for ever.
  const request = (url, options, follow = text => text) =>
    enqueue(reads, { send: async signal => follow(await exchange(url, options, signal)) });

  // An uploaded file may look like the page that leads to the login: only SESSION_PAGE is believed.
  async function get(url) {
    const text = await request(url);
    if (TO_LOGIN.test(text))
      await request(SESSION_PAGE, {}, followed);
    return text;
  }

  // address: where to go in place of the address that the unit may answer.
  const post = (url, headers, body, address) =>
    request(url, { method: 'POST', headers, body }, text => followed(text, address));

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
    getSession: () => request(SESSION_PAGE, {}, followed),
    post,
    act,
    cancel,
    rest,
    answeredMs: () => answeredMs,
  };
})();
