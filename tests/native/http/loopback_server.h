#pragma once

// A scripted HTTP peer on 127.0.0.1 for client tests: it accepts one connection, records every byte
// the client sends, waits for the complete request (headers plus the announced body), then sends
// the scripted answer piece by piece and ends the connection the scripted way.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vellmar::testing {

// A loopback port nobody listens on: bind one, note it, let it go.
inline int closedLoopbackPort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
  socklen_t len = sizeof addr;
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
  ::close(fd);
  return ntohs(addr.sin_port);
}

struct Script {
  enum class End { close, reset, hold };
  std::vector<std::string> pieces;  // sent one after another
  std::chrono::milliseconds gap{0};  // pause before each piece
  End end = End::close;
  bool waitForRequest = true;
};

class LoopbackServer {
 public:
  explicit LoopbackServer(Script script) : script_(std::move(script)) {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    int one = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        ::listen(listener_, 4) != 0)
      std::abort();
    socklen_t len = sizeof addr;
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&addr), &len);
    port_ = ntohs(addr.sin_port);
    thread_ = std::thread([this] { serve(); });
  }

  ~LoopbackServer() {
    stop_ = true;
    thread_.join();
    ::close(listener_);
  }

  int port() const { return port_; }

  std::string received() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
  }

  // Whether the client closed its side while the server held the connection open.
  bool clientClosed() const { return clientClosed_; }

 private:
  bool waitReadable(int fd) {
    while (!stop_) {
      pollfd p{fd, POLLIN, 0};
      if (::poll(&p, 1, 20) > 0) return true;
    }
    return false;
  }

  // Reads one chunk into the record; false when the client closed or failed.
  bool readSome(int fd) {
    char buf[65536];
    const ssize_t n = ::recv(fd, buf, sizeof buf, 0);
    if (n <= 0) return false;
    std::lock_guard<std::mutex> lock(mutex_);
    received_.append(buf, static_cast<std::size_t>(n));
    return true;
  }

  bool requestComplete() const {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto end = received_.find("\r\n\r\n");
    if (end == std::string::npos) return false;
    std::size_t length = 0;
    for (const char* key : {"\r\nContent-length: ", "\r\nContent-Length: "}) {
      const auto at = received_.find(key);
      if (at != std::string::npos && at < end)
        length = std::strtoul(received_.c_str() + at + 18, nullptr, 10);
    }
    return received_.size() >= end + 4 + length;
  }

  void serve() {
    if (!waitReadable(listener_)) return;
    const int fd = ::accept(listener_, nullptr, nullptr);
    if (fd < 0) return;
    if (script_.waitForRequest) {
      while (!requestComplete()) {
        if (!waitReadable(fd) || !readSome(fd)) break;
      }
    }
    for (const auto& piece : script_.pieces) {
      if (script_.gap.count() > 0) std::this_thread::sleep_for(script_.gap);
      ::send(fd, piece.data(), piece.size(), MSG_NOSIGNAL);
    }
    if (script_.end == Script::End::reset) {
      linger l{1, 0};
      ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &l, sizeof l);
    } else if (script_.end == Script::End::hold) {
      while (waitReadable(fd)) {
        if (!readSome(fd)) {
          clientClosed_ = true;
          break;
        }
      }
    }
    ::close(fd);
  }

  Script script_;
  int listener_ = -1;
  int port_ = 0;
  std::thread thread_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> clientClosed_{false};
  mutable std::mutex mutex_;
  std::string received_;
};

}  // namespace vellmar::testing
