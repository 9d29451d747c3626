// The client over real TCP sockets on the poll loop, against a scripted peer on the loopback.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "http/http_request.h"
#include "loopback_server.h"
#include "platform/native/poll_loop.h"

namespace vellmar::http {
namespace {

using testing::LoopbackServer;
using testing::Script;
using Clock = std::chrono::steady_clock;
using Events = std::vector<std::string>;

class Exchange {
 public:
  Exchange() {
    request.setUserAgentVersion({2, 1, 273});
    request.events.started = [this] { events.push_back("started"); };
    request.events.canceled = [this] { events.push_back("canceled"); };
    request.events.error = [this](int n, const std::string& d) {
      events.push_back("error " + std::to_string(n) + " " + d);
      ended = true;
    };
    request.events.complete = [this](const std::string& b) {
      events.push_back("complete");
      body = b;
      ended = true;
    };
    request.events.parseError = [this](int n, const std::string& m, const std::string& t) {
      events.push_back("parseError " + std::to_string(n) + " " + m);
      body = t;
      ended = true;
    };
    request.events.timeout = [this] {
      events.push_back("timeout");
      ended = true;
    };
  }

  // Runs the loop until an ending event or `limit` has passed.
  void run(std::chrono::milliseconds limit = std::chrono::milliseconds(10000)) {
    const auto deadline = Clock::now() + limit;
    while (!ended && Clock::now() < deadline) loop.runOnce(std::chrono::milliseconds(20));
  }

