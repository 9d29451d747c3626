'use strict';

// Where the caret is after a document arrives, and what the editor writes into a loaded
// document: the caret lands at the start once the document is shown, unless someone put it
// elsewhere first, and typing, Enter and the style commands write the editor's markup in a
// document that came from the server (the editing area was locked while it was on its way).
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');

const env = useEditorEnvironment();

const frame = (page) => page.locator('#editor1 iframe.vellmar-engine-frame').contentFrame();
const bodyHTML = (page) => page.evaluate(() => document.getElementById('editor1').vellmarEngine.bodyHTML);

// The selection of the editing frame as [node name or text, offset] of its anchor and focus.
const selection = (page) => page.evaluate(() => {
  const doc = document.getElementById('editor1').vellmarEngine.document();
  const s = doc.getSelection();
  if (!s.rangeCount) return null;
  const name = (n) => (n.nodeType === 3 ? n.data.slice(0, 12) : n.nodeName);
  return [name(s.anchorNode), s.anchorOffset, name(s.focusNode), s.focusOffset];
});

// Resolves after the page has painted twice from now.
const twoFrames = (page) => page.evaluate(() => new Promise((resolve) =>
  requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(resolve, 0)))));

test('the caret lands on the first character of a served document; Enter and bold write the editor markup', async () => {
  const page = await env.openDemo();
  await page.waitForFunction(() => {
    const s = document.getElementById('editor1').vellmarEngine.document().getSelection();
    return s.rangeCount === 1 && s.isCollapsed && s.anchorNode.data === 'Welcome to Vellmar' && s.anchorOffset === 0;
  });
  // Enter at the end of a heading starts the editor's paragraph, not the browser's division.
  await frame(page).locator('h1').click();
  await page.keyboard.press('End');
  await page.keyboard.press('Enter');
  await page.keyboard.type('Next ');
  await page.keyboard.press('Control+B');
  await page.keyboard.type('in');
  const body = await bodyHTML(page);
  assert.match(body, /^<h1>Welcome to Vellmar<\/h1><p>Next <b>in<\/b><\/p>/);
  assert.doesNotMatch(body, /<div>|<span style|font-weight/);
  await page.close();
});

test('the toolbars follow the caret a loaded document opens with, without a click', async () => {
  // The interface is brought up to date once the document has been painted, not while it is
  // being loaded: it still has to get there by itself.
  const page = await env.openDemo();
  const blockFormat = page.locator('#editor1').getByRole('combobox', { name: 'Block Format', exact: true });
  await page.waitForFunction(() => {
    const s = document.getElementById('editor1').vellmarEngine.document().getSelection();
    return s.rangeCount === 1 && s.anchorNode.data === 'Welcome to Vellmar';
  });
  await page.waitForFunction((select) => select.options[select.selectedIndex].text === 'Heading 1',
    await blockFormat.elementHandle());
  await page.close();
});

test('a selection made before the caret lands stays, and a command given before it acts at the start', async () => {
  const page = await env.openDemo();
  const editor = 'document.getElementById("editor1")';
  // The new document and a selection at the end of its last paragraph, in one task: the caret
  // for the start is still waiting for the document to be painted.
  await page.evaluate((ed) => {
    const e = eval(ed);
    e.content = '<p>First paragraph.</p><p>Last paragraph.</p>';
    const doc = e.vellmarEngine.document();
    const text = doc.body.lastChild.firstChild;
    doc.getSelection().collapse(text, text.data.length);
  }, editor);
  await twoFrames(page);
  assert.deepEqual(await selection(page), ['Last paragra', 15, 'Last paragra', 15]);

  // A command given in the same task as the load finds the caret at the start already.
  const body = await page.evaluate((ed) => {
    const e = eval(ed);
    e.content = '<p>Alpha</p><p>Omega</p>';
    const answer = e.vellmarEngine.execCommand(5022 /* DECMD_INSERTTABLE */, 0, { NumRows: 1, NumCols: 1, TableAttrs: '', CellAttrs: '', Caption: '' });
    return answer === null ? e.vellmarEngine.lastError : e.vellmarEngine.bodyHTML;
  }, editor);
  assert.match(body, /^(<p><\/p>)?<table[^]*<\/table>(<p><\/p>)?<p>Alpha<\/p><p>Omega<\/p>$/);
  await twoFrames(page);
  // The waiting caret does not move what the command left.
  assert.notDeepEqual(await selection(page), ['Alpha', 0, 'Alpha', 0]);
  await page.close();
});

test('the source box shows the loaded document when the HTML view is open while it loads', async () => {
  const page = await env.openDemo();
  await page.locator('.vellmar-view-tab', { hasText: 'HTML' }).click();
  await page.locator('textarea.vellmar-source').waitFor();
  await page.evaluate(() => { document.getElementById('editor1').content = '<p>Swapped in while the source is open.</p>'; });
  assert.match(await page.locator('textarea.vellmar-source').inputValue(), /Swapped in while the source is open\./);
  await page.locator('.vellmar-view-tab', { hasText: 'WYSIWYG' }).click();
  assert.match(await bodyHTML(page), /Swapped in while the source is open\./);
  await page.close();
});
