'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

// Opens a page with one editor configured by `params` and waits until it is shown. Every key the
// menu bar reports is collected in window.__keys.
async function openEditor(params = {}, setup = null) {
  const page = await env.newPage();
  if (setup) await page.addInitScript(setup);
  const all = { domain: '127.0.0.1', port: String(env.server.port), ...params };
  const tags = Object.entries(all).map(([n, v]) => `<param name="${n}" value="${v}">`).join('');
  await env.openHtml(page, pageWith(`<vellmar-editor id="ed" style="width:760px;height:420px">${tags}</vellmar-editor>`));
  await page.waitForFunction(() => window.__loaded.length === 1);
  await page.evaluate(() => {
    window.__keys = [];
    const bar = document.getElementById('ed').shadowRoot.querySelector('[role=menubar]');
    bar.addEventListener('menuItemSelected', (e) => window.__keys.push(e.detail));
  });
  return page;
}

const keys = (page) => page.evaluate(() => window.__keys);
const barButton = (page, name) => page.getByRole('menubar').getByRole('menuitem', { name, exact: true });
const menu = (page, name) => page.getByRole('menu', { name, exact: true });
const openMenus = (page) => page.getByRole('menu').count();
const focusedLabel = (page) =>
  page.evaluate(() => document.getElementById('ed').shadowRoot.activeElement?.getAttribute('aria-label') ??
    document.getElementById('ed').shadowRoot.activeElement?.textContent);

test('a click opens a menu under its button, a hover slides to the neighbour, a click on the open button closes it', async () => {
  const page = await openEditor();
  const file = barButton(page, 'File');
  await file.hover();
  assert.equal(await file.getAttribute('data-button-state'), 'raised');
  await file.click();
  await menu(page, 'File').waitFor();
  assert.equal(await file.getAttribute('aria-expanded'), 'true');
  assert.equal(await file.getAttribute('data-button-state'), 'depressed');
  const fileBox = await file.boundingBox();
  const menuBox = await menu(page, 'File').boundingBox();
  assert.ok(Math.abs(menuBox.x - fileBox.x) <= 1 && Math.abs(menuBox.y - (fileBox.y + fileBox.height)) <= 1,
    'the menu opens at the bottom-left corner of its button');
  for (const item of ['Open Local...', 'Save Local', 'Save Local As...']) {
    assert.ok(await menu(page, 'File').getByRole('menuitem', { name: item, exact: true }).isVisible(), item);
  }
  // No save script configured: the item is not offered.
  assert.equal(await menu(page, 'File').getByRole('menuitem', { name: 'Save To Server' }).count(), 0);

  await barButton(page, 'Edit').hover();
  await menu(page, 'Edit').waitFor();
  assert.equal(await openMenus(page), 1);
  assert.equal(await barButton(page, 'Edit').getAttribute('data-menu-state'), 'open');
  assert.equal(await file.getAttribute('data-menu-state'), 'brotherOpened');
  const undo = menu(page, 'Edit').getByRole('menuitem', { name: 'Undo' });
  assert.equal(await undo.getAttribute('aria-keyshortcuts'), 'Ctrl+Z');
  assert.equal(await undo.locator('.vellmar-menushortcut').textContent(), 'Ctrl+Z');

  await barButton(page, 'Edit').click();
  assert.equal(await openMenus(page), 0);
  assert.equal(await barButton(page, 'Edit').getAttribute('data-button-state'), 'raised');
  assert.deepEqual(await keys(page), ['', '']);  // closed twice without a choice
  await page.close();
});

test('a click outside closes the menu with no choice', async () => {
  const page = await openEditor();
  await barButton(page, 'View').click();
  await menu(page, 'View').waitFor();
  assert.equal(await menu(page, 'View').getByRole('menuitemcheckbox', { name: 'WYSIWYG' }).getAttribute('aria-checked'), 'true');
  await page.mouse.click(700, 400);
  assert.equal(await openMenus(page), 0);
  assert.deepEqual(await keys(page), ['']);
  await page.close();
});

test('submenus open beside their item and a choice there reaches the dispatch', async () => {
  const page = await openEditor();
  await barButton(page, 'Format').click();
  const format = menu(page, 'Format');
  await format.waitFor();
  // The table submenu's leading separator is tidied away; Format > Table > Merge Cells comes first.
  await format.getByRole('menuitem', { name: 'Table', exact: true }).hover();
  const table = menu(page, 'Table');
  await table.waitFor();
  const firstRow = table.locator(':scope > *').first();
  assert.equal(await firstRow.getAttribute('aria-label'), 'Merge Cells');

  await format.getByRole('menuitem', { name: 'Alignment' }).hover();
  await menu(page, 'Alignment').waitFor();
  assert.equal(await table.count(), 0, 'moving to another item closes the other submenu');
  const alignmentBox = await format.getByRole('menuitem', { name: 'Alignment' }).boundingBox();
  const center = menu(page, 'Alignment').getByRole('menuitem', { name: 'Center' });
  assert.ok((await center.boundingBox()).x >= alignmentBox.x + alignmentBox.width - 4, 'submenu to the right');
  await center.click();
  assert.equal(await openMenus(page), 0);
  assert.deepEqual(await keys(page), ['center']);
  for (const name of ['File', 'Format']) assert.equal(await barButton(page, name).getAttribute('data-menu-state'), 'allClosed');
  await page.close();
});

