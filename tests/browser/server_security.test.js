'use strict';

// What another page can do with the author's session, as the browser really behaves: a page on
// another port of the same host shares the author's cookies (the same site) but not the origin, so
// its form posts and fetches to the save, upload and delete scripts are refused and change
// nothing; and a document opened directly in the browser runs none of the scripts saved in it.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const http = require('node:http');
const { useEditorEnvironment } = require('./harness');

const env = useEditorEnvironment();

// A site of its own on another loopback port, serving one page.
async function otherSite(html) {
  const server = http.createServer((req, res) => {
    res.writeHead(200, { 'Content-Type': 'text/html; charset=utf-8' });
    res.end(html);
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return {
    url: `http://127.0.0.1:${server.address().port}/`,
    close: () => new Promise((resolve) => server.close(resolve)),
  };
}

// The demo page in a browser context of its own, to which other pages of the same person can be
// added: they share its cookies.
async function openDemo() {
  const context = await env.browser.newContext();
  const demo = await context.newPage();
  await demo.goto(env.server.url + '/');
  await demo.waitForFunction(() => {
    const editor = document.getElementById('editor1');
    return editor && editor.vellmarEngine && editor.vellmarEngine.bodyHTML.includes('Welcome');
  });
  return demo;
}

// What the demo page's own origin reads from a script, with the author's session.
const read = (page, path) => page.evaluate(async (p) => (await fetch(p)).text(), path);

test('a page on another port cannot save, upload or delete through the author\'s session', async () => {
  const demo = await openDemo();
  const list = await read(demo, '/cms/images/list');
  const image = /<vmImagePath>([^<]+)<\/vmImagePath>/.exec(list)[1];
  const server = env.server.url;
  const site = await otherSite(`<!doctype html><html><body>
    <form id="f" method="post" action="${server}/cms/save">
      <input name="vmContent" value="<p>forged by a form</p>"></form>
    <script>
      const form = 'application/x-www-form-urlencoded';
      const upload = new FormData();
      upload.append('vmImageFile', new Blob(['GIF89a\\x01\\x00\\x01\\x00'], { type: 'image/gif' }), 'x.gif');
      window.sent = Promise.all([
        fetch('${server}/cms/save', { method: 'POST', mode: 'no-cors', credentials: 'include',
          headers: { 'Content-Type': form }, body: 'vmContent=%3Cp%3Eforged%20by%20fetch%3C%2Fp%3E' }),
        fetch('${server}/cms/images/delete', { method: 'POST', mode: 'no-cors', credentials: 'include',
          headers: { 'Content-Type': form }, body: 'vmImagePath=${encodeURIComponent(image)}' }),
        fetch('${server}/cms/images/upload', { method: 'POST', mode: 'no-cors', credentials: 'include',
          body: upload }),
      ]);
    </script></body></html>`);
  try {
    const attacker = await demo.context().newPage();
    const answers = ['/cms/save', '/cms/images/delete', '/cms/images/upload'].map((path) =>
      attacker.waitForResponse((r) => r.url() === server + path && r.request().method() === 'POST'));
    await attacker.goto(site.url);
    for (const answer of await Promise.all(answers)) {
      assert.equal(answer.status(), 403, answer.url());
      assert.equal(await answer.request().headerValue('cookie') !== null, true, 'the session travelled');
    }
    await attacker.evaluate(() => window.sent);

    // The plain form post: the browser shows the server's refusal.
    await Promise.all([attacker.waitForURL(`${server}/cms/save`), attacker.evaluate(() => document.getElementById('f').submit())]);
    const shown = await attacker.locator('body').innerText();
    assert.match(shown, /comes from another site \(Origin http:\/\/127\.0\.0\.1:\d+\)/);

    // Nothing changed: the image is still listed, no document holds the forged text.
    assert.ok((await read(demo, '/cms/images/list')).includes(image));
    assert.ok(!(await read(demo, '/cms/content')).includes('forged'));

    // The author's own page still saves.
    const saved = await demo.evaluate(async () => (await fetch('/cms/save', { method: 'POST',
      headers: { 'Content-Type': 'application/x-www-form-urlencoded' }, body: 'vmContent=%3Cp%3Emine%3C%2Fp%3E' })).text());
    assert.match(saved, /^<vmContentID>\d+<\/vmContentID>$/);
  } finally {
    await site.close();
    await demo.context().close();
  }
});

test('a document opened directly shows its text and runs none of its scripts', async () => {
  const demo = await openDemo();
  const saved = await demo.evaluate(async () => (await fetch('/cms/save', { method: 'POST',
    headers: { 'Content-Type': 'application/x-www-form-urlencoded' },
    body: 'vmContent=' + encodeURIComponent('<p id="t">visible text</p><script>document.title = "ran: " + document.cookie</script>' +
      '<img src="data:," onerror="document.body.dataset.ran = 1">') })).text());
  const id = /<vmContentID>(\d+)</.exec(saved)[1];
  const viewer = await demo.context().newPage();
  await viewer.goto(`${env.server.url}/cms/content?vmContentID=${id}`);
  await viewer.locator('#t', { hasText: 'visible text' }).waitFor();
  assert.equal(await viewer.title(), `Document ${id}`);
  // The image has failed to load by now, so its handler would have run.
  await viewer.waitForFunction(() => document.images[0].complete);
  assert.equal(await viewer.locator('body').getAttribute('data-ran'), null);
  await demo.context().close();
});
