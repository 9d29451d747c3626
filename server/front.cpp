#include "server/front.h"
#include "server/text.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <list>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace vellmar::server {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto npos = std::string_view::npos;

// How long a refused client may go on sending before its connection is closed.
constexpr std::chrono::milliseconds kDrainTime{2000};
// The longest a relay waits for a slow reader to take the next piece of an answer.
constexpr int kSendTimeoutSeconds = 20;

const char* reasonPhrase(int status) {
  switch (status) {
    case 400: return "Bad Request";
    case 408: return "Request Timeout";
    case 411: return "Length Required";
    case 413: return "Payload Too Large";
    case 414: return "URI Too Long";
    case 431: return "Request Header Fields Too Large";
    case 502: return "Bad Gateway";
    case 503: return "Service Unavailable";
    default: return "Error";
  }
}

void closeFd(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

void setNonBlocking(int fd, bool on) {
  const int flags = ::fcntl(fd, F_GETFL, 0);
  ::fcntl(fd, F_SETFL, on ? (flags | O_NONBLOCK) : (flags & ~O_NONBLOCK));
}

bool sendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

}  // namespace

HeadCheck checkHead(std::string_view b, const FrontLimits& limits) {
  HeadCheck r;
  const auto refuse = [&r](int status, std::string reason) {
    r.state = HeadCheck::State::refused;
    r.status = status;
    r.reason = std::move(reason);
    return r;
  };
  const auto tooLong = [&] {
    return refuse(431, "The request's headers are larger than the server's limit of " +
                           std::to_string(limits.maxHeaderBytes) + " bytes or " +
                           std::to_string(limits.maxHeaderCount) + " lines.");
  };

  // The request line's length leaves out its line end (CR LF or LF).
  const std::size_t lineEnd = b.find('\n');
  const std::size_t lineLength =
      lineEnd == npos ? (b.size() > 0 && b.back() == '\r' ? b.size() - 1 : b.size())
                      : (lineEnd > 0 && b[lineEnd - 1] == '\r' ? lineEnd - 1 : lineEnd);
  if (lineLength > limits.maxRequestLine)
    return refuse(414, "The request line is longer than the server's limit of " +
                           std::to_string(limits.maxRequestLine) + " bytes.");
  if (lineEnd == npos) return r;
  const std::string_view line = trim(b.substr(0, lineEnd));
  const std::size_t firstBlank = line.find(' '), lastBlank = line.rfind(' ');
  if (firstBlank == npos || firstBlank == 0 || lastBlank == firstBlank ||
      line.substr(lastBlank + 1, 5) != "HTTP/")
    return refuse(400, "The request line is not an HTTP request.");

  std::optional<std::size_t> length;
  bool transferEncoding = false;
  std::size_t count = 0;
  for (std::size_t pos = lineEnd + 1;;) {
    const std::size_t end = b.find('\n', pos);
    if (end == npos ? b.size() > limits.maxHeaderBytes : end >= limits.maxHeaderBytes) return tooLong();
    if (end == npos) return r;
    const std::string_view header = trim(b.substr(pos, end - pos));
    if (header.empty()) {
      r.headEnd = end + 1;
      break;
    }
    if (++count > limits.maxHeaderCount) return tooLong();
    const std::size_t colon = header.find(':');
    if (colon == npos || colon == 0) return refuse(400, "A request header has no name.");
    const std::string_view name = trim(header.substr(0, colon));
    const std::string_view value = trim(header.substr(colon + 1));
    if (equalsNoCase(name, "Content-Length")) {
      if (value.empty() || value.size() > 15 || value.find_first_not_of("0123456789") != npos)
        return refuse(400, "The Content-Length is not a number.");
      const std::size_t n = std::stoull(std::string(value));
      if (length && *length != n) return refuse(400, "The request has two different lengths.");
      length = n;
    } else if (equalsNoCase(name, "Transfer-Encoding")) {
      transferEncoding = true;
    } else if (equalsNoCase(name, "Expect") && equalsNoCase(value, "100-continue")) {
      r.expectContinue = true;
      r.expectBegin = pos;
      r.expectEnd = end + 1;
    }
    pos = end + 1;
  }
  if (transferEncoding)
    return refuse(411, "Send the request's body with a Content-Length, not in chunks.");
  r.contentLength = length.value_or(0);
  if (r.contentLength > limits.maxBody)
    return refuse(413, "413 Payload Too Large: the request is larger than the server's limit of " +
                           std::to_string(limits.maxBody) + " bytes.");
  r.state = HeadCheck::State::complete;
  return r;
}

