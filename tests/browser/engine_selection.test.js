// The engine's selection kinds, resize handles, undo and redo, find, the context-menu round trip,
// visual aids, the DisplayChanged rhythm and the guarantee that nothing in a document runs.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { DECMD, STATUS, openEngine, setBody, frame, exec, status, bodyHTML, selectionType, clickEnd } =
  require('./engine_support');

const env = useEditorEnvironment();

// A 40 x 30 image drawn from an inline SVG, so that it has a size without a server round trip.
const IMG = '<img src="data:image/svg+xml,%3Csvg xmlns=%22http://www.w3.org/2000/svg%22 width=%2240%22 height=%2230%22/%3E">';

test('a click selects an image or a rule as a control; typing places a caret, a shift-selection is text', async () => {
  const page = await openEngine(env, `<p>before ${IMG} after</p><hr><p>end</p>`);
  await frame(page).locator('img').click();
  assert.equal(await selectionType(page), 'Control');
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectedElementTag()), 'IMG');
  await page.waitForSelector('.vellmar-engine-selection:not([hidden])');
  await frame(page).locator('hr').click();
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectedElementTag()), 'HR');
  await clickEnd(page, 'p:last-of-type');
  assert.equal(await selectionType(page), 'None');
  await page.waitForSelector('.vellmar-engine-selection[hidden]', { state: 'attached' });
  await page.keyboard.press('Shift+ArrowLeft');
  assert.equal(await selectionType(page), 'Text');
  await page.close();
});

test('a click on a table border selects the table; a click in a cell puts the caret there', async () => {
  const page = await openEngine(env,
    '<table border="8" cellspacing="6"><tbody><tr><td>one</td><td>two</td></tr></tbody></table>');
  const table = await frame(page).locator('table').boundingBox();
  await page.mouse.click(table.x + 3, table.y + table.height / 2);
  assert.equal(await selectionType(page), 'Control');
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectedElementTag()), 'TABLE');
  await frame(page).locator('td', { hasText: 'two' }).click();
  assert.equal(await selectionType(page), 'None');
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectionParentTag()), 'TD');
  await page.close();
});

test('dragging a handle resizes the selected element through its style width and height', async () => {
  const page = await openEngine(env, `<p>${IMG}</p>`);
  await frame(page).locator('img').click();
  const handle = page.locator('.vellmar-engine-handle[data-handle="se"]');
  const box = await handle.boundingBox();
  await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
  await page.mouse.down();
  await page.mouse.move(box.x + box.width / 2 + 60, box.y + box.height / 2 + 20, { steps: 4 });
  await page.mouse.up();
  assert.match(await bodyHTML(page), /^<p><img src="[^"]+" style="width: 100px; height: 50px;"><\/p>$/);
  assert.equal(await selectionType(page), 'Control');
  // An edge handle changes one dimension only.
  const east = await page.locator('.vellmar-engine-handle[data-handle="e"]').boundingBox();
  await page.mouse.move(east.x + 3, east.y + 3);
  await page.mouse.down();
  await page.mouse.move(east.x - 37, east.y + 30, { steps: 3 });
  await page.mouse.up();
  assert.match(await bodyHTML(page), /style="width: 60px; height: 50px;"/);
  // The whole drag is one step of undo.
  await exec(page, DECMD.UNDO);
  assert.match(await bodyHTML(page), /style="width: 100px; height: 50px;"/);
  await page.close();
});

