'use strict';

// Saving the edited document to the server, the answers it can give, a server that has gone away,
// and the keep-alive requests.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');

const env = useEditorEnvironment();

// The user writes the document in the HTML view and returns to the WYSIWYG view.
async function writeDocument(page, html) {
  await page.locator('.vellmar-view-tab', { hasText: 'HTML' }).click();
  await page.locator('textarea.vellmar-source').fill(html);
  await page.locator('.vellmar-view-tab', { hasText: 'WYSIWYG' }).click();
}

async function chooseSave(page) {
  await page.getByRole('menubar').getByRole('menuitem', { name: 'File', exact: true }).click();
  await page.getByRole('menu', { name: 'File', exact: true })
    .getByRole('menuitem', { name: 'Save To Server' }).click();
}

const editor = (page, fn) => page.evaluate(fn);
const contentId = (page) => editor(page, () => document.getElementById('editor1').ContentID);
const body = (page) => editor(page, () => document.getElementById('editor1').vellmarEngine.bodyHTML);

test('saving posts vmContent, adopts the returned id, and a second save is a new version of it', async () => {
  const page = await env.openDemo();
  await writeDocument(page, '<p>First version</p>');
  const posts = [];
  page.on('request', (r) => { if (r.url().includes('/cms/save')) posts.push({ url: r.url(), data: r.postData() }); });

  await chooseSave(page);
  await page.waitForFunction(() => document.getElementById('editor1').ContentID !== '');
  const id = await contentId(page);
  assert.match(id, /^\d+$/);
  assert.equal(posts.length, 1);
  assert.equal(new URLSearchParams(posts[0].data).get('vmContent'), '\r\n<p>First version</p>\r\n');
  assert.doesNotMatch(posts[0].url, /vmContentID/);

  await writeDocument(page, '<p>Second version</p>');
  const second = page.waitForResponse((r) => r.url().includes('/cms/save'));
  await chooseSave(page);
  await second;
  await page.getByRole('status').filter({ hasText: 'Saved' }).waitFor();
  assert.equal(posts.length, 2);
  assert.match(posts[1].url, new RegExp(`vmContentID=${id}(&|$)`));
  assert.equal(await contentId(page), id);

  // The server keeps the latest version under that id.
  const stored = await page.evaluate(async (n) => (await fetch(`/cms/content?vmContentID=${n}`)).text(), id);
  assert.match(stored, /<p>Second version<\/p>/);
  await page.close();
});

test('a second save while one runs abandons it; the newer document is the one stored', async () => {
  const page = await env.openDemo();
  const changes = [];
  await page.exposeFunction('noteChange', (name) => changes.push(name));
  await editor(page, () => document.getElementById('editor1')
    .addEventListener('propertychange', (e) => window.noteChange(e.detail.name)));
  const posted = [];
  let firstArrived;
  const arrived = new Promise((r) => { firstArrived = r; });
  let release;
  const held = new Promise((r) => { release = r; });
  await page.route('**/cms/save*', async (route) => {
    posted.push(new URLSearchParams(route.request().postData()).get('vmContent'));
    if (posted.length === 1) {
      // The first exchange gets no answer before the second save starts.
      firstArrived();
      await held;
      await route.continue().catch(() => {});
      return;
    }
    await route.continue();
  });
  const aborted = new Promise((resolve) => page.on('requestfailed', (r) => {
    if (r.url().includes('/cms/save')) resolve(r.failure().errorText);
  }));
  await writeDocument(page, '<p>Older</p>');
  await chooseSave(page);
  await arrived;
  // The views cannot change while a request is under way; typing goes on.
  await page.frameLocator('iframe.vellmar-engine-frame').locator('p').click();
  await page.keyboard.press('End');
  await page.keyboard.type(' and newer');
  await chooseSave(page);
  assert.match(await aborted, /abort/i);
  release();
  await page.waitForFunction(() => document.getElementById('editor1').ContentID !== '');
  assert.deepEqual(posted.map((p) => p.trim()), ['<p>Older</p>', '<p>Older and newer</p>']);
  const id = await contentId(page);
  const stored = await page.evaluate(async (n) => (await fetch(`/cms/content?vmContentID=${n}`)).text(), id);
  assert.match(stored, /<p>Older and newer<\/p>/);
  // The id from the save answer is a property change like any other.
  assert.ok(changes.includes('ContentID'), JSON.stringify(changes));
  await page.close();
});

test('an answer that is not a vmContentID document shows the error page naming the save script', async () => {
  const page = await env.openDemo();
  await page.route('**/cms/save*', (route) =>
    route.fulfill({ status: 200, contentType: 'text/xml', body: '<error>x</error>' }));
  await writeDocument(page, '<p>kept</p>');
  await chooseSave(page);
  const dialog = page.getByRole('dialog', { name: 'HTTP Error' });
  await dialog.waitFor();
  const text = await page.frameLocator('iframe.vellmar-message-frame').locator('body').innerText();
  assert.match(text, /error parsing the save to server results from \/cms\/save:/);
  assert.match(text, /<error>x<\/error>/);  // the answer shown as text, not as markup
  assert.equal(await contentId(page), '');
  assert.equal(await body(page), '<p>kept</p>');
  await page.close();
});

test('with the server gone a save changes nothing: logged quietly, shown in debug mode', async () => {
  const page = await env.openDemo();
  await writeDocument(page, '<p>Unsaved work</p>');
  await page.route('**/cms/save*', (route) => route.abort('connectionrefused'));
  await chooseSave(page);
  await page.getByRole('status').filter({ hasText: 'Save failed: cannot reach the server' }).waitFor();
  assert.equal(await page.getByRole('dialog').count(), 0);
  assert.equal(await body(page), '<p>Unsaved work</p>');
  assert.equal(await contentId(page), '');

  await editor(page, () => { document.getElementById('editor1').DebugMode = 1; });
  await chooseSave(page);
  await page.getByRole('dialog', { name: 'HTTP Error (/cms/save)' }).waitFor();
  await page.waitForFunction(async () =>
    /HTTP Error \(\/cms\/save\)/.test(await document.getElementById('editor1').getDebugLog()));
  assert.equal(await body(page), '<p>Unsaved work</p>');
  await page.close();
});

test('KeepAliveTimeout 0 requests the keep-alive page on every tick', async () => {
  const page = await env.openDemo();
  const times = [];
  let thirdSeen;
  const third = new Promise((r) => { thirdSeen = r; });
  page.on('request', (r) => {
    if (!r.url().includes('/cms/keepalive')) return;
    times.push(Date.now());
    if (times.length === 3) thirdSeen();
  });
  await editor(page, () => { document.getElementById('editor1').KeepAliveTimeout = 0; });
  await third;
  // One request a tick of the one-second timer, not several at once.
  const gaps = times.slice(1, 3).map((t, i) => t - times[i]);
  for (const gap of gaps) assert.ok(gap > 500 && gap < 2500, `gaps ${gaps.join(', ')} ms`);
  await page.close();
});
