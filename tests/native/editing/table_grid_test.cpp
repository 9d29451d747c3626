#include "editing/table_grid.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace vellmar::editing {
namespace {

// A table written as rows of cell names, spans as name[colspan x rowspan], header cells with a
// leading "!", and "--" before a row that starts a new section:
//   {"a[2x1] c", "d[1x2] e f", "h i"}
struct Table {
  TableShape shape;
  std::vector<std::string> names;  // by cell id

  int id(const std::string& name) const {
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (names[i] == name) return static_cast<int>(i);
    }
    ADD_FAILURE() << "no cell " << name;
    return -1;
  }
  std::vector<int> ids(std::initializer_list<const char*> list) const {
    std::vector<int> out;
    for (const char* n : list) out.push_back(id(n));
    return out;
  }
};

Table parse(std::initializer_list<std::string> rows) {
  Table table;
  int section = 0;
  int rowId = 0;
  for (std::string text : rows) {
    if (text.rfind("-- ", 0) == 0) {
      ++section;
      text = text.substr(3);
    }
    RowShape row{rowId++, section, {}};
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
      CellShape cell;
      cell.id = static_cast<int>(table.names.size());
      if (word[0] == '!') {
        cell.header = true;
        word = word.substr(1);
      }
      const auto bracket = word.find('[');
      if (bracket != std::string::npos) {
        cell.colSpan = std::stoi(word.substr(bracket + 1));
        cell.rowSpan = std::stoi(word.substr(word.find('x', bracket) + 1));
        word = word.substr(0, bracket);
      }
      table.names.push_back(word);
      row.cells.push_back(cell);
    }
    table.shape.rows.push_back(row);
  }
  return table;
}

// The shape as rows of names joined by " | ", new cells as "+", spans as written.
std::vector<std::string> render(const Table& table, const TableShape& shape) {
  std::vector<std::string> rows;
  for (const auto& row : shape.rows) {
    std::string line;
    for (const auto& cell : row.cells) {
      if (!line.empty()) line += " | ";
      if (cell.header) line += "!";
      line += cell.id == kNewPart ? "+" : table.names[static_cast<std::size_t>(cell.id)];
      if (cell.colSpan != 1 || cell.rowSpan != 1) {
        line += "[" + std::to_string(cell.colSpan) + "x" + std::to_string(cell.rowSpan) + "]";
      }
    }
    rows.push_back(line);
  }
  return rows;
}

using Rows = std::vector<std::string>;

// a a c
// d e f
// d h i
const std::initializer_list<std::string> kSpanned = {"a[2x1] c", "d[1x2] e f", "h i"};

TEST(TableGrid, PlacesCellsAroundSpansFromAbove) {
  const Table t = parse(kSpanned);
  const TableGrid grid(t.shape);
  ASSERT_EQ(grid.rowCount(), 3);
  ASSERT_EQ(grid.columnCount(), 3);
  const int expected[3][3] = {{0, 0, 1}, {2, 3, 4}, {2, 5, 6}};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(grid.at(r, c), expected[r][c]) << r << "," << c;
  }
  EXPECT_EQ(grid.place(t.id("h")).col, 1);
  EXPECT_EQ(grid.at(3, 0), -1);
  EXPECT_EQ(grid.at(0, 3), -1);
}

TEST(TableGrid, RowSpansStopAtTheirSectionAndZeroReachesItsEnd) {
  // The head's cell asks for three rows but its section has one; the body's 0 spans all three.
  const Table t = parse({"x[1x3] y", "-- p[1x0] q", "r", "s"});
  const TableGrid grid(t.shape);
  EXPECT_EQ(grid.place(t.id("x")).rowSpan, 1);
  EXPECT_EQ(grid.place(t.id("p")).rowSpan, 3);
  EXPECT_EQ(grid.at(1, 0), t.id("p"));
  EXPECT_EQ(grid.at(3, 0), t.id("p"));
  EXPECT_EQ(grid.place(t.id("s")).col, 1);
  EXPECT_EQ(grid.sectionEnd(0), 0);
  EXPECT_EQ(grid.sectionEnd(2), 3);
}

TEST(TableGrid, RaggedRowsLeaveHoles) {
  const Table t = parse({"a b c", "d"});
  const TableGrid grid(t.shape);
  EXPECT_EQ(grid.columnCount(), 3);
  EXPECT_EQ(grid.at(1, 0), t.id("d"));
  EXPECT_EQ(grid.at(1, 1), -1);
}

