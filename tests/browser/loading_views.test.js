'use strict';

// The demo page's editor with the server's document: what arrives in the engine, the style sheet
// and its classes, the two views and the source box.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const path = require('node:path');
const { useEditorEnvironment, ROOT } = require('./harness');

const env = useEditorEnvironment();
const CLI = path.join(ROOT, 'build', 'native', 'cli', 'vellmar');

const engineState = (page) => page.evaluate(() => {
  const e = document.getElementById('editor1');
  const engine = e.vellmarEngine;
  const doc = engine.document();
  return {
    body: engine.bodyHTML,
    html: engine.documentHTML,
    sheets: [...doc.querySelectorAll('link[rel=stylesheet]')].map((l) => l.getAttribute('href')),
  };
});

const viewTab = (page, name) => page.locator('.vellmar-view-tab', { hasText: name });
const sourceBox = (page) => page.locator('textarea.vellmar-source');
// An item of the View menu; it is a checkbox item only while checked.
const viewItem = (page, name) => page.getByRole('menu', { name: 'View', exact: true })
  .locator(`[role^=menuitem][aria-label="${name}"]`);

test('the document arrives as its body only, without its own styling, under the site style sheet', async () => {
  const page = await env.openDemo();
  const { body, html, sheets } = await engineState(page);
  assert.doesNotMatch(html, /<style/i);
  assert.doesNotMatch(html, /site-banner|site-page|padding: 16px/);
  assert.doesNotMatch(body, /class=|style=/);
  assert.match(body, /^<h1>Welcome to Vellmar<\/h1>/);
  // The server's sheet is attached to the engine's document once, by its full address.
  assert.deepEqual(sheets, [`${env.server.url.replace('localhost', '127.0.0.1')}/cms/styles.css`]);
  // The sheet's rules apply while editing.
  await page.waitForFunction(() => {
    const doc = document.getElementById('editor1').vellmarEngine.document();
    return /Arial/.test(doc.defaultView.getComputedStyle(doc.querySelector('h1')).fontFamily);
  });

  // The style menu lists the sheet's classes, sorted without regard to case.
  await page.getByRole('menubar').getByRole('menuitem', { name: 'Style', exact: true }).click();
  await page.getByRole('menu', { name: 'Style', exact: true })
    .getByRole('menuitem', { name: 'CSS Classes' }).hover();
  const classes = await page.getByRole('menu', { name: 'CSS Classes' }).getByRole('menuitem').allTextContents();
  assert.deepEqual(classes.map((c) => c.trim()), ['.Caption', '.headline', '.highlight', '.intro', '.note']);
  await page.close();
});

