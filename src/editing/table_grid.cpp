#include "editing/table_grid.h"

#include <algorithm>
#include <set>

namespace vellmar::editing {

namespace {

// No table has more columns than this; a larger column span is read as this.
constexpr int kMaxSpan = 1000;

// A cell of the new shape: the row it ends up in and its order there. Keys are twice the grid
// column the cell begins in, so that a new cell can go between the cells of a row (at an odd key).
struct Placed {
  int row = 0;
  int key = 0;
  CellShape cell;
};

struct RowMeta {
  int id = kNewPart;
  int section = 0;
};

TableShape assemble(const std::vector<RowMeta>& rows, std::vector<Placed> placed) {
  std::stable_sort(placed.begin(), placed.end(), [](const Placed& a, const Placed& b) {
    return a.row != b.row ? a.row < b.row : a.key < b.key;
  });
  TableShape shape;
  shape.rows.reserve(rows.size());
  for (const auto& meta : rows) shape.rows.push_back(RowShape{meta.id, meta.section, {}});
  for (auto& p : placed) shape.rows[static_cast<std::size_t>(p.row)].cells.push_back(std::move(p.cell));
  return shape;
}

// Every cell of the shape in document order.
std::vector<const CellShape*> cellsInOrder(const TableShape& shape) {
  std::vector<const CellShape*> cells;
  for (const auto& row : shape.rows) {
    for (const auto& cell : row.cells) cells.push_back(&cell);
  }
  return cells;
}

std::vector<RowMeta> sameRows(const TableShape& shape) {
  std::vector<RowMeta> rows;
  for (const auto& row : shape.rows) rows.push_back({row.id, row.section});
  return rows;
}

// Every cell where it is, with `change` applied to each (it may alter the cell or its key, or
// return false to drop it).
template <class Change>
std::vector<Placed> placeAll(const TableShape& shape, const TableGrid& grid, Change change) {
  const auto cells = cellsInOrder(shape);
  std::vector<Placed> placed;
  placed.reserve(cells.size());
  for (int n = 0; n < grid.cellCount(); ++n) {
    Placed p{grid.place(n).row, 2 * grid.place(n).col, *cells[static_cast<std::size_t>(n)]};
    if (change(n, p)) placed.push_back(std::move(p));
  }
  return placed;
}

CellShape newCell(bool header = false) { return CellShape{kNewPart, 1, 1, header}; }

bool valid(const TableGrid& grid, int cell) { return cell >= 0 && cell < grid.cellCount(); }

// The position of the cell with `id` in the shape.
std::optional<TableEdit::Caret> caretAt(const TableShape& shape, int id, bool atEnd) {
  for (std::size_t r = 0; r < shape.rows.size(); ++r) {
    const auto& cells = shape.rows[r].cells;
    for (std::size_t c = 0; c < cells.size(); ++c) {
      if (cells[c].id == id) return TableEdit::Caret{static_cast<int>(r), static_cast<int>(c), atEnd};
    }
  }
  return std::nullopt;
}

// The first cell of row `row`, or of the nearest row after it, or before it, that has one.
std::optional<TableEdit::Caret> caretNear(const TableShape& shape, int row) {
  const int count = static_cast<int>(shape.rows.size());
  for (int r = std::max(0, row); r < count; ++r) {
    if (!shape.rows[static_cast<std::size_t>(r)].cells.empty()) return TableEdit::Caret{r, 0, false};
  }
  for (int r = std::min(row, count) - 1; r >= 0; --r) {
    if (!shape.rows[static_cast<std::size_t>(r)].cells.empty()) return TableEdit::Caret{r, 0, false};
  }
  return std::nullopt;
}

}  // namespace

int TableShape::cellCount() const {
  int count = 0;
  for (const auto& row : rows) count += static_cast<int>(row.cells.size());
  return count;
}

TableGrid::TableGrid(const TableShape& shape) {
  const int rowCount = static_cast<int>(shape.rows.size());
  slots_.resize(static_cast<std::size_t>(rowCount));
  sectionEnd_.resize(static_cast<std::size_t>(rowCount));
  for (int r = rowCount - 1; r >= 0; --r) {
    const bool lastOfSection = r == rowCount - 1 || shape.rows[static_cast<std::size_t>(r + 1)].section !=
                                                         shape.rows[static_cast<std::size_t>(r)].section;
    sectionEnd_[static_cast<std::size_t>(r)] = lastOfSection ? r : sectionEnd_[static_cast<std::size_t>(r + 1)];
  }
  for (int r = 0; r < rowCount; ++r) {
    firstCell_.push_back(static_cast<int>(places_.size()));
    const int end = sectionEnd_[static_cast<std::size_t>(r)];
    int col = 0;
    for (const auto& cell : shape.rows[static_cast<std::size_t>(r)].cells) {
      auto& line = slots_[static_cast<std::size_t>(r)];
      while (col < static_cast<int>(line.size()) && line[static_cast<std::size_t>(col)] >= 0) ++col;
      CellPlace place;
      place.row = r;
      place.col = col;
      place.rowSpan = cell.rowSpan <= 0 ? end - r + 1 : std::min(cell.rowSpan, end - r + 1);
      place.colSpan = std::clamp(cell.colSpan, 1, kMaxSpan);
      const int number = static_cast<int>(places_.size());
      for (int dr = 0; dr < place.rowSpan; ++dr) {
        auto& target = slots_[static_cast<std::size_t>(r + dr)];
        if (static_cast<int>(target.size()) < col + place.colSpan) {
          target.resize(static_cast<std::size_t>(col + place.colSpan), -1);
        }
        for (int dc = 0; dc < place.colSpan; ++dc) target[static_cast<std::size_t>(col + dc)] = number;
      }
      places_.push_back(place);
      col += place.colSpan;
    }
  }
  for (const auto& line : slots_) columns_ = std::max(columns_, static_cast<int>(line.size()));
  for (auto& line : slots_) line.resize(static_cast<std::size_t>(columns_), -1);
}

int TableGrid::at(int row, int col) const {
  if (row < 0 || col < 0 || row >= rowCount() || col >= columns_) return -1;
  return slots_[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)];
}

