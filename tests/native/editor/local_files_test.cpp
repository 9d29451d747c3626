#include "editor/local_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellmar::editor {
namespace {

TEST(LocalFileRules, KindByExtensionThenByContents) {
  EXPECT_EQ(localFileKind("page.HTM", "plain words"), LocalFileKind::html);
  EXPECT_EQ(localFileKind("page.xhtml", ""), LocalFileKind::html);
  EXPECT_EQ(localFileKind("notes.txt", "<p>markup</p>"), LocalFileKind::text);
  EXPECT_EQ(localFileKind("README", "  \n<!DOCTYPE html><p>x"), LocalFileKind::html);
  EXPECT_EQ(localFileKind("README", "\xEF\xBB\xBF<html>"), LocalFileKind::html);
  EXPECT_EQ(localFileKind("README", "a < b"), LocalFileKind::text);
  EXPECT_EQ(localFileKind("README", "< b"), LocalFileKind::text);
}

TEST(LocalFileRules, BinaryFilesAreNotText) {
  EXPECT_TRUE(looksLikeText("Hello\r\n\tworld\f"));
  EXPECT_TRUE(looksLikeText(""));
  EXPECT_FALSE(looksLikeText(std::string("GIF89a\0\0", 8)));
  EXPECT_FALSE(looksLikeText(std::string(50, '\x01') + std::string(100, 'a')));
  EXPECT_TRUE(looksLikeText(std::string("\xFF\xFEh\0i\0", 6)));
  EXPECT_FALSE(looksLikeText(std::string("\xFF\xFEh\0i", 5)));
}

TEST(LocalFileRules, DecodesUtf8Utf16AndTheOldCodePage) {
  EXPECT_EQ(decodeLocalFile("\xEF\xBB\xBF" "caf\xC3\xA9"), "caf\u00E9");
  EXPECT_EQ(decodeLocalFile("caf\xE9 \x80"), "caf\u00E9 \u20AC");
  EXPECT_EQ(decodeLocalFile(std::string("\xFF\xFE" "h\0\xE9\0", 6)), "h\u00E9");
  EXPECT_EQ(decodeLocalFile(std::string("\xFE\xFF\0h\0\xE9", 6)), "h\u00E9");
}

TEST(LocalFileRules, TextBecomesParagraphsWithItsCharactersKept) {
  EXPECT_EQ(textToHtml("a < b & c\r\nsecond line\n\n\n  \nnext\tpara\r"),
            "<p>a &lt; b &amp; c<br>second line</p><p>next para</p>");
  EXPECT_EQ(textToHtml(""), "");
  EXPECT_EQ(textToHtml("\n\n"), "");
  EXPECT_EQ(textToHtml("one\rtwo"), "<p>one<br>two</p>");
}

TEST(LocalFileRules, Messages) {
  EXPECT_EQ(openErrorMessage("a.htm"),
            "There was an error opening the file a.htm.  File does not exist or is locked.");
  EXPECT_EQ(tooLargeMessage("big.htm", 20u * 1024 * 1024),
            "The file big.htm is too large to open (20.0 MB).  Files of up to 16 MB can be opened.");
}

class LocalFilesTest : public ::testing::Test {
 protected:
  std::vector<std::string> loaded, recorded, messages;
  std::optional<std::string> document = std::string("<p>body</p>");
  std::int32_t method = 0;
  LocalFiles files{LocalFileHooks{
      [this](const std::string& content) { loaded.push_back(content); },
      [this](const std::string& path) { recorded.push_back(path); },
      [this](const std::string& text, const std::string& caption) {
        messages.push_back(caption + ": " + text);
      },
      [this] { return document; },
      [this] { return method; },
  }};
};

TEST_F(LocalFilesTest, OpeningMakesTheFileCurrentAndRecent) {
  EXPECT_FALSE(files.shouldOpen(""));
  EXPECT_TRUE(files.shouldOpen("page.html"));
  EXPECT_TRUE(files.fileRead("page.html", "<html><body><p>Hi</p></body></html>"));
  EXPECT_EQ(loaded, (std::vector<std::string>{"<html><body><p>Hi</p></body></html>"}));
  EXPECT_EQ(recorded, (std::vector<std::string>{"page.html"}));
  EXPECT_EQ(files.currentFile(), "page.html");
  // The current file again: nothing to do.
  EXPECT_FALSE(files.shouldOpen("page.html"));
  EXPECT_TRUE(files.fileRead("notes.txt", "x<y"));
  EXPECT_EQ(loaded.back(), "<p>x&lt;y</p>");
  EXPECT_TRUE(messages.empty());
}

TEST_F(LocalFilesTest, AFileThatCannotBeOpenedLeavesEverythingAsItWas) {
  EXPECT_FALSE(files.fileRead("photo.htm", std::string("\x89PNG\r\n\x1a\n\0\0", 10)));
  EXPECT_FALSE(files.sizeAllowed("huge.htm", kMaxLocalFileBytes + 1));
  EXPECT_TRUE(files.sizeAllowed("fits.htm", kMaxLocalFileBytes));
  files.openFailed("gone.htm");
  EXPECT_TRUE(loaded.empty());
  EXPECT_TRUE(recorded.empty());
  EXPECT_EQ(files.currentFile(), "");
  ASSERT_EQ(messages.size(), 3u);
  EXPECT_EQ(messages[0],
            "Vellmar Open Local File Error: The file photo.htm is not an HTML or text file.  It "
            "was not opened.");
  EXPECT_NE(messages[1].find("huge.htm is too large"), std::string::npos);
  EXPECT_NE(messages[2].find("error opening the file gone.htm."), std::string::npos);
}

TEST_F(LocalFilesTest, SavingNamesTheFileAndRemembersIt) {
  EXPECT_EQ(files.saveLocalTarget(), "");
  EXPECT_EQ(files.saveAsName(""), "Untitled.htm");
  method = 1;
  EXPECT_EQ(files.saveAsName(""), "Untitled.txt");
  EXPECT_EQ(files.saveAsName("given.htm"), "given.htm");
  EXPECT_EQ(files.textToSave(), "<p>body</p>");
  files.saved("out.htm");
  EXPECT_EQ(files.saveLocalTarget(), "out.htm");
  EXPECT_EQ(files.saveAsName(""), "out.htm");
  EXPECT_EQ(recorded, (std::vector<std::string>{"out.htm"}));
  document.reset();
  EXPECT_EQ(files.textToSave(), std::nullopt);
}

}  // namespace
}  // namespace vellmar::editor
