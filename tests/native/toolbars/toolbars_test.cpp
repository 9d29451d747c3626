#include "toolbars/toolbars.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "editing/commands.h"
#include "toolbars/font_selector.h"

namespace vellmar::toolbars {
namespace {

using editor::PropertySet;

// The visible buttons of a toolbar as keys, a separator as "|".
std::string shown(const ctlToolbar& toolbar) {
  std::string out;
  for (const ToolbarButton& b : toolbar.buttons()) {
    if (!b.visible) continue;
    if (!out.empty()) out += ' ';
    out += b.def->separator() ? std::string("|") : std::string(b.def->key);
  }
  return out;
}

class ToolbarsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    props.let("PathToSaveToServer", std::string("/cms/save"));
    props.let("PathToImageList", std::string("/cms/images/list"));
  }
  void on(std::string_view name) { props.let(name, std::int32_t{1}); }
  editor::ToolbarVisibility apply() { return applyToolbarSwitches(standard, objects, selector, textFormat, props); }

  PropertySet props;
  ctlToolbar standard{ToolbarId::standard};
  ctlToolbar objects{ToolbarId::objects};
  ctlToolbar textFormat{ToolbarId::textFormat};
  ctlFontSelector selector;
};

TEST_F(ToolbarsTest, ButtonsAndTooltipsInTheirOrder) {
  ASSERT_EQ(standard.count(), 14u);
  ASSERT_EQ(objects.count(), 9u);
  ASSERT_EQ(textFormat.count(), 14u);
  EXPECT_EQ(shown(standard), "openLocal saveToServer | print spellCheck | find | cut copy paste | undo redo");
  EXPECT_EQ(shown(objects), "image table horizontalrule htmlComment | link emailLink namedAnchor ImageMap");
  EXPECT_EQ(shown(textFormat),
            "bold italic underline | left center right | bulletList numberList indent outdent | color");
  EXPECT_EQ(standard.button(1).def->tooltip, "Open Local...");
  EXPECT_EQ(objects.button(3).def->tooltip, "Horizontal Rule");
  EXPECT_EQ(textFormat.button(14).def->tooltip, "Set Color");
  for (ToolbarId id : {ToolbarId::standard, ToolbarId::objects, ToolbarId::textFormat}) {
    for (const ButtonDef& def : toolbarButtons(id)) {
      if (!def.separator()) {
        EXPECT_FALSE(def.icon.empty()) << def.key;
      }
    }
  }
}

TEST_F(ToolbarsTest, EveryButtonKeyIsACommandExceptTheFiveWithoutOne) {
  std::vector<std::string> withoutCommand;
  for (ToolbarId id : {ToolbarId::standard, ToolbarId::objects, ToolbarId::textFormat}) {
    for (const ButtonDef& def : toolbarButtons(id)) {
      if (!def.separator() && !editing::findCommand(def.key)) withoutCommand.emplace_back(def.key);
    }
  }
  EXPECT_EQ(withoutCommand, (std::vector<std::string>{"print", "htmlComment", "emailLink", "namedAnchor", "ImageMap"}));
}

TEST_F(ToolbarsTest, ClicksReportTheKeyOfShownEnabledButtonsOnly) {
  std::vector<std::string> keys;
  textFormat.ButtonClick = [&](const std::string& key) { keys.push_back(key); };
  textFormat.click(1);
  textFormat.click(4);  // a separator
  textFormat.buttonEnabled("italic", false);
  textFormat.click(2);
  textFormat.setButtonVisible(3, false);
  textFormat.click(3);
  textFormat.click(15);
  textFormat.click(14);
  EXPECT_EQ(keys, (std::vector<std::string>{"bold", "color"}));
}

TEST_F(ToolbarsTest, EnabledAndValueByKeyOrIndexFailOnlyForUnknownButtons) {
  EXPECT_TRUE(textFormat.buttonValue("bold", 1));
  EXPECT_TRUE(textFormat.buttonValue(6, 1));
  EXPECT_TRUE(textFormat.buttonEnabled(2, false));
  EXPECT_FALSE(textFormat.buttonValue("nothing", 1));
  EXPECT_FALSE(textFormat.buttonEnabled(0, false));
  EXPECT_FALSE(textFormat.buttonEnabled(15, false));
  EXPECT_EQ(textFormat.button(1).value, 1);
  EXPECT_EQ(textFormat.button(6).value, 1);
  EXPECT_FALSE(textFormat.button(2).enabled);
  EXPECT_TRUE(textFormat.button(3).enabled);
  EXPECT_EQ(textFormat.button(3).value, 0);
}

