#include "editing/commands.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "editing/formats.h"
#include "menubar/editor_menu.h"

namespace vellmar::editing {
namespace {

TEST(CommandRegistry, EveryKeyAndEveryShortcutIsDeclaredOnce) {
  std::set<std::string_view> keys;
  std::set<std::string_view> shortcuts;
  for (const auto& row : commandRegistry()) {
    EXPECT_TRUE(keys.insert(row.key).second) << row.key;
    if (!row.shortcut.empty()) {
      EXPECT_TRUE(shortcuts.insert(row.shortcut).second) << row.shortcut;
    }
    if (row.simple || row.guard != Guard::none) {
      EXPECT_TRUE(row.command.has_value()) << row.key;
    }
    EXPECT_FALSE(operationName(row.operation).empty()) << row.key;
  }
  // The tables' entries are keys of their own.
  for (const auto& format : kBlockFormatTable) EXPECT_TRUE(keys.count(format.name));
  for (const auto& font : kFontTable) EXPECT_TRUE(keys.count(font.key));
  for (const auto& size : kSizeTable) EXPECT_TRUE(keys.count(size.key));
}

TEST(CommandRegistry, GuardsAsTheOperationsHaveThem) {
  const std::map<std::string_view, std::pair<Decmd, Guard>> expected = {
      {"bold", {Decmd::Bold, Guard::notDisabled}},
      {"outdent", {Decmd::Outdent, Guard::notDisabled}},
      {"undo", {Decmd::Undo, Guard::exactlyEnabled}},
      {"redo", {Decmd::Redo, Guard::exactlyEnabled}},
      {"removeFormatting", {Decmd::RemoveFormat, Guard::notDisabled}},
      {"color", {Decmd::SetForeColor, Guard::notDisabled}},
      {"arial", {Decmd::SetFontName, Guard::exactlyEnabled}},
      {"fs_3", {Decmd::SetFontSize, Guard::notDisabled}},
      {"Heading 2", {Decmd::SetBlockFmt, Guard::exactlyEnabled}},
      {"removeLink", {Decmd::Unlink, Guard::exactlyEnabled}},
      {"insertRow", {Decmd::InsertRow, Guard::exactlyEnabled}},
      {"splitCells", {Decmd::SplitCell, Guard::exactlyEnabled}},
      {"cut", {Decmd::Cut, Guard::exactlyEnabled}},
      {"paste", {Decmd::Paste, Guard::exactlyEnabled}},
      {"selectAll", {Decmd::SelectAll, Guard::exactlyEnabled}},
      {"find", {Decmd::FindText, Guard::exactlyEnabled}},
  };
  for (const auto& [key, guard] : expected) {
    const CommandRow* row = findCommand(key);
    ASSERT_NE(row, nullptr) << key;
    EXPECT_EQ(row->command, guard.first) << key;
    EXPECT_EQ(row->guard, guard.second) << key;
  }
  // Operations with no guard of their own.
  for (auto key : {"pasteUnformatted", "copyHTML", "pasteHTML", "table", "image", "link", "clearStyle"}) {
    EXPECT_EQ(findCommand(key)->guard, Guard::none) << key;
  }
}

TEST(CommandRegistry, GuardsReadTheStatusTheirWay) {
  for (std::int32_t status : {0, 3, 7, 11}) EXPECT_TRUE(guardPasses(Guard::notDisabled, status));
  EXPECT_FALSE(guardPasses(Guard::notDisabled, 1));
  EXPECT_TRUE(guardPasses(Guard::exactlyEnabled, 3));
  for (std::int32_t status : {0, 1, 7, 11}) EXPECT_FALSE(guardPasses(Guard::exactlyEnabled, status));
  EXPECT_TRUE(guardPasses(Guard::none, 1));
}

// An engine whose statuses are set by the test and that records what it ran.
class FakeEngine final : public CommandEngine {
 public:
  std::map<Decmd, std::int32_t> statuses;
  std::vector<Decmd> ran;
  std::int32_t QueryStatus(Decmd command) override {
    const auto found = statuses.find(command);
    return found == statuses.end() ? 0 : found->second;
  }
  void ExecCommand(Decmd command) override { ran.push_back(command); }
};

TEST(CommandRegistry, SimpleCommandsRunOnlyWhenTheirGuardPasses) {
  FakeEngine engine;
  const CommandRow& bold = *findCommand("bold");
  const CommandRow& undo = *findCommand("undo");
  engine.statuses[Decmd::Bold] = 1;
  engine.statuses[Decmd::Undo] = 7;
  EXPECT_FALSE(runSimpleCommand(engine, bold));
  EXPECT_FALSE(runSimpleCommand(engine, undo));
  EXPECT_TRUE(engine.ran.empty());
  engine.statuses[Decmd::Bold] = 11;  // ninched still lets bold run
  engine.statuses[Decmd::Undo] = 3;
  EXPECT_TRUE(runSimpleCommand(engine, bold));
  EXPECT_TRUE(runSimpleCommand(engine, undo));
  EXPECT_EQ(engine.ran, (std::vector<Decmd>{Decmd::Bold, Decmd::Undo}));
}

TEST(CommandRegistry, WhatTheInterfaceShowsForAKey) {
  EXPECT_EQ(findCommand("horizontalrule")->shows, Decmd::Image);
  EXPECT_EQ(findCommand("copyHTML")->shows, Decmd::Copy);
  EXPECT_EQ(findCommand("pasteUnformatted")->shows, Decmd::Paste);
  EXPECT_EQ(findCommand("changeLink")->shows, Decmd::Unlink);
  EXPECT_EQ(findCommand("find")->shows, Decmd::FindText);
  EXPECT_EQ(findCommand("table")->shows, Decmd::InsertTable);
}

TEST(Shortcuts, TheMenuShowsItsShortcutsFromTheRegistry) {
  EXPECT_EQ(menuShortcut("undo"), "Ctrl+Z");
  EXPECT_EQ(menuShortcut("find"), "Ctrl+F");
  EXPECT_EQ(menuShortcut("lineBreak"), "Shift+Return");
  EXPECT_EQ(menuShortcut("nonBreakingSpace"), "Ctrl+Shift+Space");
  // Bold has its chord, but the menu does not print it.
  EXPECT_EQ(menuShortcut("bold"), "");
  EXPECT_EQ(findCommand("bold")->shortcut, "Ctrl+B");
  EXPECT_EQ(menuShortcut("nonsense"), "");
  std::map<std::string_view, std::string_view> shown;
  for (const auto& row : menubar::editorMenuTable()) {
    if (!row.shortcut.empty()) shown[row.key] = row.shortcut;
  }
  EXPECT_EQ(shown.size(), 9U);
  EXPECT_EQ(shown["copy"], "Ctrl+C");
}

TEST(Shortcuts, KeyPressesAreReadAsTheMenuWritesThem) {
  EXPECT_EQ(chordText({"z", true}), "Ctrl+Z");
  EXPECT_EQ(chordText({"Z", true, true}), "Ctrl+Shift+Z");
  EXPECT_EQ(chordText({"Enter", false, true}), "Shift+Return");
  EXPECT_EQ(chordText({" ", true, true}), "Ctrl+Shift+Space");
  // Typing is no shortcut: letters, capitals, a space, Enter alone, anything with Alt.
  EXPECT_EQ(chordText({"z"}), "");
  EXPECT_EQ(chordText({"Z", false, true}), "");
  EXPECT_EQ(chordText({" ", false, true}), "");
  EXPECT_EQ(chordText({"Enter"}), "");
  EXPECT_EQ(chordText({"\xC3\xA9", false, true}), "");
  EXPECT_EQ(chordText({"z", true, false, true}), "");

  const auto key = [](KeyChord chord) {
    const CommandRow* row = findShortcut(chord);
    return row ? std::string(row->key) : std::string();
  };
  EXPECT_EQ(key({"z", true}), "undo");
  EXPECT_EQ(key({"y", true}), "redo");
  EXPECT_EQ(key({"x", true}), "cut");
  EXPECT_EQ(key({"c", true}), "copy");
  EXPECT_EQ(key({"v", true}), "paste");
  EXPECT_EQ(key({"a", true}), "selectAll");
  EXPECT_EQ(key({"f", true}), "find");
  EXPECT_EQ(key({"b", true}), "bold");
  EXPECT_EQ(key({"i", true}), "italic");
  EXPECT_EQ(key({"u", true}), "underline");
  EXPECT_EQ(key({"Enter", false, true}), "lineBreak");
  EXPECT_EQ(key({" ", true, true}), "nonBreakingSpace");
  EXPECT_EQ(key({"q", true}), "");
  EXPECT_TRUE(findCommand("paste")->browserKey);
  EXPECT_FALSE(findCommand("bold")->browserKey);
}

}  // namespace
}  // namespace vellmar::editing
