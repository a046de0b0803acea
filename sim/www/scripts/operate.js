// scripts/operate.js: what a person does to a point: operate, set, force, block, unblock.
'use strict';

const operate = (() => {
  const NUMBER = /^[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d{1,3})?$/i;
  const FLAGS = /^[A-Z0-9,_]{1,15}$/;
  const OLD_DATABASE = /coreDb version/;
  const OPERATE = '1'; // what a command is given
  const MEANINGS = {
    1: 'refused: the unit is under local control',
    2: 'the unit has no such type of point',
    3: 'the unit has no such point',
    4: 'the unit does not accept this value',
    5: 'the unit does not accept these flags',
  };
  let flagsObjection = ''; // set when the unit says that its database is too old

  const nameOf = type => type === 'setPoint' ? 'set point' : type;
  const withUnit = (point, value) => point.states[value] || (point.unit === '' ? value : `${value} ${point.unit}`);
  const present = point =>
    point.value === '' ? 'not readable' : `${withUnit(point, point.value)} (${point.quality})`;

  function objection(value, flags) {
    if (value.includes(','))
      return 'Write the decimal point as ".".';
    if (!NUMBER.test(value) || !Number.isFinite(Number(value)))
      return 'Enter a number.';
    return flags === '' || FLAGS.test(flags) ? ''
      : 'Flags are 1 to 15 of A-Z, 0-9, comma and underscore.';
  }

  async function send(what, operation, point, parameters, after) {
    const outcome = await soap.perform(what, operation,
      { inputType: point.type, inputName: point.name, ...parameters }, MEANINGS);
    if (OLD_DATABASE.test(outcome.text))
      flagsObjection = 'The unit\'s database is too old to force with flags.';
    after(point);
    return outcome;
  }

  // A dialog without a value. effect() returns what the person should know.
  function confirm(point, title, verb, operation, parameters, effect, after) {
    dialog.ask({
      title,
      text: () => `${point.text || point.name}${effect()}`,
      confirm: verb,
      action: () => send(title, operation, point, parameters, after),
    });
  }

  // A dialog that asks for a value.
  function askToWrite(point, verb, fields, after) {
    const title = `${verb} ${point.name}`;
    const change = (value, flags) =>
      `${present(point)} → ${withUnit(point, value)}${flags === '' ? '' : ` (${flags})`}`;
    const words = point.states.map((word, value) => `${value} ${word}`).join(', ');
    const value = { name: 'value', label: 'New value', value: point.value, hint: words, inputMode: 'decimal' };
    dialog.ask({
      title,
      fields: [value, ...fields],
      text: ({ value, flags = '' }) => `${point.text || point.name}: ${change(value.trim() || '…', flags)}`,
      objection: ({ value, flags = '' }) => objection(value.trim(), flags),
      confirm: verb,
      action: ({ value, flags = '' }) => send(`${title}, ${change(value.trim(), flags)}`,
        flags === '' ? 'coreDbKrunchData' : 'coreDbKrunchDataQuality', point,
        { value: value.trim(), ...(flags === '' ? {} : { flags }) }, after),
    });
  }

  function askToBlock(point, onOff, verb, effect, after) {
    confirm(point, `${verb} ${point.name}`, verb, 'coreDbBlockPoint', { onOff },
            () => `: ${present(point)}. ${effect}`, after);
  }

  const buttonOf = point => point.button || 'Operate';

  const ACTIONS = {
    operate: (point, after) => confirm(point, `${buttonOf(point)} (${point.name})`, buttonOf(point),
      'coreDbKrunchData', { value: OPERATE }, () => point.group === '' ? '' : `, ${point.group}`, after),
    set: (point, after) => askToWrite(point, 'Set', [], after),
    force: (point, after) => askToWrite(point, 'Force', [{
      name: 'flags',
      label: 'Quality flags',
      hint: 'For example TEST or OLD,TEST. Empty: the unit chooses.',
      objection: flagsObjection,
    }], after),
    block: (point, after) =>
      askToBlock(point, 1, 'Block', 'It then keeps its value until it is unblocked.', after),
    unblock: (point, after) =>
      askToBlock(point, 0, 'Unblock', 'It then follows the process again, also when it was forced.', after),
  };

  // The actions that a point offers, each with the text of its button.
  function actionsOf(point) {
    const main = { command: [['operate', buttonOf(point)]], setPoint: [['set', 'Set']] }[point.type] || [];
    return [...main, ['force', 'Force'], ['block', 'Block'], ['unblock', 'Unblock']];
  }

  const start = (action, point, after) => ACTIONS[action](point, after);

  return { actionsOf, start, nameOf };
})();
