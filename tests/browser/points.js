// points.js: what the pages show of 4000 points: their values, the table, a point's own view, events.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { openUnit } from './support/visitor.js';

const OF_A_TYPE = 995;
const NODES = 2000; // that a page may have
const FIRST = [
  { type: 'analog', name: 'TINY', value: -1.23456789e-05, unit: 'Mvar' },
  { type: 'analog', name: 'ENERGY', value: 1234567.891, unit: 'MWh', text: '=1+1' },
  { type: 'status', name: 'SWITCH', value: 1, states: 'open|closed', alarm: 'open' },
  { type: 'setPoint', name: 'LIMIT', value: 5 },
];
const many = Array.from({ length: OF_A_TYPE }, (_, index) => ['status', 'analog', 'command', 'setPoint'].map(type =>
  ({ type, name: `${type}_${index}`, group: `Bay ${index % 50}`, value: index })));

const { unit, visit, visitAs } =
  await openUnit(['--security', 'host', '--points', 'list'], { list: [...FIRST, ...many.flat()] });

const force = (inputType, inputName, value, flags) =>
  unit.call('coreDbKrunchDataQuality', { inputType, inputName, value, flags });
const block = (inputType, inputName, onOff) => unit.call('coreDbBlockPoint', { inputType, inputName, onOff });
const namesOf = page => page.locator('#points-rows [data-cell="name"]').allTextContents();

visit('a value is whole, a state is a word, and what is not read or old is never GOOD', async (visitor, page) => {
  await page.route('**/cfgFiles/points.xml', async route => {
    const answer = await route.fetch();
    await route.fulfill({ body: (await answer.text()).replace('</points>', '<point type="analog" name="GONE"/></points>') });
  });
  await visitor.logIn('operator');
  for (const [name, value] of [['TINY', '-1.23456789e-05'], ['ENERGY', '1234567.891'], ['SWITCH', 'closed']]) {
    await page.fill('#filter-text', name);
    await visitor.sees(visitor.cell(name, 'value'), new RegExp(`^${value}$`));
    const room = await visitor.cell(name, 'value').evaluate(({ scrollWidth, clientWidth, parentElement }) =>
      [scrollWidth - clientWidth, parentElement.scrollWidth - parentElement.clientWidth]);
    assert.ok(Math.max(...room) <= 0, `${name} is cut: ${room}`);
  }
  await visitor.start('ENERGY', 'force');
  assert.equal(await page.inputValue('#dialog-value'), '1234567.891');
  await page.click('#dialog-cancel');
  await page.fill('#filter-text', 'GONE');
  await visitor.sees(visitor.cell('GONE', 'quality'), 'NOT READ');

  await page.fill('#filter-text', 'TINY');
  let slow = true;
  await page.route('**/', route => slow ? setTimeout(() => route.continue(), 5000) : route.continue());
  await visitor.sees(visitor.cell('TINY', 'quality'), 'STALE');
  await visitor.screenshot('stale');
  assert.notEqual(await page.getAttribute('body', 'data-connection'), 'lost'); // it answers
  slow = false;
  await visitor.sees(visitor.cell('TINY', 'quality'), 'GOOD');
  await page.unrouteAll({ behavior: 'wait' });
});

visitAs('operator', 'new bad points appear, and nothing moves under the mouse or the focus', async (visitor, page) => {
  await block('analog', 'analog_500', 1);
  await page.check('#filter-not-good');
  const before = await visitor.row('analog_500').boundingBox();
  for (const [bad, here] of Object.entries({ analog_0: () => visitor.row('analog_500').hover(),
                                             analog_50: () => page.press('[data-sort="changed"]', 'Tab') })) {
    await here();
    await block('analog', bad, 1);
    await visitor.row(bad).waitFor();
    assert.deepEqual(await visitor.row('analog_500').boundingBox(), before);
    await page.focus('#logout');
    await page.hover('#station');
    await page.waitForFunction(name => document.querySelector('#points-rows a').textContent === name, bad);
    await block('analog', bad, 0);
    await visitor.sees('#points-count', /^1 of/);
  }
  await block('analog', 'analog_500', 0);
});