test('undo and redo cover typing bursts, commands, direct element changes and source text', async () => {
  const page = await openEngine(env, '<p>abc</p>');
  assert.equal(await status(page, DECMD.UNDO), STATUS.DISABLED);
  assert.equal(await status(page, DECMD.REDO), STATUS.DISABLED);
  await clickEnd(page, 'p');
  await page.keyboard.type('def');
  await page.keyboard.press('Shift+ArrowLeft');
  await page.keyboard.press('Shift+ArrowLeft');
  await exec(page, DECMD.BOLD);
  // A direct change, as the editor's panels make them, then the body set from the source view.
  // (Changes made right after a command, before the user acts again, belong to the command's
  // step; the key presses in between keep these three apart.)
  await page.keyboard.press('End');
  await page.evaluate(() => {
    const doc = document.getElementById('ed').vellmarEngine.document();
    doc.querySelector('p').setAttribute('align', 'center');
  });
  await page.keyboard.press('ArrowLeft');
  await page.evaluate(() => {
    document.getElementById('ed').vellmarEngine.document().body.innerHTML = '<h1>source</h1>';
  });
  const states = ['<h1>source</h1>', '<p align="center">abcd<b>ef</b></p>', '<p>abcd<b>ef</b></p>',
    '<p>abcdef</p>', '<p>abc</p>'];
  assert.equal(await bodyHTML(page), states[0]);
  assert.equal(await status(page, DECMD.UNDO), STATUS.ENABLED);
  for (let i = 1; i < states.length; i++) {
    await exec(page, DECMD.UNDO);
    assert.equal(await bodyHTML(page), states[i], `after ${i} undo steps`);
  }
  assert.equal(await status(page, DECMD.UNDO), STATUS.DISABLED);
  assert.equal(await status(page, DECMD.REDO), STATUS.ENABLED);
  for (let i = states.length - 2; i >= 0; i--) {
    await exec(page, DECMD.REDO);
    assert.equal(await bodyHTML(page), states[i], `redo back to state ${i}`);
  }
  assert.equal(await status(page, DECMD.REDO), STATUS.DISABLED);
  // Keys go through the same history; a new change drops what could be redone.
  await page.keyboard.press('Control+z');
  assert.equal(await bodyHTML(page), states[1]);
  await page.keyboard.press('Control+y');
  assert.equal(await bodyHTML(page), states[0]);
  await page.keyboard.press('Control+z');
  await clickEnd(page, 'p');
  await page.keyboard.type('!');
  assert.equal(await status(page, DECMD.REDO), STATUS.DISABLED);
  // A new document starts a new history.
  await setBody(page, '<p>fresh</p>');
  assert.equal(await status(page, DECMD.UNDO), STATUS.DISABLED);
  await page.close();
});

test('find selects each match in turn, honours case and whole words, and says when there is no more', async () => {
  const page = await openEngine(env, '<p>The cat sat.</p><p>A Cat and a category; the <b>ca</b>t.</p>');
  await frame(page).locator('p').first().click();
  await page.keyboard.press('Control+Home');
  assert.equal(await status(page, DECMD.FINDTEXT), STATUS.ENABLED);
  await exec(page, DECMD.FINDTEXT);
  const dialog = page.getByRole('dialog', { name: 'Find' });
  await dialog.getByLabel('Find what:').fill('cat');
  const next = dialog.getByRole('button', { name: 'Find Next' });
  const found = () => page.evaluate(() => {
    const doc = document.getElementById('ed').vellmarEngine.document();
    const range = doc.getSelection().getRangeAt(0);
    return `${range.startContainer.parentElement.tagName}:${doc.getSelection().toString()}`;
  });
  const hits = [];
  for (let i = 0; i < 4; i++) {
    await next.click();
    hits.push(await found());
  }
  // A match may run across inline elements ("<b>ca</b>t").
  assert.deepEqual(hits, ['P:cat', 'P:Cat', 'P:cat', 'B:cat']);
  await next.click();
  await assert.doesNotReject(dialog.getByRole('alert').filter({ hasText: 'Finished searching the document.' }).waitFor());
  // Whole words and matching case: only "Cat".
  await dialog.getByLabel('Find what:').fill('Cat');
  await dialog.getByLabel('Match whole word only').check();
  await dialog.getByLabel('Match case').check();
  await next.click();
  assert.equal(await found(), 'P:Cat');
  await next.click();
  await dialog.getByRole('alert').filter({ hasText: 'Finished searching the document.' }).waitFor();
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  await assert.doesNotReject(dialog.waitFor({ state: 'hidden' }));
  await page.close();
});

