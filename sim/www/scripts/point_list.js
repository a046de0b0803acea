// scripts/point_list.js: which points the unit has (from its list) and what they read now.
'use strict';

const pointList = (() => {
  const ADDRESS = '/cfgFiles/points.xml';
  const TYPES = ['status', 'analog', 'command', 'setPoint'];
  const MAX_NAMES = 1000; // of one request
  const NAME = /^[^[\]]+$/; // brackets separate names in a request
  const UNREAD = { value: '', quality: 'X' };

  // An element as a point, or null when it is none.
  function pointOf(element) {
    const text = name => element.getAttribute(name) || '';
    const point = { type: text('type'), name: text('name'), unit: text('unit'), text: text('text') };
    if (!TYPES.includes(point.type) || !NAME.test(point.name))
      return null;
    return { ...point, ...UNREAD, changed: '' };
  }

  // Throws when the list cannot be used at all; what is only odd is left out and counted.
  function parse(text) {
    const xml = new DOMParser().parseFromString(text, 'text/xml');
    if (xml.querySelector('parsererror') !== null)
      throw new Error('The list of points is damaged: it is no well-formed XML.');
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
      throw new Error(`The unit does not give its list of points, ${ADDRESS}.`);
    }
    return parse(text);
  }

  // "[value|QUALITY][X|X]": what could not be read is X, and a reply may be cut.
  function readings(text) {
    return text.slice(1, -1).split('][').map(part => {
      const bar = part.lastIndexOf('|');
      const value = part.slice(0, bar);
      return bar === -1 || value === 'X' ? UNREAD : { value, quality: part.slice(bar + 1) };
    });
  }

  async function readSome(type, points) {
    const text = await soap.poll('coreDbReadMultData', {
      inputType: type,
      inputNames: points.map(point => `[${point.name}]`).join(''),
      inputFormat: '',
      inputNum: points.length,
    });
    const answers = readings(text || '');
    points.forEach((point, index) => Object.assign(point, answers[index] || UNREAD));
  }

  // One request a type, and one more for each further thousand.
  async function readAll(points, types = TYPES) {
    for (const type of types) {
      const own = points.filter(point => point.type === type);
      for (let start = 0; start < own.length; start += MAX_NAMES)
        await readSome(type, own.slice(start, start + MAX_NAMES));
    }
  }

  return { load, readAll };
})();
