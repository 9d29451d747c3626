'use strict';

// What the editor's exchanges carry and what they accept, as a person meets them: text of every
// script typed, saved and found again after a reload; a page whose only login is its cookie
// parameters; and answers that must never land in the document (a redirect to a login page, a
// document cut off on the way).
const { test } = require('node:test');
const assert = require('node:assert/strict');
const net = require('node:net');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

const SAMPLE = '5 € — “quoted” — 中文 — Ελληνικά — 😀';

const frame = (page) => page.frameLocator('iframe.vellmar-engine-frame');

async function chooseSave(page) {
  await page.getByRole('menubar').getByRole('menuitem', { name: 'File', exact: true }).click();
  await page.getByRole('menu', { name: 'File', exact: true })
    .getByRole('menuitem', { name: 'Save To Server' }).click();
}

// A session of the reference server, as a content system's login hands one out.
async function newSession() {
  const page = await (await fetch(env.server.url + '/')).text();
  return /name="CookieValue1" value="([0-9a-f]+)"/.exec(page)[1];
}

// A front for the reference server that answers the paths of `replies` itself, with the raw bytes
// given, and passes every other request on. The editor's page is loaded through it, so that its
// exchanges stay on the page's own origin, as an integrator's are.
async function frontServer(replies) {
  const sockets = new Set();
  const server = net.createServer((client) => {
    sockets.add(client);
    client.on('close', () => sockets.delete(client));
    let head = Buffer.alloc(0);
    let passed = false;
    client.on('error', () => {});
    client.on('data', (chunk) => {
      if (passed) return;
      head = Buffer.concat([head, chunk]);
      const text = head.toString('latin1');
      if (!text.includes('\r\n\r\n')) return;
      const reply = replies[text.split(' ')[1].split('?')[0]];
      if (reply) {
        client.end(reply);
        return;
      }
      passed = true;
      client.pause();
      const upstream = net.connect(env.server.port, '127.0.0.1', () => {
        upstream.write(head);
        client.pipe(upstream);
        upstream.pipe(client);
      });
      upstream.on('error', () => client.destroy());
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const { port } = server.address();
  const close = () => new Promise((resolve) => {
    server.close(resolve);
    for (const socket of sockets) socket.destroy();
  });
  return { port, url: `http://127.0.0.1:${port}`, close };
}

// An editor in debug mode, on a page of `front`, that loads `path` from it: every outcome shows in
// the message window as a person would see it.
async function openLoading(page, front, path) {
  await page.route(`${front.url}/test/page.html`, (route) => route.fulfill({
    status: 200,
    contentType: 'text/html',
    body: pageWith(`
      <vellmar-editor id="e" style="display:block;width:700px;height:400px">
        <param name="domain" value="127.0.0.1"><param name="port" value="${front.port}">
        <param name="pathToContent" value="${path}"><param name="DebugMode" value="1">
      </vellmar-editor>`),
  }));
  await page.goto(`${front.url}/test/page.html`);
}

async function messageText(page, caption) {
  const dialog = page.getByRole('dialog', { name: caption });
  await dialog.waitFor();
  return (await dialog.innerText()) + '\n' +
    await page.frameLocator('iframe.vellmar-message-frame').locator('body').innerText();
}

test('text of every script typed and saved is there, exactly, when the demo page is opened again', async () => {
  const page = await env.openDemo();
  // A new paragraph after a short one, as a person adds one.
  await frame(page).locator('p', { hasText: 'Things to try:' }).click({ position: { x: 4, y: 6 } });
  await page.keyboard.press('End');
  await page.keyboard.press('Enter');
  await page.keyboard.type(SAMPLE);

  const posted = page.waitForRequest((r) => r.url().includes('/cms/save'));
  await chooseSave(page);
  const post = await posted;
  // On the wire the text is percent-encoded UTF-8, every character of it.
  assert.match(post.postData(), /%E4%B8%AD%E6%96%87%20%E2%80%94%20%CE%95%CE%BB%CE%BB/);
  assert.ok(new URLSearchParams(post.postData()).get('vmContent').includes(`<p>${SAMPLE}</p>`));
  await page.waitForFunction(() => document.getElementById('editor1').ContentID !== '');
  const id = await page.evaluate(() => document.getElementById('editor1').ContentID);

  await page.reload();
  await page.waitForFunction(() => window.__loaded.length === 1);
  await page.waitForFunction((text) =>
    document.getElementById('editor1').vellmarEngine.bodyHTML.includes(text), SAMPLE);
  assert.equal(await page.evaluate(() => document.getElementById('editor1').ContentID), id);
  assert.equal(await frame(page).locator('p', { hasText: '中文' }).innerText(), SAMPLE);
  await page.close();
});

test('cookie parameters alone log the editor in: the document loads and saves', async () => {
  const session = await newSession();
  const page = await env.newPage();
  const sent = [];
  page.on('request', (r) => { if (r.url().includes('/cms/')) sent.push(r); });
  await env.openHtml(page, pageWith(`
    <object id="e" type="application/x-vellmar" style="display:block;width:700px;height:400px">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
      <param name="pathToContent" value="/cms/content">
      <param name="PathToSaveToServer" value="/cms/save">
      <param name="CookieName1" value="vmSession"><param name="CookieValue1" value="${session}">
    </object>`));
  await page.waitForFunction(() => {
    const engine = document.getElementById('e').vellmarEngine;
    return engine && engine.bodyHTML.includes('Welcome');
  });
  await chooseSave(page);
  await page.waitForFunction(() => /^\d+$/.test(document.getElementById('e').ContentID));
  assert.equal(sent.length, 2);
  for (const r of sent) assert.equal(await r.headerValue('cookie'), `vmSession=${session}`);
  await page.close();
});

test('a redirect ends as an HTTP error and the page it points to never reaches the document', async () => {
  const login = '<html><body><p>Please log in</p></body></html>';
  const front = await frontServer({
    '/doc': 'HTTP/1.1 302 Found\r\nLocation: /login\r\nContent-Length: 0\r\n\r\n',
    '/login': `HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: ${login.length}\r\n\r\n${login}`,
  });
  const page = await env.newPage();
  await openLoading(page, front, '/doc');
  const text = await messageText(page, 'HTTP Error (/doc)');
  assert.match(text, /HTTP Error: \/doc answered with a redirect, which is not followed\./);
  assert.equal(await page.evaluate(() => document.getElementById('e').vellmarEngine.bodyHTML), '');
  await page.close();
  await front.close();
});

test('a document cut off on the way ends as an HTTP error that says so, and nothing is loaded', async () => {
  const cuts = {
    '/length': 'HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 1000\r\n\r\n' +
      '<html><body><p>The first half',
    '/chunked': 'HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nTransfer-Encoding: chunked\r\n\r\n' +
      '1d\r\n<html><body><p>The first half\r\n',
  };
  const front = await frontServer(cuts);
  for (const path of Object.keys(cuts)) {
    const page = await env.newPage();
    await openLoading(page, front, path);
    const text = await messageText(page, `HTTP Error (${path})`);
    assert.match(text, new RegExp(`HTTP Error: The answer from ${path} was cut short`));
    assert.equal(await page.evaluate(() => document.getElementById('e').vellmarEngine.bodyHTML), '');
    await page.close();
  }
  await front.close();
});
