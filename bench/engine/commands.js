// Commands from the dispatch to the end of their DisplayChanged handling: formatting commands on a
// 1,000-paragraph document and table structure on a 50 x 20 table with row and column spans. Each
// is shown beside the browser doing the same change in a plain design-mode frame holding the same
// document, in the same run: execCommand for formatting; for tables, which the browser has no
// command for, the table DOM's own insertRow/insertCell/deleteRow and cell removal, followed by
// the layout the change needs (a table command that moves the caret makes the browser lay the
// table out at once, which on a table of a thousand cells is most of its time).
//
//   node bench/engine/commands.js [repetitions]
// Uses build/native/server/vellmar-server; VELLMAR_WEB_DIR points it at another browser build.
'use strict';

const path = require('node:path');
const { spread: stats, openEditorPage, runBench } = require(path.join(__dirname, '..', 'bench_page'));

const REPEAT = Number(process.argv[2]) || 60;
const FORMATS = [
  ['bold', 'bold'], ['italic', 'italic'], ['underline', 'underline'], ['center', 'justifyCenter'],
  ['bulletList', 'insertUnorderedList'], ['Heading 2', 'formatBlock', '<h2>'], ['arial', 'fontName', 'Arial'],
  ['fs_5', 'fontSize', '5'], ['indent', 'indent'], ['removeFormatting', 'removeFormat'],
];

const show = (r) => `p50 ${r.p50.toFixed(2)} ms, p95 ${r.p95.toFixed(2)} ms`;

// In the page: the helpers both measurements use.
function install() {
  const ed = document.getElementById('ed');
  const engine = ed.vellmarEngine;
  const doc = engine.document();
  const clock = doc.defaultView.performance;
  window.nextDisplayChanged = () => new Promise((resolve) => { window.displayResolve = resolve; });
  engine.on('DisplayChanged', () => {
    const resolve = window.displayResolve;
    window.displayResolve = null;
    if (resolve) resolve(clock.now());
  });
  // Lets the display settle: the change's DisplayChanged, then a new frame, so that the next
  // change is reported at once and not in the following frame.
  window.settle = async () => {
    await new Promise((r) => setTimeout(r, 0));
    await new Promise((r) => requestAnimationFrame(() => setTimeout(r, 0)));
  };
  // Three characters of the block's first text long enough, else of its first text.
  window.selectWord = (d, paragraph) => {
    const block = d.body.children[paragraph];
    const walker = d.createTreeWalker(block, NodeFilter.SHOW_TEXT);
    let text = null;
    for (let n = walker.nextNode(); n; n = walker.nextNode()) {
      if (!text) text = n;
      if (n.length >= 13) { text = n; break; }
    }
    const from = text.length >= 13 ? 10 : 0;
    d.getSelection().setBaseAndExtent(text, from, text, Math.min(text.length, from + 3));
  };
  // One command from the dispatch to the end of its DisplayChanged handling. A command that
  // changed nothing raises none: that is an error of the benchmark's set-up.
  window.timeDispatch = async (key) => {
    const done = window.nextDisplayChanged();
    const start = clock.now();
    ed.vellmarCommands.dispatch(key);
    const end = await Promise.race([done, new Promise((r) => setTimeout(() => r(null), 2000))]);
    if (end === null) throw new Error(`${key} changed nothing`);
    return end - start;
  };
}

async function formatting(page) {
  return page.evaluate(async ([formats, repeat]) => {
    const ed = document.getElementById('ed');
    const doc = ed.vellmarEngine.document();
    const plain = document.getElementById('plain').contentDocument;
    const clock = doc.defaultView.performance;
    const results = {};
    for (const [key, command, value] of formats) {
      const ours = [];
      const browser = [];
      for (let i = 0; i < repeat; i++) {
        const paragraph = 100 + ((i * 7) % 800);
        window.selectWord(doc, paragraph);
        await window.settle();
        ours.push(await window.timeDispatch(key));
        window.selectWord(plain, paragraph);
        const start = clock.now();
        plain.execCommand(command, false, value);
        browser.push(clock.now() - start);
        await window.settle();
      }
      results[key] = { ours, browser };
    }
    return results;
  }, [FORMATS, REPEAT]);
}

