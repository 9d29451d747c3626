#include "dialogs/table_dialog.h"

#include <optional>

namespace vellmar::dialogs {

namespace {

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

// A whole number written with digits only; nullopt for anything else, and for a number too long
// to matter (it is beyond every bound).
std::optional<long> wholeNumber(std::string_view text) {
  text = trimmed(text);
  if (text.empty() || text.size() > 9) return std::nullopt;
  long value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

bool tooLong(std::string_view text) {
  text = trimmed(text);
  if (text.size() <= 9) return false;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

}  // namespace

bool tableOkEnabled(const TableBoxes& boxes) {
  return !trimmed(boxes.rows).empty() && !trimmed(boxes.cols).empty();
}

std::string tableWidth(const TableBoxes& boxes) {
  return boxes.percent ? boxes.width + "%" : boxes.width;
}

TableProblem checkTable(const TableBoxes& boxes) {
  const auto count = [](TableBox box, std::string_view text, long max,
                        std::string_view what) -> TableProblem {
    const auto n = wholeNumber(text);
    if (trimmed(text).empty())
      return {box, "Please enter the number of " + std::string(what) + "."};
    if (!n && !tooLong(text))
      return {box, "The number of " + std::string(what) + " must be a whole number."};
    if (n && *n < 1) return {box, "A table needs at least one of its " + std::string(what) + "."};
    if (!n || *n > max)
      return {box, "A table may have at most " + std::to_string(max) + " " + std::string(what) + "."};
    return {};
  };
  if (auto p = count(TableBox::rows, boxes.rows, kMaxTableRows, "rows"); p.box != TableBox::none)
    return p;
  if (auto p = count(TableBox::cols, boxes.cols, kMaxTableColumns, "columns");
      p.box != TableBox::none)
    return p;
  const auto optional = [](TableBox box, std::string_view text, long max,
                           std::string_view what) -> TableProblem {
    if (trimmed(text).empty()) return {};
    const auto n = wholeNumber(text);
    if (!n && !tooLong(text))
      return {box, "The " + std::string(what) + " must be a whole number of pixels, or empty."};
    if (!n || *n > max)
      return {box, "The " + std::string(what) + " may be at most " + std::to_string(max) + " pixels."};
    return {};
  };
  if (trimmed(boxes.width) != "") {
    const auto n = wholeNumber(boxes.width);
    if (!n && !tooLong(boxes.width))
      return {TableBox::width, "The width must be a whole number, or empty."};
    const long max = boxes.percent ? 100 : 100000;
    if (n && *n < 1) return {TableBox::width, "The width must be at least 1."};
    if (!n || *n > max)
      return {TableBox::width, boxes.percent ? "The width may be at most 100 percent."
                                              : "The width may be at most 100000 pixels."};
  }
  if (auto p = optional(TableBox::border, boxes.border, 1000, "border"); p.box != TableBox::none)
    return p;
  if (auto p = optional(TableBox::padding, boxes.padding, 1000, "cell padding");
      p.box != TableBox::none)
    return p;
  return optional(TableBox::spacing, boxes.spacing, 1000, "cell spacing");
}

}  // namespace vellmar::dialogs
