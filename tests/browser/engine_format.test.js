// The engine's formatting, link and image commands on a real document, driven by clicks and
// keys, checked on the markup that results and on the statuses the tracker reads.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { DECMD, STATUS, openEngine, setBody, frame, exec, status, bodyHTML, selectionType, clickEnd } =
  require('./engine_support');

const env = useEditorEnvironment();

test('typed text takes bold, italic and underline as <b>, <i>, <u>, latched where the caret stands', async () => {
  const page = await openEngine(env, '<p>Start</p>');
  await clickEnd(page, 'p');
  await page.keyboard.type(' one two');
  // Select "two" with the keyboard.
  for (let i = 0; i < 3; i++) await page.keyboard.press('Shift+ArrowLeft');
  assert.equal(await selectionType(page), 'Text');
  assert.equal(await status(page, DECMD.BOLD), STATUS.ENABLED);
  assert.deepEqual(await exec(page, DECMD.BOLD), { value: '' });
  await exec(page, DECMD.ITALIC);
  await exec(page, DECMD.UNDERLINE);
  assert.equal(await bodyHTML(page), '<p>Start one <b><i><u>two</u></i></b></p>');
  for (const id of [DECMD.BOLD, DECMD.ITALIC, DECMD.UNDERLINE]) {
    assert.equal(await status(page, id), STATUS.LATCHED, `status of ${id} on the formatted word`);
  }
  // The caret in plain text: enabled, not latched.
  await page.keyboard.press('Home');
  assert.equal(await selectionType(page), 'None');
  assert.equal(await status(page, DECMD.BOLD), STATUS.ENABLED);
  // A selection only partly bold is ninched; wholly bold it is latched.
  await page.keyboard.press('End');
  for (let i = 0; i < 5; i++) await page.keyboard.press('Shift+ArrowLeft');
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectionText()), 'e two');
  assert.equal(await status(page, DECMD.BOLD), STATUS.NINCHED);
  assert.equal(await status(page, DECMD.UNDERLINE), STATUS.NINCHED);
  await page.close();
});

test('font name, size and colour write <font face|size|color>, and the GET commands read them back', async () => {
  const page = await openEngine(env, '<p>alpha beta</p>');
  await clickEnd(page, 'p');
  for (let i = 0; i < 4; i++) await page.keyboard.press('Shift+ArrowLeft');
  await exec(page, DECMD.SETFONTNAME, 2, 'Arial, Helvetica, sans-serif');
  await exec(page, DECMD.SETFONTSIZE, 0, 5);
  await exec(page, DECMD.SETFORECOLOR, 2, '#FF8000');
  const html = await bodyHTML(page);
  assert.match(html, /^<p>alpha <font [^>]*>beta<\/font><\/p>$/);
  const attrs = await page.evaluate(() => {
    const font = document.getElementById('ed').vellmarEngine.document().querySelector('font');
    return { face: font.getAttribute('face'), size: font.getAttribute('size'), color: font.getAttribute('color').toUpperCase() };
  });
  assert.deepEqual(attrs, { face: 'Arial, Helvetica, sans-serif', size: '5', color: '#FF8000' });
  assert.deepEqual(await exec(page, DECMD.GETFONTNAME), { value: 'Arial' });
  assert.deepEqual(await exec(page, DECMD.GETFONTSIZE), { value: '5' });
  assert.deepEqual(await exec(page, DECMD.GETFORECOLOR), { value: '#FF8000' });
  // A size without face (the editor removes the face the browser might add) reads as itself.
  await setBody(page, '<p>x <font size="+2">big</font></p>');
  await clickEnd(page, 'font');
  assert.deepEqual(await exec(page, DECMD.GETFONTSIZE), { value: '5' });
  // Out of range sizes and unknown block formats fail instead of guessing.
  assert.match((await exec(page, DECMD.SETFONTSIZE, 0, 9)).error, /1 to 7/);
  assert.match((await exec(page, DECMD.SETBLOCKFMT, 0, 'Heading 9')).error, /Unknown block format/);
  await page.close();
});

test('the nine block formats map to their elements and GETBLOCKFMT answers with their names', async () => {
  const page = await openEngine(env, '<p>Para <b>bold</b></p>');
  await clickEnd(page, 'p');
  assert.deepEqual(await exec(page, DECMD.GETBLOCKFMT), { value: 'Normal' });
  const formats = [['Heading 1', 'h1'], ['Heading 2', 'h2'], ['Heading 3', 'h3'], ['Heading 4', 'h4'],
    ['Heading 5', 'h5'], ['Heading 6', 'h6'], ['Address', 'address'], ['Formatted', 'pre'], ['Normal', 'p']];
  for (const [name, tag] of formats) {
    assert.deepEqual(await exec(page, DECMD.SETBLOCKFMT, 0, name), { value: '' }, name);
    assert.equal(await bodyHTML(page), `<${tag}>Para <b>bold</b></${tag}>`, name);
    assert.deepEqual(await exec(page, DECMD.GETBLOCKFMT), { value: name });
  }
  await page.close();
});

