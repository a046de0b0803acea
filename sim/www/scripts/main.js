// scripts/main.js: starts the page: header, sections, polls.
'use strict';

(() => {
  function showUser() {
    const { user } = session.remembered();
    page.write(page.byId('user'), user || 'unknown user');
    const level = rights.level();
    page.write(page.byId('level'), level === null ? '' : `level ${level ?? 'unknown'}`);
  }

  async function logOut() {
    page.byId('logout').disabled = true;
    try {
      await session.logOut();
    } catch (error) {
      page.report(`Not logged out. ${error.message}`, false);
      page.byId('logout').disabled = false;
    }
  }

  page.byId('logout').addEventListener('click', logOut);
  page.byId('result-close').addEventListener('click', () => page.show(page.byId('result'), false));
  document.addEventListener('rights', showUser);
  showUser();
  rights.applyTo(document);
  tabs.openAddressed();
  station.show();
  poll.run();
})();
