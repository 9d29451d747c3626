// The Style, Format and View menus on prepared selections: what each item makes of the document,
// where the selection is afterwards, and that Undo and Redo take each change back and forth.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, docWithSelection, bodyHTML, rawBody, choose, itemState, frame } =
  require('./commands_support');

const env = useEditorEnvironment();

// Chooses the item, checks the document and selection, then undoes and redoes it.
async function roundTrip(page, path, before, after) {
  await choose(page, ...path);
  assert.equal(await docWithSelection(page), after, path.join(' > '));
  await choose(page, 'Edit', 'Undo');
  assert.equal(await docWithSelection(page), before, `undo of ${path.join(' > ')}`);
  await choose(page, 'Edit', 'Redo');
  assert.equal(await rawBody(page), after.replace(/[[\]|]/g, ''), `redo of ${path.join(' > ')}`);
}

test('bold, italic and underline from the Style menu wrap the selection and stay selected', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>fo[ob]ar</p>');
  await roundTrip(page, ['Style', 'Bold'], '<p>fo[ob]ar</p>', '<p>fo<b>[ob]</b>ar</p>');
  await roundTrip(page, ['Style', 'Italic'], '<p>fo<b>[ob]</b>ar</p>', '<p>fo<b><i>[ob]</i></b>ar</p>');
  await roundTrip(page, ['Style', 'Underline'], '<p>fo<b><i>[ob]</i></b>ar</p>', '<p>fo<b><i><u>[ob]</u></i></b>ar</p>');
  assert.equal(await bodyHTML(page), '<p>fo<b><i><u>ob</u></i></b>ar</p>');
  // Remove Formatting takes all three away again.
  await choose(page, 'Style', 'Remove Formatting');
  assert.equal(await bodyHTML(page), '<p>foobar</p>');
  await page.close();
});

test('alignment, lists, indent and outdent from the Format menu', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>one|</p><p>two</p>');
  await roundTrip(page, ['Format', 'Alignment', 'Center'], '<p>one|</p><p>two</p>',
    '<p style="text-align: center;">one|</p><p>two</p>');
  await choose(page, 'Format', 'Alignment', 'Right');
  assert.match(await rawBody(page), /^<p style="text-align: right;">one<\/p>/);
  await choose(page, 'Format', 'Alignment', 'Left');
  assert.match(await rawBody(page), /^<p style="text-align: left;">one<\/p>/);

  await setContent(page, '<p>[one</p><p>two]</p>');
  await choose(page, 'Format', 'List', 'Bullet List');
  assert.equal(await rawBody(page), '<ul><li>one</li><li>two</li></ul>');
  await choose(page, 'Format', 'List', 'Number List');
  assert.equal(await rawBody(page), '<ol><li>one</li><li>two</li></ol>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), '<ul><li>one</li><li>two</li></ul>');

  await setContent(page, '<p>in|dent</p>');
  await roundTrip(page, ['Format', 'Indent'], '<p>in|dent</p>', '<blockquote style="margin: 0 0 0 40px; border: none; padding: 0px;"><p>in|dent</p></blockquote>');
  await choose(page, 'Format', 'Outdent');
  assert.equal(await docWithSelection(page), '<p>in|dent</p>');
  await page.close();
});

test('block formats change the block around the caret and keep the inline markup in it', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>Para <b>bo|ld</b> <a href="http://x.test/">link</a></p>');
  await roundTrip(page, ['Style', 'Heading 2'], '<p>Para <b>bo|ld</b> <a href="http://x.test/">link</a></p>',
    '<h2>Para <b>bo|ld</b> <a href="http://x.test/">link</a></h2>');
  for (const [caption, tag] of [['Heading 1', 'h1'], ['Heading 6', 'h6'], ['Address', 'address'], ['Formatted', 'pre'], ['Normal', 'p']]) {
    await choose(page, 'Style', caption);
    assert.equal(await docWithSelection(page), `<${tag}>Para <b>bo|ld</b> <a href="http://x.test/">link</a></${tag}>`, caption);
  }
  // Text in no block at all gets the engine's block, nothing is put back.
  await setContent(page, 'loose| text');
  await choose(page, 'Style', 'Heading 3');
  assert.equal(await rawBody(page), '<h3>loose text</h3>');
  await page.close();
});

