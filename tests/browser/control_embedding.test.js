'use strict';

// What an integrator's page does with the editor element: the embed of the README on a page
// without any style of its own, the `content` parameter, moving the element around the page,
// two editors side by side, `Loaded` seen from anywhere, and the type declarations.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { useEditorEnvironment, ROOT } = require('./harness');

const env = useEditorEnvironment();

// The page of the README: the script, the element with its parameters, and nothing else.
function barePage(element) {
  return `<!doctype html>\n<html><head><script src="/vellmar/vellmar.js"></script></head><body>\n${element}\n</body></html>`;
}

function params(extra = '') {
  return `<param name="domain" value="127.0.0.1">
  <param name="port" value="${env.server.port}">${extra}`;
}

// The element's box and the boxes of the control and its editing area inside it.
function boxes(page, selector) {
  return page.evaluate((sel) => {
    const el = document.querySelector(sel);
    const host = el.shadowRoot ? el : el.querySelector(':scope > .vellmar-host');
    const root = host.shadowRoot;
    const size = (node) => {
      const r = node.getBoundingClientRect();
      return { width: Math.round(r.width), height: Math.round(r.height) };
    };
    return {
      element: size(el),
      control: size(root.querySelector('.vellmar-control')),
      engine: size(root.querySelector('.vellmar-engine')),
    };
  }, selector);
}

// What a person types reaches the document in the frame of editor `id` (its first one if none).
function frameOf(page, selector) {
  return page.locator(selector).locator('iframe.vellmar-engine-frame').contentFrame();
}

async function typeInto(page, selector, text) {
  const body = frameOf(page, selector).locator('body');
  await body.click();
  await page.keyboard.press('Control+End');
  await page.keyboard.type(text);
}

const loadedCount = (page, n) => page.waitForFunction((c) => window.__loaded.length === c, n);

for (const [name, tag] of [['<object>', 'object'], ['<vellmar-editor>', 'vellmar-editor']]) {
  test(`the README's ${name} embed on a page without any style is as large as its width and height`, async () => {
    const page = await env.newPage();
    const open = tag === 'object' ? '<object type="application/x-vellmar" width="800" height="500">'
      : '<vellmar-editor width="800" height="500">';
    await env.openHtml(page, barePage(`${open}\n  ${params()}\n</${tag}>`));
    await loadedCount(page, 1);
    const b = await boxes(page, tag);
    assert.deepEqual(b.element, { width: 800, height: 500 });
    assert.deepEqual(b.control, { width: 800, height: 500 });
    assert.ok(b.engine.height > 300, `editing area ${JSON.stringify(b.engine)}`);
    // The editing area can be clicked and typed into.
    await typeInto(page, tag, 'Typed');
    assert.match(await page.evaluate((t) => document.querySelector(t).getBodyHTML(), tag), /Typed/);

    // A change of the attributes resizes the editor; so does a percentage.
    await page.evaluate((t) => {
      const el = document.querySelector(t);
      el.setAttribute('width', '50%');
      el.setAttribute('height', '320');
    }, tag);
    await page.waitForFunction((t) => document.querySelector(t).getBoundingClientRect().height === 320, tag);
    const viewport = page.viewportSize();
    const resized = await boxes(page, tag);
    assert.equal(resized.element.width, Math.round((viewport.width - 16) / 2));
    await page.waitForFunction((t) => {
      const el = document.querySelector(t);
      const host = el.shadowRoot ? el : el.querySelector(':scope > .vellmar-host');
      return host.shadowRoot.querySelector('.vellmar-control').getBoundingClientRect().height === 320;
    }, tag);
    assert.deepEqual(env.pageErrors, []);
    await page.close();
  });
}

