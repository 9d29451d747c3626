#include "menubar/menu_bar.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellmar::menubar {
namespace {

// Records what a view would learn from the bar.
struct RecordingObserver : MenuBarObserver {
  std::vector<MenuId> opened;
  int closed = 0;
  std::vector<bool> queueTimer;
  void popupOpened(const Popup& popup) override { opened.push_back(popup.button); }
  void popupClosed() override { ++closed; }
  void queueTimerChanged(bool enabled) override { queueTimer.push_back(enabled); }
};

class MenuBarTest : public ::testing::Test {
 protected:
  void SetUp() override {
    bar.setObserver(&observer);
    bar.setCaptionMeasure([](std::string_view text) {
      return static_cast<std::int32_t>(text.size()) * 100;
    });
    bar.menuItemSelected = [this](const std::string& key) { selected.push_back(key); };
    file = bar.AddMenuButton("File", "file");
    edit = bar.AddMenuButton("Edit", "Edit");
    view = bar.AddMenuButton("View", "view");
    bar.AddMenuItem(file, "open", -1, "Open", "Ctrl+O");
    bar.AddMenuItem(file, "save", -1, "Save", "");
    bar.AddMenuItem(edit, "undo", -1, "Undo", "Ctrl+Z");
    bar.AddMenuItem(view, "zoom", -1, "Zoom", "");
  }

  ButtonState buttonState(MenuId b) const { return bar.button(b)->buttonState(); }
  MenuState menuState(MenuId b) const { return bar.button(b)->menuState(); }
  bool itemVisible(MenuId b, std::string_view key) const {
    return bar.buttonRecord(b)->items[static_cast<std::size_t>(bar.getMBitemIDbyName(b, key))].visible;
  }
  MenuId add(MenuId b, const std::string& key, std::string_view parentKey = {},
             bool separator = false) {
    const MenuId parent =
        parentKey.empty() ? MenuId{-1} : static_cast<MenuId>(bar.getMBitemIDbyName(b, parentKey) + 1);
    bar.AddMenuItem(b, key, parent, separator ? "" : key, "", true, false, false, separator);
    return bar.getMBitemIDbyName(b, key);
  }

