'use strict';

// Nothing a person does is lost without notice: the editing area waits for the document, the
// bottom strip tells how the last load and save ended, the page asks before unsaved changes are
// left behind, and typed text stays inside paragraphs.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

const status = (page) => page.getByRole('status');
const frame = (page) => page.frameLocator('iframe.vellmar-engine-frame');
const bodyHTML = (page) => page.evaluate(() => document.getElementById('editor1').vellmarEngine.bodyHTML);

async function chooseSave(page) {
  await page.getByRole('menubar').getByRole('menuitem', { name: 'File', exact: true }).click();
  await page.getByRole('menu', { name: 'File', exact: true })
    .getByRole('menuitem', { name: 'Save To Server' }).click();
}

// Clicks into the document's last paragraph and types at its end.
async function typeAtEnd(page, text) {
  await frame(page).locator('p').last().click();
  await page.keyboard.press('Control+End');
  await page.keyboard.type(text);
}

// Holds every request for the document until `release` is called.
async function holdDocument(page) {
  let release;
  const held = new Promise((r) => { release = r; });
  await page.route('**/cms/content*', async (route) => {
    await held;
    await route.continue();
  });
  return () => release();
}

test('until a slow document arrives the editing area takes no typing and shows that it is loading', async () => {
  const page = await env.newPage();
  const release = await holdDocument(page);
  await page.goto(env.server.url + '/');
  await page.waitForFunction(() => window.__loaded.length === 1);
  await assert.doesNotReject(status(page).filter({ hasText: 'Loading\u2026' }).waitFor());
  const engineArea = page.locator('#editor1 .vellmar-engine');
  assert.equal(await engineArea.getAttribute('aria-busy'), 'true');
  assert.equal(await engineArea.evaluate((el) => getComputedStyle(el, '::after').content), '"Loading\u2026"');

  // A person clicks into the editing area and types; nothing reaches the document.
  const box = await engineArea.boundingBox();
  await page.mouse.click(box.x + 40, box.y + 30);
  await page.keyboard.type('Typed while loading');
  await frame(page).locator('body').evaluate((body) => body.focus());
  await page.keyboard.type('Typed while loading');
  assert.equal(await bodyHTML(page), '');
  // Nor can the HTML view be opened to type there instead.
  await page.getByRole('menubar').getByRole('menuitem', { name: 'View', exact: true }).click();
  await page.getByRole('menu', { name: 'View', exact: true }).locator('[aria-label="HTML"]').click();
  assert.equal(await page.locator('#editor1 textarea.vellmar-source').isVisible(), false);

  release();
  await frame(page).getByText('Welcome to Vellmar').waitFor();
  await status(page).filter({ hasText: 'Loaded' }).waitFor();
  assert.equal(await engineArea.getAttribute('aria-busy'), null);
  assert.doesNotMatch(await bodyHTML(page), /Typed while loading/);
  await typeAtEnd(page, ' Typed once loaded');
  assert.match(await bodyHTML(page), /Typed once loaded/);
  await page.close();
});

test('a document request that fails says so and leaves the editing area usable', async () => {
  const page = await env.newPage();
  await page.route('**/cms/content*', (route) => route.fulfill({ status: 500, body: 'broken' }));
  await page.goto(env.server.url + '/');
  await status(page).filter({ hasText: 'Load failed: HTTP 500' }).waitFor();
  assert.equal(await page.locator('#editor1 .vellmar-engine').getAttribute('aria-busy'), null);
  await frame(page).locator('body').click();
  await page.keyboard.type('Written anyway');
  assert.match(await bodyHTML(page), /Written anyway/);
  await page.close();
});

test('the bottom strip tells how each save ended, with DebugMode 0 as shipped', async () => {
  const page = await env.openDemo();
  await status(page).filter({ hasText: 'Loaded' }).waitFor();
  const answers = [
    [(route) => route.fulfill({ status: 500, body: 'Internal trouble' }), 'Save failed: HTTP 500'],
    [(route) => route.fulfill({ status: 403, body: 'Forbidden' }), 'Save failed: HTTP 403'],
    [(route) => route.abort('connectionrefused'), 'Save failed: cannot reach the server'],
    [(route) => route.fulfill({ status: 200, body: '<error>no</error>' }), 'Save failed: unexpected answer'],
    [(route) => route.continue(), 'Saved'],
  ];
  for (const [answer, text] of answers) {
    await page.unroute('**/cms/save*');
    let release;
    const held = new Promise((r) => { release = r; });
    await page.route('**/cms/save*', async (route) => { await held; await answer(route); });
    await chooseSave(page);
    await status(page).filter({ hasText: 'Saving\u2026' }).waitFor();
    release();
    await status(page).filter({ hasText: text }).waitFor();
    // The malformed answer's error page is the one window a failed save opens.
    const dialog = page.getByRole('dialog', { name: 'HTTP Error' });
    if (await dialog.isVisible()) await dialog.getByRole('button', { name: 'OK' }).click();
  }
  assert.match(await page.evaluate(() => document.getElementById('editor1').ContentID), /^\d+$/);
  await page.close();
});

