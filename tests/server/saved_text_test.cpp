// What a person saves comes back: text of every script exactly as it was sent, through the
// editor's client and through `vellmar fetch`; and the demo page reopens the saved document.
#include <gtest/gtest.h>

#include "http/server_exchange.h"
#include "server_fixture.h"
#include "xml/simple_dom.h"

namespace vellmar::servertest {
namespace {

const std::string kSample = "5 \u20AC \u2014 \u201Cquoted\u201D \u2014 \u4E2D\u6587 \u2014 "
                            "\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC \u2014 \U0001F600";

// One exchange that also keeps the head of the answer (status line and headers).
struct Answer {
  Outcome outcome;
  std::string head;
};

Answer withHead(int port, int method, const std::string& path,
                const std::function<void(http::ctlHttpRequest&)>& prepare) {
  native::PollLoop loop;
  http::ctlHttpRequest request(loop);
  Answer a;
  bool done = false;
  const auto keepHead = [&] {
    const std::string& raw = request.responseBuffer();
    a.head = raw.substr(0, raw.find("\r\n\r\n") + 2);
    done = true;
  };
  request.events.complete = [&](const std::string& body) {
    a.outcome = {"complete", body, "", 0};
    keepHead();
  };
  request.events.parseError = [&](int n, const std::string& m, const std::string& t) {
    a.outcome = {"parseError", t, m, n};
    keepHead();
  };
  request.events.error = [&](int n, const std::string& d) {
    a.outcome = {"error", "", d, n};
    done = true;
  };
  request.events.timeout = [&] { done = true; };
  if (prepare) prepare(request);
  request.http(method, "127.0.0.1", path, 20, port);
  loop.runUntil([&] { return done; });
  return a;
}

std::string savedId(const Outcome& o) {
  const auto root = xml::SimpleDOMParser().Parse(http::prepareXmlText(o.body));
  return root && root->name == "vmContentID" ? root->Text : std::string();
}

std::string paramValue(const std::string& page, const std::string& name) {
  const std::string key = "<param name=\"" + name + "\" value=\"";
  const auto at = page.find(key);
  if (at == std::string::npos) return "(missing)";
  return page.substr(at + key.size(), page.find('"', at + key.size()) - at - key.size());
}

class SavedText : public ::testing::Test {
 protected:
  TempDir tmp;
  ServerProcess server{tmp.path() / "data"};
  std::string session = demoSession(server.port());

