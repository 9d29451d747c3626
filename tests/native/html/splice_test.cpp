#include "html/splice.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "html/reference.h"

namespace vellmar::html {
namespace {

TEST(StripEmbeddedStyles, ClassAndStyleAttributesGoContentStays) {
  EXPECT_EQ(stripEmbeddedStyles("<p class=\"intro\" style=\"color: red\">Some <b>text</b></p>"),
            "<p>Some <b>text</b></p>");
  EXPECT_EQ(stripEmbeddedStyles("<P CLASS=\"A\" STYLE=\"B\" ID=\"c\">x</P>"), "<P ID=\"c\">x</P>");
}

TEST(StripEmbeddedStyles, OnlyDoubleQuotedAttributesAfterABlank) {
  const std::string untouched = "<p class='a' style=b>\n<td\nclass=\"c\">x</td><p\tstyle=\"d\">";
  EXPECT_EQ(stripEmbeddedStyles(untouched), untouched);
}

TEST(StripEmbeddedStyles, UnclosedValueEndsItsPassOnly) {
  // The class pass stops at the unclosed value; the style pass still runs over the whole text.
  EXPECT_EQ(stripEmbeddedStyles("<p style=\"a\" class=\"x\">y</p><p class=\"open>z</p>"),
            "<p>y</p><p class=\"open>z</p>");
}

TEST(StripEmbeddedStyles, LinkPassRemovesLeadingStylesheetLinksOnly) {
  EXPECT_EQ(stripEmbeddedStyles("<link rel=\"stylesheet\" href=\"a.css\"><link rel=\"icon\" href=\"i.png\"><p>x</p>"),
            "<p>x</p>");
  // A link with only an href stays and ends the pass, so a later style sheet link stays too.
  const std::string doc = "<LINK HREF=\"next.html\"><link rel=stylesheet href=b.css><p>x</p>";
  EXPECT_EQ(stripEmbeddedStyles(doc), doc);
  EXPECT_EQ(stripEmbeddedStyles("<link rel=stylesheet href=a.css"), "<link rel=stylesheet href=a.css");
  EXPECT_EQ(stripEmbeddedStyles("<LINK TYPE=text/css HREF=A.CSS REL=StyleSheet>x"), "x");
}

TEST(StripEmbeddedStyles, StyleBlocks) {
  EXPECT_EQ(stripEmbeddedStyles("<style type=\"text/css\">p { color: red }</style><p>x</p>"), "<p>x</p>");
  EXPECT_EQ(stripEmbeddedStyles("<STYLE>a</STYLE>b<style>c</Style >d"), "bd");
  EXPECT_EQ(stripEmbeddedStyles("<style>p { color: red }<p>x</p>"), "<style>p { color: red }<p>x</p>");
  EXPECT_EQ(stripEmbeddedStyles("<style>p</style"), "<style>p</style");
}

TEST(StripEmbeddedStyles, TextJoinedByARemovalIsSearchedAgain) {
  EXPECT_EQ(stripEmbeddedStyles("x cla class=\"a\"ss=\"b\"y"), "xy");
  // The joined marker begins as far back as it can: all but its last character were kept.
  EXPECT_EQ(stripEmbeddedStyles("<p class= class=\"x\"\"y\">"), "<p>");
  EXPECT_EQ(stripEmbeddedStyles("<p style= style=\"x\"\"y\">"), "<p>");
  EXPECT_EQ(stripEmbeddedStyles("<sty<style>a</style>le>b</style>c"), "c");
  // The joined "<link " is not a style sheet link, so it stays and ends the pass.
  EXPECT_EQ(stripEmbeddedStyles("<li<link rel=stylesheet>nk href=x><link rel=stylesheet>"),
            "<link href=x><link rel=stylesheet>");
}

TEST(StripEmbeddedStyles, MultiByteTextSurvives) {
  EXPECT_EQ(stripEmbeddedStyles("<p class=\"caf\xC3\xA9\">\xE2\x82\xAC \xFF</p>"), "<p>\xE2\x82\xAC \xFF</p>");
}

TEST(HasStylesheetLink, LooksAtTheFirstLinkTagOnly) {
  EXPECT_TRUE(hasStylesheetLink("<head><LINK REL=icon href=x></head>"));
  EXPECT_TRUE(hasStylesheetLink("<link href=\"a.css\" type=\"text/StyleSheet\">"));
  EXPECT_FALSE(hasStylesheetLink("<link href=a.css><link rel=stylesheet>"));
  EXPECT_FALSE(hasStylesheetLink("<linkrel=stylesheet>"));  // needs the blank after "link"
  EXPECT_FALSE(hasStylesheetLink("<link rel=stylesheet"));
  EXPECT_FALSE(hasStylesheetLink(""));
}

TEST(HasStyleBlock, NeedsBothTagsClosed) {
  EXPECT_TRUE(hasStyleBlock("<STYLE>x</STYLE>"));
  EXPECT_FALSE(hasStyleBlock("<style>x"));
  EXPECT_FALSE(hasStyleBlock("<style>x</style"));
  EXPECT_FALSE(hasStyleBlock("<style x</style>"));   // the ">" after "<style" is the one of "</style>"
  EXPECT_FALSE(hasStyleBlock("</style><style>"));
}

TEST(ExtractBodyContent, InnerHtmlOfTheBody) {
  EXPECT_EQ(extractBodyContent("<html><head><title>t</title></head><BODY bgcolor=\"#FFFFFF\" onload=\"x()\">"
                               "<p>x</p></body></html>"),
            "<p>x</p>");
  EXPECT_EQ(extractBodyContent("<body></body>"), "");
  EXPECT_EQ(extractBodyContent("<body>\xC3\xA9</BODY >"), "\xC3\xA9");
}

TEST(ExtractBodyContent, IncompleteBodyLeavesTheDocumentWhole) {
  for (const std::string doc : {"<p>no body</p>", "<html><body><p>x</p></html>", "<body <p>", "<body>x</body",
                                "</body><body>"}) {
    EXPECT_EQ(extractBodyContent(doc), doc);
  }
}

TEST(ExtractBodyContent, TakingTheDocumentGivesTheSameText) {
  for (const std::string doc : {"<p>no body</p>", "<body <p>", "<body></body>", "<body>x</body",
                                "<html><BODY a=b>\xC3\xA9<p>x</p></body ></html>", ""}) {
    EXPECT_EQ(takeBodyContent(doc), extractBodyContent(doc)) << doc;
  }
}

TEST(RemoveRange, KeepsTheHeadAndTheTailFromAPosition) {
  EXPECT_EQ(removeRange("abcdef", 2, 5), "abef");  // removes positions 3 and 4
  EXPECT_EQ(removeRange("abcdef", 0, 7), "");
  EXPECT_EQ(removeRange("abcdef", 6, 7), "abcdef");
  EXPECT_EQ(removeRange("abcdef", -3, 100), "");   // clamped
  EXPECT_EQ(removeRange("abcdef", 100, -3), "abcdefabcdef");
  EXPECT_EQ(removeRange("abcdef", 4, 3), "abcdcdef");  // overlapping ranges repeat text
}

// Documents dense in the markers and in pieces that removals can join into new markers.
std::string randomDocument(std::mt19937& rng) {
  static const std::vector<std::string> pieces = {
      "<link ", "<LINK ", "rel=stylesheet", " REL=icon", "href=a.css", ">", "<style", "<STYLE", "</style", "</Style",
      " class=\"", " CLASS=\"", " style=\"", "\"", "x", " ", "<li", "nk ", " cla", "ss=\"", "<sty", "le", "</sty",
      "<body", "</BODY", "\xC3\xA9", "'", "=", " class=", " style=", "<styl", "<link"};
  std::string doc;
  const auto count = rng() % 40;
  for (unsigned i = 0; i < count; ++i) doc += pieces[rng() % pieces.size()];
  return doc;
}

TEST(StripEmbeddedStyles, AgreesWithRepeatingEachPassUntilNothingMatches) {
  std::mt19937 rng(5);
  for (int i = 0; i < 20000; ++i) {
    const std::string doc = randomDocument(rng);
    ASSERT_EQ(stripEmbeddedStyles(doc), reference::stripEmbeddedStyles(doc)) << doc;
    ASSERT_EQ(hasStylesheetLink(doc), reference::hasStylesheetLink(doc)) << doc;
    ASSERT_EQ(hasStyleBlock(doc), reference::hasStyleBlock(doc)) << doc;
  }
}

}  // namespace
}  // namespace vellmar::html
