// Table structure from the Format menu's Table submenu, on tables with row and column spans, with
// undo after every change; and the vertical alignment of the cell under the caret.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, rawBody, choose, itemState, frame, settle } = require('./commands_support');

const env = useEditorEnvironment();

// The table as rows of cell texts, spans written as text[colspan x rowspan].
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

// a a c
// d e f
// d h i   with the caret in the cell of `letter`.
function withCaret(letter) {
  return ('<table border="1"><tbody>' +
    '<tr><td colspan="2">a</td><td>c</td></tr>' +
    '<tr><td rowspan="2">d</td><td>e</td><td>f</td></tr>' +
    '<tr><td>h</td><td>i</td></tr></tbody></table>').replace(`>${letter}<`, `>${letter}|<`);
}

const ORIGINAL = ['a[2x1] | c', 'd[1x2] | e | f', 'h | i'];

async function structure(page, item, caretIn, expected) {
  await setContent(page, withCaret(caretIn));
  await choose(page, 'Format', 'Table', item);
  assert.deepEqual(await grid(page), expected, `${item} at ${caretIn}`);
  await choose(page, 'Edit', 'Undo');
  assert.deepEqual(await grid(page), ORIGINAL, `undo of ${item} at ${caretIn}`);
  await choose(page, 'Edit', 'Redo');
  assert.deepEqual(await grid(page), expected, `redo of ${item} at ${caretIn}`);
}

test('insert row and insert column grow the cells spanning across the new row or column', async () => {
  const page = await openEditor(env);
  await structure(page, 'Insert Row', 'e', ['a[2x1] | c', 'd[1x3] | e | f', ' | ', 'h | i']);
  await structure(page, 'Insert Row', 'a', ['a[2x1] | c', ' |  | ', 'd[1x2] | e | f', 'h | i']);
  await structure(page, 'Insert Column', 'd', ['a[3x1] | c', 'd[1x2] |  | e | f', ' | h | i']);
  await structure(page, 'Insert Column', 'c', ['a[2x1] | c | ', 'd[1x2] | e | f | ', 'h | i | ']);
  await page.close();
});

test('delete row and delete column shorten and narrow spans; the caret stays in the table', async () => {
  const page = await openEditor(env);
  await structure(page, 'Delete Row', 'd', ['a[2x1] | c', 'd | h | i']);
  // The caret moved into the first cell of the row that took the deleted one's place: typing goes there.
  await page.keyboard.type('Z');
  assert.deepEqual(await grid(page), ['a[2x1] | c', 'Zd | h | i']);
  await structure(page, 'Delete Column', 'e', ['a | c', 'd[1x2] | f', 'i']);
  await structure(page, 'Delete Row', 'h', ['a[2x1] | c', 'd | e | f']);
  // The last row takes the table with it.
  await setContent(page, '<p>keep</p><table><tbody><tr><td>on|ly</td></tr></tbody></table>');
  await choose(page, 'Format', 'Table', 'Delete Row');
  assert.equal(await rawBody(page), '<p>keep</p>');
  await page.close();
});

test('merge joins the cells a selection runs across; split gives a spanning cell back its slots', async () => {
  const page = await openEditor(env);
  await setContent(page, '<table border="1"><tbody><tr><td>o[ne</td><td>tw]o</td><td></td><td>four</td></tr>' +
    '<tr><td>x</td><td>y</td><td>z</td><td>w</td></tr></tbody></table>');
  await choose(page, 'Format', 'Table', 'Merge Cells');
  assert.deepEqual(await grid(page), ['onetwo[2x1] |  | four', 'x | y | z | w']);
  await choose(page, 'Edit', 'Undo');
  assert.deepEqual(await grid(page), ['one | two |  | four', 'x | y | z | w']);
  // Cells of two rows do not merge: the item is greyed.
  await setContent(page, '<table><tbody><tr><td>fo[ur</td></tr><tr><td>w]</td></tr></tbody></table>');
  assert.equal((await itemState(page, 'Format', 'Table', 'Merge Cells')).disabled, true);
  assert.deepEqual(await grid(page), ['four', 'w']);
  // A cell spanning rows and columns splits into one cell per slot.
  await setContent(page, '<table><tbody><tr><td colspan="2" rowspan="2">b|ig</td><td>r</td></tr>' +
    '<tr><td>s</td></tr></tbody></table>');
  await choose(page, 'Format', 'Table', 'Split Cells');
  assert.deepEqual(await grid(page), ['big |  | r', ' |  | s']);
  await choose(page, 'Edit', 'Undo');
  assert.deepEqual(await grid(page), ['big[2x2] | r', 's']);
  await page.close();
});

test('outside a table the structure items change nothing; the alignment keys set the cell under the caret', async () => {
  const page = await openEditor(env);
  const body = '<p>out|side</p><table><tbody><tr><td>a</td></tr></tbody></table>';
  await setContent(page, body);
  for (const item of ['Insert Row', 'Insert Column', 'Delete Row', 'Delete Column', 'Merge Cells', 'Split Cells']) {
    assert.equal((await itemState(page, 'Format', 'Table', item)).disabled, true, item);
  }
  const dispatch = (key) => page.evaluate((k) => document.getElementById('ed').vellmarCommands.dispatch(k), key);
  await dispatch('middle');
  assert.equal(await rawBody(page), body.replace('|', ''));
  await setContent(page, '<table><tbody><tr><th>h</th></tr><tr><td><p>in a pa|ragraph</p></td></tr></tbody></table>');
  await dispatch('middle');
  await settle(page);
  assert.equal(await rawBody(page), '<table><tbody><tr><th>h</th></tr><tr><td valign="middle"><p>in a paragraph</p></td></tr></tbody></table>');
  await dispatch('bottom');
  assert.match(await rawBody(page), /<td valign="bottom">/);
  // A header cell is not a TD: nothing changes there.
  await frame(page).locator('th').click();
  await dispatch('top');
  assert.match(await rawBody(page), /<th>h<\/th>/);
  await page.close();
});
