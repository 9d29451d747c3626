'use strict';

// The document is fetched while the editor builds its interface, and reaches it exactly as a
// request sent at the first show would: once, with the page's latest choice of document.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

// A page of the server's origin holding a session, and two stored documents.
async function twoDocuments(page) {
  await page.goto(env.server.url + '/');
  // The demo page's own editor has fetched its document before the test counts requests.
  await page.waitForFunction(() => window.__loaded.length === 1);
  return page.evaluate(async () => {
    const save = async (text) => {
      const r = await fetch('/cms/save', { method: 'POST', body: new URLSearchParams({ vmContent: text }) });
      return /<vmContentID>(\d+)/.exec(await r.text())[1];
    };
    return [await save('<p>The first document</p>'), await save('<p>The second document</p>')];
  });
}

function editorWith(id, script = '') {
  return pageWith(`
    <vellmar-editor id="e" style="display:block;width:700px;height:400px">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
      <param name="pathToContent" value="/cms/content"><param name="ContentID" value="${id}">
    </vellmar-editor>
    <script>
      window.__shownAt = null;
      document.addEventListener('Loaded', () => { window.__shownAt = window.__shownAt ?? performance.now(); });
      ${script}
    </script>`);
}

const bodyHTML = (page) => page.evaluate(() => document.getElementById('e').vellmarEngine.bodyHTML.trim());

test('the document is requested while the editor is built, once, and loads as it always did', async () => {
  const page = await env.newPage();
  const [first] = await twoDocuments(page);
  const requests = [];
  page.on('request', (r) => { if (r.url().includes('/cms/content')) requests.push(r.url()); });
  await env.openHtml(page, editorWith(first));
  await page.getByRole('status').filter({ hasText: 'Loaded' }).waitFor();
  assert.equal(await bodyHTML(page), '<p>The first document</p>');
  assert.deepEqual(requests.map((u) => new URL(u).search), [`?vmContentID=${first}`]);
  // It went out before the editor was shown, not after.
  const timing = await page.evaluate(() => ({
    requested: performance.getEntriesByType('resource').find((e) => e.name.includes('/cms/content')).startTime,
    shown: window.__shownAt,
  }));
  assert.ok(timing.requested < timing.shown, JSON.stringify(timing));
  // The document passed the same clean-up on its way in.
  assert.equal(await page.evaluate(() => document.getElementById('e').getContent(0)),
    '\r\n<p>The first document</p>\r\n');
  await page.close();
});

test('a document the page chooses after the editor is made and before it shows is the one loaded', async () => {
  const page = await env.newPage();
  const [first, second] = await twoDocuments(page);
  const requests = [];
  page.on('request', (r) => { if (r.url().includes('/cms/content')) requests.push(new URL(r.url()).search); });
  await env.openHtml(page, editorWith(first,
    `Vellmar.ready.then(() => { document.getElementById('e').ContentID = '${second}'; });`));
  await page.getByRole('status').filter({ hasText: 'Loaded' }).waitFor();
  assert.equal(await bodyHTML(page), '<p>The second document</p>');
  // The request sent ahead for the first one was left; the second was fetched at the show.
  assert.deepEqual(requests, [`?vmContentID=${first}`, `?vmContentID=${second}`]);
  assert.equal(await page.evaluate(() => document.getElementById('e').ContentID), second);
  await page.close();
});
