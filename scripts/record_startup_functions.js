// Records which of the module's functions start-up and typing run, and writes their names to
// web/startup_functions.txt: the build keeps those in vellmar.wasm and moves the rest to
// vellmar.later.wasm. Run it after a change that makes start-up or typing call other functions
// (a function missing from the list still works, only from the second file).
//
//   node scripts/record_startup_functions.js
//
// It instruments build/web/whole/vellmar.wasm (binaryen's wasm-split --instrument), serves it
// from a copy of build/web/dist with vellmar-server, opens an editor on a document in headless
// Chromium, types into it, reads the module's profile back and maps it to function names.
'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { execFileSync } = require('node:child_process');
const { startServer, launchBrowser, pageWith, ROOT } = require(path.join(__dirname, '..', 'tests', 'browser', 'harness'));
const { saveDocument } = require(path.join(__dirname, '..', 'bench', 'bench_page'));

const WHOLE = path.join(ROOT, 'build', 'web', 'whole', 'vellmar.wasm');
const DIST = path.join(ROOT, 'build', 'web', 'dist');
const LIST = path.join(ROOT, 'web', 'startup_functions.txt');
const SMALL = 64;
// The WebAssembly features binaryen is told of, as the build's split tells it.
const FEATURES = fs.readFileSync(path.join(ROOT, 'web', 'wasm_features.txt'), 'utf8').split('\n').filter(Boolean);

function uleb(bytes, at) {
  let value = 0;
  let shift = 0;
  for (;;) {
    const b = bytes[at++];
    value += (b & 0x7f) * 2 ** shift;
    shift += 7;
    if (b < 0x80) return [value, at];
  }
}

