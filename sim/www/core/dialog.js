// core/dialog.js: the one dialog. It says what will happen, asks for missing values, and stays open until
// the unit has done it.
'use strict';

const dialog = (() => {
  const SETTLE_MS = 700; // a double tap must not confirm what it has opened
  const element = page.byId('dialog');
  const confirm = page.byId('dialog-confirm');
  const cancel = page.byId('dialog-cancel');
  const result = page.byId('dialog-result');
  let question = null; // what ask() was given
  let settled = false;
  let settling;
  let busy = false;

  const say = text => page.showMessage(result, text, 'wait');

  function makeField({ name, label, type = 'text', value = '', hint = '', objection = '', ...attributes }) {
    const id = `dialog-${name}`;
    const isBox = type === 'checkbox';
    const input = page.make('input', {
      id,
      name,
      type,
      [isBox ? 'checked' : 'value']: value,
      autocomplete: type === 'password' ? 'new-password' : 'off',
      disabled: objection !== '',
      spellcheck: false,
      ...attributes,
    });
    const help = page.make('p', { id: `${id}-hint`, className: 'hint', textContent: objection || hint });
    input.setAttribute('aria-describedby', help.id);
    const caption = page.make('label', { htmlFor: id, textContent: label, className: type });
    return isBox ? [page.make('div', { className: 'check' }, input, caption)] : [caption, input, help];
  }

  function values() {
    const inputs = [...page.byId('dialog-fields').querySelectorAll('input')];
    return Object.fromEntries(inputs.map(({ name, type, value, checked }) =>
      [name, type === 'checkbox' ? checked : value]));
  }

  // What it shows of the unit may change while it is open.
  function update() {
    if (element.open)
      page.write(page.byId('dialog-text'), question.text(values()));
  }

  function allow() {
    const objection = question.objection ? question.objection(values()) : '';
    confirm.disabled = busy || !settled || objection !== '';
    return objection;
  }

  // Shows what the entered values would do, or why they cannot be used.
  function review() {
    update();
    say(allow());
  }

  // For a moment the dialog takes no confirmation.
  function settle() {
    busy = false;
    settled = false;
    cancel.disabled = false;
    clearTimeout(settling);
    settling = setTimeout(() => {
      settled = true;
      allow();
    }, SETTLE_MS);
  }

  // A good outcome closes the dialog; another one stays open so that it can be read.
  async function submit(event) {
    event.preventDefault();
    if (confirm.disabled)
      return;
    busy = confirm.disabled = true;
    cancel.textContent = 'Cancel';
    say('Asking the unit…');
    const outcome = await question.action(values());
    page.report(outcome);
    settle();
    cancel.textContent = 'Close';
    page.showMessage(result, outcome.text, outcome.kind);
    if (outcome.kind === 'good')
      element.close();
  }

  // What has not been sent is dropped, and its outcome says so. What has been sent cannot be taken back.
  function close() {
    link.cancel();
    element.close();
  }

  // {title, fields, text(values), objection(values), confirm, action(values), danger}
  function ask(asked) {
    question = asked;
    page.byId('dialog-title').textContent = asked.title;
    page.byId('dialog-fields').replaceChildren(...(asked.fields || []).flatMap(makeField));
    confirm.textContent = asked.confirm;
    cancel.textContent = 'Cancel';
    confirm.classList.toggle('danger', Boolean(asked.danger));
    element.showModal();
    settle();
    review();
    const first = page.byId('dialog-fields').querySelector('input:enabled') || cancel;
    first.focus();
    if (first.type === 'text')
      first.select();
  }

  page.byId('dialog-form').addEventListener('submit', submit);
  page.byId('dialog-fields').addEventListener('input', review);
  cancel.addEventListener('click', close);
  element.addEventListener('cancel', event => {
    event.preventDefault();
    if (!cancel.disabled)
      close();
  });
  document.addEventListener('sent', () => {
    cancel.disabled = busy;
    say('Sent. Waiting for the unit…');
  });

  return { ask, update, say };
})();
