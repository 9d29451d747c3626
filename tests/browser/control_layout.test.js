'use strict';

// The layout pass: the menu bar on top, the bars in rows (a bar that does not fit starts a new row
// and the row's last bar reaches the right edge), the editing area below the last row.
const { test } = require('node:test');
const assert = require('node:assert/strict');
const { useEditorEnvironment, pageWith } = require('./harness');

const env = useEditorEnvironment();

async function open(page, width, extra = '') {
  await env.openHtml(page, pageWith(`
    <vellmar-editor id="e" style="display:block;width:${width}px;height:400px">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">${extra}
    </vellmar-editor>`));
  await page.waitForFunction(() => window.__loaded.length === 1);
}

// Boxes of the bars and the editing area, relative to the control, in layout order.
function boxes(page) {
  return page.evaluate(() => {
    const root = document.getElementById('e').shadowRoot;
    const box = (sel) => {
      const el = root.querySelector(sel);
      if (!el || el.hidden) return null;
      return { left: el.offsetLeft, top: el.offsetTop, right: el.offsetLeft + el.offsetWidth,
        bottom: el.offsetTop + el.offsetHeight };
    };
    return {
      inner: root.querySelector('.vellmar-control').clientWidth,
      menu: box('.vellmar-menubar'),
      bars: ['.vellmar-toolbar-standard', '.vellmar-toolbar-objects', '.vellmar-font-selector',
        '.vellmar-toolbar-format'].map(box).filter(Boolean),
      tabs: box('.vellmar-view-tabs'),
      engine: box('.vellmar-engine'),
    };
  });
}

function rows(bars) {
  const byTop = new Map();
  for (const bar of bars) byTop.set(bar.top, [...(byTop.get(bar.top) || []), bar]);
  return [...byTop.values()];
}

test('a narrow editor wraps every bar into its own row, each stretched to the right edge', async () => {
  const page = await env.newPage();
  await open(page, 430);
  const b = await boxes(page);
  assert.equal(b.menu.top, 0);
  assert.equal(b.bars.length, 4, JSON.stringify(b));
  assert.equal(b.bars[0].top, b.menu.bottom);
  for (let i = 0; i < 4; i++) {
    assert.equal(b.bars[i].left, 0);
    assert.equal(b.bars[i].right, b.inner, JSON.stringify(b));
    if (i > 0) assert.equal(b.bars[i].top, b.bars[i - 1].bottom);
  }
  assert.equal(b.tabs.top, b.bars[3].bottom);
  assert.ok(b.engine.top > b.tabs.top && b.engine.bottom <= 400);
  await page.close();
});

test('widening the editor puts the bars back on shared rows', async () => {
  const page = await env.newPage();
  await open(page, 430);
  const narrow = await boxes(page);
  await page.evaluate(() => { document.getElementById('e').style.width = '1400px'; });
  await page.waitForFunction((before) => {
    const el = document.getElementById('e').shadowRoot.querySelector('.vellmar-view-tabs');
    return el.offsetTop < before;
  }, narrow.tabs.top);
  const wide = await boxes(page);
  const r = rows(wide.bars);
  assert.equal(r.length, 1, 'all four bars fit on one row');
  for (let i = 1; i < r[0].length; i++) assert.equal(r[0][i].left, r[0][i - 1].right);
  assert.equal(r[0][r[0].length - 1].right, wide.inner);
  assert.equal(wide.tabs.top, r[0][0].bottom);
  await page.close();
});

test('a bar that does not fit starts a new row and the one before reaches the right edge', async () => {
  const page = await env.newPage();
  await open(page, 820);
  const b = await boxes(page);
  const r = rows(b.bars);
  assert.ok(r.length >= 2, `expected at least two rows, got ${JSON.stringify(b.bars)}`);
  for (const row of r) {
    assert.equal(row[0].left, 0);
    assert.equal(row[row.length - 1].right, b.inner);
  }
  await page.close();
});

test('without the HTML view there are no tabs and the editing area starts below the bars', async () => {
  const page = await env.newPage();
  await open(page, 700, `<param name="DisableHtmlView" value="1"><param name="DisableMenuBar" value="1">
    <param name="DisableStandardToolbar" value="1"><param name="DisableObjectsToolbar" value="1">
    <param name="DisableFontToolbar" value="1"><param name="DisableFormattingToolbar" value="1">`);
  const b = await boxes(page);
  assert.equal(b.menu, null);
  assert.equal(b.bars.length, 0);
  assert.equal(b.tabs, null);
  assert.deepEqual([b.engine.left, b.engine.top], [2, 0]);
  assert.equal(b.engine.right, b.inner - 2);
  assert.equal(await page.locator('#e').getByRole('tab').count(), 0);
  await page.close();
});

test('the progress indicator shows while the document loads and goes once it has arrived', async () => {
  const page = await env.newPage();
  let release;
  const held = new Promise((r) => { release = r; });
  await page.route('**/held-document', async (route) => {
    await held;
    await route.fulfill({ status: 200, contentType: 'text/html', body: '<p>Arrived</p>' });
  });
  await open(page, 600, '<param name="pathToContent" value="/held-document">');
  const progress = page.locator('#e').getByRole('progressbar');
  await progress.waitFor({ state: 'visible' });
  release();
  await page.waitForFunction(() => document.getElementById('e').getBodyHTML().includes('Arrived'));
  await progress.waitFor({ state: 'hidden' });
  await page.close();
});
