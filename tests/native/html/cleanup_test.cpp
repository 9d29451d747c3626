#include "html/cleanup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "common/diagnostics.h"
#include "html/reference.h"
#include "html/scarce_memory.h"

namespace vellmar::html {
namespace {

const std::string CRLF = "\r\n";

TEST(CleanHTML, BlockTagsStartLinesAlsoAtTheVeryStart) {
  EXPECT_EQ(cleanHTML("<P>Hello</P>"), CRLF + "<p>Hello</p>" + CRLF);
  EXPECT_EQ(cleanHTML("<P>a<B>b</B></P><P>c</P>"), CRLF + "<p>a<b>b</b></p>" + CRLF + "<p>c</p>" + CRLF);
}

TEST(CleanHTML, TablesAndListsIndentTwoBlanksPerLevel) {
  EXPECT_EQ(cleanHTML("<TABLE><TR><TD>x</TD></TR></TABLE>"),
            CRLF + "<table>" + CRLF + "  <tr>" + CRLF + "    <td>x</td>" + CRLF + "  </tr>" + CRLF + "</table>" + CRLF);
  EXPECT_EQ(cleanHTML("<UL><LI>one</LI><LI>two</LI></UL>"),
            CRLF + "<ul>" + CRLF + "  <li>one</li>" + CRLF + "  <li>two</li>" + CRLF + "</ul>" + CRLF);
}

TEST(CleanHTML, NestedTablesAndLists) {
  EXPECT_EQ(cleanHTML("<TABLE><TR><TD><TABLE><TR><TD>x</TD></TR></TABLE></TD></TR></TABLE>"),
            CRLF + "<table>" + CRLF +     //
                "  <tr>" + CRLF +         //
                "    <td>" + CRLF +       //
                "      <table>" + CRLF +  //
                "        <tr>" + CRLF +   //
                "          <td>x</td>" + CRLF + "        </tr>" + CRLF + "      </table>" + CRLF + "    </td>" + CRLF +
                "  </tr>" + CRLF + "</table>" + CRLF);
  // A closing LI ends its line where it stands, without indentation.
  EXPECT_EQ(cleanHTML("<UL><LI>a<OL><LI>b</LI></OL></LI></UL>"),
            CRLF + "<ul>" + CRLF + "  <li>a" + CRLF + "  <ol>" + CRLF + "    <li>b</li>" + CRLF + "  </ol>" + CRLF +
                "</li>" + CRLF + "</ul>" + CRLF);
}

TEST(CleanHTML, WholePageStructureTagsStandOnTheirOwnLines) {
  EXPECT_EQ(cleanHTML("<HTML>\r\n<HEAD>\r\n\t<TITLE>T</TITLE>\r\n</HEAD>\r\n<BODY><P>x<BR>y</P></BODY></HTML>"),
            CRLF + "<html>" + CRLF + "<head>" + CRLF + "<title>T</title>" + CRLF + "</head>" + CRLF + "<body>" + CRLF +
                "<p>x<br>" + CRLF + "  y</p>" + CRLF + "</body>" + CRLF + "</html>" + CRLF);
}

TEST(CleanHTML, UnbalancedClosingTagsLowerTheLevelBelowZero) {
  EXPECT_EQ(cleanHTML("</UL><UL><LI>x</LI></UL></UL><P>y</P>"),
            CRLF + "</ul>" + CRLF + "<ul>" + CRLF + "<li>x</li>" + CRLF + "</ul>" + CRLF + "</ul>" + CRLF + "<p>y</p>" +
                CRLF);
  // A negative level indents nothing, and nesting below it is indented only once above zero.
  EXPECT_EQ(cleanHTML("</DIV><DIV><DIV><P>z</P></DIV></DIV>"),
            "</div>" + CRLF + "<div>" + CRLF + "<div>" + CRLF + "  <p>z</p>" + CRLF + "</div>" + CRLF + "</div>" + CRLF);
}

TEST(CleanHTML, IndentationStopsGrowingBeyondTheDeepestLevel) {
  // 105 nested DIVs: each level indents two blanks more up to level 100, and no further; the
  // levels are still counted, so the closing tags come back out the same way.
  const int depth = 105;
  auto blanks = [](int level) { return std::string(2 * static_cast<std::size_t>(std::min(level, 100)), ' '); };
  std::string doc, expected;
  for (int level = 0; level < depth; ++level) {
    doc += "<DIV>";
    expected += CRLF + blanks(level) + "<div>";
  }
  doc += "x";
  expected += "x";
  for (int level = depth - 1; level >= 0; --level) {
    doc += "</DIV>";
    expected += (level == depth - 1 ? "" : blanks(level)) + "</div>" + CRLF;
  }
  EXPECT_EQ(cleanHTML(doc), expected);
  EXPECT_EQ(reference::cleanHTML(doc), expected);
  EXPECT_EQ(indent(100), std::string(200, ' '));
  EXPECT_EQ(indent(101), std::string(200, ' '));
  EXPECT_EQ(indent(INT32_MAX), std::string(200, ' '));
}

TEST(CleanHTML, OutputIsBoundedByAFixedMultipleOfTheInput) {
  // Unclosed opening tags, and text that breaks after every blank at the deepest indentation, are
  // the fastest ways to make the output grow; before the bound both grew with the square.
  std::string unclosed, deepText(200 * 5, ' ');
  for (int i = 0; i < 100000; ++i) unclosed += i % 2 ? "<P>" : "<div>";
  for (std::size_t i = 0; i < deepText.size(); i += 5) deepText.replace(i, 5, "<DIV>");
  for (int i = 0; i < 100000; ++i) deepText += "x ";
  deepText += "</DIV>";  // text after the last tag would be a paragraph of its own, never broken
  for (const std::string& doc : {unclosed, deepText}) {
    const auto cleaned = cleanHTML(doc);
    ASSERT_TRUE(cleaned);
    EXPECT_LE(cleaned->size(), kMaxOutputFactor * doc.size());
  }
  // The text case reaches the factor: two bytes become themselves, a line break and 200 blanks.
  EXPECT_GT(cleanHTML(deepText)->size(), (kMaxOutputFactor - 2) * deepText.size());
}

TEST(CleanHTML, RunningOutOfMemoryGivesNoTextAtAll) {
  std::vector<std::string> log;
  setDebugSink([&log](std::string_view line) { log.emplace_back(line); });
  // Deep enough that every blank breaks the line, so the output outgrows the input many times.
  std::string doc;
  for (int i = 0; i < 50; ++i) doc += "<DIV>";
  for (int i = 0; i < 20000; ++i) doc += "word ";
  doc += "</DIV>";
  {
    ScarceMemory scarce(2 * doc.size());  // fails on the way
    EXPECT_FALSE(cleanHTML(doc).has_value());
  }
  {
    ScarceMemory scarce(doc.size() / 2);  // fails at once
    EXPECT_FALSE(cleanHTML(doc).has_value());
  }
  setDebugSink(nullptr);
  EXPECT_EQ(log, (std::vector<std::string>{"Error in cleanHTML", "7", "Out of memory", "Error in cleanHTML", "7",
                                           "Out of memory"}));
  EXPECT_TRUE(cleanHTML(doc).has_value());
}

TEST(CleanHTML, WhiteSpaceIsNormalised) {
  EXPECT_EQ(cleanHTML("  <P>a \t\r\n  b</P> \r\n <P>  c</P>  "), CRLF + "<p>a b</p>" + CRLF + "<p> c</p>" + CRLF);
  EXPECT_EQ(cleanHTML("<B>x</B> <I>y</I>"), "<b>x</b><i>y</i>");  // a blank between two tags disappears
  EXPECT_EQ(cleanHTML(" \t\r\n "), "");
  EXPECT_EQ(cleanHTML(""), "");
}

TEST(CleanHTML, StrayTrailingTextBecomesAParagraph) {
  EXPECT_EQ(cleanHTML("abc"), "<p>abc</p>");
  EXPECT_EQ(cleanHTML("<P>x</P>tail end"), CRLF + "<p>x</p>" + CRLF + "<p>tail end</p>");
  // Only text after the last tag is wrapped; text before a tag is written where it stands.
  EXPECT_EQ(cleanHTML("lead<P>x</P>"), "lead" + CRLF + "<p>x</p>" + CRLF);
  EXPECT_EQ(cleanHTML("x > y"), "<p>x > y</p>");  // ">" outside a tag is text
}

TEST(CleanHTML, LessThanInsideATagDropsTheUnfinishedTag) {
  EXPECT_EQ(cleanHTML("<P <B>bold</B> text"), "<b>bold</b><p> text</p>");
  EXPECT_EQ(cleanHTML("<P>a</P><B"), CRLF + "<p>a</p>" + CRLF);  // never closed
  EXPECT_EQ(cleanHTML("a < b"), "a ");
}

// The 200-character paragraph is 40 words of "abcd ".
std::string words(std::size_t count) {
  std::string s;
  for (std::size_t i = 0; i < count; ++i) s += "abcd ";
  return s;
}

TEST(CleanHTML, LongTextBreaksAfterTheFirstBlankAtColumnSixty) {
  const std::string text = words(40);
  // "<p>" takes three columns, so the first blank at or beyond column 60 is text[59]; the
  // continuation lines carry the paragraph's level (1) and break 60 columns into their line.
  EXPECT_EQ(cleanHTML("<P>" + text + "</P>"), CRLF + "<p>" + text.substr(0, 60) + CRLF +  //
                                                  "  " + text.substr(60, 60) + CRLF +       //
                                                  "  " + text.substr(120, 60) + CRLF +      //
                                                  "  " + text.substr(180) + "</p>" + CRLF);
  const std::string oneWord(200, 'x');
  EXPECT_EQ(cleanHTML("<P>" + oneWord + "</P>"), CRLF + "<p>" + oneWord + "</p>" + CRLF);
}

TEST(CleanHTML, LongTextAtADeepLevel) {
  const std::string text = words(40);
  const std::string ten(10, ' '), twelve(12, ' ');
  std::string expected;
  for (int level = 0; level < 5; ++level) expected += CRLF + std::string(2 * static_cast<std::size_t>(level), ' ') + "<div>";
  // The paragraph opens at column 13; its last blank lands on column 62 and breaks the line too, so
  // the closing tag follows the indentation of the paragraph's level on a line of its own.
  expected += CRLF + ten + "<p>" + text.substr(0, 50) + CRLF + twelve + text.substr(50, 50) + CRLF + twelve +
              text.substr(100, 50) + CRLF + twelve + text.substr(150, 50) + CRLF + twelve + "</p>" + CRLF;
  for (int level = 4; level >= 0; --level) expected += std::string(2 * static_cast<std::size_t>(level), ' ') + "</div>" + CRLF;
  EXPECT_EQ(cleanHTML("<DIV><DIV><DIV><DIV><DIV><P>" + text + "</P></DIV></DIV></DIV></DIV></DIV>"), expected);
}

TEST(CleanHTML, ColumnsCountCharactersNotBytesNorReferences) {
  // 58 two-byte characters and a blank end at column 62 ("<p>" + 59), so the line breaks there
  // although the encoded line is far longer than 60 bytes.
  std::string text;
  for (int i = 0; i < 58; ++i) text += "\xC3\xA9";
  const auto out = cleanHTML("<P>" + text + " tail</P>");
  std::string encoded;
  for (int i = 0; i < 58; ++i) encoded += "&#233;";
  EXPECT_EQ(out, CRLF + "<p>" + encoded + " " + CRLF + "  tail</p>" + CRLF);
}

TEST(CleanHTML, NamesLowerCasedValuesKept) {
  EXPECT_EQ(cleanHTML("<IMG SRC=\"PICTURE.GIF\" ALT=\"Two Words\">"), "<img src=\"PICTURE.GIF\" alt=\"Two Words\">");
  EXPECT_EQ(cleanHTML("<A HREF=Page.HTML TARGET=_Blank>Go</A>"), "<a href=Page.HTML target=_Blank>Go</a>");
}

TEST(CleanHTML, DesigntimeAttributesGoOthersKeepTheirOrder) {
  EXPECT_EQ(cleanHTML("<P _designtimesp=\"12 34\" CLASS=Intro ID=First>x</P>"),
            CRLF + "<p class=Intro id=First>x</p>" + CRLF);
  EXPECT_EQ(cleanHTML("<TABLE><TR _DesignTimeSP=1 ALIGN=Left _designtimesp=\"a b\"><TD>x</TD></TR></TABLE>"),
            CRLF + "<table>" + CRLF + "  <tr align=Left>" + CRLF + "    <td>x</td>" + CRLF + "  </tr>" + CRLF +
                "</table>" + CRLF);
}

TEST(CleanHTML, EntitiesNextToMultiByteCharacters) {
  // e-acute (2 bytes), euro (3 bytes), copyright (2 bytes), a 4-byte emoji, no-break space.
  EXPECT_EQ(cleanHTML("caf\xC3\xA9\xE2\x82\xAC\xC2\xA9\xF0\x9F\x98\x80\xC2\xA0x"),
            "<p>caf&#233;\xE2\x82\xAC&#169;\xF0\x9F\x98\x80\xC2\xA0x</p>");
  EXPECT_EQ(cleanHTML("<IMG ALT=\"Caf\xC3\xA9\">"), "<img alt=\"Caf&#233;\">");
}

TEST(EncodeEntities, OnlyCharacters162To255ExceptSoftHyphen) {
  EXPECT_EQ(encodeEntities("caf\xC3\xA9"), "caf&#233;");
  EXPECT_EQ(encodeEntities("\xC2\xA9"), "&#169;");
  EXPECT_EQ(encodeEntities("\xC2\xA2\xC3\xBF"), "&#162;&#255;");  // both ends of the range
  EXPECT_EQ(encodeEntities("\xC2\xA0\xC2\xA1\xC2\xAD"), "\xC2\xA0\xC2\xA1\xC2\xAD");  // 160, 161, 173 kept
  EXPECT_EQ(encodeEntities("\xC4\x80\xE2\x82\xAC"), "\xC4\x80\xE2\x82\xAC");  // above 255 kept
  EXPECT_EQ(encodeEntities("a<b>&amp;"), "a<b>&amp;");
}

TEST(EncodeEntities, InvalidUtf8PassesThroughUnchanged) {
  for (const std::string s : {"\xC3", "x\xC3", "\xC3\x41", "\xA9", "\xFF\xFE", "\xE2\x82", "\xC1\xA9", "\xC3\xC3\xA9"}) {
    EXPECT_EQ(encodeEntities(s), reference::encodeEntities(s)) << s;
  }
  EXPECT_EQ(encodeEntities("\xC3\xC3\xA9"), "\xC3&#233;");
  EXPECT_EQ(cleanHTML("<P>\xFF\xC3</P>"), CRLF + "<p>\xFF\xC3</p>" + CRLF);
}

TEST(RemoveDesigntime, RemovesEveryCopyOfTheAttributesTextEvenInsideALongerOne) {
  // The first attribute's text " designtimesp" is also the beginning of the second one.
  EXPECT_EQ(removeDesigntime("<FORM designtimesp designtimesp=\"X\">"), "<FORM=\"X\">");
  EXPECT_EQ(cleanHTML("<FORM designtimesp designtimesp=\"X\">"), "<form=\"X\">");
  EXPECT_EQ(removeDesigntime("<P designtimesp=1 ID=a designtimesp=12>"), "<P ID=a2>");
  // A copy can sit inside another attribute's value; the value then closes elsewhere.
  EXPECT_EQ(removeDesigntime("<P designtimeA=\" v\" designtimeB=\"x designtimeA=\" v\" y\">"), "<P>");
  // Text joined by a removal is searched again from where the removed text began.
  EXPECT_EQ(removeDesigntime("<P designtimesp=\"1\"Z designtimesp=\"1\" designtime=2>"), "<PZ>");
  // Copies are exact: another letter case is an attribute of its own, removed when its turn comes.
  EXPECT_EQ(removeDesigntime("<P designtimesp DESIGNTIMESP=\"X\">"), "<P>");
}

TEST(RemoveDesigntime, RemovesTheAttributeWithItsLeadingBlank) {
  EXPECT_EQ(removeDesigntime("<P _designtimesp=12>"), "<P>");
  EXPECT_EQ(removeDesigntime("<P _designtimesp=\"1 2\" ID=x>"), "<P ID=x>");
  EXPECT_EQ(removeDesigntime("<P ID=x _DESIGNTIMESP=\"1\">"), "<P ID=x>");
  EXPECT_EQ(removeDesigntime("<P _designtimesp=\"1\" ID=x _designtimesp=\"1\">"), "<P ID=x>");  // identical copies
  EXPECT_EQ(removeDesigntime("<P a=1 _designtimesp=\"x>"), "<P a=1>");  // unclosed value ends at the tag's end
  EXPECT_EQ(removeDesigntime("<designtimer a=1>"), "<designtimer a=1>");  // in the tag name
  EXPECT_EQ(removeDesigntime("<P ID=x>"), "<P ID=x>");
}

// Tags built from attributes as the engine writes them, with repeated design-time markers, texts
// that begin other attributes' texts, copies inside values, and text that a removal joins.
std::string randomTag(std::mt19937& rng) {
  static const std::vector<std::string> attributes = {
      " ID=x",          " CLASS=\"a b\"",       " _designtimesp=1",  " _designtimesp=\"1\"",
      " _DesignTimeSP=\"2 3\"", " designtimeX=7", " ALT='it is'",    " HREF=\"A.HTML\"",
      " designtimesp",  " x=\"\"",              " DESIGNTIME=\"a\"", " _designtimesp=\"4\"Z",
      " designtimesp=\"X\"", " designtimesp=12", "=\"", " v\"",         " designtime",
      "designtime",     " TITLE=\"x designtimesp y\"",
  };
  std::string tag = rng() % 2 ? "<P" : "<IMG";
  const auto count = rng() % 7;
  for (unsigned i = 0; i < count; ++i) tag += attributes[rng() % attributes.size()];
  return rng() % 8 ? tag + ">" : tag;
}

TEST(RemoveDesigntime, AgreesWithRemovingEveryCopyOneAttributeAtATime) {
  std::mt19937 rng(7);
  for (int i = 0; i < 20000; ++i) {
    const std::string tag = randomTag(rng);
    ASSERT_EQ(removeDesigntime(tag), reference::removeDesigntime(tag)) << tag;
  }
}

TEST(LowerCaseTag, NamesLowerValuesAsWritten) {
  EXPECT_EQ(lowerCaseTag("<A HREF=\"Http://X.COM/A B.HTML\" TARGET=_Blank Title='It Is'>"),
            "<a href=\"Http://X.COM/A B.HTML\" target=_Blank title='It Is'>");
  EXPECT_EQ(lowerCaseTag("</TD>"), "</td>");
  EXPECT_EQ(lowerCaseTag("<INPUT CHECKED VALUE=X>"), "<input checked value=X>");
  EXPECT_EQ(lowerCaseTag("<P TITLE=It's CLASS=Y>"), "<p title=It's class=Y>");
  EXPECT_EQ(lowerCaseTag("<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01//EN\">"),
            "<!doctype html public \"-//W3C//DTD HTML 4.01//EN\">");
  EXPECT_EQ(lowerCaseTag("<!-- Keep THIS -->"), "<!-- Keep THIS -->");
  EXPECT_EQ(lowerCaseTag("<D\xC3\x84V CLASS=\xC3\x84>"), "<d\xC3\x84v class=\xC3\x84>");  // ASCII letters only
}

TEST(TagClass, ComparedOnTheAsciiNameInAnyCase) {
  EXPECT_EQ(tagClass("td"), TagClass::Block);
  EXPECT_EQ(tagClass("Td"), TagClass::Block);
  EXPECT_EQ(tagClass("BLOCKQUOTE"), TagClass::Block);
  EXPECT_EQ(tagClass("br/"), TagClass::Break);
  EXPECT_EQ(tagClass("!doctype"), TagClass::Other);
  EXPECT_EQ(tagClass("!--"), TagClass::Other);
  EXPECT_EQ(tagClass(""), TagClass::Other);
  EXPECT_EQ(tagClass("blockquotes"), TagClass::Other);
  EXPECT_EQ(tagClass(std::string_view("p\0", 2)), TagClass::Other);
}

TEST(Helpers, IndentAndLastLineLength) {
  EXPECT_EQ(indent(3), "      ");
  EXPECT_EQ(indent(0), "");
  EXPECT_EQ(indent(-4), "");
  EXPECT_EQ(lastLineLength("abc"), 3u);
  EXPECT_EQ(lastLineLength("abc\r\n  x\xC3\xA9"), 4u);
  EXPECT_EQ(lastLineLength("abc\r\n"), 0u);
}

// Documents from a vocabulary that reaches every tag class, both quote styles, design-time
// markers, multi-byte characters, white space of every kind and stray angle brackets.
std::string randomDocument(std::mt19937& rng) {
  static const std::vector<std::string> names = {
      "P", "td", "Tr", "TABLE", "ul", "LI", "b", "A", "img", "BR", "br/", "hr", "div", "H1", "body", "HTML",
      "style", "span", "!--", "x-Foo", "OPTION", "tbody", "CENTER", "pre", "iframe", "Blockquote"};
  static const std::vector<std::string> texts = {
      "word", "Two Words", "caf\xC3\xA9", "\xE2\x82\xAC", "\xC2\xA9\xC2\xAD", "  ", "\t", "\r\n", " ", "x > y",
      "a longer run of text that will need wrapping somewhere along the line", "<", ">", "\xC3", "\"", "="};
  std::string doc;
  const auto tokens = rng() % 60;
  for (unsigned i = 0; i < tokens; ++i) {
    if (rng() % 2) {
      doc += texts[rng() % texts.size()];
      continue;
    }
    doc += rng() % 3 ? "<" : "</";
    doc += names[rng() % names.size()];
    switch (rng() % 6) {
      case 0: doc += " CLASS=\"Big Title\""; break;
      case 1: doc += " _designtimesp=\"12 3\" ALIGN=Left"; break;
      case 2: doc += " SRC=A.GIF ALT='One Two'"; break;
      default: break;
    }
    doc += rng() % 10 ? ">" : " ";
  }
  return doc;
}

TEST(CleanHTML, AgreesWithTheStepByStepDescription) {
  std::mt19937 rng(20240501);
  for (int i = 0; i < 3000; ++i) {
    const std::string doc = randomDocument(rng);
    ASSERT_EQ(cleanHTML(doc), reference::cleanHTML(doc)) << doc;
  }
}

TEST(CleanHTML, AgreesWithTheStepByStepDescriptionOnArbitraryBytes) {
  std::mt19937 rng(99);
  const std::string alphabet = "<>/ \t\r\n=\"'PpBbLlIiTtDdRrx\xC3\xA9\xC2\xAD\xFF";
  for (int i = 0; i < 3000; ++i) {
    std::string doc;
    const auto size = rng() % 120;
    for (unsigned k = 0; k < size; ++k) doc += alphabet[rng() % alphabet.size()];
    ASSERT_EQ(cleanHTML(doc), reference::cleanHTML(doc)) << doc;
  }
}


// The clean-up fed in pieces split anywhere, the output gathered from its pieces.
std::string cleanedInPieces(std::string_view doc, std::mt19937& rng, std::size_t largestPiece,
                            std::size_t* largestOutput = nullptr) {
  std::string out;
  Cleaner cleaner([&](std::string_view piece) {
    if (largestOutput) *largestOutput = std::max(*largestOutput, piece.size());
    out.append(piece);
  });
  while (!doc.empty()) {
    const std::size_t take = std::min<std::size_t>(doc.size(), 1 + rng() % largestPiece);
    cleaner.feed(doc.substr(0, take));
    doc.remove_prefix(take);
  }
  cleaner.finish();
  return out;
}

TEST(Cleaner, PiecesSplitAnywhereGiveTheWholeClean) {
  std::mt19937 rng(7);
  for (int i = 0; i < 3000; ++i) {
    const std::string doc = randomDocument(rng);
    ASSERT_EQ(cleanedInPieces(doc, rng, 1 + i % 9), *cleanHTML(doc)) << doc;
  }
  ASSERT_EQ(cleanedInPieces("", rng, 4), "");
  ASSERT_EQ(cleanedInPieces("  \r\n ", rng, 1), "");
}

TEST(Cleaner, ALongDocumentComesOutInBoundedPieces) {
  std::mt19937 rng(11);
  std::string doc;
  for (int i = 0; i < 4000; ++i) doc += "<P CLASS=x>Paragraph " + std::to_string(i) + ": " + words(30) + "</P>\r\n";
  // Also one text of a megabyte between two tags: it breaks into lines, and is handed on by them.
  doc += "<div>" + words(200000) + "</div>";
  std::size_t largest = 0;
  ASSERT_EQ(cleanedInPieces(doc, rng, 100000, &largest), *cleanHTML(doc));
  EXPECT_LE(largest, kPieceSize + 512);
}

}  // namespace
}  // namespace vellmar::html
