// The Edit menu's clipboard items and find: Copy HTML and Paste HTML round-trip markup, Paste
// Unformatted pastes characters, hostile markup never runs whichever way it is pasted, the HTML
// view cuts, copies and pastes its own text, and find finds, wraps and says when there is nothing.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, docWithSelection, rawBody, choose, itemState, frame } = require('./commands_support');

const env = useEditorEnvironment();
const IMG = 'data:image/gif;base64,R0lGODlhAQABAIAAAP///wAAACH5BAEAAAAALAAAAAABAAEAAAICRAEAOw==';

async function clipboardPage(params) {
  const page = await openEditor(env, params);
  await page.context().grantPermissions(['clipboard-read', 'clipboard-write'], { origin: env.server.url });
  return page;
}

const readClipboard = (page) => page.evaluate(() => navigator.clipboard.readText());
const writeClipboard = (page, text) => page.evaluate((t) => navigator.clipboard.writeText(t), text);
async function clipboardIs(page, text) {
  await page.waitForFunction((t) => navigator.clipboard.readText().then((c) => c === t), text);
}

test('Copy HTML copies the whole paragraph around the selection as text; Paste HTML puts it in as markup', async () => {
  const page = await clipboardPage();
  // Copy HTML follows Copy: greyed with nothing selected.
  await setContent(page, '<p>one <b>two</b> th|ree</p>');
  assert.equal((await itemState(page, 'Edit', 'Copy HTML')).disabled, true);
  await setContent(page, '<p>one <b>two</b> th[re]e</p>');
  await choose(page, 'Edit', 'Copy HTML');
  await clipboardIs(page, 'one <b>two</b> three');
  await setContent(page, '<p>tar|get</p>');
  await choose(page, 'Edit', 'Paste HTML');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('<b>'));
  assert.equal(await docWithSelection(page), '<p>tarone <b>two</b> three|get</p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), '<p>target</p>');
  // A selected image: Copy HTML copies the image; Paste HTML replaces it.
  await setContent(page, `<p>x<img src="${IMG}" width="30" height="30">y</p>`);
  await frame(page).locator('img').click();
  await choose(page, 'Edit', 'Copy HTML');
  await clipboardIs(page, `<img src="${IMG}" width="30" height="30">`);
  await writeClipboard(page, '<i>instead</i>');
  await choose(page, 'Edit', 'Paste HTML');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('<i>'));
  assert.equal(await rawBody(page), '<p>x<i>instead</i>y</p>');
  await page.close();
});

test('Paste Unformatted puts markup in as the characters it is made of', async () => {
  const page = await clipboardPage();
  await writeClipboard(page, '<b>x</b>');
  await setContent(page, '<p>a[b]c</p>');
  await choose(page, 'Edit', 'Paste Unformatted');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('&lt;'));
  assert.equal(await docWithSelection(page), '<p>a&lt;b&gt;x&lt;/b&gt;|c</p>');
  await choose(page, 'Edit', 'Paste HTML');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('<b>x</b>'));
  assert.equal(await rawBody(page), '<p>a&lt;b&gt;x&lt;/b&gt;<b>x</b>c</p>');
  await page.close();
});

test('hostile markup pasted by any route never runs', async () => {
  const page = await clipboardPage();
  const hostile = '<img id="bad" src="http://127.0.0.1:1/none.png" onerror="parent.__pwned = (parent.__pwned || 0) + 1">' +
    '<script>parent.__pwned = 99</script><a id="js" href="javascript:parent.__pwned=7">link</a>';
  // Wait until the pasted image has failed to load (its error handler would have run by then).
  const settled = () => page.waitForFunction(() => {
    const img = document.getElementById('ed').vellmarEngine.document().getElementById('bad');
    return img && img.complete;
  });
  await writeClipboard(page, hostile);
  await setContent(page, '<p>|</p>');
  await choose(page, 'Edit', 'Paste HTML');
  await settled();
  await frame(page).locator('#js').click();
  assert.equal(await page.evaluate(() => window.__pwned), undefined);

  // The system clipboard holding HTML, pasted by the Paste item and by Ctrl+V.
  await page.evaluate((html) => navigator.clipboard.write([new ClipboardItem({
    'text/html': new Blob([html], { type: 'text/html' }),
    'text/plain': new Blob(['plain'], { type: 'text/plain' }),
  })]), hostile);
  for (const paste of [() => choose(page, 'Edit', 'Paste'), () => page.keyboard.press('Control+V')]) {
    await setContent(page, '<p>|</p>');
    await paste();
    await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML !== '<p></p>');
    if (await page.evaluate(() => document.getElementById('ed').vellmarEngine.document().getElementById('bad'))) await settled();
    assert.equal(await page.evaluate(() => window.__pwned), undefined);
  }
  // Unformatted, it is only characters.
  await writeClipboard(page, hostile);
  await setContent(page, '<p>|</p>');
  await choose(page, 'Edit', 'Paste Unformatted');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('&lt;script'));
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.document().querySelector('img, script')), null);
  assert.equal(await page.evaluate(() => window.__pwned), undefined);
  await page.close();
});

