// scripts/trend.js: draws the last values of a point as a line. Only visible lines are drawn.
'use strict';

const trend = (() => {
  const SAMPLES = 60;
  const HEIGHT = 20;
  const SVG = 'http://www.w3.org/2000/svg';

  const drawers = new WeakMap(); // by line

  const watch = new IntersectionObserver(entries => {
    for (const { target, isIntersecting } of entries) {
      const drawer = drawers.get(target);
      drawer.visible = isIntersecting;
      if (isIntersecting)
        drawer.draw();
    }
  });

  // A sample that could not be read leaves a gap.
  function pathOf(samples, low, high) {
    const y = value => high === low ? HEIGHT / 2 : HEIGHT * (high - value) / (high - low);
    let path = '';
    let drawing = false;
    samples.forEach((value, index) => {
      if (value !== null)
        path += `${drawing ? 'L' : 'M'}${SAMPLES - samples.length + index} ${y(value).toFixed(1)}`;
      drawing = value !== null;
    });
    return path;
  }

  function makeLine(name) {
    const svg = document.createElementNS(SVG, 'svg');
    const title = document.createElementNS(SVG, 'title');
    title.textContent = name;
    svg.setAttribute('viewBox', `0 -2 ${SAMPLES - 1} ${HEIGHT + 4}`);
    svg.setAttribute('preserveAspectRatio', 'none');
    svg.setAttribute('role', 'img');
    svg.append(title, document.createElementNS(SVG, 'path'));
    return svg;
  }

  // The trend of one point: append its element, and call add(value or null) at each reading.
  function make(name) {
    const samples = [];
    const element = makeLine(name);
    const drawer = { visible: false };

    drawer.draw = () => {
      const known = samples.filter(value => value !== null);
      const [low, high] = [Math.min(...known), Math.max(...known)];
      element.lastChild.setAttribute('d', known.length === 0 ? '' : pathOf(samples, low, high));
      page.write(element.firstChild, known.length === 0 ? `${name}: no values`
        : `${name}: ${low} to ${high} in the last ${samples.length} readings`);
    };

    function add(value) {
      samples.push(value);
      if (samples.length > SAMPLES)
        samples.shift();
      if (drawer.visible)
        drawer.draw();
    }

    drawers.set(element, drawer);
    watch.observe(element);
    return { element, add };
  }

  return { make };
})();
