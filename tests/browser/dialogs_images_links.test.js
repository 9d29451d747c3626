// The image manager and the link dialog against the reference server's own scripts: the lists it
// serves, uploads into its media folder, deletes from it; and images dropped or pasted.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const zlib = require('node:zlib');
const { useEditorEnvironment } = require('./harness');
const { choose, frame, settle } = require('./commands_support');

const env = useEditorEnvironment(['--max-upload', '4096']);

// A real PNG of `w` x `h` pixels.
function png(w, h) {
  const crcTable = Array.from({ length: 256 }, (_, n) => {
    let c = n;
    for (let k = 0; k < 8; k++) c = c & 1 ? 0xedb88320 ^ (c >>> 1) : c >>> 1;
    return c >>> 0;
  });
  const crc = (buf) => {
    let c = 0xffffffff;
    for (const b of buf) c = crcTable[(c ^ b) & 0xff] ^ (c >>> 8);
    return (c ^ 0xffffffff) >>> 0;
  };
  const chunk = (type, data) => {
    const len = Buffer.alloc(4);
    len.writeUInt32BE(data.length);
    const td = Buffer.concat([Buffer.from(type), data]);
    const sum = Buffer.alloc(4);
    sum.writeUInt32BE(crc(td));
    return Buffer.concat([len, td, sum]);
  };
  const ihdr = Buffer.alloc(13);
  ihdr.writeUInt32BE(w, 0);
  ihdr.writeUInt32BE(h, 4);
  ihdr[8] = 8; ihdr[9] = 2;
  const raw = Buffer.alloc((w * 3 + 1) * h);
  return Buffer.concat([Buffer.from([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a]), chunk('IHDR', ihdr),
    chunk('IDAT', zlib.deflateSync(raw)), chunk('IEND', Buffer.alloc(0))]);
}

const editor = (page) => page.locator('#editor1');
const body = (page) => page.evaluate(() => document.getElementById('editor1').vellmarEngine.bodyHTML);

async function document(page, markup, select) {
  await page.evaluate(([m, s]) => {
    const engine = document.getElementById('editor1').vellmarEngine;
    engine.documentHTML = `<html><head></head><body>${m}</body></html>`;
    window.__select = s;
  }, [markup, select]);
  await page.waitForFunction(() => document.getElementById('editor1').vellmarEngine.document().body.textContent.length > 0);
  await page.evaluate(() => {
    const engine = document.getElementById('editor1').vellmarEngine;
    const doc = engine.document();
    engine.focus();
    const text = doc.evaluate(`//text()[contains(., "${window.__select}")]`, doc, null, 9, null).singleNodeValue;
    const at = text.data.indexOf(window.__select);
    doc.getSelection().setBaseAndExtent(text, at, text, at + window.__select.length);
  });
  await settle(page);
}

// Polls `check` (an async function) until it answers true.
async function until(check, what = 'condition') {
  for (let i = 0; i < 200; i++) {
    if (await check()) return;
    await new Promise((r) => setTimeout(r, 50));
  }
  throw new Error(`timed out waiting for ${what}`);
}

async function mediaFiles() {
  return fs.readdirSync(path.join(env.server.dataDir, 'media')).filter((f) => !f.startsWith('.')).sort();
}

test('Insert > Image lists the server\'s images, previews the chosen one and inserts it with its size', async () => {
  const page = await env.openDemo();
  await document(page, '<p>before after</p>', 'after');
  await choose(page, 'Insert', 'Image');
  const dialog = editor(page).getByRole('dialog', { name: 'Images' });
  const list = dialog.getByRole('tabpanel', { name: 'Select Image' }).getByRole('listbox', { name: 'Image:' });
  await assert.doesNotReject(list.getByRole('option', { name: 'Green leaf' }).first().waitFor({ state: 'attached' }));
  assert.deepEqual(await list.locator('option').allTextContents(), ['Company logo', 'Green leaf', 'Sunset']);
  await list.selectOption({ label: 'Green leaf' });
  const picture = dialog.locator('.vellmar-image-picture');
  await until(() => picture.evaluate((img) => img.complete && img.naturalWidth > 0 && !img.hidden), 'the preview');
  assert.equal(await dialog.getByLabel('Alt Text:').inputValue(), 'Green leaf');
  assert.match(await dialog.locator('output').textContent(), / KB$/);
  const width = await dialog.getByLabel('Width:').inputValue();
  const height = await dialog.getByLabel('Height:').inputValue();
  assert.match(width, /^\d+$/);
  await dialog.getByLabel('Alt Text:').fill('A leaf');
  // Enter in a field is OK.
  await dialog.getByLabel('Alt Text:').press('Enter');
  await dialog.waitFor({ state: 'hidden' });
  const html = await body(page);
  assert.match(html, new RegExp(`<img src="/media/green-leaf\\.png"[^>]* alt="A leaf"`));
  assert.match(html, new RegExp(`width="${width}"`));
  assert.match(html, new RegExp(`height="${height}"`));
  // The focus is back in the document.
  assert.equal(await page.evaluate(() => document.getElementById('editor1').vellmarEngine.document().hasFocus()), true);
  await page.close();
});

