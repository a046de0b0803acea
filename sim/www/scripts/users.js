// scripts/users.js: the section of users: an administrator changes roles, locks and passwords, and all
// users change their own password. The unit's security module keeps them.
'use strict';

(() => {
  const LEAST_PASSWORD_BYTES = 8;
  const MOST_PASSWORD_BYTES = 127;
  const LIST_BYTES = 2047; // the unit cuts a longer list of names, even within a name
  const OUTCOMES = new Map([
    [0, 'done'],
    [1, 'you may not do this'],
    [2, 'there is no such user'],
    [3, 'the unit does not accept this value'],
    [4, 'refused, since no administrator who can log in would be left'],
    [5, 'the unit could not save it, and nothing has changed'],
    [-1, 'the unit has no user administration'],
  ]);

  const ownName = () => page.byId('own-name').value.trim();

  // Every whole name is followed by a space.
  async function names(operation, parameters) {
    const text = await soap.call(operation, parameters) || '';
    const whole = text.slice(0, text.lastIndexOf(' ') + 1);
    return {
      list: whole.split(' ').filter(name => name !== ''),
      cut: whole !== text || page.bytesOf(text) >= LIST_BYTES,
    };
  }

  // ---- Changes ----

  // Sends a change, then shows the users as the unit has them.
  async function change(what, operation, parameters) {
    const outcome = await soap.outcomeOf(async () => {
      const status = await soap.status(operation, parameters);
      const text = OUTCOMES.get(status) || `the unit answered ${status}`;
      return { good: status === 0, text: `${what}: ${text}.` };
    });
    load();
    return outcome;
  }

  function passwordObjection(password, repeated) {
    const bytes = page.bytesOf(password);
    if (bytes < LEAST_PASSWORD_BYTES || bytes > MOST_PASSWORD_BYTES)
      return `A password has ${LEAST_PASSWORD_BYTES} to ${MOST_PASSWORD_BYTES} bytes.`;
    if (/[\0-\x1f\x7f]/.test(password))
      return 'A password has no control characters.';
    return password === repeated ? '' : 'The two passwords differ.';
  }

  const setPassword = (userName, passwd) =>
    change(`Password of ${userName}`, 'setUserPassword', { userName, passwd });

  function askForPassword({ user }) {
    dialog.ask({
      title: `New password of ${user}`,
      fields: [
        { name: 'password', label: 'New password', type: 'password' },
        { name: 'repeated', label: 'Once more', type: 'password' },
      ],
      text: () => `${user} logs in with it from now on.`,
      objection: ({ password, repeated }) => passwordObjection(password, repeated),
      confirm: 'Set password',
      action: ({ password }) => setPassword(user, password),
    });
  }

  async function saveRoles({ user, boxes, save }) {
    const checked = boxes.filter(box => box.checked);
    const rolesList = checked.map(box => box.dataset.role).join(' ');
    const outcome = await change(`Roles of ${user}`, 'setUserRoles', { userName: user, rolesList });
    page.report(outcome);
    if (!outcome.good)
      return;
    for (const box of boxes)
      box.defaultChecked = checked.includes(box);
    if (document.activeElement === save)
      boxes[0].focus(); // keeps the keyboard focus in the row
    markUnsaved({ boxes, save });
  }

  const setLock = async ({ user }, what, lock) =>
    page.report(await change(`${what} ${user}`, 'setUserLock', { userName: user, lock }));

  const ACTIONS = {
    roles: saveRoles,
    lock: entry => setLock(entry, 'Lock', 1),
    unlock: entry => setLock(entry, 'Unlock', 0),
    password: askForPassword,
  };

  // ---- Rows: made once, then updated, so that unsaved ticks and the keyboard focus stay ----

  const entries = new Map(); // by user and roles: {user, row, boxes, save, state, lock, unlock}

  function makeBox(user, role) {
    const box = page.make('input', { type: 'checkbox' });
    box.dataset.role = role;
    box.setAttribute('aria-label', `${user}: ${role}`);
    return box;
  }

  function makeEntry(user, roles) {
    const boxes = roles.map(role => makeBox(user, role));
    const labels = boxes.map(box => page.make('label', { className: 'role' }, box, box.dataset.role));
    const save = page.button('Save roles', 'roles');
    const lock = page.button('Lock', 'lock');
    const unlock = page.button('Unlock', 'unlock');
    const state = page.make('span', { className: 'badge' });
    const row = page.make('tr', {},
      page.make('td', { className: 'name', textContent: user === ownName() ? `${user} (you)` : user }),
      page.make('td', { className: 'roles' }, ...labels, save),
      page.make('td', {}, state),
      page.make('td', { className: 'actions' }, lock, page.button('Password', 'password')));
    row.dataset.user = user;
    return { user, row, boxes, save, state, lock, unlock };
  }

  const entryOf = row => [...entries.values()].find(entry => entry.row === row);

  function entryFor(user, roles) {
    const key = [user, ...roles].join(' ');
    if (!entries.has(key))
      entries.set(key, makeEntry(user, roles));
    return entries.get(key);
  }

  // The default of a box is the unit's present state.
  const isUnsaved = box => box.checked !== box.defaultChecked;

  function markUnsaved({ boxes, save }) {
    save.disabled = !boxes.some(isUnsaved);
  }

  function showRoles(entry, own) {
    for (const box of entry.boxes) {
      const has = own.includes(box.dataset.role);
      const checked = isUnsaved(box) ? box.checked : has;
      Object.assign(box, { defaultChecked: has, checked }); // in this order: setting the default may also tick the box
    }
    markUnsaved(entry);
  }

  // If the list of locked users is cut, the state is unknown, and both changes are offered.
  function showLock({ state, lock, unlock }, locked) {
    page.write(state, { true: 'LOCKED', false: 'open' }[locked] || 'not known');
    state.dataset.locked = locked;
    page.write(lock, locked === true ? 'Unlock' : 'Lock');
    lock.dataset.action = locked === true ? 'unlock' : 'lock';
    if (locked === undefined)
      lock.after(unlock);
    else
      unlock.remove();
  }

  function showRows(rows) {
    const body = page.byId('users-rows');
    if (rows.length !== body.children.length || rows.some((row, index) => row !== body.children[index]))
      body.replaceChildren(...rows);
  }

  // ---- The section ----

  async function readUsers() {
    const users = await names('getUsersList'); // empty unless the user is an administrator
    const roles = await names('getRolesList');
    const locked = await names('getLockedUsers');
    const rows = [];
    for (const user of users.list) {
      const entry = entryFor(user, roles.list);
      showRoles(entry, (await names('getRolesListByUser', { userName: user })).list);
      showLock(entry, locked.list.includes(user) || (locked.cut ? undefined : false));
      rows.push(entry.row);
    }
    showRows(rows);
    page.showMessage(page.byId('users-state'), users.cut || locked.cut
      ? 'There are more users than the unit can list: some users or their states are missing here.'
      : '', 'bad');
  }

  async function read() {
    if (ownName() !== '') {
      const { list } = await names('getRolesListByUser', { userName: ownName() });
      page.write(page.byId('own-roles'), list.join(', ') || 'none');
    }
    await readUsers();
  }

  const load = tabs.loading('users', 'host', 'users-state', read);

  page.byId('users-rows').addEventListener('click', event => {
    const button = event.target.closest('[data-action]');
    if (button !== null)
      ACTIONS[button.dataset.action](entryOf(event.target.closest('tr')));
  });
  page.byId('users-rows').addEventListener('change', event =>
    markUnsaved(entryOf(event.target.closest('tr'))));
  page.byId('users-refresh').addEventListener('click', load);

  // ---- The user's own password ----

  function showOwnName() {
    const { user } = session.remembered();
    page.byId('own-name').value = user || ownName();
    page.byId('own-name').readOnly = user !== undefined;
  }

  async function submitOwn(event) {
    event.preventDefault();
    const [password, repeated] = ['own-password', 'own-repeated'].map(id => page.byId(id).value);
    const objection = passwordObjection(password, repeated);
    const outcome = objection === '' ? await setPassword(ownName(), password)
      : { good: false, text: objection };
    page.showMessage(page.byId('own-outcome'), outcome.text, outcome.good ? 'good' : 'bad');
    if (outcome.good)
      page.byId('own-form').reset();
    showOwnName();
  }

  page.byId('own-form').addEventListener('submit', submitOwn);
  showOwnName();
})();
