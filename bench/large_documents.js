// Large documents: loading, each view switch and getContent(0) at 0.5, 5 and 20 MB in one run, to
// show how they grow with the document; typing into the 5 MB document beside a small one; and the
// page's memory (JS heap plus WebAssembly) at its highest over the steps, beside the document's size.
//
//   node bench/large_documents.js
// Uses build/native/server/vellmar-server; VELLMAR_WEB_DIR points the server at another build.
'use strict';

const path = require('node:path');
const { documentOf, editorPage, barePage, memoryOf } = require(path.join(__dirname, 'startup'));
const { spread, runBench, saveDocument } = require(path.join(__dirname, 'bench_page'));

const SIZES = [0.5, 5, 20];  // MB
const PARAGRAPH_BYTES = 290;  // one paragraph of documentOf, about
const GOALS = { seconds: 1, memoryTimes: 20 };

const tab = (page, name) => page.locator('.vellmar-view-tab', { hasText: name });

// Milliseconds from the start of `act` until `done` holds in the page.
// `done` is checked in animation frames, before the browser lays the frame out and paints it:
// the time runs on to the end of that paint.
async function timed(page, act, done, arg) {
  const t0 = Date.now();
  await act();
  await page.waitForFunction(done, arg, { timeout: 300000, polling: 'raf' });
  await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve, 0))));
  return Date.now() - t0;
}

// Key presses at the end of the document's last paragraph (`where` 'end') or of its first
// ('start'), each timed until the engine's body has the new text. The browser's own work per key
// grows with the caret's distance from the start of the document.
async function typing(page, where = 'end') {
  await page.evaluate((at) => {
    const frame = window.__frameOf();
    frame.contentWindow.focus();
    const doc = frame.contentDocument;
    const paragraph = at === 'end' ? doc.getElementById('end') : doc.body.firstElementChild;
    for (const marked of doc.querySelectorAll('[data-typed]')) marked.removeAttribute('data-typed');
    paragraph.setAttribute('data-typed', '');
    const range = doc.createRange();
    range.selectNodeContents(paragraph);
    range.collapse(false);
    doc.getSelection().removeAllRanges();
    doc.getSelection().addRange(range);
  }, where);
  const times = [];
  for (let i = 0; i < 20; i++) {
    const t0 = Date.now();
    await page.keyboard.press('KeyX');
    await page.waitForFunction((n) => window.__frameOf().contentDocument.querySelector('[data-typed]')
      .textContent.endsWith('x'.repeat(n)), i + 1, { polling: 'raf' });
    times.push(Date.now() - t0);
  }
  return spread(times);
}

