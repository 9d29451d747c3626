#include "toolbars/font_selector.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellmar::toolbars {
namespace {

class FontSelectorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    selector.formatChanged = [this](const std::string& t) { events.push_back("format:" + t); };
    selector.fontChanged = [this](const std::string& t) { events.push_back("font:" + t); };
    selector.sizeChanged = [this](const std::string& t) { events.push_back("size:" + t); };
  }
  int index(SelectorList list, std::string_view text) const {
    const auto& entries = selector.entries(list);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i] == text) return static_cast<int>(i);
    }
    return -1;
  }

  ctlFontSelector selector;
  std::vector<std::string> events;
};

TEST_F(FontSelectorTest, EntriesAreTheEditingTables) {
  EXPECT_EQ(selector.entries(SelectorList::format).size(), 9u);
  EXPECT_EQ(selector.entries(SelectorList::format)[8], "Formatted");
  EXPECT_EQ(selector.entries(SelectorList::font)[1], "Arial, Helvetica, sans-serif");
  EXPECT_EQ(selector.entries(SelectorList::size).front(), "Default");
  EXPECT_EQ(selector.entries(SelectorList::size).back(), "7");
}

TEST_F(FontSelectorTest, UserPicksRaiseNothingBeforeTheFirstLayout) {
  selector.userSelected(SelectorList::size, 3);
  EXPECT_TRUE(events.empty());
  selector.updateInterface();
  EXPECT_TRUE(events.empty());  // selecting the first entries is programmatic
  EXPECT_EQ(selector.selectedText(SelectorList::format), "Normal");
  EXPECT_EQ(selector.selectedText(SelectorList::font), "Default");
  EXPECT_EQ(selector.selectedText(SelectorList::size), "Default");
}

TEST_F(FontSelectorTest, ProgrammaticSelectionIsQuietAndAUserPickIsNot) {
  selector.updateInterface();
  selector.setSelectedSize("4");
  EXPECT_EQ(selector.selectedText(SelectorList::size), "4");
  EXPECT_TRUE(events.empty());
  selector.userSelected(SelectorList::size, index(SelectorList::size, "4"));
  selector.userSelected(SelectorList::font, 2);
  selector.userSelected(SelectorList::format, 2);
  EXPECT_EQ(events, (std::vector<std::string>{"size:4", "font:Times New Roman, Times, serif", "format:Heading 2"}));
}

TEST_F(FontSelectorTest, FormatMatchesIgnoringCaseAndUnknownTextsChangeNothing) {
  selector.updateInterface();
  selector.setSelectedFormat("heading 2");
  EXPECT_EQ(selector.selectedText(SelectorList::format), "Heading 2");
  selector.setSelectedFormat("Heading 9");
  EXPECT_EQ(selector.selectedText(SelectorList::format), "Heading 2");
  selector.setSelectedSize("default");
  EXPECT_EQ(selector.selectedText(SelectorList::size), "Default");
  selector.setSelectedFont(7);
  selector.setSelectedFont(-1);
  EXPECT_EQ(selector.selectedText(SelectorList::font), "Default");
  selector.setSelectedFont(5);
  EXPECT_EQ(selector.selectedIndex(SelectorList::font), 5);
  EXPECT_TRUE(events.empty());
}

TEST_F(FontSelectorTest, EnableItemTakesOnlyTheThreeLists) {
  selector.enableItem(1, false);
  selector.enableItem(3, false);
  selector.enableItem(-1, false);
  EXPECT_TRUE(selector.listEnabled(SelectorList::format));
  EXPECT_FALSE(selector.listEnabled(SelectorList::font));
  EXPECT_TRUE(selector.listEnabled(SelectorList::size));
  selector.fontSizeEnabled(false);
  selector.formatEnabled(false);
  EXPECT_FALSE(selector.listEnabled(SelectorList::size));
  EXPECT_FALSE(selector.listEnabled(SelectorList::format));
}

TEST_F(FontSelectorTest, RemovedListClosesTheGap) {
  const int full = selector.width();
  const int sizeLeft = selector.listLeft(SelectorList::size);
  selector.setDisableCtlFontSelector(true);
  EXPECT_EQ(selector.width(), full - kSelectorListWidths[1]);
  EXPECT_EQ(selector.listLeft(SelectorList::size), sizeLeft - kSelectorListWidths[1]);
  EXPECT_EQ(selector.listLeft(SelectorList::size), kSelectorInsetPixels + kSelectorListWidths[0]);
  EXPECT_TRUE(selector.layoutDone());
}

TEST_F(FontSelectorTest, ObserverNamesTheListThatChanged) {
  std::vector<int> changed;
  selector.setObserver([&](const SelectorList* list) { changed.push_back(list ? static_cast<int>(*list) : -1); });
  selector.updateInterface();
  changed.clear();
  selector.setSelectedFormat("Address");
  selector.setSelectedFormat("Address");
  selector.fontEnabled(false);
  EXPECT_EQ(changed, (std::vector<int>{0, 1}));
}

}  // namespace
}  // namespace vellmar::toolbars
