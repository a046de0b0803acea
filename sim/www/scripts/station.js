// scripts/station.js: tells which unit this is, also without a session: station, type and address.
'use strict';

const station = (() => {
  async function readPlace() {
    const xml = new DOMParser().parseFromString(await link.get('/lan/station.xml'), 'text/xml');
    const root = xml.documentElement;
    page.write(page.byId('station'), root.getAttribute('name') || 'Remote terminal unit');
    page.write(page.byId('place'), root.getAttribute('place') || '');
  }

  async function readType() {
    page.write(page.byId('unit-type'), `RTU ${await soap.call('getRTU') || ''}`);
  }

  // A unit without a station file is still a unit.
  async function show() {
    page.write(page.byId('address'), location.host);
    await readPlace().catch(() => {});
    await readType().catch(() => {});
    document.title = `${page.byId('station').textContent}: ${document.title}`;
  }

  return { show };
})();
