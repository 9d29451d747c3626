#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http/request_composer.h"

// The seam between ctlHttpRequest and the platform: a connection that carries one composed request
// and reports back, and a repeating timer. Natively the connection is a TCP socket driven by a poll
// loop; in the browser it is fetch(), which answers with an already parsed status and body.
namespace vellmar::http {

// The connection states ctlHttpRequest distinguishes; the numbers are the familiar socket-state
// numbers so that logs read the same on every platform.
enum class SocketState : int {
  closed = 0,
  connecting = 6,
  connected = 7,
  closing = 8,  // closed by the peer, not yet closed here
  error = 9,
};

// One composed request. `text` is the whole request as bytes, which a raw-socket transport sends as
// it is; the other fields are its parts for a transport that composes its own wire form.
struct OutgoingRequest {
  std::string text;
  std::string method;       // "GET" or "POST"
  std::string target;       // path with query string
  std::string contentType;  // empty for GET
  std::size_t bodyOffset = 0;
  // The cookie variables, percent-encoded as in the Cookie line of `text`, for a transport that
  // cannot write that header and sets them as cookies instead.
  std::vector<NameValue> cookies;

  std::string_view body() const { return std::string_view(text).substr(bodyOffset); }
};

// An answer a transport has already parsed.
struct ParsedAnswer {
  ParsedAnswer() = default;
  ParsedAnswer(int statusCode, std::string reasonPhrase, std::string bytes)
      : status(statusCode), reason(std::move(reasonPhrase)), body(std::move(bytes)) {}

  int status = 0;
  std::string reason;
  std::string body;         // the body's bytes as they came
  std::string contentType;  // the Content-Type header, "" when there was none
  // The server answered with a redirect, which is not followed (its status is not known then).
  bool redirected = false;
  // The connection ended before the whole body arrived; `body` holds what did.
  bool cutShort = false;
};

// Notifications of a transport. They arrive from the event loop, never from inside a call the
// listener made on the transport. A listener may close or reconnect the transport, or destroy it,
// from inside any notification.
class TransportListener {
 public:
  virtual void transportConnected() = 0;
  virtual void transportData(std::string_view bytes) = 0;
  // The peer closed the connection: every byte of the answer has been delivered.
  virtual void transportClosed() = 0;
  // The whole exchange answered in parsed form (instead of data and closed). The listener takes
  // the answer over, so that no copy of its body stays behind while the listener works on it.
  virtual void transportAnswer(ParsedAnswer answer) = 0;
  virtual void transportError(int number, const std::string& description) = 0;
  // How much of the request's body has gone out, where the platform can tell.
  virtual void transportProgress(std::uint64_t sent, std::uint64_t total) {
    (void)sent;
    (void)total;
  }

 protected:
  ~TransportListener() = default;
};

class Transport {
 public:
  virtual ~Transport() = default;
  // Starts connecting; the outcome arrives as transportConnected or transportError. Any earlier
  // connection is closed first, silently.
  virtual void connect(const std::string& host, int port) = 0;
  // Sends the request over the connection made.
  virtual void send(const OutgoingRequest& request) = 0;
  // Closes the connection; no notification about it follows. Safe in any state.
  virtual void close() = 0;
  virtual SocketState state() const = 0;
};

// A repeating timer, disabled when created. Enabling it starts a fresh interval.
class Timer {
 public:
  virtual ~Timer() = default;
  virtual void setEnabled(bool enabled) = 0;
  virtual bool enabled() const = 0;
};

// What an HTTP client needs from its platform. The loop outlives everything it creates.
class EventLoop {
 public:
  virtual ~EventLoop() = default;
  virtual std::unique_ptr<Transport> createTransport(TransportListener& listener) = 0;
  virtual std::unique_ptr<Timer> createTimer(std::chrono::milliseconds interval,
                                             std::function<void()> tick) = 0;
};

}  // namespace vellmar::http