async function main({ server, browser }) {
  const verdicts = [];
  const context = await browser.newContext();
  const setup = await context.newPage();
  await setup.goto(server.url + '/');
  const rows = [];
  for (const mb of [0.03, ...SIZES]) {
    const paragraphs = Math.round((mb * 1024 * 1024) / PARAGRAPH_BYTES);
    const body = documentOf(paragraphs);
    const id = await saveDocument(setup, body);
    const url = `${server.url}/bench/large-${paragraphs}.html`;
    await context.route(url, (r) => r.fulfill({ contentType: 'text/html', body: editorPage(server.port, id) }));

    const page = await context.newPage();
    await page.goto(url);
    const load = await page.evaluate(() => window.__ready);
    let peak = (await memoryOf(page)).total;
    const sourceShown = (shown) => {
      const el = document.getElementById('ed');
      const host = el.shadowRoot ? el : el.querySelector(':scope > .vellmar-host');
      const box = host.shadowRoot.querySelector('textarea.vellmar-source');
      if (!shown) return !box || box.hidden;
      return box && !box.hidden && box.value.includes('The end marker.');
    };
    const toHtml = await timed(page, () => tab(page, 'HTML').click(), sourceShown, true);
    peak = Math.max(peak, (await memoryOf(page)).total);
    const toWysiwyg = await timed(page, () => tab(page, 'WYSIWYG').click(), sourceShown, false);
    peak = Math.max(peak, (await memoryOf(page)).total);
    // A second look at the source without a change in between: the way back finds the document
    // as the first way back made it.
    const again = {
      toHtml: await timed(page, () => tab(page, 'HTML').click(), sourceShown, true),
      toWysiwyg: await timed(page, () => tab(page, 'WYSIWYG').click(), sourceShown, false),
    };
    peak = Math.max(peak, (await memoryOf(page)).total);
    const content = await page.evaluate(() => {
      const t0 = performance.now();
      const text = document.getElementById('ed').getContent(0);
      return { ms: performance.now() - t0, length: text.length };
    });
    peak = Math.max(peak, (await memoryOf(page)).total);
    const keys = mb === 0.03 || mb === 5 ? await typing(page) : null;
    const keysAtStart = mb === 5 ? await typing(page, 'start') : null;
    await page.close();
    // The browser alone, typing into the same document in a plain design-mode frame.
    let bareKeys = null;
    if (keys) {
      const bareUrl = `${server.url}/bench/large-bare-${paragraphs}.html`;
      await context.route(bareUrl, (r) => r.fulfill({ contentType: 'text/html', body: barePage(id) }));
      const bare = await context.newPage();
      await bare.goto(bareUrl);
      await bare.evaluate(() => window.__ready);
      bareKeys = await typing(bare);
      await bare.close();
    }
    rows.push({ mb, bytes: Buffer.byteLength(body), load, toHtml, toWysiwyg, again, content: content.ms, peak, keys,
      keysAtStart, bareKeys });
  }

  const small = rows[0];
  console.log('large documents: ms for loading, to the HTML view, back to WYSIWYG, getContent(0); peak memory');
  for (const r of rows) {
    console.log(`  ${(r.bytes / 1048576).toFixed(2).padStart(6)} MB  load ${r.load.toFixed(0).padStart(6)}  ` +
      `to HTML ${String(r.toHtml).padStart(6)}  to WYSIWYG ${String(r.toWysiwyg).padStart(6)}  ` +
      `getContent ${r.content.toFixed(0).padStart(5)}  memory ${(r.peak / 1048576).toFixed(0).padStart(5)} MB ` +
      `(${(r.peak / r.bytes).toFixed(1)}x the document)`);
    console.log(`          again, unchanged: to HTML ${r.again.toHtml} ms, to WYSIWYG ${r.again.toWysiwyg} ms`);
    if (r.keys) {
      console.log(`          typing: p50 ${r.keys.p50} ms, p95 ${r.keys.p95} ms; ` +
        `the browser alone in a plain design-mode frame: p50 ${r.bareKeys.p50} ms, p95 ${r.bareKeys.p95} ms`);
    }
    if (r.keysAtStart) {
      console.log(`          typing at the end of the first paragraph: p50 ${r.keysAtStart.p50} ms, p95 ${r.keysAtStart.p95} ms`);
    }
  }
  const five = rows.find((r) => r.mb === 5);
  const twenty = rows.find((r) => r.mb === 20);
  const half = rows.find((r) => r.mb === 0.5);
  console.log(`  growth 20 MB / 0.5 MB (40x the bytes): load ${(twenty.load / half.load).toFixed(1)}x, ` +
    `to HTML ${(twenty.toHtml / half.toHtml).toFixed(1)}x, getContent ${(twenty.content / half.content).toFixed(1)}x`);
  const limit = GOALS.seconds * 1000;
  verdicts.push(['5 MB: load, each view switch and getContent <= 1 s',
    five.load <= limit && five.toHtml <= limit && five.toWysiwyg <= limit && five.content <= limit]);
  verdicts.push([`peak memory <= ${GOALS.memoryTimes}x the document (5 MB)`, five.peak <= GOALS.memoryTimes * five.bytes]);
  verdicts.push(['typing into 5 MB as fast as into 30 KB (p95 within 2x)', five.keys.p95 <= 2 * Math.max(small.keys.p95, 16)]);
  console.log('goals:');
  for (const [name, ok] of verdicts) console.log(`  ${name}: ${ok ? 'met' : 'NOT met'}`);
}

runBench(main);
