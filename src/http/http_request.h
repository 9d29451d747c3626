#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "http/request_composer.h"
#include "http/transport.h"

namespace vellmar::http {

// The editor's HTTP/1.1 client: one request at a time over its own connection, with a time limit
// counted in one-second ticks. A caller resets it, adds variables, calls http() and hears the
// outcome through `events`: `started` once the connection is made, then exactly one of
// `complete`, `error`, `parseError` or `timeout` -- or nothing more after Cancel().
//
// Handlers may call any method of the instance, or destroy it, from inside an event.
class ctlHttpRequest final : private TransportListener {
 public:
  enum class RequestState { idle, connecting, receiving, finished };

  // The most an answer may grow to (status line, headers and body) before the request is stopped
  // with `error` kAnswerTooLarge: a server that streams without end must not take the editor's
  // memory with it.
  static constexpr std::size_t kDefaultMaxAnswerBytes = std::size_t{64} << 20;
  // The number of that `error` event ("Out of memory", in the numbering of the client's other
  // run-time errors).
  static constexpr int kAnswerTooLarge = 7;

  struct Events {
    std::function<void()> started;
    std::function<void()> canceled;
    std::function<void(int number, const std::string& description)> error;
    // The body is the handler's: one that keeps the document can take it by value.
    std::function<void(std::string body)> complete;
    std::function<void(int number, const std::string& message, const std::string& text)>
        parseError;
    std::function<void()> timeout;
    // Bytes of the request's body sent so far, of all of them (an upload where the platform
    // reports it).
    std::function<void(std::uint64_t sent, std::uint64_t total)> uploadProgress;
  };

  explicit ctlHttpRequest(EventLoop& loop);
  ~ctlHttpRequest();
  ctlHttpRequest(const ctlHttpRequest&) = delete;
  ctlHttpRequest& operator=(const ctlHttpRequest&) = delete;

  void addFormVariable(std::string name, int kind, std::string value);
  void addCookieVariable(std::string name, std::string value);
  void addUrlVariable(std::string name, std::string value);

  // Composes the request and starts it; returns at once. `method` 0 is GET, anything else POST
  // (multipart when a form entry is a file). `timeout` below 1 means no time limit. A file that
  // cannot be read throws ProcedureError before anything is sent.
  void http(int method, const std::string& host, const std::string& path, int timeout, int port);
  // Stops the request in progress: raises `canceled` when a connection was open or being made.
  void Cancel();
  // Empties the variable lists and the request and response texts, and clears requestFailed.
  void reset();

  // The request http() would send, without sending it or changing the instance.
  OutgoingRequest composeRequest(int method, const std::string& host, const std::string& path,
                                 int port) const;

  Events events;

  const std::string& requestText() const { return request_.text; }
  const std::string& requestPath() const { return requestPath_; }
  const std::string& responseBuffer() const { return responseBuffer_; }
  bool requestFailed() const { return requestFailed_; }
  int timeoutSeconds() const { return timeoutSeconds_; }
  std::size_t elapsedSeconds() const { return elapsedSeconds_; }
  RequestState state() const { return state_; }
  SocketState socketState() const { return transport_->state(); }
  const RequestVariables& variables() const { return vars_; }

  // The version written into the User-Agent line; the product's own unless set.
  void setUserAgentVersion(const UserAgentVersion& version) { version_ = version; }

  // The bound on the answer's size; kDefaultMaxAnswerBytes unless set.
  void setMaxAnswerBytes(std::size_t bytes) { maxAnswerBytes_ = bytes; }
  std::size_t maxAnswerBytes() const { return maxAnswerBytes_; }

 private:
  void transportConnected() override;
  void transportData(std::string_view bytes) override;
  void transportClosed() override;
  void transportAnswer(ParsedAnswer answer) override;
  void transportError(int number, const std::string& description) override;
  void transportProgress(std::uint64_t sent, std::uint64_t total) override {
    if (events.uploadProgress) events.uploadProgress(sent, total);
  }
  void tick();
  // Stops the request because its answer outgrew maxAnswerBytes_.
  void answerTooLarge();
  // Raises parseError with the body or text decoded by the answer's charset.
  void raiseParseError(int number, const std::string& message, std::string_view text,
                       std::string_view contentType);

  RequestVariables vars_;
  OutgoingRequest request_;
  std::string requestPath_;
  std::string responseBuffer_;
  int timeoutSeconds_ = 0;
  std::size_t elapsedSeconds_ = 0;
  bool requestFailed_ = false;
  RequestState state_ = RequestState::idle;
  UserAgentVersion version_;
  std::size_t maxAnswerBytes_ = kDefaultMaxAnswerBytes;

  std::unique_ptr<Transport> transport_;
  std::unique_ptr<Timer> timer_;
  // Cleared by the destructor, so that code running after an event can tell whether a handler
  // destroyed the instance.
  std::shared_ptr<bool> alive_;
};

}  // namespace vellmar::http
