// scripts/page.js: small helpers for the document. Texts go in as text, never as HTML.
'use strict';

const page = (() => {
  const byId = id => document.getElementById(id);

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
  function report(text, good) {
    const time = new Date().toTimeString().slice(0, 8);
    write(byId('result-text'), `${time}  ${text}`);
    byId('result').dataset.kind = good ? 'good' : 'bad';
    show(byId('result'), true);
  }

  return { byId, make, button, write, show, tell, report };
})();
