#pragma once

#include <string>
#include <string_view>

// frmTable's rules: when OK may be pressed, the width as the table carries it, and the checks that
// keep a table the editor cannot sensibly hold out of the document.
namespace vellmar::dialogs {

// The boxes of the dialog, as typed.
struct TableBoxes {
  std::string rows = "3";
  std::string cols = "3";
  std::string width;
  bool percent = true;  // the scale list shows "Percent" (else "Pixels")
  std::string border = "1";
  std::string padding = "3";
  std::string spacing;
};

// OK is offered when rows and columns both hold something.
bool tableOkEnabled(const TableBoxes& boxes);
// The width text followed by "%" for "Percent", bare for "Pixels".
std::string tableWidth(const TableBoxes& boxes);

// The largest table the editor inserts.
inline constexpr int kMaxTableRows = 1000;
inline constexpr int kMaxTableColumns = 100;

// Which box a refusal is about.
enum class TableBox { none, rows, cols, width, border, padding, spacing };
struct TableProblem {
  TableBox box = TableBox::none;
  std::string message;  // one sentence, shown beside the box
};
// The first box whose text the table cannot take: rows and columns must be whole numbers from 1
// to the bounds; border, padding and spacing empty or whole numbers up to 1000; the width empty or
// a whole number from 1 (at most 100 in percent).
TableProblem checkTable(const TableBoxes& boxes);

}  // namespace vellmar::dialogs