test('Cancel and Escape insert nothing; a list that is not XML is shown in the message window whatever DebugMode is', async () => {
  const page = await env.openDemo();
  await document(page, '<p>keep me</p>', 'me');
  await choose(page, 'Insert', 'Image');
  const dialog = editor(page).getByRole('dialog', { name: 'Images' });
  await dialog.getByRole('option', { name: 'Sunset' }).first().waitFor({ state: 'attached' });
  await page.keyboard.press('Escape');
  await dialog.waitFor({ state: 'hidden' });
  assert.equal(await body(page), '<p>keep me</p>');

  await page.route('**/cms/images/list', (route) => route.fulfill({ status: 200, contentType: 'text/html', body: '<html><body>Oops' }));
  await choose(page, 'Insert', 'Image');
  const message = page.getByRole('dialog', { name: 'HTTP Error' });
  await message.waitFor();
  await message.getByRole('button', { name: 'OK' }).click();
  await assert.doesNotReject(dialog.getByRole('alert').filter({ hasText: 'could not be read' }).waitFor());
  assert.deepEqual(await dialog.getByRole('tabpanel', { name: 'Select Image' }).getByRole('listbox').locator('option').allTextContents(), ['No Images Available']);
  assert.equal(await dialog.getByRole('button', { name: 'OK' }).isDisabled(), true);

  // A server that refuses: one sentence, and the dialog stays usable.
  await page.unroute('**/cms/images/list');
  await page.route('**/cms/images/list', (route) => route.fulfill({ status: 500, body: 'no' }));
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  await choose(page, 'Insert', 'Image');
  await dialog.getByRole('alert').filter({ hasText: 'The image list could not be loaded: HTTP 500.' }).waitFor();
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  assert.equal(await body(page), '<p>keep me</p>');
  await page.close();
});

test('Upload a PNG: it is stored, listed and can be inserted; over the limit and without a name it is refused', async () => {
  const page = await env.openDemo();
  await document(page, '<p>text here</p>', 'here');
  await choose(page, 'Insert', 'Image');
  const dialog = editor(page).getByRole('dialog', { name: 'Images' });
  await dialog.getByRole('option', { name: 'Sunset' }).first().waitFor({ state: 'attached' });
  await dialog.getByRole('tab', { name: 'Upload' }).click();
  const small = png(7, 5);
  await dialog.locator('input[type=file]').setInputFiles({ name: 'dot.png', mimeType: 'image/png', buffer: small });
  await until(async () => (await dialog.getByLabel('Select File:').inputValue()) === 'dot.png', 'the chosen file');
  await dialog.getByLabel('Image Name:').fill('');
  await dialog.getByRole('button', { name: 'Upload Image' }).isDisabled();
  await dialog.getByLabel('Image Name:').fill('My dot');
  await dialog.getByRole('button', { name: 'Upload Image' }).click();
  await dialog.getByRole('tab', { name: 'Insert' }).click();
  const list = dialog.getByRole('tabpanel', { name: 'Select Image' }).getByRole('listbox', { name: 'Image:' });
  await list.getByRole('option', { name: 'My dot' }).first().waitFor({ state: 'attached' });
  await list.selectOption({ label: 'My dot' });
  assert.equal(await dialog.getByLabel('Width:').inputValue(), '7');
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.waitFor({ state: 'hidden' });
  assert.match(await body(page), /<img src="\/media\/my-dot\.png"[^>]* height="5" width="7"/);
  assert.ok((await mediaFiles()).includes('my-dot.png'));

  // Over the page's limit: refused with the message, nothing sent.
  await page.evaluate(() => { document.getElementById('editor1').MaxUploadSize = '20'; });
  await choose(page, 'Insert', 'Image');
  await dialog.getByRole('option', { name: 'Sunset' }).first().waitFor({ state: 'attached' });
  await dialog.getByRole('tab', { name: 'Upload' }).click();
  await dialog.locator('input[type=file]').setInputFiles({ name: 'big.png', mimeType: 'image/png', buffer: png(40, 40) });
  await until(async () => (await dialog.getByLabel('Select File:').inputValue()) === 'big.png', 'the chosen file');
  await dialog.getByRole('button', { name: 'Upload Image' }).click();
  const refusal = editor(page).getByRole('alertdialog', { name: 'Images' });
  assert.match(await refusal.textContent(), /The selected file exceeds the maximum upload size\. {2}Uploaded files must be smaller than 20 {2}bytes\./);
  await refusal.getByRole('button', { name: 'OK' }).click();
  // A file that is not a picture.
  await dialog.locator('input[type=file]').setInputFiles({ name: 'notes.png', mimeType: 'image/png', buffer: Buffer.from('just text') });
  await editor(page).getByRole('alertdialog', { name: 'Images' }).getByText('The selected file is not an image.', { exact: false }).waitFor();
  await editor(page).getByRole('alertdialog', { name: 'Images' }).getByRole('button', { name: 'OK' }).click();
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  assert.ok(!(await mediaFiles()).includes('big.png'));
  await page.close();
});

