#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "common/diagnostics.h"
#include "http/http_request.h"
#include "http/request_composer.h"
#include "platform/native/poll_loop.h"

namespace vellmar::http {
namespace {

const UserAgentVersion kVersion{2, 1, 273};
constexpr const char* kAgent = "User-Agent: Korvath HTTP Control (2.1.273)\r\n";

struct Client {
  native::PollLoop loop;
  ctlHttpRequest request{loop};
  Client() { request.setUserAgentVersion(kVersion); }
  std::string compose(int method, const std::string& host, const std::string& path, int port) {
    return request.composeRequest(method, host, path, port).text;
  }
};

// Text of several scripts, one character of each UTF-8 width among them.
const std::string kSample = "5 \u20AC \u2014 \u201Cquoted\u201D \u2014 \u4E2D\u6587 \u2014 "
                            "\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC \u2014 \U0001F600";
const std::string kSampleEncoded =
    "5%20%E2%82%AC%20%E2%80%94%20%E2%80%9Cquoted%E2%80%9D%20%E2%80%94%20%E4%B8%AD%E6%96%87%20"
    "%E2%80%94%20%CE%95%CE%BB%CE%BB%CE%B7%CE%BD%CE%B9%CE%BA%CE%AC%20%E2%80%94%20%F0%9F%98%80";

TEST(UrlEncode, KeepsUnreservedAndEncodesEveryOtherUtf8Byte) {
  EXPECT_EQ(urlEncode("AZaz09*-._"), "AZaz09*-._");
  EXPECT_EQ(urlEncode("a b+c~d&e=f/"), "a%20b%2Bc%7Ed%26e%3Df%2F");
  EXPECT_EQ(urlEncode("caf\xC3\xA9"), "caf%C3%A9");
  EXPECT_EQ(urlEncode(kSample), kSampleEncoded);  // nothing above 255 is dropped
  EXPECT_EQ(urlEncode(std::string("\0\r\n", 3)), "%00%0D%0A");
  // The top of each byte range is kept, not cut off: y with diaeresis, and a lone 0xFF byte.
  EXPECT_EQ(urlEncode("\xC3\xBF"), "%C3%BF");
  EXPECT_EQ(urlEncode("\xFF"), "%FF");
}

TEST(Composition, EveryPartOfARequestCarriesUtf8Whole) {
  Client c;
  c.request.addCookieVariable("n\u00E4me", kSample);
  c.request.addUrlVariable("q", kSample);
  c.request.addFormVariable("vmContent", kindText, "<p>" + kSample + "</p>");
  const OutgoingRequest post = c.request.composeRequest(1, "h", "/s", 80);
  EXPECT_EQ(post.target, "/s?q=" + kSampleEncoded);
  EXPECT_NE(post.text.find("\r\nCookie: n%C3%A4me=" + kSampleEncoded + "\r\n"), std::string::npos);
  EXPECT_EQ(post.body(), "vmContent=%3Cp%3E" + kSampleEncoded + "%3C%2Fp%3E");
  // A transport that sets cookies itself gets them encoded as the Cookie line has them.
  ASSERT_EQ(post.cookies.size(), 1u);
  EXPECT_EQ(post.cookies[0].name, "n%C3%A4me");
  EXPECT_EQ(post.cookies[0].value, kSampleEncoded);

  // Multipart parts carry the text as it is.
  const std::string multipart =
      buildMultipartRequest(c.request.variables(), "h", "/up", kVersion, makeBoundary());
  EXPECT_NE(multipart.find("\r\n\r\n<p>" + kSample + "</p>\r\n"), std::string::npos);
}

TEST(Composition, GetRequestMatchesTheWireFormByteForByte) {
  Client c;
  EXPECT_EQ(c.compose(0, "server1", "images/my list.xml", 80),
            "GET /images/my%20list.xml HTTP/1.1\r\nCache-Control: no-cache\r\nHost: server1\r\n"
            "User-Agent: Korvath HTTP Control (2.1.273)\r\nConnection: Close\r\n\r\n");
  EXPECT_EQ(normalizePath("images/my list.xml"), "/images/my%20list.xml");
  EXPECT_EQ(normalizePath("/a%20b/c d"), "/a%20b/c%20d");
  EXPECT_EQ(normalizePath(""), "/");
}

TEST(Composition, HostHeaderCarriesThePortOnlyForPostsOffPort80) {
  Client c;
  EXPECT_NE(c.compose(0, "h", "/", 8080).find("\r\nHost: h\r\n"), std::string::npos);
  EXPECT_NE(c.compose(1, "h", "/", 8080).find("\r\nHost: h:8080\r\n"), std::string::npos);
  EXPECT_NE(c.compose(1, "h", "/", 80).find("\r\nHost: h\r\n"), std::string::npos);
}

TEST(Composition, QueryAndCookieStringsSkipEntriesWithoutName) {
  Client c;
  c.request.addUrlVariable("a b", "x&y");
  c.request.addUrlVariable("", "ignored");
  c.request.addUrlVariable("e", "");
  c.request.addCookieVariable("sid", "1");
  c.request.addCookieVariable("", "x");
  c.request.addCookieVariable("lang", "en");
  const std::string text = c.compose(0, "h", "/p", 80);
  EXPECT_EQ(text.substr(0, text.find("\r\n")), "GET /p?a%20b=x%26y&e= HTTP/1.1");
  EXPECT_NE(text.find("\r\nCookie: sid=1; lang=en\r\n"), std::string::npos);
  const auto cookies = c.request.composeRequest(0, "h", "/p", 80).cookies;
  ASSERT_EQ(cookies.size(), 2u);
  EXPECT_EQ(cookies[1].name + "=" + cookies[1].value, "lang=en");

  Client bare;
  bare.request.addUrlVariable("", "only");
  const std::string plain = bare.compose(0, "h", "/p", 80);
  EXPECT_EQ(plain.find("Cookie:"), std::string::npos);
  EXPECT_EQ(plain.substr(0, plain.find("\r\n")), "GET /p HTTP/1.1");
}

TEST(Composition, FormPostHeadersInOrderAndEncodedBody) {
  Client c;
  c.request.addCookieVariable("sid", "1");
  c.request.addUrlVariable("site", "7");
  c.request.addFormVariable("vmContent", kindText, "<p>a b</p>");
  c.request.addFormVariable("", kindText, "skipped");
  c.request.addFormVariable("n", kindText, "");
  const std::string body = "vmContent=%3Cp%3Ea%20b%3C%2Fp%3E&n=";
  EXPECT_EQ(c.compose(1, "srv", "save.asp", 8080),
            "POST /save.asp?site=7 HTTP/1.1\r\nCache-Control: no-cache\r\nCookie: sid=1\r\n"
            "Host: srv:8080\r\n" +
                std::string(kAgent) +
                "Content-Type: application/x-www-form-urlencoded\r\nContent-length: " +
                std::to_string(body.size()) + "\r\nConnection: Close\r\n\r\n" + body);

  Client empty;
  const std::string text = empty.compose(1, "srv", "/s", 80);
  EXPECT_NE(text.find("\r\nContent-length: 0\r\n"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 4), "\r\n\r\n");
}

TEST(Composition, FiveMegabyteFieldIsCountedInFull) {
  Client c;
  c.request.addFormVariable("vmContent", kindText, std::string(5 * 1024 * 1024, 'a'));
  const OutgoingRequest r = c.request.composeRequest(1, "h", "/save", 80);
  EXPECT_NE(r.text.find("Content-length: 5242890\r\n"), std::string::npos);
  EXPECT_EQ(r.body().size(), 5242890u);
  EXPECT_EQ(r.body().substr(0, 10), "vmContent=");
}

class TempFile {
 public:
  TempFile(const std::string& name, const std::string& bytes)
      : path_(std::filesystem::temp_directory_path() / name) {
    std::ofstream(path_, std::ios::binary) << bytes;
  }
  ~TempFile() { std::filesystem::remove(path_); }
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

TEST(Composition, MultipartCarriesFilesUnchangedAndEndsWithTheClosingDelimiter) {
  const std::string bytes("GIF89a\0\r\n\xFF\xFE--x", 15);
  TempFile file("vellmar test Logo.GIF", bytes);
  Client c;
  c.request.addCookieVariable("sid", "1");
  c.request.addFormVariable("vmImageName", kindText, "logo");
  c.request.addFormVariable("vmImageFile", kindFile, file.path());
  const OutgoingRequest r = c.request.composeRequest(1, "h", "/up", 8080);

  const std::regex boundaryLine("boundary=(-{29}[0-9A-Za-z]{20})\r\n");
  std::smatch m;
  ASSERT_TRUE(std::regex_search(r.text, m, boundaryLine));
  const std::string b = m[1];
  const std::string body = "--" + b + "\r\nContent-Disposition: form-data; name=\"vmImageName\"\r\n\r\n" +
                           "logo\r\n--" + b +
                           "\r\nContent-Disposition: form-data; name=\"vmImageFile\"; filename=\"" +
                           file.path() + "\"\r\nContent-Type: image/GIF\r\n\r\n" + bytes + "\r\n--" +
                           b + "--";
  EXPECT_EQ(r.text, "POST /up HTTP/1.1\r\nAccept-Language: en-us\r\n"
                    "Content-Type: multipart/form-data; boundary=" + b + "\r\n" + kAgent +
                        "Host: h:8080\r\nContent-Length: " + std::to_string(body.size()) +
                        "\r\nConnection: Close\r\nCache-Control: no-cache\r\nCookie: sid=1\r\n\r\n" +
                        body);
  EXPECT_EQ(r.body(), body);
  EXPECT_EQ(r.contentType, "multipart/form-data; boundary=" + b);
}

TEST(Composition, MultipartWithoutEntriesHasNoLengthAndNoBody) {
  RequestVariables none;
  const std::string text = buildMultipartRequest(none, "h", "/up", kVersion, makeBoundary());
  EXPECT_EQ(text.find("Content-Length"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 4), "\r\n\r\n");
}

TEST(Composition, FileWithoutDotNamesTheWholePathAsExtension) {
  TempFile file("vellmarnodot", "x");
  RequestVariables vars;
  vars.form.push_back({"f", kindFile, file.path()});
  const std::string text = buildMultipartRequest(vars, "h", "/", kVersion, makeBoundary());
  EXPECT_NE(text.find("Content-Type: image/" + file.path() + "\r\n"), std::string::npos);
}

TEST(Composition, AFileReaderStandsInForTheFileSystem) {
  // As the page's build keeps a picked image: its bytes under the name of its form part.
  setFileReader([](const std::string& path) -> std::string {
    if (path != "/tmp/dot.png") throw ProcedureError(53, "File not found: " + path);
    return std::string("\x89PNG\0bytes", 10);
  });
  RequestVariables vars;
  vars.form.push_back({"vmImageFile", kindFile, "/tmp/dot.png"});
  const std::string text = buildMultipartRequest(vars, "h", "/", kVersion, makeBoundary());
  EXPECT_NE(text.find("Content-Type: image/png\r\n\r\n" + std::string("\x89PNG\0bytes", 10) + "\r\n"),
            std::string::npos);
  vars.form[0].value = "/tmp/other.png";
  EXPECT_THROW(buildMultipartRequest(vars, "h", "/", kVersion, makeBoundary()), ProcedureError);
  // Back to the files themselves.
  setFileReader({});
  TempFile file("vellmarreader.gif", "GIF89a");
  vars.form[0].value = file.path();
  EXPECT_NE(buildMultipartRequest(vars, "h", "/", kVersion, makeBoundary()).find("GIF89a"), std::string::npos);
}

TEST(Composition, BoundaryIs29HyphensAnd20LettersOrDigits) {
  const std::regex shape("-{29}[0-9A-Za-z]{20}");
  const std::string first = makeBoundary();
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(std::regex_match(makeBoundary(), shape));
  EXPECT_NE(first, makeBoundary());
}

TEST(Composition, UnreadableFileFailsBeforeAnythingIsSent) {
  Client c;
  c.request.addFormVariable("vmImageFile", kindFile, "/nonexistent/vellmar/x.gif");
  try {
    c.request.http(1, "127.0.0.1", "/up", 30, 9);
    FAIL() << "expected a failure";
  } catch (const ProcedureError& e) {
    EXPECT_EQ(e.number(), 53);
  }
  EXPECT_EQ(c.request.socketState(), SocketState::closed);
}

TEST(Composition, VersionComesFromTheBuild) {
  native::PollLoop loop;
  ctlHttpRequest request(loop);
  const UserAgentVersion v = buildVersion();
  const std::string text = request.composeRequest(0, "h", "/", 80).text;
  EXPECT_NE(text.find(userAgentLine(v)), std::string::npos);
}

}  // namespace
}  // namespace vellmar::http
