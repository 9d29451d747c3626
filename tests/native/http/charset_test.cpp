// Answers are read by the charset their Content-Type names, UTF-8 when none; data stays bytes.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "http/charset.h"

namespace vellmar::http {
namespace {

const std::string kReplacement = "\xEF\xBF\xBD";

TEST(Charset, IsReadFromTheContentTypeParameters) {
  EXPECT_EQ(charsetOf("text/html; charset=UTF-8"), "utf-8");
  EXPECT_EQ(charsetOf("text/html;charset=\"Windows-1252\""), "windows-1252");
  EXPECT_EQ(charsetOf("text/xml; q=1; CHARSET = iso-8859-1 "), "iso-8859-1");
  EXPECT_EQ(charsetOf("text/html"), "");
  EXPECT_EQ(charsetOf(""), "");
}

TEST(Charset, OnlyTextAnswersAreDecoded) {
  for (const char* type : {"", "text/html", "TEXT/CSS", "text/xml", "application/xml",
                           "image/svg+xml", "application/json", "application/octet-stream; charset=utf-8"})
    EXPECT_TRUE(isTextAnswer(type)) << type;
  for (const char* type : {"image/gif", "image/png", "application/octet-stream"})
    EXPECT_FALSE(isTextAnswer(type)) << type;
  // An image's bytes are not text in any charset: they arrive unchanged.
  const std::string gif("GIF89a\x80\xFF\x00\xC3", 10);
  EXPECT_EQ(decodeAnswer(gif, "image/gif"), gif);
}

TEST(Charset, Utf8IsTheDefaultAndItsFaultsBecomeReplacementCharacters) {
  const std::string sample = "5 \u20AC \u2014 \u201Cquoted\u201D \u2014 \u4E2D\u6587 \U0001F600";
  EXPECT_EQ(decodeAnswer(sample, ""), sample);
  EXPECT_EQ(decodeAnswer(sample, "text/html; charset=utf-8"), sample);
  EXPECT_EQ(decodeAnswer(sample, "text/html; charset=x-unknown"), sample);
  EXPECT_EQ(decodeAnswer("\xEF\xBB\xBFhi", "text/plain"), "hi");  // the byte order mark goes

  // As a browser reads them: one replacement per maximal ill-formed subsequence.
  EXPECT_EQ(decodeAnswer("caf\xE9!", "text/html"), "caf" + kReplacement + "!");
  EXPECT_EQ(decodeAnswer("a\xE4\xB8z", ""), "a" + kReplacement + "z");
  EXPECT_EQ(decodeAnswer("\xC0\xAF", ""), kReplacement + kReplacement);  // overlong
  EXPECT_EQ(decodeAnswer("\xED\xA0\x80", ""), kReplacement + kReplacement + kReplacement);  // surrogate
  EXPECT_EQ(decodeAnswer("end\xF0\x9F\x98", ""), "end" + kReplacement);
  EXPECT_FALSE(isValidUtf8("caf\xE9"));
  EXPECT_TRUE(isValidUtf8(sample));
}

TEST(Charset, AnOwnedAnswerDecodesAlikeAndNeedsNoCopyWhenItIsUtf8Already) {
  const std::string sample = "5 \u20AC \u4E2D\u6587 \U0001F600";
  const std::string latin("caf\xE9", 4);
  const std::string gif("GIF89a\x80\xFF\x00\xC3", 10);
  const std::pair<std::string, const char*> cases[] = {
      {sample, ""}, {sample, "text/html; charset=utf-8"}, {"\xEF\xBB\xBFhi", "text/plain"},
      {"caf\xE9!", "text/html"}, {latin, "text/html; charset=windows-1252"},
      {std::string("\xFF\xFE" "a\x00", 4), "text/plain; charset=utf-16"}, {gif, "image/gif"}};
  for (const auto& [bytes, type] : cases)
    EXPECT_EQ(decodeOwnedAnswer(bytes, type), decodeAnswer(bytes, type)) << type;

  // A document's worth of valid UTF-8 keeps its buffer.
  std::string page(1 << 16, 'x');
  const char* buffer = page.data();
  const std::string decoded = decodeOwnedAnswer(std::move(page), "text/html; charset=utf-8");
  EXPECT_EQ(decoded.data(), buffer);
  EXPECT_EQ(decoded.size(), std::size_t{1} << 16);
}

TEST(Charset, Windows1252AndTheLabelsReadAsItBecomeUtf8) {
  const std::string bytes("caf\xE9 \x80 \x93q\x94 \x81", 12);
  const std::string text = "caf\u00E9 \u20AC \u201Cq\u201D \u0081";
  for (const char* type : {"text/html; charset=windows-1252", "text/html; charset=ISO-8859-1",
                           "text/css; charset=latin1", "text/plain; charset=us-ascii"})
    EXPECT_EQ(decodeAnswer(bytes, type), text) << type;
}

TEST(Charset, Utf16InEitherByteOrder) {
  const std::string le("\xFF\xFE" "a\x00\xAC\x20\x3D\xD8\x00\xDE", 10);
  EXPECT_EQ(decodeAnswer(le, "text/plain; charset=utf-16le"), "a\u20AC\U0001F600");
  EXPECT_EQ(decodeAnswer(le, "text/plain; charset=utf-16"), "a\u20AC\U0001F600");
  const std::string be("\x00" "a\xD8\x3D", 4);
  EXPECT_EQ(decodeAnswer(be, "text/plain; charset=utf-16be"), "a" + kReplacement);  // lone surrogate
}

}  // namespace
}  // namespace vellmar::http