  native::PollLoop loop;
  ctlHttpRequest request{loop};
  Events events;
  std::string body;
  bool ended = false;
};

std::string answer(const std::string& status, const std::string& headers, const std::string& body) {
  return "HTTP/1.1 " + status + "\r\n" + headers + "\r\n" + body;
}

TEST(Loopback, GetIsSentAsComposedAndAChunkedAnswerCompletes) {
  LoopbackServer server({{answer("200 OK", "Transfer-Encoding: chunked\r\n",
                                 "5\r\nHello\r\n6;ext=1\r\n World\r\n0\r\n\r\n")}});
  Exchange x;
  x.request.http(0, "127.0.0.1", "images/my list.xml", 30, server.port());
  x.run();
  EXPECT_EQ(x.events, (Events{"started", "complete"}));
  EXPECT_EQ(x.body, "Hello World");
  EXPECT_EQ(server.received(),
            "GET /images/my%20list.xml HTTP/1.1\r\nCache-Control: no-cache\r\nHost: 127.0.0.1\r\n"
            "User-Agent: Korvath HTTP Control (2.1.273)\r\nConnection: Close\r\n\r\n");
}

TEST(Loopback, AnswerArrivingInSmallPiecesIsReassembled) {
  const std::string whole = answer("200 OK", "Content-length: 10\r\n", "0123456789trailing");
  Script script;
  for (char c : whole) script.pieces.emplace_back(1, c);
  script.gap = std::chrono::milliseconds(1);
  LoopbackServer server(script);
  Exchange x;
  x.request.http(0, "127.0.0.1", "/", 30, server.port());
  x.run();
  EXPECT_EQ(x.events, (Events{"started", "complete"}));
  EXPECT_EQ(x.body, "0123456789");
}

TEST(Loopback, ContinueBlocksAndLengthSpellings) {
  struct Case {
    std::string reply;
    std::string body;
  };
  const std::vector<Case> cases = {
      {"HTTP/1.1 100 Continue\r\n\r\n" + answer("200 OK", "Content-length: 2\r\n", "okmore"), "ok"},
      {answer("200 OK", "Content-length: 5\r\n", "HelloWorld"), "Hello"},
      {answer("200 OK", "Content-Length: 5\r\n", "HelloWorld"), "HelloWorld"},
      {"HTTP/1.0 200 OK\r\n\r\nold", "old"},
  };
  for (const auto& c : cases) {
    LoopbackServer server({{c.reply}});
    Exchange x;
    x.request.http(0, "127.0.0.1", "/", 30, server.port());
    x.run();
    EXPECT_EQ(x.events, (Events{"started", "complete"})) << c.reply;
    EXPECT_EQ(x.body, c.body);
  }
}

TEST(Loopback, StatusAndVersionFailuresAreParseErrors) {
  struct Case {
    std::string reply;
    std::string event;
    std::string text;
  };
  const std::vector<Case> cases = {
      {answer("404 Not Found", "", "missing"), "parseError 2 HTTP Error: /lists/images.xml was not found.",
       "missing"},
      {answer("302 Found", "Location: /elsewhere\r\n", ""), "parseError 2 HTTP Error: HTTP/1.1 302 Found",
       ""},
      {"HTTP/2 200\r\n\r\nx",
       "parseError 1 The response returned by the server used a version of HTTP unsupported by the "
       "HTTP control.  The version was HTTP/2",
       "HTTP/2 200\r\n\r\nx"},
      {"",
       "parseError 1 The response returned by the server used a version of HTTP unsupported by the "
       "HTTP control.  The version was ",
       ""},
  };
  for (const auto& c : cases) {
    LoopbackServer server(Script{c.reply.empty() ? std::vector<std::string>{}
                                                 : std::vector<std::string>{c.reply}});
    Exchange x;
    x.request.http(0, "127.0.0.1", "/lists/images.xml", 30, server.port());
    x.run();
    EXPECT_EQ(x.events, (Events{"started", c.event}));
    EXPECT_EQ(x.body, c.text);
    EXPECT_TRUE(x.request.requestFailed());
  }
}

TEST(Loopback, AnAnswerCutShortByTheServersCloseIsAParseError) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {answer("200 OK", "Content-Length: 100\r\n", "<p>half"),
       "only 7 of the 100 bytes its Content-Length announced arrived"},
      {answer("200 OK", "Transfer-Encoding: chunked\r\n", "7\r\n<p>half\r\n"),
       "its chunked body ended before the last chunk"},
  };
  for (const auto& [reply, detail] : cases) {
    LoopbackServer server({{reply}});
    Exchange x;
    x.request.http(0, "127.0.0.1", "/doc", 30, server.port());
    x.run();
    EXPECT_EQ(x.events, (Events{"started", "parseError 2 HTTP Error: The answer from /doc was cut short: " +
                                               detail + "."}));
    EXPECT_EQ(x.body, "<p>half");
  }
}

TEST(Loopback, AServerThatStreamsWithoutEndIsStoppedAtTheDefaultBound) {
  Script endless;
  endless.pieces.push_back("HTTP/1.1 200 OK\r\n\r\n");
  endless.pieces.resize(1 + 65, std::string(std::size_t{1} << 20, 'x'));  // 65 MB and holding on
  endless.end = Script::End::hold;
  LoopbackServer server(endless);
  Exchange x;
  x.request.http(0, "127.0.0.1", "/stream", 30, server.port());
  x.run(std::chrono::seconds(30));
  EXPECT_EQ(x.events, (Events{"started",
                              "error 7 The answer from /stream is larger than 67108864 bytes, the "
                              "most the HTTP client holds; the request was stopped."}));
  EXPECT_EQ(x.request.socketState(), SocketState::closed);
  EXPECT_LT(x.request.responseBuffer().capacity(), 64u) << "the 64 MB are given back";
}

TEST(Loopback, ResetAndRefusedConnectionsRaiseTheSystemError) {
  Script reset;
  reset.pieces = {"HTTP/1.1 200 OK\r\n"};
  reset.end = Script::End::reset;
  {
    LoopbackServer server(reset);
    Exchange x;
    x.request.http(0, "127.0.0.1", "/", 30, server.port());
    x.run();
    EXPECT_EQ(x.events, (Events{"started", "error 104 Connection reset by peer"}));
  }
  Exchange x;
  x.request.http(0, "127.0.0.1", "/", 30, testing::closedLoopbackPort());
  x.run();
  EXPECT_EQ(x.events, Events{"error 111 Connection refused"});
}

