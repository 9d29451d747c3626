// The engine's table commands on tables with row and column spans, with the caret placed by a
// click in a cell and selections made by dragging across cells.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { DECMD, STATUS, openEngine, setBody, frame, exec, status, bodyHTML } = require('./engine_support');

const env = useEditorEnvironment();

// The table as rows of cell texts, with spans written as text[colspan x rowspan].
function grid(page) {
  return page.evaluate(() => {
    const table = document.getElementById('ed').vellmarEngine.document().querySelector('table');
    if (!table) return null;
    return [...table.rows].map((row) => [...row.cells].map((cell) => {
      const spans = cell.colSpan > 1 || cell.rowSpan > 1 ? `[${cell.colSpan}x${cell.rowSpan}]` : '';
      return cell.textContent + spans;
    }).join(' | '));
  });
}

// A 3 x 3 table whose cell a spans two columns and cell d two rows:
//   a a c
//   d e f
//   d h i
const SPANNED = '<table border="1"><tbody>' +
  '<tr><td colspan="2">a</td><td>c</td></tr>' +
  '<tr><td rowspan="2">d</td><td>e</td><td>f</td></tr>' +
  '<tr><td>h</td><td>i</td></tr></tbody></table>';

async function clickCell(page, text) {
  await frame(page).locator('td', { hasText: new RegExp(`^${text}$`) }).click();
}

test('insert table builds the table from its parameters, splitting the paragraph it lands in', async () => {
  const page = await openEngine(env, '<p>before after</p>');
  const box = await frame(page).locator('p').boundingBox();
  // Caret after "before".
  await frame(page).locator('p').click({ position: { x: 2, y: box.height / 2 } });
  await page.keyboard.press('Home');
  for (let i = 0; i < 6; i++) await page.keyboard.press('ArrowRight');
  assert.equal(await status(page, DECMD.INSERTTABLE), STATUS.ENABLED);
  const result = await exec(page, DECMD.INSERTTABLE, 2,
    { NumRows: 2, NumCols: 3, TableAttrs: 'id="1234" border="1"', CellAttrs: 'valign="top"', Caption: 'Cap' });
  assert.deepEqual(result, { value: '' });
  assert.equal(await bodyHTML(page),
    '<p>before</p><table id="1234" border="1"><caption>Cap</caption><tbody>' +
    '<tr><td valign="top"></td><td valign="top"></td><td valign="top"></td></tr>' +
    '<tr><td valign="top"></td><td valign="top"></td><td valign="top"></td></tr>' +
    '</tbody></table><p> after</p>');
  // The caret waits in the first cell: typing goes there.
  await page.keyboard.type('X');
  assert.deepEqual(await grid(page), ['X |  | ', ' |  | ']);
  assert.equal(await status(page, DECMD.INSERTROW), STATUS.ENABLED);
  assert.match((await exec(page, DECMD.INSERTTABLE, 2, { NumRows: 0, NumCols: 2 })).error, /rows and columns/);
  assert.match((await exec(page, DECMD.INSERTTABLE, 2, 'not parameters')).error, /parameters/);
  await page.close();
});

test('table commands are enabled only with the caret in a cell; merge and split only where they apply', async () => {
  const page = await openEngine(env, `<p>outside</p>${SPANNED}`);
  await frame(page).locator('p').click();
  for (const id of [DECMD.INSERTROW, DECMD.INSERTCOL, DECMD.DELETEROWS, DECMD.DELETECOLS,
    DECMD.MERGECELLS, DECMD.SPLITCELL]) {
    assert.equal(await status(page, id), STATUS.DISABLED, `status of ${id} outside the table`);
  }
  assert.match((await exec(page, DECMD.INSERTROW)).error, /disabled/);
  await clickCell(page, 'e');
  for (const id of [DECMD.INSERTROW, DECMD.INSERTCOL, DECMD.DELETEROWS, DECMD.DELETECOLS]) {
    assert.equal(await status(page, id), STATUS.ENABLED, `status of ${id} in a cell`);
  }
  assert.equal(await status(page, DECMD.MERGECELLS), STATUS.DISABLED, 'a single cell does not merge');
  assert.equal(await status(page, DECMD.SPLITCELL), STATUS.DISABLED, 'a one-column cell does not split');
  await clickCell(page, 'a');
  assert.equal(await status(page, DECMD.SPLITCELL), STATUS.ENABLED);
  await page.close();
});