async function tables(page) {
  return page.evaluate(async (repeat) => {
    const ed = document.getElementById('ed');
    const doc = ed.vellmarEngine.document();
    const plain = document.getElementById('plain').contentDocument;
    const clock = doc.defaultView.performance;
    const caretIn = (row, col) => {
      const cell = doc.querySelector('table').rows[row].cells[col];
      const at = cell.firstChild || cell;
      doc.getSelection().setBaseAndExtent(at, 0, at, 0);
    };
    const results = { insertRow: [], deleteRow: [], insertColumn: [], deleteColumn: [], mergeCells: [], splitCells: [] };
    const browser = { insertRow: [], deleteRow: [], insertColumn: [], deleteColumn: [] };
    for (let i = 0; i < repeat; i++) {
      const row = 2 + ((i * 3) % 40);
      caretIn(row, 4);
      await window.settle();
      results.insertRow.push(await window.timeDispatch('insertRow'));
      caretIn(row + 1, 0);
      await window.settle();
      results.deleteRow.push(await window.timeDispatch('deleteRow'));
      caretIn(row, 4);
      await window.settle();
      results.insertColumn.push(await window.timeDispatch('insertColumn'));
      caretIn(row, 5);
      await window.settle();
      results.deleteColumn.push(await window.timeDispatch('deleteColumn'));
      // Two neighbours of one row merge; the merged cell splits again.
      const cells = doc.querySelector('table').rows[row].cells;
      doc.getSelection().setBaseAndExtent(cells[6].firstChild, 0, cells[7].firstChild, 1);
      await window.settle();
      results.mergeCells.push(await window.timeDispatch('mergeCells'));
      caretIn(row, 6);
      await window.settle();
      results.splitCells.push(await window.timeDispatch('splitCells'));

      const table = plain.querySelector('table');
      const timed = (list, change) => {
        plain.body.offsetHeight;
        const start = clock.now();
        change();
        plain.body.offsetHeight;
        list.push(clock.now() - start);
      };
      timed(browser.insertRow, () => {
        const added = table.insertRow(row + 1);
        for (let c = 0; c < 20; c++) added.insertCell();
      });
      timed(browser.deleteRow, () => table.deleteRow(row + 1));
      const added = [];
      timed(browser.insertColumn, () => {
        for (const tr of table.rows) added.push(tr.insertCell(Math.min(5, tr.cells.length)));
      });
      timed(browser.deleteColumn, () => added.forEach((cell) => cell.remove()));
      await window.settle();
    }
    return { results, browser };
  }, REPEAT);
}

function tableMarkup() {
  // 50 rows of 20 columns; every fifth row begins with a cell spanning 3 columns and 2 rows.
  let html = '<table border="1"><tbody>';
  for (let r = 0; r < 50; r++) {
    html += '<tr>';
    let columns = 20;
    if (r % 5 === 0) {
      html += `<td colspan="3" rowspan="2">s${r}</td>`;
      columns -= 3;
    } else if (r % 5 === 1) {
      columns -= 3;
    }
    for (let c = 0; c < columns; c++) html += `<td>r${r}c${c}</td>`;
    html += '</tr>';
  }
  return `${html}</tbody></table>`;
}

async function load(page, body) {
  await page.evaluate((html) => {
    document.getElementById('ed').vellmarEngine.documentHTML = `<html><body>${html}</body></html>`;
    const old = document.getElementById('plain');
    if (old) old.remove();
    const frame = document.createElement('iframe');
    frame.setAttribute('sandbox', 'allow-same-origin');
    frame.id = 'plain';
    frame.style.cssText = 'width:900px;height:600px';
    document.body.appendChild(frame);
    frame.contentDocument.designMode = 'on';
    frame.contentDocument.execCommand('styleWithCSS', false, false);
    frame.contentDocument.body.innerHTML = html;
  }, body);
  await page.waitForTimeout(200);
}

async function main({ server, browser }) {
  const page = await openEditorPage(browser, server, 'commands');
  await page.evaluate(install);

  const paragraphs = [];
  for (let i = 0; i < 1000; i++) {
    paragraphs.push(`<p>Paragraph ${String(i).padStart(4, '0')} with <b>bold</b>, <i>italic</i> and <a href="/p${i}">a link</a>.</p>`);
  }
  await load(page, paragraphs.join(''));
  const format = await formatting(page);
  console.log(`formatting commands, dispatch -> end of DisplayChanged, 1,000 paragraphs (${REPEAT} each)`);
  const allOurs = [];
  const shares = [];
  for (const [key] of FORMATS) {
    const ours = stats(format[key].ours);
    const plain = stats(format[key].browser);
    allOurs.push(...format[key].ours);
    // The editor's share of each run: its whole command less the browser doing the same change.
    format[key].ours.forEach((t, i) => shares.push(t - format[key].browser[i]));
    console.log(`  ${key.padEnd(17)} ours ${show(ours)}   browser execCommand ${show(plain)}`);
  }
  const all = stats(allOurs);
  const share = stats(shares);
  console.log(`  all formatting commands: ${show(all)}; the editor's share (ours - browser): ${show(share)}`);
  console.log(`  goal p95 <= 4 ms: whole ${all.p95 <= 4 ? 'met' : 'NOT met'}, editor's share ${share.p95 <= 4 ? 'met' : 'NOT met'}`);

  await load(page, `<p>before</p>${tableMarkup()}<p>after</p>`);
  const { results, browser: plainTable } = await tables(page);
  console.log(`table structure on 50 x 20 with spans, dispatch -> end of DisplayChanged (${REPEAT} each)`);
  const allTable = [];
  for (const [name, values] of Object.entries(results)) {
    allTable.push(...values);
    const beside = plainTable[name] ? `   browser table DOM + layout ${show(stats(plainTable[name]))}` : '';
    console.log(`  ${name.padEnd(13)} ours ${show(stats(values))}${beside}`);
  }
  const tableAll = stats(allTable);
  console.log(`  all table operations: ${show(tableAll)}; goal p95 <= 10 ms: ${tableAll.p95 <= 10 ? 'met' : 'NOT met'}`);
}

runBench(main);