test('the page\'s own CSS sizes the element over its width and height attributes', async () => {
  const page = await env.newPage();
  await env.openHtml(page, barePage(`<style>object, vellmar-editor { display: block; width: 600px; height: 300px; }</style>
    <object id="o" type="application/x-vellmar" width="800" height="500">${params()}</object>
    <vellmar-editor id="v" width="800" height="500">${params()}</vellmar-editor>`));
  await loadedCount(page, 2);
  for (const sel of ['#o', '#v']) {
    const b = await boxes(page, sel);
    assert.deepEqual(b.element, { width: 600, height: 300 }, sel);
    assert.deepEqual(b.control, { width: 600, height: 300 }, sel);
  }
  await page.close();
});

test('padding given to the element lays the editor out again inside it', async () => {
  const page = await env.newPage();
  await env.openHtml(page, barePage(`<style>vellmar-editor { display: block; box-sizing: border-box;
      width: 600px; height: 300px; }</style><vellmar-editor id="v">${params()}</vellmar-editor>`));
  await loadedCount(page, 1);
  const before = await boxes(page, '#v');
  // The element keeps its outer size; the box the editor fills shrinks by 40 pixels each way.
  await page.evaluate(() => { document.getElementById('v').style.padding = '20px'; });
  await page.waitForFunction((width) => {
    const root = document.getElementById('v').shadowRoot;
    return Math.round(root.querySelector('.vellmar-engine').getBoundingClientRect().width) === width;
  }, before.engine.width - 40);
  assert.deepEqual((await boxes(page, '#v')).element, { width: 600, height: 300 });
  await page.close();
});

test('a site\'s own CSS reaches neither the editor\'s place in its element nor its bars; its palette does', async () => {
  const page = await env.newPage();
  // What an administration page's style sheet may hold: text settings on the body that every
  // element inherits, rules for every div, and the editor's palette on the element.
  await env.openHtml(page, barePage(`<style>
      body { font: italic 20px/3 Georgia, serif; color: #a00; text-align: center; text-indent: 40px;
             letter-spacing: 3px; text-transform: uppercase; white-space: pre-wrap; text-shadow: 1px 1px #0f0; }
      div { margin: 5px; padding: 7px; border: 3px dashed blue; display: flex; }
      object, vellmar-editor { --vellmar-chrome: rgb(4, 5, 6); }
    </style>
    <object id="o" type="application/x-vellmar" width="700" height="300">
      ${params()}
    </object>
    <vellmar-editor id="v" width="700" height="300">
      ${params()}
    </vellmar-editor>`));
  await loadedCount(page, 2);
  for (const sel of ['#o', '#v']) {
    const look = await page.evaluate((s) => {
      const el = document.querySelector(s);
      const host = el.shadowRoot ? el : el.querySelector(':scope > .vellmar-host');
      const control = host.shadowRoot.querySelector('.vellmar-control');
      const caption = host.shadowRoot.querySelector('[role=menubar] [role=menuitem]');
      const [outer, inner] = [el, control].map((n) => n.getBoundingClientRect());
      const style = getComputedStyle(caption);
      return {
        offset: [Math.round(inner.left - outer.left), Math.round(inner.top - outer.top)],
        size: [Math.round(inner.width), Math.round(inner.height)],
        caption: [style.textTransform, style.letterSpacing, style.fontStyle, style.textShadow, style.textIndent],
        chrome: getComputedStyle(control).backgroundColor,
      };
    }, sel);
    // The control fills the element's box from its top left corner.
    assert.deepEqual(look.offset, [0, 0], sel);
    assert.deepEqual(look.size, [700, 300], sel);
    assert.deepEqual(look.caption, ['none', 'normal', 'normal', 'none', '0px'], sel);
    assert.equal(look.chrome, 'rgb(4, 5, 6)', sel);
  }
  await page.close();
});

