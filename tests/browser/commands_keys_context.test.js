// The keyboard shortcuts the menu shows (and Ctrl+B, I, U) and the context menu on text, on a link
// and on an image in a table cell: the same operations as the menu bar's items.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, docWithSelection, rawBody, frame, answerDialogs, settle, choose } =
  require('./commands_support');

const env = useEditorEnvironment();
const IMG = 'data:image/gif;base64,R0lGODlhAQABAIAAAP///wAAACH5BAEAAAAALAAAAAABAAEAAAICRAEAOw==';

test('Ctrl+B, Ctrl+I and Ctrl+U format the selection; Ctrl+Z and Ctrl+Y undo and redo it', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>fo[ob]ar</p>');
  await page.keyboard.press('Control+B');
  await page.keyboard.press('Control+I');
  await page.keyboard.press('Control+U');
  await settle(page);
  assert.equal(await docWithSelection(page), '<p>fo<b><i><u>[ob]</u></i></b>ar</p>');
  await page.keyboard.press('Control+Z');
  await settle(page);
  assert.equal(await docWithSelection(page), '<p>fo<b><i>[ob]</i></b>ar</p>');
  await page.keyboard.press('Control+Z');
  await page.keyboard.press('Control+Z');
  await settle(page);
  assert.equal(await docWithSelection(page), '<p>fo[ob]ar</p>');
  await page.keyboard.press('Control+Y');
  await settle(page);
  assert.equal(await rawBody(page), '<p>fo<b>ob</b>ar</p>');
  // Typing and its undo go through the same history.
  await page.keyboard.press('End');
  await page.keyboard.type(' more');
  await page.keyboard.press('Control+Z');
  await settle(page);
  assert.equal(await rawBody(page), '<p>fo<b>ob</b>ar</p>');
  await page.close();
});

test('Shift+Return breaks the line, Ctrl+Shift+Space puts a non-breaking space, Ctrl+A selects everything', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>one|two</p>');
  await page.keyboard.press('Shift+Enter');
  await settle(page);
  assert.equal(await docWithSelection(page), '<p>one<br>|two</p>');
  await page.keyboard.press('Control+Shift+Space');
  await settle(page);
  assert.equal(await docWithSelection(page), '<p>one<br>&nbsp;|two</p>');
  await page.keyboard.press('Control+A');
  await settle(page);
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectionText()), 'one\r\n\u00a0two');
  await page.keyboard.press('Control+F');
  await page.getByRole('dialog', { name: 'Find' }).waitFor();
  assert.equal(await page.getByRole('dialog', { name: 'Find' }).getByLabel('Find what:').evaluate(
    (input) => input.getRootNode().activeElement === input), true);
  await page.close();
});

test('Ctrl+X, Ctrl+C and Ctrl+V move text through the clipboard; with nothing selected Ctrl+X does nothing', async () => {
  const page = await openEditor(env);
  await page.context().grantPermissions(['clipboard-read', 'clipboard-write'], { origin: env.server.url });
  await page.evaluate(() => navigator.clipboard.writeText('before'));
  await setContent(page, '<p>ca|ret</p>');
  await page.keyboard.press('Control+X');
  await settle(page);
  assert.equal(await rawBody(page), '<p>caret</p>');
  assert.equal(await page.evaluate(() => navigator.clipboard.readText()), 'before');
  await setContent(page, '<p>take [this] away</p>');
  await page.keyboard.press('Control+C');
  await page.waitForFunction(() => navigator.clipboard.readText().then((t) => t === 'this'));
  await page.keyboard.press('Control+X');
  await settle(page);
  assert.equal(await rawBody(page), '<p>take&nbsp; away</p>');
  await page.keyboard.press('End');
  await page.keyboard.press('Control+V');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('this'));
  assert.equal(await docWithSelection(page), '<p>take&nbsp; awaythis|</p>');
  await page.close();
});

// Opens the context menu at the element and answers its captions and greyed items.
async function contextMenu(page, locator) {
  await locator.click({ button: 'right' });
  const menu = page.getByRole('menu', { name: 'Context menu' });
  await menu.waitFor();
  const items = await menu.getByRole('menuitem').evaluateAll((all) =>
    all.map((item) => (item.getAttribute('aria-disabled') === 'true' ? `(${item.textContent})` : item.textContent)));
  return { menu, items, separators: await menu.getByRole('separator').count() };
}

