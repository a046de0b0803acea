// scripts/control.js: is the unit under local or remote control?
'use strict';

const control = (() => {
  const NAMES = new Map([['L', 'Local'], ['R', 'Remote'], ['U', 'Unknown']]);
  const MEANINGS = new Map([
    ['L', 'The unit is operated on site: it refuses commands and set points from remote clients.'],
    ['R', 'The unit may be operated over the network.'],
  ]);
  const QUESTION =
    { binContName: 'coreDb', binName: '', function: 'getLR', arg: '', timeout: 1000 };
  let unavailable = false; // asking again would only be refused again

  function show(state, meaning) {
    for (const id of ['control', 'unit-control']) {
      page.write(page.byId(id), NAMES.get(state) || 'Not known');
      page.byId(id).dataset.state = state;
    }
    page.byId('control').title = meaning;
    page.write(page.byId('unit-control-meaning'), meaning);
  }

  async function refresh() {
    const allowed = rights.reason('write') === '';
    if (!allowed || unavailable) {
      show('', allowed ? 'The unit does not tell.' : 'Told from access level 200 on.');
      return;
    }
    try {
      const state = (await soap.poll('fnPutS', QUESTION) || '').charAt(0);
      show(state, MEANINGS.get(state) || 'The unit does not know: remote clients may be refused.');
    } catch (error) {
      if (!(error instanceof soap.Fault))
        throw error;
      unavailable = true;
    }
  }

  return { refresh };
})();