std::string frontAnswer(int status, std::string_view text) {
  std::string body(text);
  body += "\n";
  return "HTTP/1.1 " + std::to_string(status) + " " + reasonPhrase(status) +
         "\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n" +
         body;
}

struct Front::Impl {
  explicit Impl(FrontLimits l) : limits(l) {}

  enum class Phase { head, body, answering, draining };
  struct Connection {
    int fd = -1;
    Phase phase = Phase::head;
    std::string in;
    std::string out;  // answering: what is left to send
    HeadCheck head;
    Clock::time_point deadline;       // the whole head, the whole body, or the drain
    Clock::time_point pauseDeadline;  // body: the next byte
  };
  struct Job {
    int fd;
    std::string request;
  };

  FrontLimits limits;
  int listenFd = -1;
  int wake[2] = {-1, -1};
  int innerPort = 0;
  std::atomic<bool> stopping{false};
  std::atomic<bool> looping{false};
  std::list<Connection> connections;

  std::mutex mutex;  // guards jobs, returned, active
  std::condition_variable jobReady;
  std::deque<Job> jobs;
  std::vector<int> returned;  // answered connections handed back for the lingering close
  std::set<int> active;       // sockets a relay is using, shut down by stop()
  std::vector<std::thread> relays;

  void loop();
  void accept();
  void readFrom(Connection& c, Clock::time_point now);
  void refuse(Connection& c, int status, const std::string& text, Clock::time_point now);
  void beginDrain(Connection& c, Clock::time_point now);
  void relayLoop();
  void relay(Job& job);
  void signal() {
    const char byte = 1;
    [[maybe_unused]] const auto n = ::write(wake[1], &byte, 1);
  }
};

Front::Front(FrontLimits limits) : impl_(std::make_unique<Impl>(limits)) {
  if (::pipe2(impl_->wake, O_CLOEXEC | O_NONBLOCK) != 0) impl_->wake[0] = impl_->wake[1] = -1;
}

Front::~Front() {
  stop();
  closeFd(impl_->listenFd);
  closeFd(impl_->wake[0]);
  closeFd(impl_->wake[1]);
}

int Front::bind(const std::string& host, int port, std::string& error) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const std::string service = std::to_string(port);
  if (::getaddrinfo(host.c_str(), service.c_str(), &hints, &found) != 0 || !found) {
    error = "cannot listen on " + host + ": the host name is unknown";
    return -1;
  }
  int fd = -1;
  for (addrinfo* a = found; a && fd < 0; a = a->ai_next) {
    fd = ::socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, a->ai_protocol);
    if (fd < 0) continue;
    // Not SO_REUSEPORT: a second server must fail on a port that is taken.
    const int yes = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    if (::bind(fd, a->ai_addr, a->ai_addrlen) != 0 || ::listen(fd, impl_->limits.backlog) != 0)
      closeFd(fd);
  }
  ::freeaddrinfo(found);
  if (fd < 0) {
    error = "cannot listen on " + host + ":" + service + ": the address is in use or not available";
    return -1;
  }
  sockaddr_storage bound{};
  socklen_t size = sizeof(bound);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &size);
  impl_->listenFd = fd;
  return bound.ss_family == AF_INET6 ? ntohs(reinterpret_cast<sockaddr_in6*>(&bound)->sin6_port)
                                     : ntohs(reinterpret_cast<sockaddr_in*>(&bound)->sin_port);
}

void Front::run(int innerPort) {
  auto& d = *impl_;
  d.innerPort = innerPort;
  for (std::size_t i = 0; i < d.limits.relayThreads; ++i) d.relays.emplace_back([&d] { d.relayLoop(); });
  d.looping = true;
  d.loop();
  d.looping = false;
  {
    std::lock_guard lock(d.mutex);
    for (int fd : d.active) ::shutdown(fd, SHUT_RDWR);
  }
  d.jobReady.notify_all();
  for (auto& t : d.relays) t.join();
  d.relays.clear();
  std::lock_guard lock(d.mutex);
  for (auto& job : d.jobs) closeFd(job.fd);
  d.jobs.clear();
  for (int fd : d.returned) ::close(fd);
  d.returned.clear();
}

void Front::stop() {
  impl_->stopping = true;
  impl_->signal();
  std::lock_guard lock(impl_->mutex);
  // A relay blocked on a slow client or on the library wakes up now.
  for (int fd : impl_->active) ::shutdown(fd, SHUT_RDWR);
  impl_->jobReady.notify_all();
}

bool Front::running() const { return impl_->looping; }