test('the context menu round trip: request at the pointer, the editor\'s entries, the chosen index', async () => {
  const page = await openEngine(env, `<p>text ${IMG}</p>`);
  await page.evaluate(() => {
    const engine = document.getElementById('ed').vellmarEngine;
    window.requests = [];
    window.actions = [];
    engine.on('ShowContextMenu', (x, y) => {
      window.requests.push([x, y, engine.selectionType()]);
      engine.setContextMenu(['Cut', 'Copy', '', 'Image Properties...', 'Properties...'], [2, 0, 0, 0, 2]);
    });
    engine.on('ContextMenuAction', (index) => window.actions.push(index));
  });
  const img = await frame(page).locator('img').boundingBox();
  await page.mouse.click(img.x + 5, img.y + 5, { button: 'right' });
  const menu = page.getByRole('menu', { name: 'Context menu' });
  await menu.waitFor();
  assert.deepEqual(await menu.getByRole('menuitem').allTextContents(),
    ['Cut', 'Copy', 'Image Properties...', 'Properties...']);
  assert.equal(await menu.getByRole('separator').count(), 1);
  const [x, y, kind] = (await page.evaluate(() => window.requests))[0];
  assert.equal(kind, 'Control');
  const frameBox = await page.locator('iframe.vellmar-engine-frame').boundingBox();
  assert.ok(Math.abs(frameBox.x + x - (img.x + 5)) <= 2 && Math.abs(frameBox.y + y - (img.y + 5)) <= 2);
  // A grayed entry does nothing; an enabled one reports its index (separators count).
  await menu.getByRole('menuitem', { name: 'Cut' }).click({ force: true });
  assert.deepEqual(await page.evaluate(() => window.actions), []);
  await menu.getByRole('menuitem', { name: 'Image Properties...' }).click();
  await menu.waitFor({ state: 'detached' });
  assert.deepEqual(await page.evaluate(() => window.actions), [3]);
  // Keyboard: down to the next entry, Enter chooses it; Escape closes without a choice.
  await page.mouse.click(img.x + 5, img.y + 5, { button: 'right' });
  await menu.waitFor();
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('Enter');
  await page.mouse.click(img.x + 5, img.y + 5, { button: 'right' });
  await menu.waitFor();
  await page.keyboard.press('Escape');
  await menu.waitFor({ state: 'detached' });
  assert.deepEqual(await page.evaluate(() => window.actions), [3, 3]);
  await page.close();
});

test('visual aids outline cells and borderless tables and mark anchors without touching the document', async () => {
  const page = await openEngine(env, '<p><a name="top"></a>x</p><table><tbody><tr><td>c</td></tr></tbody></table>');
  const before = await page.evaluate(() => document.getElementById('ed').vellmarEngine.documentHTML);
  const outline = () => page.evaluate(() => {
    const doc = document.getElementById('ed').vellmarEngine.document();
    const view = doc.defaultView;
    return [view.getComputedStyle(doc.querySelector('td')).outlineStyle,
      view.getComputedStyle(doc.querySelector('table')).outlineStyle,
      view.getComputedStyle(doc.querySelector('a'), '::before').content];
  });
  assert.deepEqual(await outline(), ['none', 'none', 'none']);
  await page.evaluate(() => { document.getElementById('ed').vellmarEngine.visualAids = true; });
  const [cell, table, anchor] = await outline();
  assert.equal(cell, 'dotted');
  assert.equal(table, 'dashed');
  assert.notEqual(anchor, 'none');
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.documentHTML), before);
  // The switch survives a new document, and goes off again.
  await setBody(page, '<table><tbody><tr><td>d</td></tr></tbody></table>');
  assert.equal((await outline().catch(() => null)) === null, true); // no anchor in this document
  assert.equal(await page.evaluate(() => {
    const doc = document.getElementById('ed').vellmarEngine.document();
    return doc.defaultView.getComputedStyle(doc.querySelector('td')).outlineStyle;
  }), 'dotted');
  await page.evaluate(() => { document.getElementById('ed').vellmarEngine.visualAids = false; });
  assert.equal(await page.evaluate(() => {
    const doc = document.getElementById('ed').vellmarEngine.document();
    return doc.defaultView.getComputedStyle(doc.querySelector('td')).outlineStyle;
  }), 'none');
  assert.equal(await status(page, DECMD.UNDO), STATUS.DISABLED);
  await page.close();
});

test('nothing in a loaded, pasted or inserted document runs', async () => {
  const page = await openEngine(env, '<p>x</p>');
  await page.context().grantPermissions(['clipboard-read', 'clipboard-write'], { origin: env.server.url });
  const hostile = '<img src="/nothing.png" onerror="parent.ran = (parent.ran || 0) + 1">' +
    '<script>parent.ran = (parent.ran || 0) + 1<\/script>' +
    '<a href="javascript:parent.ran = (parent.ran || 0) + 1">link</a>' +
    '<svg onload="parent.ran = (parent.ran || 0) + 1"></svg>';
  await setBody(page, `<p>loaded</p>${hostile}`);
  await page.evaluate((h) => {
    const engine = document.getElementById('ed').vellmarEngine;
    engine.pasteHTML(h);
  }, hostile);
  await clickEnd(page, 'p');
  await exec(page, DECMD.IMAGE, 2, '/nothing-either.png');
  await clickEnd(page, 'p');
  // A real paste from the clipboard.
  await page.evaluate((h) => navigator.clipboard.write([new ClipboardItem({
    'text/html': new Blob([h], { type: 'text/html' }),
    'text/plain': new Blob(['plain'], { type: 'text/plain' }),
  })]), hostile);
  await page.keyboard.press('Control+v');
  await frame(page).locator('a', { hasText: 'link' }).first().click();
  await page.waitForTimeout(500);
  assert.equal(await page.evaluate(() => window.ran), undefined);
  // The hostile markup is still there as inert markup: loaded, pasted as markup, and pasted
  // from the clipboard (which the browser may have cleaned further).
  assert.match(await bodyHTML(page), /onerror=/);
  assert.equal(await frame(page).locator('a', { hasText: 'link' }).count(), 3);
  await page.close();
});