  Answer request(int method, const std::string& path,
                 const std::function<void(http::ctlHttpRequest&)>& add = {}) {
    return withHead(server.port(), method, path, [&](http::ctlHttpRequest& r) {
      r.addCookieVariable("vmSession", session);
      if (add) add(r);
    });
  }
};

TEST_F(SavedText, TextOfEveryScriptIsStoredAndServedAsUtf8) {
  const std::string document = "<p>" + kSample + "</p>";
  const Answer saved = request(1, "/cms/save", [&](auto& r) { r.addFormVariable("vmContent", 0, document); });
  const std::string id = savedId(saved.outcome);
  ASSERT_FALSE(id.empty()) << saved.outcome.message << saved.outcome.body;
  EXPECT_NE(saved.head.find("Content-Type: text/xml; charset=utf-8\r\n"), std::string::npos) << saved.head;
  EXPECT_EQ(sqlite(server.dataDir() / "vellmar.db",
                   "SELECT hex(body) = hex(CAST('" + document + "' AS BLOB)) FROM versions WHERE "
                   "document_id = " + id),
            "1");

  const Answer read = request(0, "/cms/content", [&](auto& r) { r.addUrlVariable("vmContentID", id); });
  ASSERT_EQ(read.outcome.event, "complete") << read.outcome.message;
  EXPECT_NE(read.head.find("Content-Type: text/html; charset=utf-8\r\n"), std::string::npos) << read.head;
  EXPECT_NE(read.outcome.body.find("\r\n" + document + "\r\n"), std::string::npos) << read.outcome.body;
  EXPECT_NE(request(0, "/cms/styles.css").head.find("charset=utf-8"), std::string::npos);

  // Bytes that are not UTF-8 are refused rather than stored and served as replacement characters.
  const Answer latin1 = request(1, "/cms/save", [&](auto& r) {
    r.addUrlVariable("vmContentID", id);
    r.addFormVariable("vmContent", 0, "<p>caf\xE9</p>");
  });
  EXPECT_EQ(latin1.outcome.message, "HTTP Error: HTTP/1.1 400 Bad Request");
  EXPECT_NE(latin1.outcome.body.find("UTF-8"), std::string::npos);
  EXPECT_EQ(sqlite(server.dataDir() / "vellmar.db", "SELECT count(*) FROM versions WHERE document_id = " + id),
            "1");
}

TEST_F(SavedText, VellmarFetchSavesAndReadsBackTheSameText) {
  const std::string port = std::to_string(server.port());
  const CliRun save = runCli({"fetch", "--post", "--host", "127.0.0.1", "--port", port, "--path",
                              "/cms/save", "--cookie", "vmSession=" + session, "--form",
                              "vmContent=<p>" + kSample + "</p>"});
  ASSERT_EQ(save.status, 0) << save.out << save.err;
  const std::string id = savedId({"complete", save.out.substr(save.out.find('\n') + 1), "", 0});
  ASSERT_FALSE(id.empty()) << save.out;

  const CliRun read = runCli({"fetch", "--host", "127.0.0.1", "--port", port, "--path",
                              "/cms/content", "--cookie", "vmSession=" + session, "--url",
                              "vmContentID=" + id});
  ASSERT_EQ(read.status, 0) << read.out;
  EXPECT_NE(read.out.find("\r\n<p>" + kSample + "</p>\r\n"), std::string::npos) << read.out;
}

TEST_F(SavedText, TheDemoPageReopensTheDocumentThisBrowserSavedLast) {
  std::string page;
  demoSession(server.port(), &page);
  EXPECT_EQ(paramValue(page, "ContentID"), "") << "a first visit opens the sample document";

  const Answer saved =
      request(1, "/cms/save", [&](auto& r) { r.addFormVariable("vmContent", 0, "<p>mine</p>"); });
  const std::string id = savedId(saved.outcome);
  ASSERT_FALSE(id.empty());
  EXPECT_NE(saved.head.find("Set-Cookie: vmDocument=" + id + "; Path=/;"), std::string::npos) << saved.head;

  // The browser comes back with that cookie: the page opens the document, whose latest version
  // the content script serves.
  // Each visit hands out a new session and ends the one the browser brought.
  const auto reload = [&](const std::string& document) {
    Answer page = withHead(server.port(), 0, "/", [&](http::ctlHttpRequest& r) {
      r.addCookieVariable("vmSession", session);
      r.addCookieVariable("vmDocument", document);
    });
    session = paramValue(page.outcome.body, "CookieValue1");
    return page;
  };
  EXPECT_EQ(paramValue(reload(id).outcome.body, "ContentID"), id);
  const Answer again = request(1, "/cms/save", [&](auto& r) {
    r.addUrlVariable("vmContentID", id);
    r.addFormVariable("vmContent", 0, "<p>mine, second version</p>");
  });
  EXPECT_EQ(savedId(again.outcome), id);
  const Answer latest = request(0, "/cms/content", [&](auto& r) { r.addUrlVariable("vmContentID", id); });
  EXPECT_NE(latest.outcome.body.find("<p>mine, second version</p>"), std::string::npos);

  // A cookie naming no stored document (or no number) opens the sample.
  EXPECT_EQ(paramValue(reload("999").outcome.body, "ContentID"), "");
  EXPECT_EQ(paramValue(reload("abc").outcome.body, "ContentID"), "");
}

}  // namespace
}  // namespace vellmar::servertest
