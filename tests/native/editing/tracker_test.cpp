#include "editing/tracker.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "common/diagnostics.h"
#include "editing/commands.h"
#include "editing/formats.h"
#include "menubar/editor_menu.h"
#include "menubar/menu_bar.h"
#include "toolbars/font_selector.h"
#include "toolbars/toolbars.h"

namespace vellmar::editing {
namespace {

using toolbars::ctlToolbar;
using toolbars::SelectorList;
using toolbars::ToolbarId;

constexpr std::int32_t kDisabled = 1, kEnabled = 3, kLatched = 7, kNinched = 11;

// A document described by its statuses, the ancestors of the caret (innermost first, each with
// its attributes) and the selection.
class FakeDocument final : public TrackedDocument {
 public:
  struct Ancestor {
    std::string tag;
    std::map<std::string, std::string> attributes;
  };

  std::map<Decmd, std::int32_t> statuses;
  std::string blockFormat = "Normal";
  std::string fontName;
  std::string fontSize;
  SelectionType type = SelectionType::None;
  std::vector<Ancestor> ancestors;  // innermost first; BODY is not listed
  int range = 0;                    // the selection's text range, as a number
  int rememberedRange = -1;
  bool failRangeComparison = false;
  bool failStatus = false;
  int sourceIndex = 5;
  std::string className;
  int sizesRemoved = 0;
  int blockFormatReads = 0;
  int ancestorWalks = 0;

  std::int32_t QueryStatus(Decmd command) override {
    if (failStatus) throw ProcedureError(91, "Object variable not set");
    const auto found = statuses.find(command);
    return found == statuses.end() ? kEnabled : found->second;
  }
  std::string ExecCommand(Decmd command) override {
    if (command == Decmd::GetBlockFmt) {
      ++blockFormatReads;
      return blockFormat;
    }
    if (command == Decmd::GetFontName) return fontName;
    if (command == Decmd::GetFontSize) return fontSize;
    return {};
  }
  SelectionType selectionType() override { return type; }
  bool textRangeChanged() override {
    if (failRangeComparison) throw ProcedureError(5, "Invalid procedure call or argument");
    const bool changed = range != rememberedRange;
    rememberedRange = range;
    return changed;
  }
  const Ancestor* enclosing(std::string_view tag) {
    ++ancestorWalks;
    for (const Ancestor& a : ancestors) {
      if (menubar::equalsIgnoringCase(a.tag, tag)) return &a;
    }
    return nullptr;
  }
  bool checkForParentTag(std::string_view tag) override { return enclosing(tag) != nullptr; }
  std::optional<std::string> parentTagAttribute(std::string_view tag, std::string_view attribute) override {
    const Ancestor* a = enclosing(tag);
    if (!a) return std::nullopt;
    const auto found = a->attributes.find(std::string(attribute));
    if (found == a->attributes.end()) return std::nullopt;
    return found->second;
  }
  std::string selectedTagName() override { return ancestors.empty() ? "BODY" : ancestors.front().tag; }
  int selectedSourceIndex() override { return sourceIndex; }
  std::string selectedClassName() override { return className; }
  void removeSelectedSize() override { ++sizesRemoved; }
};

class TrackerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    menubar::buildEditorMenu(bar);
    selector.updateInterface();
    selector.formatChanged = [this](const std::string& t) { selectorEvents.push_back(t); };
    selector.sizeChanged = [this](const std::string& t) { selectorEvents.push_back(t); };
    selector.fontChanged = [this](const std::string& t) { selectorEvents.push_back(t); };
    setDebugSink([this](std::string_view line) { log.emplace_back(line); });
  }
  void TearDown() override { setDebugSink({}); }

  TrackerTargets targets() {
    TrackerTargets t;
    t.menuBar = &bar;
    t.standard = &standard;
    t.objects = &objects;
    t.textFormat = &textFormat;
    t.selector = &selector;
    t.panels.elementIndex = [this] { return panelIndex; };
    t.panels.hideAllFrames = [this] {
      ++panelsHidden;
      panelIndex = -1;
    };
    t.panels.refreshPanel = [this] { ++panelRefreshes; };
    return t;
  }
  void run() { tracker.checkUnderCursor(); }
  const menubar::MenuItemRecord& item(std::string_view menu, std::string_view key) const {
    const auto b = bar.getMBbuttonIDbyName(menu);
    const auto i = bar.getMBitemIDbyName(b, key);
    EXPECT_GE(i, 0) << key;
    return bar.buttonRecord(b)->items.at(static_cast<std::size_t>(i));
  }

