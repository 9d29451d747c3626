// The interface follows the caret: toolbar buttons pressed and greyed, the selector showing the
// block format, font and size, and the menus' check marks and greyed items, as the caret moves
// through bold text, headings, lists, centred paragraphs, tables and links.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, settle, itemState, frame } = require('./commands_support');

const env = useEditorEnvironment();

const DOCUMENT =
  '<p>plain |text</p>' +
  '<p>some <b>bold</b> words</p>' +
  '<h2>A heading</h2>' +
  '<ul><li>an item</li></ul>' +
  '<p style="text-align: center;">centred</p>' +
  '<table border="1"><tbody><tr><td>cell one</td><td>cell two</td></tr></tbody></table>' +
  '<p>a <a href="http://example.com/">link</a> here</p>' +
  '<p><font face="Georgia" size="4">large georgia</font></p>';

function button(page, name) {
  return page.getByRole('button', { name, exact: true });
}

async function pressed(page, name) {
  return (await button(page, name).getAttribute('aria-pressed')) === 'true';
}

// Clicks into the document on the given text, as a person puts the caret there.
async function caretInto(page, text) {
  await frame(page).getByText(text, { exact: true }).first().click();
  await settle(page);
}

function selector(page, name) {
  return page.getByRole('combobox', { name, exact: true });
}

async function selectedText(page, name) {
  return selector(page, name).evaluate((s) => s.options[s.selectedIndex].text);
}

test('the toolbars and the selector follow the caret through the document', async () => {
  const page = await openEditor(env);
  await setContent(page, DOCUMENT);

  assert.equal(await pressed(page, 'Bold'), false);
  assert.equal(await selectedText(page, 'Block Format'), 'Normal');

  await caretInto(page, 'bold');
  assert.equal(await pressed(page, 'Bold'), true);
  assert.equal((await itemState(page, 'Style', 'Bold')).checked, true);

  await caretInto(page, 'plain text');
  assert.equal(await pressed(page, 'Bold'), false);
  assert.equal((await itemState(page, 'Style', 'Bold')).checked, false);

  await caretInto(page, 'A heading');
  assert.equal(await selectedText(page, 'Block Format'), 'Heading 2');
  assert.equal((await itemState(page, 'Style', 'Heading 2')).checked, true);

  await caretInto(page, 'an item');
  assert.equal(await pressed(page, 'Bullet List'), true);
  assert.equal(await pressed(page, 'Number List'), false);
  // A list item has no block format of the list: none is checked.
  assert.equal((await itemState(page, 'Style', 'Heading 2')).checked, false);
  assert.equal((await itemState(page, 'Style', 'Normal')).checked, false);

  await caretInto(page, 'centred');
  assert.equal(await pressed(page, 'Center'), true);
  assert.equal(await pressed(page, 'Bullet List'), false);
  assert.equal((await itemState(page, 'Format', 'Alignment', 'Center')).checked, true);

  await caretInto(page, 'large georgia');
  assert.equal(await pressed(page, 'Center'), false);
  assert.equal(await selectedText(page, 'Font'), 'Georgia, Times New Roman, serif');
  assert.equal(await selectedText(page, 'Font Size'), '4');
  assert.equal((await itemState(page, 'Format', 'Size', '4')).checked, true);

  await caretInto(page, 'plain text');
  assert.equal(await selectedText(page, 'Font'), 'Default');
  assert.equal(await selectedText(page, 'Font Size'), 'Default');
  await page.close();
});

test('table items of the Format menu are enabled in a cell and greyed outside', async () => {
  const page = await openEditor(env);
  await setContent(page, DOCUMENT);
  for (const item of ['Insert Row', 'Insert Column', 'Delete Row', 'Delete Column']) {
    assert.equal((await itemState(page, 'Format', 'Table', item)).disabled, true, item);
  }
  await caretInto(page, 'cell two');
  for (const item of ['Insert Row', 'Insert Column', 'Delete Row', 'Delete Column']) {
    assert.equal((await itemState(page, 'Format', 'Table', item)).disabled, false, item);
  }
  await caretInto(page, 'centred');
  assert.equal((await itemState(page, 'Format', 'Table', 'Insert Row')).disabled, true);
  await page.close();
});

test('Remove Link is enabled on a link only', async () => {
  const page = await openEditor(env);
  await setContent(page, DOCUMENT);
  assert.equal((await itemState(page, 'Format', 'Remove Link')).disabled, true);
  await caretInto(page, 'link');
  assert.equal((await itemState(page, 'Format', 'Remove Link')).disabled, false);
  await caretInto(page, 'plain text');
  assert.equal((await itemState(page, 'Format', 'Remove Link')).disabled, true);
  await page.close();
});

test('Undo is greyed until there is something to undo, in the menu and on the toolbar', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>one|</p>');
  assert.equal(await button(page, 'Undo').isDisabled(), true);
  assert.equal((await itemState(page, 'Edit', 'Undo')).disabled, true);
  await caretInto(page, 'one');
  await page.keyboard.type('x');
  await settle(page);
  await page.waitForFunction(() => {
    const root = document.getElementById('ed').shadowRoot;
    return !root.querySelector('[data-key="undo"]').disabled;
  });
  assert.equal((await itemState(page, 'Edit', 'Undo')).disabled, false);
  await page.close();
});

test('a selected image disables Set Color; text enables it again', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>before <img src="/media/none.png" width="20" height="20"> after</p>');
  await frame(page).locator('img').click();
  await settle(page);
  await page.waitForFunction(() =>
    document.getElementById('ed').shadowRoot.querySelector('[data-key="color"]').disabled);
  await frame(page).locator('p').click({ position: { x: 4, y: 4 } });
  await settle(page);
  assert.equal(await button(page, 'Set Color').isDisabled(), false);
  await page.close();
});
