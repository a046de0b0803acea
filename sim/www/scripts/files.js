// scripts/files.js: shows files of the unit as text. The unit sends them as pages, which a browser
// would interpret.
'use strict';

const files = (() => {
  const KNOWN = [
    ['List of points', '/cfgFiles/points.xml'],
    ['Schema of that list', '/cfgFiles/pointList.xsd'],
    ['Network', '/cfgFiles/netConfig.xml'],
    ['Counters', '/nvrFiles/counters.xml'],
    ['Head unit', '/privatedata/modules/0-HU/module.xml'],
  ];
  const MAX_NAME = 100;
  const READABLE = /\.(xml|xsd|wsdl|json|svg|html?|css|js)$/i; // the unit refuses other endings
  let shown = { path: '', text: '' };

  // Returns an empty text for a possible file of the unit, else the reason.
  function nameObjection(name) {
    if (!/^[\w-][\w.-]*$/.test(name) || name.length > MAX_NAME)
      return `A name has up to ${MAX_NAME} letters, digits, ".", "-" and "_", and does not begin `
        + 'with ".".';
    return '';
  }

  function display(path, text) {
    shown = { path, text };
    page.write(page.byId('file-name'), path);
    page.write(page.byId('file-size'), `${page.bytesOf(text)} bytes`);
    page.byId('file-content').textContent = text;
    page.show(page.byId('file-view'), true);
    page.showMessage(page.byId('file-state'), text === '' ? 'The file is empty.' : '', 'wait');
    page.byId('file-view').scrollIntoView({ block: 'nearest' });
  }

  // Returns null when the unit answers and the session lives, but the unit does not send the file.
  async function read(path) {
    try {
      return await link.get(path);
    } catch {
      await session.check();
      return null;
    }
  }

  async function view(path) {
    page.show(page.byId('file-view'), false);
    page.showMessage(page.byId('file-state'), `Reading ${path}…`, 'wait');
    try {
      const text = await read(path);
      if (text === null)
        page.showMessage(page.byId('file-state'), `The unit has no ${path}, or you may not see it.`, 'bad');
      else
        display(path, text);
    } catch (error) {
      page.showMessage(page.byId('file-state'), error.message, 'bad');
    }
  }

  function viewNamed(event) {
    event.preventDefault();
    const name = page.byId('view-name').value.trim();
    let objection = nameObjection(name);
    if (objection === '' && !READABLE.test(name))
      objection = 'The unit shows files that end in .xml, .xsd, .wsdl, .json, .svg, .htm, .html, .css '
        + 'or .js only.';
    if (objection === '')
      view(page.byId('view-folder').value + name);
    else
      page.showMessage(page.byId('file-state'), objection, 'bad');
  }

  const saveCopy = () => page.save(shown.path.split('/').pop(), shown.text, 'text/plain');

  function knownFile([label, path]) {
    const button = page.button(label, 'view', 'read');
    button.dataset.file = path;
    button.addEventListener('click', () => view(path));
    return page.make('li', {}, button, page.make('code', { textContent: path }));
  }

  page.byId('known-files').append(...KNOWN.map(knownFile));
  page.byId('view-form').addEventListener('submit', viewNamed);
  page.byId('file-save').addEventListener('click', saveCopy);

  return { read, nameObjection, isReadable: name => READABLE.test(name) };
})();