test('context menu on plain text: twelve items, link and properties items greyed, Copy HTML runs from it', async () => {
  const page = await openEditor(env);
  await page.context().grantPermissions(['clipboard-read', 'clipboard-write'], { origin: env.server.url });
  await setContent(page, '<p>plain <b>words</b> here</p>');
  const { menu, items, separators } = await contextMenu(page, frame(page).locator('b'));
  assert.deepEqual(items, ['(Cut)', '(Copy)', 'Paste', 'Paste Unformatted', '(Copy HTML)', 'Paste HTML',
    '(Change Link...)', '(Remove Link)', '(Properties...)']);
  assert.equal(separators, 3);
  // Copy HTML is greyed with the copy command, but Paste HTML runs.
  await page.evaluate(() => navigator.clipboard.writeText('<i>in</i>'));
  await menu.getByRole('menuitem', { name: 'Paste HTML' }).click();
  await menu.waitFor({ state: 'detached' });
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('<i>in</i>'));
  await page.close();
});

test('context menu on a link: Change Link and Remove Link act on it', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>go <a href="http://old.test/">there</a> now</p>');
  let { menu, items } = await contextMenu(page, frame(page).locator('a'));
  assert.deepEqual(items.slice(6, 8), ['Change Link...', 'Remove Link']);
  await answerDialogs(page, { link: { url: 'http://new.test/' } });
  await menu.getByRole('menuitem', { name: 'Change Link...' }).click();
  await settle(page);
  assert.equal(await rawBody(page), '<p>go <a href="http://new.test/">there</a> now</p>');
  ({ menu } = await contextMenu(page, frame(page).locator('a')));
  await menu.getByRole('menuitem', { name: 'Remove Link' }).click();
  await settle(page);
  assert.equal(await rawBody(page), '<p>go there now</p>');
  await page.close();
});

test('context menu on an image in a table cell offers the image\'s properties; without links it has nine items', async () => {
  const page = await openEditor(env);
  const body = `<table><tbody><tr><td>cell <img src="${IMG}" width="40" height="30"></td></tr></tbody></table>`;
  await setContent(page, body);
  await answerDialogs(page, {});
  let { menu, items } = await contextMenu(page, frame(page).locator('img'));
  assert.deepEqual(items, ['Cut', 'Copy', 'Paste', 'Paste Unformatted', 'Copy HTML', 'Paste HTML',
    '(Change Link...)', '(Remove Link)', 'Image Properties...']);
  await menu.getByRole('menuitem', { name: 'Image Properties...' }).click();
  assert.deepEqual(await page.evaluate(() => window.__panels), ['hideAllFrames', 'Image Properties']);

  // Both link switches on: nine items, and the properties item is number 8.
  const bare = await openEditor(env, { DisableLinks: '1', DisableEmailLinks: '1' });
  await setContent(bare, '<table><tbody><tr><td>cell text</td></tr></tbody></table>');
  await answerDialogs(bare, {});
  ({ menu, items } = await contextMenu(bare, frame(bare).locator('td')));
  assert.deepEqual(items, ['(Cut)', '(Copy)', 'Paste', 'Paste Unformatted', '(Copy HTML)', 'Paste HTML', 'Cell Properties...']);
  await menu.getByRole('menuitem', { name: 'Cell Properties...' }).click();
  assert.deepEqual(await bare.evaluate(() => window.__panels), ['hideAllFrames', 'Cell Properties']);
  // Only DisableLinks: still twelve items.
  const half = await openEditor(env, { DisableLinks: '1' });
  await setContent(half, '<table><tbody><tr><td>cell text</td></tr></tbody></table>');
  ({ items } = await contextMenu(half, frame(half).locator('td')));
  assert.equal(items.length, 9);
  assert.equal(items[8], 'Cell Properties...');
  await Promise.all([page.close(), bare.close(), half.close()]);
});

test('undo after a context menu command restores the document before it', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>x <a href="http://a.test/">link</a></p>');
  const { menu } = await contextMenu(page, frame(page).locator('a'));
  await menu.getByRole('menuitem', { name: 'Remove Link' }).click();
  await settle(page);
  assert.equal(await rawBody(page), '<p>x link</p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), '<p>x <a href="http://a.test/">link</a></p>');
  await page.close();
});

test('Help: Contents... opens the help address and leaves the document as it was', async () => {
  const page = await openEditor(env, { HelpContentsURL: `${env.server.url}/help-contents` });
  await page.route(`${env.server.url}/help-contents`, (route) =>
    route.fulfill({ status: 200, contentType: 'text/html', body: '<title>Help</title>' }));
  await setContent(page, '<p>te|xt</p>');
  const opened = page.context().waitForEvent('page');
  await choose(page, 'Help', 'Contents...');
  const help = await opened;
  await help.waitForLoadState();
  assert.equal(help.url(), `${env.server.url}/help-contents`);
  await help.close();
  assert.equal(await docWithSelection(page), '<p>te|xt</p>');
  await page.close();
});