test('Tab and Shift+Tab take the focus out of the document to the next and previous control', async () => {
  const page = await env.newPage();
  await env.openHtml(page, barePage(`<input id="before" aria-label="Before">
    <object id="o" type="application/x-vellmar" width="700" height="300">
      ${params('<param name="content" value="<p>Text</p>">')}
    </object>
    <input id="after" aria-label="After">`));
  await loadedCount(page, 1);
  const body = frameOf(page, '#o').locator('body');
  await body.click();
  await page.keyboard.press('Tab');
  await page.waitForFunction(() => document.activeElement.id === 'after');
  // Backwards, the controls just before the document come first: the view tabs.
  await body.click();
  await page.keyboard.press('Shift+Tab');
  await page.waitForFunction(() => {
    const active = document.querySelector('#o > .vellmar-host').shadowRoot.activeElement;
    return active && active.getAttribute('role') === 'tab' && active.textContent === 'HTML';
  });
  // Nothing was typed into the document.
  assert.equal((await page.evaluate(() => document.getElementById('o').getBodyHTML())).trim(), '<p>Text</p>');
  await page.close();
});

test('the content parameter is the document shown after show, and content reads it back', async () => {
  const page = await env.newPage();
  await env.openHtml(page, barePage(`<vellmar-editor id="e" width="700" height="400">${params(`
    <param name="content" value="<h2>From the page</h2><p>Written by <b>the integrator</b></p>">`)}
  </vellmar-editor>`));
  await loadedCount(page, 1);
  const frame = frameOf(page, '#e');
  await frame.locator('h2', { hasText: 'From the page' }).waitFor();
  assert.equal(await frame.locator('b').innerText(), 'the integrator');
  const { content, body } = await page.evaluate(() => {
    const e = document.getElementById('e');
    return { content: e.content, body: e.getBodyHTML() };
  });
  assert.equal(content, body);
  assert.match(content, /<h2>From the page<\/h2>\s*<p>Written by <b>the integrator<\/b><\/p>/);

  // What the person types is what content reads from then on.
  await typeInto(page, '#e', ' and the author');
  assert.match(await page.evaluate(() => document.getElementById('e').content), /the author/);
  await page.close();
});

test('an editor moved elsewhere in the page keeps its unsaved document, raises Loaded again and goes on working', async () => {
  const page = await env.openDemo();
  // The site's style sheet has been read (its classes are offered) before DebugMode is on: a sheet
  // arriving later would show its exchange in the message window over the document.
  await page.getByRole('menubar').getByRole('menuitem', { name: 'Style', exact: true }).click();
  await page.getByRole('menu', { name: 'Style', exact: true }).getByRole('menuitem', { name: 'CSS Classes' }).hover();
  await page.getByRole('menu', { name: 'CSS Classes' }).getByRole('menuitem', { name: '.Caption' }).waitFor();
  await page.keyboard.press('Escape');
  await page.keyboard.press('Escape');
  await page.evaluate(() => {
    document.getElementById('editor1').DebugMode = 1;
    document.body.insertAdjacentHTML('beforeend', '<section id="elsewhere"></section>');
  });
  let documentRequests = 0;
  page.on('request', (r) => { if (r.url().includes('/cms/content')) documentRequests += 1; });
  await typeInto(page, '#editor1', 'Typed before the move.');

  // Moved to another parent, as a framework does.
  await page.evaluate(() => document.getElementById('elsewhere').append(document.getElementById('editor1')));
  await loadedCount(page, 2);
  const frame = frameOf(page, '#editor1');
  await frame.getByText('Typed before the move.').waitFor();
  assert.match(await page.evaluate(() => document.getElementById('editor1').getBodyHTML()),
    /<h1>Welcome to Vellmar<\/h1>[\s\S]*Typed before the move\./);

  // Out of the page for a while, then back in the same place.
  await page.evaluate(() => {
    window.__parked = document.getElementById('editor1');
    window.__parked.remove();
  });
  await page.waitForTimeout(50);
  await page.evaluate(() => document.getElementById('elsewhere').append(window.__parked));
  await loadedCount(page, 3);
  await typeInto(page, '#editor1', ' And after it.');
  const body = await page.evaluate(() => document.getElementById('editor1').getBodyHTML());
  assert.match(body, /Typed before the move\. And after it\./);
  assert.equal(documentRequests, 0, 'the server document is not fetched over the typed one');

  // The view switch and the save still reach the document.
  await page.getByRole('tab', { name: 'HTML' }).click();
  assert.match(await page.locator('#editor1 textarea.vellmar-source').inputValue(), /And after it\./);
  await page.getByRole('tab', { name: 'WYSIWYG' }).click();
  let posted = null;
  page.on('request', (r) => { if (r.url().includes('/cms/save')) posted = r.postData(); });
  await page.getByRole('menubar').getByRole('menuitem', { name: 'File', exact: true }).click();
  await page.getByRole('menu', { name: 'File', exact: true })
    .getByRole('menuitem', { name: 'Save To Server' }).click();
  await page.waitForFunction(() => document.getElementById('editor1').ContentID !== '');
  assert.match(new URLSearchParams(posted).get('vmContent'), /Typed before the move\. And after it\./);

  // Nothing escaped the error convention on the way.
  assert.deepEqual(env.pageErrors, []);
  const log = await page.evaluate(() => document.getElementById('editor1').getDebugLog());
  assert.doesNotMatch(log, /Error in /);
  await page.close();
});

