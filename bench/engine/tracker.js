// Key press to the end of the selection tracker (checkUnderCursor), on documents of 100, 1,000
// and 10,000 paragraphs in one run. The editor's own DisplayChanged handler runs the tracker; a
// handler set through the engine's test surface runs right after it, so its start is the end of
// the tracker. Two kinds of press: typing a letter (the document changes) and moving the caret
// up or down a line (the selector is refreshed for the new paragraph). Prints p50 and p95 in
// milliseconds for each size and the ratio of the largest to the smallest document; the goal is
// p95 <= 3 ms at 1,000 paragraphs and no growth with the document's length.
//
//   node bench/engine/tracker.js [presses]
// Uses build/native/server/vellmar-server; VELLMAR_WEB_DIR points it at another browser build.
'use strict';

const path = require('node:path');
const { spread, routeEditorPage, runBench } = require(path.join(__dirname, '..', 'bench_page'));

const PRESSES = Number(process.argv[2]) || 200;
const SIZES = [100, 1000, 10000];

function documentOf(size) {
  const paragraphs = [];
  for (let i = 0; i < size; i++) {
    const block = i % 50 === 7 ? 'h2' : 'p';
    paragraphs.push(`<${block}>Paragraph ${i} with <b>bold</b>, <font face="Georgia" size="4">a font</font> ` +
      `and <a href="/p${i}">a link</a>.</${block}>`);
  }
  return paragraphs.join('');
}

async function openDocument(page, url, size) {
  await page.goto(url);
  await page.waitForFunction(() => document.getElementById('ed') && document.getElementById('ed').vellmarEngine);
  await page.evaluate((body) => {
    document.getElementById('ed').vellmarEngine.documentHTML = `<html><body>${body}</body></html>`;
  }, documentOf(size));
  const frame = page.frameLocator('iframe.vellmar-engine-frame');
  // The tracker has run once the Bold button follows the caret into bold text.
  await frame.locator('p b').nth(Math.floor(size / 2) - 5).click();
  await page.waitForFunction(() => document.getElementById('ed').shadowRoot
    .querySelector('[data-key="bold"]').getAttribute('aria-pressed') === 'true');
  await page.keyboard.press('End');
  await page.evaluate(() => {
    const engine = document.getElementById('ed').vellmarEngine;
    const view = engine.document().defaultView;
    // One clock for the page and the frame: the page's (the engine stamps its events with it).
    const clock = window.performance;
    const bench = { pressed: null, times: [], tracker: [] };
    window.bench = bench;
    view.addEventListener('keydown', () => { bench.pressed = clock.now(); }, true);
    engine.on('DisplayChanged', () => {
      if (bench.pressed === null) return;
      const end = clock.now();
      const events = engine.events();
      const raised = events[events.length - 1].time;
      bench.times.push(end - bench.pressed);
      bench.tracker.push(end - raised);
      bench.pressed = null;
    });
  });
}

async function press(page, keys) {
  await page.evaluate(() => { window.bench.times = []; window.bench.tracker = []; window.bench.pressed = null; });
  for (let i = 0; i < PRESSES; i++) {
    await page.keyboard.press(keys(i));
    // A person's pace: the next key comes after the display has settled.
    await page.waitForTimeout(25);
  }
  const bench = await page.evaluate(() => window.bench);
  return { ...spread(bench.times), tracker: spread(bench.tracker) };
}

// The browser alone, for comparison: the same document in a plain design-mode frame without the
// engine, from the key to the input event (typing) or the selectionchange event (caret moves).
async function browserAlone(page, size) {
  await page.evaluate((html) => {
    const frame = document.createElement('iframe');
    frame.setAttribute('sandbox', 'allow-same-origin');
    frame.id = 'plain';
    frame.style.cssText = 'position:absolute;left:0;top:0;width:900px;height:600px;z-index:10;background:#fff';
    document.body.appendChild(frame);
    const doc = frame.contentDocument;
    doc.designMode = 'on';
    doc.body.innerHTML = html;
    const clock = window.performance;
    const bench = { pressed: null, times: [], tracker: [] };
    window.bench = bench;
    const done = () => {
      if (bench.pressed === null) return;
      bench.times.push(clock.now() - bench.pressed);
      bench.tracker.push(0);
      bench.pressed = null;
    };
    frame.contentWindow.addEventListener('keydown', () => { bench.pressed = clock.now(); }, true);
    frame.contentWindow.addEventListener('input', done);
    doc.addEventListener('selectionchange', done);
  }, documentOf(size));
  await page.frameLocator('#plain').locator('p b').nth(Math.floor(size / 2) - 5).click();
  await page.keyboard.press('End');
}

async function main({ server, browser }) {
  const results = {};
  const page = await browser.newPage();
  const url = await routeEditorPage(page, server, 'tracker');
  for (const size of SIZES) {
    await openDocument(page, url, size);
    const typing = await press(page, (i) => (i % 10 === 9 ? 'Space' : 'KeyA'));
    const moving = await press(page, (i) => (Math.floor(i / 10) % 2 === 0 ? 'ArrowDown' : 'ArrowUp'));
    await browserAlone(page, size);
    const plainTyping = await press(page, (i) => (i % 10 === 9 ? 'Space' : 'KeyA'));
    const plainMoving = await press(page, (i) => (Math.floor(i / 10) % 2 === 0 ? 'ArrowDown' : 'ArrowUp'));
    results[size] = { typing, moving, plainTyping, plainMoving };
  }
  const show = (r) => `p50 ${r.p50.toFixed(2)} ms, p95 ${r.p95.toFixed(2)} ms (${r.count}); ` +
    `tracker alone p50 ${r.tracker.p50.toFixed(2)} ms, p95 ${r.tracker.p95.toFixed(2)} ms`;
  console.log('tracker: key press -> end of checkUnderCursor');
  for (const size of SIZES) {
    const label = `${size.toLocaleString('en')} paragraphs`.padEnd(18);
    console.log(`  ${label} typing:        ${show(results[size].typing)}`);
    console.log(`  ${' '.repeat(18)} caret up/down: ${show(results[size].moving)}`);
    const plain = (r) => `p50 ${r.p50.toFixed(2)} ms, p95 ${r.p95.toFixed(2)} ms`;
    console.log(`  ${' '.repeat(18)} browser alone: typing ${plain(results[size].plainTyping)}; ` +
      `caret ${plain(results[size].plainMoving)}`);
  }
  const ratio = (kind) => results[SIZES[2]][kind].tracker.p50 / results[SIZES[0]][kind].tracker.p50;
  console.log(`  tracker alone, ratio p50 10,000 / 100 paragraphs: typing ${ratio('typing').toFixed(2)}, ` +
    `caret ${ratio('moving').toFixed(2)}`);
  const worst = Math.max(results[1000].typing.p95, results[1000].moving.p95);
  const worstTracker = Math.max(results[1000].typing.tracker.p95, results[1000].moving.tracker.p95);
  console.log(`  goal p95 <= 3 ms at 1,000 paragraphs, whole press: ${worst <= 3 ? 'met' : 'NOT met'} ` +
    `(${worst.toFixed(2)} ms); the tracker's own part: ${worstTracker <= 3 ? 'met' : 'NOT met'} (${worstTracker.toFixed(2)} ms)`);
}

runBench(main);