void Front::Impl::loop() {
  std::vector<pollfd> polled;
  while (!stopping) {
    const auto now = Clock::now();
    {
      std::lock_guard lock(mutex);
      for (int fd : returned) {
        Connection c;
        c.fd = fd;
        beginDrain(c, now);
        connections.push_back(std::move(c));
      }
      returned.clear();
    }
    polled.clear();
    polled.push_back({wake[0], POLLIN, 0});
    polled.push_back({listenFd, POLLIN, 0});
    auto next = now + std::chrono::seconds(1);
    for (auto& c : connections) {
      polled.push_back({c.fd, static_cast<short>(c.phase == Phase::answering ? POLLOUT : POLLIN), 0});
      next = std::min(next, c.deadline);
      if (c.phase == Phase::body) next = std::min(next, c.pauseDeadline);
    }
    const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - now).count();
    const int ready = ::poll(polled.data(), polled.size(), static_cast<int>(std::max<long>(0, wait) + 1));
    if (ready < 0 && errno != EINTR) break;
    if (polled[0].revents) {
      char sink[64];
      while (::read(wake[0], sink, sizeof(sink)) > 0) {
      }
    }
    if (polled[1].revents) accept();

    const auto later = Clock::now();
    std::size_t i = 2;
    for (auto it = connections.begin(); it != connections.end(); ++i) {
      Connection& c = *it;
      // Connections accepted in this round come after the polled ones.
      const short events = i < polled.size() && polled[i].fd == c.fd ? polled[i].revents : 0;
      if (events & POLLOUT) {
        const ssize_t n = ::send(c.fd, c.out.data(), c.out.size(), MSG_NOSIGNAL);
        if (n > 0) c.out.erase(0, static_cast<std::size_t>(n));
        if (n < 0 && errno != EAGAIN && errno != EINTR) c.out.clear(), c.phase = Phase::draining;
        if (c.out.empty()) beginDrain(c, later);
      } else if (events & (POLLIN | POLLHUP | POLLERR)) {
        readFrom(c, later);
      }
      if (c.fd >= 0 && (c.phase == Phase::answering || c.phase == Phase::draining) &&
          later >= c.deadline) {
        closeFd(c.fd);  // a client that takes no answer, or goes on sending after it
      } else if (c.fd >= 0 && (later >= c.deadline || (c.phase == Phase::body && later >= c.pauseDeadline))) {
        refuse(c, 408,
               c.phase == Phase::head ? "The request's headers did not arrive in time."
                                      : "The request's body did not arrive in time.",
               later);
      }
      it = c.fd < 0 ? connections.erase(it) : std::next(it);
    }
  }
  closeFd(listenFd);
  for (auto& c : connections) closeFd(c.fd);
  connections.clear();
}

void Front::Impl::accept() {
  for (;;) {
    const int fd = ::accept4(listenFd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) return;
    Connection c;
    c.fd = fd;
    const auto now = Clock::now();
    if (connections.size() >= limits.maxConnections) {
      // Too many at once: answer at once rather than let the newest wait without a word.
      c.out = frontAnswer(503, "The server is busy; try again.");
      c.phase = Phase::answering;
      c.deadline = now + kDrainTime;
    } else {
      c.deadline = now + limits.headerTime;
    }
    connections.push_back(std::move(c));
  }
}

void Front::Impl::readFrom(Connection& c, Clock::time_point now) {
  char chunk[65536];
  // A few reads at a time, so that one fast client does not keep the others waiting.
  for (int round = 0; round < 16; ++round) {
    const ssize_t n = ::recv(c.fd, chunk, sizeof(chunk), 0);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    if (n <= 0) {
      // The client closed, or half-closed before its request was whole: nobody to answer.
      closeFd(c.fd);
      return;
    }
    if (c.phase == Phase::draining) continue;
    c.in.append(chunk, static_cast<std::size_t>(n));
    if (c.phase == Phase::head) {
      c.head = checkHead(c.in, limits);
      if (c.head.state == HeadCheck::State::refused) return refuse(c, c.head.status, c.head.reason, now);
      if (c.head.state == HeadCheck::State::incomplete) continue;
      c.phase = Phase::body;
      const auto rate = std::max<std::size_t>(1, limits.bodyBytesPerSecond);
      c.deadline = now + std::chrono::seconds(10) +
                   std::chrono::seconds(c.head.contentLength / rate);
      if (c.head.expectContinue && c.in.size() == c.head.headEnd)
        sendAll(c.fd, "HTTP/1.1 100 Continue\r\n\r\n");
    }
    c.pauseDeadline = now + limits.bodyPause;
    const std::size_t whole = c.head.headEnd + c.head.contentLength;
    if (c.in.size() < whole) continue;
    // Complete: anything after it (a second request on the same connection) is dropped; the
    // answer closes the connection.
    c.in.resize(whole);
    if (c.head.expectContinue) c.in.erase(c.head.expectBegin, c.head.expectEnd - c.head.expectBegin);
    leaveOutBrotli(c.in, c.in.size() - c.head.contentLength);
    {
      std::lock_guard lock(mutex);
      jobs.push_back(Job{c.fd, std::move(c.in)});
    }
    jobReady.notify_one();
    c.fd = -1;  // the relay owns it now
    return;
  }
}

