// scripts/tabs.js: the sections as tabs. The address says which one is open and what it shows
// (#points?type=analog). A section loads its contents when it is opened.
'use strict';

const tabs = (() => {
  const list = [...document.querySelectorAll('[role="tab"]')];
  const STEPS = { ArrowRight: 1, ArrowLeft: -1 };

  const queries = {}; // by section: the end of its address

  const nameOf = tab => tab.id.slice('tab-'.length);

  function open(name) {
    for (const tab of list) {
      const chosen = nameOf(tab) === name;
      tab.setAttribute('aria-selected', chosen);
      tab.tabIndex = chosen ? 0 : -1;
      page.show(page.byId(`panel-${nameOf(tab)}`), chosen);
    }
    page.byId(`panel-${name}`).dispatchEvent(new Event('shown'));
  }

  function openAddressed() {
    const [asked, query = ''] = location.hash.slice(1).split(/\?(.*)/s);
    const name = list.some(tab => nameOf(tab) === asked) ? asked : nameOf(list[0]);
    queries[name] = query;
    open(name);
  }

  const addressOf = name => `#${name}${queries[name] ? `?${queries[name]}` : ''}`;

  // Keeps what the open section shows in its address.
  function setQuery(name, query) {
    queries[name] = query.toString();
    history.replaceState(null, '', addressOf(name));
  }

  function goTo(tab) {
    tab.focus();
    history.pushState(null, '', addressOf(nameOf(tab)));
    openAddressed();
  }

  function key(event) {
    const here = list.indexOf(event.target);
    const there = { Home: 0, End: list.length - 1 }[event.key]
      ?? (STEPS[event.key] && (here + STEPS[event.key] + list.length) % list.length);
    if (there === undefined)
      return;
    event.preventDefault();
    goTo(list[there]);
  }

  // Calls read() when a section is opened and when the rights change while it is open, unless the user
  // may not see it. Shows a failure in the state. Returns the function that does this.
  function loading(name, need, state, read) {
    const panel = page.byId(`panel-${name}`);

    async function load() {
      if (panel.hidden || rights.reason(need) !== '')
        return;
      try {
        await read();
      } catch (error) {
        page.showMessage(page.byId(state), error.message, 'bad');
      }
    }

    panel.addEventListener('shown', load);
    document.addEventListener('rights', load);
    return load;
  }

  for (const tab of list) {
    tab.addEventListener('click', () => goTo(tab));
    tab.addEventListener('keydown', key);
  }
  window.addEventListener('popstate', openAddressed);

  return { openAddressed, loading, setQuery, query: name => new URLSearchParams(queries[name]) };
})();