  FakeDocument doc;
  menubar::mcMenuBar bar;
  ctlToolbar standard{ToolbarId::standard};
  ctlToolbar objects{ToolbarId::objects};
  ctlToolbar textFormat{ToolbarId::textFormat};
  toolbars::ctlFontSelector selector;
  editor::PropertySet props;
  int panelIndex = -1;
  int panelsHidden = 0;
  int panelRefreshes = 0;
  std::vector<std::string> selectorEvents;
  std::vector<std::string> log;
  SelectionTracker tracker{doc, targets(), props};
};

TEST(TrackedItems, FollowTheRegistryTheMenusAndTheToolbars) {
  std::map<std::string, const TrackedItem*> byKey;
  for (const TrackedItem& item : trackedItems()) byKey[std::string(item.key)] = &item;
  const auto expect = [&](const char* key, std::string_view menu, Decmd command, std::optional<ToolbarId> toolbar,
                          int button) {
    ASSERT_TRUE(byKey.count(key)) << key;
    const TrackedItem& item = *byKey[key];
    EXPECT_EQ(item.menu, menu) << key;
    EXPECT_EQ(item.command, command) << key;
    EXPECT_EQ(item.toolbar, toolbar) << key;
    EXPECT_EQ(item.button, button) << key;
  };
  EXPECT_EQ(byKey.size(), 27u);
  expect("find", "edit", Decmd::FindText, ToolbarId::standard, 7);
  expect("copyHTML", "edit", Decmd::Copy, ToolbarId::standard, 10);
  expect("pasteUnformatted", "edit", Decmd::Paste, ToolbarId::standard, 11);
  expect("selectAll", "edit", Decmd::SelectAll, std::nullopt, 0);
  expect("redo", "edit", Decmd::Redo, ToolbarId::standard, 14);
  expect("underline", "style", Decmd::Underline, ToolbarId::textFormat, 3);
  expect("right", "format", Decmd::JustifyRight, ToolbarId::textFormat, 7);
  expect("outdent", "format", Decmd::Outdent, ToolbarId::textFormat, 12);
  expect("table", "insert", Decmd::InsertTable, ToolbarId::objects, 2);
  expect("horizontalrule", "insert", Decmd::Image, ToolbarId::objects, 3);
  expect("link", "insert", Decmd::Hyperlink, ToolbarId::objects, 6);
  expect("removeLink", "format", Decmd::Unlink, std::nullopt, 0);
  expect("removeFormatting", "style", Decmd::RemoveFormat, std::nullopt, 0);
  EXPECT_FALSE(byKey.count("color"));

  std::vector<std::string> tables;
  for (const TrackedItem& item : trackedTableItems()) {
    tables.emplace_back(item.key);
    EXPECT_EQ(item.menu, "format");
  }
  EXPECT_EQ(tables.size(), 6u);
}

TEST_F(TrackerTest, LatchedChecksAndPressesEnabledReleasesDisabledGreys) {
  doc.statuses[Decmd::Bold] = kLatched;
  doc.statuses[Decmd::JustifyCenter] = kLatched;
  doc.statuses[Decmd::Undo] = kDisabled;
  run();
  EXPECT_TRUE(item("style", "bold").checked);
  EXPECT_EQ(textFormat.button(1).value, 1);
  EXPECT_TRUE(item("format", "center").checked);
  EXPECT_EQ(textFormat.button(6).value, 1);
  EXPECT_TRUE(item("edit", "undo").grayed);
  EXPECT_FALSE(standard.button(13).enabled);

  doc.statuses[Decmd::Bold] = kEnabled;
  doc.statuses[Decmd::Undo] = kEnabled;
  run();
  EXPECT_FALSE(item("style", "bold").checked);
  EXPECT_EQ(textFormat.button(1).value, 0);
  EXPECT_FALSE(item("edit", "undo").grayed);
  EXPECT_TRUE(standard.button(13).enabled);

  doc.statuses[Decmd::Bold] = kDisabled;
  run();
  EXPECT_TRUE(item("style", "bold").grayed);
  EXPECT_FALSE(textFormat.button(1).enabled);
}

