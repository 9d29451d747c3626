#include <gtest/gtest.h>

#include <string>

#include "http/response_reader.h"

namespace vellmar::http {
namespace {

const std::string kUnsupported =
    "The response returned by the server used a version of HTTP unsupported by the HTTP control.  "
    "The version was ";

TEST(ParseResponse, AcceptsHttp10And11AndRejectsOtherVersions) {
  EXPECT_EQ(parseResponse("HTTP/1.0 200 OK\r\n\r\nbody", "/p").body, "body");
  EXPECT_EQ(parseResponse("HTTP/1.1 200 OK\r\n\r\nbody", "/p").body, "body");
  for (const std::string version : {"HTTP/2", "http/1.1", "HTTP/1"}) {
    const std::string text = version + " 200 OK\r\n\r\nbody";
    const ParsedResponse r = parseResponse(text, "/p");
    EXPECT_EQ(r.parseErrorNumber, 1) << version;
    EXPECT_EQ(r.message, kUnsupported + version);
    EXPECT_EQ(r.text, text);
    EXPECT_EQ(r.body, "");
  }
}

TEST(ParseResponse, SkipsEveryInterimContinueBlock) {
  const ParsedResponse r = parseResponse(
      "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 100 Continue\r\nX: y\r\n\r\n"
      "HTTP/1.1 200 OK\r\nContent-length: 2\r\n\r\nokEXTRA",
      "/p");
  EXPECT_FALSE(r.failed());
  EXPECT_EQ(r.body, "ok");
}

TEST(ParseResponse, StatusOtherThan200IsParseError2WithTheBodyAsText) {
  const ParsedResponse notFound =
      parseResponse("HTTP/1.1 404 Not Found\r\nContent-length: 4\r\n\r\ngone", "/lists/images.xml");
  EXPECT_EQ(notFound.parseErrorNumber, 2);
  EXPECT_EQ(notFound.message, "HTTP Error: /lists/images.xml was not found.");
  EXPECT_EQ(notFound.text, "gone");
  EXPECT_EQ(notFound.body, "");

  const ParsedResponse moved = parseResponse("HTTP/1.1 302 Found\r\nLocation: /x\r\n\r\n", "/p");
  EXPECT_EQ(moved.parseErrorNumber, 2);
  EXPECT_EQ(moved.message, "HTTP Error: HTTP/1.1 302 Found");

  const ParsedResponse afterContinue =
      parseResponse("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.0 500 Internal Server Error\r\n\r\noops", "/p");
  EXPECT_EQ(afterContinue.message, "HTTP Error: HTTP/1.0 500 Internal Server Error");
  EXPECT_EQ(afterContinue.text, "oops");
}

TEST(ParseResponse, UnreadableAnswersEndInParseError1) {
  const ParsedResponse empty = parseResponse("", "/p");
  EXPECT_EQ(empty.parseErrorNumber, 1);
  EXPECT_EQ(empty.message, kUnsupported);

  EXPECT_EQ(parseResponse("HTTP/1.1", "/p").message, kUnsupported + "HTTP/1.1");
  // A 100 block without its empty line leaves nothing to read.
  EXPECT_EQ(parseResponse("HTTP/1.1 100 Continue\r\nX: y", "/p").parseErrorNumber, 1);
  // Headers cut off before the empty line.
  EXPECT_EQ(parseResponse("HTTP/1.1 200 OK\r\nContent-length: 5", "/p").parseErrorNumber, 1);
}

TEST(ParseResponse, AnAnswerCutShortIsAParseErrorThatSaysSo) {
  // Fewer bytes than the length announced, in either spelling of the header.
  for (const std::string header : {"Content-length", "Content-Length", "content-length"}) {
    const ParsedResponse r =
        parseResponse("HTTP/1.1 200 OK\r\n" + header + ": 20\r\n\r\n<p>half a doc", "/doc");
    EXPECT_EQ(r.parseErrorNumber, 2) << header;
    EXPECT_EQ(r.message, "HTTP Error: The answer from /doc was cut short: only 13 of the 20 bytes "
                         "its Content-Length announced arrived.");
    EXPECT_EQ(r.text, "<p>half a doc");
    EXPECT_EQ(r.body, "");
  }
  // A chunked body without its last chunk, whether it stops between chunks or inside one.
  for (const std::string chunks : {"5\r\nHello\r\n", "5\r\nHello\r\n6\r\n Wo", "5\r\nHel"}) {
    const ParsedResponse r =
        parseResponse("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + chunks, "/doc");
    EXPECT_EQ(r.parseErrorNumber, 2) << chunks;
    EXPECT_EQ(r.message,
              "HTTP Error: The answer from /doc was cut short: its chunked body ended before the "
              "last chunk.");
  }
  // Whole answers stay whole: a longer body than announced, the last chunk, no length at all.
  EXPECT_EQ(parseResponse("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nHelloWorld", "/d").body,
            "HelloWorld");
  EXPECT_EQ(parseResponse("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nHello\r\n0\r\n\r\n",
                          "/d")
                .body,
            "Hello");
  EXPECT_FALSE(parseResponse("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", "/d").failed());
  EXPECT_FALSE(parseResponse("HTTP/1.1 200 OK\r\n\r\nto the close", "/d").failed());
}

TEST(ParseResponse, KeepsTheContentTypeToReadTheBodyBy) {
  EXPECT_EQ(parseResponse("HTTP/1.1 200 OK\r\ncontent-type:  text/html; charset=utf-8 \r\n\r\nx", "/")
                .contentType,
            "text/html; charset=utf-8");
  EXPECT_EQ(parseResponse("HTTP/1.1 500 No\r\nContent-Type: text/plain\r\n\r\nx", "/").contentType,
            "text/plain");
  EXPECT_EQ(parseResponse("HTTP/1.1 200 OK\r\n\r\nx", "/").contentType, "");
}

TEST(ExtractBody, OnlyTheLowerCaseContentLengthSpellingCuts) {
  EXPECT_EQ(extractBody("HTTP/1.1 200 OK\r\nContent-length: 5\r\n\r\nHelloWorld"), "Hello");
  EXPECT_EQ(extractBody("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nHelloWorld"), "HelloWorld");
  EXPECT_EQ(extractBody("HTTP/1.1 200 OK\r\ncontent-length: 5\r\n\r\nHelloWorld"), "HelloWorld");
  EXPECT_EQ(extractBody("HTTP/1.1 200 OK\r\nContent-length:   3  \r\n\r\nHelloWorld"), "Hel");
}

TEST(ExtractBody, LengthWinsOverChunkedAndOddLengthsReadToTheEnd) {
  EXPECT_EQ(extractBody("S\r\nTransfer-Encoding: chunked\r\nContent-length: 3\r\n\r\n5\r\nHello\r\n"),
            "5\r\n");
  EXPECT_EQ(extractBody("S\r\nContent-length: abc\r\n\r\nall of it"), "all of it");
  EXPECT_EQ(extractBody("S\r\nContent-length: -4\r\n\r\nall of it"), "all of it");
  EXPECT_EQ(extractBody("S\r\nContent-length: 99999999999999999999999\r\n\r\nshort"), "short");
  EXPECT_EQ(extractBody("S\r\nContent-length: 0\r\n\r\nrest"), "rest");
  EXPECT_EQ(extractBody("S\r\nX: y\r\n"), "");
  EXPECT_EQ(extractBody("S\r\n\r\n"), "");
}

TEST(ExtractBody, ChunkedNeedsTheExactHeaderLine) {
  const std::string chunks = "5\r\nHello\r\n6\r\n World\r\n0\r\n\r\n";
  EXPECT_EQ(extractBody("S\r\n  Transfer-Encoding: chunked \r\n\r\n" + chunks), "Hello World");
  EXPECT_EQ(extractBody("S\r\nTransfer-Encoding: Chunked\r\n\r\n" + chunks), chunks);
}

TEST(DecodeChunked, DecodesSizesExtensionsAndStopsAtTheEnd) {
  EXPECT_EQ(decodeChunked("5\r\nHello\r\n6\r\n World\r\n0\r\n\r\n"), "Hello World");
  EXPECT_EQ(decodeChunked("a;name=value\r\n0123456789\r\n0\r\n\r\n"), "0123456789");
  EXPECT_EQ(decodeChunked("A\r\n0123456789\r\n"), "0123456789");
  // Trailer lines after the last chunk add nothing, even when they start with hex letters.
  EXPECT_EQ(decodeChunked("3\r\nabc\r\n0\r\nETag: x\r\nFoo: y\r\n\r\n"), "abc");
  // A chunk cut off by the end of the data gives what is there.
  EXPECT_EQ(decodeChunked("10\r\nshort"), "short");
  // A size line without its line end stops the scan.
  EXPECT_EQ(decodeChunked("3\r\nabc\r\n5"), "abc");
  // Chunk data may itself hold CR LF.
  EXPECT_EQ(decodeChunked("4\r\n\r\n\r\n\r\n0\r\n\r\n"), "\r\n\r\n");
  EXPECT_EQ(decodeChunked("ffffffffffffffffffffffff\r\nxyz"), "xyz");
  EXPECT_EQ(decodeChunked(""), "");

  bool complete = true;
  decodeChunked("3\r\nabc\r\n0\r\n\r\n", &complete);
  EXPECT_TRUE(complete);
  // A size line without a digit is no last chunk: the body is not known to be whole.
  for (const char* cut : {"3\r\nabc\r\n", "3\r\nab", "3\r\nabc", "", "3", "3\r\nabc\r\nzz\r\n",
                          "3\r\nabc\r\n\r\n"}) {
    decodeChunked(cut, &complete);
    EXPECT_FALSE(complete) << cut;
  }
}

}  // namespace
}  // namespace vellmar::http
