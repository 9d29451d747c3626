// Table structure: insertion of a table and the row, column, merge and split operations at the
// caret. Spans are honoured by working on the table's grid, where a cell spanning n columns and
// m rows occupies n x m slots.
#include <algorithm>
#include <set>

#include "common/diagnostics.h"
#include "platform/browser/engine.h"

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

void setRowSpan(dom::Element& cell, int span) {
  if (span <= 1) {
    cell.removeAttribute("rowspan");
  } else {
    cell.setAttribute("rowspan", std::to_string(span));
  }
}

// True when a cell holds nothing worth keeping (no text and no object).
bool blank(const dom::Element& cell) {
  const std::string text = cell.js()["textContent"].as<std::string>();
  const bool noText = text.find_first_not_of(" \t\r\n\xC2\xA0") == std::string::npos;
  return noText && cell.js().call<val>("querySelector", std::string("img,hr,table,input,object,iframe")).isNull();
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

// The slots of a table: rows in document order (head, bodies, foot), and for every slot the cell
// that occupies it. A rowspan of 0 counts as 1.
struct Engine::TableGrid {
  struct Cell {
    dom::Element element;
    int row = 0, col = 0, rowSpan = 1, colSpan = 1;
  };
  std::vector<dom::Element> rows;
  std::vector<Cell> cells;
  std::vector<std::vector<int>> slots;
  int columns = 0;

  explicit TableGrid(const dom::Element& table) {
    const dom::ElementCollection rowList(table.js()["rows"]);
    const int rowCount = rowList.length();
    slots.resize(static_cast<std::size_t>(rowCount));
    for (int r = 0; r < rowCount; ++r) {
      rows.push_back(rowList.item(r));
      const dom::ElementCollection cellList(rows.back().js()["cells"]);
      int col = 0;
      for (int c = 0, n = cellList.length(); c < n; ++c) {
        Cell cell;
        cell.element = cellList.item(c);
        auto& line = slots[static_cast<std::size_t>(r)];
        while (col < static_cast<int>(line.size()) && line[static_cast<std::size_t>(col)] >= 0) ++col;
        cell.row = r;
        cell.col = col;
        cell.rowSpan = std::min(cell.element.rowSpan(), rowCount - r);
        cell.colSpan = cell.element.colSpan();
        const int index = static_cast<int>(cells.size());
        for (int dr = 0; dr < cell.rowSpan; ++dr) {
          auto& target = slots[static_cast<std::size_t>(r + dr)];
          if (static_cast<int>(target.size()) < col + cell.colSpan) {
            target.resize(static_cast<std::size_t>(col + cell.colSpan), -1);
          }
          for (int dc = 0; dc < cell.colSpan; ++dc) target[static_cast<std::size_t>(col + dc)] = index;
        }
        cells.push_back(cell);
        col += cell.colSpan;
      }
    }
    for (const auto& line : slots) columns = std::max(columns, static_cast<int>(line.size()));
    for (auto& line : slots) line.resize(static_cast<std::size_t>(columns), -1);
  }

  int find(const dom::Element& element) const {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (cells[i].element == element) return static_cast<int>(i);
    }
    return -1;
  }

  int slot(int row, int col) const {
    if (row < 0 || col < 0 || row >= static_cast<int>(slots.size()) || col >= columns) return -1;
    return slots[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)];
  }

  // The cell of `row` before which a new cell at grid column `col` goes (empty: at the end).
  dom::Element cellFrom(int row, int col) const {
    for (const auto& cell : cells) {
      if (cell.row == row && cell.col >= col) return cell.element;
    }
    return {};
  }
};

dom::Element Engine::caretCell() const {
  const Context& ctx = const_cast<Engine*>(this)->context();
  return ctx.cell;
}

std::vector<dom::Element> Engine::touchedCells(const dom::Element& table) const {
  const Context& ctx = const_cast<Engine*>(this)->context();
  std::vector<dom::Element> touched;
  if (!ctx.editable || ctx.range.isNull()) return touched;
  if (ctx.type != "Text") {
    if (ctx.cell) touched.push_back(ctx.cell);
    return touched;
  }
  const TableGrid grid(table);
  for (const auto& cell : grid.cells) {
    if (ctx.range.call<bool>("intersectsNode", cell.element.js())) touched.push_back(cell.element);
  }
  return touched;
}