TEST_F(ToolbarsTest, ObserverHearsOnlyRealChanges) {
  std::vector<int> changed;
  textFormat.setObserver([&](int index) { changed.push_back(index); });
  textFormat.buttonValue(1, 1);
  textFormat.buttonValue(1, 1);
  textFormat.buttonEnabled(1, true);
  textFormat.setIsVisible(false);
  EXPECT_EQ(changed, (std::vector<int>{1, 0}));
}

TEST_F(ToolbarsTest, ClipboardGroupHiddenCollapsesItsSeparators) {
  on("hideCut");
  on("HideCopy");
  on("HidePaste");
  apply();
  EXPECT_EQ(shown(standard), "openLocal saveToServer | print spellCheck | find | undo redo");
}

TEST_F(ToolbarsTest, SpellingAndFindHiddenLeaveNoSeparatorsSideBySide) {
  on("DisableSpellCheck");
  on("HideFind");
  apply();
  EXPECT_EQ(shown(standard), "openLocal saveToServer | print | cut copy paste | undo redo");
  // Without print between them, the separators of the spelling and find groups would meet.
  on("DisableOpenLocal");
  on("DisableSaveToServer");
  apply();
  EXPECT_EQ(shown(standard), "print | cut copy paste | undo redo");
}

TEST_F(ToolbarsTest, LeadingAndTrailingSeparatorsGo) {
  on("HideBold");
  on("HideItalic");
  on("HideUnderline");
  on("DisableColor");
  apply();
  EXPECT_EQ(shown(textFormat), "left center right | bulletList numberList indent outdent");
}

TEST_F(ToolbarsTest, SeparatorsComeBackWhenTheRulesRunAgain) {
  on("HideBold");
  on("HideItalic");
  on("HideUnderline");
  apply();
  props.let("HideBold", std::int32_t{0});
  apply();
  EXPECT_EQ(shown(textFormat),
            "bold | left center right | bulletList numberList indent outdent | color");
}

TEST_F(ToolbarsTest, PathsDecideSaveAndImage) {
  props.let("PathToSaveToServer", std::string("  "));
  props.let("PathToImageList", std::string(""));
  apply();
  EXPECT_FALSE(standard.button(2).visible);
  EXPECT_FALSE(objects.button(1).visible);
}

TEST_F(ToolbarsTest, LinkNeedsBothLinkSwitches) {
  on("DisableLinks");
  apply();
  EXPECT_TRUE(objects.button(6).visible);
  on("DisableEmailLinks");
  apply();
  EXPECT_FALSE(objects.button(6).visible);
}

TEST_F(ToolbarsTest, AToolbarWithNoGovernedButtonLeftIsNotShown) {
  on("DisableImages");
  on("DisableTables");
  on("DisableHorizontalRule");
  on("DisableLinks");
  on("DisableEmailLinks");
  const auto visible = apply();
  // The buttons without a rule are still there, but they do not keep the toolbar.
  EXPECT_FALSE(visible.objects);
  EXPECT_FALSE(objects.isVisible());
  EXPECT_TRUE(visible.standard);
  EXPECT_TRUE(visible.textFormat);
}

TEST_F(ToolbarsTest, ToolbarSwitchesHideWholeToolbars) {
  on("DisableStandardToolbar");
  on("DisableFormattingToolbar");
  const auto visible = apply();
  EXPECT_FALSE(visible.standard);
  EXPECT_TRUE(visible.objects);
  EXPECT_TRUE(visible.fontSelector);
  EXPECT_FALSE(visible.textFormat);
}

TEST_F(ToolbarsTest, SelectorHiddenOnlyWhenAllThreeListsAreRemoved) {
  on("DisableBlockformat");
  on("DisableFont");
  EXPECT_TRUE(apply().fontSelector);
  EXPECT_FALSE(selector.listShown(SelectorList::format));
  EXPECT_TRUE(selector.listShown(SelectorList::size));
  on("DisableFontSize");
  EXPECT_FALSE(apply().fontSelector);
  props.let("DisableFont", std::int32_t{0});
  EXPECT_TRUE(apply().fontSelector);
  EXPECT_TRUE(selector.listShown(SelectorList::font));
}

TEST_F(ToolbarsTest, WidthIsTheSumOfTheVisibleButtons) {
  apply();
  // 10 buttons and 4 separators, then the frame.
  EXPECT_EQ(toolbarContentWidth(standard), 10 * kButtonWidthTwips + 4 * kSeparatorWidthTwips);
  EXPECT_EQ(toolbarWidthPixels(standard), (10 * kButtonWidthTwips + 4 * kSeparatorWidthTwips) / 15 + 4);
  on("hideCut");
  on("HideCopy");
  on("HidePaste");
  apply();
  EXPECT_EQ(toolbarContentWidth(standard), 7 * kButtonWidthTwips + 3 * kSeparatorWidthTwips);
}

}  // namespace
}  // namespace vellmar::toolbars
