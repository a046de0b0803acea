// scripts/points.js: the section that shows the points: those of the unit's list, with the values of
// each poll, a filter and a count.
'use strict';

const pointList = (() => {
  const ADDRESS = '/cfgFiles/points.xml';
  const TYPES = ['status', 'analog', 'command', 'setPoint'];
  const FIELDS = ['type', 'name', 'group', 'unit', 'text', 'states', 'alarm', 'button'];
  // The empty format gives every digit, as people need for values that they set. Measured values need few.
  const FORMATS = { analog: '%g' };
  const MAX_NAMES = 1000; // of one request
  const NAME = /^[^[\]]+$/; // brackets separate names in a request
  const UNREAD = { value: '', quality: 'X' };

  // Returns the point that an element describes, or null if it describes none.
  function pointOf(element) {
    const text = name => element.getAttribute(name) || '';
    const point = Object.fromEntries(FIELDS.map(name => [name, text(name)]));
    if (!TYPES.includes(point.type) || !NAME.test(point.name))
      return null;
    return { ...point, states: point.states === '' ? [] : point.states.split('|'), ...UNREAD, changed: '' };
  }

  // Throws when the list cannot be used at all. Leaves out and counts single entries that cannot be used.
  function parse(text) {
    const xml = new DOMParser().parseFromString(text, 'text/xml');
    if (xml.querySelector('parsererror') !== null)
      throw new Error('The list of points is damaged: it is not well-formed XML.');
    if (xml.documentElement.localName !== 'points')
      throw new Error('The list of points is damaged: it has no element "points".');
    const elements = [...xml.documentElement.children];
    const points = new Map();
    for (const point of elements.map(pointOf))
      if (point !== null && !points.has(`${point.type} ${point.name}`))
        points.set(`${point.type} ${point.name}`, point);
    return { points: [...points.values()], ignored: elements.length - points.size };
  }

  async function load() {
    let text = '';
    try {
      text = await link.get(ADDRESS);
    } catch {
      throw new Error(`The unit does not send its list of points, ${ADDRESS}.`);
    }
    return parse(text);
  }

  // "[value|QUALITY][X|X]": X means that a point could not be read. A reply may be cut.
  function readings(text) {
    return text.slice(1, -1).split('][').map(part => {
      const bar = part.lastIndexOf('|');
      const value = part.slice(0, bar);
      return bar === -1 || value === 'X' ? UNREAD : { value, quality: part.slice(bar + 1) };
    });
  }

  async function readSome(type, points) {
    const text = await soap.call('coreDbReadMultData', {
      inputType: type,
      inputNames: points.map(point => `[${point.name}]`).join(''),
      inputFormat: FORMATS[type] || '',
      inputNum: points.length,
    });
    const answers = readings(text || '');
    points.forEach((point, index) => Object.assign(point, answers[index] || UNREAD));
  }

  // Sends one request for each type and thousand points.
  async function readAll(points, types = TYPES) {
    for (const type of types) {
      const own = points.filter(point => point.type === type);
      for (let start = 0; start < own.length; start += MAX_NAMES)
        await readSome(type, own.slice(start, start + MAX_NAMES));
    }
  }

  return { load, parse, readAll };
})();

// The section.
const points = (() => {
  let list = null; // null: not loaded
  let failed = false;

  function filter() {
    return {
      text: page.byId('filter-text').value.trim(),
      type: page.byId('filter-type').value,
      notGood: page.byId('filter-not-good').checked,
    };
  }

  function count(shown) {
    const bad = list.filter(point => point.quality !== 'GOOD').length;
    page.write(page.byId('points-count'),
               `${shown} of ${list.length} points shown, ${bad} not GOOD`);
    const empty = list.length === 0 ? 'The unit\'s list has no points.' : 'No point matches the filter.';
    page.showMessage(page.byId('points-empty'), shown === 0 ? empty : '', 'wait');
  }

  function applyFilter() {
    if (list !== null)
      count(pointTable.showMatching(filter()));
  }

  async function load() {
    page.showMessage(page.byId('points-state'), 'Loading the list of points…', 'wait');
    page.show(page.byId('points-reload'), false);
    try {
      const { points: loaded, ignored } = await pointList.load();
      list = loaded;
      pointTable.build(list);
      page.showMessage(page.byId('points-state'), ignored === 0 ? ''
        : `${ignored} entries of the list of points cannot be used and are left out.`, 'bad');
      applyFilter(); // the browser may keep the filter over a reload
    } catch (error) {
      failed = true;
      pointTable.build([]);
      page.write(page.byId('points-count'), '');
      page.showMessage(page.byId('points-state'), error.message, 'bad');
      page.show(page.byId('points-reload'), true);
    }
  }

  async function read(types) {
    await pointList.readAll(list, types);
    const time = clock.text();
    for (const point of list)
      if (types === undefined || types.includes(point.type))
        pointTable.update(point, time);
    dialog.update(); // it may show one of these values
  }

  // Called at each poll. Shows a fault here; the caller handles a unit that does not answer.
  async function refresh() {
    if (rights.reason('read') !== '' || failed)
      return;
    if (list === null)
      await load();
    if (list === null)
      return;
    try {
      await read();
      page.showMessage(page.byId('points-fault'), '', '');
    } catch (error) {
      if (error instanceof link.NoAnswer)
        throw error;
      page.showMessage(page.byId('points-fault'), error.message, 'bad');
    }
    if (filter().notGood && !pointTable.isUnderHand())
      applyFilter();
    else
      count(document.querySelectorAll('#points-rows > :not([hidden])').length);
  }

  async function afterAction(point) {
    try {
      await read([point.type]);
      await control.refresh();
    } catch {
      // The outcome of the action is shown; the next poll shows what is wrong.
    }
    applyFilter();
  }

  // The next poll loads the list again.
  function reload() {
    list = null;
    failed = false;
  }

  // Called when the unit answers again: a list that could not be loaded may be there now.
  function retry() {
    failed = false;
  }

  page.byId('points-rows').addEventListener('click', event => {
    const button = event.target.closest('[data-action]');
    if (button !== null)
      operate.start(button.dataset.action, pointTable.pointOf(button.closest('tr')), afterAction);
  });
  page.byId('points-reload').addEventListener('click', () => {
    reload();
    load();
  });
  for (const id of ['filter-text', 'filter-type', 'filter-not-good'])
    page.byId(id).addEventListener('input', applyFilter);

  return { refresh, reload, retry };
})();