void Engine::placeCaretIn(const dom::Element& element, bool atEnd) {
  dom::TextRange range = element.createTextRange();
  range.collapse(!atEnd);
  range.select();
}

// A new table goes where the selection is (replacing a selected element). A table cannot stand
// inside a paragraph, heading, address or preformatted block, so such a block is split at the
// caret and the table goes between the halves; a half left empty is dropped.
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

  const Context& ctx = context();
  val range = ctx.range.call<val>("cloneRange");
  if (ctx.type == "Control") {
    range.call<void>("selectNode", ctx.control.js());
    dom::setControlSelection(document_, dom::Element());
  }
  range.call<void>("deleteContents");
  val fragment = dom::call(range, "createContextualFragment", html);
  const val table = fragment.call<val>("querySelector", std::string("table"));
  if (table.isNull()) throw ProcedureError(5, "The table attributes did not make a table");

  const dom::Element body = dom::Document(document_).body();
  dom::Element block;
  {
    val node = range["startContainer"];
    dom::Element e(node["nodeType"].as<int>() == 1 ? node : node["parentElement"]);
    for (; e && !(e == body); e = e.parentElement()) {
      const std::string tag = e.tagName();
      if (tag == "P" || tag == "ADDRESS" || tag == "PRE" || (tag.size() == 2 && tag[0] == 'H' && tag[1] >= '1' && tag[1] <= '6')) {
        block = e;
        break;
      }
      if (tag == "TD" || tag == "TH" || tag == "LI" || tag == "DIV" || tag == "BLOCKQUOTE") break;
    }
  }
  if (block) {
    val tail = range.call<val>("cloneRange");
    tail.call<void>("setEndAfter", block.js());
    val rest = tail.call<val>("extractContents");
    const val restBlock = rest["firstElementChild"];
    val parent = block.js()["parentNode"];
    parent.call<val>("insertBefore", fragment, block.js()["nextSibling"]);
    parent.call<val>("insertBefore", rest, table["nextSibling"]);
    if (blank(block) && block.js().call<val>("querySelector", std::string("br,a[name]")).isNull()) {
      block.js().call<void>("remove");
    }
    if (!restBlock.isNull() && blank(dom::Element(restBlock))) restBlock.call<void>("remove");
  } else {
    dom::call(range, "insertNode", fragment);
  }
  dom::noteChange();
  const dom::ElementCollection cells(table.call<val>("getElementsByTagName", std::string("td")));
  if (cells.length() > 0) placeCaretIn(cells.item(0));
}

// A new row goes below the caret's row (below the last row the caret's cell spans). It has a cell
// for every column of the table, except where a cell from above spans across the new row's
// place: that cell grows by a row instead.
void Engine::insertRow() {
  dom::Element cell = caretCell();
  const dom::Element table = requireTable(cell);
  TableGrid grid(table);
  const int index = grid.find(cell);
  if (index < 0) throw ProcedureError(5, "The cell is not in its table's grid");
  const int last = grid.cells[static_cast<std::size_t>(index)].row + grid.cells[static_cast<std::size_t>(index)].rowSpan - 1;
  val tr = document_.call<val>("createElement", std::string("tr"));
  std::set<int> grown;
  for (int c = 0; c < grid.columns; ++c) {
    const int above = grid.slot(last, c);
    const int below = grid.slot(last + 1, c);
    if (above >= 0 && above == below) {
      if (grown.insert(above).second) {
        auto& spanning = grid.cells[static_cast<std::size_t>(above)];
        setRowSpan(spanning.element, spanning.rowSpan + 1);
      }
      continue;
    }
    tr.call<void>("appendChild", document_.call<val>("createElement", std::string("td")));
  }
  const val after = grid.rows[static_cast<std::size_t>(last)].js();
  after["parentNode"].call<val>("insertBefore", tr, after["nextSibling"]);
  dom::noteChange();
}