test('DisplayChanged follows every change, at most once per animation frame', async () => {
  const page = await openEngine(env, '<p>one</p><p>two</p>');
  await clickEnd(page, 'p');
  await page.evaluate(() => new Promise((r) => requestAnimationFrame(() => requestAnimationFrame(r))));
  const result = await page.evaluate(async () => {
    const engine = document.getElementById('ed').vellmarEngine;
    const frames = [];
    let frame = 0;
    let counting = true;
    const tick = () => { frame++; if (counting) requestAnimationFrame(tick); };
    requestAnimationFrame(tick);
    engine.on('DisplayChanged', () => frames.push(frame));
    // Many changes in one task: a command, a direct change, a selection change, another command.
    engine.execCommand(5035, 0, null);
    engine.execCommand(5000, 0, null);
    engine.document().querySelector('p').setAttribute('title', 't');
    engine.execCommand(5023, 0, null);
    await new Promise((r) => setTimeout(r, 300));
    // One more change much later.
    engine.document().querySelector('p').setAttribute('title', 'u');
    await new Promise((r) => setTimeout(r, 200));
    counting = false;
    return frames;
  });
  assert.ok(result.length >= 2, `DisplayChanged fired ${result.length} times`);
  assert.equal(new Set(result).size, result.length, `two in one frame: ${result}`);
  assert.ok(result.length <= 4, `too many DisplayChanged: ${result}`);
  // Typing raises it as well.
  const count = await page.evaluate(() => document.getElementById('ed').vellmarEngine.events()
    .filter((e) => e.type === 'DisplayChanged').length);
  await page.keyboard.type('x');
  await page.waitForTimeout(100);
  const after = await page.evaluate(() => document.getElementById('ed').vellmarEngine.events()
    .filter((e) => e.type === 'DisplayChanged').length);
  assert.ok(after > count);
  await page.close();
});

test('text ranges: words, plain text with line breaks, pasted markup, and the base address kept out of the markup', async () => {
  const page = await openEngine(env, '<p>alpha beta gamma</p><p>second line</p>');
  await frame(page).locator('p').first().click({ position: { x: 5, y: 5 } });
  await page.keyboard.press('Home');
  for (let i = 0; i < 8; i++) await page.keyboard.press('ArrowRight');
  const E = (fn, ...args) => page.evaluate(([f, a]) => {
    const engine = document.getElementById('ed').vellmarEngine;
    return engine[f](...a);
  }, [fn, args]);
  assert.equal(await E('expandSelection', 'word'), true);
  assert.equal(await E('selectionText'), 'beta ');
  assert.equal(await E('moveSelection', 'word', 1), 1);
  await E('moveSelectionEnd', 'word', 1);
  assert.equal(await E('selectionText'), 'gamma');
  await exec(page, DECMD.SELECTALL);
  assert.equal(await E('selectionText'), 'alpha beta gamma\r\nsecond line');
  await page.keyboard.press('Control+End');
  await E('pasteHTML', ' <b>bold</b>');
  await E('setSelectionText', ' <i>x</i>');
  assert.equal(await bodyHTML(page), '<p>alpha beta gamma</p><p>second line <b>bold</b> &lt;i&gt;x&lt;/i&gt;</p>');
  await page.evaluate(() => {
    const engine = document.getElementById('ed').vellmarEngine;
    engine.baseURL = 'http://content.example:8080/';
    engine.createStyleSheet('/site.css', -1);
  });
  const doc = await page.evaluate(() => {
    const engine = document.getElementById('ed').vellmarEngine;
    return { html: engine.documentHTML, sheets: engine.styleSheetsLength(),
      resolved: engine.document().querySelector('link').href };
  });
  assert.doesNotMatch(doc.html, /<base/);
  assert.match(doc.html, /<link rel="stylesheet" type="text\/css" href="\/site.css">/);
  assert.equal(doc.sheets, 1);
  assert.equal(doc.resolved, 'http://content.example:8080/site.css');
  await page.close();
});
