// Table structure: insertion of a table and the row, column, merge and split operations at the
// caret. Spans are honoured by working on the table's grid, where a cell spanning n columns and
// m rows occupies n x m slots.
#include <emscripten/em_js.h>
#include <emscripten/em_macros.h>
#include <emscripten/val.h>

#include <algorithm>

#include "common/diagnostics.h"
#include "editing/table_grid.h"
#include "platform/browser/engine.h"

using JsHandle = emscripten::EM_VAL;

// A table's rows and cells in document order in one call: {rows, cells, data}, where data holds
// for each row its section number and cell count, then for each cell its row span, column span
// and whether it is a header cell.
EM_JS(JsHandle, vellmar_read_table, (JsHandle handle), {
  var table = Emval.toValue(handle);
  var rows = table.rows;
  var rowList = [], cells = [], data = [];
  var section = -1, parent = null;
  for (var r = 0; r < rows.length; r++) {
    var row = rows[r];
    if (row.parentNode !== parent) { section++; parent = row.parentNode; }
    rowList.push(row);
    var list = row.cells;
    data.push(section, list.length);
    for (var c = 0; c < list.length; c++) {
      var cell = list[c];
      cells.push(cell);
      data.push(cell.rowSpan, cell.colSpan, cell.tagName === "TH" ? 1 : 0);
    }
  }
  return Emval.toHandle({rows : rowList, cells : cells, data : data});
});

namespace vellmar::browser {

namespace {

std::string escapeText(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else {
      out += c;
    }
  }
  return out;
}

// True when a cell holds nothing worth keeping (no text and no object).
bool blank(const dom::Element& cell) {
  const std::string text = cell.js()["textContent"].as<std::string>();
  const bool noText = text.find_first_not_of(" \t\r\n\xC2\xA0") == std::string::npos;
  return noText && cell.js().call<val>("querySelector", std::string("img,hr,table,input,object,iframe")).isNull();
}

std::string tagOf(const val& node) {
  if (node.isNull() || node.isUndefined() || node["nodeType"].as<int>() != 1) return {};
  return node["tagName"].as<std::string>();
}

dom::Element closestTable(dom::Element e) {
  while (e && e.tagName() != "TABLE") e = e.parentElement();
  return e;
}

// The table a structure command works on: the one around the caret's cell.
dom::Element requireTable(const dom::Element& cell) {
  dom::Element table = closestTable(cell);
  if (!table) throw ProcedureError(5, "The caret is not in a table");
  return table;
}

}  // namespace

// ---- a table read from the document, and an edit of its shape written back ---------------------

// The table's rows and cells as elements, beside its shape; cells and rows are numbered in
// document order, which is also their id in the shape.
struct Engine::DomTable {
  dom::Element table;
  std::vector<val> rows;
  std::vector<val> cells;
  editing::TableShape shape;
  val cellList = val::undefined();  // the cells as one JavaScript array, for look-ups
};

Engine::DomTable Engine::readTable(const dom::Element& table) const {
  DomTable read;
  read.table = table;
  const val parts = val::take_ownership(vellmar_read_table(table.js().as_handle()));
  const val rows = parts["rows"];
  const val cells = parts["cells"];
  read.cellList = cells;
  const auto data = emscripten::convertJSArrayToNumberVector<int>(parts["data"]);
  const int rowCount = rows["length"].as<int>();
  read.rows.reserve(static_cast<std::size_t>(rowCount));
  std::size_t at = 0;
  int cellId = 0;
  for (int r = 0; r < rowCount; ++r) {
    read.rows.push_back(rows[r]);
    editing::RowShape row{r, data[at], {}};
    const int count = data[at + 1];
    at += 2;
    for (int c = 0; c < count; ++c, at += 3) {
      row.cells.push_back(editing::CellShape{cellId, data[at], data[at + 1], data[at + 2] != 0});
      read.cells.push_back(cells[cellId]);
      ++cellId;
    }
    read.shape.rows.push_back(std::move(row));
  }
  return read;
}

int Engine::cellNumber(const DomTable& table, const dom::Element& cell) const {
  if (!cell) return -1;
  return table.cellList.call<int>("indexOf", cell.js());
}

