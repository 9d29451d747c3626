// Shared steps of the command tests: an editor page, a document with the selection written into
// it, the menus as a person uses them, and the document and selection read back the same way.
//
// Selections are written into the markup: "[" and "]" around selected text, "|" for a caret, for
// example '<p>fo[ob]ar</p>' or '<p>one|</p>'. The same notation comes back from docWithSelection.
'use strict';

const { pageWith } = require('./harness');

// A page with one editor (params on top of domain and port); resolves once it has loaded.
async function openEditor(env, params = {}) {
  const page = await env.newPage();
  const all = { domain: '127.0.0.1', port: String(env.server.port), ...params };
  const tags = Object.entries(all).map(([n, v]) => `<param name="${n}" value="${v}">`).join('');
  await env.openHtml(page, pageWith(`<vellmar-editor id="ed" style="width:900px;height:520px">${tags}</vellmar-editor>`));
  await page.waitForFunction(() => window.__loaded.length === 1 && document.getElementById('ed').vellmarCommands);
  return page;
}

// Loads `markup` (with selection markers) as the document and selects what the markers say.
async function setContent(page, markup) {
  await page.evaluate((m) => {
    // Where the markers are, as paths from the body through child indexes, found in a copy of
    // the markup; the document itself is loaded without them, so that no edit of it is needed.
    const body = new DOMParser().parseFromString(`<body>${m}</body>`, 'text/html').body;
    const pathOf = (node) => {
      const path = [];
      for (let n = node; n !== body; n = n.parentNode) path.unshift([...n.parentNode.childNodes].indexOf(n));
      return path;
    };
    const texts = [];
    const walker = body.ownerDocument.createTreeWalker(body, NodeFilter.SHOW_TEXT);
    for (let n = walker.nextNode(); n; n = walker.nextNode()) texts.push(n);
    const points = {};
    for (const node of texts) {
      for (let i = 0; i < node.data.length;) {
        const c = node.data[i];
        if (c !== '[' && c !== ']' && c !== '|') {
          i++;
          continue;
        }
        node.deleteData(i, 1);
        if (node.data.length === 0) {
          const parent = node.parentNode;
          const index = [...parent.childNodes].indexOf(node);
          node.remove();
          points[c] = [pathOf(parent), index];
          break;
        }
        points[c] = [pathOf(node), i];
      }
    }
    window.__selectionPoints = points;
    const engine = document.getElementById('ed').vellmarEngine;
    engine.clearEvents();
    engine.documentHTML = `<html><head></head><body>${m.replace(/[[\]|]/g, '')}</body></html>`;
  }, markup);
  // The document is complete once its DocumentComplete has been raised.
  await page.waitForFunction(() =>
    document.getElementById('ed').vellmarEngine.events().some((e) => e.type === 'DocumentComplete'));
  await page.evaluate(() => {
    const engine = document.getElementById('ed').vellmarEngine;
    const doc = engine.document();
    const points = window.__selectionPoints;
    const resolve = ([path, offset]) => [path.reduce((n, i) => n.childNodes[i], doc.body), offset];
    const start = points['['] || points['|'];
    const end = points[']'] || points['|'];
    engine.focus();
    if (start) {
      const [a, ao] = resolve(start);
      const [b, bo] = resolve(end);
      doc.getSelection().setBaseAndExtent(a, ao, b, bo);
    }
  });
  await settle(page);
}

// Waits until the engine has reported the last change (DisplayChanged follows every change).
async function settle(page) {
  await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve, 0))));
}

// The body's markup with the selection written in: "[" and "]", or "|" for a caret.
function docWithSelection(page) {
  return page.evaluate(() => {
    const doc = document.getElementById('ed').vellmarEngine.document();
    const selection = doc.getSelection();
    if (selection.rangeCount === 0) return doc.body.innerHTML;
    const range = selection.getRangeAt(0);
    const clone = doc.body.cloneNode(true);
    const pathOf = (node) => {
      const path = [];
      for (let n = node; n !== doc.body; n = n.parentNode) {
        if (!n.parentNode) return null;
        path.unshift([...n.parentNode.childNodes].indexOf(n));
      }
      return path;
    };
    const follow = (path) => path.reduce((n, i) => n.childNodes[i], clone);
    const mark = (container, offset, text) => {
      const path = pathOf(container);
      if (!path) return;
      const target = follow(path);
      if (target.nodeType === 3) {
        target.insertData(offset, text);
      } else {
        target.insertBefore(doc.createTextNode(text), target.childNodes[offset] || null);
      }
    };
    if (range.collapsed) {
      mark(range.startContainer, range.startOffset, '|');
    } else {
      mark(range.endContainer, range.endOffset, ']');
      mark(range.startContainer, range.startOffset, '[');
    }
    return clone.innerHTML;
  });
}

// The body as the editor hands it out (cleaned), with line breaks and indentation removed.
async function bodyHTML(page) {
  const html = await page.evaluate(() => document.getElementById('ed').getBodyHTML());
  return html.replace(/\r?\n\s*/g, '');
}

function rawBody(page) {
  return page.evaluate(() => document.getElementById('ed').vellmarEngine.bodyHTML);
}

// An item of an open menu by its caption, checked (menuitemcheckbox) or not.
function menuItem(menu, caption) {
  return menu.locator(`:is([role=menuitem], [role=menuitemcheckbox])[aria-label="${caption}"]`);
}

// Chooses a menu item as a person does: the bar button, then each submenu, then the item.
async function choose(page, ...path) {
  await page.getByRole('menubar').getByRole('menuitem', { name: path[0], exact: true }).click();
  let menu = page.getByRole('menu', { name: path[0], exact: true });
  for (const caption of path.slice(1, -1)) {
    await menuItem(menu, caption).click();
    menu = page.getByRole('menu', { name: caption, exact: true });
  }
  await menuItem(menu, path[path.length - 1]).click();
  await settle(page);
}

// The state of a menu item as the menu shows it once opened: {disabled, checked}; the menu is
// closed again with Escape.
async function itemState(page, ...path) {
  await page.getByRole('menubar').getByRole('menuitem', { name: path[0], exact: true }).click();
  let menu = page.getByRole('menu', { name: path[0], exact: true });
  for (const caption of path.slice(1, -1)) {
    await menuItem(menu, caption).click();
    menu = page.getByRole('menu', { name: caption, exact: true });
  }
  const item = menuItem(menu, path[path.length - 1]);
  const state = {
    disabled: (await item.getAttribute('aria-disabled')) === 'true',
    checked: (await item.getAttribute('aria-checked')) === 'true',
  };
  for (let i = 0; i < path.length; i++) await page.keyboard.press('Escape');
  return state;
}

// The frame the document is edited in.
function frame(page) {
  return page.frameLocator('iframe.vellmar-engine-frame');
}

// Answers the editor's dialogs (see EditorCommands' surface) and records the panels it opens.
async function answerDialogs(page, answers) {
  await page.evaluate((a) => {
    window.__panels = [];
    const all = { ...a, panel: (title) => window.__panels.push(title), hideAllFrames: () => window.__panels.push('hideAllFrames') };
    document.getElementById('ed').vellmarCommands.answerDialogs(all);
  }, answers);
}

function debugLog(page) {
  return page.evaluate(() => document.getElementById('ed').getDebugLog());
}

module.exports = {
  openEditor, setContent, settle, docWithSelection, bodyHTML, rawBody, choose, itemState, frame, answerDialogs,
  debugLog,
};
