// scripts/csv.js: saves a table as a file for spreadsheets.
'use strict';

const csv = (() => {
  const FORMULA = /^[=+\-@\t]/; // a spreadsheet would calculate a text that begins so
  const BYTE_ORDER_MARK = '\ufeff'; // tells a spreadsheet that the file is UTF-8

  function cell(value) {
    const text = String(value);
    return `"${FORMULA.test(text) && isNaN(text) ? '\'' : ''}${text.replaceAll('"', '""')}"`;
  }

  // rows: lists of values, the first with the names of the columns.
  function save(what, rows) {
    const name = `${page.byId('station').textContent} ${what} ${clock.text()}.csv`;
    page.save(name.replace(/[^\w.-]+/g, '_'),
              BYTE_ORDER_MARK + rows.map(row => `${row.map(cell).join(',')}\r\n`).join(''), 'text/csv');
  }

  return { save };
})();
