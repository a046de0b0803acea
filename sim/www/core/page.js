// core/page.js: what all pages share: protection against old browsers, foreign frames and held keys, small
// helpers for the document, and the name of the unit. Texts are inserted as text, never as HTML.
'use strict';

// A browser that does not even understand these scripts shows the message as well.
if (!('showModal' in document.createElement('dialog')) || !('at' in Array.prototype))
  throw new Error('This browser is too old.');
document.getElementById('no-start').hidden = true;

if (window.top !== window.self) { // a foreign frame could steal a click
  document.documentElement.hidden = true;
  window.stop();
}

// A held Enter would press a button many times in a second.
document.addEventListener('keydown', event => {
  if (event.repeat && event.key === 'Enter')
    event.preventDefault();
}, true);

const page = (() => {
  const STATION_ATTEMPTS = 3; // then the page does without: the unit may have no station file
  const STATION_RETRY_MS = 5000;
  const TITLE = document.title;
  const LAST_REPORT = 'rtu.report'; // kept for the login page, which may follow at once

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

  // Does not touch the document when nothing changes: most cells keep their text from poll to poll.
  function write(element, text) {
    if (element.textContent !== text)
      element.textContent = text;
  }

  function show(element, visible) {
    if (element.hidden === visible)
      element.hidden = !visible;
  }

  // Shows a message in an element; an empty text removes it. Kinds: good, bad, unsure, wait.
  function showMessage(element, text, kind) {
    write(element, text);
    element.dataset.kind = kind || '';
    show(element, text !== '');
  }

  // Shows the outcome of a person's action at the foot of the page, until the next outcome. Kinds: good,
  // bad, unsure.
  function report({ kind, text }) {
    const timed = `${new Date().toTimeString().slice(0, 8)}  ${text}`;
    sessionStorage.setItem(LAST_REPORT, timed);
    write(byId('result-text'), timed);
    byId('result').dataset.kind = kind;
    show(byId('result'), true);
  }

  // Shows the outcome there and beside the form that it belongs to.
  function reportAt(element, outcome) {
    showMessage(element, outcome.text, outcome.kind);
    report(outcome);
  }

  // Somebody may be about to click there, or to press Enter.
  const isUnderHand = element =>
    element.matches(':hover') || element.querySelector(':focus-visible') !== null;

  function save(name, text, type) {
    const address = URL.createObjectURL(new Blob([text], { type }));
    make('a', { href: address, download: name }).click();
    URL.revokeObjectURL(address);
  }

  async function readPlace() {
    const text = await link.get('/lan/station.xml');
    const root = new DOMParser().parseFromString(text, 'text/xml').documentElement;
    write(byId('station'), root.getAttribute('name') || 'Remote terminal unit');
    write(byId('place'), root.getAttribute('place') || '');
    document.title = `${byId('station').textContent}: ${TITLE}`;
  }

  async function readType() {
    write(byId('unit-type'), `RTU ${await soap.call('getRTU') || ''}`);
  }

  async function attempt(read, left) {
    try {
      await read();
    } catch {
      if (left > 1)
        setTimeout(attempt, STATION_RETRY_MS, read, left - 1);
    }
  }

  // Shows which unit this is, with or without a session.
  function showStation() {
    write(byId('address'), location.host);
    attempt(readPlace, STATION_ATTEMPTS);
    attempt(readType, STATION_ATTEMPTS);
  }

  return {
    byId,
    bytesOf,
    make,
    button,
    write,
    show,
    showMessage,
    report,
    reportAt,
    isUnderHand,
    save,
    lastReport: () => sessionStorage.getItem(LAST_REPORT) || '',
    forgetReport: () => sessionStorage.removeItem(LAST_REPORT),
    showStation,
  };
})();