test('Delete an image: after confirming it is gone from the list and from the media folder', async () => {
  const page = await env.openDemo();
  await choose(page, 'Insert', 'Image');
  const dialog = editor(page).getByRole('dialog', { name: 'Images' });
  await dialog.getByRole('option', { name: 'Sunset' }).first().waitFor({ state: 'attached' });
  assert.ok((await mediaFiles()).includes('sunset.jpg'));
  await dialog.getByRole('tab', { name: 'Delete' }).click();
  const list = dialog.getByRole('tabpanel', { name: 'Delete Image' }).getByRole('listbox', { name: 'Image:' });
  await list.selectOption({ label: 'Sunset' });
  await dialog.getByRole('button', { name: 'Delete' }).click();
  const confirm = editor(page).getByRole('alertdialog', { name: 'Delete Image' });
  assert.equal(await confirm.locator('p').textContent(), 'Are you sure you wish to delete this image?');
  // Cancel keeps it.
  await confirm.getByRole('button', { name: 'Cancel' }).click();
  assert.ok((await mediaFiles()).includes('sunset.jpg'));
  await dialog.getByRole('button', { name: 'Delete' }).click();
  await confirm.getByRole('button', { name: 'OK' }).click();
  await until(async () => {
    const names = await list.locator('option').allTextContents();
    return !names.includes('Sunset') && names.includes('Green leaf');
  }, 'the list without the deleted image');
  assert.ok(!(await mediaFiles()).includes('sunset.jpg'));
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  await page.close();
});

test('Insert > Link lists links and e-mail links; OK links the selection; an existing link opens on its entry', async () => {
  const page = await env.openDemo();
  await document(page, '<p>see the docs now</p>', 'the docs');
  await choose(page, 'Insert', 'Link');
  const dialog = editor(page).getByRole('dialog', { name: 'Links' });
  const links = dialog.getByRole('listbox', { name: 'Link:' });
  await links.getByRole('option', { name: 'Example site' }).first().waitFor({ state: 'attached' });
  await links.selectOption({ label: 'Example site' });
  await dialog.getByLabel('Target:').selectOption('_Blank');
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.waitFor({ state: 'hidden' });
  assert.equal(await body(page), '<p>see <a href="http://www.example.com/" target="_Blank">the docs</a> now</p>');

  // The caret in that link: the dialog opens on its entry and target; another entry changes it.
  await document(page, '<p>see <a href="http://www.example.com/contact" target="_blank">contact</a></p>', 'tac');
  await choose(page, 'Insert', 'Link');
  await until(() => links.evaluate((l) => l.selectedIndex >= 0 && l.options[l.selectedIndex].text === 'Example contact page'),
    'the link\'s entry');
  assert.equal(await dialog.getByLabel('Target:').inputValue(), '_Blank');
  await dialog.getByRole('tab', { name: 'Email Links' }).click();
  const mail = dialog.getByRole('listbox', { name: 'Mail To:' });
  await mail.getByRole('option', { name: 'Sales' }).first().waitFor({ state: 'attached' });
  await mail.selectOption({ label: 'Sales' });
  await page.keyboard.press('Tab');
  await dialog.getByRole('button', { name: 'OK' }).click();
  await dialog.waitFor({ state: 'hidden' });
  assert.equal(await body(page), '<p>see <a href="mailto:sales@example.com">contact</a></p>');

  // A typed address; Escape leaves the document alone.
  await document(page, '<p>plain words</p>', 'words');
  await choose(page, 'Insert', 'Link');
  await dialog.getByRole('tabpanel', { name: 'Hyperlinks' }).getByLabel('Address:').fill('http://typed.example/');
  await page.keyboard.press('Enter');
  await dialog.waitFor({ state: 'hidden' });
  assert.equal(await body(page), '<p>plain <a href="http://typed.example/">words</a></p>');
  await document(page, '<p>other words</p>', 'other');
  await choose(page, 'Insert', 'Link');
  await dialog.getByRole('tabpanel', { name: 'Hyperlinks' }).getByLabel('Address:').waitFor();
  await page.keyboard.press('Escape');
  await dialog.waitFor({ state: 'hidden' });
  assert.equal(await body(page), '<p>other words</p>');
  await page.close();
});