int TableGrid::cellOf(int row, int index) const { return firstCell_[static_cast<std::size_t>(row)] + index; }

int TableGrid::sectionEnd(int row) const { return sectionEnd_[static_cast<std::size_t>(row)]; }

TableEdit insertRowBelow(const TableShape& shape, int cell) {
  const TableGrid grid(shape);
  TableEdit edit;
  if (!valid(grid, cell)) {
    edit.shape = shape;
    return edit;
  }
  const CellPlace& at = grid.place(cell);
  const int last = at.row + at.rowSpan - 1;
  const bool sameSection = last + 1 <= grid.sectionEnd(last);
  std::set<int> grown;
  std::vector<Placed> added;
  for (int c = 0; c < grid.columnCount(); ++c) {
    const int above = grid.at(last, c);
    const int below = sameSection ? grid.at(last + 1, c) : -1;
    if (above >= 0 && above == below) {
      grown.insert(above);
    } else {
      added.push_back({last + 1, 2 * c, newCell()});
    }
  }
  auto placed = placeAll(shape, grid, [&](int n, Placed& p) {
    if (p.row > last) ++p.row;
    // A span of 0 reaches the section's end and takes in the new row by itself.
    if (grown.count(n) && p.cell.rowSpan > 0) p.cell.rowSpan = grid.place(n).rowSpan + 1;
    return true;
  });
  placed.insert(placed.end(), added.begin(), added.end());
  auto rows = sameRows(shape);
  rows.insert(rows.begin() + last + 1, RowMeta{kNewPart, shape.rows[static_cast<std::size_t>(last)].section});
  edit.shape = assemble(rows, std::move(placed));
  return edit;
}

