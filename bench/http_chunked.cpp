// Reading a chunked answer: the client over a loopback socket and the response reader alone, each
// at 1x and 8x the size (8x is 50 MB). Linear reading shows a time ratio near 8.
#include <arpa/inet.h>
#include <malloc.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "http/http_request.h"
#include "http/response_reader.h"
#include "platform/native/poll_loop.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string chunkedAnswer(std::size_t bodySize) {
  const std::size_t chunk = 8000;  // a typical server chunk
  std::string out = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  out.reserve(bodySize + bodySize / chunk * 10 + 64);
  std::size_t written = 0;
  char size[32];
  while (written < bodySize) {
    const std::size_t n = std::min(chunk, bodySize - written);
    std::snprintf(size, sizeof size, "%zx;ext=1\r\n", n);
    out += size;
    out.append(n, static_cast<char>('a' + written % 26));
    out += "\r\n";
    written += n;
  }
  out += "0\r\n\r\n";
  return out;
}

// Both sizes start from a cold cache, so that the small one does not run from cache alone.
void evictCaches() {
  static std::string scratch(64u * 1000 * 1000, 'x');
  for (std::size_t i = 0; i < scratch.size(); i += 64) scratch[i] = static_cast<char>(scratch[i] + 1);
}

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

double timeParse(const std::string& answer, std::size_t expected) {
  evictCaches();
  const auto start = Clock::now();
  const auto parsed = vellmar::http::parseResponse(answer, "/bench");
  const double t = seconds(Clock::now() - start);
  if (parsed.body.size() != expected) std::fprintf(stderr, "wrong body size\n");
  return t;
}

double timeExchange(const std::string& answer, std::size_t expected) {
  const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
  ::listen(listener, 1);
  socklen_t len = sizeof addr;
  ::getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len);

  std::thread server([&] {
    const int fd = ::accept(listener, nullptr, nullptr);
    char buf[4096];
    std::string request;
    while (request.find("\r\n\r\n") == std::string::npos) {
      const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
      if (n <= 0) break;
      request.append(buf, static_cast<std::size_t>(n));
    }
    std::size_t sent = 0;
    while (sent < answer.size()) {
      const ssize_t n = ::send(fd, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
      if (n <= 0) break;
      sent += static_cast<std::size_t>(n);
    }
    ::close(fd);
  });

  vellmar::native::PollLoop loop;
  vellmar::http::ctlHttpRequest request(loop);
  std::size_t got = 0;
  bool ended = false;
  request.events.complete = [&](const std::string& body) {
    got = body.size();
    ended = true;
  };
  request.events.error = [&](int, const std::string&) { ended = true; };
  request.events.parseError = [&](int, const std::string&, const std::string&) { ended = true; };
  const auto start = Clock::now();
  request.http(0, "127.0.0.1", "/bench", 0, ntohs(addr.sin_port));
  loop.runUntil([&] { return ended; });
  const double t = seconds(Clock::now() - start);
  server.join();
  ::close(listener);
  if (got != expected) std::fprintf(stderr, "wrong body size %zu\n", got);
  return t;
}

template <class F>
double best(F f) {
  double b = 1e9;
  for (int i = 0; i < 5; ++i) b = std::min(b, f());
  return b;
}

}  // namespace

int main() {
  // Keep large blocks on the heap and keep freed memory: otherwise only the 50 MB buffers are
  // mapped afresh (and page-faulted) on every round, and the ratio measures the allocator.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  const std::size_t large = 50u * 1000 * 1000;
  const std::size_t small = large / 8;
  const std::string a1 = chunkedAnswer(small);
  const std::string a8 = chunkedAnswer(large);

  const double p1 = best([&] { return timeParse(a1, small); });
  const double p8 = best([&] { return timeParse(a8, large); });
  std::printf("parseResponse   %6.1f MB: %8.4f s   %6.1f MB: %8.4f s   ratio 8x/1x = %.2f\n",
              small / 1e6, p1, large / 1e6, p8, p8 / p1);
  std::printf("parseResponse   %.2f ns/byte at 1x, %.2f ns/byte at 8x\n", p1 * 1e9 / small,
              p8 * 1e9 / large);

  const double e1 = best([&] { return timeExchange(a1, small); });
  const double e8 = best([&] { return timeExchange(a8, large); });
  std::printf("loopback fetch  %6.1f MB: %8.4f s   %6.1f MB: %8.4f s   ratio 8x/1x = %.2f\n",
              small / 1e6, e1, large / 1e6, e8, e8 / e1);
  std::printf("loopback throughput at 50 MB: %.0f MB/s\n", large / 1e6 / e8);
  return 0;
}
