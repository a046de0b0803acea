// scripts/rights.js: what the caller may do here. What he may not is shown disabled, with the reason.
// In the document data-needs="write" disables an element, and data-reason="write" shows why.
'use strict';

const rights = (() => {
  const OWN_SECURITY = -1; // of getRbacPerm: the library's own, with every operation for everybody
  const ALLOWED = 3;
  const NOT_YET = 'The unit has not told your rights yet.';
  const OWN_MODE = 'Not available: the unit runs without its security module.';

  let mode = null; // 'host': the unit's security module decides; 'off': it has none
  let level = null;
  let administrator = null;

  function levelReason(needed, what) {
    if (mode === null)
      return NOT_YET;
    if (mode === 'off' || level >= needed)
      return '';
    return `${what} needs access level ${needed}; yours is ${level}.`;
  }

  function hostReason() {
    return mode === 'off' ? OWN_MODE : levelReason(50, 'This');
  }

  function administratorReason() {
    if (hostReason() !== '' || administrator === true)
      return hostReason();
    return administrator === null ? NOT_YET : 'Only an administrator may see and change users.';
  }

  const NEEDS = {
    read: () => levelReason(50, 'Reading'),
    write: () => levelReason(200, 'Changing anything'),
    reboot: () => levelReason(250, 'Rebooting'),
    host: hostReason,
    administrator: administratorReason,
  };

  // Empty when the caller may.
  const reason = need => NEEDS[need]();

  function applyTo(root) {
    for (const element of root.querySelectorAll('[data-needs]')) {
      const why = reason(element.dataset.needs);
      element.disabled = why !== '';
      element.title = why;
    }
    for (const element of root.querySelectorAll('[data-reason]'))
      page.tell(element, reason(element.dataset.reason), 'wait');
  }

  async function ask() {
    const verdict = Number(await soap.poll('getRbacPerm'));
    if (verdict === OWN_SECURITY)
      return ['off', session.remembered().level];
    return ['host', verdict === ALLOWED ? Number(await soap.poll('getUserAuth')) : 0];
  }

  async function refresh() {
    const [newMode, newLevel] = await ask();
    const changed = newMode !== mode || newLevel !== level;
    [mode, level] = [newMode, newLevel];
    if (!changed)
      return;
    applyTo(document);
    document.dispatchEvent(new Event('rights'));
  }

  // The unit tells by an empty list of users.
  function setAdministrator(is) {
    administrator = is;
    applyTo(document);
  }

  return { refresh, reason, applyTo, setAdministrator, level: () => level, mode: () => mode };
})();