// Makes the document's table look like the edit's shape, touching only what changed: rows and
// cells that stay where they were are left alone, so a selection inside them survives.
void Engine::applyTableEdit(DomTable& table, const editing::TableEdit& edit) {
  if (edit.shape.rows.empty()) {
    table.table.js().call<void>("remove");
    dom::noteChange();
    return;
  }
  // The row each old cell was in, and its spans as read.
  std::vector<int> oldRow(table.cells.size(), -1);
  std::vector<const editing::CellShape*> oldCell(table.cells.size(), nullptr);
  for (const auto& row : table.shape.rows) {
    for (const auto& cell : row.cells) {
      oldRow[static_cast<std::size_t>(cell.id)] = row.id;
      oldCell[static_cast<std::size_t>(cell.id)] = &cell;
    }
  }
  std::vector<bool> rowKept(table.rows.size(), false);
  std::vector<bool> cellKept(table.cells.size(), false);
  val previous = val::null();
  for (const auto& row : edit.shape.rows) {
    val tr = val::null();
    const bool newRow = row.id == editing::kNewPart;
    if (newRow) {
      tr = document_.call<val>("createElement", std::string("tr"));
      if (!previous.isNull()) {
        dom::call(previous["parentNode"], "insertBefore", tr, previous["nextSibling"]);
      } else {
        const val first = table.rows.front();
        dom::call(first["parentNode"], "insertBefore", tr, first);
      }
    } else {
      tr = table.rows[static_cast<std::size_t>(row.id)];
      rowKept[static_cast<std::size_t>(row.id)] = true;
    }
    // Right to left, so that every cell that has to be put in place goes before its right-hand
    // neighbour, which is in place already.
    val next = val::null();
    for (auto it = row.cells.rbegin(); it != row.cells.rend(); ++it) {
      const editing::CellShape& cell = *it;
      val element = val::null();
      bool place = newRow;
      if (cell.id == editing::kNewPart) {
        element = document_.call<val>("createElement", std::string(cell.header ? "th" : "td"));
        place = true;
      } else {
        const auto id = static_cast<std::size_t>(cell.id);
        element = table.cells[id];
        cellKept[id] = true;
        place = place || oldRow[id] != row.id;
      }
      if (place) dom::call(tr, "insertBefore", element, next);
      const editing::CellShape* before = cell.id == editing::kNewPart ? nullptr : oldCell[static_cast<std::size_t>(cell.id)];
      if (!before || before->rowSpan != cell.rowSpan) writeSpan(element, "rowspan", cell.rowSpan);
      if (!before || before->colSpan != cell.colSpan) writeSpan(element, "colspan", cell.colSpan);
      next = element;
    }
    previous = tr;
  }
  for (std::size_t i = 0; i < table.cells.size(); ++i) {
    if (!cellKept[i] && rowKept[static_cast<std::size_t>(oldRow[i])]) table.cells[i].call<void>("remove");
  }
  for (std::size_t r = 0; r < table.rows.size(); ++r) {
    if (!rowKept[r]) table.rows[r].call<void>("remove");
  }
  dom::noteChange();
  if (edit.caret) {
    const val tr = table.table.js()["rows"][edit.caret->row];
    if (!tr.isUndefined()) {
      const val cell = tr["cells"][edit.caret->cell];
      if (!cell.isUndefined()) placeCaretIn(dom::Element(cell), edit.caret->atEnd);
    }
  }
}

void Engine::writeSpan(const val& cell, const char* attribute, int span) {
  // A new cell spans one slot without saying so.
  if (span == 1) {
    if (cell.call<bool>("hasAttribute", std::string(attribute))) cell.call<void>("removeAttribute", std::string(attribute));
  } else {
    cell.call<void>("setAttribute", std::string(attribute), std::to_string(span));
  }
}

dom::Element Engine::caretCell() const {
  const Context& ctx = const_cast<Engine*>(this)->context();
  return ctx.cell;
}

// The cells a selection touches: for a text selection every cell from the one its start is in to
// the one its end is in, in document order; otherwise the caret's cell.
std::vector<int> Engine::touchedCells(const DomTable& table) {
  const Context& ctx = context();
  std::vector<int> touched;
  if (!ctx.editable || ctx.range.isNull()) return touched;
  const int caret = cellNumber(table, ctx.cell);
  if (ctx.type != editing::SelectionType::Text) {
    if (caret >= 0) touched.push_back(caret);
    return touched;
  }
  const val tableNode = table.table.js();
  auto cellAt = [&](const val& node) {
    val element = node["nodeType"].as<int>() == 1 ? node : node["parentElement"];
    // The innermost cell of this very table (a nested table's cell belongs to it).
    while (!element.isNull()) {
      const val cell = element.call<val>("closest", std::string("td,th"));
      if (cell.isNull()) return -1;
      if (cell.call<val>("closest", std::string("table")).strictlyEquals(tableNode)) {
        return cellNumber(table, dom::Element(cell));
      }
      element = cell["parentElement"];
    }
    return -1;
  };
  int first = cellAt(ctx.range["startContainer"]);
  int last = cellAt(ctx.range["endContainer"]);
  const int count = static_cast<int>(table.cells.size());
  if (first < 0) first = ctx.range.call<bool>("intersectsNode", tableNode) ? 0 : caret;
  if (last < 0) last = ctx.range.call<bool>("intersectsNode", tableNode) ? count - 1 : caret;
  if (first < 0 || last < 0) return touched;
  for (int n = std::min(first, last); n <= std::max(first, last); ++n) touched.push_back(n);
  return touched;
}