TEST(TableInsertRow, GoesBelowTheCaretRowAndGrowsCellsSpanningAcrossIt) {
  const Table t = parse(kSpanned);
  // d spans rows 2 and 3: the new row below row 2 lies inside its span.
  EXPECT_EQ(render(t, insertRowBelow(t.shape, t.id("e")).shape),
            (Rows{"a[2x1] | c", "d[1x3] | e | f", "+ | +", "h | i"}));
  EXPECT_EQ(render(t, insertRowBelow(t.shape, t.id("a")).shape),
            (Rows{"a[2x1] | c", "+ | + | +", "d[1x2] | e | f", "h | i"}));
  // Below a cell spanning two rows is below its last row.
  EXPECT_EQ(render(t, insertRowBelow(t.shape, t.id("d")).shape),
            (Rows{"a[2x1] | c", "d[1x2] | e | f", "h | i", "+ | + | +"}));
  const TableEdit edit = insertRowBelow(t.shape, t.id("e"));
  EXPECT_EQ(edit.shape.rows[2].id, kNewPart);
  EXPECT_EQ(edit.shape.rows[3].id, 2);
  EXPECT_FALSE(edit.caret);
}

TEST(TableInsertRow, StaysInItsSectionAndLeavesSpansToTheEndAlone) {
  const Table t = parse({"!x !y", "-- p[1x0] q", "r"});
  EXPECT_EQ(render(t, insertRowBelow(t.shape, t.id("x")).shape),
            (Rows{"!x | !y", "+ | +", "p[1x0] | q", "r"}));
  const TableEdit edit = insertRowBelow(t.shape, t.id("q"));
  EXPECT_EQ(render(t, edit.shape), (Rows{"!x | !y", "p[1x0] | q", "+", "r"}));
  EXPECT_EQ(edit.shape.rows[2].section, 1);
}

TEST(TableInsertColumn, GoesRightOfTheCaretColumnAndGrowsASpanningCellOnce) {
  const Table t = parse(kSpanned);
  // a spans columns 1 and 2, across the new column's place.
  EXPECT_EQ(render(t, insertColumnRight(t.shape, t.id("d")).shape),
            (Rows{"a[3x1] | c", "d[1x2] | + | e | f", "+ | h | i"}));
  EXPECT_EQ(render(t, insertColumnRight(t.shape, t.id("c")).shape),
            (Rows{"a[2x1] | c | +", "d[1x2] | e | f | +", "h | i | +"}));
  // Right of e, d's span is not crossed: every row gets a new cell.
  EXPECT_EQ(render(t, insertColumnRight(t.shape, t.id("e")).shape),
            (Rows{"a[2x1] | + | c", "d[1x2] | e | + | f", "h | + | i"}));
}

TEST(TableInsertColumn, AColumnSpanningCellAcrossRowsGrowsOnce) {
  const Table t = parse({"a[2x2] b", "c", "d e f"});
  EXPECT_EQ(render(t, insertColumnRight(t.shape, t.id("d")).shape),
            (Rows{"a[3x2] | b", "c", "d | + | e | f"}));
}

TEST(TableDeleteRows, ShortensSpansAndMovesASpanningCellDown) {
  const Table t = parse(kSpanned);
  TableEdit edit = deleteRows(t.shape, {t.id("d")});
  EXPECT_EQ(render(t, edit.shape), (Rows{"a[2x1] | c", "d | h | i"}));
  ASSERT_TRUE(edit.caret);
  EXPECT_EQ(edit.caret->row, 1);
  EXPECT_EQ(edit.caret->cell, 0);
  // A span from above through a deleted row loses that row.
  edit = deleteRows(t.shape, {t.id("h")});
  EXPECT_EQ(render(t, edit.shape), (Rows{"a[2x1] | c", "d | e | f"}));
  EXPECT_EQ(edit.caret->row, 1);  // no row after: the one before
  // Every row a touched cell begins in goes; all of them take the table.
  EXPECT_EQ(render(t, deleteRows(t.shape, t.ids({"a", "e"})).shape), (Rows{"d | h | i"}));
  EXPECT_TRUE(deleteRows(t.shape, t.ids({"c", "f", "i"})).shape.rows.empty());
}

TEST(TableDeleteRows, SpansToTheSectionEndStayThatWay) {
  const Table t = parse({"p[1x0] q", "r", "s"});
  EXPECT_EQ(render(t, deleteRows(t.shape, {t.id("p")}).shape), (Rows{"p[1x0] | r", "s"}));
}

TEST(TableDeleteColumns, NarrowsSpanningCellsAndDropsCellsWhollyInside) {
  const Table t = parse(kSpanned);
  TableEdit edit = deleteColumns(t.shape, {t.id("e")});
  EXPECT_EQ(render(t, edit.shape), (Rows{"a | c", "d[1x2] | f", "i"}));
  ASSERT_TRUE(edit.caret);
  EXPECT_EQ(edit.caret->row, 1);
  // A spanning cell takes all its columns, and cells wholly inside them go.
  EXPECT_EQ(render(t, deleteColumns(t.shape, t.ids({"a"})).shape), (Rows{"c", "f", "i"}));
  EXPECT_TRUE(deleteColumns(t.shape, t.ids({"a", "c"})).shape.rows.empty());
  EXPECT_EQ(deleteColumns(t.shape, {}).shape.rows.size(), 3U);
}