TEST_F(TrackerTest, NinchedAndUnsupportedLeaveItemAndButtonAsTheyWere) {
  doc.statuses[Decmd::Bold] = kLatched;
  run();
  doc.statuses[Decmd::Bold] = kNinched;
  doc.statuses[Decmd::Italic] = 0;
  run();
  EXPECT_TRUE(item("style", "bold").checked);
  EXPECT_EQ(textFormat.button(1).value, 1);
  EXPECT_FALSE(item("style", "italic").checked);
}

TEST_F(TrackerTest, TableItemsAreGreyedUnlessExactlyEnabled) {
  for (Decmd d : {Decmd::SplitCell, Decmd::MergeCells, Decmd::DeleteRows, Decmd::DeleteCols, Decmd::InsertRow,
                  Decmd::InsertCol}) {
    doc.statuses[d] = kDisabled;
  }
  run();
  for (const char* key : {"splitCells", "mergeCells", "deleteRow", "deleteColumn", "insertRow", "insertColumn"}) {
    EXPECT_TRUE(item("format", key).grayed) << key;
  }
  doc.statuses[Decmd::InsertRow] = kEnabled;
  doc.statuses[Decmd::MergeCells] = kLatched;
  run();
  EXPECT_FALSE(item("format", "insertRow").grayed);
  EXPECT_TRUE(item("format", "mergeCells").grayed);
  EXPECT_FALSE(item("format", "mergeCells").checked);
}

TEST_F(TrackerTest, SelectorAndMenusShowTheBlockFormatAndRefreshOnlyWhenTheRangeMoved) {
  doc.blockFormat = "Heading 2";
  run();
  EXPECT_EQ(selector.selectedText(SelectorList::format), "Heading 2");
  EXPECT_TRUE(item("style", "Heading 2").checked);
  EXPECT_FALSE(item("style", "Normal").checked);
  const int reads = doc.blockFormatReads;
  run();  // the same range: nothing is read again
  EXPECT_EQ(doc.blockFormatReads, reads);
  doc.range = 1;
  doc.blockFormat = "Normal";
  run();
  EXPECT_EQ(selector.selectedText(SelectorList::format), "Normal");
  EXPECT_FALSE(item("style", "Heading 2").checked);
  EXPECT_TRUE(selectorEvents.empty());
}

TEST_F(TrackerTest, AFailedRangeComparisonIsIgnored) {
  doc.failRangeComparison = true;
  doc.statuses[Decmd::Bold] = kLatched;
  run();
  EXPECT_TRUE(item("style", "bold").checked);
  EXPECT_TRUE(log.empty());
}

TEST_F(TrackerTest, BlockFormatDisabledGreysTheFormatsAndDisablesTheSelector) {
  doc.statuses[Decmd::GetBlockFmt] = kDisabled;
  doc.statuses[Decmd::GetFontSize] = kDisabled;
  run();
  EXPECT_FALSE(selector.listEnabled(SelectorList::format));
  EXPECT_FALSE(selector.listEnabled(SelectorList::size));
  EXPECT_TRUE(item("format", "size").grayed);
  // The font list follows its own command's status, read after the block format's.
  EXPECT_TRUE(selector.listEnabled(SelectorList::font));
  EXPECT_TRUE(item("style", "Heading 1").grayed);
  EXPECT_FALSE(item("style", "Heading 1").checked);
}

TEST_F(TrackerTest, NoFontElementShowsTheDefaults) {
  run();
  EXPECT_TRUE(item("format", "defaultfont").checked);
  EXPECT_TRUE(item("format", "fs_default").checked);
  EXPECT_EQ(selector.selectedText(SelectorList::font), "Default");
  EXPECT_EQ(selector.selectedText(SelectorList::size), "Default");
}

