// scripts/upload.js: sends a configuration file. The unit gives the same answer whether or not it could
// write the file, so the page reads it back and compares.
'use strict';

(() => {
  const MAX_BYTES = 16 * 1024 * 1024 - 1024; // limit of a request, minus the rest of the form
  const ELSEWHERE = ['netConfig.xml', 'userLogin.xml']; // kept in a folder that the unit may not show
  // Endings of pages and their parts: such a file could act in the session of everybody who opens it.
  const ACTIVE = /\.(html?|js|css|svg)$/i;
  const input = page.byId('upload-file');

  const showOutcome = (text, kind) => page.showMessage(page.byId('upload-outcome'), text, kind);

  // Returns why a file cannot be sent, or an empty text.
  function objection(name, content) {
    if (files.nameObjection(name) !== '')
      return files.nameObjection(name);
    if (ACTIVE.test(name))
      return 'Pages, scripts, styles and drawings are not configuration files.';
    if (content === '')
      return 'The file is empty.';
    if (content.includes('&'))
      return 'The file contains "&": the unit would take it as ending there. In XML, write the '
        + 'character in another way, or leave it out.';
    if (content.includes('\0'))
      return 'This is not a text file.';
    return page.bytesOf(content) > MAX_BYTES ? 'The file is too long: 16 MiB at most.' : '';
  }

  async function textOf(file) {
    try {
      return new TextDecoder('utf-8', { fatal: true, ignoreBOM: true }).decode(await file.arrayBuffer());
    } catch {
      throw new Error('This is not a text file in UTF-8.');
    }
  }

  // Uses XMLHttpRequest, because fetch does not report its progress. Sending may take long, but must
  // not stall.
  function post(body) {
    return new Promise((resolve, reject) => {
      const request = new XMLHttpRequest();
      let deadline;
      const wait = () => {
        clearTimeout(deadline);
        deadline = setTimeout(() => request.abort(), link.ANSWER_MS);
      };
      request.open('POST', '/cgi/upconfig');
      request.setRequestHeader('Content-Type', 'application/x-www-form-urlencoded');
      request.upload.addEventListener('progress', event => {
        wait();
        if (event.lengthComputable)
          page.byId('upload-progress').value = event.loaded / event.total;
      });
      request.addEventListener('load', resolve);
      request.addEventListener('error', () => reject(new link.NoAnswer('The unit does not answer.')));
      request.addEventListener('abort', () => reject(link.tooLate()));
      request.addEventListener('loadend', () => clearTimeout(deadline));
      request.send(body);
      wait();
    });
  }

  const withoutMark = text => text.replace(/^\uFEFF/, ''); // reading a file drops its byte order mark

  async function compare(name, content) {
    const there = files.isReadable(name) ? await files.read(`/cfgFiles/${name}`) : null;
    if (there !== null && withoutMark(there) === withoutMark(content))
      return { good: true, text: `${name} was written, and reads back as sent.` };
    if (ELSEWHERE.includes(name) || !files.isReadable(name))
      return { good: true, text: `${name} was sent. The unit does not let it be read back, so it is `
        + 'not known whether it was written.' };
    return { good: false, text: `${name} was NOT written: the unit has `
      + (there === null ? 'no such file.' : 'other contents under this name.') };
  }

  async function send(name, content) {
    await session.check(); // without a session the unit does not answer
    page.byId('upload-progress').value = 0;
    page.show(page.byId('upload-progress'), true);
    showOutcome(`Sending ${name}…`, 'wait');
    await link.inTurn(() => post(`fileName=${name}&xmlString=${content}`));
    showOutcome(`Reading ${name} back…`, 'wait');
    return compare(name, content);
  }

  async function upload(name, file) {
    const content = await textOf(file);
    const why = objection(name, content);
    return why === '' ? send(name, content) : { good: false, text: `Not sent. ${why}` };
  }

  async function submit(event) {
    event.preventDefault();
    const name = page.byId('upload-name').value.trim();
    const outcome = await soap.outcomeOf(() => upload(name, input.files[0]));
    if (outcome.good && name === 'points.xml')
      points.reload();
    page.show(page.byId('upload-progress'), false);
    page.reportAt(page.byId('upload-outcome'), outcome);
  }

  function choose() {
    const [file] = input.files;
    page.byId('upload-name').value = file === undefined ? '' : file.name;
    showOutcome(file === undefined ? '' : `${file.name}, ${file.size} bytes: ready to be sent.`, 'wait');
  }

  function drop(event) {
    event.preventDefault(); // the browser would open it
    page.byId('drop').classList.remove('over');
    const dropped = event.dataTransfer.files;
    const why = rights.reason('write') || (dropped.length === 1 ? '' : 'Drop one file.');
    if (why !== '') {
      showOutcome(why, 'bad');
      return;
    }
    input.files = dropped;
    choose();
  }

  page.byId('upload-form').addEventListener('submit', submit);
  input.addEventListener('change', choose);
  page.byId('drop').addEventListener('drop', drop);
  page.byId('drop').addEventListener('dragover', event => {
    event.preventDefault();
    page.byId('drop').classList.toggle('over', rights.reason('write') === '');
  });
  page.byId('drop').addEventListener('dragleave', () => page.byId('drop').classList.remove('over'));
})();
