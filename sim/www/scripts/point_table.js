// scripts/point_table.js: the live table. Only the rows in sight are in the document, and all have one
// height.
'use strict';

const pointTable = (() => {
  const SPARE_ROWS = 6; // drawn above and below those in sight
  const body = page.byId('points-rows');
  const head = page.byId('points-head');
  const scroller = page.byId('points-scroller');
  const DECIMAL = /^([+-]?\d{1,9})(\.\d{1,6})?$/; // aligned at the decimal point; other texts stay as they are
  const LONG_VALUE = 12; // characters; longer ones are smaller and take two lines
  const MAX_VALUE = 44; // more have no room
  const LONG_NAME = 26;
  const compare = new Intl.Collator('en', { numeric: true }).compare;
  const ORDER = {
    '': (a, b) => a.position - b.position, // in the list
    name: (a, b) => compare(a.name, b.name),
    type: (a, b) => compare(a.type, b.type) || compare(a.name, b.name),
    value: (a, b) => compareNumbers(a, b) || compare(a.value, b.value),
    quality: (a, b) => compare(a.quality, b.quality) || compare(a.name, b.name),
    changed: (a, b) => compare(a.changed, b.changed),
  };
  // Points that turn bad while somebody is about to click come last: nothing else moves.
  const NEW = { group: 'Just turned bad', points: [], found: [] };

  let groups = []; // each with its points, sorted
  let items = []; // what there is to see, from top to bottom: groups and points
  const rows = new Map(); // by item: its row in the document

  function compareNumbers(a, b) {
    const [x, y] = [a, b].map(point => pointList.numberOf(point)).map(number => isNaN(number) ? -Infinity : number);
    return x === y ? 0 : x - y;
  }

  // ---- Rows ----

  function cell(className, ...children) {
    const element = page.make('td', { className }, ...children);
    element.setAttribute('role', 'cell');
    return element;
  }

  function part(name, tag = 'span', properties = {}) {
    const element = page.make(tag, properties);
    element.dataset.cell = name;
    return element;
  }

  function buttonsOf(point) {
    return operate.actionsOf(point).map(([action, label]) => {
      const button = page.button(label, action, 'write');
      button.setAttribute('aria-label', `${label} ${point.name}`);
      return button;
    });
  }

  function makePointRow(point) {
    const link = part('name', 'a', { href: pointList.addressOf(point), textContent: point.name });
    const row = page.make('tr', {},
      cell('name', link, part('text', 'span', { textContent: point.text, title: point.text })),
      cell('type', operate.nameOf(point.type)),
      cell('value', part('value'), page.make('span', { className: 'unit', textContent: point.unit, title: point.unit })),
      cell('quality', part('quality', 'span', { className: 'badge' })),
      cell('trend', point.type === 'analog' ? trend.makeLine(point) : ''),
      cell('changed', part('changed')),
      cell('actions', ...buttonsOf(point)));
    link.classList.toggle('long', point.name.length > LONG_NAME);
    Object.assign(row.dataset, { point: point.name, type: point.type });
    rights.applyTo(row);
    return row;
  }

  function makeGroupRow({ group }) {
    const button = page.button('', 'fold');
    const row = page.make('tr', { className: 'group' }, cell('', button, part('bad')));
    row.firstChild.setAttribute('aria-colspan', head.querySelectorAll('th').length);
    button.dataset.group = group;
    return row;
  }

  function makeRow(item) {
    const row = item.points === undefined ? makePointRow(item) : makeGroupRow(item);
    row.setAttribute('role', 'row');
    return row;
  }

  function fillValue(element, point) {
    const text = pointList.textOf(point);
    const match = DECIMAL.exec(text);
    if (element.title !== text || element.firstChild === null) {
      element.replaceChildren(...match === null ? [text.length > MAX_VALUE ? 'long: open the point' : text || '–']
        : [page.make('span', { className: 'whole', textContent: match[1] }),
           page.make('span', { className: 'fraction', textContent: match[2] || '' })]);
      element.title = text;
      element.classList.toggle('long', match === null && text.length > LONG_VALUE);
    }
  }

  function fillPoint(row, point) {
    const at = name => row.querySelector(`[data-cell="${name}"]`);
    const quality = pointList.qualityOf(point);
    fillValue(at('value'), point);
    page.write(at('quality'), quality);
    page.write(at('changed'), point.changed.slice(-8) || '–'); // the time of day
    at('changed').title = point.changed === '' ? 'No change since this page was opened' : point.changed;
    Object.assign(row.dataset, { quality, alarm: pointList.isAlarm(point) });
    if (point.type === 'analog')
      trend.drawLine(row.querySelector('svg'), point);
  }

  function fillGroup(row, { group, found, folded }) {
    const bad = found.filter(point => pointList.qualityOf(point) !== 'GOOD').length;
    const alarms = found.filter(pointList.isAlarm).length;
    page.write(row.querySelector('button'), `${group || 'No group'} (${found.length})`);
    row.querySelector('button').setAttribute('aria-expanded', !folded);
    page.write(row.querySelector('[data-cell="bad"]'),
               [bad && `${bad} not GOOD`, alarms && `${alarms} in alarm`].filter(Boolean).join(', '));
  }

  // Draws what is in sight. Rows that stay are not moved, so that they keep the focus.
  function draw() {
    const height = body.firstElementChild?.getBoundingClientRect().height || 40;
    const inSight = Math.ceil(scroller.clientHeight / height);
    const top = Math.min(Math.floor(scroller.scrollTop / height), items.length - inSight);
    const first = Math.max(0, top - SPARE_ROWS);
    const wanted = items.slice(first, first + inSight + 2 * SPARE_ROWS);
    for (const [item, row] of rows)
      if (!wanted.includes(item)) {
        row.remove();
        rows.delete(item);
      }
    let next = body.firstElementChild;
    wanted.forEach((item, index) => {
      const row = rows.get(item) ?? makeRow(item);
      if (row === next)
        next = next.nextElementSibling;
      else
        body.insertBefore(row, next);
      rows.set(item, row);
      row.setAttribute('aria-rowindex', first + index + 2);
      (item.points === undefined ? fillPoint : fillGroup)(row, item);
    });
    body.style.paddingTop = `${first * height}px`;
    body.style.paddingBottom = `${(items.length - first - wanted.length) * height}px`;
    page.byId('points-table').setAttribute('aria-rowcount', items.length + 1);
  }

  // ---- What there is to see ----

  function setPoints(points) {
    items = [];
    points.forEach((point, position) => Object.assign(point, { position }));
    groups = [...new Set(points.map(point => point.group))].map(group =>
      ({ group, points: points.filter(point => point.group === group), found: [], folded: false }));
  }

  function matches(point, filter) {
    return (filter.type === '' || point.type === filter.type)
      && (!filter.notGood || pointList.qualityOf(point) !== 'GOOD')
      && point.words.includes(filter.text.toLowerCase());
  }

  const matching = filter => groups.flatMap(({ points }) => points.filter(point => matches(point, filter)));

  // A search finds points in folded groups, too.
  function show(filter) {
    const searches = filter.text !== '' || filter.notGood;
    items = [];
    for (const group of groups) {
      const found = group.points.filter(point => matches(point, filter));
      group.found = found;
      group.folded = !searches && filter.folded.has(group.group);
      if (found.length > 0 && (groups.length > 1 || group.group !== ''))
        items.push(group);
      if (!group.folded)
        items.push(...found);
    }
    draw();
  }

  // The same for a poll. While the mouse or the focus is on a row, rows are only added, at the end.
  function update(filter) {
    if (filter.notGood && !page.isUnderHand(body)) {
      show(filter);
      return;
    }
    const known = new Set(items);
    const added = filter.notGood ? matching(filter).filter(point => !known.has(point)) : [];
    if (added.length > 0) {
      items.push(...known.has(NEW) ? [] : [NEW], ...added);
      NEW.found = items.slice(items.indexOf(NEW) + 1);
    }
    draw();
  }

  // by: a column, with "-" before it for the last first. Sorts on request only: rows must not move under
  // the mouse while values change.
  function sort(by) {
    const [down, column] = by.startsWith('-') ? [true, by.slice(1)] : [false, by];
    for (const group of groups)
      if (column in ORDER)
        group.points.sort((a, b) => (down ? -1 : 1) * ORDER[column](a, b));
    for (const button of head.querySelectorAll('[data-sort]'))
      button.parentElement.setAttribute('aria-sort',
        button.dataset.sort !== column ? 'none' : down ? 'descending' : 'ascending');
  }

  scroller.addEventListener('scroll', draw);
  new ResizeObserver(draw).observe(scroller);

  return {
    setPoints,
    buttonsOf,
    matching,
    show,
    update,
    sort,
    groupNames: () => groups.map(({ group }) => group),
    pointOf: row => [...rows].find(([, drawn]) => drawn === row)[0],
  };
})();
