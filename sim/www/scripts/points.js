// scripts/points.js: the section of points: loads the list, reads it at each poll, filters, counts.
'use strict';

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
    page.tell(page.byId('points-empty'), shown === 0 ? empty : '', 'wait');
  }

  function applyFilter() {
    if (list !== null)
      count(pointTable.showMatching(filter()));
  }

  async function load() {
    page.tell(page.byId('points-state'), 'Loading the list of points…', 'wait');
    page.show(page.byId('points-reload'), false);
    try {
      const { points: loaded, ignored } = await pointList.load();
      list = loaded;
      pointTable.build(list);
      page.tell(page.byId('points-state'), ignored === 0 ? ''
        : `${ignored} entries of the list of points cannot be used and are left out.`, 'bad');
      applyFilter(); // the browser may have kept it over a reload
    } catch (error) {
      failed = true;
      pointTable.build([]);
      page.write(page.byId('points-count'), '');
      page.tell(page.byId('points-state'), error.message, 'bad');
      page.show(page.byId('points-reload'), true);
    }
  }

  async function read(types) {
    await pointList.readAll(list, types);
    const time = clock.text();
    for (const point of list)
      if (types === undefined || types.includes(point.type))
        pointTable.update(point, time);
  }

  // At each poll. A fault is told here; that the unit is away is the caller's business.
  async function refresh() {
    if (rights.reason('read') !== '' || failed)
      return;
    if (list === null)
      await load();
    if (list === null)
      return;
    try {
      await read();
      page.tell(page.byId('points-fault'), '', '');
    } catch (error) {
      if (error instanceof link.NoAnswer)
        throw error;
      page.tell(page.byId('points-fault'), soap.describe(error), 'bad');
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
      // The action's own outcome counts; the next poll tells what is wrong.
    }
    applyFilter();
  }

  // The next poll loads the list again.
  function reload() {
    list = null;
    failed = false;
  }

  // After the unit was away: a list that could not be loaded may be there now.
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