test('Cut, Copy and Paste work on the selected text; with nothing selected Cut and Copy do nothing', async () => {
  const page = await clipboardPage();
  await writeClipboard(page, 'unchanged');
  await setContent(page, '<p>ca|ret</p>');
  // With nothing selected the items are greyed, and the keys do nothing.
  assert.equal((await itemState(page, 'Edit', 'Cut')).disabled, true);
  assert.equal((await itemState(page, 'Edit', 'Copy')).disabled, true);
  await frame(page).locator('p').click();
  await page.keyboard.press('Control+x');
  await page.keyboard.press('Control+c');
  assert.equal(await rawBody(page), '<p>caret</p>');
  assert.equal(await readClipboard(page), 'unchanged');
  await setContent(page, '<p>keep [this] part</p>');
  await choose(page, 'Edit', 'Cut');
  assert.equal(await rawBody(page), '<p>keep&nbsp; part</p>');
  await clipboardIs(page, 'this');
  await setContent(page, '<p>x|y</p>');
  await choose(page, 'Edit', 'Paste');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.includes('this'));
  assert.equal(await rawBody(page), '<p>xthisy</p>');
  await choose(page, 'Edit', 'Select All');
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectionText()), 'xthisy');
  await page.close();
});

test('in the HTML view Cut, Copy and Paste work on the source text, and the document follows', async () => {
  const page = await clipboardPage();
  await setContent(page, '<p>alpha beta</p>');
  await choose(page, 'View', 'HTML');
  const source = page.getByRole('textbox', { name: 'HTML' });
  await source.waitFor();
  const text = await source.inputValue();
  const at = text.indexOf('beta');
  await source.evaluate((box, [s, e]) => { box.focus(); box.setSelectionRange(s, e); }, [at, at + 4]);
  await choose(page, 'Edit', 'Copy');
  await clipboardIs(page, 'beta');
  await source.evaluate((box, [s, e]) => box.setSelectionRange(s, e), [at, at + 4]);
  await choose(page, 'Edit', 'Cut');
  await clipboardIs(page, 'beta');
  assert.equal(await source.inputValue(), text.slice(0, at) + text.slice(at + 4));
  assert.equal((await rawBody(page)).trim(), '<p>alpha </p>');
  await source.evaluate((box, s) => box.setSelectionRange(s, s), text.indexOf('alpha'));
  await choose(page, 'Edit', 'Paste');
  await page.waitForFunction(() => document.getElementById('ed').vellmarEngine.bodyHTML.trim() === '<p>betaalpha </p>');
  await page.close();
});

test('find finds the next match, wraps after saying the search is finished, and says so when nothing matches', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>|one cat, one Dog</p><p>another cat</p>');
  await choose(page, 'Edit', 'Find...');
  const dialog = page.getByRole('dialog', { name: 'Find' });
  await dialog.getByLabel('Find what:').fill('cat');
  const next = dialog.getByRole('button', { name: 'Find Next' });
  const message = dialog.getByRole('alert', { includeHidden: true });
  await next.click();
  assert.equal(await docWithSelection(page), '<p>one [cat], one Dog</p><p>another cat</p>');
  await next.click();
  assert.equal(await docWithSelection(page), '<p>one cat, one Dog</p><p>another [cat]</p>');
  await next.click();
  assert.equal(await message.textContent(), 'Finished searching the document.');
  await next.click();
  assert.equal(await docWithSelection(page), '<p>one [cat], one Dog</p><p>another cat</p>');
  assert.equal(await message.textContent(), '');
  await dialog.getByLabel('Find what:').fill('mouse');
  await next.click();
  assert.equal(await message.textContent(), 'Finished searching the document.');
  // Match case.
  await dialog.getByLabel('Find what:').fill('dog');
  await dialog.getByLabel('Match case').check();
  await next.click();
  assert.equal(await message.textContent(), 'Finished searching the document.');
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  assert.equal(await dialog.isVisible(), false);
  await page.close();
});