TableEdit insertColumnRight(const TableShape& shape, int cell) {
  const TableGrid grid(shape);
  TableEdit edit;
  if (!valid(grid, cell)) {
    edit.shape = shape;
    return edit;
  }
  const CellPlace& at = grid.place(cell);
  const int k = at.col + at.colSpan;
  std::set<int> grown;
  std::vector<Placed> added;
  for (int r = 0; r < grid.rowCount(); ++r) {
    const int left = grid.at(r, k - 1);
    const int right = grid.at(r, k);
    if (left >= 0 && left == right) {
      grown.insert(left);
    } else {
      added.push_back({r, 2 * k - 1, newCell()});
    }
  }
  auto placed = placeAll(shape, grid, [&](int n, Placed& p) {
    if (grown.count(n)) p.cell.colSpan = grid.place(n).colSpan + 1;
    return true;
  });
  placed.insert(placed.end(), added.begin(), added.end());
  edit.shape = assemble(sameRows(shape), std::move(placed));
  return edit;
}

TableEdit deleteRows(const TableShape& shape, const std::vector<int>& cells) {
  const TableGrid grid(shape);
  TableEdit edit;
  std::set<int> deleted;
  for (int n : cells) {
    if (valid(grid, n)) deleted.insert(grid.place(n).row);
  }
  if (deleted.empty()) {
    edit.shape = shape;
    return edit;
  }
  if (static_cast<int>(deleted.size()) == grid.rowCount()) return edit;  // the table goes

  // Old row -> new row, for the rows that stay.
  std::vector<int> newRow(static_cast<std::size_t>(grid.rowCount()), -1);
  std::vector<RowMeta> rows;
  for (int r = 0; r < grid.rowCount(); ++r) {
    if (deleted.count(r)) continue;
    newRow[static_cast<std::size_t>(r)] = static_cast<int>(rows.size());
    rows.push_back({shape.rows[static_cast<std::size_t>(r)].id, shape.rows[static_cast<std::size_t>(r)].section});
  }
  auto placed = placeAll(shape, grid, [&](int n, Placed& p) {
    const CellPlace& at = grid.place(n);
    int lost = 0;
    int firstKept = -1;
    for (int r = at.row; r < at.row + at.rowSpan; ++r) {
      if (deleted.count(r)) {
        ++lost;
      } else if (firstKept < 0) {
        firstKept = r;
      }
    }
    if (lost == at.rowSpan) return false;
    p.row = newRow[static_cast<std::size_t>(firstKept)];
    if (lost > 0 && p.cell.rowSpan > 0) p.cell.rowSpan = at.rowSpan - lost;
    return true;
  });
  edit.shape = assemble(rows, std::move(placed));
  // The caret goes to the first row that stays after the deleted ones, else the last before.
  int caretRow = -1;
  for (int r = *deleted.begin() + 1; r < grid.rowCount() && caretRow < 0; ++r) {
    if (!deleted.count(r)) caretRow = newRow[static_cast<std::size_t>(r)];
  }
  if (caretRow < 0) caretRow = static_cast<int>(rows.size()) - 1;
  edit.caret = caretNear(edit.shape, caretRow);
  return edit;
}

TableEdit deleteColumns(const TableShape& shape, const std::vector<int>& cells) {
  const TableGrid grid(shape);
  TableEdit edit;
  std::set<int> deleted;
  int caretRow = -1;
  for (int n : cells) {
    if (!valid(grid, n)) continue;
    const CellPlace& at = grid.place(n);
    if (caretRow < 0) caretRow = at.row;
    for (int c = at.col; c < at.col + at.colSpan; ++c) deleted.insert(c);
  }
  if (deleted.empty()) {
    edit.shape = shape;
    return edit;
  }
  if (static_cast<int>(deleted.size()) >= grid.columnCount()) return edit;  // the table goes
  auto placed = placeAll(shape, grid, [&](int n, Placed& p) {
    const CellPlace& at = grid.place(n);
    int lost = 0;
    for (int c = at.col; c < at.col + at.colSpan; ++c) lost += deleted.count(c) ? 1 : 0;
    if (lost == at.colSpan) return false;
    if (lost > 0) p.cell.colSpan = at.colSpan - lost;
    return true;
  });
  edit.shape = assemble(sameRows(shape), std::move(placed));
  edit.caret = caretNear(edit.shape, caretRow);
  return edit;
}

