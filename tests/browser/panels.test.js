// The element property panels as a person uses them: the context menu's properties item opens
// the panel of the table, cell, image or rule under the selection as a region under the editing
// surface; each field changes the element at once, Undo takes each change back, and input that
// would break the element is refused with a message beside the field. Also the colour picker,
// from the panels' colour selectors and from Format › Color....
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, rawBody, bodyHTML, choose, frame, settle } = require('./commands_support');

const env = useEditorEnvironment();

const GIF = 'data:image/gif;base64,R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7';

// Right click on `locator` (at `position` inside it) and choose the properties item.
async function openPanel(page, locator, item, position) {
  await locator.click({ button: 'right', position });
  const menu = page.getByRole('menu', { name: 'Context menu' });
  await menu.getByRole('menuitem', { name: item }).click();
  const region = page.getByRole('region', { name: item.replace('...', '') });
  await region.waitFor();
  return region;
}

// The attributes of the first element of `selector` in the document.
function attributes(page, selector) {
  return page.evaluate((s) => {
    const el = document.getElementById('ed').vellmarEngine.document().querySelector(s);
    return Object.fromEntries([...el.attributes].map((a) => [a.name, a.value]));
  }, selector);
}

// Types into a field and leaves it, as a person does.
async function enter(field, text) {
  await field.fill(text);
  await field.press('Tab');
}

test('Table Properties: the panel shows the table, writes border and background at once, and Undo takes each back', async () => {
  const page = await openEditor(env);
  await setContent(page, '<table border="1" cellspacing="6" style="width: 300px;"><tbody>' +
    '<tr><td>a</td><td colspan="2">b</td></tr><tr><td>c</td><td>d</td><td>e</td></tr></tbody></table><p>after</p>');
  // On the table's own border (between the cells), the table is selected as a whole.
  const panel = await openPanel(page, frame(page).locator('table'), 'Table Properties...', { x: 2, y: 2 });
  assert.equal(await panel.getByRole('heading').textContent(), 'Table Properties');
  assert.equal(await panel.getByLabel('Rows:').inputValue(), '2');
  assert.equal(await panel.getByLabel('Cols:').inputValue(), '3');
  assert.equal(await panel.getByLabel('Border:', { exact: true }).inputValue(), '1');
  assert.equal(await panel.getByLabel('Width:').inputValue(), '300px');
  assert.equal(await panel.getByLabel('Alignment:').inputValue(), 'Not Set');
  // The style's width became the attribute the panel edits.
  assert.deepEqual(await attributes(page, 'table'), { border: '1', cellspacing: '6', width: '300px' });
  // The editing surface made room for the panel: the panel sits under it.
  const surface = await page.locator('.vellmar-engine').boundingBox();
  const band = await panel.boundingBox();
  assert.ok(band.y >= surface.y + surface.height - 1, 'the panel lies below the editing surface');

  await enter(panel.getByLabel('Border:', { exact: true }), '3');
  assert.equal((await attributes(page, 'table')).border, '3');
  await panel.getByRole('button', { name: 'Choose Bg Color' }).click();
  const picker = page.getByRole('dialog', { name: 'Color' });
  await picker.getByRole('button', { name: 'Red #FF0000' }).click();
  await picker.waitFor({ state: 'hidden' });
  assert.equal((await attributes(page, 'table')).bgcolor, '#FF0000');
  assert.equal(await panel.getByLabel('Bg Color:').inputValue(), '#FF0000');

  await choose(page, 'Edit', 'Undo');
  assert.equal((await attributes(page, 'table')).bgcolor, undefined);
  assert.equal((await attributes(page, 'table')).border, '3');
  await choose(page, 'Edit', 'Undo');
  assert.equal((await attributes(page, 'table')).border, '1');
  await page.close();
});

