#include "menubar/editor_menu.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellmar::menubar {
namespace {

using editor::PropertySet;

class EditorMenuTest : public ::testing::Test {
 protected:
  void SetUp() override {
    buildEditorMenu(bar);
    props.let("domain", std::string("www.example.com"));
    props.let("PathToSaveToServer", std::string("/cms/save"));
    props.let("PathToImageList", std::string("/cms/images"));
    props.let("PathToStyleSheet", std::string("/cms/site.css"));
    props.let("HelpContentsURL", std::string("http://www.example.com/help"));
  }

  void on(std::string_view name, std::int32_t value = 1) { props.let(name, value); }
  bool apply() { return applyMenuSwitches(bar, props, store); }
  bool shown(std::string_view button, std::string_view key) const {
    const MenuId b = bar.getMBbuttonIDbyName(button);
    const MenuId i = bar.getMBitemIDbyName(b, key);
    EXPECT_GE(i, 0) << key;
    return i >= 0 && bar.buttonRecord(b)->items[static_cast<std::size_t>(i)].visible;
  }
  bool buttonShown(std::string_view button) const {
    return bar.menuButtonVisible(bar.getMBbuttonIDbyName(button));
  }
  const MenuItemRecord& item(std::string_view button, std::string_view key) const {
    const MenuId b = bar.getMBbuttonIDbyName(button);
    return bar.buttonRecord(b)->items[static_cast<std::size_t>(bar.getMBitemIDbyName(b, key))];
  }
  std::vector<std::string> recentSettings(std::string_view domain) {
    std::vector<std::string> entries;
    for (int n = 1; n <= kRecentFileCount; ++n) entries.push_back(readRecentFile(store, domain, n));
    return entries;
  }