TEST(TableMerge, JoinsNeighboursOfOneRowWithTheSameRowSpan) {
  const Table t = parse({"a b c d", "w x y z"});
  EXPECT_TRUE(canMerge(t.shape, t.ids({"b", "a"})));
  TableEdit edit = mergeCells(t.shape, t.ids({"c", "a", "b"}));
  EXPECT_EQ(render(t, edit.shape), (Rows{"a[3x1] | d", "w | x | y | z"}));
  EXPECT_EQ(edit.mergedInto, t.id("a"));
  EXPECT_EQ(edit.absorbed, t.ids({"b", "c"}));
  ASSERT_TRUE(edit.caret);
  EXPECT_EQ(edit.caret->row, 0);
  EXPECT_EQ(edit.caret->cell, 0);
  EXPECT_TRUE(edit.caret->atEnd);

  EXPECT_FALSE(canMerge(t.shape, t.ids({"a"})));
  EXPECT_FALSE(canMerge(t.shape, t.ids({"a", "a"})));
  EXPECT_FALSE(canMerge(t.shape, t.ids({"a", "c"})));  // a gap
  EXPECT_FALSE(canMerge(t.shape, t.ids({"d", "z"})));  // two rows
  EXPECT_EQ(render(t, mergeCells(t.shape, t.ids({"d", "z"})).shape), (Rows{"a | b | c | d", "w | x | y | z"}));

  const Table spans = parse({"a[1x2] b[2x2]", "", "c d e"});
  EXPECT_TRUE(canMerge(spans.shape, spans.ids({"a", "b"})));
  EXPECT_EQ(render(spans, mergeCells(spans.shape, spans.ids({"a", "b"})).shape), (Rows{"a[3x2]", "", "c | d | e"}));
  const Table uneven = parse({"a[1x2] b", "c"});
  EXPECT_FALSE(canMerge(uneven.shape, uneven.ids({"a", "b"})));
}

TEST(TableSplit, GivesEverySlotOfASpanningCellACellOfItsKind) {
  const Table t = parse(kSpanned);
  EXPECT_TRUE(canSplit(t.shape, t.id("a")));
  EXPECT_TRUE(canSplit(t.shape, t.id("d")));
  EXPECT_FALSE(canSplit(t.shape, t.id("e")));
  EXPECT_EQ(render(t, splitCell(t.shape, t.id("a")).shape), (Rows{"a | + | c", "d[1x2] | e | f", "h | i"}));
  EXPECT_EQ(render(t, splitCell(t.shape, t.id("d")).shape), (Rows{"a[2x1] | c", "d | e | f", "+ | h | i"}));
  const Table block = parse({"p q[2x2] r", "s t", "u v w x"});
  EXPECT_EQ(render(block, splitCell(block.shape, block.id("q")).shape),
            (Rows{"p | q | + | r", "s | + | + | t", "u | v | w | x"}));
  const Table header = parse({"!h[2x1]", "a b"});
  EXPECT_EQ(render(header, splitCell(header.shape, header.id("h")).shape), (Rows{"!h | !+", "a | b"}));
}

TEST(TableGrid, OperationsOnCellsThatAreNotThereChangeNothing) {
  const Table t = parse(kSpanned);
  const Rows same{"a[2x1] | c", "d[1x2] | e | f", "h | i"};
  EXPECT_EQ(render(t, insertRowBelow(t.shape, 99).shape), same);
  EXPECT_EQ(render(t, insertColumnRight(t.shape, -1).shape), same);
  EXPECT_EQ(render(t, deleteRows(t.shape, {42}).shape), same);
  EXPECT_EQ(render(t, splitCell(t.shape, 7).shape), same);
  EXPECT_FALSE(canSplit(t.shape, 7));
}

TEST(TableGrid, ALargeTableWithSpansStaysConsistent) {
  // 50 rows of 20 columns, every fifth row starting with a cell spanning 3 columns and 2 rows.
  TableShape shape;
  int id = 0;
  for (int r = 0; r < 50; ++r) {
    RowShape row{r, 0, {}};
    const bool spanned = r % 5 == 0;
    const bool covered = r % 5 == 1;
    int columns = 20;
    if (spanned) {
      row.cells.push_back(CellShape{id++, 2, 3, false});
      columns -= 3;
    } else if (covered) {
      columns -= 3;
    }
    for (int c = 0; c < columns; ++c) row.cells.push_back(CellShape{id++, 1, 1, false});
    shape.rows.push_back(row);
  }
  const TableGrid grid(shape);
  ASSERT_EQ(grid.columnCount(), 20);
  for (int r = 0; r < 50; ++r) {
    for (int c = 0; c < 20; ++c) ASSERT_GE(grid.at(r, c), 0) << r << "," << c;
  }
  const TableEdit wider = insertColumnRight(shape, 0);
  EXPECT_EQ(TableGrid(wider.shape).columnCount(), 21);
  const TableEdit taller = insertRowBelow(shape, 0);
  EXPECT_EQ(TableGrid(taller.shape).rowCount(), 51);
  for (int c = 0; c < 21; ++c) EXPECT_GE(TableGrid(wider.shape).at(1, c), 0);
}

}  // namespace
}  // namespace vellmar::editing