test('Table Properties: rows and columns grow and shrink the table; bad counts and sizes are refused beside the field', async () => {
  const page = await openEditor(env);
  await setContent(page, '<table border="1" cellspacing="6"><tbody><tr><td>a</td><td colspan="2">b</td></tr>' +
    '<tr><td>c</td><td>d</td><td>e</td></tr></tbody></table>');
  const panel = await openPanel(page, frame(page).locator('table'), 'Table Properties...', { x: 2, y: 2 });
  const rows = panel.getByLabel('Rows:');
  await enter(rows, '4');
  const shape = () => page.evaluate(() => [...document.getElementById('ed').vellmarEngine.document()
    .querySelector('table').rows].map((r) => r.cells.length));
  assert.deepEqual(await shape(), [2, 3, 3, 3], 'each new row has as many cells as the first row spans');
  for (const bad of ['abc', '0', '10000']) {
    await enter(rows, bad);
    assert.equal(await rows.inputValue(), '4', bad);
    assert.equal(await rows.getAttribute('aria-invalid'), 'true');
    assert.notEqual(await panel.getByRole('alert').filter({ hasText: /row/ }).textContent(), '');
  }
  assert.deepEqual(await shape(), [2, 3, 3, 3]);
  await enter(panel.getByLabel('Cols:'), '1');
  assert.deepEqual(await shape(), [1, 1, 1, 1]);
  await enter(panel.getByLabel('Cols:'), '500');
  assert.match(await panel.getByRole('alert').filter({ hasText: /column/ }).textContent(), /at most 100 columns/);

  const width = panel.getByLabel('Width:');
  await enter(width, 'wide');
  assert.match(await panel.getByRole('alert').filter({ hasText: /percentage/ }).textContent(), /80%/);
  assert.equal((await attributes(page, 'table')).width, undefined);
  await enter(width, '80%');
  assert.equal((await attributes(page, 'table')).width, '80%');
  assert.equal(await width.getAttribute('aria-invalid'), null);
  await enter(panel.getByLabel('Border Color:'), 'not a colour');
  assert.equal((await attributes(page, 'table')).bordercolor, undefined);
  assert.match(await panel.getByRole('alert').filter({ hasText: /colour/ }).textContent(), /#FF0000/);
  // Emptying the border removes the attribute.
  await enter(panel.getByLabel('Border:', { exact: true }), '');
  assert.equal((await attributes(page, 'table')).border, undefined);
  // The close button closes the panel and gives the editing surface its room back.
  const before = await page.locator('.vellmar-engine').boundingBox();
  await panel.getByRole('button', { name: 'Close' }).click();
  await panel.waitFor({ state: 'hidden' });
  assert.ok((await page.locator('.vellmar-engine').boundingBox()).height > before.height);
  await page.close();
});

test('Cell Properties: colours typed or picked, alignment and no-wrap write into the cell; moving to another cell closes the panel', async () => {
  const page = await openEditor(env);
  await setContent(page, '<table border="1"><tbody><tr><td style="height: 40px;">one</td><td>two</td></tr></tbody></table>');
  const panel = await openPanel(page, frame(page).locator('td').first(), 'Cell Properties...');
  assert.equal(await panel.getByLabel('Height:').inputValue(), '40px');
  assert.equal(await panel.getByLabel('V Align:').inputValue(), 'Not Set');
  await enter(panel.getByLabel('Bg Color:'), '#00ff00');
  assert.equal((await attributes(page, 'td')).bgcolor, '#00FF00');
  assert.equal(await panel.getByLabel('Bg Color:').inputValue(), '#00FF00');
  await panel.getByLabel('V Align:').selectOption('Top');
  assert.equal((await attributes(page, 'td')).valign, 'Top');
  await panel.getByLabel('No Wrap').check();
  assert.equal((await attributes(page, 'td')).nowrap, '');
  await enter(panel.getByLabel('Brdr Color:'), 'greenish');
  assert.equal((await attributes(page, 'td')).bordercolor, undefined);
  assert.equal(await panel.getByLabel('Brdr Color:').getAttribute('aria-invalid'), 'true');

  await choose(page, 'Edit', 'Undo');
  assert.equal((await attributes(page, 'td')).nowrap, undefined);
  assert.equal((await attributes(page, 'td')).valign, 'Top');
  await choose(page, 'Edit', 'Undo');
  assert.equal((await attributes(page, 'td')).valign, undefined);

  // Not Set removes the alignment again.
  await panel.getByLabel('V Align:').selectOption('Middle');
  await panel.getByLabel('V Align:').selectOption('Not Set');
  assert.equal((await attributes(page, 'td')).valign, undefined);

  await frame(page).locator('td').nth(1).click();
  await panel.waitFor({ state: 'hidden' });
  await page.close();
});

test('Image Properties: size, alternative text, border and alignment; a picked size is read back from the handles', async () => {
  const page = await openEditor(env);
  await setContent(page, `<p>see <img src="${GIF}" border="2" style="width: 60px; height: 30px;"> here</p>`);
  const panel = await openPanel(page, frame(page).locator('img'), 'Image Properties...');
  assert.equal(await panel.getByLabel('Width:').inputValue(), '60px');
  assert.equal(await panel.getByLabel('Border:').inputValue(), '2');
  assert.deepEqual(await attributes(page, 'img'), { src: GIF, border: '2', width: '60px', height: '30px' });

  await enter(panel.getByLabel('Width:'), '150px');
  assert.equal(await panel.getByLabel('Width:').inputValue(), '150');
  assert.equal((await attributes(page, 'img')).width, '150');
  assert.equal(await frame(page).locator('img').evaluate((img) => img.width), 150);
  await enter(panel.getByLabel('Alt Text:'), 'a dot');
  await enter(panel.getByLabel('Border:'), '');
  assert.equal(await panel.getByLabel('Border:').inputValue(), '0');
  await panel.getByLabel('Alignment:').selectOption('Left');
  assert.deepEqual(await attributes(page, 'img'),
    { src: GIF, width: '150', height: '30px', alt: 'a dot', border: '0', align: 'Left' });
  await enter(panel.getByLabel('H Space:'), '99999');
  assert.equal((await attributes(page, 'img')).hspace, undefined);
  assert.match(await panel.getByRole('alert').filter({ hasText: /32767/ }).textContent(), /0 to 32767/);

  await choose(page, 'Edit', 'Undo');
  assert.equal((await attributes(page, 'img')).align, undefined);
  await choose(page, 'Edit', 'Undo');
  await choose(page, 'Edit', 'Undo');
  await choose(page, 'Edit', 'Undo');
  assert.equal((await attributes(page, 'img')).width, '60px');

  // Reset W&H gives the image back its own size.
  await panel.getByRole('button', { name: 'Reset W&H' }).click();
  const attrs = await attributes(page, 'img');
  assert.equal(attrs.width, undefined);
  assert.equal(attrs.height, undefined);
  assert.equal(await panel.getByLabel('Width:').inputValue(), '1');
  await page.close();
});

test('Image Properties: a refused entry keeps its reason when the panel reads its changed element again', async () => {
  const page = await openEditor(env);
  await setContent(page, `<p>see <img src="${GIF}" width="20" height="10"> here</p>`);
  const panel = await openPanel(page, frame(page).locator('img'), 'Image Properties...');
  await enter(panel.getByLabel('H Space:'), '99999');
  const reason = panel.getByRole('alert').filter({ hasText: /32767/ });
  assert.match(await reason.textContent(), /0 to 32767/);
  // Another field changes the image; the panel reads it again on the display change that follows.
  await enter(panel.getByLabel('Alt Text:'), 'a dot');
  assert.equal((await attributes(page, 'img')).alt, 'a dot');
  await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
  assert.match(await reason.textContent({ timeout: 1000 }), /0 to 32767/);
  assert.equal(await panel.getByLabel('Alt Text:').inputValue(), 'a dot');
  await page.close();
});

test('Image Properties: with DisableEditImageWidthHeight the size fields cannot be edited', async () => {
  const page = await openEditor(env, { DisableEditImageWidthHeight: '1' });
  await setContent(page, `<p>see <img src="${GIF}" width="20" height="10"> here</p>`);
  const panel = await openPanel(page, frame(page).locator('img'), 'Image Properties...');
  assert.equal(await panel.getByLabel('Width:').isDisabled(), true);
  assert.equal(await panel.getByLabel('Height:').isDisabled(), true);
  assert.equal(await panel.getByLabel('Alt Text:').isDisabled(), false);
  await page.close();
});

test('Horizontal Rule Properties: full width on opening, then width, size and shade; Undo takes each back', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>above</p><hr size="8"><p>below</p>');
  // Beside the middle, where the selection's handles would cover a thin rule.
  const panel = await openPanel(page, frame(page).locator('hr'), 'Horizontal Rule Properties...', { x: 100, y: 4 });
  assert.equal(await panel.getByLabel('Width:').inputValue(), '100%');
  assert.equal(await panel.getByLabel('Height:').inputValue(), '8');
  assert.equal(await panel.getByLabel('Shaded').isChecked(), true);
  assert.deepEqual(await attributes(page, 'hr'), { size: '8', width: '100%' });
  await enter(panel.getByLabel('Width:'), '50%');
  await enter(panel.getByLabel('Height:'), '4');
  await panel.getByLabel('Shaded').uncheck();
  assert.deepEqual(await attributes(page, 'hr'), { width: '50%', size: '4', noshade: '' });
  assert.match(await bodyHTML(page), /<hr size="4" width="50%" noshade/);
  await choose(page, 'Edit', 'Undo');
  assert.deepEqual(await attributes(page, 'hr'), { width: '50%', size: '4' });
  await choose(page, 'Edit', 'Undo');
  assert.deepEqual(await attributes(page, 'hr'), { size: '8', width: '50%' });
  // Emptying the height removes the size.
  await enter(panel.getByLabel('Height:'), '2');
  await enter(panel.getByLabel('Height:'), '');
  assert.equal((await attributes(page, 'hr')).size, undefined);
  await page.close();
});

test('Format › Color... opens the picker: a swatch colours the text, Cancel and Escape change nothing', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>plain [warm]</p>');
  await choose(page, 'Format', 'Color...');
  const picker = page.getByRole('dialog', { name: 'Color' });
  await picker.getByRole('button', { name: 'Cancel' }).click();
  await picker.waitFor({ state: 'hidden' });
  await choose(page, 'Format', 'Color...');
  await picker.waitFor();
  await page.keyboard.press('Escape');
  await picker.waitFor({ state: 'hidden' });
  await settle(page);
  assert.equal(await rawBody(page), '<p>plain warm</p>');

  await choose(page, 'Format', 'Color...');
  await picker.getByRole('button', { name: 'Blue #0000FF' }).click();
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('color'));
  assert.equal(await bodyHTML(page), '<p>plain <font color="#0000ff">warm</font></p>');
  await page.close();
});