  mcMenuBar bar;
  PropertySet props;
  MemorySettingsStore store;
};

TEST_F(EditorMenuTest, BuildsEveryButtonAndItemInOrder) {
  ASSERT_EQ(bar.menuButtonCount(), 7);
  const char* names[] = {"file", "edit", "view", "insert", "style", "format", "help"};
  const char* captions[] = {"File", "Edit", "View", "Insert", "Style", "Format", "Help"};
  const int counts[] = {9, 15, 4, 11, 17, 42, 2};
  for (MenuId b = 0; b < 7; ++b) {
    const auto* record = bar.buttonRecord(b);
    EXPECT_EQ(record->name, names[b]);
    EXPECT_EQ(record->caption, captions[b]);
    EXPECT_EQ(record->itemCount, counts[b]) << names[b];
  }
  EXPECT_EQ(editorMenuTable().size(), 9U + 15 + 4 + 11 + 17 + 42 + 2);

  EXPECT_EQ(item("edit", "undo").shortcut, "Ctrl+Z");
  EXPECT_EQ(item("insert", "nonBreakingSpace").shortcut, "Ctrl+Shift+Space");
  EXPECT_TRUE(item("view", "wysiwyg").checked);
  EXPECT_TRUE(item("format", "defaultfont").checked);
  EXPECT_TRUE(item("file", "recentFilesSeparator").separator);
  EXPECT_TRUE(item("format", "sep22").separator);
  EXPECT_EQ(item("format", "sep22").caption, "");
  EXPECT_FALSE(item("file", "recentFiles3").visible);
  EXPECT_EQ(item("style", "Heading 3").key, "Heading 3");
  EXPECT_EQ(item("format", "verdana").caption, "Verdana, Arial, Helvetica, sans-serif");

  // Submenu items name the item that opens them, within their own button.
  EXPECT_EQ(item("insert", "otherCharacters").parent, item("insert", "specialCharacters").id);
  EXPECT_EQ(item("format", "sep20").parent, item("format", "table").id);
  EXPECT_EQ(item("format", "fs_7").parent, item("format", "size").id);
  EXPECT_EQ(item("format", "table").parent, -1);
  EXPECT_NE(item("format", "table").id, item("insert", "table").id);
}

TEST_F(EditorMenuTest, WithEveryFeatureOnEveryMenuStays) {
  EXPECT_TRUE(apply());
  for (auto b : {"file", "edit", "view", "insert", "style", "format", "help"}) {
    EXPECT_TRUE(buttonShown(b)) << b;
  }
  EXPECT_TRUE(shown("file", "saveToServer"));
  EXPECT_TRUE(shown("help", "contents"));
  EXPECT_FALSE(shown("format", "sep20"));  // leads its submenu
  EXPECT_FALSE(shown("file", "recentFilesSeparator"));  // nothing below it yet
  EXPECT_TRUE(shown("edit", "sep7"));
}

TEST_F(EditorMenuTest, MenuSwitchesHideButtonsAndAllHiddenAnswersFalse) {
  on("DisableEditMenu");
  on("DisableHelpMenu", -1);  // only exactly 1 counts
  EXPECT_TRUE(apply());
  EXPECT_FALSE(buttonShown("edit"));
  EXPECT_TRUE(buttonShown("help"));

  for (auto s : {"DisableFileMenu", "DisableViewMenu", "DisableInsertMenu", "DisableStyleMenu",
                 "DisableFormatMenu", "DisableHelpMenu"}) {
    on(s);
  }
  EXPECT_FALSE(apply());
  for (MenuId b = 0; b < 7; ++b) EXPECT_FALSE(bar.menuButtonVisible(b));
}

TEST_F(EditorMenuTest, TablesSwitchHidesBothTableItems) {
  on("DisableTables");
  apply();
  EXPECT_FALSE(shown("insert", "table"));
  EXPECT_FALSE(shown("format", "table"));
  EXPECT_TRUE(shown("format", "mergeCells"));  // the submenu's own items are not touched
  EXPECT_TRUE(buttonShown("insert"));
}

TEST_F(EditorMenuTest, LinksNeedBothSwitchesToDisappear) {
  on("DisableLinks");
  apply();
  EXPECT_TRUE(shown("insert", "link"));
  EXPECT_TRUE(shown("format", "changeLink"));
  EXPECT_TRUE(shown("format", "removeLink"));

  on("DisableEmailLinks");
  apply();
  EXPECT_FALSE(shown("insert", "link"));
  EXPECT_FALSE(shown("format", "changeLink"));
  EXPECT_FALSE(shown("format", "removeLink"));
  EXPECT_FALSE(shown("format", "sep19"));  // now leading
}

TEST_F(EditorMenuTest, AlignmentAndListParentsFollowTheirChildren) {
  on("DisableAlignLeft");
  on("DisableAlignCenter");
  apply();
  EXPECT_TRUE(shown("format", "alignment"));
  EXPECT_TRUE(shown("format", "right"));

  on("DisableAlignRight");
  on("DisableNumberList");
  apply();
  EXPECT_FALSE(shown("format", "alignment"));
  EXPECT_TRUE(shown("format", "list"));

  on("DisableBulletList");
  apply();
  EXPECT_FALSE(shown("format", "list"));
}

TEST_F(EditorMenuTest, FormatParentsDoNotKeepTheMenuOfTheirOwn) {
  for (auto s : {"DisableLinks", "DisableEmailLinks", "HideIndent", "HideOutdent", "DisableAlignLeft",
                 "DisableAlignCenter", "DisableAlignRight", "DisableBulletList", "DisableFont",
                 "DisableFontSize", "DisableColor"}) {
    on(s);
  }
  EXPECT_TRUE(applyFormatMenuSwitches(bar, props));  // the number list still counts
  on("DisableNumberList");
  EXPECT_FALSE(applyFormatMenuSwitches(bar, props));
  EXPECT_TRUE(apply());
  EXPECT_FALSE(buttonShown("format"));
}

TEST_F(EditorMenuTest, HelpContentsNeedsAnAddressAndTakesAnyNonZeroSwitch) {
  props.let("HelpContentsURL", std::string(""));
  apply();
  EXPECT_FALSE(shown("help", "contents"));
  EXPECT_TRUE(shown("help", "aboutVellmar"));

  props.let("HelpContentsURL", std::string("http://help"));
  on("DisableContents", -1);
  apply();
  EXPECT_FALSE(shown("help", "contents"));

  on("DisableContents", 0);
  apply();
  EXPECT_TRUE(shown("help", "contents"));

  on("DisableAbout");
  props.let("HelpContentsURL", std::string(""));
  EXPECT_FALSE(applyHelpMenuSwitches(bar, props));
  apply();
  EXPECT_FALSE(buttonShown("help"));
}

TEST_F(EditorMenuTest, BlankSavePathHidesSaveToServer) {
  props.let("PathToSaveToServer", std::string("   "));
  apply();
  EXPECT_FALSE(shown("file", "saveToServer"));
  EXPECT_TRUE(shown("file", "openLocal"));

  props.let("PathToImageList", std::string(""));
  apply();
  EXPECT_FALSE(shown("insert", "image"));
}

TEST_F(EditorMenuTest, StyleSheetGroupCountsAsHiddenOnlyWithTheSwitch) {
  props.let("PathToStyleSheet", std::string(""));
  for (auto s : {"DisableRemoveFormat", "DisableBlockformat", "HideBold", "HideItalic",
                 "HideUnderline"}) {
    on(s);
  }
  EXPECT_TRUE(applyStyleMenuSwitches(bar, props));
  EXPECT_FALSE(shown("style", "cssClasses"));
  EXPECT_TRUE(shown("style", "clearStyle"));

  on("DisableCssStyles");
  EXPECT_FALSE(applyStyleMenuSwitches(bar, props));
  EXPECT_FALSE(shown("style", "clearStyle"));
  EXPECT_FALSE(shown("style", "sep12"));
}

TEST_F(EditorMenuTest, ReapplyingAfterSwitchesChangeBringsSeparatorsBack) {
  on("DisableCopyHtml");
  on("DisablePasteHTML");
  apply();
  EXPECT_FALSE(shown("edit", "sep5"));  // doubled with sep4
  on("DisableCopyHtml", 0);
  on("DisablePasteHTML", 0);
  apply();
  EXPECT_TRUE(shown("edit", "sep4"));
  EXPECT_TRUE(shown("edit", "sep5"));
  EXPECT_FALSE(shown("format", "sep20"));
}

TEST_F(EditorMenuTest, RecentFilesMoveToFrontAndKeepFour) {
  apply();
  EXPECT_TRUE(fillRecentFiles(bar, props, store, "/a.htm"));
  fillRecentFiles(bar, props, store, "/b.htm");
  fillRecentFiles(bar, props, store, "/c.htm");
  fillRecentFiles(bar, props, store, "/d.htm");
  EXPECT_EQ(recentSettings("www.example.com"),
            (std::vector<std::string>{"/d.htm", "/c.htm", "/b.htm", "/a.htm"}));

  fillRecentFiles(bar, props, store, "/b.htm");  // from the third place
  EXPECT_EQ(recentSettings("www.example.com"),
            (std::vector<std::string>{"/b.htm", "/d.htm", "/c.htm", "/a.htm"}));
  fillRecentFiles(bar, props, store, "/b.htm");  // already first
  fillRecentFiles(bar, props, store, "/a.htm");  // from the last place
  EXPECT_EQ(recentSettings("www.example.com"),
            (std::vector<std::string>{"/a.htm", "/b.htm", "/d.htm", "/c.htm"}));
  fillRecentFiles(bar, props, store, "/e.htm");  // the oldest drops out
  EXPECT_EQ(recentSettings("www.example.com"),
            (std::vector<std::string>{"/e.htm", "/a.htm", "/b.htm", "/d.htm"}));

  for (int n = 1; n <= 4; ++n) {
    const auto& entry = item("file", recentFilesKey(n));
    EXPECT_TRUE(entry.visible);
    EXPECT_EQ(entry.key, recentFilesKey(n));
    EXPECT_EQ(entry.caption, recentSettings("www.example.com")[static_cast<std::size_t>(n - 1)]);
  }
  EXPECT_TRUE(shown("file", "recentFilesSeparator"));
}

TEST_F(EditorMenuTest, RecentFilesAreKeptPerDomain) {
  apply();
  fillRecentFiles(bar, props, store, "/one.htm");
  EXPECT_TRUE(shown("file", "recentFiles1"));
  EXPECT_FALSE(shown("file", "recentFiles2"));

  mcMenuBar other;
  buildEditorMenu(other);
  PropertySet otherProps;
  otherProps.let("domain", std::string("intranet.local"));
  applyMenuSwitches(other, otherProps, store);
  const MenuId file = other.getMBbuttonIDbyName("file");
  EXPECT_FALSE(other.buttonRecord(file)->items[5].visible);  // recentFiles1
  EXPECT_FALSE(fillRecentFiles(other, otherProps, store, ""));
  EXPECT_EQ(recentSettings("intranet.local"), (std::vector<std::string>{"", "", "", ""}));
  EXPECT_EQ(recentSettings("www.example.com")[0], "/one.htm");
}

TEST_F(EditorMenuTest, DisabledRecentFilesWriteNothingAndShowNothing) {
  store.SaveSetting(kSettingsApplication, "www.example.com", "recentFiles1", "/kept.htm");
  on("DisableRecentFiles");
  EXPECT_TRUE(apply());
  EXPECT_FALSE(fillRecentFiles(bar, props, store, "/new.htm"));
  EXPECT_EQ(recentSettings("www.example.com")[0], "/kept.htm");
  for (int n = 1; n <= 4; ++n) EXPECT_FALSE(shown("file", recentFilesKey(n)));
}

TEST_F(EditorMenuTest, RecentFilesAloneKeepTheFileMenuWithoutASeparator) {
  store.SaveSetting(kSettingsApplication, "www.example.com", "recentFiles1", "/x.htm");
  on("DisableOpenLocal");
  on("DisableSaveLocal");
  props.let("PathToSaveToServer", std::string(""));
  EXPECT_TRUE(applyFileMenuSwitches(bar, props, store));
  EXPECT_TRUE(shown("file", "recentFiles1"));
  EXPECT_FALSE(shown("file", "recentFilesSeparator"));

  on("DisableSaveToServer");
  store.SaveSetting(kSettingsApplication, "www.example.com", "recentFiles1", "");
  mcMenuBar fresh;
  buildEditorMenu(fresh);
  EXPECT_FALSE(applyFileMenuSwitches(fresh, props, store));
}

}  // namespace
}  // namespace vellmar::menubar
