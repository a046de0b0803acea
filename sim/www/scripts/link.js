// scripts/link.js: the way to the unit. It serves one request at a time, so all of them queue here;
// what a person asks for goes before the next poll.
'use strict';

const link = (() => {
  const ANSWER_MS = 20000;
  // What the unit sends in place of an answer when the session is over, with or without a reason.
  const TO_LOGIN = /^<html>\s*<body onLoad=window\.location\.href='(\/index\.htm(?:\?u=[a-z]+)?)'/;
  const NEVER = new Promise(() => {});

  class NoAnswer extends Error {}

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

  // Calls send() when it is its turn; the promise settles as that of send().
  function inTurn(send, isPoll) {
    return new Promise((resolve, reject) => {
      (isPoll ? polls : commands).push(() => send().then(resolve, reject));
      work();
    });
  }

  // Nothing more is sent from here on: the next page would cut it off.
  function leaveFor(address) {
    leaving = true;
    location.assign(address);
    return NEVER;
  }

  function followed(text) {
    const match = TO_LOGIN.exec(text);
    return match === null ? text : leaveFor(match[1]);
  }

  // The text of an answer, whatever its status. Where the unit refuses without a word, as it does
  // for a file that is not there, this is NoAnswer, too.
  async function exchange(url, options) {
    try {
      const signal = AbortSignal.timeout(ANSWER_MS);
      const reply = await fetch(url, { cache: 'no-store', signal, ...options });
      return await reply.text();
    } catch (error) {
      throw new NoAnswer(error.name === 'TimeoutError'
        ? `The unit has not answered for ${ANSWER_MS / 1000} seconds.`
        : 'The unit does not answer.');
    }
  }

  async function request(url, options, isPoll) {
    return followed(await inTurn(() => exchange(url, options), isPoll));
  }

  const get = (url, isPoll) => request(url, {}, isPoll);
  const post = (url, headers, body, isPoll) =>
    request(url, { method: 'POST', headers, body }, isPoll);

  return { NoAnswer, inTurn, leaveFor, get, post };
})();