void Front::Impl::refuse(Connection& c, int status, const std::string& text, Clock::time_point now) {
  c.in.clear();
  c.in.shrink_to_fit();
  c.out = frontAnswer(status, text);
  c.phase = Phase::answering;
  c.deadline = now + kDrainTime;
}

// After the answer: no more to send, and what the client still sends is read and dropped for a
// moment, so that its unread bytes do not turn into a reset that destroys the answer.
void Front::Impl::beginDrain(Connection& c, Clock::time_point now) {
  ::shutdown(c.fd, SHUT_WR);
  c.phase = Phase::draining;
  c.in.clear();
  c.in.shrink_to_fit();
  c.deadline = now + kDrainTime;
}

void Front::Impl::relayLoop() {
  for (;;) {
    Job job;
    {
      std::unique_lock lock(mutex);
      jobReady.wait(lock, [&] { return stopping || !jobs.empty(); });
      if (stopping) return;
      job = std::move(jobs.front());
      jobs.pop_front();
      active.insert(job.fd);
    }
    relay(job);
    bool handBack = false;
    {
      std::lock_guard lock(mutex);
      active.erase(job.fd);
      if (!stopping && job.fd >= 0) {
        returned.push_back(job.fd);
        handBack = true;
      }
    }
    if (handBack) signal();
    else closeFd(job.fd);
  }
}

void Front::Impl::relay(Job& job) {
  setNonBlocking(job.fd, false);
  const timeval sendLimit{kSendTimeoutSeconds, 0};
  ::setsockopt(job.fd, SOL_SOCKET, SO_SNDTIMEO, &sendLimit, sizeof(sendLimit));

  int inner = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(innerPort));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (inner < 0 || ::connect(inner, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    closeFd(inner);
    sendAll(job.fd, frontAnswer(503, "The server is busy; try again."));
    return;
  }
  const int yes = 1;
  ::setsockopt(inner, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof(yes));
  {
    std::lock_guard lock(mutex);
    active.insert(inner);
  }
  const bool sent = sendAll(inner, job.request);
  job.request.clear();
  job.request.shrink_to_fit();
  bool answered = false;
  if (sent) {
    char chunk[65536];
    for (;;) {
      const ssize_t n = ::recv(inner, chunk, sizeof(chunk), 0);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) break;
      answered = true;
      if (!sendAll(job.fd, std::string_view(chunk, static_cast<std::size_t>(n)))) break;
    }
  }
  {
    std::lock_guard lock(mutex);
    active.erase(inner);
  }
  closeFd(inner);
  if (!answered && !stopping) sendAll(job.fd, frontAnswer(502, "The request could not be served."));
  setNonBlocking(job.fd, true);
}

void leaveOutBrotli(std::string& request, std::size_t headEnd) {
  std::size_t pos = request.find('\n');
  while (pos != std::string::npos && pos + 1 < headEnd) {
    const std::size_t begin = pos + 1;
    const std::size_t end = request.find('\n', begin);
    if (end == std::string::npos || end >= headEnd) return;
    const std::string_view line(request.data() + begin, end - begin);
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos && equalsNoCase(trim(line.substr(0, colon)), "Accept-Encoding")) {
      std::string kept;
      std::string_view items = line.substr(colon + 1);
      while (!items.empty()) {
        const std::size_t comma = items.find(',');
        const std::string_view item = trim(items.substr(0, comma));
        const std::string_view coding = trim(item.substr(0, item.find(';')));
        if (!item.empty() && !equalsNoCase(coding, "br")) {
          if (!kept.empty()) kept += ", ";
          kept += item;
        }
        if (comma == std::string_view::npos) break;
        items.remove_prefix(comma + 1);
      }
      const std::string replacement = kept.empty() ? std::string() : "Accept-Encoding: " + kept + "\r\n";
      request.replace(begin, end + 1 - begin, replacement);
      return;
    }
    pos = end;
  }
}

}  // namespace vellmar::server
