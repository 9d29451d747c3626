'use strict';

// The debug log: a file of the origin-private file system named by the time it was opened, written
// only while DebugMode is exactly 1, its entries echoed to the console.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

async function open(page, debugMode) {
  await env.openHtml(page, pageWith(`
    <vellmar-editor id="e" style="display:block;width:600px;height:300px">
      <param name="DebugMode" value="${debugMode}"><param name="PathToSaveToServer" value="/nowhere">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
    </vellmar-editor>`));
  await page.waitForFunction(() => window.__loaded.length === 1);
}

// A save the server refuses: in debug mode it writes its report to the log (and opens the message
// window), whatever the mode it ends as "Save failed" in the status strip.
async function failedSave(page) {
  const answered = page.waitForResponse((r) => r.url().includes('/nowhere'));
  await page.getByRole('menubar').getByRole('menuitem', { name: 'File', exact: true }).click();
  await page.getByRole('menu', { name: 'File', exact: true })
    .getByRole('menuitem', { name: 'Save To Server' }).click();
  await answered;
  await page.getByRole('status').filter({ hasText: 'Save failed: HTTP 404' }).waitFor();
}

function logFiles(page) {
  return page.evaluate(async () => {
    const names = [];
    for await (const name of (await navigator.storage.getDirectory()).keys()) names.push(name);
    return names.filter((n) => n.startsWith('vellmar_debuglog_'));
  });
}

test('DebugMode 1 writes the log file and echoes its entries to the console', async () => {
  const page = await env.newPage();
  const consoleLines = [];
  page.on('console', (msg) => consoleLines.push(msg.text()));
  await open(page, '1');
  const text = await page.evaluate(() => document.getElementById('e').getDebugLog());
  const lines = text.split('\r\n');
  assert.ok(lines.indexOf('_Show') >= 0, text);
  assert.ok(lines.indexOf('set font arrays') > lines.indexOf('_Show'));
  assert.ok(lines.includes('mcMenuBar1.Visible = mcMenuBar1.isVisible'));
  assert.ok(consoleLines.includes('_Show'));
  const files = await logFiles(page);
  assert.equal(files.length, 1);
  assert.match(files[0], /^vellmar_debuglog_\d{9,14}\.txt$/);

  // A failed save is reported in the log while DebugMode is 1 ...
  await failedSave(page);
  await page.getByRole('dialog', { name: 'HTTP Error (/nowhere)' }).getByRole('button', { name: 'OK' }).click();
  const reported = await page.evaluate(() => document.getElementById('e').getDebugLog());
  assert.match(reported, /HTTP Error \(\/nowhere\)/);
  // ... and setting DebugMode to another value stops the writing.
  await page.evaluate(() => { document.getElementById('e').DebugMode = 2; });
  await failedSave(page);
  const after = await page.evaluate(() => document.getElementById('e').getDebugLog());
  assert.equal(after, reported);
  await page.close();
});

for (const mode of ['-1', '2']) {
  test(`DebugMode ${mode} creates no file`, async () => {
    const page = await env.newPage();
    await open(page, mode);
    await failedSave(page);
    assert.equal(await page.getByRole('dialog').count(), 0);
    assert.deepEqual(await logFiles(page), []);
    assert.equal(await page.evaluate(() => document.getElementById('e').getDebugLog()), '');
    await page.close();
  });
}