test('insert row goes below the caret row; a cell spanning across it grows instead of getting a sibling', async () => {
  const page = await openEngine(env, SPANNED);
  await clickCell(page, 'e');
  await exec(page, DECMD.INSERTROW);
  // d spans rows 2 and 3, so the new row below row 2 lies inside its span.
  assert.deepEqual(await grid(page), ['a[2x1] | c', 'd[1x3] | e | f', ' | ', 'h | i']);
  await clickCell(page, 'a');
  await exec(page, DECMD.INSERTROW);
  assert.deepEqual(await grid(page), ['a[2x1] | c', ' |  | ', 'd[1x3] | e | f', ' | ', 'h | i']);
  await page.close();
});

test('insert column goes right of the caret column, in every row; a spanning cell grows once', async () => {
  const page = await openEngine(env, SPANNED);
  await clickCell(page, 'd');
  await exec(page, DECMD.INSERTCOL);
  // a spans columns 1 and 2, across the new column's place: it grows to three.
  assert.deepEqual(await grid(page), ['a[3x1] | c', 'd[1x2] |  | e | f', ' | h | i']);
  await clickCell(page, 'c');
  await exec(page, DECMD.INSERTCOL);
  assert.deepEqual(await grid(page), ['a[3x1] | c | ', 'd[1x2] |  | e | f | ', ' | h | i | ']);
  await page.close();
});

test('delete rows shortens spans through them and moves a spanning cell down; the last row takes the table', async () => {
  const page = await openEngine(env, SPANNED);
  await clickCell(page, 'd');
  await exec(page, DECMD.DELETEROWS);
  // d began in the deleted row and spans the next: it moves down with one row less.
  assert.deepEqual(await grid(page), ['a[2x1] | c', 'd | h | i']);
  await clickCell(page, 'h');
  await exec(page, DECMD.DELETEROWS);
  assert.deepEqual(await grid(page), ['a[2x1] | c']);
  await clickCell(page, 'c');
  await exec(page, DECMD.DELETEROWS);
  assert.equal(await grid(page), null);
  assert.equal(await bodyHTML(page), '');
  await page.close();
});

test('delete columns narrows spanning cells and removes cells wholly inside', async () => {
  const page = await openEngine(env, SPANNED);
  await clickCell(page, 'e');
  await exec(page, DECMD.DELETECOLS);
  assert.deepEqual(await grid(page), ['a | c', 'd[1x2] | f', 'i']);
  // A selection dragged over two cells deletes both their columns: here all of them.
  await setBody(page, '<table><tbody><tr><td>pppp</td><td>qqqq</td><td>rrrr</td></tr></tbody></table>');
  await dragAcross(page, 'pppp', 'qqqq');
  await exec(page, DECMD.DELETECOLS);
  assert.deepEqual(await grid(page), ['rrrr']);
  await clickCell(page, 'rrrr');
  await exec(page, DECMD.DELETECOLS);
  assert.equal(await grid(page), null);
  await page.close();
});

// Selects from the start of one cell to the middle of another: a click, then a shift-click.
async function dragAcross(page, fromText, toText) {
  const cell = (text) => frame(page).locator('td', { hasText: new RegExp(`^${text}$`) });
  const from = await cell(fromText).boundingBox();
  const to = await cell(toText).boundingBox();
  await page.mouse.click(from.x + 1, from.y + from.height / 2);
  await page.keyboard.down('Shift');
  await page.mouse.click(to.x + to.width / 2, to.y + to.height / 2);
  await page.keyboard.up('Shift');
}

test('merge joins the dragged-over cells of one row into the first; split gives a spanning cell back its columns', async () => {
  const page = await openEngine(env,
    '<table border="1"><tbody><tr><td>one</td><td>two</td><td></td><td>four</td></tr>' +
    '<tr><td>x</td><td>y</td><td>z</td><td>w</td></tr></tbody></table>');
  await dragAcross(page, 'one', 'two');
  assert.equal(await status(page, DECMD.MERGECELLS), STATUS.ENABLED);
  await exec(page, DECMD.MERGECELLS);
  assert.deepEqual(await grid(page), ['onetwo[2x1] |  | four', 'x | y | z | w']);
  // Cells of two rows do not merge.
  await dragAcross(page, 'four', 'w');
  assert.equal(await status(page, DECMD.MERGECELLS), STATUS.DISABLED);
  await clickCell(page, 'onetwo');
  assert.equal(await status(page, DECMD.SPLITCELL), STATUS.ENABLED);
  await exec(page, DECMD.SPLITCELL);
  assert.deepEqual(await grid(page), ['onetwo |  |  | four', 'x | y | z | w']);
  assert.equal(await status(page, DECMD.SPLITCELL), STATUS.DISABLED);
  await page.close();
});