test('two editors each keep their own text whatever order their views are switched in', async () => {
  const page = await env.newPage();
  const editor = (id, text) => `<vellmar-editor id="${id}" width="640" height="300">${params(`
    <param name="content" value="<p>${text}</p>">`)}</vellmar-editor>`;
  await env.openHtml(page, barePage(`${editor('a', 'Alpha')}<br>${editor('b', 'Beta')}`));
  await loadedCount(page, 2);
  const tab = (id, name) => page.locator(`#${id}`).getByRole('tab', { name });
  const source = (id) => page.locator(`#${id} textarea.vellmar-source`);
  const bodyOf = (id) => page.evaluate((i) => document.getElementById(i).getBodyHTML(), id);

  await typeInto(page, '#a', ' typed in A');
  await typeInto(page, '#b', ' typed in B');
  await tab('a', 'HTML').click();
  // B is still in its WYSIWYG view; switching it to HTML and back keeps its own text.
  await tab('b', 'HTML').click();
  assert.match(await source('b').inputValue(), /Beta typed in B/);
  await tab('b', 'WYSIWYG').click();
  await source('a').fill('<p>Alpha rewritten as source</p>');
  await typeInto(page, '#b', ' more');
  await tab('a', 'WYSIWYG').click();
  assert.match(await bodyOf('a'), /<p>Alpha rewritten as source<\/p>/);
  assert.match(await bodyOf('b'), /<p>Beta typed in B more<\/p>/);
  await tab('b', 'HTML').click();
  await tab('a', 'HTML').click();
  await tab('b', 'WYSIWYG').click();
  assert.match(await bodyOf('b'), /Beta typed in B more/);
  assert.doesNotMatch(await bodyOf('b'), /Alpha/);
  await tab('a', 'WYSIWYG').click();
  assert.match(await bodyOf('a'), /Alpha rewritten as source/);

  // Removing one leaves the other laid out and working.
  await page.evaluate(() => document.getElementById('b').remove());
  await page.evaluate(() => document.getElementById('a').setAttribute('height', '420'));
  await page.waitForFunction(() => {
    const root = document.getElementById('a').shadowRoot;
    return root.querySelector('.vellmar-view-tabs').getBoundingClientRect().bottom > 380;
  });
  await typeInto(page, '#a', ' still working');
  await tab('a', 'HTML').click();
  assert.match(await source('a').inputValue(), /still working/);
  await tab('a', 'WYSIWYG').click();
  assert.deepEqual(env.pageErrors, []);
  await page.close();
});

