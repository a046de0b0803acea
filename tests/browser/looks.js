// looks.js: how the pages look: takes screenshots of every section, checks contrast and labels with
// axe, and checks that no section is wider than its screen.
import assert from 'node:assert/strict';
import axe from 'axe-core';
import { openUnit } from './support/visitor.js';

// By section, what must be there before it is looked at.
const SECTIONS = {
  unit: '#unit-version:not(:empty)',
  users: '[data-user="viewer"]',
  files: '[data-file="/cfgFiles/netConfig.xml"]',
  log: '#log-lines li',
  events: '#events-lines li',
  points: '[data-point="FDR1_IA"]:has(path[d*="L100"])', // a line of some readings; the next two go on from here
};
const LOOKS = {
  light: { colorScheme: 'light' },
  dark: { colorScheme: 'dark', viewport: { width: 1440, height: 900 } },
  narrow: { colorScheme: 'light', viewport: { width: 390, height: 844 } }, // a phone
};

const { unit, visit } = await openUnit(['--security', 'host']);
await unit.call('coreDbBlockPoint', { inputType: 'status', inputName: 'BRK3_POS', onOff: 1 });

for (const [look, options] of Object.entries(LOOKS))
  visit(look, async (visitor, page, context) => {
    const inspect = (name, sign) => context.test(name, async () => {
      await page.locator(sign).first().waitFor();
      await visitor.screenshot(`${look}-${name}`);
      await page.evaluate(axe.source);
      const violations = await page.evaluate(async () => (await window.axe.run()).violations);
      assert.deepEqual(violations.map(({ help, nodes }) => `${nodes.length} times: ${help}: ${nodes[0].html}`), []);
      const excess = await page.evaluate('document.documentElement.scrollWidth - window.innerWidth');
      assert.ok(excess <= 0, `${excess} pixels wider than its screen`);
    });
    await page.goto('/index.htm?u=wa', { waitUntil: 'networkidle' });
    await inspect('login', '#message:has-text("another address")');
    await visitor.logIn('admin');
    await visitor.sees(visitor.cell('FDR1_IA', 'value'), /\d/);
    await page.fill('#filter-text', 'feeder'); // of every type
    for (const [section, sign] of Object.entries(SECTIONS)) {
      await visitor.openTab(section);
      await inspect(section, sign);
    }
    await visitor.row('FDR1_IA').locator('a').click();
    await inspect('point', '#chart-line[d*="L100"]');
    await page.click('#point-actions [data-action="force"]');
    await inspect('dialog', '#dialog');
  }, options);
