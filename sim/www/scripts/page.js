// scripts/page.js: what both pages share: no foreign frame around them, small helpers for the
// document, and the name of the unit. Texts go in as text, never as HTML.
'use strict';

if (window.top !== window.self) { // a click could be stolen there
  document.documentElement.hidden = true;
  window.stop();
}

const page = (() => {
  const STATION_ATTEMPTS = 3; // a unit without a station file is still a unit
  const STATION_RETRY_MS = 5000;
  const TITLE = document.title;

  const byId = id => document.getElementById(id);
  const bytesOf = text => new TextEncoder().encode(text).length;

  // make('td', {className: 'type', textContent: 'analog'}, child, ...)
  function make(tag, properties, ...children) {
    const element = Object.assign(document.createElement(tag), properties);
    element.append(...children);
    return element;
  }

  function button(label, action, needs) {
    const element = make('button', { type: 'button', textContent: label });
    element.dataset.action = action;
    if (needs)
      element.dataset.needs = needs;
    return element;
  }

  // Leaves the document alone when nothing changes: most cells keep their text from poll to poll.
  function write(element, text) {
    if (element.textContent !== text)
      element.textContent = text;
  }

  function show(element, visible) {
    if (element.hidden === visible)
      element.hidden = !visible;
  }

  // A message in its place; an empty text takes it away. Kinds: good, bad, wait.
  function tell(element, text, kind) {
    write(element, text);
    element.dataset.kind = kind || '';
    show(element, text !== '');
  }

  // The outcome of what a person did, at the foot of the page until the next one.
  function report({ good, text }) {
    const time = new Date().toTimeString().slice(0, 8);
    write(byId('result-text'), `${time}  ${text}`);
    byId('result').dataset.kind = good ? 'good' : 'bad';
    show(byId('result'), true);
  }

  // The same, and beside the form that it belongs to.
  function reportAt(element, outcome) {
    tell(element, outcome.text, outcome.good ? 'good' : 'bad');
    report(outcome);
  }

  async function readPlace() {
    const text = await link.get('/lan/station.xml', true);
    const root = new DOMParser().parseFromString(text, 'text/xml').documentElement;
    write(byId('station'), root.getAttribute('name') || 'Remote terminal unit');
    write(byId('place'), root.getAttribute('place') || '');
    document.title = `${byId('station').textContent}: ${TITLE}`;
  }

  async function readType() {
    write(byId('unit-type'), `RTU ${await soap.poll('getRTU') || ''}`);
  }

  async function attempt(read, left) {
    try {
      await read();
    } catch {
      if (left > 1)
        setTimeout(attempt, STATION_RETRY_MS, read, left - 1);
    }
  }

  // Tells which unit this is, also without a session.
  function showStation() {
    write(byId('address'), location.host);
    attempt(readPlace, STATION_ATTEMPTS);
    attempt(readType, STATION_ATTEMPTS);
  }

  return { byId, bytesOf, make, button, write, show, tell, report, reportAt, showStation };
})();
