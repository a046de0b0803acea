// scripts/trend.js: draws the last values of a point: as a line in its row, and as a chart with a scale.
'use strict';

const trend = (() => {
  const KEPT = 450; // a quarter of an hour
  const IN_A_ROW = 60;
  const GAP_MS = 25000; // a hidden page reads every 20 seconds
  const HEIGHT = 100;
  const TICKS = 4; // about so many
  const SVG = 'http://www.w3.org/2000/svg';
  const times = []; // of the last readings, the oldest first, as {ms, text}
  let charted = null; // the point in the chart
  let hover = null; // of the mouse, in percent of the chart's width

  // Keeps a reading of all points. A value that could not be read leaves a gap.
  function add(points) {
    times.push({ ms: performance.now(), text: clock.text() });
    for (const point of points)
      point.samples.push(pointList.numberOf(point));
    for (const kept of [times, ...points.map(point => point.samples)])
      if (kept.length > KEPT)
        kept.shift();
  }

  // Returns the last samples as {ms, text, value}.
  function last(point, count) {
    const own = times.slice(-point.samples.length);
    return own.map((time, index) => ({ ...time, value: point.samples[index] })).slice(-count);
  }

  function rangeOf(samples) {
    const values = samples.map(({ value }) => value).filter(value => !isNaN(value));
    return [Math.min(...values), Math.max(...values)];
  }

  const yOf = (value, low, high) => high === low ? HEIGHT / 2 : HEIGHT * (high - value) / (high - low);
  const xOf = (sample, samples) =>
    100 * (sample.ms - samples[0].ms) / Math.max(1, samples.at(-1).ms - samples[0].ms);

  // A state keeps its value until the next one; measured values are joined by lines.
  function pathOf(samples, low, high, isState) {
    let path = '';
    samples.forEach((sample, index) => {
      const before = samples[index - 1];
      if (isNaN(sample.value))
        return;
      const isJoined = before !== undefined && !isNaN(before.value) && sample.ms - before.ms < GAP_MS;
      const [x, y] = [xOf(sample, samples), yOf(sample.value, low, high)].map(number => number.toFixed(1));
      path += !isJoined ? `M${x} ${y}` : isState ? `H${x}V${y}` : `L${x} ${y}`;
    });
    return path;
  }

  // ---- In a row ----

  function makeLine({ name }) {
    const svg = document.createElementNS(SVG, 'svg');
    const title = document.createElementNS(SVG, 'title');
    title.textContent = `Trend of ${name}`;
    svg.setAttribute('viewBox', `0 -8 100 ${HEIGHT + 16}`);
    svg.setAttribute('preserveAspectRatio', 'none');
    svg.setAttribute('role', 'img');
    svg.append(title, document.createElementNS(SVG, 'path'));
    return svg;
  }

  function drawLine(svg, point) {
    const samples = last(point, IN_A_ROW);
    if (svg.dataset.last === samples.at(-1)?.text)
      return;
    svg.dataset.last = samples.at(-1)?.text;
    svg.lastChild.setAttribute('d', pathOf(samples, ...rangeOf(samples), false));
  }

  // ---- The chart ----

  // Returns round numbers that cover the range.
  function ticksOf(low, high, isState) {
    const rough = (high - low) / TICKS || Math.abs(high) / 10 || 1;
    const power = 10 ** Math.floor(Math.log10(rough));
    const step = Math.max(isState ? 1 : 0, [1, 2, 5, 10].find(factor => factor * power >= rough) * power);
    const first = Math.floor(low / step);
    const count = Math.max(1, Math.ceil(high / step) - first);
    return Array.from({ length: count + 1 }, (_, index) => Number(((first + index) * step).toPrecision(12)));
  }

  const label = (point, value) => pointList.textOf({ ...point, value: String(value) });

  // Shows what the line says under the mouse or the finger.
  function read(samples, of) {
    const nearest = hover === null || samples.length === 0 ? undefined : samples.reduce((best, sample) =>
      Math.abs(xOf(sample, samples) - hover) < Math.abs(xOf(best, samples) - hover) ? sample : best);
    page.byId('chart-cursor').setAttribute('d', nearest === undefined ? '' : `M${xOf(nearest, samples)} 0V${HEIGHT}`);
    page.write(page.byId('chart-reading'), nearest === undefined ? 'Point at the line to read it.'
      : `${nearest.text}: ${isNaN(nearest.value) ? 'not read' : `${label(of, nearest.value)} ${of.unit}`}`);
  }

  // Draws the chart of a point and returns its least and greatest sample, or nothing without samples.
  function draw(of) {
    charted = of;
    const samples = last(of, KEPT);
    const known = samples.filter(({ value }) => !isNaN(value)).sort((a, b) => a.value - b.value);
    page.show(page.byId('chart'), known.length > 0);
    if (known.length === 0)
      return [];
    const isState = of.type !== 'analog';
    const ticks = ticksOf(known[0].value, known.at(-1).value, isState);
    const range = [ticks[0], ticks.at(-1)];
    page.byId('chart-line').setAttribute('d', pathOf(samples, ...range, isState));
    page.byId('chart-grid').setAttribute('d', ticks.map(tick => `M0 ${yOf(tick, ...range)}H100`).join(''));
    page.byId('chart-scale').replaceChildren(...ticks.map(tick => {
      const element = page.make('span', { textContent: label(of, tick) });
      element.style.top = `${yOf(tick, ...range)}%`;
      return element;
    }));
    page.write(page.byId('chart-first'), samples[0].text.slice(-8));
    page.write(page.byId('chart-last'), samples.at(-1).text.slice(-8));
    read(samples, of);
    return [known[0], known.at(-1)];
  }

  function follow({ offsetX, currentTarget }) {
    hover = 100 * offsetX / currentTarget.clientWidth;
    draw(charted);
  }

  page.byId('chart-drawing').addEventListener('pointermove', follow);
  page.byId('chart-drawing').addEventListener('pointerdown', follow);
  page.byId('chart-drawing').addEventListener('pointerleave', () => {
    hover = null;
    draw(charted);
  });

  return { add, makeLine, drawLine, draw };
})();
