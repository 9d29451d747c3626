#pragma once

// The table structure commands as arithmetic on a table's grid. A table is its rows in document
// order, each a list of cells with row and column spans; a cell spanning c columns and r rows
// occupies c x r slots of the grid. An operation takes a table shape and gives the shape the table
// must have afterwards, naming every row and cell by the one it was (or as new); the engine then
// makes the document's table look like that.
//
// Spans follow HTML: a row span of 0 reaches to the end of the row's section (head, body or foot),
// and no row span reaches past its section.

#include <optional>
#include <vector>

namespace vellmar::editing {

// A row or cell that the operation adds.
inline constexpr int kNewPart = -1;

struct CellShape {
  int id = kNewPart;  // the cell's number in the shape it came from (cells counted in document order)
  int rowSpan = 1;    // as written; 0 is "to the end of the section"
  int colSpan = 1;
  bool header = false;  // a TH
};

struct RowShape {
  int id = kNewPart;  // the row's number in the shape it came from
  int section = 0;    // rows of one section share a number; sections follow each other
  std::vector<CellShape> cells;
};

struct TableShape {
  std::vector<RowShape> rows;
  // The number of cells (the ids of a shape read from a document are 0 to cellCount() - 1).
  int cellCount() const;
};

// Where a cell sits in the grid.
struct CellPlace {
  int row = 0;  // the row it begins in
  int col = 0;  // the column it begins in
  int rowSpan = 1;  // effective: at least 1, never past its section
  int colSpan = 1;
};

// The slots of a shape: for every row and column, the cell (by its number in document order)
// that covers it, or -1 for a hole in a ragged table.
class TableGrid {
 public:
  explicit TableGrid(const TableShape& shape);

  int rowCount() const { return static_cast<int>(slots_.size()); }
  int columnCount() const { return columns_; }
  int cellCount() const { return static_cast<int>(places_.size()); }
  // The cell at a slot; -1 outside the grid or in a hole.
  int at(int row, int col) const;
  const CellPlace& place(int cell) const { return places_[static_cast<std::size_t>(cell)]; }
  // The cell's number of the cell at position `index` of row `row`.
  int cellOf(int row, int index) const;
  // The last row of the section `row` belongs to.
  int sectionEnd(int row) const;

 private:
  std::vector<std::vector<int>> slots_;
  std::vector<CellPlace> places_;
  std::vector<int> firstCell_;  // number of the first cell of each row
  std::vector<int> sectionEnd_;
  int columns_ = 0;
};

// The outcome of an operation: the table's new shape (no rows: the table goes), and where the caret
// belongs afterwards (row and cell position in the new shape), if it moves.
struct TableEdit {
  TableShape shape;
  struct Caret {
    int row = 0;
    int cell = 0;
    bool atEnd = false;
  };
  std::optional<Caret> caret;
  // For a merge: the cell that stays and the cells whose contents it takes, in column order.
  int mergedInto = kNewPart;
  std::vector<int> absorbed;
};

// A new row below the last row `cell` spans, with an empty cell for each column; a cell spanning
// across the new row's place grows by one row instead.
TableEdit insertRowBelow(const TableShape& shape, int cell);
// A new column right of the last column `cell` spans, with an empty cell in every row; a cell
// spanning across the new column's place grows by one column instead (once).
TableEdit insertColumnRight(const TableShape& shape, int cell);
// Deletes every row in which one of `cells` begins. A cell from above that spans into a deleted row
// loses that row; a cell that begins in a deleted row and spans below it moves down into the first
// row that stays. The caret goes to the first row that stays after the deleted ones (else before).
TableEdit deleteRows(const TableShape& shape, const std::vector<int>& cells);
// Deletes every column one of `cells` covers. A cell wholly in deleted columns goes; a cell
// spanning deleted and kept columns keeps the kept ones.
TableEdit deleteColumns(const TableShape& shape, const std::vector<int>& cells);
// Cells merge when there are two or more, they begin in the same row, have the same row span and
// follow each other without a gap.
bool canMerge(const TableShape& shape, const std::vector<int>& cells);
// The leftmost cell takes the others' columns (and the caller moves their contents into it).
TableEdit mergeCells(const TableShape& shape, const std::vector<int>& cells);
// A cell spanning more than one slot can split.
bool canSplit(const TableShape& shape, int cell);
// The cell keeps its place and one slot; every other slot it covered gets an empty cell of its kind.
TableEdit splitCell(const TableShape& shape, int cell);

}  // namespace vellmar::editing
