#include "editing/dispatch.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "common/diagnostics.h"
#include "menubar/editor_menu.h"

namespace vellmar::editing {
namespace {

// Records every operation reached, as "name" or "name(argument)".
class RecordingOperations final : public EditorOperations {
 public:
  std::vector<std::string> calls;
  bool failNext = false;

  void record(std::string call) {
    calls.push_back(std::move(call));
    if (failNext) {
      failNext = false;
      throw ProcedureError(91, "Object variable not set");
    }
  }
  static std::string with(std::string_view name, std::string_view argument) {
    return std::string(name) + "(" + std::string(argument) + ")";
  }

  void runCommand(const CommandRow& row) override {
    record(with(operationName(row.operation), decmdName(*row.command)));
  }
  void openLocal() override { record("openLocal"); }
  void saveToServer() override { record("saveToServer"); }
  void saveLocal() override { record("saveLocal"); }
  void saveLocalAs(const std::string& fileName) override { record(with("saveLocalAs", fileName)); }
  void openRecentFiles(int n) override { record(with("openRecentFiles", std::to_string(n))); }
  void cut() override { record("cut"); }
  void copy() override { record("copy"); }
  void paste() override { record("paste"); }
  void pasteUnformatted() override { record("pasteUnformatted"); }
  void copyHTML() override { record("copyHTML"); }
  void pasteHTML() override { record("pasteHTML"); }
  void spellCheck() override { record("spellCheck"); }
  void setView(std::string_view viewKey) override { record(with("setView", viewKey)); }
  void visualAids() override { record("visualAids"); }
  void addImage() override { record("addImage"); }
  void addLink() override { record("addLink"); }
  void addHorizontalrule() override { record("addHorizontalrule"); }
  void addTable() override { record("addTable"); }
  void insertHTML(std::string_view html) override { record(with("insertHTML", html)); }
  void addOtherCharacter() override { record("addOtherCharacter"); }
  void clearStyle() override { record("clearStyle"); }
  void setColor() override { record("setColor"); }
  void setFont(std::string_view key) override { record(with("setFont", key)); }
  void setFontSize(std::string_view key) override { record(with("setFontSize", key)); }
  void setBlockFormat(std::string_view name) override { record(with("setBlockFormat", name)); }
  void applyClass(std::string_view className) override { record(with("applyClass", className)); }
  void setTableValign(std::string_view valign) override { record(with("setTableValign", valign)); }
  void goToHelp() override { record("goToHelp"); }
  void aboutVellmar() override { record("aboutVellmar"); }
  void checkFormatInMenu() override { record("checkFormatInMenu"); }
};

class DispatchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setDebugSink([this](std::string_view line) { log.emplace_back(line); });
  }
  void TearDown() override { setDebugSink(nullptr); }

  std::vector<std::string> choose(std::string_view key) {
    ops.calls.clear();
    mcMenuBar1_menuItemSelected(ops, key);
    return ops.calls;
  }

  RecordingOperations ops;
  std::vector<std::string> log;
};

using Calls = std::vector<std::string>;

TEST_F(DispatchTest, EveryRowOfTheTableReachesItsOperation) {
  const std::map<std::string, std::string> expected = {
      {"openLocal", "openLocal"},
      {"saveToServer", "saveToServer"},
      {"saveLocal", "saveLocal"},
      {"saveLocalAs", "saveLocalAs()"},
      {"recentFiles1", "openRecentFiles(1)"},
      {"recentFiles4", "openRecentFiles(4)"},
      {"undo", "undo(DECMD_UNDO)"},
      {"redo", "redo(DECMD_REDO)"},
      {"cut", "cut"},
      {"copy", "copy"},
      {"paste", "paste"},
      {"pasteUnformatted", "pasteUnformatted"},
      {"copyHTML", "copyHTML"},
      {"pasteHTML", "pasteHTML"},
      {"selectAll", "selectAll(DECMD_SELECTALL)"},
      {"find", "findText(DECMD_FINDTEXT)"},
      {"spellCheck", "spellCheck"},
      {"wysiwyg", "setView(wysiwyg)"},
      {"html", "setView(html)"},
      {"visualAids", "visualAids"},
      {"image", "addImage"},
      {"link", "addLink"},
      {"horizontalrule", "addHorizontalrule"},
      {"table", "addTable"},
      {"lineBreak", "insertHTML(<br>)"},
      {"nonBreakingSpace", "insertHTML(&nbsp;)"},
      {"otherCharacters", "addOtherCharacter"},
      {"clearStyle", "clearStyle"},
      {"removeFormatting", "removeFormatting(DECMD_REMOVEFORMAT)"},
      {"Normal", "setBlockFormat(Normal)"},
      {"Heading 1", "setBlockFormat(Heading 1)"},
      {"Heading 6", "setBlockFormat(Heading 6)"},
      {"Formatted", "setBlockFormat(Formatted)"},
      {"Address", "setBlockFormat(Address)"},
      {"bold", "setBold(DECMD_BOLD)"},
      {"italic", "setItalic(DECMD_ITALIC)"},
      {"underline", "setUnderline(DECMD_UNDERLINE)"},
      {"changeLink", "addLink"},
      {"removeLink", "removeLink(DECMD_UNLINK)"},
      {"left", "setLeft(DECMD_JUSTIFYLEFT)"},
      {"right", "setRight(DECMD_JUSTIFYRIGHT)"},
      {"center", "setCenter(DECMD_JUSTIFYCENTER)"},
      {"bulletList", "bulletList(DECMD_UNORDERLIST)"},
      {"numberList", "numberList(DECMD_ORDERLIST)"},
      {"indent", "indent(DECMD_INDENT)"},
      {"outdent", "outdent(DECMD_OUTDENT)"},
      {"color", "setColor"},
      {"defaultfont", "setFont(defaultfont)"},
      {"arial", "setFont(arial)"},
      {"verdana", "setFont(verdana)"},
      {"fs_default", "setFontSize(fs_default)"},
      {"fs_1", "setFontSize(fs_1)"},
      {"fs_7", "setFontSize(fs_7)"},
      {"insertRow", "insertRow(DECMD_INSERTROW)"},
      {"insertColumn", "insertColumn(DECMD_INSERTCOL)"},
      {"deleteColumn", "deleteColumn(DECMD_DELETECOLS)"},
      {"deleteRow", "deleteRow(DECMD_DELETEROWS)"},
      {"mergeCells", "mergeCells(DECMD_MERGECELLS)"},
      {"splitCells", "splitCells(DECMD_SPLITCELL)"},
      {"top", "setTableValign(top)"},
      {"middle", "setTableValign(middle)"},
      {"bottom", "setTableValign(bottom)"},
      {"contents", "goToHelp"},
      {"aboutVellmar", "aboutVellmar"},
  };
  for (const auto& [key, call] : expected) EXPECT_EQ(choose(key), Calls{call}) << key;
  EXPECT_TRUE(log.empty());
}

