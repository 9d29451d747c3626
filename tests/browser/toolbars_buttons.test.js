// The toolbars as a person meets them: buttons named by their tooltips, switches that hide them
// with the separators tidied, toolbars that disappear when nothing is left, clicks that do what the
// menu items do, the keyboard inside a toolbar, and the selector's lists.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, settle, bodyHTML, docWithSelection, choose, frame } = require('./commands_support');

const env = useEditorEnvironment();

const PATHS = { PathToSaveToServer: '/cms/save', PathToImageList: '/cms/images/list' };

// What a toolbar shows, in order: the tooltips of its shown buttons and "|" for a shown separator.
function shownButtons(page, label) {
  return page.evaluate((name) => {
    const root = document.getElementById('ed').shadowRoot;
    const bar = root.querySelector(`[role=toolbar][aria-label="${name}"]`);
    if (!bar || bar.hidden) return null;
    return [...bar.children].filter((c) => !c.hidden)
      .map((c) => (c.getAttribute('role') === 'separator' ? '|' : c.getAttribute('aria-label'))).join(' ');
  }, label);
}

test('each toolbar shows its buttons, named by their tooltips, between separators', async () => {
  const page = await openEditor(env, PATHS);
  assert.equal(await shownButtons(page, 'Standard'),
    'Open Local... Save To Server | Print Check Spelling | Find | Cut Copy Paste | Undo Redo');
  assert.equal(await shownButtons(page, 'Objects'),
    'Image Table Horizontal Rule HTML Comment | Link Email Link Named Anchor Image Map');
  assert.equal(await shownButtons(page, 'Text Format'),
    'Bold Italic Underline | Left Center Right | Bullet List Number List Indent Outdent | Set Color');
  const format = page.getByRole('toolbar', { name: 'Text Format' });
  assert.equal(await format.getByRole('button', { name: 'Bold', exact: true }).getAttribute('aria-pressed'), 'false');
  // Every button shows an icon.
  const icons = await page.evaluate(() => [...document.getElementById('ed').shadowRoot.querySelectorAll('.vellmar-tool-icon')]
    .every((i) => getComputedStyle(i).maskImage.startsWith('url("data:image/svg+xml')));
  assert.equal(icons, true);
  await page.close();
});

test('switches hide their buttons; separators never double or dangle', async () => {
  const page = await openEditor(env, { ...PATHS, hideCut: '1', HideCopy: '1', HidePaste: '1' });
  assert.equal(await shownButtons(page, 'Standard'),
    'Open Local... Save To Server | Print Check Spelling | Find | Undo Redo');
  await page.close();

  const page2 = await openEditor(env, { ...PATHS, DisableSpellCheck: '1', HideFind: '1', HideBold: '1',
    HideItalic: '1', HideUnderline: '1', DisableColor: '1' });
  assert.equal(await shownButtons(page2, 'Standard'), 'Open Local... Save To Server | Print | Cut Copy Paste | Undo Redo');
  assert.equal(await shownButtons(page2, 'Text Format'), 'Left Center Right | Bullet List Number List Indent Outdent');
  // A switch set while the editor runs applies at once.
  await page2.evaluate(() => { document.getElementById('ed').DisableBulletList = 1; });
  await page2.waitForFunction(() => !document.getElementById('ed').shadowRoot.querySelector('[data-key="bulletList"]')
    .checkVisibility());
  assert.equal(await shownButtons(page2, 'Text Format'), 'Left Center Right | Number List Indent Outdent');
  await page2.close();
});

test('an empty save path hides Save To Server; a toolbar with no button left disappears', async () => {
  const page = await openEditor(env, { DisableImages: '1', DisableTables: '1', DisableHorizontalRule: '1',
    DisableLinks: '1', DisableEmailLinks: '1', DisableBlockformat: '1', DisableFont: '1', DisableFontSize: '1' });
  assert.equal(await shownButtons(page, 'Standard'), 'Open Local... | Print Check Spelling | Find | Cut Copy Paste | Undo Redo');
  assert.equal(await shownButtons(page, 'Objects'), null);
  assert.equal(await page.getByRole('toolbar', { name: 'Objects' }).count(), 0);
  assert.equal(await page.getByRole('toolbar', { name: 'Font' }).count(), 0);
  assert.equal(await page.getByRole('toolbar').count(), 2);
  await page.close();
});

