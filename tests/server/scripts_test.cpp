// The document, style sheet, keep-alive and list scripts, and the session rule, exercised with the
// editor's own client against the real server.
#include <gtest/gtest.h>

#include <thread>

#include "http/server_exchange.h"
#include "server_fixture.h"
#include "xml/simple_dom.h"

namespace vellmar::servertest {
namespace {

std::unique_ptr<xml::SimpleElement> parse(const std::string& body) {
  return xml::SimpleDOMParser().Parse(http::prepareXmlText(body));
}

class Scripts : public ::testing::Test {
 protected:
  TempDir tmp;
  std::unique_ptr<ServerProcess> server;
  std::string session;

  void SetUp() override {
    server = std::make_unique<ServerProcess>(tmp.path() / "data");
    session = demoSession(server->port());
    ASSERT_EQ(session.size(), 32u);
  }

  Outcome get(const std::string& path,
              const std::function<void(http::ctlHttpRequest&)>& add = {}) {
    return sessionExchange(server->port(), session, 0, path, add);
  }
  Outcome save(const std::string& text, const std::string& id = "") {
    return sessionExchange(server->port(), session, 1, "/cms/save", [&](http::ctlHttpRequest& r) {
      if (!id.empty()) r.addUrlVariable("vmContentID", id);
      r.addFormVariable("vmContent", 0, text);
    });
  }
  std::string savedId(const Outcome& o) {
    EXPECT_EQ(o.event, "complete") << o.message << o.body;
    auto root = parse(o.body);
    if (!root) return {};
    EXPECT_EQ(root->name, "vmContentID");
    return root->Text;
  }
};

TEST_F(Scripts, DemoPageHandsOutAFreshSessionOnEveryVisit) {
  std::string page;
  const std::string again = demoSession(server->port(), &page);
  EXPECT_NE(page.find("value=\"vmSession\""), std::string::npos);
  EXPECT_NE(page.find("value=\"" + std::to_string(server->port()) + "\""), std::string::npos);
  EXPECT_NE(page.find("value=\"2097152\""), std::string::npos);
  EXPECT_NE(again, session) << "a visitor without a cookie gets a session of their own";

  // A live token planted in a browser (here: somebody else's) is not taken over by the page: the
  // visitor gets a new one, and the planted one ends, so whoever planted it holds nothing.
  const Outcome o = exchange(server->port(), 0, "/", [&](http::ctlHttpRequest& r) {
    r.addCookieVariable("vmSession", session);
  });
  ASSERT_EQ(o.event, "complete");
  EXPECT_EQ(o.body.find(session), std::string::npos);
  EXPECT_EQ(sessionExchange(server->port(), session, 0, "/cms/keepalive").message,
            "HTTP Error: HTTP/1.1 403 Forbidden");
  EXPECT_EQ(sessionExchange(server->port(), again, 0, "/cms/keepalive").event, "complete")
      << "other visitors keep theirs";
}

TEST_F(Scripts, EveryScriptRefusesRequestsWithoutALiveSession) {
  for (const char* path : {"/cms/content", "/cms/styles.css", "/cms/keepalive", "/cms/images/list",
                           "/cms/links", "/cms/emaillinks"}) {
    for (const std::string& cookie : {std::string(), std::string("0123456789abcdef0123456789abcdef")}) {
      const Outcome o = sessionExchange(server->port(), cookie, 0, path);
      EXPECT_EQ(o.event, "parseError") << path;
      EXPECT_EQ(o.message, "HTTP Error: HTTP/1.1 403 Forbidden") << path;
      EXPECT_NE(o.body.find("session"), std::string::npos) << o.body;
    }
  }
  const Outcome post = sessionExchange(server->port(), "", 1, "/cms/save", [](auto& r) {
    r.addFormVariable("vmContent", 0, "<p>intruder</p>");
  });
  EXPECT_EQ(post.message, "HTTP Error: HTTP/1.1 403 Forbidden");
  EXPECT_EQ(sqlite(server->dataDir() / "vellmar.db",
                   "SELECT count(*) FROM versions WHERE body LIKE '%intruder%'"),
            "0");
}

TEST_F(Scripts, ContentIsAWholePageWithItsOwnStyling) {
  const Outcome o = get("/cms/content");
  ASSERT_EQ(o.event, "complete") << o.message;
  EXPECT_NE(o.body.find("<head>"), std::string::npos);
  EXPECT_NE(o.body.find("<style"), std::string::npos);
  EXPECT_NE(o.body.find("<link rel=\"stylesheet\""), std::string::npos);
  EXPECT_NE(o.body.find("<body class=\"site-page\" style=\""), std::string::npos);
  EXPECT_NE(o.body.find("Welcome to Vellmar"), std::string::npos);
  EXPECT_NE(o.body.find("class=\"headline\""), std::string::npos);

  EXPECT_EQ(get("/cms/content", [](auto& r) { r.addUrlVariable("vmContentID", "999"); }).message,
            "HTTP Error: /cms/content was not found.");
  const Outcome bad = get("/cms/content", [](auto& r) { r.addUrlVariable("vmContentID", "1x"); });
  EXPECT_EQ(bad.message, "HTTP Error: HTTP/1.1 400 Bad Request");
  EXPECT_NE(bad.body.find("vmContentID"), std::string::npos);
}

TEST_F(Scripts, SaveCreatesADocumentThenAddsVersionsThatReadBack) {
  const std::string id = savedId(save("<p>First draft</p>"));
  ASSERT_FALSE(id.empty());
  EXPECT_NE(id, "1") << "the sample document keeps its own number";

  // Text leaves the editor as UTF-8 and comes back as the same text.
  const std::string second = "<p>Caf\xC3\xA9 & \"quotes\" + 100%</p>";
  EXPECT_EQ(savedId(save(second, id)), id);
  const Outcome read = get("/cms/content", [&](auto& r) { r.addUrlVariable("vmContentID", id); });
  ASSERT_EQ(read.event, "complete");
  EXPECT_NE(read.body.find(second), std::string::npos) << read.body;
  EXPECT_EQ(read.body.find("First draft"), std::string::npos);
  EXPECT_EQ(sqlite(server->dataDir() / "vellmar.db",
                   "SELECT count(*) FROM versions WHERE document_id = " + id),
            "2");

  EXPECT_EQ(save("<p>x</p>", "4242").message, "HTTP Error: /cms/save was not found.");
  const Outcome missing = sessionExchange(server->port(), session, 1, "/cms/save");
  EXPECT_EQ(missing.message, "HTTP Error: HTTP/1.1 400 Bad Request");
  EXPECT_NE(missing.body.find("vmContent"), std::string::npos);
}

TEST_F(Scripts, StyleSheetHasClassElementAndPseudoClassRulesOnCrLfLines) {
  const Outcome o = get("/cms/styles.css");
  ASSERT_EQ(o.event, "complete");
  EXPECT_NE(o.body.find("\r\n.headline {"), std::string::npos);
  EXPECT_NE(o.body.find("\r\nbody {"), std::string::npos);
  EXPECT_NE(o.body.find("a:hover {"), std::string::npos);
  EXPECT_NE(o.body.find("\r\n.button:hover {"), std::string::npos);
  for (std::size_t at = o.body.find('\n'); at != std::string::npos; at = o.body.find('\n', at + 1))
    EXPECT_EQ(o.body[at - 1], '\r') << "line ends in CR LF";
}

TEST_F(Scripts, ListsParseToTheirDocumentedShape) {
  auto images = parse(get("/cms/images/list").body);
  ASSERT_TRUE(images);
  ASSERT_EQ(images->ChildElements().Count(), 3);
  const char* fields[] = {"vmImageName", "vmImageSize", "vmImageWidth", "vmImageHeight",
                          "vmImagePath"};
  for (int i = 0; i < 3; ++i) {
    const auto* image = images->ChildElements().Item(i);
    ASSERT_EQ(image->ChildElements().Count(), 5);
    for (int f = 0; f < 5; ++f) EXPECT_EQ(image->ChildElements().Item(f)->name, fields[f]);
    const std::string path = image->ChildElements().Item(4)->Text;
    // The path is what the editor previews: the server serves the bytes the record describes.
    const Outcome file = get(path);
    ASSERT_EQ(file.event, "complete") << path;
    EXPECT_EQ(std::to_string(file.body.size()), image->ChildElements().Item(1)->Text);
  }

  for (const auto& [path, second] : {std::pair<std::string, std::string>{"/cms/links", "url"},
                                     {"/cms/emaillinks", "email"}}) {
    auto links = parse(get(path).body);
    ASSERT_TRUE(links) << path;
    ASSERT_GE(links->ChildElements().Count(), 3);
    for (int i = 0; i < links->ChildElements().Count(); ++i) {
      const auto* link = links->ChildElements().Item(i);
      ASSERT_GE(link->ChildElements().Count(), 2);
      EXPECT_FALSE(link->ChildElements().Item(0)->Text.empty());
      EXPECT_EQ(link->ChildElements().Item(1)->name, second);
      if (second == "email") {
        EXPECT_NE(link->ChildElements().Item(1)->Text.find('@'), std::string::npos);
      }
    }
  }
}

TEST(Sessions, LapseWithoutRequestsAndKeepAliveKeepsThem) {
  TempDir tmp;
  // 0.05 minutes: three seconds.
  ServerProcess server(tmp.path() / "data", {"--session-minutes", "0.05"});
  const std::string kept = demoSession(server.port());
  const std::string idle = demoSession(server.port());
  for (int i = 0; i < 5; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(900));
    ASSERT_EQ(sessionExchange(server.port(), kept, 0, "/cms/keepalive").event, "complete");
  }
  EXPECT_EQ(sessionExchange(server.port(), kept, 0, "/cms/links").event, "complete");
  const Outcome lapsed = sessionExchange(server.port(), idle, 0, "/cms/links");
  EXPECT_EQ(lapsed.message, "HTTP Error: HTTP/1.1 403 Forbidden");
  EXPECT_NE(lapsed.body.find("ended"), std::string::npos) << lapsed.body;
}

TEST(Sessions, SurviveARestart) {
  TempDir tmp;
  std::string session;
  {
    ServerProcess first(tmp.path() / "data");
    session = demoSession(first.port());
    EXPECT_EQ(first.stop(), 0) << "SIGTERM stops the server cleanly";
  }
  ServerProcess second(tmp.path() / "data");
  EXPECT_EQ(sessionExchange(second.port(), session, 0, "/cms/keepalive").event, "complete");
  // Seeding happens once: the restart added no second sample document or image.
  EXPECT_EQ(sqlite(tmp.path() / "data" / "vellmar.db",
                   "SELECT (SELECT count(*) FROM documents) || ',' || (SELECT count(*) FROM images)"),
            "1,3");
}

TEST(Options, BadValuesAreRefusedAtStart) {
  TempDir tmp;
  for (const std::vector<std::string>& extra :
       {std::vector<std::string>{"--session-minutes", "0"}, {"--max-upload", "-5"},
        {"--max-upload", "lots"}, {"--session-minutes"}}) {
    EXPECT_THROW(ServerProcess(tmp.path() / "data", extra), std::runtime_error) << extra[0];
  }
}

}  // namespace
}  // namespace vellmar::servertest
