// What the browser benchmarks share: the editor on a page of its own, served beside the reference
// server, and the spread of a set of timings.
'use strict';

const path = require('node:path');
const { startServer, launchBrowser, pageWith } = require(path.join(__dirname, '..', 'tests', 'browser', 'harness'));

// The value below which the share `p` of the sorted timings lie.
function percentile(sorted, p) {
  return sorted[Math.min(sorted.length - 1, Math.floor((sorted.length - 1) * p))];
}

// Count, median and 95th percentile of `values` (left in their order).
function spread(values) {
  const sorted = [...values].sort((a, b) => a - b);
  return { count: sorted.length, p50: percentile(sorted, 0.5), p95: percentile(sorted, 0.95) };
}

// The URL of a page `name` that holds one 900 × 600 editor talking to `server`, routed in `page`.
async function routeEditorPage(page, server, name) {
  const url = `${server.url}/bench/${name}.html`;
  await page.route(url, (route) => route.fulfill({ status: 200, contentType: 'text/html', body: pageWith(
    `<vellmar-editor id="ed" style="width:900px;height:600px"><param name="domain" value="127.0.0.1">` +
    `<param name="port" value="${server.port}"></vellmar-editor>`) }));
  return url;
}

// A new page of `browser` with that editor, once the editor has `ready` (a property of the element).
async function openEditorPage(browser, server, name, ready = 'vellmarCommands') {
  const page = await browser.newPage();
  await page.goto(await routeEditorPage(page, server, name));
  await page.waitForFunction((p) => document.getElementById('ed') && document.getElementById('ed')[p], ready);
  return page;
}

// Runs `main({ server, browser })` with a reference server and a headless Chromium, closes both
// however it ends, and exits with status 1 after printing what went wrong.
function runBench(main) {
  (async () => {
    const server = await startServer();
    const browser = await launchBrowser();
    try {
      await main({ server, browser });
    } finally {
      await browser.close();
      await server.stop();
    }
  })().catch((error) => {
    console.error(error);
    process.exit(1);
  });
}

// Stores `body` as a new document through `page` (which holds a session) and returns its id.
async function saveDocument(page, body) {
  return page.evaluate(async (text) => {
    const r = await fetch('/cms/save', { method: 'POST', body: new URLSearchParams({ vmContent: text }) });
    return /<vmContentID>(\d+)/.exec(await r.text())[1];
  }, body);
}

module.exports = { percentile, spread, routeEditorPage, openEditorPage, runBench, saveDocument };
