#include "editor/properties.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "common/diagnostics.h"

namespace vellmar::editor {
namespace {

// A bag that records the keys asked for, answering from a memory bag.
class RecordingBag : public PropertyBag {
 public:
  explicit RecordingBag(std::vector<std::pair<std::string, std::string>> values = {})
      : inner_(std::move(values)) {}
  std::optional<PropertyValue> readProperty(std::string_view key,
                                            const PropertyValue& def) override {
    keys.emplace_back(key);
    return inner_.readProperty(key, def);
  }
  void writeProperty(std::string_view key, const PropertyValue& value,
                     const PropertyValue& def) override {
    inner_.writeProperty(key, value, def);
  }
  std::vector<std::string> keys;

 private:
  MemoryPropertyBag inner_;
};

std::vector<std::string> numbered(const std::string& stem) {
  std::vector<std::string> v;
  for (int i = 1; i <= 10; ++i) v.push_back(stem + std::to_string(i));
  return v;
}

class PropertiesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    set.resetToDefaults();
    setDebugSink([this](std::string_view line) { log.emplace_back(line); });
  }
  void TearDown() override { setDebugSink(nullptr); }

  PropertySet set;
  std::vector<std::string> log;
};

TEST_F(PropertiesTest, TableIsConsistent) {
  auto table = propertyTable();
  ASSERT_EQ(table.size(), 119u);
  std::set<int> positions;
  std::set<std::string> lowerNames;
  for (const auto& def : table) {
    positions.insert(def.readPosition);
    std::string lower(def.name);
    for (auto& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    lowerNames.insert(lower);
  }
  EXPECT_EQ(positions.size(), 119u);
  EXPECT_EQ(*positions.begin(), 0);
  EXPECT_EQ(*positions.rbegin(), 118);
  EXPECT_EQ(lowerNames.size(), 119u) << "names must differ regardless of letter case";
  EXPECT_EQ(table.front().name, "domain");
  EXPECT_EQ(table.back().name, "UrlValue10");
}

TEST_F(PropertiesTest, RestoresInTheFixedOrder) {
  std::vector<std::string> expected = {"Domain", "SaveContentMethod", "contentID", "documentRoot",
                                       "Port", "Content", "HttpTimeout", "KeepAliveTimeout",
                                       "HelpContentsURL", "DebugMode"};
  const char* switches[] = {
      "DisableMenuBar", "DisableFileMenu", "DisableEditMenu", "DisableViewMenu",
      "DisableInsertMenu", "DisableStyleMenu", "DisableFormatMenu", "DisableHelpMenu",
      "DisableOpenLocal", "DisableSaveToServer", "DisableSaveLocal", "DisableRecentFiles",
      "hideUndo", "HideRedo", "HideCut", "HideCopy", "HidePaste", "DisablePasteUnformatted",
      "HideSelectAll", "HideFind", "DisableCopyHtml", "DisablePasteHTML", "DisableSpellCheck",
      "DisableVisualAids", "DisableImages", "DisableTables", "DisableHorizontalRule",
      "DisableSpecialCharacters", "DisableRemoveFormat", "DisableCssStyles", "DisableBlockformat",
      "hideBold", "hideItalic", "hideUnderline", "HideIndent", "HideOutdent", "DisableAlignLeft",
      "DisableAlignCenter", "DisableAlignRight", "DisableBulletList", "DisableNumberList",
      "DisableFont", "DisableFontSize", "DisableColor", "DisableContents", "DisableAbout",
      "DisableStandardToolbar", "DisableObjectsToolbar", "DisableFontToolbar",
      "DisableFormattingToolbar", "DisableHtmlView", "PathToSaveToServer", "PathToContent",
      "PathToStyleSheet", "PathToImageUpload", "PathToImageDelete", "PathToImageList",
      "PathToLinkList", "PathToEmailLinkList", "PathToKeepAlive", "DisableUploadImage",
      "DisableDeleteImage", "MaxUploadSize", "DisableEditImageWidthHeight", "DisableLinks",
      "DisableEmailLinks", "DisableCustomLinks", "DisableCustomEmailLinks",
      "ForceLinkNameAsLinkText"};
  expected.insert(expected.end(), std::begin(switches), std::end(switches));
  for (const char* stem : {"cookieName", "cookieValue", "UrlName", "UrlValue"}) {
    auto keys = numbered(stem);
    expected.insert(expected.end(), keys.begin(), keys.end());
  }
  RecordingBag bag;
  set.readProperties(bag);
  EXPECT_EQ(bag.keys, expected);
}

TEST_F(PropertiesTest, SavesInThePublicOrderWithWriteKeysAndDefaults) {
  set.let("HttpTimeout", std::string("abc"));
  MemoryPropertyBag bag;
  set.writeProperties(bag);
  const auto& w = bag.written();
  ASSERT_EQ(w.size(), 119u);
  EXPECT_EQ(w[0].key, "Domain");
  EXPECT_EQ(w[3].key, "DocumentRoot");
  EXPECT_EQ(w[6].key, "HttpTimeout");
  EXPECT_EQ(w[6].value, PropertyValue(30));  // saved as the integer 30
  EXPECT_EQ(w[6].defaultValue, PropertyValue(std::string("30")));
  EXPECT_EQ(w[7].value, PropertyValue(300));
  EXPECT_EQ(w[7].defaultValue, PropertyValue(std::string("300")));
  EXPECT_EQ(w[9].key, "DebugMode");
  EXPECT_EQ(w[9].defaultValue, PropertyValue(0));
  EXPECT_EQ(w[24].key, "hideCut");
  EXPECT_EQ(w[38].key, "MaxUploadSize");
  EXPECT_EQ(w[39].key, "DisableEditImageWidthHeight");
  EXPECT_EQ(w[43].key, "HideBold");
  EXPECT_EQ(w[31].key, "DisablePasteHtml");
  EXPECT_EQ(w[79].key, "cookieName1");
  EXPECT_EQ(w[80].key, "cookieValue1");
  EXPECT_EQ(w[99].key, "urlName1");
  EXPECT_EQ(w[118].key, "urlValue10");
}

TEST_F(PropertiesTest, KeysMatchRegardlessOfCase) {
  MemoryPropertyBag page({{"HIDEBOLD", "1"}, {"domain", "example.org"}, {"PORT", "8080"}});
  set.readProperties(page);
  EXPECT_EQ(set.switchValue("HideBold"), 1);
  EXPECT_EQ(set.domain(), "example.org");
  EXPECT_EQ(set.port(), "8080");

  // Written as "HideBold", read back under "hideBold"; written "urlName3" read as "UrlName3".
  set.let("UrlName3", std::string("lang"));
  set.let("documentRoot", std::string("/site"));
  MemoryPropertyBag saved;
  set.writeProperties(saved);
  PropertySet restored;
  auto again = saved.writtenAsSource();
  restored.readProperties(again);
  EXPECT_EQ(restored.switchValue("HideBold"), 1);
  EXPECT_EQ(restored.urlName(3), "lang");
  EXPECT_EQ(restored.documentRoot(), "/site");
  EXPECT_EQ(restored.domain(), "example.org");
}

TEST_F(PropertiesTest, ValuesThatDoNotConvertAreSkippedAndTheRestStillRead) {
  set.let("DebugMode", 0);
  set.let("HideBold", 1);
  MemoryPropertyBag page({{"DebugMode", "yes please"},
                          {"HideBold", ""},
                          {"HttpTimeout", "abc"},
                          {"KeepAliveTimeout", "70000"},
                          {"DisableHtmlView", "-1"},
                          {"UrlValue10", "last"}});
  set.readProperties(page);
  EXPECT_EQ(set.debugMode(), 0);
  EXPECT_EQ(set.switchValue("HideBold"), 1);
  EXPECT_EQ(set.httpTimeout(), 30);
  EXPECT_EQ(set.keepAliveTimeout(), 300);  // out of the 16-bit range: skipped
  EXPECT_EQ(set.switchValue("DisableHtmlView"), -1);
  EXPECT_EQ(set.urlValue(10), "last");
}

TEST_F(PropertiesTest, RestoringResetsWhatTheBagDoesNotHold) {
  // The control that restores last determines the shared values.
  set.let("domain", std::string("first.example"));
  MemoryPropertyBag second({{"Port", "81"}, {"HttpTimeout", "20"}});
  set.readProperties(second);
  EXPECT_EQ(set.domain(), "");
  EXPECT_EQ(set.port(), "81");
}

TEST_F(PropertiesTest, TimeOutQuirks) {
  EXPECT_EQ(set.keepAliveTimeout(), 300);
  EXPECT_EQ(set.httpTimeout(), 30);
  EXPECT_TRUE(set.let("KeepAliveTimeout", std::string("x")));
  EXPECT_EQ(set.keepAliveTimeout(), 30);
  EXPECT_TRUE(set.let("HttpTimeout", std::string("abc")));
  EXPECT_EQ(set.get("HttpTimeout"), PropertyValue(30));
  EXPECT_TRUE(set.let("HttpTimeout", std::string(" 45 ")));
  EXPECT_EQ(set.httpTimeout(), 45);
  EXPECT_TRUE(set.let("HttpTimeout", std::string("12.5")));  // half to even
  EXPECT_EQ(set.httpTimeout(), 12);
  EXPECT_TRUE(set.let("HttpTimeout", std::string("13.5")));
  EXPECT_EQ(set.httpTimeout(), 14);
  EXPECT_TRUE(set.let("HttpTimeout", 90));
  EXPECT_EQ(set.httpTimeout(), 90);
  EXPECT_FALSE(set.let("HttpTimeout", 40000));  // not a 16-bit integer
  EXPECT_EQ(set.httpTimeout(), 90);
}

TEST_F(PropertiesTest, SwitchesAreOnOnlyAtExactlyOne) {
  set.let("HideBold", -1);
  EXPECT_FALSE(set.isOn("HideBold"));
  EXPECT_TRUE(set.isNonZero("HideBold"));
  set.let("HideBold", std::string("1"));
  EXPECT_TRUE(set.isOn("HideBold"));
  EXPECT_FALSE(set.let("HideBold", std::string("on")));
  EXPECT_TRUE(set.isOn("HideBold"));
  EXPECT_TRUE(set.let("SaveContentMethod", 2));
  EXPECT_EQ(set.saveContentMethod(), 2);
  EXPECT_EQ(set.switchValue("domain"), 0);
  EXPECT_EQ(set.switchValue("NoSuchSwitch"), 0);
}

TEST_F(PropertiesTest, LetReportsTheExactNames) {
  std::vector<std::string> reported;
  PropertyHooks hooks;
  hooks.changed = [&](std::string_view name) { reported.emplace_back(name); };
  for (const char* name : {"domain", "port", "content", "pathToContent", "hideCut", "HideUndo",
                           "ContentID", "documentRoot", "PathToKeepAlive", "CookieName1",
                           "CookieName2", "CookieValue1", "CookieName10", "UrlName1", "UrlValue10",
                           "DisablePasteHTML"}) {
    ASSERT_TRUE(set.let(name, std::string("1"), hooks)) << name;
  }
  EXPECT_EQ(reported, (std::vector<std::string>{
                          "Domain", "Port", "Content", "PathToContent", "HideCut", "HideUndo",
                          "ContentID", "documentRoot", "PathToKeepAlive", "CookieName1",
                          "cookieName2", "cookieValue1", "cookieName10", "urlName1", "urlValue10",
                          "DisablePasteHTML"}));
  reported.clear();
  EXPECT_FALSE(set.let("HideBold", std::string("bold"), hooks));
  EXPECT_TRUE(reported.empty()) << "a value that does not convert is not reported";
}

TEST_F(PropertiesTest, ReapplyingSwitchesRunInterfaceEnabling) {
  int enabled = 0;
  PropertyHooks hooks;
  hooks.enableInterface = [&] { ++enabled; };
  set.let("DisableHtmlView", 1, hooks);
  set.let("HideBold", 1, hooks);
  EXPECT_EQ(enabled, 2);
  for (const char* name : {"DisableEditImageWidthHeight", "DisableUploadImage",
                           "DisableDeleteImage", "DisableEmailLinks", "DisableCustomLinks",
                           "DisableCustomEmailLinks", "ForceLinkNameAsLinkText", "DebugMode",
                           "domain"}) {
    set.let(name, 1, hooks);
  }
  EXPECT_EQ(enabled, 2);
}

TEST_F(PropertiesTest, ContentGoesThroughTheEditor) {
  std::string loaded;
  PropertyHooks hooks;
  hooks.loadContent = [&](const std::string& doc) { loaded = doc; };
  hooks.currentContent = [] { return std::string("<p>edited</p>"); };
  set.let("DebugMode", 1);
  set.let("content", std::string("<p>new</p>"), hooks);
  EXPECT_EQ(loaded, "<p>new</p>");
  EXPECT_EQ(log, std::vector<std::string>{"<p>new</p>"});
  EXPECT_EQ(set.getText("content", hooks), "<p>edited</p>");
  EXPECT_EQ(set.storedContent(), "<p>edited</p>");

  MemoryPropertyBag saved;
  set.writeProperties(saved, hooks);
  EXPECT_EQ(saved.written()[5].key, "Content");
  EXPECT_EQ(saved.written()[5].value, PropertyValue(std::string("<p>edited</p>")));

  // A document that cannot be cleaned up leaves the last one, never an empty text.
  hooks.currentContent = [] { return std::optional<std::string>(); };
  EXPECT_EQ(set.getText("content", hooks), "<p>edited</p>");
}

TEST_F(PropertiesTest, TypedGettersAndDefaults) {
  set.let("CookieName10", std::string("sid"));
  set.let("CookieValue10", std::string("42"));
  set.let("UrlValue1", std::string("v"));
  set.let("PathToImageList", std::string("/images.xml"));
  EXPECT_EQ(set.cookieName(10), "sid");
  EXPECT_EQ(set.cookieValue(10), "42");
  EXPECT_EQ(set.urlValue(1), "v");
  EXPECT_EQ(set.cookieName(11), "");
  EXPECT_EQ(set.pathToImageList(), "/images.xml");
  EXPECT_EQ(set.get("pathtoimagelist"), PropertyValue(std::string("/images.xml")));
  EXPECT_FALSE(set.get("NoSuchProperty").has_value());
  set.resetToDefaults();
  EXPECT_EQ(set.pathToImageList(), "");
  EXPECT_EQ(set.keepAliveTimeout(), 300);
}

TEST_F(PropertiesTest, OneSetPerThread) {
  EXPECT_EQ(&PropertySet::shared(), &PropertySet::shared());
}

TEST(NumericConversion, FollowsThePlatformNumericTest) {
  EXPECT_TRUE(isNumeric("  -3 "));
  EXPECT_TRUE(isNumeric(".5"));
  EXPECT_FALSE(isNumeric(""));
  EXPECT_FALSE(isNumeric("."));
  EXPECT_FALSE(isNumeric("1 2"));
  EXPECT_EQ(toInt32("2.5"), 2);
  EXPECT_EQ(toInt32("-2.5"), -2);
  EXPECT_EQ(toInt32("2.51"), 3);
  EXPECT_EQ(toInt32("99999999999"), std::nullopt);
  EXPECT_EQ(toInt16("32767"), 32767);
  EXPECT_EQ(toInt16("32768"), std::nullopt);
}

}  // namespace
}  // namespace vellmar::editor
