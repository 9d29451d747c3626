'use strict';

// The element's properties are the editor's property set: one set per page, the page's <param>
// children restored through each property's rules, changes reported by their own names.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

function configured(extra = '') {
  return `<param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">${extra}`;
}

async function open(page, body, count = 1) {
  await env.openHtml(page, pageWith(body));
  await page.waitForFunction((n) => window.__loaded.length === n, count);
}

test('two editors on one page share one set of values; the one restored last determines them', async () => {
  const page = await env.newPage();
  await open(page, `
    <vellmar-editor id="a" style="display:block;width:600px;height:250px">${configured('<param name="HelpContentsURL" value="/help-a">')}</vellmar-editor>
    <vellmar-editor id="b" style="display:block;width:600px;height:250px">${configured('<param name="PathToImageList" value="/images">')}</vellmar-editor>`, 2);
  const read = () => page.evaluate(() => {
    const a = document.getElementById('a');
    const b = document.getElementById('b');
    return [a.HelpContentsURL, b.HelpContentsURL, a.PathToImageList, b.PathToImageList];
  });
  assert.deepEqual(await read(), ['', '', '/images', '/images']);
  await page.evaluate(() => { document.getElementById('a').HelpContentsURL = '/help'; });
  assert.deepEqual(await read(), ['/help', '/help', '/images', '/images']);
  await page.close();
});

test('param keys match regardless of case and values keep their types', async () => {
  const page = await env.newPage();
  await open(page, `<vellmar-editor id="e" style="display:block;width:600px;height:250px">${configured(`
      <param name="hidebold" value="1"><param name="DISABLELINKS" value="-1">
      <param name="HttpTimeout" value="abc"><param name="KeepAliveTimeout" value="x">
      <param name="DebugMode" value="maybe"><param name="SaveContentMethod" value="2">`)}</vellmar-editor>`);
  const values = await page.evaluate(() => {
    const e = document.getElementById('e');
    return [e.HideBold, e.DisableLinks, e.HttpTimeout, e.KeepAliveTimeout, e.DebugMode,
      e.SaveContentMethod, e.port];
  });
  // A value that does not convert is skipped: the time-outs keep 30 and 300, DebugMode its 0.
  assert.deepEqual(values, [1, -1, 30, 300, 0, 2, String(env.server.port)]);
  await page.close();
});

test('setting a property reports its own name and follows the time-out and switch rules', async () => {
  const page = await env.newPage();
  await open(page, `<vellmar-editor id="e" style="display:block;width:600px;height:250px">${configured()}</vellmar-editor>`);
  const result = await page.evaluate(() => {
    const e = document.getElementById('e');
    const names = [];
    e.addEventListener('propertychange', (ev) => names.push(ev.detail.name));
    e.domain = e.domain;
    e.hideCut = 1;
    e.CookieName1 = 'a';
    e.CookieName2 = 'b';
    e.UrlValue3 = 'c';
    e.pathToContent = '';
    e.KeepAliveTimeout = 'x';
    e.HttpTimeout = '45';
    let error = null;
    try { e.HideBold = 'bold'; } catch (err) { error = err.name; }
    return { names, keepAlive: e.KeepAliveTimeout, http: e.HttpTimeout, error, hideBold: e.HideBold,
      hideCut: e.hideCut, flag: (e.HideItalic = true, e.HideItalic) };
  });
  assert.deepEqual(result.names, ['Domain', 'HideCut', 'CookieName1', 'cookieName2', 'urlValue3',
    'PathToContent', 'KeepAliveTimeout', 'HttpTimeout', 'HideItalic']);
  assert.equal(result.keepAlive, 30);
  assert.equal(result.http, 45);
  assert.equal(result.error, 'TypeError');
  assert.equal(result.hideBold, 0);
  assert.equal(result.hideCut, 1);
  assert.equal(result.flag, 1);
  await page.close();
});

test('writeProperties gives every property in the public order under its write key', async () => {
  const page = await env.newPage();
  await open(page, `<vellmar-editor id="e" style="display:block;width:600px;height:250px">${configured(
    '<param name="hideBold" value="1"><param name="documentRoot" value="/site"><param name="UrlName1" value="lang">')}</vellmar-editor>`);
  const pairs = await page.evaluate(() => document.getElementById('e').writeProperties());
  assert.equal(pairs.length, 119);
  assert.deepEqual(pairs.slice(0, 8), [['Domain', '127.0.0.1'], ['SaveContentMethod', 0], ['contentID', ''],
    ['DocumentRoot', '/site'], ['Port', String(env.server.port)], ['Content', ''], ['HttpTimeout', 30],
    ['KeepAliveTimeout', 300]]);
  const map = new Map(pairs);
  assert.equal(map.get('HideBold'), 1);
  assert.equal(map.get('urlName1'), 'lang');
  assert.equal(pairs[pairs.length - 1][0], 'urlValue10');
  await page.close();
});

test('a switch set from the page re-applies the interface', async () => {
  const page = await env.newPage();
  await open(page, `<vellmar-editor id="e" style="display:block;width:900px;height:300px">${configured()}</vellmar-editor>`);
  const editor = page.locator('#e');
  const objects = editor.getByRole('toolbar', { name: 'Objects' });
  const leftOf = (loc) => loc.evaluate((el) => el.offsetLeft);
  assert.ok(await leftOf(objects) > 0, 'the objects bar follows the standard bar');
  await page.evaluate(() => { document.getElementById('e').DisableStandardToolbar = 1; });
  assert.equal(await editor.getByRole('toolbar', { name: 'Standard' }).count(), 0);
  assert.equal(await leftOf(objects), 0);
  await page.evaluate(() => { document.getElementById('e').DisableHtmlView = 1; });
  assert.equal(await editor.getByRole('tab').count(), 0);
  await page.evaluate(() => { document.getElementById('e').DisableHtmlView = 0; });
  assert.deepEqual(await editor.getByRole('tab').allInnerTexts(), ['WYSIWYG', 'HTML']);
  await page.close();
});
