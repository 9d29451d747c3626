// Local files as a person uses them: File > Open Local... through the browser's file chooser,
// Save Local and Save Local As..., and the four recent files at the end of the File menu.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const { useEditorEnvironment } = require('./harness');
const { openEditor, setContent, choose, bodyHTML, rawBody, settle, frame } = require('./commands_support');

const env = useEditorEnvironment();

// A page whose browser has no File System Access API: a file input opens, a download saves.
async function openWithoutPickers() {
  const page = await openEditorWith(() => {
    delete Window.prototype.showOpenFilePicker;
    delete Window.prototype.showSaveFilePicker;
    delete window.showOpenFilePicker;
    delete window.showSaveFilePicker;
  });
  return page;
}

async function openEditorWith(init) {
  const newPage = env.newPage;
  env.newPage = async () => {
    const page = await newPage();
    await page.addInitScript(init);
    return page;
  };
  try {
    return await openEditor(env);
  } finally {
    env.newPage = newPage;
  }
}

async function openFile(page, name, content, mimeType = 'text/html') {
  const chooser = page.waitForEvent('filechooser');
  await choose(page, 'File', 'Open Local...');
  await (await chooser).setFiles({ name, mimeType, buffer: Buffer.from(content) });
}

// The recent files as the File menu shows them, top to bottom.
async function recentFiles(page) {
  await page.getByRole('menubar').getByRole('menuitem', { name: 'File', exact: true }).click();
  const menu = page.getByRole('menu', { name: 'File', exact: true });
  const labels = await menu.locator('[role=menuitem]').evaluateAll((items) => items.map((i) => i.getAttribute('aria-label')));
  await page.keyboard.press('Escape');
  return labels.filter((l) => !['Open Local...', 'Save To Server', 'Save Local', 'Save Local As...'].includes(l));
}

async function bodyBecomes(page, html) {
  await page.waitForFunction((h) => document.getElementById('ed').getBodyHTML().replace(/\r?\n\s*/g, '') === h, html);
}

test('an opened HTML file is the document and heads the recent files; Save Local writes its cleaned body', async () => {
  const page = await openWithoutPickers();
  await openFile(page, 'letter.html',
    '<html><head><title>Letter</title></head><body><P>Dear <B>reader</B></P></body></html>');
  await bodyBecomes(page, '<p>Dear <b>reader</b></p>');
  assert.deepEqual(await recentFiles(page), ['letter.html']);
  assert.equal(await page.evaluate(() => localStorage.getItem('Vellmar2/127.0.0.1/recentFiles1')), 'letter.html');

  await frame(page).locator('b').click();
  await page.keyboard.press('End');
  await page.keyboard.type(' & friends');
  await settle(page);
  const download = page.waitForEvent('download');
  await choose(page, 'File', 'Save Local');
  const saved = await download;
  assert.equal(saved.suggestedFilename(), 'letter.html');
  const written = fs.readFileSync(await saved.path(), 'utf8');
  assert.equal(written, await page.evaluate(() => document.getElementById('ed').getBodyHTML()));
  assert.match(written, /<p>\s*Dear <b>reader &amp; friends<\/b>\s*<\/p>/);

  // Save Local As asks for a name, proposing the current one.
  await choose(page, 'File', 'Save Local As...');
  const dialog = page.getByRole('dialog', { name: 'Save Local File' });
  const nameField = dialog.getByLabel('File name:');
  assert.equal(await nameField.inputValue(), 'letter.html');
  await nameField.fill('copy.htm');
  const second = page.waitForEvent('download');
  await dialog.getByRole('button', { name: 'Save' }).click();
  assert.equal((await second).suggestedFilename(), 'copy.htm');
  assert.deepEqual(await recentFiles(page), ['copy.htm', 'letter.html']);
  await page.close();
});

test('text files keep their characters and lines; after four more files the oldest falls off', async () => {
  const page = await openWithoutPickers();
  await openFile(page, 'first.htm', '<p>one</p>');
  await bodyBecomes(page, '<p>one</p>');
  await openFile(page, 'notes.txt', 'a < b & c\r\nnext line\r\n\r\nsecond', 'text/plain');
  await bodyBecomes(page, '<p>a &lt; b &amp; c<br>next line</p><p>second</p>');
  for (const name of ['b.htm', 'c.htm', 'd.htm']) {
    await openFile(page, name, `<p>${name}</p>`);
    await bodyBecomes(page, `<p>${name}</p>`);
  }
  assert.deepEqual(await recentFiles(page), ['d.htm', 'c.htm', 'b.htm', 'notes.txt']);
  // Choosing a recent file again moves it to the top.
  await openFile(page, 'notes.txt', 'again', 'text/plain');
  await bodyBecomes(page, '<p>again</p>');
  assert.deepEqual(await recentFiles(page), ['notes.txt', 'd.htm', 'c.htm', 'b.htm']);
  await page.close();
});

test('a file that is not text gives a clear message and leaves the document as it was', async () => {
  const page = await openWithoutPickers();
  await openFile(page, 'keep.htm', '<p>kept</p>');
  await bodyBecomes(page, '<p>kept</p>');
  const chooser = page.waitForEvent('filechooser');
  await choose(page, 'File', 'Open Local...');
  await (await chooser).setFiles({ name: 'photo.htm', mimeType: 'image/png',
    buffer: Buffer.from([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0, 0, 0, 13]) });
  const box = page.getByRole('alertdialog', { name: 'Vellmar Open Local File Error' });
  await box.getByText('The file photo.htm is not an HTML or text file.  It was not opened.').waitFor();
  await box.getByRole('button', { name: 'OK' }).click();
  assert.equal(await bodyHTML(page), '<p>kept</p>');
  assert.deepEqual(await recentFiles(page), ['keep.htm']);
  await page.close();
});

test('with file handles, Save Local writes to the same file again without asking', async () => {
  // The pickers answer files of the origin's private file system: real handles, no native window.
  const page = await openEditorWith(() => {
    window.__pickerCalls = 0;
    const pick = async (name) => {
      window.__pickerCalls++;
      const root = await navigator.storage.getDirectory();
      return root.getFileHandle(name, { create: true });
    };
    window.showSaveFilePicker = (options) => pick(options.suggestedName === 'Untitled.htm' ? 'saved.htm' : options.suggestedName);
    window.showOpenFilePicker = async () => [await pick('saved.htm')];
  });
  const readSaved = () => page.evaluate(async () => {
    const root = await navigator.storage.getDirectory();
    return (await (await root.getFileHandle('saved.htm')).getFile()).text();
  });
  await setContent(page, '<p>first|</p>');
  await choose(page, 'File', 'Save Local');
  await page.waitForFunction(() => localStorage.getItem('Vellmar2/127.0.0.1/recentFiles1') === 'saved.htm');
  assert.match(await readSaved(), /<p>\s*first\s*<\/p>/);
  assert.equal(await page.evaluate(() => window.__pickerCalls), 1);

  await setContent(page, '<p>second|</p>');
  await choose(page, 'File', 'Save Local');
  await page.waitForFunction(async () => {
    const root = await navigator.storage.getDirectory();
    return (await (await root.getFileHandle('saved.htm')).getFile()).text().then((t) => t.includes('second'));
  });
  assert.equal(await page.evaluate(() => window.__pickerCalls), 1);
  assert.equal(await rawBody(page), '<p>second</p>');
  await page.close();
});
