// scripts/point_view.js: a point's own view, which has an address of its own: its trend, its least and
// greatest value, its history and its actions.
'use strict';

const pointView = (() => {
  const HISTORY = 50; // events shown
  let shown = null; // the point
  let newest = null; // the event at the top of its history

  const write = (name, text) => page.write(page.byId(`point-${name}`), text);

  // States have no extremes.
  function writeExtreme(name, sample) {
    page.show(page.byId(`point-${name}`).parentElement, sample !== undefined && shown.states.length === 0);
    write(name, sample === undefined ? '' : `${sample.value} ${shown.unit} at ${sample.text.slice(-8)}`);
  }

  // Called at each poll.
  function update() {
    if (shown === null)
      return;
    const quality = pointList.qualityOf(shown);
    write('value', `${pointList.textOf(shown) || '–'} ${shown.unit}`);
    write('quality', quality);
    write('changed', shown.changed || 'not since this page was opened');
    Object.assign(page.byId('point').dataset, { quality, alarm: pointList.isAlarm(shown) });
    const [least, greatest] = trend.draw(shown);
    writeExtreme('least', least);
    writeExtreme('greatest', greatest);
    const history = events.of(shown).slice(0, HISTORY);
    if (history[0] === newest || page.isUnderHand(page.byId('point-history')))
      return;
    newest = history[0];
    page.byId('point-history').replaceChildren(...history.map(events.item));
  }

  // Shows the point; null hides the view.
  function show(point) {
    const isNew = point !== shown;
    shown = point;
    page.show(page.byId('point'), point !== null);
    if (point === null || !isNew)
      return;
    write('name', point.name);
    write('text', point.text);
    write('kind', [operate.nameOf(point.type), point.group].filter(Boolean).join(', '));
    page.byId('point-link').href = pointList.addressOf(point);
    page.byId('point-actions').replaceChildren(...pointTable.buttonsOf(point));
    rights.applyTo(page.byId('point-actions'));
    page.byId('point-history').replaceChildren();
    newest = null;
    page.byId('point-name').focus();
    update();
  }

  return { show, update, point: () => shown };
})();
