// scripts/clock.js: the unit's clock, kept ticking between polls.
'use strict';

const clock = (() => {
  const ANSWER = /^(\d\d):(\d\d):(\d\d):(\d\d):(\d\d):(\d\d)\|(-?\d+)$/;
  const SOURCES = new Map([['1', 'set by hand'], ['2', 'not set since the start']]);
  const SLACK_MS = 500; // of the way to the unit
  const TICK_MS = 250;

  // The unit's local time as milliseconds, read as if it were UTC, and when this was so.
  let unitMs = null;
  let seenMs = 0;
  let source = '';

  const now = () => unitMs + performance.now() - seenMs;
  const textOf = ms => new Date(ms).toISOString().slice(0, 19).replace('T', ' ');
  const text = () => unitMs === null ? '' : textOf(now());

  // This PC's wall clock in the same form.
  function pcMs() {
    const date = new Date();
    return date.getTime() - date.getTimezoneOffset() * 60000;
  }

  // The answer has whole seconds: the clock is moved only when it cannot be right.
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
    if (unitMs === null || document.body.dataset.connection === 'lost')
      return;
    page.write(page.byId('clock'), text());
    page.write(page.byId('unit-clock'), text());
    page.write(page.byId('unit-clock-difference'), difference());
    page.write(page.byId('unit-time-source'), source);
  }

  async function refresh() {
    if (rights.reason('read') !== '')
      return;
    const match = ANSWER.exec(await soap.poll('thmGetInfo') || '');
    if (match === null)
      return;
    const [year, month, day, hour, minute, second] = match.slice(1, 7).map(Number);
    adjust(Date.UTC(2000 + year, month - 1, day, hour, minute, second));
    source = `${match[7]} (${SOURCES.get(match[7]) || 'of the unit'})`;
    tick();
  }

  setInterval(tick, TICK_MS);
  return { refresh, text, pcText: () => textOf(pcMs()) };
})();
