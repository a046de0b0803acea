// scripts/upload.js: sends a configuration file. The unit answers the same whether or not it could
// write it, so the page reads the file back and compares.
'use strict';

(() => {
  const MAX_BYTES = 16 * 1024 * 1024 - 1024; // of a request, less the rest of the form
  const NOT_READABLE = 'userLogin.xml'; // kept where the unit gives no file from
  const input = page.byId('upload-file');

  const tell = (text, kind) => page.tell(page.byId('upload-outcome'), text, kind);

  // Why a file cannot be sent; empty when it can.
  function objection(name, content) {
    if (files.nameObjection(name) !== '')
      return files.nameObjection(name);
    if (content === '')
      return 'The file is empty.';
    if (content.includes('&'))
      return 'The file contains "&": the unit would take it as ending there. In XML, write the '
        + 'character in another way, or leave it out.';
    if (content.includes('\0'))
      return 'This is not a text file.';
    return new Blob([content]).size > MAX_BYTES ? 'The file is too long: 16 MiB at most.' : '';
  }

  async function textOf(file) {
    try {
      return new TextDecoder('utf-8', { fatal: true, ignoreBOM: true }).decode(await file.arrayBuffer());
    } catch {
      throw new Error('This is not a text file in UTF-8.');
    }
  }

  // XMLHttpRequest, because fetch does not tell how far it has come.
  function post(body) {
    return new Promise((resolve, reject) => {
      const request = new XMLHttpRequest();
      request.open('POST', '/cgi/upconfig');
      request.setRequestHeader('Content-Type', 'application/x-www-form-urlencoded');
      request.upload.addEventListener('progress', event => {
        if (event.lengthComputable)
          page.byId('upload-progress').value = event.loaded / event.total;
      });
      request.addEventListener('load', resolve);
      request.addEventListener('error', () => reject(new link.NoAnswer('The unit does not answer.')));
      request.send(body);
    });
  }

  const withoutMark = text => text.replace(/^\uFEFF/, ''); // reading drops a byte order mark

  async function compare(name, content) {
    if (name === NOT_READABLE || !files.isReadable(name))
      return { good: true, text: `${name} was sent. The unit does not let it be read back, so whether `
        + 'it was written is not known.' };
    const there = await files.read(`/cfgFiles/${name}`);
    if (there !== null && withoutMark(there) === withoutMark(content))
      return { good: true, text: `${name} was written, and reads back as sent.` };
    return { good: false, text: `${name} was NOT written: the unit has `
      + (there === null ? 'no such file.' : 'other contents under this name.') };
  }

  async function send(name, content) {
    await session.check(); // without a session the unit does not answer
    page.byId('upload-progress').value = 0;
    page.show(page.byId('upload-progress'), true);
    tell(`Sending ${name}…`, 'wait');
    await link.inTurn(() => post(`fileName=${name}&xmlString=${content}`));
    tell(`Reading ${name} back…`, 'wait');
    return compare(name, content);
  }

  async function upload(event) {
    event.preventDefault();
    const name = page.byId('upload-name').value.trim();
    let outcome;
    try {
      const content = await textOf(input.files[0]);
      const why = objection(name, content);
      outcome = why === '' ? await send(name, content) : { good: false, text: `Not sent. ${why}` };
      if (outcome.good && name === 'points.xml')
        points.reload();
    } catch (error) {
      outcome = { good: false, text: soap.describe(error) };
    }
    page.show(page.byId('upload-progress'), false);
    tell(outcome.text, outcome.good ? 'good' : 'bad');
    page.report(outcome.text, outcome.good);
  }

  function choose() {
    const [file] = input.files;
    page.byId('upload-name').value = file === undefined ? '' : file.name;
    tell(file === undefined ? '' : `${file.name}, ${file.size} bytes: ready to be sent.`, 'wait');
  }

  function drop(event) {
    event.preventDefault();
    page.byId('drop').classList.remove('over');
    if (event.dataTransfer.files.length !== 1) {
      tell('Drop one file.', 'bad');
      return;
    }
    input.files = event.dataTransfer.files;
    choose();
  }

  page.byId('upload-form').addEventListener('submit', upload);
  input.addEventListener('change', choose);
  page.byId('drop').addEventListener('drop', drop);
  page.byId('drop').addEventListener('dragover', event => {
    event.preventDefault();
    page.byId('drop').classList.add('over');
  });
  page.byId('drop').addEventListener('dragleave', () => page.byId('drop').classList.remove('over'));
})();
