// looks.js: how the pages look: takes screenshots of every section, checks contrast and labels with
// axe, and checks that no section is wider than its screen.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import axe from 'axe-core';
import { Unit } from './support/unit.js';
import { openBrowser, PANEL, PHONE, Visitor } from './support/visitor.js';

// By section, what must be there before it is looked at.
const SECTIONS = {
  unit: '#unit-version:not(:empty)',
  users: '[data-user="viewer"]',
  files: '[data-file="/cfgFiles/netConfig.xml"]',
  log: '#log-lines li',
  points: '[data-point="FDR1_IA"] path[d*="L55"]', // last: a line of five readings
};
const LOOKS = {
  light: { viewport: PANEL, colorScheme: 'light' },
  dark: { viewport: PANEL, colorScheme: 'dark' },
  narrow: { viewport: PHONE, colorScheme: 'light' },
};

let browser, unit;

before(async () => {
  browser = await openBrowser();
  unit = await Unit.start(['--security', 'host']);
  await unit.call('coreDbBlockPoint', { inputType: 'status', inputName: 'BRK3_POS', onOff: 1 });
});

after(async () => {
  await browser.close();
  await unit.stop();
});

async function inspect(visitor, name) {
  await visitor.screenshot(name);
  const found = await visitor.page.evaluate(async source => {
    (0, eval)(source);
    return {
      width: document.documentElement.scrollWidth - window.innerWidth,
      violations: (await window.axe.run()).violations,
    };
  }, axe.source);
  const objections = found.violations.map(({ help, nodes }) =>
    `${nodes.length} times: ${help}: ${nodes[0].html}`);
  assert.deepEqual(objections, []);
  assert.ok(found.width <= 0, `${name} is ${found.width} pixels wider than its screen`);
}

for (const [look, options] of Object.entries(LOOKS))
  test(look, async context => {
    const visitor = await Visitor.meet(browser, unit, options);
    await visitor.page.goto('/index.htm?u=nv', { waitUntil: 'networkidle' });
    await context.test('login', () => inspect(visitor, `${look}-login`));
    await visitor.logIn('admin');
    await visitor.sees(visitor.cell('FDR1_IA', 'value'), /\d/);
    await visitor.page.fill('#filter-text', 'feeder'); // of every type
    for (const [section, sign] of Object.entries(SECTIONS))
      await context.test(section, async () => {
        await visitor.openTab(section);
        await visitor.page.locator(sign).first().waitFor();
        await inspect(visitor, `${look}-${section}`);
      });
    await context.test('dialog', async () => {
      await visitor.row('FDR1_I_LIMIT').locator('[data-action="set"]').click();
      await inspect(visitor, `${look}-dialog`);
    });
    await visitor.leave();
  });