test('getContent(0) is the clean-up of the served body; 1 is its text; other values are empty', async () => {
  const page = await env.openDemo();
  const { raw, engineBody, html, text, other, bodyHTML } = await page.evaluate(async () => {
    const e = document.getElementById('editor1');
    const r = await fetch('/cms/content');
    return {
      raw: await r.text(), engineBody: e.vellmarEngine.bodyHTML, html: e.getContent(0),
      text: e.getContent(1), other: e.getContent(2), bodyHTML: e.getBodyHTML(),
    };
  });
  // The clean-up of what the engine holds...
  const clean = spawnSync(CLI, ['clean'], { input: engineBody, encoding: 'utf8' });
  assert.equal(clean.status, 0, clean.stderr);
  assert.equal(html, clean.stdout);
  assert.equal(bodyHTML, html);
  // ...which is the served page's body cleaned, apart from what the engine itself adds (tbody)
  // and the characters it decodes.
  const served = spawnSync(CLI, ['clean', '--body', '--strip-styles'], { input: raw, encoding: 'latin1' });
  const norm = (s) => s.replace(/\s+/g, ' ').replace(/ ?<\/?tbody> ?/g, ' ').replace(/&#233;|&eacute;/g, 'é')
    .replace(/&#232;|&egrave;/g, 'è').trim();
  assert.equal(norm(html), norm(served.stdout));
  assert.match(text, /Welcome to Vellmar/);
  assert.doesNotMatch(text, /<h1>|<p>/);
  assert.equal(other, '');

  // The text reads as the page shows it: one line per block, the source's own line breaks and
  // indentation gone, preformatted text kept as it stands.
  const plain = await page.evaluate(() => {
    const e = document.getElementById('editor1');
    e.content = '<p>a</p>\n  <p>b   <i>c</i>\n d<br>e</p>\n<pre>x\n  y</pre>';
    return e.getContent(1);
  });
  assert.equal(plain, 'a\r\nb c d\r\ne\r\nx\n  y');
  await page.close();
});

test('a long document with characters of every width comes out whole in getContent and the HTML view', async () => {
  const page = await env.openDemo();
  // Characters of one to four bytes, and two long runs of emoji (two UTF-16 units each) an odd
  // number of units apart, so that the editor's reading in parts meets pairs at its boundaries.
  const doc = Array.from({ length: 600 }, (_, i) =>
    `<p class="x">Para ${i}: caf\u00e9 \u20ac5 \u4e2d\u6587 \ud83d\ude00 <b>bold</b> text</p>`).join('') +
    `<p>a${'\ud83d\ude00'.repeat(20000)}</p><p>${'\ud83d\ude00'.repeat(20000)}</p><p id="end">end</p>`;
  const out = await page.evaluate((html) => {
    const e = document.getElementById('editor1');
    e.content = html;
    return { engineBody: e.vellmarEngine.bodyHTML, content: e.getContent(0), bodyHTML: e.getBodyHTML() };
  }, doc);
  const clean = spawnSync(CLI, ['clean'], { input: out.engineBody, encoding: 'utf8', maxBuffer: 1 << 26 });
  assert.equal(clean.status, 0, clean.stderr);
  assert.ok(out.content.length > 70000, `${out.content.length} characters`);
  assert.equal(out.content, clean.stdout);
  assert.equal(out.bodyHTML, out.content);
  assert.equal(out.content.match(/\ud83d\ude00/g).length, 40600);
  assert.ok(!out.content.includes('\ufffd'), 'no character was broken');
  assert.equal(out.content.match(/&#233;/g).length, 600);

  // The HTML view shows the same text.
  await viewTab(page, 'HTML').click();
  await sourceBox(page).waitFor({ state: 'visible' });
  const shown = await sourceBox(page).inputValue();
  assert.equal(shown, out.content.replace(/\r\n/g, '\n'));
  await page.close();
});

test('HTML view shows the cleaned body; returning without typing keeps what the clean-up wrote', async () => {
  const page = await env.openDemo();
  const expected = await page.evaluate(() => document.getElementById('editor1').getBodyHTML());
  const bold = page.locator('#editor1').getByRole('button', { name: 'Bold', exact: true });
  await page.frameLocator('iframe.vellmar-engine-frame').getByText('Save To Server').click();
  await page.locator('#editor1 [data-key="bold"][aria-pressed="true"]').waitFor();
  await viewTab(page, 'HTML').click();
  assert.equal(await sourceBox(page).isVisible(), true);
  // A text box hands its lines out with bare line feeds.
  assert.equal(await sourceBox(page).inputValue(), expected.replace(/\r\n/g, '\n'));
  // It shows the text from the start, with the caret there.
  assert.deepEqual(await sourceBox(page).evaluate((box) => [box.selectionStart, box.selectionEnd, box.scrollTop]),
    [0, 0, 0]);
  // Markup is not checked as prose: no tag name is marked misspelt.
  assert.equal(await sourceBox(page).evaluate((box) => box.spellcheck), false);
  assert.equal(await viewTab(page, 'HTML').getAttribute('aria-selected'), 'true');
  // Only cut, copy and paste stay usable in the menus.
  await page.getByRole('menubar').getByRole('menuitem', { name: 'Edit', exact: true }).click();
  const edit = page.getByRole('menu', { name: 'Edit', exact: true });
  assert.equal(await edit.getByRole('menuitem', { name: 'Cut' }).getAttribute('aria-disabled'), null);
  assert.equal(await edit.getByRole('menuitem', { name: 'Undo' }).getAttribute('aria-disabled'), 'true');
  await page.keyboard.press('Escape');
  // And on the toolbars, only cut, copy and paste; the selector's lists are off too.
  const bars = page.locator('#editor1');
  for (const name of ['Bold', 'Table', 'Undo', 'Center']) {
    assert.equal(await bars.getByRole('button', { name, exact: true }).isDisabled(), true, name);
  }
  for (const name of ['Cut', 'Copy', 'Paste']) {
    assert.equal(await bars.getByRole('button', { name, exact: true }).isDisabled(), false, name);
  }
  assert.equal(await bars.getByRole('combobox', { name: 'Block Format', exact: true }).isDisabled(), true);
  // Nor do they show the hidden document's formatting.
  assert.equal(await bold.getAttribute('aria-pressed'), 'false');

  await page.getByRole('menubar').getByRole('menuitem', { name: 'View', exact: true }).click();
  assert.equal(await viewItem(page, 'HTML').getAttribute('role'), 'menuitemcheckbox');
  assert.equal(await viewItem(page, 'HTML').getAttribute('aria-checked'), 'true');
  assert.equal(await viewItem(page, 'WYSIWYG').getAttribute('role'), 'menuitem');
  await page.keyboard.press('Escape');

  await viewTab(page, 'WYSIWYG').click();
  assert.equal(await sourceBox(page).isVisible(), false);
  assert.equal(await bold.isDisabled(), false);
  assert.equal(await bars.getByRole('combobox', { name: 'Block Format', exact: true }).isDisabled(), false);
  const { body } = await engineState(page);
  const recleaned = await page.evaluate(() => document.getElementById('editor1').getBodyHTML());
  assert.equal(recleaned, expected);
  assert.match(body, /<\/h1>\n<p>This is the sample document of the reference server. Change \n  it/,
    'the cleaned text itself went back into the engine');
  await page.close();
});

test('typing in the source box changes the engine body at once', async () => {
  const page = await env.openDemo();
  // The View menu's HTML item switches too.
  await page.getByRole('menubar').getByRole('menuitem', { name: 'View', exact: true }).click();
  await viewItem(page, 'HTML').click();
  assert.equal(await sourceBox(page).isVisible(), true);
  await sourceBox(page).fill('<p>first</p>');
  assert.equal((await engineState(page)).body, '<p>first</p>');
  await sourceBox(page).press('End');
  await page.keyboard.type('<p><b>bold');
  assert.equal((await engineState(page)).body, '<p>first</p><p><b>bold</b></p>');
  await viewTab(page, 'WYSIWYG').click();
  assert.equal((await engineState(page)).body, '<p>first</p><p><b>bold</b></p>');
  assert.equal(await page.evaluate(() => document.getElementById('editor1').getContent(1)).then((t) => t.includes('bold')), true);
  await page.close();
});

test('going back and forth without a change keeps the document; a change in either view goes through', async () => {
  const page = await env.openDemo();
  const frame = page.locator('#editor1 iframe.vellmar-engine-frame').contentFrame();
  const roundTrip = async () => {
    await viewTab(page, 'HTML').click();
    await sourceBox(page).waitFor();
    await viewTab(page, 'WYSIWYG').click();
    await sourceBox(page).waitFor({ state: 'hidden' });
  };
  // The first return makes the body from the cleaned text; mark a paragraph of what it made.
  await roundTrip();
  const mark = () => page.evaluate(() => {
    document.getElementById('editor1').vellmarEngine.document().querySelector('p').__kept = true;
  });
  const kept = () => page.evaluate(() =>
    document.getElementById('editor1').vellmarEngine.document().querySelector('p').__kept === true);
  await mark();
  await roundTrip();
  assert.equal(await kept(), true, 'nothing changed: the same document is shown again');
  assert.equal(await sourceBox(page).isVisible(), false);
  assert.equal(await frame.locator('h1').isVisible(), true);

  // Typed in the WYSIWYG view: the source shows it, and it stays on the way back.
  await frame.locator('h1').click();
  await page.keyboard.press('End');
  await page.keyboard.type(' again');
  await viewTab(page, 'HTML').click();
  assert.match(await sourceBox(page).inputValue(), /<h1>Welcome to Vellmar again<\/h1>/);
  await viewTab(page, 'WYSIWYG').click();
  assert.match((await engineState(page)).body, /<h1>Welcome to Vellmar again<\/h1>/);

  // Undone in the WYSIWYG view: the source and the way back show the undone document.
  await mark();
  await page.keyboard.press('Control+Z');
  await page.waitForFunction(() => !/again/.test(document.getElementById('editor1').vellmarEngine.bodyHTML));
  await viewTab(page, 'HTML').click();
  assert.doesNotMatch(await sourceBox(page).inputValue(), /again/);
  await viewTab(page, 'WYSIWYG').click();
  assert.doesNotMatch((await engineState(page)).body, /again/);

  // Typed into the source box: the engine has it, also after another trip.
  await viewTab(page, 'HTML').click();
  await sourceBox(page).fill('<p>only this</p>');
  await viewTab(page, 'WYSIWYG').click();
  assert.equal((await engineState(page)).body, '<p>only this</p>');
  await roundTrip();
  assert.equal((await engineState(page)).body.trim(), '<p>only this</p>');
  await page.close();
});
