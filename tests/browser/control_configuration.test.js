'use strict';

// The configuration check: an editor without domain or port shows the configuration page in its
// message window, stays empty, and raises Loaded once the page is closed.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

const CAPTION = 'Korvath Vellmar Configuration Error';

async function openEditor(page, params) {
  await env.openHtml(page, pageWith(`
    <vellmar-editor id="ed" style="display:block;width:700px;height:400px">${params}</vellmar-editor>`));
  await page.evaluate(() => window.Vellmar.ready);
}

test('without domain and port the page names both parameters, and Loaded follows its closing', async () => {
  const page = await env.newPage();
  await openEditor(page, '');
  const dialog = page.getByRole('dialog', { name: CAPTION });
  await dialog.waitFor();
  const frame = page.frameLocator('iframe.vellmar-message-frame');
  const text = await frame.locator('body').innerText();
  assert.match(text, /Vellmar is not configured correctly within the container HTML document\. You are missing the following parameters:/);
  assert.deepEqual(await frame.locator('blockquote').allInnerTexts(), ['Domain', 'Port']);
  assert.match(text, /<PARAM NAME="port"\s+VALUE="80">/);
  // 7000 x 4000 twips at 15 twips a pixel; no tabs, no label.
  const box = await dialog.boundingBox();
  assert.equal(Math.round(box.width), 467);
  assert.equal(Math.round(box.height), 267);
  assert.equal(await dialog.getByRole('tab').count(), 0);
  assert.equal(await page.locator('iframe.vellmar-message-frame').getAttribute('sandbox'), '');

  await page.evaluate(() => document.getElementById('ed').addEventListener('Loaded', () => {
    window.__windowOpenAtLoaded = !!document.getElementById('ed').shadowRoot.querySelector('dialog[open]');
  }));
  await dialog.getByRole('button', { name: 'OK' }).click();
  await page.waitForFunction(() => window.__loaded.length === 1);
  assert.equal(await page.evaluate(() => window.__windowOpenAtLoaded), false, 'Loaded waits for the window');
  await dialog.waitFor({ state: 'hidden' });
  // The control stays empty: no menu bar, no toolbars, no view tabs.
  const editor = page.locator('#ed');
  assert.equal(await editor.getByRole('toolbar').count(), 0);
  assert.equal(await editor.getByRole('tab').count(), 0);
  await page.close();
});

test('with only the domain the page asks for the port alone', async () => {
  const page = await env.newPage();
  await openEditor(page, '<param name="domain" value="www.example.org">');
  const dialog = page.getByRole('dialog', { name: CAPTION });
  await dialog.waitFor();
  const frame = page.frameLocator('iframe.vellmar-message-frame');
  assert.match(await frame.locator('body').innerText(), /You are missing the following parameter:\n/);
  assert.deepEqual(await frame.locator('blockquote').allInnerTexts(), ['Port']);
  // Escape closes the window like OK.
  await page.keyboard.press('Escape');
  await page.waitForFunction(() => window.__loaded.length === 1);
  await page.close();
});

test('a configured editor raises Loaded without a message and builds its interface', async () => {
  const page = await env.newPage();
  await openEditor(page, `<param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">`);
  await page.waitForFunction(() => window.__loaded.length === 1);
  assert.equal(await page.getByRole('dialog').count(), 0);
  const editor = page.locator('#ed');
  assert.equal(await editor.getByRole('toolbar').count(), 4);
  assert.deepEqual(await editor.getByRole('tab').allInnerTexts(), ['WYSIWYG', 'HTML']);
  await page.close();
});