test('fonts: a family from the table, and Default taking the face away or the whole FONT', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>alpha [beta]</p>');
  await roundTrip(page, ['Format', 'Font', 'Arial, Helvetica, sans-serif'], '<p>alpha [beta]</p>',
    '<p>alpha <font face="Arial, Helvetica, sans-serif">[beta]</font></p>');
  await choose(page, 'Format', 'Font', 'Georgia, Times New Roman, serif');
  assert.equal(await rawBody(page), '<p>alpha <font face="Georgia, Times New Roman, serif">beta</font></p>');
  // Default in a FONT with a face only: the element goes, its text stays.
  await choose(page, 'Format', 'Font', 'Default');
  assert.equal(await rawBody(page), '<p>alpha beta</p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), '<p>alpha <font face="Georgia, Times New Roman, serif">beta</font></p>');
  // With a size as well, only the face goes.
  await setContent(page, '<p><font face="Arial" size="3">ca|ret</font></p>');
  await choose(page, 'Format', 'Font', 'Default');
  assert.equal(await docWithSelection(page), '<p><font size="3">ca|ret</font></p>');
  await page.close();
});

test('sizes: a number writes a FONT size without a face; Default unwraps a FONT holding only a size', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>small [big]</p>');
  await roundTrip(page, ['Format', 'Size', '5'], '<p>small [big]</p>', '<p>small <font size="5">[big]</font></p>');
  await choose(page, 'Format', 'Size', 'Default');
  assert.equal(await rawBody(page), '<p>small big</p>');
  await setContent(page, '<p><font size="5" color="#FF0000">re|d</font></p>');
  await choose(page, 'Format', 'Size', 'Default');
  assert.equal(await rawBody(page), '<p><font size="5" color="#FF0000">red</font></p>');
  await setContent(page, '<p><font face="Verdana">x[y]z</font></p>');
  await choose(page, 'Format', 'Size', '2');
  assert.match(await rawBody(page), /<font size="2"[^>]*>y<\/font>/);
  assert.match(await rawBody(page), /face="Verdana"/, 'a face the user chose stays');
  await page.close();
});

test('Color... opens the colour picker and the chosen colour is written as #RRGGBB', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>plain [warm]</p>');
  await choose(page, 'Format', 'Color...');
  const picker = page.getByRole('dialog', { name: 'Color' });
  const other = picker.getByLabel('Other colour');
  assert.equal(await other.inputValue(), '#000000');
  await other.fill('#ff8000');
  await picker.getByRole('button', { name: 'OK' }).click();
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('color'));
  assert.equal(await bodyHTML(page), '<p>plain <font color="#ff8000">warm</font></p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), '<p>plain warm</p>');
  await page.close();
});

test('visual aids: the View item is checked and the engine outlines cells; again, both go', async () => {
  const page = await openEditor(env);
  await setContent(page, '<table><tbody><tr><td>c|ell</td></tr></tbody></table>');
  const outline = () => frame(page).locator('td').evaluate((td) => getComputedStyle(td).outlineStyle);
  assert.equal(await outline(), 'none');
  await choose(page, 'View', 'Visual Aids');
  assert.deepEqual(await itemState(page, 'View', 'Visual Aids'), { disabled: false, checked: true });
  assert.equal(await outline(), 'dotted');
  await choose(page, 'View', 'Visual Aids');
  assert.deepEqual(await itemState(page, 'View', 'Visual Aids'), { disabled: false, checked: false });
  assert.equal(await outline(), 'none');
  // Display only: the document is the same.
  assert.equal(await rawBody(page), '<table><tbody><tr><td>cell</td></tr></tbody></table>');
  // The document's relative addresses resolve against the content server.
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.baseURL),
    `http://127.0.0.1:${env.server.port}`);
  await page.close();
});

test('classes from the Style menu go on the element under the caret; Clear Style takes them off', async () => {
  const page = await env.openDemo();
  const ed = () => page.evaluate(() => document.getElementById('editor1').vellmarEngine.bodyHTML);
  // The caret into the first paragraph, as a person puts it there.
  await page.frameLocator('iframe.vellmar-engine-frame').locator('p').first().click();
  const before = await ed();
  await page.getByRole('menubar').getByRole('menuitem', { name: 'Style', exact: true }).click();
  await page.getByRole('menu', { name: 'Style' }).getByRole('menuitem', { name: 'CSS Classes' }).click();
  await page.getByRole('menu', { name: 'CSS Classes' }).getByRole('menuitem', { name: 'note' }).click();
  await page.waitForFunction(() => document.getElementById('editor1').vellmarEngine.bodyHTML.includes('class="note"'));
  const after = await ed();
  assert.equal(after.replace(' class="note"', ''), before.replace(/<p class="[^"]*"/, '<p'));
  await page.getByRole('menubar').getByRole('menuitem', { name: 'Style', exact: true }).click();
  await page.getByRole('menu', { name: 'Style' }).getByRole('menuitem', { name: 'Clear Style' }).click();
  await page.waitForFunction(() => !document.getElementById('editor1').vellmarEngine.bodyHTML.includes('class="note"'));
  await page.close();
});
