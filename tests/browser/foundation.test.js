'use strict';

const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

test('the demo page creates its editor from the <object> tag and raises Loaded once', async () => {
  const page = await env.newPage();
  await page.goto(env.server.url + '/');
  // The document arrives after the editor is shown: by then every Loaded has been raised.
  await page.waitForFunction(() =>
    document.getElementById('editor1').vellmarEngine?.bodyHTML.includes('Welcome'));
  assert.deepEqual(await page.evaluate(() => window.__loaded), ['editor1']);
  const shadowHost = await page.evaluate(() => {
    const object = document.getElementById('editor1');
    const host = object.querySelector('.vellmar-host');
    return { host: !!host, shadow: !!(host && host.shadowRoot) };
  });
  assert.deepEqual(shadowHost, { host: true, shadow: true });
  assert.equal(await page.evaluate(() => document.getElementById('editor1').port), String(env.server.port));
  await page.close();
});

test('param names reach their property regardless of letter case', async () => {
  const page = await env.newPage();
  await env.openHtml(page, pageWith(`
    <object id="a" type="application/x-vellmar" width="400" height="300">
      <param name="DOMAIN" value="upper.example"><param name="PORT" value="81">
    </object>`));
  await page.waitForFunction(() => window.__loaded.length === 1);
  assert.equal(await page.evaluate(() => document.getElementById('a').domain), 'upper.example');

  await env.openHtml(page, pageWith(`
    <vellmar-editor id="b" style="width:400px;height:300px">
      <param name="Domain" value="mixed.example"><param name="port" value="82">
    </vellmar-editor>`), '/test/second.html');
  await page.waitForFunction(() => window.__loaded.length === 1);
  assert.equal(await page.evaluate(() => document.getElementById('b').domain), 'mixed.example');
  assert.equal(await page.evaluate(() => document.getElementById('b').port), '82');
  await page.close();
});

test('an editor added to the page after load is created too', async () => {
  const page = await env.newPage();
  await env.openHtml(page, pageWith('<p>No editor yet.</p>'));
  await page.evaluate(() => window.Vellmar.ready);
  assert.deepEqual(await page.evaluate(() => window.__loaded), []);
  await page.evaluate(() => {
    const el = document.createElement('vellmar-editor');
    el.id = 'late';
    el.style.cssText = 'width:500px;height:300px';
    el.innerHTML = '<param name="domain" value="late.example"><param name="port" value="8080">';
    document.body.appendChild(el);
  });
  await page.waitForFunction(() => window.__loaded.length === 1);
  assert.deepEqual(await page.evaluate(() => window.__loaded), ['late']);
  assert.equal(await page.evaluate(() => document.getElementById('late').domain), 'late.example');
  const changed = await page.evaluate(() => new Promise((resolve) => {
    const el = document.getElementById('late');
    el.addEventListener('propertychange', (e) => resolve(e.detail.name), { once: true });
    el.port = '9090';
  }));
  assert.equal(changed, 'Port');
  await page.close();
});

test('the component files are served under /vellmar/', async () => {
  for (const [file, type] of [['vellmar.js', 'javascript'], ['vellmar.wasm', 'application/wasm'],
    ['vellmar.css', 'text/css'], ['vellmar.d.ts', 'text/plain']]) {
    const res = await fetch(`${env.server.url}/vellmar/${file}`);
    assert.equal(res.status, 200, file);
    assert.ok((res.headers.get('content-type') || '').includes(type), `${file}: ${res.headers.get('content-type')}`);
  }
});