// A new column goes right of the caret's column (right of the last column the caret's cell
// spans), with a new cell in every row, except where a cell spans across the new column's place:
// that cell grows by a column instead (once, whatever its row span).
void Engine::insertColumn() {
  dom::Element cell = caretCell();
  const dom::Element table = requireTable(cell);
  TableGrid grid(table);
  const int index = grid.find(cell);
  if (index < 0) throw ProcedureError(5, "The cell is not in its table's grid");
  const auto& at = grid.cells[static_cast<std::size_t>(index)];
  const int k = at.col + at.colSpan;
  std::set<int> grown;
  for (int r = 0; r < static_cast<int>(grid.rows.size()); ++r) {
    const int left = grid.slot(r, k - 1);
    const int right = grid.slot(r, k);
    if (left >= 0 && left == right) {
      if (grown.insert(left).second) {
        auto& spanning = grid.cells[static_cast<std::size_t>(left)];
        spanning.element.setColSpan(spanning.colSpan + 1);
      }
      continue;
    }
    val td = document_.call<val>("createElement", std::string("td"));
    const dom::Element before = grid.cellFrom(r, k);
    grid.rows[static_cast<std::size_t>(r)].js().call<val>("insertBefore", td, before ? before.js() : val::null());
  }
  dom::noteChange();
}

// The rows deleted are the caret's row, or every row in which a cell touched by the selection
// begins. A cell from above that spans into a deleted row loses that row from its span; a cell
// that begins in a deleted row and spans below it moves down into the first row that stays.
// Deleting every row deletes the table.
void Engine::deleteRows() {
  const dom::Element table = requireTable(caretCell());
  TableGrid grid(table);
  std::set<int> deleted;
  for (const auto& touched : touchedCells(table)) {
    const int i = grid.find(touched);
    if (i >= 0) deleted.insert(grid.cells[static_cast<std::size_t>(i)].row);
  }
  if (deleted.empty()) return;
  if (deleted.size() == grid.rows.size()) {
    table.js().call<void>("remove");
    dom::noteChange();
    return;
  }
  for (auto& cell : grid.cells) {
    int lost = 0;
    int firstKept = -1;
    for (int r = cell.row; r < cell.row + cell.rowSpan; ++r) {
      if (deleted.count(r)) {
        ++lost;
      } else if (firstKept < 0) {
        firstKept = r;
      }
    }
    if (lost == 0 || lost == cell.rowSpan) continue;
    if (deleted.count(cell.row)) {
      // Moves into the first kept row, before the cell that begins right of it there.
      const dom::Element before = grid.cellFrom(firstKept, cell.col + cell.colSpan);
      grid.rows[static_cast<std::size_t>(firstKept)].js().call<val>(
          "insertBefore", cell.element.js(), before ? before.js() : val::null());
    }
    setRowSpan(cell.element, cell.rowSpan - lost);
  }
  // The caret goes to the first row that stays after the deleted ones, else the last before.
  const int rowCount = static_cast<int>(grid.rows.size());
  int caretRow = -1;
  for (int r = *deleted.begin() + 1; r < rowCount && caretRow < 0; ++r) {
    if (!deleted.count(r)) caretRow = r;
  }
  for (int r = *deleted.begin() - 1; r >= 0 && caretRow < 0; --r) {
    if (!deleted.count(r)) caretRow = r;
  }
  for (int r : deleted) grid.rows[static_cast<std::size_t>(r)].js().call<void>("remove");
  dom::noteChange();
  const dom::ElementCollection cells(grid.rows[static_cast<std::size_t>(caretRow)].js()["cells"]);
  if (cells.length() > 0) placeCaretIn(cells.item(0));
}

