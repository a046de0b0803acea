// scripts/points.js: the section that shows the points: loads and reads them, and keeps the filter, the
// order and the folded groups in the address.
'use strict';

const points = (() => {
  const STALE_CHECK_MS = 1000;
  const FIELDS = { text: 'filter-text', type: 'filter-type' };
  let list = null; // null: not loaded
  let failed = false;
  let filter = { text: '', type: '', notGood: false, sort: '', folded: new Set() };

  // ---- What is shown ----

  function show() {
    if (list === null)
      return;
    const shown = pointTable.matching(filter).length;
    const bad = list.filter(point => pointList.qualityOf(point) !== 'GOOD').length;
    page.write(page.byId('points-count'), `${shown} of ${list.length} points shown, ${bad} not GOOD`);
    const empty = list.length === 0 ? 'The unit\'s list has no points.' : 'No point matches the filter.';
    page.showMessage(page.byId('points-empty'), shown === 0 ? empty : '', 'wait');
    pointView.update();
    events.show();
  }

  function showTable() {
    pointTable.show(filter);
    show();
  }

  // The address names a point, or says what the table shows.
  function readAddress() {
    const query = tabs.query('points');
    const key = query.get('point');
    const point = list?.find(candidate => pointList.keyOf(candidate) === key) ?? null;
    page.show(page.byId('points-list'), point === null);
    pointView.show(point);
    page.showMessage(page.byId('points-unknown'), key !== null && list !== null && point === null
      ? `The unit's list has no point ${key}.` : '', 'bad');
    if (key === null) {
      const [text, type, sort] = ['text', 'type', 'sort'].map(name => query.get(name) ?? '');
      filter = { text, type, sort, notGood: query.has('bad'), folded: new Set(query.getAll('fold')) };
      for (const [name, id] of Object.entries(FIELDS))
        page.byId(id).value = filter[name];
      page.byId('filter-not-good').checked = filter.notGood;
      pointTable.sort(sort);
    }
    showTable();
  }

  // Takes changes of the filter.
  function change(changes) {
    Object.assign(filter, changes);
    const { text, type, sort, notGood, folded } = filter;
    const query = new URLSearchParams([...folded].map(group => ['fold', group]));
    for (const [name, value] of Object.entries({ text, type, sort, bad: notGood ? '1' : '' }))
      if (value !== '')
        query.set(name, value);
    tabs.setQuery('points', query);
    page.byId('point-back').href = `#points?${query}`;
    if (changes.folded === undefined)
      page.byId('points-scroller').scrollTop = 0;
    showTable();
  }

  // A third click brings the order of the list back.
  function sortBy(column) {
    const sort = { [column]: `-${column}`, [`-${column}`]: '' }[filter.sort] ?? column;
    pointTable.sort(sort);
    change({ sort });
  }

  function fold(group) {
    const folded = new Set(filter.folded);
    if (!folded.delete(group))
      folded.add(group);
    change({ folded });
  }

  // ---- Reading ----

  async function load() {
    page.showMessage(page.byId('points-state'), 'Loading the list of points…', 'wait');
    page.show(page.byId('points-reload'), false);
    try {
      const { points: loaded, ignored } = await pointList.load();
      list = loaded;
      pointTable.setPoints(list);
      page.showMessage(page.byId('points-state'), ignored === 0 ? ''
        : `${ignored} entries of the list of points cannot be used and are left out.`, 'bad');
      readAddress();
    } catch (error) {
      failed = true;
      pointTable.setPoints([]);
      page.write(page.byId('points-count'), '');
      page.showMessage(page.byId('points-state'), error.message, 'bad');
      page.show(page.byId('points-reload'), true);
    }
  }

  async function read(types) {
    await pointList.readAll(list, types);
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
      if (clock.text() === '')
        await clock.refresh(); // what is read gets the unit's time
      await read();
      trend.add(list);
      page.showMessage(page.byId('points-fault'), '', '');
    } catch (error) {
      if (error instanceof link.NoAnswer)
        throw error;
      page.showMessage(page.byId('points-fault'), error.message, 'bad');
    }
    update();
  }

  // Shows new values, and which have become stale.
  function update() {
    pointTable.update(filter);
    show();
  }

  async function afterAction(point) {
    try {
      await read([point.type]);
      await control.refresh();
    } catch {
      // The outcome of the action is shown; the next poll shows what is wrong.
    }
    showTable();
  }

  // The next poll loads the list again.
  function reload() {
    list = null;
    failed = false;
  }

  // Called when the unit does not answer: everything is stale now. A list that could not be loaded may be
  // there when it answers again.
  function retry() {
    failed = false;
    update();
  }

  function act(button) {
    const row = button.closest('tr');
    if (button.dataset.action === 'fold')
      fold(button.dataset.group);
    else
      operate.start(button.dataset.action, row === null ? pointView.point() : pointTable.pointOf(row), afterAction);
  }

  function save() {
    csv.save('points', [
      ['type', 'name', 'group', 'text', 'value', 'state', 'unit', 'quality', 'changed'],
      ...pointTable.matching(filter).map(point => [point.type, point.name, point.group, point.text, point.value,
        point.states[point.value] ?? '', point.unit, pointList.qualityOf(point), point.changed]),
    ]);
  }

  page.byId('panel-points').addEventListener('click', event => {
    const button = event.target.closest('[data-action], [data-sort]');
    if (button?.dataset.action)
      act(button);
    else if (button !== null)
      sortBy(button.dataset.sort);
  });
  page.byId('points-reload').addEventListener('click', () => {
    reload();
    load();
  });
  for (const [name, id] of Object.entries(FIELDS))
    page.byId(id).addEventListener('input', ({ target }) => change({ [name]: target.value.trim() }));
  page.byId('filter-not-good').addEventListener('input', ({ target }) => change({ notGood: target.checked }));
  page.byId('points-fold').addEventListener('click', () =>
    change({ folded: new Set(filter.folded.size > 0 ? [] : pointTable.groupNames()) }));
  page.byId('points-csv').addEventListener('click', save);
  page.byId('panel-points').addEventListener('shown', readAddress);
  setInterval(update, STALE_CHECK_MS);

  return { refresh, reload, retry };
})();