test('the keyboard opens menus, moves between items and buttons, opens submenus, chooses and closes', async () => {
  const page = await openEditor();
  await barButton(page, 'File').focus();
  await page.keyboard.press('ArrowRight');
  assert.equal(await focusedLabel(page), 'Edit');
  await page.keyboard.press('Enter');
  await menu(page, 'Edit').waitFor();
  // Nothing to undo or redo and nothing selected: the focus passes over the greyed items.
  assert.equal(await focusedLabel(page), 'Paste');
  await page.keyboard.press('ArrowDown');
  assert.equal(await focusedLabel(page), 'Paste Unformatted');
  await page.keyboard.press('ArrowRight');  // no submenu here: slide to View
  await menu(page, 'View').waitFor();
  assert.equal(await openMenus(page), 1);
  assert.equal(await focusedLabel(page), 'WYSIWYG');
  await page.keyboard.press('ArrowLeft');
  await menu(page, 'Edit').waitFor();
  await page.keyboard.press('Escape');
  assert.equal(await openMenus(page), 0);
  assert.equal(await focusedLabel(page), 'Edit');

  // Insert > Special Characters > Line Break, by keys only.
  await page.keyboard.press('ArrowRight');
  await page.keyboard.press('ArrowRight');
  assert.equal(await focusedLabel(page), 'Insert');
  await page.keyboard.press('ArrowDown');
  await menu(page, 'Insert').waitFor();
  await page.keyboard.press('End');
  assert.equal(await focusedLabel(page), 'Special Characters');
  await page.keyboard.press('ArrowRight');
  await menu(page, 'Special Characters').waitFor();
  assert.equal(await focusedLabel(page), 'Line Break');
  await page.keyboard.press('Escape');  // closes the submenu only
  assert.equal(await openMenus(page), 1);
  assert.equal(await focusedLabel(page), 'Special Characters');
  await page.keyboard.press('ArrowRight');
  await page.keyboard.press('Enter');
  assert.equal(await openMenus(page), 0);
  assert.deepEqual(await keys(page), ['', '', '', 'lineBreak']);
  await page.close();
});

test('a hidden menu leaves no gap and the bar goes when every menu is hidden', async () => {
  const page = await openEditor({ DisableEditMenu: '1', DisableViewMenu: '1' });
  assert.equal(await page.getByRole('menubar').getByRole('menuitem').count(), 5);
  const file = await barButton(page, 'File').boundingBox();
  const insert = await barButton(page, 'Insert').boundingBox();
  assert.ok(Math.abs(insert.x - (file.x + file.width)) <= 1, 'Insert follows File directly');
  await page.close();

  const everyMenu = {};
  for (const m of ['File', 'Edit', 'View', 'Insert', 'Style', 'Format', 'Help']) everyMenu[`Disable${m}Menu`] = '1';
  const bare = await openEditor(everyMenu);
  assert.equal(await bare.getByRole('menubar').isVisible(), false);
  await bare.close();

  // Help has one item without a help address; hiding About empties it.
  const noHelp = await openEditor({ DisableAbout: '1' });
  assert.equal(await barButton(noHelp, 'Help').count(), 0);
  assert.equal(await noHelp.getByRole('menubar').getByRole('menuitem').count(), 6);
  await noHelp.close();
});

test('recent files come from browser storage of the configured domain', async () => {
  const page = await openEditor({ domain: 'docs.example' }, () => {
    localStorage.setItem('Vellmar2/docs.example/recentFiles1', 'C:\\sites\\index.htm');
    localStorage.setItem('Vellmar2/docs.example/recentFiles2', 'C:\\sites\\about.htm');
    localStorage.setItem('Vellmar2/other.example/recentFiles1', 'C:\\elsewhere.htm');
  });
  await barButton(page, 'File').click();
  const file = menu(page, 'File');
  await file.waitFor();
  assert.ok(await file.getByRole('menuitem', { name: 'C:\\sites\\index.htm' }).isVisible());
  assert.ok(await file.getByRole('menuitem', { name: 'C:\\sites\\about.htm' }).isVisible());
  assert.equal(await file.getByRole('menuitem', { name: 'C:\\elsewhere.htm' }).count(), 0);
  assert.equal(await file.getByRole('separator').count(), 1);
  await file.getByRole('menuitem', { name: 'C:\\sites\\about.htm' }).click();
  assert.deepEqual(await keys(page), ['recentFiles2']);
  await page.close();
});
