// An acknowledged save is never lost: the server is killed with SIGKILL in the middle of a burst
// of saves, restarted on the same data folder, and every save it answered is found again.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <sstream>

#include "http/server_exchange.h"
#include "server_fixture.h"
#include "xml/simple_dom.h"

namespace vellmar::servertest {
namespace {

// Several saves in flight at once on one poll loop, as several editors would send them.
class SaveBurst {
 public:
  SaveBurst(native::PollLoop& loop, int port, std::string session, std::string versionedId)
      : loop_(loop), port_(port), session_(std::move(session)), versionedId_(std::move(versionedId)) {}

  struct Ack {
    std::string body;
    std::string id;
    bool newDocument;
  };

  // Starts `clients` senders; after `killAfter` acknowledgements `onThreshold` runs once.
  void run(int clients, std::size_t killAfter, const std::function<void()>& onThreshold) {
    for (int c = 0; c < clients; ++c) {
      clients_.push_back(std::make_unique<http::ctlHttpRequest>(loop_));
      sendNext(c);
    }
    loop_.runUntil([&] {
      if (!fired_ && acks.size() >= killAfter) {
        fired_ = true;
        onThreshold();
      }
      return fired_ && inFlight_ == 0;
    });
  }

  std::vector<Ack> acks;
  std::size_t failures = 0;

 private:
  void sendNext(int c) {
    if (fired_) return;
    auto& r = *clients_[static_cast<std::size_t>(c)];
    const bool fresh = c % 2 == 0;
    std::ostringstream body;
    body << "<p>burst " << c << " " << counter_++ << "</p>";
    const std::string text = body.str();
    r.reset();
    r.addCookieVariable("vmSession", session_);
    if (!fresh) r.addUrlVariable("vmContentID", versionedId_);
    r.addFormVariable("vmContent", 0, text);
    r.events.complete = [this, c, text, fresh](const std::string& answer) {
      --inFlight_;
      auto root = xml::SimpleDOMParser().Parse(http::prepareXmlText(answer));
      if (root && root->name == "vmContentID") acks.push_back({text, root->Text, fresh});
      sendNext(c);
    };
    auto failed = [this] {
      --inFlight_;
      ++failures;
    };
    r.events.error = [failed](int, const std::string&) { failed(); };
    r.events.parseError = [failed](int, const std::string&, const std::string&) { failed(); };
    r.events.timeout = failed;
    ++inFlight_;
    r.http(1, "127.0.0.1", "/cms/save", 20, port_);
  }

  native::PollLoop& loop_;
  int port_;
  std::string session_;
  std::string versionedId_;
  std::vector<std::unique_ptr<http::ctlHttpRequest>> clients_;
  int counter_ = 0;
  int inFlight_ = 0;
  bool fired_ = false;
};

TEST(Durability, EveryAcknowledgedSaveSurvivesSigkill) {
  TempDir tmp;
  const auto data = tmp.path() / "data";
  auto server = std::make_unique<ServerProcess>(data);
  const std::string session = demoSession(server->port());
  const Outcome first = sessionExchange(server->port(), session, 1, "/cms/save", [](auto& r) {
    r.addFormVariable("vmContent", 0, "<p>versioned</p>");
  });
  auto root = xml::SimpleDOMParser().Parse(http::prepareXmlText(first.body));
  ASSERT_TRUE(root);
  const std::string versionedId = root->Text;

  native::PollLoop loop;
  SaveBurst burst(loop, server->port(), session, versionedId);
  burst.run(8, 150, [&] { server->kill(); });
  ASSERT_GE(burst.acks.size(), 150u);

  server = std::make_unique<ServerProcess>(data);
  EXPECT_EQ(sqlite(data / "vellmar.db", "PRAGMA integrity_check"), "ok");

  std::set<std::string> stored;
  {
    std::istringstream lines(
        sqlite(data / "vellmar.db", "SELECT body FROM versions WHERE body LIKE '<p>burst %'"));
    for (std::string line; std::getline(lines, line);) stored.insert(line);
  }
  std::size_t checkedOverHttp = 0;
  for (const auto& ack : burst.acks) {
    EXPECT_TRUE(stored.count(ack.body)) << "acknowledged but lost: " << ack.body;
    if (ack.newDocument && checkedOverHttp < 20) {
      ++checkedOverHttp;
      const Outcome read = sessionExchange(server->port(), session, 0, "/cms/content",
                                           [&](auto& r) { r.addUrlVariable("vmContentID", ack.id); });
      EXPECT_NE(read.body.find(ack.body), std::string::npos) << ack.id;
    } else if (!ack.newDocument) {
      EXPECT_EQ(ack.id, versionedId);
    }
  }
  // The versioned document reads back as its newest version, which is one of the saves.
  const Outcome latest = sessionExchange(server->port(), session, 0, "/cms/content",
                                         [&](auto& r) { r.addUrlVariable("vmContentID", versionedId); });
  EXPECT_NE(latest.body.find("<p>burst "), std::string::npos);
}

}  // namespace
}  // namespace vellmar::servertest
