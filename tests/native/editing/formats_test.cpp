#include "editing/formats.h"

#include <gtest/gtest.h>

#include "common/diagnostics.h"

namespace vellmar::editing {
namespace {

TEST(FontTable, KeysFamiliesAndTheSelectorsPrefixMatch) {
  EXPECT_EQ(fontFamily("arial"), "Arial, Helvetica, sans-serif");
  EXPECT_EQ(fontFamily("verdana"), "Verdana, Arial, Helvetica, sans-serif");
  // A key that is not in the table is passed as the family itself.
  EXPECT_EQ(fontFamily("Comic Sans MS"), "Comic Sans MS");
  EXPECT_TRUE(isDefaultFontKey("defaultfont"));
  EXPECT_TRUE(isDefaultFontKey("default"));
  EXPECT_FALSE(isDefaultFontKey("Default"));

  EXPECT_EQ(fontsBeginningWith("Times"), (std::vector<std::size_t>{2}));
  EXPECT_EQ(fontsBeginningWith("Georgia, Times"), (std::vector<std::size_t>{4}));
  // Every entry that begins with the name is applied, not only the first.
  EXPECT_EQ(fontsBeginningWith("").size(), kFontTable.size());
  EXPECT_TRUE(fontsBeginningWith("times").empty());  // the comparison keeps letter case
  EXPECT_TRUE(fontsBeginningWith("Arial, Helvetica, sans-serif, more").empty());
}

TEST(SizeTable, KeysAndLabelsGiveTheHtmlSize) {
  EXPECT_EQ(fontSizeNumber("fs_4"), 4);
  EXPECT_EQ(fontSizeNumber("fs_7"), 7);
  EXPECT_EQ(fontSizeNumber("5"), 5);
  EXPECT_EQ(fontSizeNumber("4.9"), 4);  // truncated
  EXPECT_EQ(fontSizeNumber("fs_x"), std::nullopt);
  EXPECT_EQ(fontSizeNumber(""), std::nullopt);
  EXPECT_TRUE(isDefaultSizeKey("fs_default"));
  EXPECT_TRUE(isDefaultSizeKey("Default"));
  EXPECT_FALSE(isDefaultSizeKey("fs_3"));
  for (std::size_t i = 1; i < kSizeTable.size(); ++i) {
    EXPECT_EQ(fontSizeNumber(kSizeTable[i].key), static_cast<int>(i));
    EXPECT_EQ(fontSizeNumber(kSizeTable[i].label), static_cast<int>(i));
  }
}

TEST(BlockFormatTable, NamesAndTagsFindTheirEntry) {
  ASSERT_EQ(kBlockFormatTable.size(), 9U);
  EXPECT_EQ(findBlockFormat("Heading 2")->tag, "H2");
  EXPECT_EQ(findBlockFormat("heading 2")->tag, "H2");
  EXPECT_EQ(findBlockFormat("pre")->name, "Formatted");
  EXPECT_EQ(findBlockFormat("<address>")->name, "Address");
  EXPECT_EQ(findBlockFormat("Normal")->tag, "P");
  EXPECT_EQ(findBlockFormat("Heading 9"), nullptr);
  EXPECT_EQ(findBlockFormat(""), nullptr);
  // Every block element the editor looks for has its format.
  for (auto tag : kBlockTags) EXPECT_NE(findBlockFormat(tag), nullptr) << tag;
}

TEST(ColourText, HashAndSixUpperCaseDigitsRedGreenBlue) {
  EXPECT_EQ(colourText(255, 128, 0), "#FF8000");
  EXPECT_EQ(colourText(0, 0, 10), "#00000A");
  // A colour value holds blue high, red low.
  EXPECT_EQ(colourTextFromValue(0x0080FFU), "#FF8000");
  EXPECT_EQ(colourTextFromValue(0x0A0000U), "#00000A");
  EXPECT_EQ(colourTextFromCss("rgb(255, 128, 0)"), "#FF8000");
  EXPECT_EQ(colourTextFromCss("rgba(0, 0, 10, 0.5)"), "#00000A");
  EXPECT_EQ(colourTextFromCss("#ff8000"), "#FF8000");
  EXPECT_EQ(colourTextFromCss("#f80"), "#FF8800");
  EXPECT_EQ(colourTextFromCss("red"), "red");
  EXPECT_EQ(colourTextFromCss("rgb(1,2,3)"), "#010203");
  EXPECT_EQ(colourTextFromCss("#xyz"), "#xyz");
  EXPECT_EQ(colourTextFromCss("rgb(1, 2)"), "rgb(1, 2)");
  EXPECT_EQ(colourTextFromCss("rgb(1, 2, x)"), "rgb(1, 2, x)");
}

TEST(NumberReading, KeepsOnlyTheDigits) {
  EXPECT_EQ(numberReading("12px"), 12);
  EXPECT_EQ(numberReading(""), 0);
  EXPECT_EQ(numberReading(" 1 0 0% "), 100);
  EXPECT_EQ(numberReading("-5"), 5);
  EXPECT_EQ(numberReading("32767"), 32767);
  EXPECT_THROW(numberReading("32768"), ProcedureError);
}

}  // namespace
}  // namespace vellmar::editing