void Engine::placeCaretIn(const dom::Element& element, bool atEnd) {
  dom::TextRange range = element.createTextRange();
  range.collapse(!atEnd);
  range.select();
}

// A new table goes where the selection is (replacing a selected element), splitting a paragraph
// it lands in (see insertMarkup), with the caret in its first cell.
void Engine::insertTable(const InsertTableParam& param) {
  if (param.NumRows < 1 || param.NumCols < 1 || param.NumRows > 1000 || param.NumCols > 1000) {
    throw ProcedureError(5, "A table needs 1 to 1000 rows and columns");
  }
  std::string html = "<table";
  if (!param.TableAttrs.empty()) html += " " + param.TableAttrs;
  html += ">";
  if (!param.Caption.empty()) html += "<caption>" + escapeText(param.Caption) + "</caption>";
  html += "<tbody>";
  const std::string cell = param.CellAttrs.empty() ? "<td></td>" : "<td " + param.CellAttrs + "></td>";
  std::string row = "<tr>";
  for (long c = 0; c < param.NumCols; ++c) row += cell;
  row += "</tr>";
  for (long r = 0; r < param.NumRows; ++r) html += row;
  html += "</tbody></table>";

  const val inserted = insertMarkup(html);
  const val table = inserted["first"];
  if (table.isNull() || tagOf(table) != "TABLE") throw ProcedureError(5, "The table attributes did not make a table");
  const dom::ElementCollection cells(table.call<val>("getElementsByTagName", std::string("td")));
  if (cells.length() > 0) placeCaretIn(cells.item(0));
}

// The structure commands work on the table around the caret's cell.
void Engine::insertRow() {
  DomTable table = readTable(requireTable(caretCell()));
  applyTableEdit(table, editing::insertRowBelow(table.shape, cellNumber(table, caretCell())));
}

void Engine::insertColumn() {
  DomTable table = readTable(requireTable(caretCell()));
  applyTableEdit(table, editing::insertColumnRight(table.shape, cellNumber(table, caretCell())));
}

void Engine::deleteRows() {
  DomTable table = readTable(requireTable(caretCell()));
  applyTableEdit(table, editing::deleteRows(table.shape, touchedCells(table)));
}

void Engine::deleteColumns() {
  DomTable table = readTable(requireTable(caretCell()));
  applyTableEdit(table, editing::deleteColumns(table.shape, touchedCells(table)));
}

bool Engine::canMergeCells() {
  const Context& ctx = context();
  if (!ctx.cell || ctx.type != editing::SelectionType::Text) return false;
  const DomTable table = readTable(closestTable(ctx.cell));
  return editing::canMerge(table.shape, touchedCells(table));
}

bool Engine::canSplitCell() {
  const Context& ctx = context();
  if (!ctx.cell) return false;
  // A cell spanning one slot cannot split; reading the whole table is needed only for the others.
  if (ctx.cell.colSpan() <= 1 && ctx.cell.rowSpan() == 1) return false;
  const DomTable table = readTable(closestTable(ctx.cell));
  return editing::canSplit(table.shape, cellNumber(table, ctx.cell));
}

// The cells merge into the leftmost, which takes the contents of the others (blank cells add
// nothing).
void Engine::mergeCells() {
  DomTable table = readTable(requireTable(caretCell()));
  const editing::TableEdit edit = editing::mergeCells(table.shape, touchedCells(table));
  if (edit.mergedInto == editing::kNewPart) return;
  dom::Element first(table.cells[static_cast<std::size_t>(edit.mergedInto)]);
  std::string html = blank(first) ? std::string() : first.innerHTML();
  for (int id : edit.absorbed) {
    const dom::Element cell(table.cells[static_cast<std::size_t>(id)]);
    if (!blank(cell)) html += cell.innerHTML();
  }
  if (!html.empty() && html != first.innerHTML()) first.setInnerHTML(html);
  applyTableEdit(table, edit);
}

void Engine::splitCell() {
  DomTable table = readTable(requireTable(caretCell()));
  applyTableEdit(table, editing::splitCell(table.shape, cellNumber(table, caretCell())));
}

}  // namespace vellmar::browser