TEST_F(DispatchTest, EveryMenuItemThatCanBeChosenHasARow) {
  // Items that open submenus, separators and the class menu's parent are never chosen.
  std::vector<std::string_view> parents;
  for (const auto& row : menubar::editorMenuTable()) {
    if (!row.parentKey.empty()) parents.push_back(row.parentKey);
  }
  for (const auto& row : menubar::editorMenuTable()) {
    if (row.separator || row.key == "cssClasses") continue;
    if (std::find(parents.begin(), parents.end(), row.key) != parents.end() && row.key != "table") continue;
    EXPECT_NE(findCommand(row.key), nullptr) << row.key;
  }
}

TEST_F(DispatchTest, TheClassFamilyIgnoresThePrefixesLetterCase) {
  EXPECT_EQ(choose("cssStyle_.Note"), Calls{"applyClass(Note)"});
  EXPECT_EQ(choose("CSSSTYLE_.Note"), Calls{"applyClass(Note)"});
  EXPECT_EQ(choose("cssstyle_.MixedCase"), Calls{"applyClass(MixedCase)"});
  EXPECT_EQ(choose("cssStyle_."), Calls{"applyClass()"});
  EXPECT_EQ(choose("cssStyle_"), Calls{});
  EXPECT_EQ(classKey("Note"), "cssStyle_.Note");
}

TEST_F(DispatchTest, KeysAreExactAndUnknownOrEmptyKeysDoNothingQuietly) {
  EXPECT_EQ(choose(""), Calls{});
  EXPECT_EQ(choose("print"), Calls{});
  EXPECT_EQ(choose("Bold"), Calls{});
  EXPECT_EQ(choose("heading 1"), Calls{});
  EXPECT_EQ(choose("bold "), Calls{});
  EXPECT_TRUE(log.empty());
}

TEST_F(DispatchTest, AFailureThatEscapesAnOperationIsLoggedByTheDispatch) {
  ops.failNext = true;
  EXPECT_EQ(choose("aboutVellmar"), Calls{"aboutVellmar"});
  EXPECT_EQ(log, (std::vector<std::string>{"Error in mcMenuBar1_menuItemSelected", "91",
                                           "Object variable not set"}));
}

TEST_F(DispatchTest, SelectorEventsApplyAndThenRefreshTheSelector) {
  ctlFontSelector1_fontChanged(ops, "Times New Roman, Times, serif");
  EXPECT_EQ(ops.calls, (Calls{"setFont(times)", "checkFormatInMenu"}));
  ops.calls.clear();
  // Every font whose family begins with the name, in table order.
  ctlFontSelector1_fontChanged(ops, "");
  EXPECT_EQ(ops.calls.size(), 7U);
  EXPECT_EQ(ops.calls.front(), "setFont(defaultfont)");
  ops.calls.clear();
  ctlFontSelector1_formatChanged(ops, "Heading 3");
  ctlFontSelector1_sizeChanged(ops, "5");
  EXPECT_EQ(ops.calls, (Calls{"setBlockFormat(Heading 3)", "checkFormatInMenu", "setFontSize(5)",
                              "checkFormatInMenu"}));
}

}  // namespace
}  // namespace vellmar::editing