test('Loaded bubbles and is composed, so a page can listen on any ancestor', async () => {
  const page = await env.newPage();
  await page.addInitScript(() => {
    window.__heard = [];
    const note = (where) => (e) => window.__heard.push({
      where, target: e.target.id, bubbles: e.bubbles, composed: e.composed, phase: e.eventPhase,
    });
    document.addEventListener('Loaded', note('document'));
    window.addEventListener('DOMContentLoaded', () => {
      document.getElementById('app').addEventListener('Loaded', note('app'));
    });
  });
  await env.openHtml(page, barePage(`<div id="app"><main>
    <vellmar-editor id="e" width="500" height="300">${params()}</vellmar-editor></main></div>`));
  await loadedCount(page, 1);
  await page.waitForFunction(() => window.__heard.length === 2);
  const heard = await page.evaluate(() => window.__heard);
  const bubbling = 3;
  assert.deepEqual(heard, [
    { where: 'app', target: 'e', bubbles: true, composed: true, phase: bubbling },
    { where: 'document', target: 'e', bubbles: true, composed: true, phase: bubbling },
  ]);
  await page.close();
});

test('vellmar.d.ts declares every property with the type the element gives it, and the events', async () => {
  const ts = require('typescript');
  const page = await env.newPage();
  await env.openHtml(page, barePage(`<vellmar-editor id="e" width="500" height="300">${params()}</vellmar-editor>`));
  await loadedCount(page, 1);
  const runtime = await page.evaluate(() => {
    const e = document.getElementById('e');
    return Object.keys(Object.getOwnPropertyDescriptors(e))
      .filter((k) => Object.getOwnPropertyDescriptor(e, k).get)
      .map((k) => [k, typeof e[k]]);
  });
  assert.equal(runtime.length, 119);

  const dist = process.env.VELLMAR_WEB_DIR || path.join(ROOT, 'build', 'web', 'dist');
  const declarations = path.join(dist, 'vellmar.d.ts');
  const usage = path.join(path.dirname(declarations), '__usage.ts');
  const source = `import type { VellmarEditorElement } from './vellmar';
declare const e: VellmarEditorElement;
const domain: string = e.domain;
e.DisableMenuBar = 1;
e.HttpTimeout = 45;
e.addEventListener('Loaded', (event) => { const d: undefined = event.detail; });
e.addEventListener('propertychange', (event) => { const n: string = event.detail.name; });
document.addEventListener('Loaded', (event) => event.detail);
const editor = document.querySelector('vellmar-editor');
if (editor) editor.getBodyHTML();
// @ts-expect-error a text property takes no number
e.domain = 80;
// @ts-expect-error a switch takes no text
e.HideBold = 'yes';
// @ts-expect-error no such property
e.PathToContent = '/x';
export { domain };
`;
  const host = ts.createCompilerHost({});
  const readFile = host.readFile.bind(host);
  host.readFile = (file) => (file === usage ? source : readFile(file));
  const fileExists = host.fileExists.bind(host);
  host.fileExists = (file) => file === usage || fileExists(file);
  const program = ts.createProgram([usage], {
    strict: true, noEmit: true, target: ts.ScriptTarget.ES2020, module: ts.ModuleKind.ESNext,
    moduleResolution: ts.ModuleResolutionKind.NodeJs, lib: ['lib.es2020.d.ts', 'lib.dom.d.ts'],
    types: [],
  }, host);
  const diagnostics = ts.getPreEmitDiagnostics(program)
    .map((d) => ts.flattenDiagnosticMessageText(d.messageText, '\n'));
  assert.deepEqual(diagnostics, []);

  // Each property's declared type is the type the element gives it.
  const checker = program.getTypeChecker();
  const file = program.getSourceFile(declarations);
  let element;
  ts.forEachChild(file, (node) => {
    if (ts.isInterfaceDeclaration(node) && node.name.text === 'VellmarEditorElement') element = node;
  });
  const type = checker.getTypeAtLocation(element);
  for (const [name, kind] of runtime) {
    const symbol = type.getProperty(name);
    assert.ok(symbol, `${name} is not declared`);
    const declared = checker.getTypeOfSymbolAtLocation(symbol, element);
    const flag = kind === 'string' ? ts.TypeFlags.String : ts.TypeFlags.Number;
    assert.ok(declared.flags & flag, `${name}: declared ${checker.typeToString(declared)}, is ${kind}`);
  }
  assert.ok(fs.existsSync(declarations));
  await page.close();
});
