#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/diagnostics.h"
#include "xml/simple_dom.h"

namespace vellmar::xml {
namespace {

class Parser : public ::testing::Test {
 protected:
  Parser() {
    setDebugSink([this](std::string_view line) { log.emplace_back(line); });
  }
  ~Parser() override { setDebugSink(nullptr); }

  std::unique_ptr<SimpleElement> parse(const std::string& text) { return parser.Parse(text); }

  SimpleDOMParser parser;
  std::vector<std::string> log;
};

TEST_F(Parser, EmptyTextGivesNothingAndLogsNothing) {
  EXPECT_EQ(parse(""), nullptr);
  EXPECT_EQ(parse("   "), nullptr);
  EXPECT_TRUE(log.empty());
}

TEST_F(Parser, BuildsTheTreeWithTextRightAfterStartTags) {
  auto root = parse("<list><item><name>a</name></item><item><name> b c </name></item></list>");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->name, "list");
  EXPECT_EQ(root->Text, "");
  ASSERT_EQ(root->ChildElements().Count(), 2);
  SimpleElement* item = root->ChildElements().Item(0);
  EXPECT_EQ(item->name, "item");
  EXPECT_EQ(item->Text, "");
  ASSERT_EQ(item->ChildElements().Count(), 1);
  EXPECT_EQ(item->ChildElements().Item(0)->Text, "a");
  EXPECT_EQ(root->ChildElements().Item(1)->ChildElements().Item(0)->Text, "b c");
  EXPECT_EQ(root->ChildElements().Item(2), nullptr);
  EXPECT_EQ(root->ChildElements().Item(-1), nullptr);
  EXPECT_TRUE(log.empty());
}

TEST_F(Parser, IgnoresAttributesDeclarationsCommentsAndEntities) {
  auto root = parse("<?xml version='1.0'?><!-- list --><list count='2' a=\"<\"><item>a &amp; b</item></list>");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->name, "list");
  EXPECT_EQ(root->ChildElements().Item(0)->Text, "a &amp; b");

  auto decl = parse("<?xml version='1.0'?><a>t</a>");
  ASSERT_NE(decl, nullptr);
  EXPECT_EQ(decl->Text, "t");
}

TEST_F(Parser, NamesKeepCaseAndEndAtSpaceBracketOrGreaterThan) {
  auto root = parse("<Root\tX><Item/></Root\tX>");
  // The tab belongs to the name; the self-closed item is never popped, so the end tag mismatches.
  EXPECT_EQ(root, nullptr);
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0], "The end element Root\tX does not match the starting element Item.");
}

TEST_F(Parser, MismatchedEndTagIsRejected) {
  EXPECT_EQ(parse("<a><b>x</c></a>"), nullptr);
  EXPECT_EQ(log, std::vector<std::string>{"The end element c does not match the starting element b."});
  EXPECT_EQ(parser.lastFailure().number, 50000);
  EXPECT_EQ(parser.lastFailure().source, "SimpleDOMParser.PopElement");
}

TEST_F(Parser, UnclosedElementIsRejected) {
  EXPECT_EQ(parse("<a><b>x</b>"), nullptr);
  EXPECT_EQ(log, std::vector<std::string>{"The source XML document is not well-formed."});
  EXPECT_EQ(parser.lastFailure().source, "SimpleDOMParser.Parse");
  EXPECT_EQ(parse("<a>"), nullptr);
}

TEST_F(Parser, SelfClosingTagsAreNeverPopped) {
  EXPECT_EQ(parse("<a><b/></a>"), nullptr);
  EXPECT_EQ(log, std::vector<std::string>{"The end element a does not match the starting element b."});
  log.clear();
  EXPECT_EQ(parse("<a/>"), nullptr);
  EXPECT_EQ(log, std::vector<std::string>{"The source XML document is not well-formed."});
}

TEST_F(Parser, StrayEndTagsAndTrailingTextAreIgnored) {
  auto root = parse("</x><a>x</a>tail");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->Text, "x");
  EXPECT_TRUE(log.empty());
  auto unterminated = parse("<a>x</a><b");
  ASSERT_NE(unterminated, nullptr);
  EXPECT_EQ(unterminated->name, "a");
}

TEST_F(Parser, LastTopLevelElementIsTheRoot) {
  auto root = parse("<first>1</first><second>2</second>");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->name, "second");
  EXPECT_EQ(root->Text, "2");
}

TEST_F(Parser, OnlyTextRightAfterAStartTagIsKept) {
  auto root = parse("<a>lead<b>inner</b>mixed</a>");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->Text, "lead");
  EXPECT_EQ(root->ChildElements().Item(0)->Text, "inner");
  // Text after a nameless tag lands on the last child of the open element.
  auto odd = parse("<a><b>x</b><!-- note -->later</a>");
  ASSERT_NE(odd, nullptr);
  EXPECT_EQ(odd->Text, "");
  EXPECT_EQ(odd->ChildElements().Item(0)->Text, "later");
}

TEST_F(Parser, GreaterThanInsideACommentEndsItEarly) {
  auto root = parse("<a><!-- x > y --><b>z</b></a>");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->ChildElements().Item(0)->name, "b");
}

TEST_F(Parser, LineEndsAfterTagsAreSkipped) {
  auto root = parse("<a>\r\n<b>\r\ntext</b></a>");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->ChildElements().Item(0)->Text, "text");
}

TEST_F(Parser, DeepNestingParses) {
  std::string text;
  const int depth = 20000;
  for (int i = 0; i < depth; ++i) text += "<e>";
  for (int i = 0; i < depth; ++i) text += "</e>";
  auto root = parse(text);
  ASSERT_NE(root, nullptr);
  int levels = 1;
  for (SimpleElement* e = root.get(); e->ChildElements().Count() == 1; e = e->ChildElements().Item(0))
    ++levels;
  EXPECT_EQ(levels, depth);
}

TEST(StackTest, PushPopPeekAndCount) {
  Stack<int> stack;
  int a = 1, b = 2;
  EXPECT_EQ(stack.Pop(), nullptr);
  EXPECT_EQ(stack.Peek(), nullptr);
  for (int i = 0; i < 250; ++i) stack.Push(&a);
  stack.Push(&b);
  EXPECT_EQ(stack.Count(), 251);
  EXPECT_EQ(stack.Peek(), &b);
  EXPECT_EQ(stack.Pop(), &b);
  EXPECT_EQ(stack.Count(), 250);
  while (stack.Pop()) {
  }
  EXPECT_EQ(stack.Count(), 0);
}

}  // namespace
}  // namespace vellmar::xml
