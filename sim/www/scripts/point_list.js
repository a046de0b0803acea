// scripts/point_list.js: the unit's list of points, how they are read, and what their readings mean.
'use strict';

const pointList = (() => {
  const ADDRESS = '/cfgFiles/points.xml';
  const TYPES = ['status', 'analog', 'command', 'setPoint'];
  const FIELDS = ['type', 'name', 'group', 'unit', 'text', 'states', 'alarm', 'button'];
  const MAX_NAMES = 1000; // of one request
  const NAME = /^[^[\]]+$/; // brackets separate names in a request
  const UNREAD = { value: '', quality: 'X' };
  const STALE_MS = 8000; // older values are marked, even if an answer may still come

  // Returns the point that an element describes, or null if it describes none.
  function pointOf(element) {
    const point = Object.fromEntries(FIELDS.map(name => [name, element.getAttribute(name) || '']));
    if (!TYPES.includes(point.type) || !NAME.test(point.name))
      return null;
    return {
      ...point,
      ...UNREAD,
      states: point.states === '' ? [] : point.states.split('|'),
      words: `${point.name} ${point.text}`.toLowerCase(),
      changed: '',
      readMs: -Infinity,
      samples: [],
    };
  }

  // Throws when the list cannot be used at all. Leaves out and counts single entries that cannot be used.
  function parse(text) {
    const xml = new DOMParser().parseFromString(text, 'text/xml');
    if (xml.querySelector('parsererror') !== null)
      throw new Error('The list of points is damaged: it is not well-formed XML.');
    if (xml.documentElement.localName !== 'points')
      throw new Error('The list of points is damaged: it has no element "points".');
    const elements = [...xml.documentElement.children];
    const points = new Map();
    for (const point of elements.map(pointOf))
      if (point !== null && !points.has(`${point.type} ${point.name}`))
        points.set(`${point.type} ${point.name}`, point);
    return { points: [...points.values()], ignored: elements.length - points.size };
  }

  async function load() {
    let text = '';
    try {
      text = await link.get(ADDRESS);
    } catch {
      throw new Error(`The unit does not send its list of points, ${ADDRESS}.`);
    }
    return parse(text);
  }

  // "[value|QUALITY][X|X]": X means that a point could not be read. A reply may be cut.
  function readings(text) {
    return text.slice(1, -1).split('][').map(part => {
      const bar = part.lastIndexOf('|');
      const value = part.slice(0, bar);
      return bar === -1 || value === 'X' ? UNREAD : { value, quality: part.slice(bar + 1) };
    });
  }

  function take(point, reading) {
    const isFirst = point.readMs === -Infinity;
    const old = { ...point };
    Object.assign(point, reading, { readMs: performance.now() });
    if (point.value === old.value && point.quality === old.quality && !isFirst)
      return;
    if (!isFirst)
      point.changed = clock.text();
    events.note(point, isFirst ? null : old);
  }

  // The empty format gives every digit that the unit has.
  async function readSome(type, points) {
    const text = await soap.call('coreDbReadMultData', {
      inputType: type,
      inputNames: points.map(point => `[${point.name}]`).join(''),
      inputFormat: '',
      inputNum: points.length,
    });
    const answers = readings(text || '');
    points.forEach((point, index) => take(point, answers[index] || UNREAD));
  }

  // Sends one request for each type and thousand points.
  async function readAll(points, types = TYPES) {
    for (const type of types) {
      const own = points.filter(point => point.type === type);
      for (let start = 0; start < own.length; start += MAX_NAMES)
        await readSome(type, own.slice(start, start + MAX_NAMES));
    }
  }

  // Returns the value as a person reads it: a word, or the unit's own digits.
  const textOf = ({ states, value }) => states[value] ?? value;

  const isStale = point => document.body.dataset.connection === 'lost'
    || performance.now() - point.readMs > STALE_MS;

  // Returns the quality to show.
  function qualityOf(point) {
    if (point.quality === UNREAD.quality)
      return 'NOT READ';
    return isStale(point) ? 'STALE' : point.quality;
  }

  const keyOf = ({ type, name }) => `${type}/${name}`;

  return {
    load,
    parse,
    readAll,
    textOf,
    qualityOf,
    keyOf,
    addressOf: point => `#points?point=${encodeURIComponent(keyOf(point))}`,
    isAlarm: point => point.alarm !== '' && textOf(point) === point.alarm,
    numberOf: ({ value }) => value !== '' && Number.isFinite(Number(value)) ? Number(value) : NaN,
  };
})();
