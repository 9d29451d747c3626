#pragma once

#include <sys/socket.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "http/transport.h"
#include "platform/native/poll_loop.h"

namespace vellmar::native {

// A non-blocking TCP client socket on a PollLoop. It tries each resolved address in turn, sends the
// request text byte for byte and delivers what arrives until the peer closes. Failures are reported
// with the system's error number and text (errno and strerror; for name resolution the resolver's
// code and gai_strerror).
class TcpTransport final : public http::Transport {
 public:
  TcpTransport(PollLoop& loop, http::TransportListener& listener);
  ~TcpTransport() override;
  TcpTransport(const TcpTransport&) = delete;
  TcpTransport& operator=(const TcpTransport&) = delete;

  void connect(const std::string& host, int port) override;
  void send(const http::OutgoingRequest& request) override;
  void close() override;
  http::SocketState state() const override { return state_; }

 private:
  struct Address {
    sockaddr_storage storage;
    socklen_t length;
  };

  void tryNextAddress();
  void onReady(short revents);
  void finishConnect();
  void readAvailable();
  void writePending();
  void fail(int number, const std::string& description);
  void failLater(int number, const std::string& description);
  void closeSocket();

  PollLoop& loop_;
  http::TransportListener& listener_;
  http::SocketState state_ = http::SocketState::closed;
  int fd_ = -1;
  PollLoop::Id watchId_ = 0;
  std::vector<Address> addresses_;
  std::size_t nextAddress_ = 0;
  int lastConnectError_ = 0;
  std::string outgoing_;
  std::size_t sent_ = 0;
  // Bumped by every connect and close: deferred reports of an earlier connection are dropped.
  std::shared_ptr<unsigned> generation_;
};

}  // namespace vellmar::native
