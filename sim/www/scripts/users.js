// scripts/users.js: the section of users: an administrator changes roles, locks and passwords, and all
// users change their own password. The unit's security module keeps them.
'use strict';

(() => {
  const LEAST_PASSWORD_BYTES = 8;
  const MOST_PASSWORD_BYTES = 127;
  const LIST_BYTES = 2047; // the unit cuts a longer list of names, even within a name
  const MEANINGS = {
    1: 'you may not do this',
    2: 'there is no such user',
    3: 'the unit does not accept this value',
    4: 'refused, since no administrator who can log in would be left',
    5: 'the unit could not save it, and nothing has changed',
    [-1]: 'the unit has no user administration',
  };

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
    const outcome = await soap.perform(what, operation, parameters, MEANINGS);
    load();
    return outcome;
  }

  // Before a change that could shut out the person who makes it, perhaps the last administrator, the
  // person types the user's name.
  function askToChange(user, { fields = [], objection = () => '', ...asked }) {
    const own = user === ownName();
    const check = { name: 'check', label: `This is you, and you may lose your own access. To go on, type ${user}` };
    dialog.ask({
      ...asked,
      fields: own ? [...fields, check] : fields,
      danger: own,
      objection: values => objection(values) || (own && values.check !== user ? `Type ${user}.` : ''),
    });
  }

  function askForRoles({ user, roles, own }) {
    const listOf = values => roles.filter(role => values[role]);
    const changeOf = values => `${own.join(', ') || 'none'} → ${listOf(values).join(', ') || 'none'}`;
    askToChange(user, {
      title: `Roles of ${user}`,
      fields: roles.map(role => ({ name: role, label: role, type: 'checkbox', value: own.includes(role) })),
      text: changeOf,
      objection: values => listOf(values).join() === own.join() ? 'No role is changed.' : '',
      confirm: 'Save roles',
      action: values => change(`Roles of ${user}, ${changeOf(values)}`, 'setUserRoles',
                               { userName: user, rolesList: listOf(values).join(' ') }),
    });
  }

  function askToLock({ user }, verb, lock, effect) {
    askToChange(user, {
      title: `${verb} ${user}`,
      text: () => effect,
      confirm: verb,
      action: () => change(`${verb} ${user}`, 'setUserLock', { userName: user, lock }),
    });
  }

  function passwordObjection({ password, repeated }) {
    const bytes = page.bytesOf(password);
    if (bytes < LEAST_PASSWORD_BYTES || bytes > MOST_PASSWORD_BYTES)
      return `A password has ${LEAST_PASSWORD_BYTES} to ${MOST_PASSWORD_BYTES} bytes.`;
    if (/[\0-\x1f\x7f]/.test(password))
      return 'A password has no control characters.';
    return password === repeated ? '' : 'The two passwords differ.';
  }

  function askForPassword({ user }) {
    dialog.ask({
      title: `New password of ${user}`,
      fields: [
        { name: 'password', label: 'New password, 8 bytes or more', type: 'password' },
        { name: 'repeated', label: 'Repeat it', type: 'password' },
      ],
      text: () => `${user} logs in with it from now on.`,
      objection: passwordObjection,
      confirm: 'Set password',
      action: ({ password }) => change(`Password of ${user}`, 'setUserPassword', { userName: user, passwd: password }),
    });
  }

  const ACTIONS = {
    roles: askForRoles,
    lock: entry => askToLock(entry, 'Lock', 1, `${entry.user} cannot log in any more.`),
    unlock: entry => askToLock(entry, 'Unlock', 0, `${entry.user} can log in again.`),
    password: askForPassword,
  };

  // ---- The section ----

  // locked is undefined where the list of locked users is cut; then both changes are offered.
  function rowOf(entry) {
    const { user, own, locked } = entry;
    const buttons = [['Roles…', 'roles'], ['Lock…', 'lock'], ['Unlock…', 'unlock'], ['Password…', 'password']]
      .filter(([, action]) => !(action === 'lock' && locked === true || action === 'unlock' && locked === false));
    const state = { true: 'LOCKED', false: 'open' }[locked] || 'not known';
    const badge = page.make('span', { className: 'badge', textContent: state });
    badge.dataset.locked = locked;
    const row = page.make('tr', {},
      page.make('td', { className: 'name', textContent: user === ownName() ? `${user} (you)` : user }),
      page.make('td', { textContent: own.join(', ') || 'none' }),
      page.make('td', {}, badge),
      page.make('td', { className: 'actions' }, ...buttons.map(([label, action]) => page.button(label, action))));
    row.dataset.user = user;
    row.addEventListener('click', event => ACTIONS[event.target.dataset.action]?.(entry));
    return row;
  }

  async function read() {
    const rolesOf = async userName => (await names('getRolesListByUser', { userName })).list;
    if (ownName() !== '')
      page.write(page.byId('own-roles'), (await rolesOf(ownName())).join(', ') || 'none');
    const users = await names('getUsersList'); // empty unless the user is an administrator
    const roles = await names('getRolesList');
    const locked = await names('getLockedUsers');
    const rows = [];
    for (const user of users.list)
      rows.push(rowOf({
        user,
        roles: roles.list,
        own: await rolesOf(user),
        locked: locked.list.includes(user) || (locked.cut ? undefined : false),
      }));
    page.byId('users-rows').replaceChildren(...rows);
    page.showMessage(page.byId('users-state'), users.cut || locked.cut
      ? 'There are more users than the unit can list: some users or their states are missing here.'
      : '', 'bad');
  }

  const load = tabs.loading('users', 'host', 'users-state', read);

  page.byId('users-refresh').addEventListener('click', load);
  page.byId('own-password').addEventListener('click', () => askForPassword({ user: ownName() }));
  page.byId('own-name').value = session.remembered().user || '';
  page.byId('own-name').readOnly = ownName() !== '';
})();