// Sends `files` ({name, type, bytes}) into the document as a person's drop onto the text `at`
// (just before it), or as a paste at the selection.
async function giveFiles(page, how, files, at) {
  return page.evaluate(([how, files, at]) => {
    const engine = document.getElementById('editor1').vellmarEngine;
    const doc = engine.document();
    const win = doc.defaultView;
    const data = new win.DataTransfer();
    for (const f of files) data.items.add(new win.File([new Uint8Array(f.bytes)], f.name, { type: f.type }));
    let event;
    if (how === 'drop') {
      const text = doc.evaluate(`//text()[contains(., "${at}")]`, doc, null, 9, null).singleNodeValue;
      const range = doc.createRange();
      const offset = text.data.indexOf(at);
      range.setStart(text, offset);
      range.setEnd(text, offset + 1);
      const r = range.getBoundingClientRect();
      event = new win.DragEvent('drop', { bubbles: true, cancelable: true, dataTransfer: data,
        clientX: r.left + 1, clientY: r.top + r.height / 2 });
      text.parentNode.dispatchEvent(event);
    } else {
      event = new win.ClipboardEvent('paste', { bubbles: true, cancelable: true, clipboardData: data });
      doc.body.dispatchEvent(event);
    }
    return event.defaultPrevented;
  }, [how, files.map((f) => ({ ...f, bytes: [...f.bytes] })), at]);
}

test('An image dropped on the text or pasted is uploaded, goes in where it was dropped and is listed', async () => {
  const page = await env.openDemo();
  await document(page, '<p>before after</p>', 'before');
  assert.equal(await giveFiles(page, 'drop', [{ name: 'dropped.png', type: 'image/png', bytes: png(6, 4) }], 'after'), true);
  await until(async () => /<img /.test(await body(page)), 'the dropped image');
  assert.match(await body(page), /^<p>before <img src="\/media\/dropped\.png" alt="dropped"[^>]*>after<\/p>$/);
  assert.ok((await mediaFiles()).includes('dropped.png'));

  // A pasted screenshot has no file name: it is named "Image" and goes in at the caret.
  await document(page, '<p>one two</p>', 'two');
  await page.evaluate(() => document.getElementById('editor1').vellmarEngine.document().getSelection().collapseToStart());
  await giveFiles(page, 'paste', [{ name: '', type: 'image/png', bytes: png(3, 3) }]);
  await until(async () => /<img /.test(await body(page)), 'the pasted image');
  const pasted = await body(page);
  assert.match(pasted, /^<p>one <img src="\/media\/[^"]+\.png" alt="Image"[^>]*>two<\/p>$/);
  assert.doesNotMatch(pasted, /blob:|data:/);

  // Two files in one drop go in one after the other, in their order.
  await document(page, '<p>left right</p>', 'left');
  await giveFiles(page, 'drop', [{ name: 'first.png', type: 'image/png', bytes: png(2, 2) },
    { name: 'second.png', type: 'image/png', bytes: png(2, 2) }], 'right');
  await until(async () => (await body(page)).split('<img ').length === 3, 'both dropped images');
  assert.match(await body(page), /^<p>left <img src="\/media\/first\.png"[^>]*><img src="\/media\/second\.png"[^>]*>right<\/p>$/);

  // Both are in the image manager's list.
  await choose(page, 'Insert', 'Image');
  const dialog = editor(page).getByRole('dialog', { name: 'Images' });
  await dialog.getByRole('option', { name: 'dropped' }).first().waitFor({ state: 'attached' });
  await dialog.getByRole('option', { name: 'Image', exact: true }).first().waitFor({ state: 'attached' });
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  await page.close();
});

