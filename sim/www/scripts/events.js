// scripts/events.js: the section that lists changes of states and qualities since the page was opened,
// with the alarms that nobody has acknowledged first.
'use strict';

const events = (() => {
  const MAX_KEPT = 2000;
  const MAX_SHOWN = 200;
  const list = []; // the newest first
  let dropped = 0;
  let shown = [];
  let isOld = true; // what is shown

  function stateOf(point) {
    const quality = point.quality === 'X' ? 'NOT READ' : point.quality;
    const state = point.type === 'analog' ? '' : pointList.textOf(point);
    return quality === 'GOOD' && state !== '' ? state : `${state} ${quality}`.trim();
  }

  // old: what the point was; null at the first reading, which only shows alarms. A quality that is no
  // longer GOOD is an alarm, too.
  function note(point, old) {
    const isNew = state => state(point) && (old === null || !state(old));
    const alarm = isNew(pointList.isAlarm) || isNew(({ quality }) => quality !== 'GOOD');
    if (!alarm && (old === null || stateOf(old) === stateOf(point)))
      return;
    const from = old === null ? '' : stateOf(old);
    list.unshift({ point, time: clock.text(), from, to: stateOf(point), alarm, open: alarm });
    isOld = true;
    if (list.length > MAX_KEPT) {
      list.splice(list.indexOf(list.filter(event => !event.open).at(-1)), 1); // the last if all are open
      ++dropped;
    }
  }

  function matching() {
    const words = page.byId('events-filter').value.trim().toLowerCase();
    const alarmsOnly = page.byId('events-alarms').checked;
    const found = list.filter(({ point, alarm }) => (alarm || !alarmsOnly) && point.words.includes(words));
    return found.sort((a, b) => b.open - a.open); // keeps the order of time
  }

  function acknowledge(event, element) {
    Object.assign(event, { open: false });
    element.dataset.alarm = 'true'; // it moves when the mouse has left
    isOld = true;
    showCount();
  }

  function item(event) {
    const { point, time, from, to, alarm, open } = event;
    const part = (className, ...children) => page.make('span', { className }, ...children);
    const element = page.make('li', {}, part('time', time),
      part('', page.make('a', { href: pointList.addressOf(point), textContent: point.name }), ` ${point.text}`),
      part('change', from === '' ? `${to} when first read` : `${from} → ${to}`));
    if (open) {
      const button = element.appendChild(page.make('button', { type: 'button', textContent: 'Acknowledge' }));
      button.addEventListener('click', () => acknowledge(event, element));
    }
    element.dataset.alarm = open ? 'open' : alarm;
    return element;
  }

  function showCount() {
    const open = list.filter(event => event.open).length;
    page.write(page.byId('tab-events'), open === 0 ? 'Events' : `Events (${open})`);
    page.write(page.byId('events-count'), `${shown.length} of ${list.length} events, ${open} not acknowledged`
      + (dropped === 0 ? '' : `; ${dropped} old ones are forgotten`));
  }

  // Nothing moves under the mouse or the focus.
  function show() {
    const lines = page.byId('events-lines');
    if (isOld && !page.byId('panel-events').hidden && !page.isUnderHand(lines)) {
      isOld = false;
      shown = matching().slice(0, MAX_SHOWN);
      lines.replaceChildren(...shown.map(item));
    }
    showCount();
  }

  function refilter() {
    isOld = true;
    show();
  }

  for (const id of ['events-filter', 'events-alarms'])
    page.byId(id).addEventListener('input', refilter);
  page.byId('panel-events').addEventListener('shown', show);
  page.byId('events-lines').addEventListener('mouseleave', show);
  page.byId('events-acknowledge').addEventListener('click', () => {
    shown.forEach(event => Object.assign(event, { open: false })); // what nobody has seen stays open
    refilter();
  });
  page.byId('events-csv').addEventListener('click', () => csv.save('events', [
    ['time', 'point', 'text', 'from', 'to', 'alarm', 'acknowledged'],
    ...matching().map(({ point, time, from, to, alarm, open }) =>
      [time, pointList.keyOf(point), point.text, from, to, alarm ? 'alarm' : '', alarm && !open ? 'yes' : '']),
  ]));

  const of = ({ type, name }) => list.filter(({ point }) => point.type === type && point.name === name);

  return { note, show, item, of };
})();
