#include "menubar/menu_keys.h"

namespace vellmar::menubar {

namespace {

// The next row not greyed from `from` in direction `step` (wrapping round), or -1.
int nextEnabled(std::span<const MenuRow> rows, int from, int step) {
  const int count = static_cast<int>(rows.size());
  for (int i = 1; i <= count; ++i) {
    const int row = ((from + step * i) % count + count) % count;
    if (rows[static_cast<std::size_t>(row)].enabled) return row;
  }
  return -1;
}

bool valid(std::span<const MenuRow> rows, int row) { return row >= 0 && row < static_cast<int>(rows.size()); }

}  // namespace

int firstMenuRow(std::span<const MenuRow> rows) {
  return rows.empty() ? -1 : nextEnabled(rows, -1, 1);
}

MenuKeyResult menuKey(std::string_view key, std::span<const MenuRow> rows, int current, bool nested, bool inBar) {
  using A = MenuKeyAction;
  const auto focusOn = [](int row) { return row < 0 ? MenuKeyResult{A::consume, -1} : MenuKeyResult{A::focus, row}; };
  const bool onRow = valid(rows, current);
  if (key == "ArrowDown") return rows.empty() ? MenuKeyResult{A::consume} : focusOn(nextEnabled(rows, onRow ? current : -1, 1));
  if (key == "ArrowUp") {
    return rows.empty() ? MenuKeyResult{A::consume}
                        : focusOn(nextEnabled(rows, onRow ? current : static_cast<int>(rows.size()), -1));
  }
  if (key == "Home") return rows.empty() ? MenuKeyResult{A::consume} : focusOn(nextEnabled(rows, -1, 1));
  if (key == "End") {
    return rows.empty() ? MenuKeyResult{A::consume} : focusOn(nextEnabled(rows, static_cast<int>(rows.size()), -1));
  }
  if (key == "Enter" || key == " ") {
    if (!onRow || !rows[static_cast<std::size_t>(current)].enabled) return {A::consume};
    return {rows[static_cast<std::size_t>(current)].opensSubmenu ? A::openSubmenu : A::choose, current};
  }
  if (key == "ArrowRight") {
    if (onRow && rows[static_cast<std::size_t>(current)].enabled && rows[static_cast<std::size_t>(current)].opensSubmenu) {
      return {A::openSubmenu, current};
    }
    return {inBar ? A::slideNext : A::consume};
  }
  if (key == "ArrowLeft") {
    if (nested) return {A::closeSubmenu};
    return {inBar ? A::slidePrevious : A::consume};
  }
  if (key == "Escape") return {nested ? A::closeSubmenu : A::dismiss};
  if (key == "Tab") return {A::leave};
  return {};
}

}  // namespace vellmar::menubar