TEST_F(TrackerTest, FontFaceAndSizeUnderTheCaret) {
  doc.ancestors = {{"FONT", {{"face", "Georgia"}, {"size", "4"}}}, {"P", {}}};
  doc.fontName = "Georgia";
  doc.fontSize = "4";
  run();
  EXPECT_TRUE(item("format", "georgia").checked);
  EXPECT_FALSE(item("format", "defaultfont").checked);
  EXPECT_EQ(selector.selectedText(SelectorList::font), "Georgia, Times New Roman, serif");
  EXPECT_TRUE(item("format", "fs_4").checked);
  EXPECT_FALSE(item("format", "fs_default").checked);
  EXPECT_EQ(selector.selectedText(SelectorList::size), "4");
}

TEST_F(TrackerTest, AFaceNotInTheTableChecksNoFont) {
  doc.ancestors = {{"FONT", {{"face", "Comic Sans MS"}}}};
  doc.fontName = "Comic Sans MS";
  run();
  for (const auto& font : kFontTable) EXPECT_FALSE(item("format", font.key).checked) << font.key;
  EXPECT_EQ(selector.selectedText(SelectorList::font), "Default");  // the selector keeps its choice
}

TEST_F(TrackerTest, ABlankSizeAttributeCountsAsNone) {
  doc.ancestors = {{"FONT", {{"size", "  "}}}};
  run();
  EXPECT_TRUE(item("format", "fs_default").checked);
}

TEST_F(TrackerTest, SwitchedOffListsAreNotRefreshed) {
  props.let("DisableBlockformat", std::int32_t{1});
  doc.blockFormat = "Heading 3";
  run();
  EXPECT_EQ(doc.blockFormatReads, 0);
  EXPECT_EQ(selector.selectedText(SelectorList::format), "Normal");
}

TEST_F(TrackerTest, ControlSelectionDisablesTheColourButtonAndUndoesImageSizes) {
  doc.type = SelectionType::Control;
  doc.ancestors = {{"IMG", {}}};
  run();
  EXPECT_FALSE(textFormat.button(14).enabled);
  EXPECT_EQ(doc.sizesRemoved, 0);
  props.let("DisableEditImageWidthHeight", std::int32_t{1});
  run();
  EXPECT_EQ(doc.sizesRemoved, 1);
  doc.type = SelectionType::Text;
  doc.ancestors = {{"P", {}}};
  run();
  EXPECT_TRUE(textFormat.button(14).enabled);
}

TEST_F(TrackerTest, MovingToAnotherElementClosesThePanelAndTheSameOneRefreshesIt) {
  run();
  EXPECT_EQ(panelsHidden, 0);
  panelIndex = 5;
  doc.sourceIndex = 5;
  run();
  EXPECT_EQ(panelsHidden, 0);
  doc.sourceIndex = 9;
  run();
  EXPECT_EQ(panelsHidden, 1);
  EXPECT_EQ(panelIndex, -1);
  EXPECT_EQ(panelRefreshes, 3);
}

TEST_F(TrackerTest, ClassOfTheElementIsCheckedInTheStyleMenu) {
  props.let("PathToStyleSheet", std::string("/cms/styles.css"));
  for (const char* name : {"Note", "Warning"}) {
    bar.AddMenuItem(bar.getMBbuttonIDbyName("style"), classKey(name), bar.getMBitemIDbyName(bar.getMBbuttonIDbyName("style"), "cssClasses") + 1, name, "");
  }
  doc.className = "Note";
  run();
  EXPECT_TRUE(item("style", "cssStyle_.Note").checked);
  doc.className = "Warning";
  run();
  EXPECT_FALSE(item("style", "cssStyle_.Note").checked);
  EXPECT_TRUE(item("style", "cssStyle_.Warning").checked);
  props.let("DisableCssStyles", std::int32_t{1});
  doc.className = "";
  run();
  EXPECT_TRUE(item("style", "cssStyle_.Warning").checked);
}

TEST_F(TrackerTest, AFailureIsLoggedAndEndsTheRun) {
  doc.failStatus = true;
  run();
  ASSERT_GE(log.size(), 3u);
  EXPECT_EQ(log[0], "Error in checkUnderCursor");
  EXPECT_EQ(panelRefreshes, 0);
}

}  // namespace
}  // namespace vellmar::editing
