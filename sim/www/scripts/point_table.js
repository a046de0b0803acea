// scripts/point_table.js: the rows of the live table. They are made once, then updated in place.
'use strict';

const pointTable = (() => {
  const body = page.byId('points-rows');
  const head = page.byId('points-head');
  const DECIMAL = /^([+-]?\d{1,7})(\.\d{1,6})?$/; // aligned at the decimal point; other texts stay as they are
  const UNREADABLE = 'X';
  const ORDER = {
    name: (a, b) => compare(a.name, b.name),
    type: (a, b) => compare(a.type, b.type) || compare(a.name, b.name),
    value: (a, b) => compareValues(a.value, b.value),
    quality: (a, b) => compare(a.quality, b.quality) || compare(a.name, b.name),
    changed: (a, b) => compare(a.changed, b.changed),
  };
  const collator = new Intl.Collator('en', { numeric: true });
  const compare = collator.compare;
  const rows = new Map(); // by row: its point
  let sorting = { by: '', down: false };

  function compareValues(a, b) {
    const [x, y] = [a, b].map(value => value === '' || isNaN(value) ? -Infinity : Number(value));
    return x === y ? compare(a, b) : x - y;
  }

  function cell(className, ...children) {
    const element = page.make('td', { className }, ...children);
    element.setAttribute('role', 'cell');
    return element;
  }

  function part(name, textContent) {
    const element = page.make('span', { textContent });
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

  function makeRow(point) {
    const whole = page.make('span', { className: 'whole' });
    const fraction = page.make('span', { className: 'fraction' });
    const value = part('value', '');
    const quality = part('quality', '');
    const changed = part('changed', '');
    value.append(whole, fraction);
    quality.className = 'badge';
    point.trend = point.type === 'analog' ? trend.make(point.name) : null;
    const row = page.make('tr', {},
      cell('name', part('name', point.name), part('text', point.text)),
      cell('type', operate.nameOf(point.type)),
      cell('value', value, page.make('span', { className: 'unit', textContent: point.unit, title: point.unit })),
      cell('quality', quality),
      cell('trend', point.trend === null ? '' : point.trend.element),
      cell('changed', changed),
      cell('actions', ...buttonsOf(point)));
    row.setAttribute('role', 'row');
    Object.assign(row.dataset, { point: point.name, type: point.type });
    rows.set(row, point);
    return Object.assign(point, { row, parts: { value, whole, fraction, quality, changed } });
  }

  function build(points) {
    rows.clear();
    points.forEach(makeRow);
    body.replaceChildren(...rows.keys());
    rights.applyTo(body);
    sorting = { by: '', down: false };
    markSorting();
  }

  function writeValue(point) {
    const { value, whole, fraction } = point.parts;
    const match = DECIMAL.exec(point.value);
    page.write(whole, match === null ? point.value || '–' : match[1]);
    page.write(fraction, match === null ? '' : match[2] || '');
    value.classList.toggle('free', match === null);
    value.title = match === null ? point.value : '';
  }

  function update(point, time) {
    const { quality, changed } = point.parts;
    const shown = point.quality === UNREADABLE ? 'NOT READ' : point.quality;
    const state = `${point.value}|${point.quality}`;
    if (point.state !== undefined && point.state !== state)
      point.changed = time;
    point.state = state;
    writeValue(point);
    page.write(quality, shown);
    page.write(changed, point.changed.slice(-8) || '–'); // the time of day
    changed.title = point.changed === '' ? 'No change since this page was opened' : point.changed;
    if (point.row.dataset.quality !== point.quality)
      point.row.dataset.quality = point.quality;
    if (point.trend !== null)
      point.trend.add(point.value === '' || isNaN(point.value) ? null : Number(point.value));
  }

  function matches(point, filter) {
    const words = `${point.name} ${point.text}`.toLowerCase();
    return (filter.type === '' || point.type === filter.type)
      && (!filter.notGood || point.quality !== 'GOOD')
      && words.includes(filter.text.toLowerCase());
  }

  // Returns how many points it shows.
  function showMatching(filter) {
    let shown = 0;
    for (const [row, point] of rows) {
      const visible = matches(point, filter);
      page.show(row, visible);
      shown += visible ? 1 : 0;
    }
    return shown;
  }

  function markSorting() {
    for (const button of head.querySelectorAll('[data-sort]')) {
      const active = button.dataset.sort === sorting.by;
      const direction = sorting.down ? 'descending' : 'ascending';
      button.parentElement.setAttribute('aria-sort', active ? direction : 'none');
    }
  }

  // Sorts on request only: rows must not move under the mouse while values change.
  function sort(by) {
    sorting = { by, down: sorting.by === by && !sorting.down };
    const sign = sorting.down ? -1 : 1;
    const sorted = [...rows].sort(([, a], [, b]) => sign * ORDER[by](a, b));
    body.append(...sorted.map(([row]) => row));
    markSorting();
  }

  head.addEventListener('click', event => {
    const button = event.target.closest('[data-sort]');
    if (button !== null)
      sort(button.dataset.sort);
  });

  return {
    build,
    update,
    showMatching,
    pointOf: row => rows.get(row),
    isUnderHand: () => body.matches(':hover, :focus-within'),
  };
})();
