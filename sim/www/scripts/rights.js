// scripts/rights.js: what the user may do here. Without the right to write, an element with
// data-needs="write" is disabled, and one with data-reason="write" shows the reason. The same holds for
// the other rights in NEEDS.
'use strict';

const rights = (() => {
  const OWN_MODE = 'Not available: the unit runs without its security module.';

  let mode = null; // 'host': the unit's security module decides; 'off': it has none
  let level = null; // undefined when the unit does not report it
  let administrator = false;
  let ownLevel = null; // without the security module; asked for once, since it may be refused

  function levelReason(needed, what) {
    if (mode === null)
      return 'The unit has not reported your rights yet.';
    if (mode === 'off' || level >= needed)
      return '';
    return `${what} needs access level ${needed}; yours is ${level}.`;
  }

  function hostReason() {
    return mode === 'off' ? OWN_MODE : levelReason(50, 'This');
  }

  function administratorReason() {
    return hostReason() || (administrator ? '' : 'Only an administrator may see and change users.');
  }

  const NEEDS = {
    read: () => mode === null ? '' : levelReason(50, 'Reading'), // the first values do not wait for the answer
    write: () => levelReason(200, 'Changing anything'),
    reboot: () => levelReason(250, 'Rebooting'),
    host: hostReason,
    administrator: administratorReason,
  };

  // Returns an empty text if the user has this right, else the reason.
  const reason = need => NEEDS[need]();

  function applyTo(root) {
    for (const element of root.querySelectorAll('[data-needs]')) {
      const why = reason(element.dataset.needs);
      element.disabled = why !== '';
      element.title = why;
    }
    for (const element of root.querySelectorAll('[data-reason]'))
      page.showMessage(element, reason(element.dataset.reason), 'wait');
  }

  async function askOwnLevel() {
    const remembered = session.remembered().level ?? null;
    if (remembered === null && ownLevel === null)
      ownLevel = await session.reportedLevel();
    return remembered ?? ownLevel;
  }

  async function ask() {
    const verdict = await session.verdict();
    if (verdict === session.OWN_SECURITY)
      return ['off', await askOwnLevel(), false];
    if (verdict !== session.ALLOWED)
      return ['host', 0, false];
    const reported = Number(await soap.call('getUserAuth'));
    return ['host', reported, Boolean(await soap.call('getUsersList'))]; // only administrators get names
  }

  async function refresh() {
    const asked = await ask();
    const changed = [mode, level, administrator].some((old, index) => old !== asked[index]);
    [mode, level, administrator] = asked;
    if (!changed)
      return;
    applyTo(document);
    document.dispatchEvent(new Event('rights'));
  }

  return { refresh, reason, applyTo, level: () => level, mode: () => mode };
})();
