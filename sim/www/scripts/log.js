// scripts/log.js: the section that shows the unit's log, filtered, with the newest lines first.
'use strict';

(() => {
  const ADDRESS = '/logs/cslog.log';
  const REFRESH_MS = 10000;
  const MAX_SHOWN = 500;
  const LINE = /^(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}) (ERROR|WARN|INFO|DEBUG) +(.*)$/;
  const LEVELS = ['ERROR', 'WARN', 'INFO', 'DEBUG']; // the worst first
  let lines = []; // the newest first
  let drawn = ''; // the lines shown

  function parse(text) {
    const parsed = text.split('\n').filter(line => line !== '').map(line => {
      const [, time, level, message] = LINE.exec(line) || ['', '', '', line];
      return { line, time, level, message };
    });
    // The unit joins its log files in any order.
    return parsed.sort((a, b) => a.time < b.time ? -1 : a.time > b.time ? 1 : 0).reverse();
  }

  function part(className, textContent) {
    return page.make('span', { className, textContent });
  }

  function item({ time, level, message }) {
    const element = page.make('li', {}, part('time', time), part('level', level),
                              part('message-text', message));
    element.dataset.level = level;
    return element;
  }

  // Does not redraw the same lines: somebody may be selecting them to copy.
  function draw(shown) {
    const text = shown.map(({ line }) => line).join('\n');
    if (text === drawn)
      return;
    drawn = text;
    page.byId('log-lines').replaceChildren(...shown.map(item));
  }

  function matching() {
    const words = page.byId('log-filter').value.trim().toLowerCase();
    const least = LEVELS.indexOf(page.byId('log-level').value);
    return lines.filter(({ level, message }) =>
      LEVELS.indexOf(level) <= least && message.toLowerCase().includes(words));
  }

  function show() {
    const found = matching();
    const shown = found.slice(0, MAX_SHOWN);
    draw(shown);
    page.write(page.byId('log-count'), `${shown.length} of ${found.length} matching lines, the `
      + `newest first; ${lines.length} in all`);
    page.showMessage(page.byId('log-state'), lines.length === 0 ? 'The log is empty.' : '', 'wait');
  }

  async function read() {
    await session.check(); // without a session the unit does not answer
    lines = parse(await link.get(ADDRESS));
    show();
  }

  const load = tabs.loading('log', 'host', 'log-state', read);

  page.byId('log-filter').addEventListener('input', show);
  page.byId('log-level').addEventListener('input', show);
  page.byId('log-csv').addEventListener('click', () => csv.save('log', [
    ['time', 'level', 'message'], ...matching().map(({ time, level, message }) => [time, level, message]),
  ]));
  page.byId('log-refresh').addEventListener('click', load);
  setInterval(() => {
    if (page.byId('log-auto').checked && document.body.dataset.connection === 'ok')
      load();
  }, REFRESH_MS);
})();
