#include "platform/native/tcp_transport.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace vellmar::native {

namespace {
constexpr std::size_t kReadSize = 64 * 1024;
}

std::unique_ptr<http::Transport> PollLoop::createTransport(http::TransportListener& listener) {
  return std::make_unique<TcpTransport>(*this, listener);
}

TcpTransport::TcpTransport(PollLoop& loop, http::TransportListener& listener)
    : loop_(loop), listener_(listener), generation_(std::make_shared<unsigned>(0)) {}

TcpTransport::~TcpTransport() { close(); }

void TcpTransport::connect(const std::string& host, int port) {
  close();
  state_ = http::SocketState::connecting;
  addresses_.clear();
  nextAddress_ = 0;
  lastConnectError_ = ECONNREFUSED;

  if (port < 0 || port > 65535) {
    failLater(EINVAL, std::strerror(EINVAL));
    return;
  }
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int rc = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (rc != 0) {
    if (rc == EAI_SYSTEM)
      failLater(errno, std::strerror(errno));
    else
      failLater(rc, ::gai_strerror(rc));
    return;
  }
  for (addrinfo* a = found; a; a = a->ai_next) {
    Address address{};
    std::memcpy(&address.storage, a->ai_addr, a->ai_addrlen);
    address.length = a->ai_addrlen;
    addresses_.push_back(address);
  }
  ::freeaddrinfo(found);
  tryNextAddress();
}

void TcpTransport::tryNextAddress() {
  while (nextAddress_ < addresses_.size()) {
    const Address& address = addresses_[nextAddress_++];
    fd_ = ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd_ < 0) {
      lastConnectError_ = errno;
      continue;
    }
    if (::connect(fd_, reinterpret_cast<const sockaddr*>(&address.storage), address.length) == 0 ||
        errno == EINPROGRESS) {
      watchId_ = loop_.watch(fd_, POLLOUT, [this](short revents) { onReady(revents); });
      return;
    }
    lastConnectError_ = errno;
    ::close(fd_);
    fd_ = -1;
  }
  failLater(lastConnectError_, std::strerror(lastConnectError_));
}

void TcpTransport::send(const http::OutgoingRequest& request) {
  if (state_ != http::SocketState::connected) return;
  outgoing_.append(request.text);
  loop_.setEvents(watchId_, POLLIN | POLLOUT);
}

void TcpTransport::close() {
  closeSocket();
  ++*generation_;
  state_ = http::SocketState::closed;
}

void TcpTransport::closeSocket() {
  if (watchId_ != 0) loop_.unwatch(watchId_);
  watchId_ = 0;
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  outgoing_.clear();
  sent_ = 0;
}

void TcpTransport::onReady(short revents) {
  if (state_ == http::SocketState::connecting) {
    finishConnect();
    return;
  }
  if (state_ != http::SocketState::connected) return;
  const auto generation = generation_;
  const unsigned current = *generation;
  if (revents & (POLLIN | POLLHUP | POLLERR)) readAvailable();
  if (*generation != current || state_ != http::SocketState::connected) return;
  if (revents & POLLOUT) writePending();
}

void TcpTransport::finishConnect() {
  int error = 0;
  socklen_t length = sizeof error;
  if (::getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
  if (error != 0) {
    lastConnectError_ = error;
    closeSocket();
    tryNextAddress();
    return;
  }
  addresses_.clear();
  state_ = http::SocketState::connected;
  loop_.setEvents(watchId_, POLLIN);
  listener_.transportConnected();
}

void TcpTransport::readAvailable() {
  const auto generation = generation_;
  const unsigned current = *generation;
  char buffer[kReadSize];
  for (;;) {
    const ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
    if (n > 0) {
      listener_.transportData(std::string_view(buffer, static_cast<std::size_t>(n)));
      if (*generation != current) return;
      continue;
    }
    if (n == 0) {
      closeSocket();
      state_ = http::SocketState::closing;
      listener_.transportClosed();
      return;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) fail(errno, std::strerror(errno));
    return;
  }
}

void TcpTransport::writePending() {
  while (sent_ < outgoing_.size()) {
    const ssize_t n = ::send(fd_, outgoing_.data() + sent_, outgoing_.size() - sent_, MSG_NOSIGNAL);
    if (n > 0) {
      sent_ += static_cast<std::size_t>(n);
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    fail(errno, std::strerror(errno));
    return;
  }
  outgoing_.clear();
  sent_ = 0;
  loop_.setEvents(watchId_, POLLIN);
}

void TcpTransport::fail(int number, const std::string& description) {
  closeSocket();
  state_ = http::SocketState::error;
  listener_.transportError(number, description);
}

void TcpTransport::failLater(int number, const std::string& description) {
  const auto generation = generation_;
  const unsigned current = *generation;
  loop_.post([this, generation, current, number, description] {
    if (*generation != current) return;
    fail(number, description);
  });
}

}  // namespace vellmar::native
