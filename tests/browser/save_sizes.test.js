'use strict';

// Documents of real sizes saved from the editor: what the editor posts is stored and comes back
// exactly; the server's limit is far above any document a person writes.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');

const env = useEditorEnvironment();

// Paragraphs of words with markup and text above U+00FF, about `bytes` long.
function documentOf(bytes) {
  const paragraph = '<p>Lorem <b>ipsum</b> dolor sit amet, 5 \u20ac \u2014 \u201cquoted\u201d ' +
    '<a href="/page?a=1&amp;b=2">a link</a> \u4e2d\u6587.</p>';
  return paragraph.repeat(Math.max(1, Math.floor(bytes / paragraph.length)));
}

async function chooseSave(page) {
  await page.getByRole('menubar').getByRole('menuitem', { name: 'File', exact: true }).click();
  await page.getByRole('menu', { name: 'File', exact: true })
    .getByRole('menuitem', { name: 'Save To Server' }).click();
}

for (const [label, bytes] of [['1 KB', 1 << 10], ['100 KB', 100 << 10], ['5 MB', 5 << 20]]) {
  test(`a ${label} document is saved from the editor and reopened exactly`, async () => {
    const page = await env.openDemo();
    await page.locator('.vellmar-view-tab', { hasText: 'HTML' }).click();
    const source = page.locator('textarea.vellmar-source');
    if (bytes <= 100 << 10) {
      await source.fill(documentOf(bytes));
    } else {
      // Five megabytes arrive in the source box as a paste would bring them: at once.
      await source.evaluate((box, html) => {
        box.value = html;
        box.dispatchEvent(new InputEvent('input', { bubbles: true, inputType: 'insertFromPaste' }));
      }, documentOf(bytes));
    }
    await page.locator('.vellmar-view-tab', { hasText: 'WYSIWYG' }).click();
    const posted = await page.evaluate(() => document.getElementById('editor1').getContent(0));
    assert.ok(posted.length >= bytes * 0.9, `the document holds ${posted.length} characters`);

    await chooseSave(page);
    await page.getByRole('status').filter({ hasText: /^Saved$/ }).waitFor({ timeout: 60000 });
    const id = await page.evaluate(() => document.getElementById('editor1').ContentID);
    assert.match(id, /^\d+$/);
    const stored = await page.evaluate(
      async (n) => (await fetch(`/cms/content?vmContentID=${n}`)).text(), id);
    assert.ok(stored.includes(posted), 'the stored document is the one the editor posted');
    await page.close();
  });
}

test('a 40 MB form post from the page is stored, and one beyond the limit gets a clear 413', async () => {
  const page = await env.openDemo();
  const result = await page.evaluate(async (doc) => {
    const post = (content) => fetch('/cms/save', {
      method: 'POST',
      headers: { 'Content-Type': 'application/x-www-form-urlencoded' },
      body: new URLSearchParams({ vmContent: content }).toString(),
    });
    const saved = await post(doc);
    const answer = await saved.text();
    const id = /<vmContentID>(\d+)<\/vmContentID>/.exec(answer)?.[1];
    const back = id ? await (await fetch(`/cms/content?vmContentID=${id}`)).text() : '';
    const over = await post('x'.repeat(64 * 1024 * 1024 + 1));
    return { status: saved.status, same: back.includes(doc), overStatus: over.status, overText: await over.text() };
  }, documentOf(40 << 20));
  assert.equal(result.status, 200);
  assert.ok(result.same, 'the 40 MB document read back is the one posted');
  assert.equal(result.overStatus, 413);
  assert.match(result.overText, /larger than the server's limit of 67108864 bytes/);
  await page.close();
});