TEST(Loopback, PortsRunUpTo65535) {
  // Nobody listens on the top port, so the connection is refused; it is not an invalid port.
  Exchange top;
  top.request.http(0, "127.0.0.1", "/", 30, 65535);
  top.run();
  ASSERT_FALSE(top.events.empty());
  EXPECT_EQ(top.events.back().find("error 22 "), std::string::npos) << top.events.back();
  Exchange beyond;
  beyond.request.http(0, "127.0.0.1", "/", 30, 65536);
  beyond.run();
  ASSERT_FALSE(beyond.events.empty());
  EXPECT_EQ(beyond.events.back().rfind("error 22 ", 0), 0u) << beyond.events.back();
}

TEST(Loopback, ServerThatNeverClosesTimesOutAfterTheGivenSeconds) {
  Script hold;
  hold.pieces = {"HTTP/1.1 200 OK\r\n\r\npartial"};
  hold.end = Script::End::hold;
  LoopbackServer server(hold);
  Exchange x;
  const auto start = Clock::now();
  x.request.http(0, "127.0.0.1", "/", 2, server.port());
  x.run();
  const auto took = Clock::now() - start;
  EXPECT_EQ(x.events, (Events{"started", "timeout"}));
  EXPECT_GE(took, std::chrono::milliseconds(1900));
  EXPECT_LT(took, std::chrono::milliseconds(4000));
  EXPECT_EQ(x.request.socketState(), SocketState::closed);
}

TEST(Loopback, WithoutTimeLimitOnlyCancelEndsAHeldRequest) {
  Script hold;
  hold.pieces = {"HTTP/1.1 200 OK\r\n\r\npartial"};
  hold.end = Script::End::hold;
  LoopbackServer server(hold);
  Exchange x;
  x.request.http(0, "127.0.0.1", "/", 0, server.port());
  x.run(std::chrono::milliseconds(1500));
  EXPECT_EQ(x.events, Events{"started"});
  x.request.Cancel();
  x.request.Cancel();
  EXPECT_EQ(x.events, (Events{"started", "canceled"}));
  x.run(std::chrono::milliseconds(300));
  EXPECT_EQ(x.events, (Events{"started", "canceled"}));
}

TEST(Loopback, CancelWhileConnectingRaisesCanceledAndNothingElse) {
  Script hold;
  hold.end = Script::End::hold;
  LoopbackServer server(hold);
  Exchange x;
  x.request.http(0, "127.0.0.1", "/", 30, server.port());
  x.request.Cancel();
  x.run(std::chrono::milliseconds(300));
  EXPECT_EQ(x.events, Events{"canceled"});
}

TEST(Loopback, LargeFormPostArrivesWhole) {
  LoopbackServer server({{answer("200 OK", "", "saved")}});
  Exchange x;
  x.request.addFormVariable("vmContent", kindText, std::string(5 * 1024 * 1024, 'x'));
  x.request.http(1, "127.0.0.1", "/save", 30, server.port());
  x.run();
  EXPECT_EQ(x.events, (Events{"started", "complete"}));
  EXPECT_EQ(x.body, "saved");
  EXPECT_EQ(server.received(), x.request.requestText());
}

TEST(Loopback, AnInstanceCarriesOneRequestAfterAnother) {
  Exchange x;
  for (const std::string word : {"first", "second"}) {
    LoopbackServer server({{answer("200 OK", "", word)}});
    x.ended = false;
    x.request.reset();
    x.request.http(0, "127.0.0.1", "/", 30, server.port());
    x.run();
    EXPECT_EQ(x.body, word);
  }
  EXPECT_EQ(x.events, (Events{"started", "complete", "started", "complete"}));
}

}  // namespace
}  // namespace vellmar::http