namespace {

// The cells of a merge in column order, when they can merge.
std::optional<std::vector<int>> mergeOrder(const TableGrid& grid, const std::vector<int>& cells) {
  std::vector<int> order;
  for (int n : cells) {
    if (!valid(grid, n)) return std::nullopt;
    if (std::find(order.begin(), order.end(), n) == order.end()) order.push_back(n);
  }
  if (order.size() < 2) return std::nullopt;
  std::sort(order.begin(), order.end(), [&](int a, int b) { return grid.place(a).col < grid.place(b).col; });
  const CellPlace& first = grid.place(order.front());
  for (std::size_t i = 1; i < order.size(); ++i) {
    const CellPlace& at = grid.place(order[i]);
    const CellPlace& before = grid.place(order[i - 1]);
    if (at.row != first.row || at.rowSpan != first.rowSpan || at.col != before.col + before.colSpan) {
      return std::nullopt;
    }
  }
  return order;
}

}  // namespace

bool canMerge(const TableShape& shape, const std::vector<int>& cells) {
  return mergeOrder(TableGrid(shape), cells).has_value();
}

TableEdit mergeCells(const TableShape& shape, const std::vector<int>& cells) {
  const TableGrid grid(shape);
  TableEdit edit;
  const auto order = mergeOrder(grid, cells);
  if (!order) {
    edit.shape = shape;
    return edit;
  }
  const auto all = cellsInOrder(shape);
  int span = 0;
  for (int n : *order) span += grid.place(n).colSpan;
  const int first = order->front();
  auto placed = placeAll(shape, grid, [&](int n, Placed& p) {
    if (n == first) {
      p.cell.colSpan = span;
      return true;
    }
    return std::find(order->begin() + 1, order->end(), n) == order->end();
  });
  edit.shape = assemble(sameRows(shape), std::move(placed));
  edit.mergedInto = all[static_cast<std::size_t>(first)]->id;
  for (std::size_t i = 1; i < order->size(); ++i) {
    edit.absorbed.push_back(all[static_cast<std::size_t>((*order)[i])]->id);
  }
  edit.caret = caretAt(edit.shape, edit.mergedInto, true);
  return edit;
}

bool canSplit(const TableShape& shape, int cell) {
  const TableGrid grid(shape);
  if (!valid(grid, cell)) return false;
  const CellPlace& at = grid.place(cell);
  return at.rowSpan > 1 || at.colSpan > 1;
}

TableEdit splitCell(const TableShape& shape, int cell) {
  const TableGrid grid(shape);
  TableEdit edit;
  if (!valid(grid, cell)) {
    edit.shape = shape;
    return edit;
  }
  const CellPlace at = grid.place(cell);
  bool header = false;
  auto placed = placeAll(shape, grid, [&](int n, Placed& p) {
    if (n == cell) {
      header = p.cell.header;
      p.cell.rowSpan = 1;
      p.cell.colSpan = 1;
    }
    return true;
  });
  for (int r = at.row; r < at.row + at.rowSpan; ++r) {
    for (int c = at.col; c < at.col + at.colSpan; ++c) {
      if (r == at.row && c == at.col) continue;
      placed.push_back({r, 2 * c, newCell(header)});
    }
  }
  edit.shape = assemble(sameRows(shape), std::move(placed));
  return edit;
}

}  // namespace vellmar::editing
