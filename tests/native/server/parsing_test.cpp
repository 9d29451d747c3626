// The server's parsers at their edges: request heads as the front reads them, multipart bodies,
// forms, cookies, Host headers, origins and document numbers.
#include <gtest/gtest.h>

#include "server/editor_files.h"
#include "server/form.h"
#include "server/front.h"
#include "server/media.h"
#include "server/multipart.h"
#include "server/origin.h"
#include "server/sessions.h"

namespace vellmar::server {
namespace {

FrontLimits limits() {
  FrontLimits l;
  l.maxRequestLine = 64;
  l.maxHeaderBytes = 256;
  l.maxHeaderCount = 4;
  l.maxBody = 1000;
  return l;
}

TEST(FrontHead, CompletesAtTheBlankLineWithTheBodyLength) {
  const std::string head = "POST /cms/save HTTP/1.1\r\nHost: a\r\nContent-Length: 12\r\n\r\n";
  for (std::size_t cut = 0; cut < head.size(); ++cut)
    EXPECT_EQ(checkHead(head.substr(0, cut), limits()).state, HeadCheck::State::incomplete) << cut;
  const HeadCheck done = checkHead(head + "vmContent=x", limits());
  ASSERT_EQ(done.state, HeadCheck::State::complete);
  EXPECT_EQ(done.headEnd, head.size());
  EXPECT_EQ(done.contentLength, 12u);
  EXPECT_FALSE(done.expectContinue);

  const HeadCheck bare = checkHead("GET / HTTP/1.0\n\n", limits());  // lines ended by LF alone
  ASSERT_EQ(bare.state, HeadCheck::State::complete);
  EXPECT_EQ(bare.headEnd, 16u);
  EXPECT_EQ(bare.contentLength, 0u);
}

TEST(FrontHead, RefusesWhatCrossesALimitWithItsOwnStatus) {
  const auto status = [](const std::string& text) {
    const HeadCheck c = checkHead(text, limits());
    return c.state == HeadCheck::State::refused ? c.status : 0;
  };
  const std::string line = "GET /" + std::string(64 - 14, 'a') + " HTTP/1.1";  // 64 bytes
  ASSERT_EQ(line.size(), 64u);
  EXPECT_EQ(status(line + "\r\n\r\n"), 0) << "a line of exactly the limit";
  EXPECT_EQ(status(line + "a\r\n\r\n"), 414);
  EXPECT_EQ(status(line + "aa"), 414) << "known before the line ends";

  std::string four = "GET / HTTP/1.1\r\n";
  for (int i = 0; i < 4; ++i) four += "X-" + std::to_string(i) + ": y\r\n";
  EXPECT_EQ(status(four + "\r\n"), 0);
  EXPECT_EQ(status(four + "X-4: y\r\n\r\n"), 431) << "one header too many";
  EXPECT_EQ(status("GET / HTTP/1.1\r\nX: " + std::string(300, 'v')), 431) << "known before the end";
  EXPECT_EQ(status("GET / HTTP/1.1\r\nX: " + std::string(230, 'v') + "\r\n\r\n"), 0);
  EXPECT_EQ(status("GET / HTTP/1.1\r\nX: " + std::string(240, 'v') + "\r\n\r\n"), 431);

  EXPECT_EQ(status("POST / HTTP/1.1\r\nContent-Length: 1000\r\n\r\n"), 0);
  EXPECT_EQ(status("POST / HTTP/1.1\r\nContent-Length: 1001\r\n\r\n"), 413);
  EXPECT_EQ(status("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"), 411);
  EXPECT_EQ(status("POST / HTTP/1.1\r\nContent-Length: 1\r\ncontent-length: 2\r\n\r\n"), 400);
  EXPECT_EQ(status("POST / HTTP/1.1\r\nContent-Length: 5\r\ncontent-length: 5\r\n\r\n"), 0);
  EXPECT_EQ(status("POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n"), 400);
  EXPECT_EQ(status("POST / HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n"), 400);
  EXPECT_EQ(status("HELLO\r\n\r\n"), 400);
  EXPECT_EQ(status("GET / FTP/1.0\r\n\r\n"), 400);
  EXPECT_EQ(status("GET / HTTP/1.1\r\nno colon\r\n\r\n"), 400);
  EXPECT_EQ(status("GET / HTTP/1.1\r\n: empty name\r\n\r\n"), 400);

  const HeadCheck over = checkHead("POST / HTTP/1.1\r\nContent-Length: 1001\r\n\r\n", limits());
  EXPECT_NE(over.reason.find("limit of 1000 bytes"), std::string::npos) << over.reason;
}

TEST(FrontHead, MarksTheExpectLineSoThatTheFrontAnswersItItself) {
  const std::string text =
      "POST /x HTTP/1.1\r\nExpect: 100-Continue\r\nContent-Length: 3\r\n\r\n";
  const HeadCheck c = checkHead(text, limits());
  ASSERT_EQ(c.state, HeadCheck::State::complete);
  EXPECT_TRUE(c.expectContinue);
  EXPECT_EQ(text.substr(c.expectBegin, c.expectEnd - c.expectBegin), "Expect: 100-Continue\r\n");
}

TEST(FrontAnswer, IsAWholeAnswerThatClosesTheConnection) {
  EXPECT_EQ(frontAnswer(431, "Too many."),
            "HTTP/1.1 431 Request Header Fields Too Large\r\nContent-Type: text/plain; "
            "charset=utf-8\r\nContent-Length: 10\r\nCache-Control: no-store\r\nConnection: "
            "close\r\n\r\nToo many.\n");
  EXPECT_EQ(frontAnswer(408, "").substr(0, 30), "HTTP/1.1 408 Request Timeout\r\n");
}

TEST(Multipart, ReadsPartsWithOrWithoutTheLastLineEnd) {
  const std::string body =
      "preamble\r\n--XyZ\r\nContent-Disposition: form-data; name=\"vmImageName\"\r\n\r\nLogo\r\n"
      "--XyZ\r\ncontent-disposition: form-data; name=\"vmImageFile\"; filename=\"C:\\pics\\a;b.GIF\""
      "\r\nContent-Type: image/gif\r\n\r\nGIF89a--XyZ\r\n--XyZ--";
  for (const std::string& ending : {std::string(), std::string("\r\n")}) {
    const auto parts = parseMultipart(body + ending, "XyZ");
    ASSERT_TRUE(parts.has_value());
    ASSERT_EQ(parts->size(), 2u);
    EXPECT_EQ((*parts)[0].name, "vmImageName");
    EXPECT_FALSE((*parts)[0].filename.has_value());
    EXPECT_EQ((*parts)[0].content, "Logo");
    EXPECT_EQ((*parts)[1].filename, "C:\\pics\\a;b.GIF");
    EXPECT_EQ((*parts)[1].contentType, "image/gif");
    EXPECT_EQ((*parts)[1].content, "GIF89a--XyZ") << "a delimiter counts only after a line end";
  }
  EXPECT_EQ(parseMultipart("--b--", "b")->size(), 0u);
}

TEST(Multipart, RefusesBodiesThatAreNotWellFormed) {
  const std::string part = "--b\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\nx\r\n";
  EXPECT_TRUE(parseMultipart(part + "--b--", "b"));
  EXPECT_FALSE(parseMultipart(part, "b")) << "no closing delimiter";
  EXPECT_FALSE(parseMultipart(part + "--b--", "")) << "no boundary";
  EXPECT_FALSE(parseMultipart(part + "--b--", "c")) << "another boundary";
  EXPECT_FALSE(parseMultipart("--b\r\nContent-Type: text/plain\r\n\r\nx\r\n--b--", "b")) << "no name";
  EXPECT_FALSE(parseMultipart("--b\r\nContent-Disposition: form-data\r\n\r\nx\r\n--b--", "b"));
  EXPECT_FALSE(parseMultipart("--b\r\nno colon\r\n\r\nx\r\n--b--", "b"));
  EXPECT_FALSE(parseMultipart("--b\r\nContent-Disposition: form-data; name=\"a\r\n\r\nx\r\n--b--", "b"));
  EXPECT_FALSE(parseMultipart("--bX\r\n", "b")) << "the delimiter runs on";
  EXPECT_FALSE(parseMultipart("--bXYContent-Disposition: form-data; name=\"a\"\r\n\r\nx\r\n--b--", "b"));
  const std::string longBoundary(201, 'q');
  EXPECT_FALSE(parseMultipart("--" + longBoundary + "--", longBoundary));
  const std::string longest(200, 'q');
  EXPECT_TRUE(parseMultipart("--" + longest + "--", longest));
}

TEST(Multipart, BoundaryComesFromAMultipartFormContentTypeOnly) {
  EXPECT_EQ(multipartBoundary("multipart/form-data; boundary=abc"), "abc");
  EXPECT_EQ(multipartBoundary("Multipart/Form-Data ; charset=utf-8; BOUNDARY=\"a b;c\""), "a b;c");
  EXPECT_EQ(multipartBoundary("multipart/mixed; boundary=abc"), "");
  EXPECT_EQ(multipartBoundary("multipart/form-data"), "");
  EXPECT_EQ(multipartBoundary("text/plain; boundary=abc"), "");
}

TEST(Form, DecodesFieldsInOrderAndKeepsMalformedEscapes) {
  const auto fields = parseUrlEncoded("a=1+2&&b=%41%e9&c&d=%4&e=%zz%&a=second&=v");
  ASSERT_EQ(fields.size(), 7u);
  EXPECT_EQ(fields[0], std::make_pair(std::string("a"), std::string("1 2")));
  EXPECT_EQ(fields[1].second, "A\xe9");
  EXPECT_EQ(fields[2], std::make_pair(std::string("c"), std::string()));
  EXPECT_EQ(fields[3].second, "%4");
  EXPECT_EQ(fields[4].second, "%zz%");
  EXPECT_EQ(fields[6], std::make_pair(std::string(), std::string("v")));
  EXPECT_EQ(parseUrlEncoded("x=%41").at(0).second, "A") << "an escape that ends the text";

  FormFields form;
  form.add(fields);
  EXPECT_EQ(form.get("a"), "1 2") << "the first value counts";
  EXPECT_FALSE(form.has("z"));

  EXPECT_TRUE(isUrlEncodedForm("application/x-www-form-urlencoded"));
  EXPECT_TRUE(isUrlEncodedForm(" Application/X-WWW-Form-Urlencoded ; charset=UTF-8"));
  EXPECT_FALSE(isUrlEncodedForm("application/x-www-form-urlencodedx"));
  EXPECT_FALSE(isUrlEncodedForm("multipart/form-data; boundary=x"));
}

TEST(Form, DocumentNumbersArePositiveWholeNumbers) {
  const auto idOf = [](const std::string& text) {
    FormFields f;
    f.add("vmContentID", text);
    return documentIdOf(f);
  };
  EXPECT_EQ(documentIdOf(FormFields()), std::nullopt);
  EXPECT_EQ(idOf(""), std::nullopt);
  EXPECT_EQ(idOf("   "), std::nullopt);
  EXPECT_EQ(idOf("7"), 7);
  EXPECT_EQ(idOf(" 42 "), 42);
  EXPECT_EQ(idOf("9223372036854775807"), INT64_MAX);
  for (const char* bad : {"0", "-3", "1.5", "12a", "a12", "9223372036854775808", "+4", "0x10"}) {
    try {
      idOf(bad);
      ADD_FAILURE() << bad << " was taken";
    } catch (const RequestError& e) {
      EXPECT_EQ(e.status(), 400);
      EXPECT_NE(std::string(e.what()).find(bad), std::string::npos);
    }
  }
}

TEST(Cookies, ValueOfTheNamedCookieOnly) {
  EXPECT_EQ(SessionStore::cookieValue("a=1; vmSession=abc; b=2", "vmSession"), "abc");
  EXPECT_EQ(SessionStore::cookieValue("vmSession=abc", "vmSession"), "abc");
  EXPECT_EQ(SessionStore::cookieValue("  vmSession =  abc  ;x=1", "vmSession"), "abc");
  EXPECT_EQ(SessionStore::cookieValue("xvmSession=1; vmSessionx=2", "vmSession"), "");
  EXPECT_EQ(SessionStore::cookieValue("vmSession; a=1", "vmSession"), "");
  EXPECT_EQ(SessionStore::cookieValue("a=b=c", "a"), "b=c");
  EXPECT_EQ(SessionStore::cookieValue("a=1;a=2", "a"), "1");
  EXPECT_EQ(SessionStore::cookieValue("", "a"), "");
}

TEST(Host, NameOfTheHostHeader) {
  EXPECT_EQ(hostName("Example.com:8080", "x"), "Example.com");
  EXPECT_EQ(hostName("127.0.0.1", "x"), "127.0.0.1");
  EXPECT_EQ(hostName("[::1]:8080", "x"), "::1");
  EXPECT_EQ(hostName("[::1", "x"), "x");
  EXPECT_EQ(hostName("[\"]", "x"), "x");
  EXPECT_EQ(hostName("", "x"), "x");
  EXPECT_EQ(hostName(":80", "x"), "x");
  EXPECT_EQ(hostName("a\"b", "x"), "x");
  EXPECT_EQ(hostName("evil.com/<script>", "x"), "x");
}

TEST(Origin, NormalisedFromOriginsAndWholeUrls) {
  EXPECT_EQ(originOf("http://127.0.0.1:8080"), "http://127.0.0.1:8080");
  EXPECT_EQ(originOf("HTTP://Example.COM:80/path?q#f"), "http://example.com");
  EXPECT_EQ(originOf("https://example.com:443"), "https://example.com");
  EXPECT_EQ(originOf("https://example.com:80"), "https://example.com:80");
  EXPECT_EQ(originOf("http://[::1]:08080/"), "http://[::1]:8080");
  EXPECT_EQ(originOf("null"), "");
  EXPECT_EQ(originOf("ftp://example.com"), "");
  EXPECT_EQ(originOf("http://user@example.com"), "");
  EXPECT_EQ(originOf("http://:80"), "");
  EXPECT_EQ(originOf("http://a:8x"), "");
}

TEST(Origin, WritesComeFromTheServersOwnPagesOrNamedOnes) {
  std::string reason;
  const std::vector<std::string> none;
  const std::vector<std::string> named{"HTTP://cms.example.com:8000/"};
  EXPECT_TRUE(isSameOriginWrite("", "", "127.0.0.1:8080", none, reason)) << "no browser";
  EXPECT_TRUE(isSameOriginWrite("http://127.0.0.1:8080", "", "127.0.0.1:8080", none, reason));
  EXPECT_TRUE(isSameOriginWrite("", "http://127.0.0.1:8080/?a=1", "127.0.0.1:8080", none, reason));
  EXPECT_TRUE(isSameOriginWrite("http://localhost", "", "LOCALHOST:80", none, reason));
  EXPECT_TRUE(isSameOriginWrite("http://CMS.example.com:8000", "", "127.0.0.1:8080", named, reason));

  EXPECT_FALSE(isSameOriginWrite("http://127.0.0.1:9999", "", "127.0.0.1:8080", none, reason));
  EXPECT_NE(reason.find("Origin http://127.0.0.1:9999"), std::string::npos) << reason;
  EXPECT_FALSE(isSameOriginWrite("http://127.0.0.1:9999", "", "127.0.0.1:8080", named, reason));
  EXPECT_FALSE(isSameOriginWrite("", "http://127.0.0.1:9999/x", "127.0.0.1:8080", none, reason));
  EXPECT_NE(reason.find("Referer http://127.0.0.1:9999/x"), std::string::npos) << reason;
  EXPECT_FALSE(isSameOriginWrite("null", "", "127.0.0.1:8080", none, reason));
  EXPECT_FALSE(isSameOriginWrite("https://127.0.0.1:8080", "", "127.0.0.1:8080", none, reason))
      << "the server speaks plain http only";
  EXPECT_FALSE(isSameOriginWrite("http://127.0.0.1:9999", "http://127.0.0.1:8080/", "127.0.0.1:8080",
                                 none, reason))
      << "the Origin decides when there is one";
  EXPECT_FALSE(isSameOriginWrite("http://127.0.0.1:8080", "", "", none, reason)) << "no Host";
}

TEST(FrontHead, BrotliIsLeftOutOfAcceptEncodingAndNothingElseChanges) {
  const auto rewritten = [](std::string head, const std::string& body = {}) {
    const std::size_t headEnd = head.size();
    head += body;
    leaveOutBrotli(head, headEnd);
    return head;
  };
  EXPECT_EQ(rewritten("GET / HTTP/1.1\r\nHost: x\r\nAccept-Encoding: gzip, deflate, br, zstd\r\nA: b\r\n\r\n"),
            "GET / HTTP/1.1\r\nHost: x\r\nAccept-Encoding: gzip, deflate, zstd\r\nA: b\r\n\r\n");
  EXPECT_EQ(rewritten("GET / HTTP/1.1\r\naccept-encoding:BR;q=1.0,gzip;q=0.5\r\n\r\n"),
            "GET / HTTP/1.1\r\nAccept-Encoding: gzip;q=0.5\r\n\r\n");
  EXPECT_EQ(rewritten("GET / HTTP/1.1\r\nAccept-Encoding: br\r\nHost: x\r\n\r\n"),
            "GET / HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(rewritten("GET / HTTP/1.1\nAccept-Encoding: brotli, br\n\n"),
            "GET / HTTP/1.1\nAccept-Encoding: brotli\r\n\n");
  // Only the head: a body that happens to hold the same words stays as it was.
  const std::string post = "POST /cms/save HTTP/1.1\r\nContent-Length: 25\r\n\r\n";
  EXPECT_EQ(rewritten(post, "Accept-Encoding: br\r\n\r\n"), post + "Accept-Encoding: br\r\n\r\n");
  EXPECT_EQ(rewritten("GET / HTTP/1.1\r\nHost: x\r\n\r\n"), "GET / HTTP/1.1\r\nHost: x\r\n\r\n");
}

TEST(EditorFiles, AcceptEncodingAdmitsGzipUnlessItsQualityIsZero) {
  EXPECT_TRUE(acceptsGzip("gzip, deflate, br"));
  EXPECT_TRUE(acceptsGzip("deflate,GZIP;q=0.5"));
  EXPECT_TRUE(acceptsGzip("*"));
  EXPECT_TRUE(acceptsGzip("x-gzip"));
  EXPECT_FALSE(acceptsGzip(""));
  EXPECT_FALSE(acceptsGzip("identity"));
  EXPECT_FALSE(acceptsGzip("gzip;q=0"));
  EXPECT_FALSE(acceptsGzip("gzip;q=0.000, *"));
  EXPECT_FALSE(acceptsGzip("*, gzip;q=0"));
  EXPECT_FALSE(acceptsGzip("*;q=0"));
  EXPECT_FALSE(acceptsGzip("gzipped"));
}

TEST(EditorFiles, IfNoneMatchComparesTagsWeaklyAndTakesAStar) {
  EXPECT_TRUE(tagMatches("W/\"1a-2b\"", "W/\"1a-2b\""));
  EXPECT_TRUE(tagMatches("\"1a-2b\"", "W/\"1a-2b\""));
  EXPECT_TRUE(tagMatches("\"x\", W/\"1a-2b\"", "W/\"1a-2b\""));
  EXPECT_TRUE(tagMatches("*", "W/\"1a-2b\""));
  EXPECT_FALSE(tagMatches("", "W/\"1a-2b\""));
  EXPECT_FALSE(tagMatches("W/\"1a-2c\"", "W/\"1a-2b\""));
  EXPECT_FALSE(tagMatches("W/\"1a-2b", "W/\"1a-2b\""));
}

TEST(EditorFiles, MediaTypesByName) {
  EXPECT_EQ(editorFileType("vellmar.wasm"), "application/wasm");
  EXPECT_EQ(editorFileType("vellmar.js"), "text/javascript");
  EXPECT_EQ(editorFileType("vellmar.css"), "text/css");
  EXPECT_EQ(editorFileType("vellmar.d.ts"), "text/plain; charset=utf-8");
  EXPECT_EQ(editorFileType("spell/en.aff"), "text/plain; charset=utf-8");
  EXPECT_EQ(editorFileType("README"), "application/octet-stream");
  EXPECT_EQ(editorFileType("a.js.map"), "application/octet-stream");
}

}  // namespace
}  // namespace vellmar::server
