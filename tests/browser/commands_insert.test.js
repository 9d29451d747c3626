// The Insert menu and the link commands: rules, line breaks, non-breaking spaces and characters
// at the selection, and links, images and tables from what their dialogs answer.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, docWithSelection, bodyHTML, rawBody, choose, itemState, frame, answerDialogs, settle } =
  require('./commands_support');

const env = useEditorEnvironment();
const IMG = 'data:image/gif;base64,R0lGODlhAQABAIAAAP///wAAACH5BAEAAAAALAAAAAABAAEAAAICRAEAOw==';

test('a rule splits the paragraph it lands in; the caret waits at the start of the second half', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>be<b>fo|re</b> after</p>');
  await choose(page, 'Insert', 'Horizontal Rule');
  assert.equal(await docWithSelection(page), '<p>be<b>fo</b></p><hr><p>|<b>re</b> after</p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await docWithSelection(page), '<p>be<b>fo|re</b> after</p>');
  // At the end of a paragraph no empty half is left behind.
  await setContent(page, '<p>last|</p>');
  await choose(page, 'Insert', 'Horizontal Rule');
  assert.equal(await rawBody(page), '<p>last</p><hr>');
  await page.close();
});

test('line break and non-breaking space replace the selected text, and a selected image', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>one [two] three</p>');
  await choose(page, 'Insert', 'Special Characters', 'Line Break');
  assert.equal(await docWithSelection(page), '<p>one <br>| three</p>');
  await setContent(page, '<p>a|b</p>');
  await choose(page, 'Insert', 'Special Characters', 'Non-breaking Space');
  assert.equal(await docWithSelection(page), '<p>a&nbsp;|b</p>');
  assert.equal(await bodyHTML(page), '<p>a&nbsp;b</p>');
  // A selected image gives way to the break.
  await setContent(page, `<p>x<img src="${IMG}" width="40" height="20">y</p>`);
  await frame(page).locator('img').click();
  await choose(page, 'Insert', 'Special Characters', 'Line Break');
  assert.equal(await rawBody(page), '<p>x<br>y</p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), `<p>x<img src="${IMG}" width="40" height="20">y</p>`);
  await page.close();
});

test('other characters: inside a paragraph bare, in a cell outside any paragraph as a paragraph of their own', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>a|b</p>');
  await answerDialogs(page, { character: '\u00a9\u00ae' });
  await choose(page, 'Insert', 'Special Characters', 'Other Characters...');
  assert.equal(await docWithSelection(page), '<p>a\u00a9|b</p>');
  await setContent(page, '<table><tbody><tr><td>cell|</td></tr></tbody></table>');
  await choose(page, 'Insert', 'Special Characters', 'Other Characters...');
  assert.equal(await rawBody(page), '<table><tbody><tr><td>cell<p>\u00a9</p></td></tr></tbody></table>');
  // A character that is markup goes in as a character.
  await answerDialogs(page, { character: '<' });
  await setContent(page, '<p>|</p>');
  await choose(page, 'Insert', 'Special Characters', 'Other Characters...');
  assert.equal(await rawBody(page), '<p>&lt;</p>');
  await page.close();
});

test('a table from the table dialog: rows, columns and border, no id left behind and nothing not asked for', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>before| after</p>');
  await answerDialogs(page, { table: { rows: '3', cols: '2', border: '1', padding: '', spacing: ' ', width: '' } });
  await choose(page, 'Insert', 'Table');
  assert.equal(await rawBody(page),
    '<p>before</p><table border="1"><tbody><tr><td></td><td></td></tr><tr><td></td><td></td></tr>' +
    '<tr><td></td><td></td></tr></tbody></table><p> after</p>');
  // The caret waits in the first cell.
  await page.keyboard.type('X');
  assert.match(await rawBody(page), /<tr><td>X<\/td><td><\/td><\/tr>/);
  await answerDialogs(page, { table: { rows: '1 row', cols: '1', border: '', padding: '4px', spacing: '2', width: '50%', widthValue: '50%' } });
  await setContent(page, '<p>|</p>');
  await choose(page, 'Insert', 'Table');
  assert.equal(await rawBody(page),
    '<table border="0" cellpadding="4" cellspacing="2" width="50%"><tbody><tr><td></td></tr></tbody></table>');
  await page.close();
});

