// The request state machine against a transport and a timer the test drives by hand.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "http/http_request.h"

namespace vellmar::http {
namespace {

class FakeTransport final : public Transport {
 public:
  explicit FakeTransport(TransportListener& l) : listener(l) {}
  void connect(const std::string& h, int p) override {
    host = h, port = p, state_ = SocketState::connecting;
    ++connects;
  }
  void send(const OutgoingRequest& request) override {
    sent.push_back(request.text);
    cookies = request.cookies;
  }
  void close() override {
    state_ = SocketState::closed;
    ++closes;
  }
  SocketState state() const override { return state_; }

  // The loop's side.
  void connected() { state_ = SocketState::connected, listener.transportConnected(); }
  void data(const std::string& bytes) { listener.transportData(bytes); }
  void peerClosed() { state_ = SocketState::closing, listener.transportClosed(); }
  void failed(int n, const std::string& d) { state_ = SocketState::error, listener.transportError(n, d); }

  TransportListener& listener;
  SocketState state_ = SocketState::closed;
  std::string host;
  int port = 0;
  int connects = 0;
  int closes = 0;
  std::vector<std::string> sent;
  std::vector<NameValue> cookies;
};

class FakeTimer final : public Timer {
 public:
  explicit FakeTimer(std::function<void()> t) : tick(std::move(t)) {}
  void setEnabled(bool e) override { on = e; }
  bool enabled() const override { return on; }
  std::function<void()> tick;
  bool on = false;
};

class FakeLoop final : public EventLoop {
 public:
  std::unique_ptr<Transport> createTransport(TransportListener& l) override {
    auto t = std::make_unique<FakeTransport>(l);
    transport = t.get();
    return t;
  }
  std::unique_ptr<Timer> createTimer(std::chrono::milliseconds interval,
                                     std::function<void()> tick) override {
    EXPECT_EQ(interval.count(), 1000);
    auto t = std::make_unique<FakeTimer>(std::move(tick));
    timer = t.get();
    return t;
  }
  // Fires the timer once if it is enabled, the way the loop would after a second.
  void second() {
    if (timer->on) timer->tick();
  }
  FakeTransport* transport = nullptr;
  FakeTimer* timer = nullptr;
};

struct Recorder {
  std::vector<std::string> events;
  void attach(ctlHttpRequest& r) {
    r.events.started = [this] { events.push_back("started"); };
    r.events.canceled = [this] { events.push_back("canceled"); };
    r.events.error = [this](int n, const std::string& d) {
      events.push_back("error " + std::to_string(n) + " " + d);
    };
    r.events.complete = [this](const std::string& body) { events.push_back("complete " + body); };
    r.events.parseError = [this](int n, const std::string& m, const std::string& t) {
      events.push_back("parseError " + std::to_string(n) + " " + m + " | " + t);
    };
    r.events.timeout = [this] { events.push_back("timeout"); };
  }
};

using Events = std::vector<std::string>;

class Lifecycle : public ::testing::Test {
 protected:
  Lifecycle() { rec.attach(request); }
  FakeLoop loop;
  ctlHttpRequest request{loop};
  Recorder rec;
  FakeTransport& net() { return *loop.transport; }
};

TEST_F(Lifecycle, StartedFiresOnConnectThenTheRequestIsSentOnce) {
  request.http(0, "h", "/a", 30, 8080);
  EXPECT_EQ(net().host, "h");
  EXPECT_EQ(net().port, 8080);
  EXPECT_TRUE(rec.events.empty());
  net().connected();
  EXPECT_EQ(rec.events, Events{"started"});
  ASSERT_EQ(net().sent.size(), 1u);
  EXPECT_EQ(net().sent[0], request.requestText());
  net().data("HTTP/1.1 200 OK\r\n\r\nhel");
  net().data("lo");
  net().peerClosed();
  EXPECT_EQ(rec.events, (Events{"started", "complete hello"}));
  EXPECT_FALSE(loop.timer->on);
  EXPECT_EQ(request.state(), ctlHttpRequest::RequestState::finished);
}

TEST_F(Lifecycle, TimeoutFiresAfterExactlyTheGivenTicks) {
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  for (int i = 0; i < 29; ++i) loop.second();
  EXPECT_EQ(rec.events, Events{"started"});
  loop.second();
  EXPECT_EQ(rec.events, (Events{"started", "timeout"}));
  EXPECT_TRUE(request.requestFailed());
  EXPECT_EQ(net().state(), SocketState::closed);
  for (int i = 0; i < 5; ++i) loop.second();
  EXPECT_EQ(rec.events.size(), 2u);
}

TEST_F(Lifecycle, AOneSecondLimitFiresOnTheFirstTick) {
  request.http(0, "h", "/a", 1, 80);
  EXPECT_TRUE(loop.timer->on);
  net().connected();
  loop.second();
  EXPECT_EQ(rec.events, (Events{"started", "timeout"}));
}

TEST_F(Lifecycle, NoTimeLimitBelowOneSecond) {
  for (int limit : {0, -5}) {
    request.http(0, "h", "/a", limit, 80);
    EXPECT_FALSE(loop.timer->on);
  }
}

TEST_F(Lifecycle, SecondHttpRestartsTheCountAndTheConnection) {
  request.http(0, "h", "/a", 3, 80);
  loop.second();
  loop.second();
  request.http(0, "h", "/b", 3, 80);
  EXPECT_EQ(net().connects, 2);
  loop.second();
  loop.second();
  EXPECT_TRUE(rec.events.empty());
  loop.second();
  EXPECT_EQ(rec.events, Events{"timeout"});
}

TEST_F(Lifecycle, CancelRaisesCanceledOnlyWhenAConnectionIsOpenOrPending) {
  request.Cancel();
  EXPECT_TRUE(rec.events.empty());

  request.http(0, "h", "/a", 30, 80);
  request.Cancel();
  EXPECT_EQ(rec.events, Events{"canceled"});
  EXPECT_FALSE(loop.timer->on);
  request.Cancel();
  EXPECT_EQ(rec.events, Events{"canceled"});

  rec.events.clear();
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  request.Cancel();
  EXPECT_EQ(rec.events, (Events{"started", "canceled"}));
  EXPECT_FALSE(request.requestFailed());
}

TEST_F(Lifecycle, ErrorLeavesTheSocketToTheCallerAndStopsTheClock) {
  request.http(0, "h", "/a", 30, 80);
  net().failed(111, "Connection refused");
  EXPECT_EQ(rec.events, Events{"error 111 Connection refused"});
  EXPECT_FALSE(loop.timer->on);
  EXPECT_FALSE(request.requestFailed());
  EXPECT_EQ(net().closes, 1);  // only the close that starts every request
}

TEST_F(Lifecycle, AFailedRequestSuppressesCompleteUntilReset) {
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  net().data("HTTP/1.1 500 Internal Server Error\r\n\r\nboom");
  net().peerClosed();
  EXPECT_EQ(rec.events.back(), "parseError 2 HTTP Error: HTTP/1.1 500 Internal Server Error | boom");

  rec.events.clear();
  request.http(0, "h", "/a", 30, 80);  // no reset in between
  net().connected();
  net().data("HTTP/1.1 200 OK\r\n\r\nfine");
  net().peerClosed();
  EXPECT_EQ(rec.events, Events{"started"});

  rec.events.clear();
  request.reset();
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  net().data("HTTP/1.1 200 OK\r\n\r\nfine");
  net().peerClosed();
  EXPECT_EQ(rec.events, (Events{"started", "complete fine"}));
}

TEST_F(Lifecycle, DataOutsideAnOpenConnectionIsNotRead) {
  request.http(0, "h", "/a", 30, 80);
  net().data("early");
  net().connected();
  net().data("HTTP/1.1 200 OK\r\n\r\nx");
  EXPECT_EQ(request.responseBuffer(), "HTTP/1.1 200 OK\r\n\r\nx");
}

TEST_F(Lifecycle, ParsedAnswersMapOntoTheSameEvents) {
  request.http(0, "h", "lists/images.xml", 30, 80);
  net().connected();
  net().listener.transportAnswer({404, "Not Found", "nothing"});
  EXPECT_EQ(rec.events.back(),
            "parseError 2 HTTP Error: /lists/images.xml was not found. | nothing");

  request.reset();
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  net().listener.transportAnswer({503, "Service Unavailable", "later"});
  EXPECT_EQ(rec.events.back(), "parseError 2 HTTP Error: HTTP/1.1 503 Service Unavailable | later");

  request.reset();
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  net().listener.transportAnswer({200, "OK", "<list/>"});
  EXPECT_EQ(rec.events.back(), "complete <list/>");
}

TEST_F(Lifecycle, ARedirectOrACutOffBodyNeverCompletes) {
  // A transport that does not follow redirects reports one without its status.
  request.http(0, "h", "/doc", 30, 80);
  net().connected();
  ParsedAnswer redirect;
  redirect.redirected = true;
  net().listener.transportAnswer(redirect);
  EXPECT_EQ(rec.events.back(),
            "parseError 2 HTTP Error: /doc answered with a redirect, which is not followed. | ");
  EXPECT_TRUE(request.requestFailed());

  request.reset();
  request.http(0, "h", "/doc", 30, 80);
  net().connected();
  ParsedAnswer cut{200, "OK", "<p>half"};
  cut.cutShort = true;
  net().listener.transportAnswer(cut);
  EXPECT_EQ(rec.events.back(),
            "parseError 2 HTTP Error: The answer from /doc was cut short: the connection ended "
            "before the whole body arrived. | <p>half");

  // The same over a raw connection that closes early.
  request.reset();
  request.http(0, "h", "/doc", 30, 80);
  net().connected();
  net().data("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<p>half");
  net().peerClosed();
  EXPECT_EQ(rec.events.back(),
            "parseError 2 HTTP Error: The answer from /doc was cut short: only 7 of the 100 bytes "
            "its Content-Length announced arrived. | <p>half");
}

TEST_F(Lifecycle, AnswersAreReadByTheirCharset) {
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  net().data("HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=windows-1252\r\n\r\ncaf\xE9 \x80");
  net().peerClosed();
  EXPECT_EQ(rec.events.back(), "complete caf\u00E9 \u20AC");

  request.reset();
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  ParsedAnswer parsed{200, "OK", "caf\xE9"};
  parsed.contentType = "text/plain; charset=iso-8859-1";
  net().listener.transportAnswer(parsed);
  EXPECT_EQ(rec.events.back(), "complete caf\u00E9");

  request.reset();
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  net().listener.transportAnswer({500, "Error", "caf\xC3\xA9 \xFF"});
  EXPECT_EQ(rec.events.back(), "parseError 2 HTTP Error: HTTP/1.1 500 Error | caf\u00E9 \uFFFD");
}

TEST_F(Lifecycle, AnAnswerBeyondTheBoundStopsTheRequestWithAnError) {
  EXPECT_EQ(request.maxAnswerBytes(), 64u * 1024 * 1024);
  request.setMaxAnswerBytes(100);
  request.http(0, "h", "/endless", 30, 80);
  net().connected();
  net().data("HTTP/1.1 200 OK\r\n\r\n" + std::string(60, 'x'));
  net().data(std::string(21, 'x'));  // exactly 100 bytes so far
  EXPECT_EQ(rec.events.size(), 1u);
  net().data("y");
  EXPECT_EQ(rec.events.back(),
            "error 7 The answer from /endless is larger than 100 bytes, the most the HTTP client "
            "holds; the request was stopped.");
  EXPECT_EQ(net().state(), SocketState::closed);
  EXPECT_FALSE(loop.timer->on);
  EXPECT_TRUE(request.responseBuffer().empty());
}

TEST_F(Lifecycle, TheTransportGetsTheCookiesEncoded) {
  request.addCookieVariable("vmSession", "a b");
  request.addCookieVariable("", "skipped");
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  ASSERT_EQ(net().cookies.size(), 1u);
  EXPECT_EQ(net().cookies[0].name, "vmSession");
  EXPECT_EQ(net().cookies[0].value, "a%20b");
}

TEST_F(Lifecycle, HandlersMayCancelOrRestartFromInsideStarted) {
  request.events.started = [this] { request.Cancel(); };
  request.http(0, "h", "/a", 30, 80);
  net().connected();
  EXPECT_TRUE(net().sent.empty());
}

TEST(LifecycleOwnership, AHandlerMayDestroyTheRequest) {
  FakeLoop loop;
  auto request = std::make_unique<ctlHttpRequest>(loop);
  bool completed = false;
  request->events.started = [&] {};
  request->events.complete = [&](const std::string&) {
    completed = true;
    request.reset();
  };
  request->http(0, "h", "/a", 30, 80);
  FakeTransport& net = *loop.transport;
  net.connected();
  net.data("HTTP/1.1 200 OK\r\n\r\n");
  net.peerClosed();
  EXPECT_TRUE(completed);
  EXPECT_EQ(request, nullptr);
}

}  // namespace
}  // namespace vellmar::http