visitAs('viewer', 'only points in sight are drawn; the address keeps filter, order and folds', async (visitor, page) => {
  await visitor.sees('#points-count', /^3984 of 3984/);
  assert.ok(await page.locator('*').count() <= NODES);
  await page.locator('#points-scroller').evaluate(element => element.scrollTo(0, element.scrollHeight));
  await visitor.row('setPoint_949').waitFor();
  await visitor.screenshot('4000');
  for (const bar of ['#station', '#control', '#connection', '#filter-text', '[data-sort="value"]'])
    assert.ok((await page.locator(bar).boundingBox()).y >= 0, `${bar} is out of sight`);
  await page.fill('#filter-text', 'setpoint_');
  await page.click('[data-sort="value"]');
  const bay = ['setPoint_0', 'setPoint_50', 'setPoint_100', 'setPoint_150'];
  assert.deepEqual((await namesOf(page)).slice(0, 4), bay);
  await page.reload();
  await visitor.sees('#points-count', /^995 of 3984/);
  assert.deepEqual((await namesOf(page)).slice(0, 4), bay);
  await page.fill('#filter-text', '');
  await page.click('[data-group="Bay 0"]');
  await page.reload();
  await page.locator('[data-group="Bay 0"][aria-expanded="false"]').waitFor();
  assert.ok(!(await namesOf(page)).includes('setPoint_0'));
});

visitAs('operator', 'a phone shows six points; a tap opens one, with its actions', async (visitor, page) => {
  await visitor.row('status_0').waitFor();
  const inSight = await page.locator('[data-point]').evaluateAll(rows =>
    rows.filter(row => row.getBoundingClientRect().bottom <= window.innerHeight).length);
  assert.ok(inSight >= 6, `${inSight} points`);
  await page.fill('#filter-text', 'limit');
  await visitor.row('LIMIT').tap();
  await page.tap('#point-actions [data-action="set"]');
  await page.fill('#dialog-value', '7');
}, { viewport: { width: 390, height: 844 }, hasTouch: true });

visitAs('operator', 'a point has a view: a trend with a scale, extremes, history, an address', async (visitor, page) => {
  await page.goto('/QOPweb.htm#points?point=setPoint%2FLIMIT');
  await visitor.sees('#point-value', '5');
  await force('setPoint', 'LIMIT', 8.5, 'TEST');
  await visitor.sees('#point-history', '8.5 TEST');
  await visitor.sees('#point-least', /^5 +at \d\d:\d\d:\d\d$/);
  await visitor.sees('#point-greatest', /^8.5 /);
  assert.deepEqual(await page.locator('#chart-scale span').allTextContents(), ['5', '6', '7', '8', '9']);
  const heights = await page.getAttribute('#chart-line', 'd');
  assert.match(heights, /^M0.0 100.0.*V12.5/); // from the bottom nearly to the top
  const { x, y, width, height } = await page.locator('#chart-drawing').boundingBox();
  await page.mouse.move(x + width - 1, y + height / 2);
  await visitor.sees('#chart-reading', /: 8.5/);
  await page.mouse.move(x + 1, y + height / 2);
  await visitor.sees('#chart-reading', /: 5/);
  await visitor.screenshot('point');
  await page.click('#point-history [data-alarm="open"] button');
  await page.locator('#tab-events:text-is("Events")').waitFor();
  await block('setPoint', 'LIMIT', 0);
  await page.click('#point-back');
  await visitor.row('TINY').waitFor();
});

async function saved(page, button) {
  const [download] = await Promise.all([page.waitForEvent('download'), page.click(button)]);
  return (await readFile(await download.path(), 'utf8')).split('\r\n');
}

visitAs('operator', 'events list changes, alarms first; points, events and log are saved', async (visitor, page) => {
  await force('status', 'SWITCH', 0, 'GOOD');
  await visitor.sees('#tab-events', /\(\d+\)/);
  await force('status', 'status_3', 17, 'GOOD');
  await visitor.openTab('events');
  await visitor.sees('#events-lines', /status_3 3 → 17/);
  await visitor.sees('#events-lines li:first-child', /^20\d\d-.*SWITCH closed → open/);
  await visitor.screenshot('events');
  await page.click('[data-alarm="open"] button');
  await page.hover('#station');
  await visitor.sees('#events-lines li:first-child', 'status_3');
  assert.match((await saved(page, '#events-csv'))[2], /,"status\/SWITCH","","closed","open","alarm","yes"$/);
  await visitor.openTab('points');
  await page.fill('#filter-text', 'energy');
  const [, line] = await saved(page, '#points-csv');
  assert.match(line, /^"analog","ENERGY","","'=1\+1","1234567.891","","MWh","GOOD",/);
  await visitor.openTab('log');
  await visitor.sees('#log-lines', 'force: 0');
  const times = (await saved(page, '#log-csv')).slice(1, -1).map(row => row.slice(1, 24));
  assert.deepEqual(times, [...times].sort().reverse());
});