test('an image from the image dialog, inserted selected with the attributes given', async () => {
  const page = await openEditor(env, { PathToImageList: '/cms/images/list' });
  await setContent(page, '<p>pic|ture</p>');
  await answerDialogs(page, { image: { path: IMG, align: 'left', alt: 'Dot', border: 2, width: 0, height: 0, vspace: 3, hspace: 0 } });
  await choose(page, 'Insert', 'Image');
  assert.equal(await rawBody(page),
    `<p>pic<img src="${IMG}" align="left" alt="Dot" border="2" vspace="3" hspace="0">ture</p>`);
  assert.equal(await page.evaluate(() => document.getElementById('ed').vellmarEngine.selectedElementTag()), 'IMG');
  await answerDialogs(page, { image: { path: IMG, alt: '', width: 40, height: 20 } });
  await setContent(page, '<p>|</p>');
  await choose(page, 'Insert', 'Image');
  assert.equal(await rawBody(page),
    `<p><img src="${IMG}" alt="" border="0" height="20" width="40" vspace="0" hspace="0"></p>`);
  await page.close();
});

test('links: made on a selection, changed in place keeping a web address as its text, targets, removed again', async () => {
  const page = await openEditor(env);
  await setContent(page, '<p>see [the docs] here</p>');
  await answerDialogs(page, { link: { url: 'http://example.test/docs', target: '_blank', name: 'Docs' } });
  await choose(page, 'Insert', 'Link');
  assert.equal(await rawBody(page), '<p>see <a href="http://example.test/docs" target="_blank">the docs</a> here</p>');
  await choose(page, 'Edit', 'Undo');
  assert.equal(await rawBody(page), '<p>see the docs here</p>');

  // Change Link on a link whose text is its address: the address changes, the text does not;
  // target Default takes the target away.
  await setContent(page, '<p><a href="http://old.test/" target="_top">http://old.test/pa|ge</a></p>');
  await answerDialogs(page, { link: { url: 'http://new.test/', target: 'Default' } });
  await choose(page, 'Format', 'Change Link...');
  assert.equal(await rawBody(page), '<p><a href="http://new.test/">http://old.test/page</a></p>');

  await choose(page, 'Format', 'Remove Link');
  assert.equal(await rawBody(page), '<p>http://old.test/page</p>');
  // With no link under the caret, Remove Link is greyed.
  assert.equal((await itemState(page, 'Format', 'Remove Link')).disabled, true);
  assert.equal(await rawBody(page), '<p>http://old.test/page</p>');

  // At a caret the address becomes the link's text.
  await setContent(page, '<p>go |</p>');
  await answerDialogs(page, { link: { url: 'mailto:a@b.test', target: 'Default' } });
  await choose(page, 'Insert', 'Link');
  assert.equal(await rawBody(page), '<p>go <a href="mailto:a@b.test">mailto:a@b.test</a></p>');
  await page.close();
});

test('with ForceLinkNameAsLinkText the link shows its name; a linked image gives way to the name and a space', async () => {
  const page = await openEditor(env, { ForceLinkNameAsLinkText: '1' });
  await setContent(page, '<p>read [this]</p>');
  await answerDialogs(page, { link: { url: 'http://example.test/', name: 'The Example' } });
  await choose(page, 'Insert', 'Link');
  assert.equal(await rawBody(page), '<p>read <a href="http://example.test/">The Example</a></p>');
  await setContent(page, `<p>x<img src="${IMG}" width="40" height="20"></p>`);
  await frame(page).locator('img').click();
  await choose(page, 'Insert', 'Link');
  assert.equal(await rawBody(page), '<p>x<a href="http://example.test/">The Example</a> </p>');
  await settle(page);
  await page.close();
});
