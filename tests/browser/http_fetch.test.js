'use strict';

// The editor's requests as the page's fetch carries them to the real server: an answer, a page the
// server does not have, a script that refuses without a session, and a port nobody listens on.
// Debug mode shows each outcome in the message window, which is what a person sees.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const net = require('node:net');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

// A loopback port that was free a moment ago and has nobody listening now.
function closedPort() {
  return new Promise((resolve, reject) => {
    const probe = net.createServer();
    probe.on('error', reject);
    probe.listen(0, '127.0.0.1', () => {
      const { port } = probe.address();
      probe.close(() => resolve(port));
    });
  });
}

// An editor in debug mode that loads its document from `path` on `port`.
async function openLoading(page, path, port = env.server.port) {
  await env.openHtml(page, pageWith(`
    <vellmar-editor id="e" style="display:block;width:700px;height:400px">
      <param name="domain" value="127.0.0.1"><param name="port" value="${port}">
      <param name="pathToContent" value="${path}"><param name="DebugMode" value="1">
    </vellmar-editor>`));
}

// The message window's label and the page it shows.
async function messageText(page, caption) {
  const dialog = page.getByRole('dialog', { name: caption });
  await dialog.waitFor();
  const shown = await page.frameLocator('iframe.vellmar-message-frame').locator('body').innerText();
  return (await dialog.innerText()) + '\n' + shown;
}

// A message in debug mode reaches the log when the person closes it.
const closeMessage = (page, caption) =>
  page.getByRole('dialog', { name: caption }).getByRole('button', { name: 'OK' }).click();

// Waits until the debug log file holds `pattern` (the file is written asynchronously).
const logShows = (page, pattern) => page.waitForFunction(async (source) =>
  new RegExp(source).test(await document.getElementById('e').getDebugLog()), pattern.source);

test('an answered request completes and its body reaches the editor', async () => {
  const page = await env.newPage();
  // A session first, as a logged-in user has; the page's cookies travel with every request.
  await page.goto(env.server.url + '/');
  await page.waitForFunction(() => window.__loaded.length === 1);
  let sent = null;
  page.on('request', (r) => { if (r.url().includes('/cms/content')) sent = r; });
  await openLoading(page, '/cms/content');
  const text = await messageText(page, 'HTTP Success (/cms/content)');
  assert.match(text, /Successfully retrieved content\./);
  assert.equal(sent.method(), 'GET');
  assert.match(await sent.headerValue('cookie'), /vmSession=/);
  await closeMessage(page, 'HTTP Success (/cms/content)');
  await page.waitForFunction(() => document.getElementById('e').vellmarEngine.bodyHTML.length > 0);
  await page.close();
});

test('a page the server does not have ends as "was not found"', async () => {
  const page = await env.newPage();
  await openLoading(page, '/no-such-document.html');
  const text = await messageText(page, 'HTTP Error (/no-such-document.html)');
  assert.match(text, /HTTP Error: \/no-such-document\.html was not found\./);
  await closeMessage(page, 'HTTP Error (/no-such-document.html)');
  await logShows(page, /was not found/);
  assert.equal(await page.evaluate(() => document.getElementById('e').vellmarEngine.bodyHTML), '');
  await page.close();
});

test('any other status is reported with its status line', async () => {
  const page = await env.newPage();
  // No session on this page: the server's scripts refuse.
  await openLoading(page, '/cms/content');
  const text = await messageText(page, 'HTTP Error (/cms/content)');
  assert.match(text, /HTTP Error: HTTP\/1\.1 403 Forbidden/);
  await page.close();
});

test('a port nobody listens on is a network error, and nothing is loaded', async () => {
  const page = await env.newPage();
  await openLoading(page, '/cms/content', await closedPort());
  const text = await messageText(page, 'Network Error (/cms/content)');
  assert.match(text, /Network Number:/);
  await closeMessage(page, 'Network Error (/cms/content)');
  await logShows(page, /Network Error \(\/cms\/content\)/);
  assert.equal(await page.evaluate(() => document.getElementById('e').vellmarEngine.bodyHTML), '');
  await page.close();
});
