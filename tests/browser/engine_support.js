// Shared steps of the editing engine's browser tests: an editor page, the engine's test surface
// (`element.vellmarEngine`), the frame the document lives in, and the published command numbers.
'use strict';

const { pageWith } = require('./harness');

const DECMD = {
  BOLD: 5000, COPY: 5002, CUT: 5003, DELETE: 5004, DELETECOLS: 5006, DELETEROWS: 5007,
  FINDTEXT: 5008, GETBLOCKFMT: 5011, GETFONTNAME: 5013, GETFONTSIZE: 5014, GETFORECOLOR: 5015,
  HYPERLINK: 5016, IMAGE: 5017, INDENT: 5018, INSERTCOL: 5020, INSERTROW: 5021, INSERTTABLE: 5022,
  ITALIC: 5023, JUSTIFYCENTER: 5024, JUSTIFYLEFT: 5025, JUSTIFYRIGHT: 5026, MERGECELLS: 5029,
  ORDERLIST: 5030, OUTDENT: 5031, PASTE: 5032, REDO: 5033, REMOVEFORMAT: 5034, SELECTALL: 5035,
  SETBLOCKFMT: 5043, SETFONTNAME: 5044, SETFONTSIZE: 5045, SETFORECOLOR: 5046, SPLITCELL: 5047,
  UNDERLINE: 5048, UNDO: 5049, UNLINK: 5050, UNORDERLIST: 5051, LOCK_ELEMENT: 5027,
};
const STATUS = { NOT_SUPPORTED: 0, DISABLED: 1, ENABLED: 3, LATCHED: 7, NINCHED: 11 };

// A page with one editor whose engine holds `body`; resolves once the engine is there.
async function openEngine(env, body = '<p>Hello</p>') {
  const page = await env.newPage();
  await env.openHtml(page, pageWith(`
    <vellmar-editor id="ed" style="width:760px;height:520px">
      <param name="domain" value="127.0.0.1"><param name="port" value="${env.server.port}">
    </vellmar-editor>`));
  await page.waitForFunction(() => {
    const el = document.getElementById('ed');
    return el && el.vellmarEngine;
  });
  await setBody(page, body);
  return page;
}

async function setBody(page, body) {
  await page.evaluate((b) => {
    const engine = document.getElementById('ed').vellmarEngine;
    engine.documentHTML = `<html><head></head><body>${b}</body></html>`;
  }, body);
  // DocumentComplete follows the load.
  await page.waitForTimeout(30);
}

// The frame the document is edited in, for clicks and typing as a person makes them.
function frame(page) {
  return page.frameLocator('iframe.vellmar-engine-frame');
}

function exec(page, id, option = 0, value = null) {
  return page.evaluate(([i, o, v]) => {
    const engine = document.getElementById('ed').vellmarEngine;
    const result = engine.execCommand(i, o, v);
    return result === null ? { error: engine.lastError() } : { value: result };
  }, [id, option, value]);
}

function status(page, id) {
  return page.evaluate((i) => document.getElementById('ed').vellmarEngine.queryStatus(i), id);
}

function bodyHTML(page) {
  return page.evaluate(() => document.getElementById('ed').vellmarEngine.bodyHTML);
}

function selectionType(page) {
  return page.evaluate(() => document.getElementById('ed').vellmarEngine.selectionType());
}

// Clicks at the end of the text of the element matching `selector` in the document.
async function clickEnd(page, selector) {
  const box = await frame(page).locator(selector).first().boundingBox();
  await page.mouse.click(box.x + box.width - 1, box.y + box.height / 2);
}

module.exports = { DECMD, STATUS, openEngine, setBody, frame, exec, status, bodyHTML, selectionType, clickEnd };
