#include "menubar/menu_keys.h"

#include <gtest/gtest.h>

#include <vector>

namespace vellmar::menubar {
namespace {

using A = MenuKeyAction;

// Cut (greyed), Copy, Paste, Font > (submenu), Properties (greyed)
const std::vector<MenuRow> kRows = {{false, false}, {true, false}, {true, false}, {true, true}, {false, false}};

MenuKeyResult press(std::string_view key, int current, bool nested = false, bool inBar = true) {
  return menuKey(key, kRows, current, nested, inBar);
}

void expect(MenuKeyResult result, A action, int row = -1) {
  EXPECT_EQ(result.action, action);
  EXPECT_EQ(result.row, row);
}

TEST(MenuKeys, ArrowsHomeAndEndPassOverGreyedRowsAndWrap) {
  EXPECT_EQ(firstMenuRow(kRows), 1);
  expect(press("ArrowDown", -1), A::focus, 1);
  expect(press("ArrowDown", 1), A::focus, 2);
  expect(press("ArrowDown", 3), A::focus, 1);  // past the greyed last row, round to the top
  expect(press("ArrowUp", 1), A::focus, 3);
  expect(press("ArrowUp", -1), A::focus, 3);
  expect(press("Home", 3), A::focus, 1);
  expect(press("End", 1), A::focus, 3);
  const std::vector<MenuRow> greyed = {{false, false}, {false, false}};
  EXPECT_EQ(firstMenuRow(greyed), -1);
  expect(menuKey("ArrowDown", greyed, -1, false, true), A::consume);
  expect(menuKey("ArrowDown", {}, -1, false, true), A::consume);
}

TEST(MenuKeys, EnterChoosesOrOpensASubmenu) {
  expect(press("Enter", 2), A::choose, 2);
  expect(press(" ", 1), A::choose, 1);
  expect(press("Enter", 3), A::openSubmenu, 3);
  expect(press("Enter", 0), A::consume);  // greyed
  expect(press("Enter", -1), A::consume);
}

TEST(MenuKeys, LeftAndRightOpenAndCloseSubmenusOrSlideAlongTheBar) {
  expect(press("ArrowRight", 3), A::openSubmenu, 3);
  expect(press("ArrowRight", 2), A::slideNext);
  expect(press("ArrowLeft", 2), A::slidePrevious);
  expect(press("ArrowLeft", 2, true), A::closeSubmenu);
  // A menu of its own (the context menu) has nowhere to slide.
  expect(press("ArrowRight", 2, false, false), A::consume);
  expect(press("ArrowLeft", 2, false, false), A::consume);
}

TEST(MenuKeys, EscapeClosesOneLevelTabLeavesOtherKeysGoOn) {
  expect(press("Escape", 2), A::dismiss);
  expect(press("Escape", 2, true), A::closeSubmenu);
  expect(press("Tab", 2), A::leave);
  expect(press("a", 2), A::none);
}

}  // namespace
}  // namespace vellmar::menubar
