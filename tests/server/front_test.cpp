// The server under attack, on raw sockets: writes from other sites' pages, slow and idle clients,
// half-closed connections, oversized heads and bodies, bursts, and stopping with clients open.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <thread>

#include "server_fixture.h"

namespace vellmar::servertest {
namespace {

using Clock = std::chrono::steady_clock;

std::string post(int port, const std::string& path, const std::string& headers, const std::string& body,
                 const std::string& type = "application/x-www-form-urlencoded") {
  return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" + headers +
         "Content-Type: " + type + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

class Front : public ::testing::Test {
 protected:
  TempDir tmp;
  std::unique_ptr<ServerProcess> server;
  std::string session;
  int port = 0;

  void start(std::vector<std::string> args = {}) {
    server = std::make_unique<ServerProcess>(tmp.path() / "data", std::move(args));
    port = server->port();
    session = demoSession(port);
  }
  std::string cookie() const { return "Cookie: vmSession=" + session + "\r\n"; }
  std::string count(const std::string& table) {
    return sqlite(server->dataDir() / "vellmar.db", "SELECT count(*) FROM " + table);
  }
};

TEST_F(Front, WritesFromAnotherSitesPageAreRefusedAndTheServersOwnAccepted) {
  start({"--allow-origin", "http://127.0.0.1:9"});
  const std::string own = "http://127.0.0.1:" + std::to_string(port);
  const std::string other = "http://127.0.0.1:" + std::to_string(port + 1);
  const std::string versions = count("versions"), images = count("images");
  const std::string image = sqlite(server->dataDir() / "vellmar.db", "SELECT file FROM images LIMIT 1");
  ASSERT_FALSE(image.empty());
  const std::string multipart =
      "--b\r\nContent-Disposition: form-data; name=\"vmImageFile\"; filename=\"x.gif\"\r\n\r\n"
      "GIF89a\x01\0\x01\0\0\0\0;\r\n--b--";

  for (const std::string& from : {"Origin: " + other + "\r\n", "Referer: " + other + "/page.html\r\n",
                                  std::string("Origin: null\r\n")}) {
    for (const std::string& request :
         {post(port, "/cms/save", cookie() + from, "vmContent=%3Cp%3Eforged%3C%2Fp%3E"),
          post(port, "/cms/images/upload", cookie() + from, multipart, "multipart/form-data; boundary=b"),
          post(port, "/cms/images/delete", cookie() + from, "vmImagePath=%2Fmedia%2F" + image)}) {
      const std::string answer = raw(port, request);
      EXPECT_EQ(statusLine(answer), "HTTP/1.1 403 Forbidden") << from << request.substr(0, 30);
      EXPECT_NE(answer.find("comes from another site"), std::string::npos) << answer;
    }
  }
  EXPECT_EQ(count("versions"), versions);
  EXPECT_EQ(count("images"), images);

  // The server's own page, an origin named with --allow-origin, and a client that is no browser.
  for (const std::string& from : {"Origin: " + own + "\r\n", "Referer: " + own + "/\r\n",
                                  std::string("Origin: http://127.0.0.1:9\r\n"), std::string()}) {
    const std::string answer = raw(port, post(port, "/cms/save", cookie() + from, "vmContent=ok"));
    EXPECT_EQ(statusLine(answer), "HTTP/1.1 200 OK") << from << answer;
  }
  EXPECT_EQ(std::stoi(count("versions")), std::stoi(versions) + 4);
  const std::string deleted =
      raw(port, post(port, "/cms/images/delete", cookie() + "Origin: " + own + "\r\n",
                     "vmImagePath=%2Fmedia%2F" + image));
  EXPECT_EQ(statusLine(deleted), "HTTP/1.1 200 OK") << deleted;
}

TEST_F(Front, AClientThatHalfClosesAfterItsRequestGetsItsAnswer) {
  start();
  const std::string got = raw(port, "GET /cms/keepalive HTTP/1.1\r\nHost: x\r\n" + cookie() + "\r\n", true);
  EXPECT_EQ(statusLine(got), "HTTP/1.1 200 OK");
  EXPECT_NE(got.find("Session kept alive"), std::string::npos);

  const std::string saved = raw(port, post(port, "/cms/save", cookie(), "vmContent=half"), true);
  EXPECT_EQ(statusLine(saved), "HTTP/1.1 200 OK") << saved;
  EXPECT_NE(saved.find("<vmContentID>"), std::string::npos);

  // Half a request and then the end: nobody to answer, and the server carries on.
  EXPECT_EQ(raw(port, "GET /cms/keep", true), "");
  EXPECT_EQ(statusLine(raw(port, "GET / HTTP/1.1\r\n\r\n")), "HTTP/1.1 200 OK");
}

TEST_F(Front, SlowAndIdleClientsAreClosedAndOthersKeepTheirPace) {
  start({"--header-seconds", "1.5"});
  // More slow senders than the library has workers, and idle sockets beside them.
  std::vector<int> idle;
  for (int i = 0; i < 40; ++i) idle.push_back(connectTo(port));
  std::atomic<bool> done{false};
  std::atomic<int> slowAnswered{0};
  std::vector<std::thread> slow;
  for (int i = 0; i < 24; ++i) {
    slow.emplace_back([&] {
      const int fd = connectTo(port);
      const std::string request = "GET /cms/keepalive HTTP/1.1\r\nHost: x\r\nX-Pad: " + std::string(200, 'p');
      for (char c : request) {
        if (done || !sendAll(fd, std::string_view(&c, 1))) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
      }
      if (statusLine(readAll(fd)) == "HTTP/1.1 408 Request Timeout") ++slowAnswered;
      ::close(fd);
    });
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(200));

  // Everybody else's requests are answered as usual meanwhile.
  for (int i = 0; i < 10; ++i) {
    const auto begin = Clock::now();
    const Outcome o = sessionExchange(port, session, 0, "/cms/keepalive");
    EXPECT_EQ(o.event, "complete") << o.message;
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(1000)) << "request " << i;
  }

  // The idle ones are told and closed once their time for the headers is over.
  const auto begin = Clock::now();
  for (int fd : idle) {
    EXPECT_EQ(statusLine(readAll(fd)), "HTTP/1.1 408 Request Timeout");
    ::close(fd);
  }
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
  for (auto& t : slow) t.join();
  done = true;
  EXPECT_EQ(slowAnswered, 24);
}

TEST_F(Front, HeadsBeyondTheirBoundsAreRefusedWith431And414) {
  start();
  std::string many = "GET /cms/keepalive HTTP/1.1\r\nHost: x\r\n" + cookie();
  for (int i = 0; i < 200; ++i) many += "X-" + std::to_string(i) + ": y\r\n";
  EXPECT_EQ(statusLine(raw(port, many + "\r\n")), "HTTP/1.1 431 Request Header Fields Too Large");

  // A header that never ends is refused as soon as it passes the bound, not when it ends.
  const int fd = connectTo(port);
  sendAll(fd, "GET / HTTP/1.1\r\nX-Big: ");
  std::string answer;
  for (int i = 0; i < 64 && answer.empty(); ++i) {
    if (!sendAll(fd, std::string(16384, 'h'))) break;
    char buf[4096];
    const ssize_t n = ::recv(fd, buf, sizeof(buf), MSG_DONTWAIT);
    if (n > 0) answer.assign(buf, static_cast<std::size_t>(n));
  }
  answer += readAll(fd);
  ::close(fd);
  EXPECT_EQ(statusLine(answer), "HTTP/1.1 431 Request Header Fields Too Large");

  EXPECT_EQ(statusLine(raw(port, "GET /" + std::string(9000, 'a') + " HTTP/1.1\r\n\r\n")),
            "HTTP/1.1 414 URI Too Long");
  EXPECT_EQ(statusLine(raw(port, "POST /cms/save HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n")),
            "HTTP/1.1 411 Length Required");
  EXPECT_EQ(statusLine(raw(port, "GET /cms/keepalive HTTP/1.1\r\n" + cookie() + "\r\n")), "HTTP/1.1 200 OK");
}

TEST_F(Front, RefusedBodiesGetTheirAnswerInsteadOfAReset) {
  // The server reads bodies up to the largest upload (2 MB) and a megabyte more.
  start({"--max-document", "100000"});
  // No session: refused after the body has been read.
  const std::string refused = raw(port, post(port, "/cms/save", "", "vmContent=" + std::string(2 << 20, 'a')));
  EXPECT_EQ(statusLine(refused), "HTTP/1.1 403 Forbidden");
  EXPECT_NE(refused.find("needs a session"), std::string::npos);

  // Larger than the server reads at all: refused after the head, the rest read and dropped.
  const std::string body = "vmContent=" + std::string(8 << 20, 'a');
  const int fd = connectTo(port);
  const std::string head = "POST /cms/save HTTP/1.1\r\nHost: x\r\n" + cookie() +
                           "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                           std::to_string(body.size()) + "\r\n\r\n";
  EXPECT_TRUE(sendAll(fd, head + body)) << "the server reads what the client sends";
  const std::string tooLarge = readAll(fd);
  ::close(fd);
  EXPECT_EQ(statusLine(tooLarge), "HTTP/1.1 413 Payload Too Large");
  EXPECT_NE(tooLarge.find("larger than the server's limit"), std::string::npos);

  // A client that asks first is told to go on.
  const int asking = connectTo(port);
  sendAll(asking, "POST /cms/save HTTP/1.1\r\nHost: x\r\n" + cookie() +
                      "Expect: 100-continue\r\nContent-Type: application/x-www-form-urlencoded\r\n"
                      "Content-Length: 12\r\n\r\n");
  char buf[64];
  const ssize_t n = ::recv(asking, buf, sizeof(buf), 0);
  EXPECT_EQ(std::string(buf, static_cast<std::size_t>(std::max<ssize_t>(n, 0))), "HTTP/1.1 100 Continue\r\n\r\n");
  sendAll(asking, "vmContent=go");
  EXPECT_EQ(statusLine(readAll(asking)), "HTTP/1.1 200 OK");
  ::close(asking);
}

TEST_F(Front, ABurstOf64SavesIsAllStoredAndAllAnswered) {
  start();
  const std::string before = count("versions");
  std::mutex mutex;
  std::condition_variable go;
  bool started = false;
  std::atomic<int> answered{0};
  std::vector<std::thread> savers;
  for (int i = 0; i < 64; ++i) {
    savers.emplace_back([&, i] {
      {
        std::unique_lock lock(mutex);
        go.wait(lock, [&] { return started; });
      }
      const Outcome o = sessionExchange(port, session, 1, "/cms/save", [&](auto& r) {
        r.addFormVariable("vmContent", 0, "<p>burst " + std::to_string(i) + "</p>");
      });
      if (o.event == "complete" && o.body.find("<vmContentID>") != std::string::npos) ++answered;
    });
  }
  {
    std::lock_guard lock(mutex);
    started = true;
  }
  go.notify_all();
  for (auto& t : savers) t.join();
  EXPECT_EQ(answered, 64);
  EXPECT_EQ(std::stoi(count("versions")), std::stoi(before) + 64);
}

TEST_F(Front, StopsWithinTwoSecondsWithSlowClientsOpen) {
  start();
  std::vector<int> slow;
  for (int i = 0; i < 20; ++i) {
    slow.push_back(connectTo(port));
    sendAll(slow.back(), i % 2 ? "GET /cms/keepalive HTTP/1.1\r\nHost:" : "POST /cms/save HTTP/1.1\r\n"
                                                                         "Content-Length: 1000\r\n\r\nvm");
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  const auto begin = Clock::now();
  EXPECT_EQ(server->stop(), 0);
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
  for (int fd : slow) ::close(fd);
}

TEST_F(Front, DocumentsOpenedDirectlyRunNothing) {
  start();
  const std::string answer =
      raw(port, "GET /cms/content HTTP/1.1\r\nHost: x\r\n" + cookie() + "\r\n");
  EXPECT_EQ(statusLine(answer), "HTTP/1.1 200 OK");
  EXPECT_NE(answer.find("\r\nContent-Security-Policy: sandbox\r\n"), std::string::npos) << answer.substr(0, 400);
}

}  // namespace
}  // namespace vellmar::servertest
