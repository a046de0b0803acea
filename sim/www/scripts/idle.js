// scripts/idle.js: ends the session of a page that nobody uses. The page's own polls keep the session alive,
// so the unit cannot see this.
'use strict';

const idle = (() => {
  const USUAL_SECONDS = 600; // where the unit does not tell its limit
  const WARNING_SECONDS = 60;
  const USED = 'rtu.used'; // when somebody last used a page of this browser
  let limitSeconds = USUAL_SECONDS;
  let ending = false;

  const noteUse = () => localStorage.setItem(USED, Date.now());

  async function refresh() {
    limitSeconds = Number(await askFunction('unit', 'idleLimit')) || USUAL_SECONDS;
  }

  function watch() {
    const endMs = Number(localStorage.getItem(USED)) + 1000 * limitSeconds;
    const left = (endMs - Date.now()) / 1000;
    page.showMessage(page.byId('idle'), left > WARNING_SECONDS ? ''
      : `Nobody uses this page: the session ends at ${new Date(endMs).toTimeString().slice(0, 8)}, this PC's time. `
        + 'Press a key or click to go on.', 'bad');
    if (left > 0 || ending)
      return;
    ending = true;
    session.logOut('to').catch(() => { ending = false; }); // tries again
  }

  for (const use of ['pointerdown', 'keydown'])
    document.addEventListener(use, noteUse, true);
  noteUse();
  setInterval(watch, 1000);
  return { refresh };
})();
