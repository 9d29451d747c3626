'use strict';

// The document and style sheet requests when the server does not answer them.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

const body = (page) => page.evaluate(() => document.querySelector('[id^=e]').vellmarEngine.bodyHTML);

test('without the server the demo editor still opens, quietly, and takes a document given to it', async () => {
  const page = await env.newPage();
  await page.route('**/cms/content*', (route) => route.abort('connectionrefused'));
  await page.route('**/cms/styles.css', (route) => route.abort('connectionrefused'));
  await page.goto(env.server.url + '/');
  await page.waitForFunction(() => window.__loaded.length === 1);
  await page.getByRole('status').filter({ hasText: 'Load failed: cannot reach the server' }).waitFor();
  assert.equal(await page.getByRole('dialog').count(), 0);
  assert.equal(await page.evaluate(() => document.getElementById('editor1').vellmarEngine.bodyHTML), '');

  // A failed style sheet leaves no class list to offer.
  await page.getByRole('menubar').getByRole('menuitem', { name: 'Style', exact: true }).click();
  const style = page.getByRole('menu', { name: 'Style', exact: true });
  await style.getByRole('menuitem', { name: 'Clear Style' }).waitFor();
  assert.equal(await style.getByRole('menuitem', { name: 'CSS Classes' }).count(), 0);
  await page.keyboard.press('Escape');

  await page.evaluate(() => { document.getElementById('editor1').content = '<p>From the page</p>'; });
  assert.equal(await page.evaluate(() => document.getElementById('editor1').vellmarEngine.bodyHTML),
    '<p>From the page</p>');
  assert.equal(await page.evaluate(() => document.getElementById('editor1').getContent(0)),
    '\r\n<p>From the page</p>\r\n');
  await page.close();
});

test('in debug mode a failed document request is shown with its network wording', async () => {
  const page = await env.newPage();
  await page.route('**/cms/content*', (route) => route.abort('connectionrefused'));
  await env.openHtml(page, pageWith(`
    <vellmar-editor id="e" style="display:block;width:700px;height:400px">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
      <param name="pathToContent" value="/cms/content"><param name="DebugMode" value="1">
    </vellmar-editor>`));
  const dialog = page.getByRole('dialog', { name: 'Network Error (/cms/content)' });
  await dialog.waitFor();
  assert.equal(await body(page), '');
  await page.close();
});
