'use strict';

// The message window: modal, named by its caption, sized in twips, the "Message" and
// "HTML Source" tabs, and the message rendered in a sandbox where no script runs.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

async function open(page) {
  await env.openHtml(page, pageWith(`
    <vellmar-editor id="e" style="display:block;width:700px;height:400px">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
    </vellmar-editor>`));
  await page.waitForFunction(() => window.__loaded.length === 1);
}

const STYLE = '<style>\r\np{font-family: Verdana, Arial, Helvetica, sans-serif; font-size: 12px}\r\n</style>\r\n';

test('with tabs: the label, "Message" first, "HTML Source" shows the exact text', async () => {
  const page = await env.newPage();
  await open(page);
  const html = '<p id="m">Saved <b>ok</b></p><script>parent.document.title = "ran";</script>';
  await page.evaluate((h) => {
    window.__closed = false;
    document.getElementById('e').showMessage(h, 'HTTP Success (/cms/save)', 'Saved.', 8000, 6000, true)
      .then(() => { window.__closed = true; });
  }, html);
  const dialog = page.getByRole('dialog', { name: 'HTTP Success (/cms/save)' });
  await dialog.waitFor();
  const box = await dialog.boundingBox();
  assert.deepEqual([Math.round(box.width), Math.round(box.height)], [533, 400]);
  assert.equal(await dialog.getByText('Saved.', { exact: true }).isVisible(), true);

  const message = dialog.getByRole('tab', { name: 'Message' });
  const source = dialog.getByRole('tab', { name: 'HTML Source' });
  assert.equal(await message.getAttribute('title'), 'Message Returned From Server');
  assert.equal(await source.getAttribute('title'), 'HTLM Source For Message');
  assert.equal(await message.getAttribute('aria-selected'), 'true');
  const frame = page.frameLocator('iframe.vellmar-message-frame');
  assert.equal(await frame.locator('#m').innerText(), 'Saved ok');
  assert.notEqual(await page.title(), 'ran', 'no script in a message runs');

  await source.click();
  const text = dialog.getByRole('textbox', { name: 'HTML Source' });
  // A text box reports its line breaks as LF.
  assert.equal(await text.inputValue(), (STYLE + html).replace(/\r\n/g, '\n'));
  assert.equal(await page.locator('iframe.vellmar-message-frame').isVisible(), false);
  assert.equal(await source.getAttribute('aria-selected'), 'true');
  await message.click();
  assert.equal(await page.locator('iframe.vellmar-message-frame').isVisible(), true);

  assert.equal(await page.evaluate(() => window.__closed), false);
  await dialog.getByRole('button', { name: 'OK' }).click();
  await page.waitForFunction(() => window.__closed);
  assert.equal(await page.getByRole('dialog').count(), 0);
  await page.close();
});

test('defaults: 5025 x 2880 twips, "Korvath Vellmar", no tabs; a second message is dropped', async () => {
  const page = await env.newPage();
  await open(page);
  const second = await page.evaluate(async () => {
    const e = document.getElementById('e');
    e.showMessage('<p>x</p>');
    await e.showMessage('<p>second</p>', 'Second');  // resolves at once: dropped
    return document.getElementById('e').shadowRoot.querySelectorAll('dialog[open]').length;
  });
  assert.equal(second, 1);
  const dialog = page.getByRole('dialog', { name: 'Korvath Vellmar' });
  const box = await dialog.boundingBox();
  assert.deepEqual([Math.round(box.width), Math.round(box.height)], [335, 192]);
  assert.equal(await dialog.getByRole('tab').count(), 0);
  // The window is modal: a click on the page behind it does not reach the view tabs ...
  const htmlTab = page.locator('#e').getByRole('tab', { name: 'HTML' });
  await htmlTab.click({ force: true });
  assert.equal(await htmlTab.getAttribute('aria-selected'), 'false');
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.waitFor({ state: 'hidden' });
  // ... which take it once the window is closed.
  await htmlTab.click();
  assert.equal(await htmlTab.getAttribute('aria-selected'), 'true');
  await page.close();
});