  mcMenuBar bar;
  RecordingObserver observer;
  std::vector<std::string> selected;
  MenuId file = -1, edit = -1, view = -1;
};

TEST_F(MenuBarTest, LooksUpNamesIgnoringCaseAndAnswersZeroOrMinusOne) {
  EXPECT_EQ(bar.getMBbuttonIDbyName("EDIT"), edit);
  EXPECT_EQ(bar.getMBbuttonIDbyName("View"), view);
  EXPECT_EQ(bar.getMBbuttonIDbyName("nothing"), 0);
  EXPECT_EQ(bar.getMBitemIDbyName(file, "SAVE"), 1);
  EXPECT_EQ(bar.getMBitemIDbyName(file, "undo"), -1);
  EXPECT_EQ(bar.getMBitemIDbyName(7, "open"), -1);
  EXPECT_EQ(bar.menuButtonCount(), 3);
  EXPECT_EQ(bar.menuItemCount(file), 2);
  EXPECT_EQ(bar.menuItemCount(42), 0);
  EXPECT_EQ(bar.buttonRecord(file)->items[1].id, 2);
}

TEST_F(MenuBarTest, RefusesOutOfRangeIndexesAndActsOnButtonZeroForUnknownNames) {
  bar.EditMenuItem(file, 2, "x", -1, "X", "", true, false, false, false);
  bar.EditMenuItem(-1, 0, "x", -1, "X", "", true, false, false, false);
  bar.grayMenuItem(file, -1, true);
  bar.grayMenuItem(9, 0, true);
  bar.AddMenuItem(9, "lost", -1, "Lost", "");
  EXPECT_EQ(bar.menuItemCount(file), 2);
  EXPECT_EQ(bar.buttonRecord(file)->items[0].key, "open");
  EXPECT_FALSE(bar.buttonRecord(file)->items[0].grayed);

  // An unknown button name falls back to button 0, where the key is then looked up.
  bar.setCheckedMenuItem("no such button", "SAVE", true);
  EXPECT_TRUE(bar.buttonRecord(file)->items[1].checked);
  bar.setGrayedMenuItem("no such button", "undo", true);  // not an item of button 0
  EXPECT_FALSE(bar.buttonRecord(edit)->items[0].grayed);
  bar.setVisibleMenuButton("no such button", false);
  EXPECT_FALSE(bar.menuButtonVisible(file));

  // EditMenuItem overwrites every field but the id; keys keep their case.
  bar.EditMenuItem(edit, 0, "Redo", -1, "Redo", "Ctrl+Y", true, true, true, false);
  const auto& item = bar.buttonRecord(edit)->items[0];
  EXPECT_EQ(item.id, 1);
  EXPECT_EQ(item.key, "Redo");
  EXPECT_EQ(item.shortcut, "Ctrl+Y");
  EXPECT_TRUE(item.checked && item.grayed);
}

TEST_F(MenuBarTest, LaysButtonsOutWithoutGapsAndHiddenButtonsTakeNoRoom) {
  // Measure 100 twips per character, + 200 twips padding, starting 2 px (30 twips) in.
  EXPECT_EQ(bar.button(file)->left(), 30);
  EXPECT_EQ(bar.button(file)->width(), 600);
  EXPECT_EQ(bar.button(edit)->left(), 630);
  EXPECT_EQ(bar.button(view)->left(), 1230);
  EXPECT_EQ(bar.fullWidth(), 1800);

  bar.setVisibleMenuButton("edit", false);
  EXPECT_FALSE(bar.menuButtonVisible(edit));
  EXPECT_FALSE(bar.button(edit)->visible());
  EXPECT_EQ(bar.button(view)->left(), 630);
  EXPECT_EQ(bar.fullWidth(), 1800);  // hidden buttons still count

  bar.setVisibleMenuButton("edit", true);
  EXPECT_EQ(bar.button(view)->left(), 1230);
}

TEST_F(MenuBarTest, HoverRaisesAndFlattensButtonsWhileNothingIsOpen) {
  bar.pointerEntered(edit);
  EXPECT_EQ(buttonState(edit), ButtonState::raised);
  EXPECT_TRUE(bar.button(edit)->mouseInside());
  bar.pointerEntered(edit);  // no change of place, no event
  EXPECT_EQ(buttonState(edit), ButtonState::raised);
  bar.pointerLeft(edit);
  EXPECT_EQ(buttonState(edit), ButtonState::flat);
  EXPECT_FALSE(bar.menuOpen());
}

TEST_F(MenuBarTest, ClickOpensTheMenuAndChoosingReportsTheKey) {
  bar.pointerEntered(edit);
  bar.pressButton(edit);
  ASSERT_TRUE(bar.menuOpen());
  EXPECT_EQ(bar.openButton(), edit);
  EXPECT_EQ(observer.opened, std::vector<MenuId>{edit});
  EXPECT_EQ(menuState(edit), MenuState::open);
  EXPECT_EQ(buttonState(edit), ButtonState::depressed);
  EXPECT_EQ(menuState(file), MenuState::brotherOpened);
  EXPECT_EQ(buttonState(file), ButtonState::flat);

  // Leaving the open button keeps it pressed.
  bar.pointerLeft(edit);
  EXPECT_EQ(buttonState(edit), ButtonState::depressed);

  EXPECT_TRUE(bar.chooseItem(1));
  EXPECT_FALSE(bar.menuOpen());
  EXPECT_EQ(selected, std::vector<std::string>{"undo"});
  EXPECT_EQ(observer.closed, 1);
  for (MenuId b : {file, edit, view}) {
    EXPECT_EQ(menuState(b), MenuState::allClosed);
    EXPECT_EQ(buttonState(b), ButtonState::flat);
  }
}

TEST_F(MenuBarTest, ClickingTheOpenButtonClosesWithTheEmptyKeyAndLeavesItRaised) {
  bar.pointerEntered(file);
  bar.pressButton(file);
  ASSERT_TRUE(bar.menuOpen());
  bar.pressButton(file);
  EXPECT_FALSE(bar.menuOpen());
  EXPECT_EQ(selected, std::vector<std::string>{""});
  EXPECT_EQ(menuState(file), MenuState::allClosed);
  EXPECT_EQ(buttonState(file), ButtonState::raised);
  EXPECT_EQ(bar.clickedWhileOpen(), file);
  EXPECT_EQ(observer.opened.size(), 1U);  // the click did not reopen it
}

TEST_F(MenuBarTest, ClickOnAButtonMarkedOpenWithNoMenuShowingClosesAll) {
  bar.button(view)->setMenuState(MenuState::open);
  bar.button(file)->setMenuState(MenuState::brotherOpened);
  bar.pressButton(view);
  EXPECT_FALSE(bar.menuOpen());
  EXPECT_EQ(menuState(view), MenuState::allClosed);
  EXPECT_EQ(buttonState(view), ButtonState::raised);
  EXPECT_EQ(menuState(file), MenuState::allClosed);
  EXPECT_EQ(buttonState(file), ButtonState::flat);
  EXPECT_TRUE(selected.empty());
}

TEST_F(MenuBarTest, MovingOntoAnotherButtonSlidesTheOpenMenuThere) {
  bar.pointerEntered(file);
  bar.pressButton(file);
  bar.pointerLeft(file);
  bar.pointerEntered(edit);

  EXPECT_EQ(selected, std::vector<std::string>{""});  // the first menu closed without a choice
  ASSERT_TRUE(bar.menuOpen());
  EXPECT_EQ(bar.openButton(), edit);
  EXPECT_EQ((std::vector<MenuId>{file, edit}), observer.opened);
  EXPECT_FALSE(bar.switchPending());
  EXPECT_EQ(menuState(edit), MenuState::open);
  EXPECT_EQ(buttonState(edit), ButtonState::depressed);
  EXPECT_EQ(menuState(file), MenuState::brotherOpened);
  EXPECT_EQ(buttonState(file), ButtonState::flat);
  EXPECT_EQ(menuState(view), MenuState::brotherOpened);

  // Keyboard sliding does the same; sliding onto the open button or a hidden one does nothing.
  bar.slideTo(edit);
  EXPECT_EQ(observer.opened.size(), 2U);
  bar.setVisibleMenuButton("view", false);
  bar.slideTo(view);
  EXPECT_EQ(bar.openButton(), edit);
  bar.slideTo(file);
  EXPECT_EQ(bar.openButton(), file);

  bar.dismissMenu();
  EXPECT_EQ(selected, (std::vector<std::string>{"", "", ""}));
  EXPECT_FALSE(bar.menuOpen());
}

TEST_F(MenuBarTest, EndMenuClosesFromOutsideAndIsHarmlessWhenClosed) {
  bar.EndMenu();
  EXPECT_TRUE(selected.empty());
  bar.pressButton(view);
  bar.EndMenu();
  EXPECT_FALSE(bar.menuOpen());
  EXPECT_EQ(selected, std::vector<std::string>{""});
  EXPECT_EQ(menuState(view), MenuState::allClosed);
}

TEST_F(MenuBarTest, PopupHoldsShownItemsWithSubmenusFlagsAndRefusesWhatCannotBeChosen) {
  add(file, "sub");
  add(file, "inner", "sub");
  add(file, "deep", "inner");
  add(file, "hiddenParent");
  add(file, "orphan", "hiddenParent");
  bar.EditMenuItem(file, bar.getMBitemIDbyName(file, "hiddenParent"), "hiddenParent", -1,
                   "hiddenParent", "", false, false, false, false);
  bar.setCheckedMenuItem("file", "open", true);
  bar.setGrayedMenuItem("file", "save", true);

  bar.pressButton(file);
  const Popup& popup = bar.currentPopup();
  ASSERT_FALSE(popup.menus.empty());
  const auto& root = popup.menus[0].entries;
  ASSERT_EQ(root.size(), 3U);  // open, save, sub
  EXPECT_EQ(root[0].caption, "Open");
  EXPECT_EQ(root[0].shortcut, "Ctrl+O");
  EXPECT_TRUE(root[0].checked);
  EXPECT_TRUE(root[1].grayed);
  ASSERT_GE(root[2].submenu, 0);
  const auto& inner = popup.menus[static_cast<std::size_t>(root[2].submenu)].entries;
  ASSERT_EQ(inner.size(), 1U);
  ASSERT_GE(inner[0].submenu, 0);
  EXPECT_EQ(popup.menus[static_cast<std::size_t>(inner[0].submenu)].entries[0].caption, "deep");

  EXPECT_FALSE(bar.chooseItem(2));  // greyed
  EXPECT_FALSE(bar.chooseItem(3));  // opens a submenu
  EXPECT_FALSE(bar.chooseItem(bar.getMBitemIDbyName(file, "orphan") + 1));  // parent not shown
  EXPECT_FALSE(bar.chooseItem(99));
  EXPECT_TRUE(bar.menuOpen());
  EXPECT_TRUE(bar.chooseItem(static_cast<MenuId>(bar.getMBitemIDbyName(file, "deep") + 1)));
  EXPECT_EQ(selected, std::vector<std::string>{"deep"});
}

TEST_F(MenuBarTest, AdditionsWhileOpenAreQueuedAndAppliedInOrderAfterClosing) {
  bar.pressButton(edit);
  bar.AddMenuItem(edit, "cut", -1, "Cut", "");
  bar.AddMenuItem(edit, "copy", -1, "Copy", "");
  bar.AddMenuItem(file, "print", -1, "Print", "");
  EXPECT_EQ(bar.menuItemCount(edit), 1);
  EXPECT_EQ(bar.pending().size(), 3U);
  EXPECT_TRUE(bar.queueTimerEnabled());
  bar.queueTimerTick();  // still open: nothing happens
  EXPECT_EQ(bar.menuItemCount(edit), 1);

  // The host's handler of the choice runs while the menu still counts as open.
  bar.menuItemSelected = [this](const std::string& key) {
    selected.push_back(key);
    bar.AddMenuItem(edit, "paste", -1, "Paste", "");
  };
  bar.chooseItem(1);
  EXPECT_EQ(bar.pending().size(), 4U);
  bar.queueTimerTick();
  EXPECT_TRUE(bar.pending().empty());
  EXPECT_FALSE(bar.queueTimerEnabled());
  EXPECT_EQ(observer.queueTimer, (std::vector<bool>{true, false}));
  ASSERT_EQ(bar.menuItemCount(edit), 4);
  const auto& items = bar.buttonRecord(edit)->items;
  EXPECT_EQ(items[1].key, "cut");
  EXPECT_EQ(items[2].key, "copy");
  EXPECT_EQ(items[3].key, "paste");
  EXPECT_EQ(items[3].id, 4);
  EXPECT_EQ(bar.menuItemCount(file), 3);

  bar.menuItemSelected = nullptr;
  bar.pressButton(edit);
  EXPECT_EQ(bar.currentPopup().menus[0].entries.size(), 4U);
}

TEST_F(MenuBarTest, TidiesLeadingDoubledAndTrailingSeparatorsAtEveryLevel) {
  const MenuId b = bar.AddMenuButton("Tools", "tools");
  add(b, "s1", {}, true);  // leading
  add(b, "a");
  add(b, "s2", {}, true);
  add(b, "s3", {}, true);  // doubled
  add(b, "sub");
  add(b, "t1", "sub", true);  // leading in the submenu
  add(b, "x", "sub");
  add(b, "t2", "sub", true);
  add(b, "hidden", "sub");
  add(b, "t3", "sub", true);  // trailing once "hidden" is hidden
  add(b, "s4", {}, true);     // trailing
  bar.setVisibleMenuItem("tools", "hidden", false);

  EXPECT_FALSE(itemVisible(b, "s1"));
  EXPECT_TRUE(itemVisible(b, "s2"));
  EXPECT_FALSE(itemVisible(b, "s3"));
  EXPECT_FALSE(itemVisible(b, "s4"));
  EXPECT_FALSE(itemVisible(b, "t1"));
  EXPECT_FALSE(itemVisible(b, "t2"));
  EXPECT_FALSE(itemVisible(b, "t3"));
  EXPECT_TRUE(itemVisible(b, "x"));

  // A tidied separator stays hidden until the host shows it again.
  bar.setVisibleMenuItem("tools", "hidden", true);
  EXPECT_FALSE(itemVisible(b, "t2"));
  bar.setVisibleMenuItem("tools", "t2", true);
  EXPECT_TRUE(itemVisible(b, "t2"));

  // removeSeparators tidies every button.
  add(file, "fs", {}, true);
  EXPECT_TRUE(itemVisible(file, "fs"));
  bar.removeSeparators();
  EXPECT_FALSE(itemVisible(file, "fs"));
}

TEST_F(MenuBarTest, EmptySubmenuHidesItsParentAndEmptyMenuHidesItsButton) {
  const MenuId b = bar.AddMenuButton("Tools", "tools");
  add(b, "sub");
  add(b, "one", "sub");
  add(b, "gap", "sub", true);
  add(b, "two", "sub");
  add(b, "other");

  bar.setVisibleMenuItem("tools", "one", false);
  EXPECT_TRUE(itemVisible(b, "sub"));
  bar.setVisibleMenuItem("TOOLS", "TWO", false);  // the separator alone does not keep it
  EXPECT_FALSE(itemVisible(b, "gap"));
  EXPECT_FALSE(itemVisible(b, "sub"));
  EXPECT_TRUE(bar.menuButtonVisible(b));

  const std::int32_t toolsLeft = bar.button(b)->left();
  bar.setVisibleMenuItem("edit", "undo", false);
  EXPECT_FALSE(bar.menuButtonVisible(edit));
  EXPECT_LT(bar.button(b)->left(), toolsLeft);  // the buttons to its right moved left

  bar.setVisibleMenuItem("tools", "other", false);
  EXPECT_FALSE(bar.menuButtonVisible(b));

  // Showing an item again brings its parent and its button back.
  bar.setVisibleMenuItem("tools", "one", true);
  EXPECT_TRUE(itemVisible(b, "sub"));
  EXPECT_TRUE(bar.menuButtonVisible(b));
  bar.setVisibleMenuItem("edit", "undo", true);
  EXPECT_TRUE(bar.menuButtonVisible(edit));
  EXPECT_EQ(bar.button(b)->left(), toolsLeft);
}

TEST_F(MenuBarTest, MalformedParentChainsDoNotLoop) {
  const MenuId b = bar.AddMenuButton("Tools", "tools");
  bar.AddMenuItem(b, "a", 2, "a", "");  // a and b name each other as parent
  bar.AddMenuItem(b, "b", 1, "b", "");
  bar.AddMenuItem(b, "self", 3, "self", "");
  bar.setVisibleMenuItem("tools", "a", false);
  bar.setVisibleMenuItem("tools", "self", false);
  bar.pressButton(b);
  EXPECT_TRUE(bar.menuOpen());
  bar.dismissMenu();
}

}  // namespace
}  // namespace vellmar::menubar
