// The module's two files: start-up runs from vellmar.wasm alone, vellmar.later.wasm comes once
// the editor shows, and a dialog wanted before it arrived still opens.
'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');
const { choose } = require('./commands_support');

const env = useEditorEnvironment();
const LATER = /\/vellmar\/vellmar\.later\.wasm$/;

// When each request for the second file started, and when the editor showed (ms from navigation).
function timings(page) {
  return page.evaluate(() => ({
    shown: performance.getEntriesByName('vellmar-shown')[0].startTime,
    later: performance.getEntriesByType('resource')
      .filter((e) => e.name.endsWith('/vellmar/vellmar.later.wasm')).map((e) => e.startTime),
  }));
}

test('start-up and typing need only the first file; the second comes after the editor shows', async () => {
  const page = await env.newPage();
  await page.goto(env.server.url + '/');
  // Only what a person sees: the editing frame's text (the test surface runs code of its own).
  const frame = page.frameLocator('#editor1 iframe.vellmar-engine-frame');
  await frame.locator('h1', { hasText: 'Welcome' }).waitFor();
  await frame.locator('p').first().click();
  await page.keyboard.type('Typed while the rest arrives. ');
  await page.waitForFunction(() =>
    performance.getEntriesByType('resource').some((e) => e.name.endsWith('/vellmar/vellmar.later.wasm')));
  const { shown, later } = await timings(page);
  // A request before the editor showed means start-up ran a function that is not in
  // web/startup_functions.txt: run `node scripts/record_startup_functions.js` and rebuild.
  assert.equal(later.length, 1, 'vellmar.later.wasm was requested twice: typing needed it before it arrived');
  assert.ok(later[0] >= shown, `vellmar.later.wasm was requested at ${later[0]} ms, before the editor showed at ${shown} ms`);
  await frame.locator('p', { hasText: 'Typed while the rest arrives.' }).waitFor();
  await page.close();
});

test('a dialog opened before the second file could be fetched loads it on the spot', async () => {
  const page = await env.newPage();
  // The fetch after start-up fails (as on a dropped connection); the next request goes through.
  let requests = 0;
  await page.route(LATER, (route) => (requests++ === 0 ? route.abort('connectionreset') : route.continue()));
  const params = `<param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">`;
  await env.openHtml(page, pageWith(`<vellmar-editor id="ed" style="width:900px;height:520px">${params}</vellmar-editor>`));
  await page.waitForFunction(() => window.__loaded.length === 1 && document.getElementById('ed').vellmarCommands);
  await page.waitForFunction(() => performance.getEntriesByType('resource')
    .some((e) => e.name.endsWith('/vellmar/vellmar.later.wasm')));
  await choose(page, 'Insert', 'Table');
  const dialog = page.locator('#ed').getByRole('dialog', { name: 'Tables' });
  assert.equal(await dialog.getByLabel('Rows:').inputValue(), '3');
  assert.equal(requests, 2);
  await page.keyboard.press('Escape');
  await dialog.waitFor({ state: 'hidden' });
  await page.close();
});

test('a page left before the second file arrives reads the document and asks only after typing', async () => {
  for (const typed of [false, true]) {
    const page = await env.newPage();
    await page.route(LATER, (route) => route.abort('connectionreset')); // never arrives
    await env.openHtml(page, pageWith(`<object id="ed" type="application/x-vellmar" width="700" height="400">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
      <param name="content" value="<p>Written before the rest of the editor arrived.</p>"></object>`));
    const frame = page.frameLocator('#ed iframe.vellmar-engine-frame');
    await frame.locator('p').click();
    if (typed) await page.keyboard.type(' More.');
    // What a page may read as it is left, to keep a draft.
    const text = `Written before the rest of the editor arrived.${typed ? ' More.' : ''}`;
    const read = await page.evaluate(() => {
      const el = document.getElementById('ed');
      return { html: el.getBodyHTML(), text: el.getContent(1), id: el.ContentID };
    });
    assert.equal(read.html.trim(), `<p>${text}</p>`);
    assert.equal(read.text.trim(), text);
    assert.equal(read.id, '');
    const dialogs = [];
    page.on('dialog', (d) => { dialogs.push(d.type()); d.dismiss(); });
    const outcome = await page.goto('data:text/html,<p>elsewhere</p>').then(() => 'left', () => 'stayed');
    assert.deepEqual({ dialogs, outcome },
      typed ? { dialogs: ['beforeunload'], outcome: 'stayed' } : { dialogs: [], outcome: 'left' });
    if (typed) await frame.locator('p', { hasText: 'More.' }).waitFor();
    await page.close();
  }
});