test('leaving the page with unsaved changes asks first; after a save it does not', async () => {
  // The person tries to go to another page and, when asked, chooses to stay.
  const leave = async (page) => {
    const dialogs = [];
    const onDialog = (d) => { dialogs.push(d.type()); d.dismiss(); };
    page.on('dialog', onDialog);
    const outcome = await page.goto('data:text/html,<p>elsewhere</p>').then(() => 'left', () => 'stayed');
    page.off('dialog', onDialog);
    return { dialogs, outcome };
  };

  // Opened and only clicked into: nothing to ask.
  let page = await env.openDemo();
  await frame(page).locator('p').first().click();
  assert.deepEqual(await leave(page), { dialogs: [], outcome: 'left' });
  await page.close();
  // Nor for a document the page gave, which the engine tidies as it takes it (a table gains
  // its tbody).
  page = await env.newPage();
  await env.openHtml(page, pageWith(`<vellmar-editor id="e" width="600" height="300">
    <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
    <param name="content" value="<table><tr><td>cell</td></tr></table><p>text</p>"></vellmar-editor>`));
  await frame(page).getByText('cell').click();
  assert.deepEqual(await leave(page), { dialogs: [], outcome: 'left' });
  await page.close();

  // Typed into: the page asks, and staying keeps the typing.
  page = await env.openDemo();
  await typeAtEnd(page, ' Not saved yet');
  assert.deepEqual(await leave(page), { dialogs: ['beforeunload'], outcome: 'stayed' });
  assert.match(await bodyHTML(page), /Not saved yet/);

  // Saved: nothing to ask. Typed into again after the save: it asks again.
  await chooseSave(page);
  await status(page).filter({ hasText: 'Saved' }).waitFor();
  await typeAtEnd(page, ' and more');
  assert.deepEqual(await leave(page), { dialogs: ['beforeunload'], outcome: 'stayed' });
  const answered = page.waitForResponse('**/cms/save*');
  await chooseSave(page);
  await answered;
  await status(page).filter({ hasText: 'Saved' }).waitFor();
  assert.deepEqual(await leave(page), { dialogs: [], outcome: 'left' });
  await page.close();
});

test('text typed into an emptied document stays in one paragraph around a bold word', async () => {
  const page = await env.openDemo();
  await page.getByRole('tab', { name: 'HTML' }).click();
  await page.locator('textarea.vellmar-source').fill('');
  await page.getByRole('tab', { name: 'WYSIWYG' }).click();
  assert.equal(await bodyHTML(page), '');
  await frame(page).locator('body').click();
  await page.keyboard.type('Hello world again');
  await page.keyboard.press('Home');
  for (let i = 0; i < 6; i++) await page.keyboard.press('ArrowRight');
  for (let i = 0; i < 5; i++) await page.keyboard.press('Shift+ArrowRight');
  await page.keyboard.press('Control+B');
  await page.keyboard.press('End');
  await page.keyboard.press('Enter');
  await page.keyboard.type('Second line');

  await page.getByRole('tab', { name: 'HTML' }).click();
  const source = await page.locator('textarea.vellmar-source').inputValue();
  assert.equal(source.trim(), '<p>Hello <b>world</b> again</p>\n<p>Second line</p>');
  await page.getByRole('tab', { name: 'WYSIWYG' }).click();
  let posted = null;
  page.on('request', (r) => { if (r.url().includes('/cms/save')) posted = r.postData(); });
  await chooseSave(page);
  await status(page).filter({ hasText: 'Saved' }).waitFor();
  assert.equal(new URLSearchParams(posted).get('vmContent').trim().replace(/\r\n/g, '\n'), source.trim());
  await page.close();
});