// The columns deleted are the caret cell's columns, or every column of a cell touched by the
// selection. A cell that lies wholly in deleted columns goes; a cell spanning deleted and kept
// columns keeps only the kept ones. Deleting every column deletes the table.
void Engine::deleteColumns() {
  const dom::Element table = requireTable(caretCell());
  TableGrid grid(table);
  std::set<int> deleted;
  for (const auto& touched : touchedCells(table)) {
    const int i = grid.find(touched);
    if (i < 0) continue;
    const auto& cell = grid.cells[static_cast<std::size_t>(i)];
    for (int c = cell.col; c < cell.col + cell.colSpan; ++c) deleted.insert(c);
  }
  if (deleted.empty()) return;
  if (static_cast<int>(deleted.size()) >= grid.columns) {
    table.js().call<void>("remove");
    dom::noteChange();
    return;
  }
  dom::Element survivor;
  for (auto& cell : grid.cells) {
    int lost = 0;
    for (int c = cell.col; c < cell.col + cell.colSpan; ++c) lost += deleted.count(c) ? 1 : 0;
    if (lost == cell.colSpan) {
      cell.element.js().call<void>("remove");
    } else {
      if (lost > 0) cell.element.setColSpan(cell.colSpan - lost);
      if (!survivor && cell.row == 0) survivor = cell.element;
    }
  }
  dom::noteChange();
  if (survivor) placeCaretIn(survivor);
}

// Cells merge when the selection touches two or more cells that begin in the same row, have the
// same row span and follow each other without a gap. The first cell takes the others' contents
// (blank cells add nothing) and the sum of their column spans; the others go.
bool Engine::canMergeCells() {
  const Context& ctx = context();
  if (!ctx.cell || ctx.type != "Text") return false;
  const dom::Element table = closestTable(ctx.cell);
  const std::vector<dom::Element> touched = touchedCells(table);
  if (touched.size() < 2) return false;
  const TableGrid grid(table);
  std::vector<TableGrid::Cell> cells;
  for (const auto& element : touched) {
    const int i = grid.find(element);
    if (i < 0) return false;
    cells.push_back(grid.cells[static_cast<std::size_t>(i)]);
  }
  std::sort(cells.begin(), cells.end(), [](const auto& a, const auto& b) { return a.col < b.col; });
  for (std::size_t i = 1; i < cells.size(); ++i) {
    if (cells[i].row != cells[0].row || cells[i].rowSpan != cells[0].rowSpan ||
        cells[i].col != cells[i - 1].col + cells[i - 1].colSpan) {
      return false;
    }
  }
  return true;
}

void Engine::mergeCells() {
  const dom::Element table = closestTable(caretCell());
  TableGrid grid(table);
  std::vector<TableGrid::Cell> cells;
  for (const auto& element : touchedCells(table)) {
    const int i = grid.find(element);
    if (i >= 0) cells.push_back(grid.cells[static_cast<std::size_t>(i)]);
  }
  std::sort(cells.begin(), cells.end(), [](const auto& a, const auto& b) { return a.col < b.col; });
  dom::Element first = cells.front().element;
  std::string html = blank(first) ? std::string() : first.innerHTML();
  int span = cells.front().colSpan;
  for (std::size_t i = 1; i < cells.size(); ++i) {
    if (!blank(cells[i].element)) html += cells[i].element.innerHTML();
    span += cells[i].colSpan;
    cells[i].element.js().call<void>("remove");
  }
  if (!html.empty()) first.setInnerHTML(html);
  first.setColSpan(span);
  placeCaretIn(first, true);
}

// A cell spanning n columns becomes n cells: it keeps its contents and one column, and n - 1
// empty cells of the same kind and row span follow it.
void Engine::splitCell() {
  dom::Element cell = caretCell();
  const int span = cell.colSpan();
  const int rows = cell.rowSpan();
  cell.setColSpan(1);
  val parent = cell.js()["parentNode"];
  const val next = cell.js()["nextSibling"];
  const std::string tag = cell.tagName() == "TH" ? "th" : "td";
  for (int i = 1; i < span; ++i) {
    dom::Element added(document_.call<val>("createElement", tag));
    if (rows > 1) setRowSpan(added, rows);
    parent.call<val>("insertBefore", added.js(), next);
  }
  dom::noteChange();
}

}  // namespace vellmar::browser
