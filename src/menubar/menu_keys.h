#pragma once

// The keyboard in an open menu: one model for the menu bar's drop-downs and the editing surface's
// context menu. Rows are the menu's choosable entries in order (separators left out); greyed rows
// are passed over.

#include <span>
#include <string_view>

namespace vellmar::menubar {

struct MenuRow {
  bool enabled = true;        // not greyed
  bool opensSubmenu = false;  // choosing it opens a submenu instead of reporting a choice
};

enum class MenuKeyAction {
  none,           // not a menu key: the key goes on to the page
  consume,        // a menu key with nothing to do here
  focus,          // move the focus to `row`
  choose,         // choose `row`
  openSubmenu,    // open the submenu of `row` and put the focus in it
  closeSubmenu,   // close this submenu and go back to the row that opened it
  slideNext,      // close this menu and open the next button's (a menu bar's menus only)
  slidePrevious,  // likewise, the previous button's
  dismiss,        // close the menu without a choice
  leave,          // close the menu without a choice and let the key go on (Tab)
};

struct MenuKeyResult {
  MenuKeyAction action = MenuKeyAction::none;
  int row = -1;
};

// What `key` (a browser key value) does with the focus on row `current` (-1: on the menu itself).
// `nested`: the menu is a submenu; `inBar`: it hangs from a menu bar's button.
MenuKeyResult menuKey(std::string_view key, std::span<const MenuRow> rows, int current, bool nested, bool inBar);

// The row the focus goes to when a menu opens from the keyboard: the first that is not greyed, or
// -1 when every row is.
int firstMenuRow(std::span<const MenuRow> rows);

}  // namespace vellmar::menubar
