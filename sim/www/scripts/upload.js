// scripts/upload.js: sends a configuration file. The unit gives the same answer whether or not it could
// write the file, so the page reads it back and compares.
'use strict';

(() => {
  const MAX_BYTES = 1024 * 1024 - 1024; // limit of a strict unit, minus the rest of the form
  const ELSEWHERE = ['netConfig.xml', 'userLogin.xml']; // kept in a folder that the unit may not show
  const LIST = 'points.xml';
  // Endings of pages and their parts: such a file could act in the session of everybody who opens it.
  const ACTIVE = /\.(html?|js|css|svg)$/i;
  const input = page.byId('upload-file');

  const showOutcome = (text, kind) => page.showMessage(page.byId('upload-outcome'), text, kind);

  // Throws what is wrong with a file that cannot be sent.
  function check(name, content) {
    const objection = files.nameObjection(name)
      || (ACTIVE.test(name) ? 'Pages, scripts, styles and drawings are not configuration files.' : '')
      || (content === '' ? 'The file is empty.' : '')
      || (content.includes('&') ? 'The file contains "&": the unit would take it as ending there. In XML, '
        + 'write the character in another way, or leave it out.' : '')
      || (content.includes('\0') ? 'This is not a text file.' : '')
      || (page.bytesOf(content) > MAX_BYTES ? 'The file is too long: 1 MiB at most.' : '');
    if (objection !== '')
      throw new Error(objection);
    if (name === LIST)
      pointList.parse(content);
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
      request.upload.addEventListener('progress', ({ loaded, total }) => {
        wait();
        dialog.say(`Sending: ${Math.round(100 * loaded / total)} %`);
      });
      request.addEventListener('load', resolve);
      request.addEventListener('error', () => reject(new link.NoAnswer('The unit does not answer.')));
      request.addEventListener('abort', () => reject(link.tooLate()));
      request.addEventListener('loadend', () => clearTimeout(deadline));
      request.send(body);
      wait();
    });
  }

  async function readBack(name, content) {
    dialog.say('Reading back…');
    const there = files.isReadable(name) ? await files.read(`/cfgFiles/${name}`) : null;
    if (there === content.replace(/^\uFEFF/, '')) // reading a file drops its byte order mark
      return { kind: 'good', text: `${name} was written, and reads back as sent.` };
    if (ELSEWHERE.includes(name) || !files.isReadable(name))
      return { kind: 'unsure', text: `${name} was sent. It is not known whether it was written: the unit does `
        + 'not let it be read back.' };
    return { kind: 'bad', text: `${name} was NOT written: the unit has `
      + (there === null ? 'no such file.' : 'other contents under this name.') };
  }

  async function send(name, content) {
    const outcome = await soap.outcomeOf(`Upload of ${name}`, async () => {
      await link.act(() => post(`fileName=${name}&xmlString=${content}`));
      return readBack(name, content);
    });
    if (outcome.kind === 'good' && name === LIST)
      points.reload();
    showOutcome(outcome.text, outcome.kind);
    return outcome;
  }

  async function submit(event) {
    event.preventDefault();
    const name = page.byId('upload-name').value.trim();
    try {
      const content = await textOf(input.files[0]);
      check(name, content);
      dialog.ask({
        title: `Upload ${name}`,
        text: () => `${name}, ${page.bytesOf(content)} bytes. If the unit has a file of this name, it is replaced.`,
        confirm: 'Upload',
        action: () => send(name, content),
      });
    } catch (error) {
      showOutcome(`Not sent: ${name}. ${error.message}`, 'bad');
    }
  }

  function choose() {
    const [file] = input.files;
    page.byId('upload-name').value = file === undefined ? '' : file.name;
    showOutcome(file === undefined ? '' : `${file.name}, ${file.size} bytes: ready to be sent.`, 'wait');
  }

  page.byId('upload-form').addEventListener('submit', submit);
  input.addEventListener('change', choose);
})();