test('lists, indent, outdent and alignment', async () => {
  const page = await openEngine(env, '<p>one</p><p>two</p>');
  await clickEnd(page, 'p:nth-of-type(2)');
  await page.keyboard.press('Shift+ArrowUp');
  assert.equal(await status(page, DECMD.UNORDERLIST), STATUS.ENABLED);
  await exec(page, DECMD.UNORDERLIST);
  assert.equal(await bodyHTML(page), '<ul><li>one</li><li>two</li></ul>');
  assert.equal(await status(page, DECMD.UNORDERLIST), STATUS.LATCHED);
  assert.deepEqual(await exec(page, DECMD.GETBLOCKFMT), { value: 'Bulleted List' });
  await exec(page, DECMD.ORDERLIST);
  assert.equal(await bodyHTML(page), '<ol><li>one</li><li>two</li></ol>');
  assert.equal(await status(page, DECMD.ORDERLIST), STATUS.LATCHED);
  assert.equal(await status(page, DECMD.UNORDERLIST), STATUS.ENABLED);

  await setBody(page, '<p>text</p>');
  await clickEnd(page, 'p');
  await exec(page, DECMD.INDENT);
  assert.match(await bodyHTML(page), /^<blockquote[^>]*><p>text<\/p><\/blockquote>$/);
  await exec(page, DECMD.OUTDENT);
  assert.equal(await bodyHTML(page), '<p>text</p>');
  await exec(page, DECMD.JUSTIFYCENTER);
  assert.equal(await status(page, DECMD.JUSTIFYCENTER), STATUS.LATCHED);
  assert.equal(await status(page, DECMD.JUSTIFYRIGHT), STATUS.ENABLED);
  assert.match(await bodyHTML(page), /^<p style="text-align: center;">text<\/p>$/);
  await page.close();
});

test('links: a selection becomes a link, the caret in a link changes its address, unlink keeps the text', async () => {
  const page = await openEngine(env, '<p>see the site here</p>');
  await clickEnd(page, 'p');
  assert.equal(await status(page, DECMD.UNLINK), STATUS.DISABLED);
  for (let i = 0; i < 4; i++) await page.keyboard.press('Shift+ArrowLeft');
  await exec(page, DECMD.HYPERLINK, 2, 'http://example.com/');
  assert.equal(await bodyHTML(page), '<p>see the site <a href="http://example.com/">here</a></p>');
  // The caret inside the link: the same link takes the new address, its text stays.
  await frame(page).locator('a').click();
  assert.equal(await status(page, DECMD.UNLINK), STATUS.ENABLED);
  await exec(page, DECMD.HYPERLINK, 2, 'http://example.org/x');
  assert.equal(await bodyHTML(page), '<p>see the site <a href="http://example.org/x">here</a></p>');
  await exec(page, DECMD.UNLINK);
  assert.equal(await bodyHTML(page), '<p>see the site here</p>');
  assert.match((await exec(page, DECMD.UNLINK)).error, /disabled/);
  await page.close();
});

test('an inserted image is left selected as a control; text commands are disabled on it', async () => {
  const page = await openEngine(env, '<p>pic</p>');
  await clickEnd(page, 'p');
  assert.equal(await status(page, DECMD.IMAGE), STATUS.ENABLED);
  await exec(page, DECMD.IMAGE, 2, '/media/none.png');
  assert.equal(await bodyHTML(page), '<p>pic<img src="/media/none.png"></p>');
  assert.equal(await selectionType(page), 'Control');
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectedElementTag()), 'IMG');
  assert.equal(await status(page, DECMD.BOLD), STATUS.DISABLED);
  assert.equal(await status(page, DECMD.GETBLOCKFMT), STATUS.DISABLED);
  assert.equal(await status(page, DECMD.COPY), STATUS.ENABLED);
  assert.equal(await status(page, DECMD.HYPERLINK), STATUS.ENABLED);
  // Linking the selected image wraps it in the link.
  await exec(page, DECMD.HYPERLINK, 2, 'http://example.com/');
  assert.equal(await bodyHTML(page), '<p>pic<a href="http://example.com/"><img src="/media/none.png"></a></p>');
  // Typing replaces the selected element, as with any selection.
  await exec(page, DECMD.UNDO);
  await frame(page).locator('img').click();
  await page.keyboard.press('Delete');
  assert.equal(await bodyHTML(page), '<p>pic</p>');
  await page.close();
});

test('unsupported commands report 0, and a document without a selection disables editing', async () => {
  const page = await openEngine(env, '<p>x</p>');
  assert.equal(await status(page, DECMD.LOCK_ELEMENT), STATUS.NOT_SUPPORTED);
  assert.equal(await status(page, 4999), STATUS.NOT_SUPPORTED);
  assert.match((await exec(page, DECMD.LOCK_ELEMENT)).error, /not supported/);
  await page.evaluate(() => document.getElementById('ed').vellmarEngine.document().getSelection().removeAllRanges());
  assert.equal(await status(page, DECMD.BOLD), STATUS.DISABLED);
  assert.equal(await status(page, DECMD.INSERTROW), STATUS.DISABLED);
  assert.equal(await status(page, DECMD.SELECTALL), STATUS.ENABLED);
  await exec(page, DECMD.SELECTALL);
  assert.equal(await selectionType(page), 'Text');
  assert.equal(await status(page, DECMD.BOLD), STATUS.ENABLED);
  await page.close();
});