// The module's defined functions, in order: each one's name from the name section, written the
// way binaryen's tools take them (characters outside its identifier set as \hh), and the size of
// its code in bytes.
function definedFunctions(bytes) {
  let imported = 0;
  let defined = 0;
  const names = new Map();
  const sizes = [];
  let at = 8;
  while (at < bytes.length) {
    const id = bytes[at];
    const [size, start] = uleb(bytes, at + 1);
    const end = start + size;
    if (id === 2) { // imports: count the functions
      let [count, p] = uleb(bytes, start);
      for (let i = 0; i < count; i++) {
        let len;
        [len, p] = uleb(bytes, p); p += len;
        [len, p] = uleb(bytes, p); p += len;
        const kind = bytes[p++];
        if (kind === 0) { [, p] = uleb(bytes, p); imported++; }
        else if (kind === 1) { p++; let flags; [flags, p] = uleb(bytes, p); [, p] = uleb(bytes, p); if (flags & 1) [, p] = uleb(bytes, p); }
        else if (kind === 2) { let flags; [flags, p] = uleb(bytes, p); [, p] = uleb(bytes, p); if (flags & 1) [, p] = uleb(bytes, p); }
        else if (kind === 3) p += 2;
        else if (kind === 4) { p++; [, p] = uleb(bytes, p); }
      }
    } else if (id === 3) {
      [defined] = uleb(bytes, start);
    } else if (id === 10) {
      let [count, p] = uleb(bytes, start);
      for (let i = 0; i < count; i++) {
        let size;
        [size, p] = uleb(bytes, p);
        sizes.push(size);
        p += size;
      }
    } else if (id === 0) {
      let [len, p] = uleb(bytes, start);
      const sectionName = Buffer.from(bytes.subarray(p, p + len)).toString();
      p += len;
      while (sectionName === 'name' && p < end) {
        const sub = bytes[p];
        const [subSize, subStart] = uleb(bytes, p + 1);
        if (sub === 1) {
          let [count, q] = uleb(bytes, subStart);
          for (let i = 0; i < count; i++) {
            let index;
            [index, q] = uleb(bytes, q);
            [len, q] = uleb(bytes, q);
            names.set(index, Buffer.from(bytes.subarray(q, q + len)).toString());
            q += len;
          }
        }
        p = subStart + subSize;
      }
    }
    at = end;
  }
  const plain = /[A-Za-z0-9!#$%&'*+\-./:<=>?@\\^_`|~]/;
  const escape = (name) => [...name].map((c) => (plain.test(c) && c.charCodeAt(0) < 128 ? c
    : [...Buffer.from(c)].map((b) => '\\' + b.toString(16).padStart(2, '0')).join(''))).join('');
  const result = [];
  for (let i = 0; i < defined; i++) result.push({ name: escape(names.get(imported + i) || ''), size: sizes[i] });
  return result;
}

// A document with what real pages hold: headings, styled text, links, a list, a table.
function sampleDocument() {
  const parts = ['<h1>A heading</h1>'];
  for (let i = 0; i < 40; i++) {
    parts.push(`<p>Paragraph ${i}: some <b>bold</b>, <i>italic</i>, <u>underlined</u> text and ` +
      `<a href="/page/${i}">a link</a>.</p>`);
  }
  parts.push('<ul><li>one</li><li>two</li></ul><ol><li>first</li></ol>');
  parts.push('<table border="1"><tr><td>a</td><td>b</td></tr><tr><td>c</td><td>d</td></tr></table>');
  parts.push('<p id="end">The end.</p>');
  return parts.join('\r\n');
}

// The question the page asks each editor as it is left (the loader's beforeunload handler), which
// has to be answerable before the second file is in.
function askAsLeaving(page) {
  return page.evaluate(() => window.dispatchEvent(new Event('beforeunload', { cancelable: true })));
}

// Opens `url` in a new page of `context` and waits until the editor `#id` holds a document
// whose text includes `marker`; then a person clicks into the text, types, selects, makes a word
// bold and undoes it, and the page reads the document back; the page asks about unsaved changes
// before and after the typing, as leaving does. Returns the module's profile.
async function record(context, url, id, marker) {
  const page = await context.newPage();
  await page.addInitScript(() => {
    // Keeps the exports of the first module instantiated.
    const keep = (result) => { if (!window.__exports) window.__exports = result.instance.exports; return result; };
    const streaming = WebAssembly.instantiateStreaming;
    WebAssembly.instantiateStreaming = (...args) => streaming(...args).then(keep);
    const plain = WebAssembly.instantiate;
    WebAssembly.instantiate = (...args) => plain(...args).then((r) => (r.instance ? keep(r) : r));
  });
  await page.goto(url);
  await page.waitForFunction(([id_, marker_]) => {
    const el = document.getElementById(id_);
    const host = el && (el.shadowRoot ? el : el.querySelector(':scope > .vellmar-host'));
    const f = host && host.shadowRoot && host.shadowRoot.querySelector('iframe.vellmar-engine-frame');
    return f && f.contentDocument && f.contentDocument.body.textContent.includes(marker_);
  }, [id, marker]);
  const frame = page.frameLocator(`#${id} iframe.vellmar-engine-frame`).first();
  await askAsLeaving(page);
  await frame.locator('p').nth(1).click();
  await page.keyboard.type('Typed words.');
  await page.keyboard.press('Enter');
  await page.keyboard.type('A new paragraph');
  await page.keyboard.press('Shift+ArrowLeft');
  await page.keyboard.press('Shift+ArrowLeft');
  await page.keyboard.press('Control+b');
  await page.keyboard.press('ArrowRight');
  await page.keyboard.press('Backspace');
  await page.keyboard.press('Control+z');
  await page.keyboard.press('Home');
  if (await frame.locator('td').count()) {
    await frame.locator('td').first().click();
    await page.keyboard.type('x');
  }
  // What a page reads as it is left (a draft kept on leaving, say) has to be there too.
  await page.evaluate((id_) => {
    const el = document.getElementById(id_);
    return [el.getContent(0), el.getContent(1), el.getBodyHTML(), el.ContentID, el.content].length;
  }, id);
  await askAsLeaving(page);

  const profile = await page.evaluate(() => {
    const exports = window.__exports;
    const memory = Object.values(exports).find((e) => e instanceof WebAssembly.Memory);
    const at = memory.grow(4) * 65536;
    exports.__write_profile(at, 4 * 65536);
    return Array.from(new Uint8Array(memory.buffer, at, 4 * 65536));
  });
  await page.close();
  return Buffer.from(profile);
}

// Both ways a page meets the editor: the demo page, and an <object> given a document to load.
async function recordAll(server, browser) {
  const context = await browser.newContext();
  const profiles = [await record(context, server.url + '/', 'editor1', 'Welcome')];
  // The demo page made a session; the document is stored under it.
  const setup = await context.newPage();
  await setup.goto(server.url + '/');
  const contentId = await saveDocument(setup, sampleDocument());
  const url = `${server.url}/record/editor.html`;
  await context.route(url, (r) => r.fulfill({ contentType: 'text/html', body: pageWith(
    `<object id="ed" type="application/x-vellmar" width="900" height="600">
      <param name="domain" value="127.0.0.1"><param name="port" value="${server.port}">
      <param name="pathToContent" value="/cms/content"><param name="ContentID" value="${contentId}">
    </object>`) }));
  profiles.push(await record(context, url, 'ed', 'The end.'));
  await context.close();
  return profiles;
}

async function main() {
  const work = fs.mkdtempSync(path.join(os.tmpdir(), 'vellmar-record-'));
  try {
    for (const name of fs.readdirSync(DIST)) fs.cpSync(path.join(DIST, name), path.join(work, name), { recursive: true });
    fs.rmSync(path.join(work, 'vellmar.later.wasm'), { force: true });
    execFileSync('wasm-split', ['--instrument', ...FEATURES, WHOLE, '-o', path.join(work, 'vellmar.wasm')]);
    const functions = definedFunctions(fs.readFileSync(WHOLE));
    const server = await startServer(['--web', work]);
    const browser = await launchBrowser();
    let profiles;
    try {
      profiles = await recordAll(server, browser);
    } finally {
      await browser.close();
      await server.stop();
    }
    // The profile: the module's 8-byte hash, then one 32-bit word per defined function, not 0
    // once the function has run.
    // Kept too: functions of at most SMALL bytes, which in the second file would each cost more
    // than themselves (an import of the first file and a function object on the page).
    const ran = (i) => profiles.some((p) => p.readUInt32LE(8 + 4 * i) !== 0);
    const kept = functions.filter((f, i) => f.name && (ran(i) || f.size <= SMALL)).map((f) => f.name);
    kept.sort();
    fs.writeFileSync(LIST, kept.join('\n') + '\n');
    console.log(`${functions.filter((f, i) => ran(i)).length} of ${functions.length} functions ran; ` +
      `${kept.length} kept with the small ones; written to ${path.relative(ROOT, LIST)}`);
  } finally {
    fs.rmSync(work, { recursive: true, force: true });
  }
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