test('A dropped file that is not an image, or one over the limit, is refused with the upload\'s message and nothing changes', async () => {
  const page = await env.openDemo();
  await document(page, '<p>keep this</p>', 'this');
  const before = await body(page);
  const stored = await mediaFiles();
  assert.equal(await giveFiles(page, 'drop', [{ name: 'notes.txt', type: 'text/plain', bytes: Buffer.from('just text') }], 'this'), true);
  const box = editor(page).getByRole('alertdialog', { name: 'Images' });
  await box.getByText('The selected file is not an image.  Please choose a GIF, JPEG or PNG file.').waitFor();
  await box.getByRole('button', { name: 'OK' }).click();

  // A copy from a word processor carries a picture of its text: the text is pasted, not the picture.
  const prevented = await page.evaluate(() => {
    const doc = document.getElementById('editor1').vellmarEngine.document();
    const data = new doc.defaultView.DataTransfer();
    data.setData('text/plain', 'copied words');
    data.items.add(new doc.defaultView.File([new Uint8Array([1, 2, 3])], 'image.png', { type: 'image/png' }));
    const event = new doc.defaultView.ClipboardEvent('paste', { bubbles: true, cancelable: true, clipboardData: data });
    doc.body.dispatchEvent(event);
    return event.defaultPrevented;
  });
  assert.equal(prevented, false);

  await page.evaluate(() => { document.getElementById('editor1').MaxUploadSize = '20'; });
  await giveFiles(page, 'paste', [{ name: 'big.png', type: 'image/png', bytes: png(40, 40) }]);
  assert.match(await box.textContent(), /The selected file exceeds the maximum upload size\. {2}Uploaded files must be smaller than 20 {2}bytes\./);
  await box.getByRole('button', { name: 'OK' }).click();
  assert.equal(await body(page), before);
  assert.deepEqual(await mediaFiles(), stored);
  await page.close();
});

test('An upload shows the bytes sent of the whole, and Cancel Upload stops one under way with nothing stored', async () => {
  const page = await env.openDemo();
  await choose(page, 'Insert', 'Image');
  const dialog = editor(page).getByRole('dialog', { name: 'Images' });
  await dialog.getByRole('option', { name: 'Green leaf' }).first().waitFor({ state: 'attached' });
  await dialog.getByRole('tab', { name: 'Upload' }).click();
  // The bar is out of the page's tree while hidden: found by its label.
  const bar = dialog.locator('progress[aria-label="Uploading image"]');
  // Every reading the bar gives while the upload goes.
  await bar.evaluate((el) => {
    window.__readings = [];
    new MutationObserver(() => {
      const text = el.getAttribute('aria-valuetext');
      if (text) window.__readings.push([text, el.value, el.max]);
    }).observe(el, { attributes: true });
  });
  const image = png(12, 9);
  await dialog.locator('input[type=file]').setInputFiles({ name: 'counted.png', mimeType: 'image/png', buffer: image });
  await until(async () => (await dialog.getByLabel('Select File:').inputValue()) === 'counted.png', 'the chosen file');
  await dialog.getByRole('button', { name: 'Upload Image' }).click();
  // Once stored, the boxes are cleared for the next upload.
  await until(async () => (await dialog.getByLabel('Select File:').inputValue()) === '', 'the upload stored');
  assert.ok((await mediaFiles()).includes('counted.png'));
  const readings = await page.evaluate(() => window.__readings);
  const last = readings.at(-1);
  assert.ok(last, 'the bar showed the bytes sent');
  const [, sent, total] = last[0].match(/^(\d+) of (\d+) bytes sent$/);
  // The whole request went: the image and the form around it.
  assert.equal(sent, total);
  assert.ok(Number(total) > image.length);
  assert.equal(last[2], Number(total));

  // An upload the server has not answered yet is stopped by Cancel Upload.
  let held;
  await page.route('**/cms/images/upload', (route) => { held = route; });
  await dialog.locator('input[type=file]').setInputFiles({ name: 'stopped.png', mimeType: 'image/png', buffer: png(5, 5) });
  await until(async () => (await dialog.getByLabel('Select File:').inputValue()) === 'stopped.png', 'the chosen file');
  await dialog.getByRole('button', { name: 'Upload Image' }).click();
  await until(async () => held !== undefined, 'the upload under way');
  await dialog.getByRole('button', { name: 'Cancel Upload' }).click();
  await dialog.getByText('The upload was cancelled; nothing was stored.').waitFor();
  await bar.waitFor({ state: 'hidden' });
  await held.abort().catch(() => {});
  assert.ok(!(await mediaFiles()).includes('stopped.png'));
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  await page.close();
});
