// scripts/operate.js: what a person does to a point: operate, set, force, block, unblock.
'use strict';

const operate = (() => {
  const NUMBER = /^[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d{1,3})?$/i;
  const FLAGS = /^[A-Z0-9,_]{1,15}$/;
  const OLD_DATABASE = /coreDb version/;
  const OUTCOMES = [
    'done',
    'refused: the unit is under local control',
    'the unit has no such type of point',
    'the unit has no such point',
    'the unit does not accept this value',
    'the unit does not accept these flags',
  ];
  let flagsObjection = ''; // set when the unit says that its database is too old

  const nameOf = type => type === 'setPoint' ? 'set point' : type;
  const withUnit = (point, value) => point.unit === '' ? value : `${value} ${point.unit}`;

  function present(point) {
    return point.value === '' ? 'not readable' : `${withUnit(point, point.value)} (${point.quality})`;
  }

  function outcome(what, status) {
    const text = status === 0 ? 'done.' : `${OUTCOMES[status] || `the unit answered ${status}`}.`;
    return { good: status === 0, text: `${what}: ${text}` };
  }

  const address = point => ({ inputType: point.type, inputName: point.name });

  async function write(point, value, flags) {
    const parameters = { ...address(point), value };
    if (flags === '')
      return soap.status('coreDbKrunchData', parameters);
    try {
      return await soap.status('coreDbKrunchDataQuality', { ...parameters, flags });
    } catch (error) {
      if (error instanceof soap.Fault && OLD_DATABASE.test(error.message))
        flagsObjection = 'The unit\'s database is too old to force with flags.';
      throw error;
    }
  }

  function valueObjection(value) {
    if (value.includes(','))
      return 'Write the decimal point as ".".';
    return NUMBER.test(value) && Number.isFinite(Number(value)) ? '' : 'Enter a number.';
  }

  function objection({ value, flags }) {
    if (flags && !FLAGS.test(flags))
      return 'Flags are 1 to 15 of A-Z, 0-9, comma and underscore.';
    return valueObjection(value);
  }

  const valueField = (label, value) => ({ name: 'value', label, value, inputMode: 'decimal' });

  // A dialog for every action that writes a value.
  function askToWrite(point, verb, fields, after) {
    const title = `${verb} ${point.name} (${nameOf(point.type)})`;
    dialog.ask({
      title,
      fields,
      text: ({ value, flags }) => `${point.text || point.name}: ${present(point)} → `
        + withUnit(point, value.trim() || '…') + (flags ? ` (${flags})` : ''),
      objection: entered => objection({ ...entered, value: entered.value.trim() }),
      confirm: verb,
      action: async ({ value, flags = '' }) => {
        const old = present(point);
        const number = value.trim();
        const status = await write(point, number, flags);
        await after(point);
        return outcome(`${title} from ${old} to ${withUnit(point, number)}`
          + (flags === '' ? '' : ` with ${flags}`), status);
      },
    });
  }

  function askToBlock(point, onOff, verb, effect, after) {
    const title = `${verb} ${point.name} (${nameOf(point.type)})`;
    dialog.ask({
      title,
      text: () => `${point.text || point.name}: ${present(point)}. ${effect}`,
      confirm: verb,
      action: async () => {
        const status = await soap.status('coreDbBlockPoint', { ...address(point), onOff });
        await after(point);
        return outcome(title, status);
      },
    });
  }

  const ACTIONS = {
    operate: (point, after) => askToWrite(point, 'Operate', [valueField('Value', '1')], after),
    set: (point, after) => askToWrite(point, 'Set', [valueField('New value', point.value)], after),
    force: (point, after) => askToWrite(point, 'Force', [
      valueField('Value', point.value),
      {
        name: 'flags',
        label: 'Quality flags',
        hint: 'For example TEST or OLD,TEST. Empty: the unit chooses.',
        objection: flagsObjection,
      },
    ], after),
    block: (point, after) =>
      askToBlock(point, 1, 'Block', 'It then keeps its value until it is unblocked.', after),
    unblock: (point, after) =>
      askToBlock(point, 0, 'Unblock', 'It then follows the process again, also when it was forced.',
                 after),
  };

  // The actions that a point offers.
  function actionsOf(type) {
    const main = { command: ['operate', 'Operate'], setPoint: ['set', 'Set'] }[type];
    const common = [['force', 'Force'], ['block', 'Block'], ['unblock', 'Unblock']];
    return main === undefined ? common : [main, ...common];
  }

  const start = (action, point, after) => ACTIONS[action](point, after);

  return { actionsOf, start, nameOf };
})();
