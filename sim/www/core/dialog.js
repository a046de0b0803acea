// core/dialog.js: the one dialog. It says what will happen, asks for missing values, and stays open
// until the unit has done it.
'use strict';

const dialog = (() => {
  const element = page.byId('dialog');
  const confirm = page.byId('dialog-confirm');
  const cancel = page.byId('dialog-cancel');
  let question = null; // what ask() was given

  function makeField(field) {
    const id = `dialog-${field.name}`;
    const input = page.make('input', {
      id,
      name: field.name,
      type: field.type || 'text',
      value: field.value || '',
      autocomplete: field.type === 'password' ? 'new-password' : 'off',
      inputMode: field.inputMode || 'text',
      disabled: Boolean(field.objection),
      spellcheck: false,
    });
    input.setAttribute('aria-describedby', `${id}-hint`);
    const hint = page.make('p', { id: `${id}-hint`, className: 'hint' });
    hint.textContent = field.objection || field.hint || '';
    return [page.make('label', { htmlFor: id, textContent: field.label }), input, hint];
  }

  function values() {
    const inputs = page.byId('dialog-fields').querySelectorAll('input');
    return Object.fromEntries([...inputs].map(input => [input.name, input.value]));
  }

  // What it shows of the unit may change while it is open.
  function update() {
    if (element.open)
      page.write(page.byId('dialog-text'), question.text(values()));
  }

  // Shows what the entered values would do, or why they cannot be used.
  function review() {
    const entered = values();
    const objection = question.objection ? question.objection(entered) : '';
    update();
    page.showMessage(page.byId('dialog-result'), objection, 'wait');
    confirm.disabled = objection !== '';
  }

  function setBusy(busy) {
    confirm.disabled = cancel.disabled = busy;
    element.toggleAttribute('data-busy', busy);
  }

  // A good outcome closes the dialog; a bad one stays open so that it can be read.
  async function submit(event) {
    event.preventDefault();
    if (confirm.disabled)
      return;
    setBusy(true);
    page.showMessage(page.byId('dialog-result'), 'Waiting for the unit…', 'wait');
    const outcome = await soap.outcomeOf(() => question.action(values()));
    setBusy(false);
    page.report(outcome);
    if (outcome.good)
      element.close();
    else
      page.showMessage(page.byId('dialog-result'), outcome.text, 'bad');
  }

  // {title, fields, text(values), objection(values), confirm, action(values), danger}
  function ask(asked) {
    question = asked;
    page.byId('dialog-title').textContent = asked.title;
    page.byId('dialog-fields').replaceChildren(...(asked.fields || []).flatMap(makeField));
    confirm.textContent = asked.confirm;
    confirm.classList.toggle('danger', Boolean(asked.danger));
    element.showModal();
    review();
    const first = page.byId('dialog-fields').querySelector('input:enabled');
    if (first === null)
      cancel.focus();
    else
      first.select();
  }

  page.byId('dialog-form').addEventListener('submit', submit);
  page.byId('dialog-fields').addEventListener('input', () => review());
  cancel.addEventListener('click', () => element.close());
  element.addEventListener('cancel', event => {
    if (element.hasAttribute('data-busy'))
      event.preventDefault(); // the answer is still to come
  });

  return { ask, update };
})();
