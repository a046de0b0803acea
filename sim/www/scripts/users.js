// scripts/users.js: the section of users: roles, locks and passwords for an administrator, and
// everybody's own password. The unit's security module keeps them.
'use strict';

(() => {
  const LEAST_PASSWORD_BYTES = 8;
  const MOST_PASSWORD_BYTES = 127;
  const OUTCOMES = new Map([
    [0, 'done'],
    [1, 'you may not do this'],
    [2, 'there is no such user'],
    [3, 'the unit does not take this value'],
    [4, 'refused, since no administrator who can log in would be left'],
    [5, 'the unit could not save it, and nothing has changed'],
    [-1, 'the unit has no user administration'],
  ]);

  const ownName = () => page.byId('own-name').value.trim();

  async function names(operation, parameters) {
    return (await soap.call(operation, parameters) || '').split(' ').filter(name => name !== '');
  }

  // Sends a change; reports it and shows the users as they are then.
  async function change(what, operation, parameters) {
    let outcome;
    try {
      const status = await soap.status(operation, parameters);
      const text = OUTCOMES.get(status) || `the unit answered ${status}`;
      outcome = { good: status === 0, text: `${what}: ${text}.` };
    } catch (error) {
      outcome = { good: false, text: `${what}: ${soap.describe(error)}` };
    }
    load();
    return outcome;
  }

  async function changeAndReport(what, operation, parameters) {
    const outcome = await change(what, operation, parameters);
    page.report(outcome.text, outcome.good);
    return outcome;
  }

  function passwordObjection(password, repeated) {
    const bytes = new TextEncoder().encode(password).length;
    if (bytes < LEAST_PASSWORD_BYTES || bytes > MOST_PASSWORD_BYTES)
      return `A password has ${LEAST_PASSWORD_BYTES} to ${MOST_PASSWORD_BYTES} bytes.`;
    if (/[\0-\x1f\x7f]/.test(password))
      return 'A password has no control characters.';
    return password === repeated ? '' : 'The two passwords differ.';
  }

  const setPassword = (userName, passwd) =>
    change(`Password of ${userName}`, 'setUserPassword', { userName, passwd });

  function askForPassword(user) {
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

  const checkedRoles = row =>
    [...row.querySelectorAll('input:checked')].map(input => input.dataset.role).join(' ');

  const ACTIONS = {
    roles: (user, row) => changeAndReport(`Roles of ${user}`, 'setUserRoles',
                                          { userName: user, rolesList: checkedRoles(row) }),
    lock: user => changeAndReport(`Lock ${user}`, 'setUserLock', { userName: user, lock: 1 }),
    unlock: user => changeAndReport(`Unlock ${user}`, 'setUserLock', { userName: user, lock: 0 }),
    password: askForPassword,
  };

  function roleBox(user, role, has) {
    const box = page.make('input', { type: 'checkbox', checked: has });
    box.dataset.role = role;
    box.setAttribute('aria-label', `${user}: ${role}`);
    return page.make('label', { className: 'role' }, box, role);
  }

  function userRow({ user, own, locked }, roles) {
    const state = page.make('span', { className: 'badge', textContent: locked ? 'LOCKED' : 'open' });
    state.dataset.locked = locked;
    const save = page.button('Save roles', 'roles');
    save.disabled = true; // until one is changed
    const row = page.make('tr', {},
      page.make('td', { className: 'name', textContent: user === ownName() ? `${user} (you)` : user }),
      page.make('td', { className: 'roles' },
                ...roles.map(role => roleBox(user, role, own.includes(role))), save),
      page.make('td', {}, state),
      page.make('td', { className: 'actions' },
                locked ? page.button('Unlock', 'unlock') : page.button('Lock', 'lock'),
                page.button('Password', 'password')));
    row.dataset.user = user;
    row.addEventListener('change', () => save.disabled = false);
    return row;
  }

  async function loadAll(users) {
    const roles = await names('getRolesList');
    const locked = await names('getLockedUsers');
    const rows = [];
    for (const user of users) {
      const own = await names('getRolesListByUser', { userName: user });
      rows.push(userRow({ user, own, locked: locked.includes(user) }, roles));
    }
    page.byId('users-rows').replaceChildren(...rows);
    page.tell(page.byId('users-state'), '', '');
  }

  async function load() {
    if (rights.reason('host') !== '' || page.byId('panel-users').hidden)
      return;
    try {
      const users = await names('getUsersList');
      rights.setAdministrator(users.length > 0); // others are told no name
      if (ownName() !== '')
        page.write(page.byId('own-roles'),
                   (await names('getRolesListByUser', { userName: ownName() })).join(', ') || 'none');
      await loadAll(users);
    } catch (error) {
      page.tell(page.byId('users-state'), soap.describe(error), 'bad');
    }
  }

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
    page.tell(page.byId('own-outcome'), outcome.text, outcome.good ? 'good' : 'bad');
    if (outcome.good)
      page.byId('own-form').reset();
    showOwnName();
  }

  page.byId('users-rows').addEventListener('click', event => {
    const button = event.target.closest('[data-action]');
    const row = event.target.closest('tr');
    if (button !== null)
      ACTIONS[button.dataset.action](row.dataset.user, row);
  });
  page.byId('own-form').addEventListener('submit', submitOwn);
  page.byId('users-refresh').addEventListener('click', load);
  page.byId('panel-users').addEventListener('shown', load);
  document.addEventListener('rights', () => {
    showOwnName();
    load();
  });
})();