test('clicking a button does what its menu item does, and the document keeps the focus', async () => {
  const page = await openEditor(env, PATHS);
  await setContent(page, '<p>fo[ob]ar</p>');
  const format = page.getByRole('toolbar', { name: 'Text Format' });
  await format.getByRole('button', { name: 'Bold', exact: true }).click();
  await settle(page);
  assert.equal(await docWithSelection(page), '<p>fo<b>[ob]</b>ar</p>');
  await page.waitForFunction(() => document.getElementById('ed').shadowRoot
    .querySelector('[data-key="bold"]').getAttribute('aria-pressed') === 'true');
  await format.getByRole('button', { name: 'Center', exact: true }).click();
  await settle(page);
  assert.equal(await bodyHTML(page), '<p style="text-align: center;">fo<b>ob</b>ar</p>');
  // Typing goes on in the document.
  await page.keyboard.type('X');
  await settle(page);
  assert.equal(await bodyHTML(page), '<p style="text-align: center;">fo<b>X</b>ar</p>');
  // Undo on the toolbar is Edit > Undo.
  await page.getByRole('toolbar', { name: 'Standard' }).getByRole('button', { name: 'Undo', exact: true }).click();
  await settle(page);
  assert.equal(await bodyHTML(page), '<p style="text-align: center;">fo<b>ob</b>ar</p>');
  // Buttons without a command (Print, HTML Comment, ...) are shown and change nothing.
  await page.getByRole('button', { name: 'HTML Comment', exact: true }).click();
  await page.getByRole('button', { name: 'Print', exact: true }).click();
  await settle(page);
  assert.equal(await bodyHTML(page), '<p style="text-align: center;">fo<b>ob</b>ar</p>');
  await page.close();
});

test('the arrow keys move along a toolbar, passing over unavailable buttons', async () => {
  const page = await openEditor(env, PATHS);
  await setContent(page, '<p>one|</p>');
  const standard = page.getByRole('toolbar', { name: 'Standard' });
  await standard.getByRole('button', { name: 'Find', exact: true }).focus();
  await page.keyboard.press('ArrowRight');
  // Cut and Copy are unavailable at a caret; Paste is next.
  const focused = () => page.evaluate(() => document.getElementById('ed').shadowRoot.activeElement?.getAttribute('aria-label'));
  assert.equal(await focused(), 'Paste');
  await page.keyboard.press('End');
  assert.equal(await focused(), 'Paste');
  await page.keyboard.press('Home');
  assert.equal(await focused(), 'Open Local...');
  await page.keyboard.press('ArrowLeft');
  assert.equal(await focused(), 'Paste');
  await page.close();
});

test('picking in the selector formats the paragraph, and the tracker shows it', async () => {
  const page = await openEditor(env, PATHS);
  await setContent(page, '<p>one|</p><p>two</p>');
  await page.getByRole('combobox', { name: 'Block Format' }).selectOption('Heading 3');
  await settle(page);
  assert.equal(await bodyHTML(page), '<h3>one</h3><p>two</p>');
  await frame(page).getByText('two').click();
  await settle(page);
  await page.waitForFunction(() => {
    const s = document.getElementById('ed').shadowRoot.querySelector('[aria-label="Block Format"]');
    return s.options[s.selectedIndex].text === 'Normal';
  });
  await page.getByRole('combobox', { name: 'Font Size' }).selectOption('5');
  await page.keyboard.type('Z');
  await settle(page);
  assert.match(await bodyHTML(page), /<font size="5">Z<\/font>/);
  await page.close();
});

test('Set Color opens the colour picker and colours the selection with the colour chosen', async () => {
  const page = await openEditor(env, PATHS);
  await setContent(page, '<p>a [word] here</p>');
  await page.getByRole('button', { name: 'Set Color', exact: true }).click();
  await page.getByRole('dialog', { name: 'Color' }).getByRole('button', { name: 'Blue #0000FF' }).click();
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('color'));
  assert.match(await bodyHTML(page), /^<p>a <font color="#0000ff">word<\/font> here<\/p>$/i);
  await choose(page, 'Edit', 'Undo');
  assert.equal(await bodyHTML(page), '<p>a word here</p>');
  await page.close();
});
