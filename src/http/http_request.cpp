#include "http/http_request.h"

#include <chrono>
#include <utility>

#include "http/charset.h"
#include "http/response_reader.h"

namespace vellmar::http {

namespace {

// Copies the handler before calling it, so that a handler replacing itself stays intact.
template <class Fn, class... Args>
void raise(const Fn& handler, Args&&... args) {
  if (!handler) return;
  Fn call = handler;
  call(std::forward<Args>(args)...);
}

}  // namespace

ctlHttpRequest::ctlHttpRequest(EventLoop& loop)
    : version_(buildVersion()),
      transport_(loop.createTransport(*this)),
      timer_(loop.createTimer(std::chrono::milliseconds(1000), [this] { tick(); })),
      alive_(std::make_shared<bool>(true)) {
  reset();
}

ctlHttpRequest::~ctlHttpRequest() {
  *alive_ = false;
  timer_->setEnabled(false);
  transport_->close();
}

void ctlHttpRequest::addFormVariable(std::string name, int kind, std::string value) {
  vars_.form.push_back({std::move(name), kind, std::move(value)});
}

void ctlHttpRequest::addCookieVariable(std::string name, std::string value) {
  vars_.cookies.push_back({std::move(name), std::move(value)});
}

void ctlHttpRequest::addUrlVariable(std::string name, std::string value) {
  vars_.urls.push_back({std::move(name), std::move(value)});
}

void ctlHttpRequest::reset() {
  vars_ = {};
  request_ = {};
  responseBuffer_.clear();
  requestFailed_ = false;
}

OutgoingRequest ctlHttpRequest::composeRequest(int method, const std::string& host,
                                               const std::string& path, int port) const {
  const std::string normalized = normalizePath(path);
  OutgoingRequest out;
  out.target = normalized + buildQueryString(vars_.urls);
  out.cookies = encodedCookies(vars_.cookies);
  if (method == 0) {
    out.method = "GET";
    out.text = buildGetRequest(vars_, host, normalized, version_, &out.bodyOffset);
  } else if (vars_.hasFile()) {
    const std::string boundary = makeBoundary();
    out.method = "POST";
    out.contentType = "multipart/form-data; boundary=" + boundary;
    out.text = buildMultipartRequest(vars_, postHostValue(host, port), normalized, version_,
                                     boundary, &out.bodyOffset);
  } else {
    out.method = "POST";
    out.contentType = "application/x-www-form-urlencoded";
    out.text = buildFormPostRequest(vars_, postHostValue(host, port), normalized, version_,
                                    &out.bodyOffset);
  }
  return out;
}

void ctlHttpRequest::http(int method, const std::string& host, const std::string& path,
                          int timeout, int port) {
  requestPath_ = normalizePath(path);
  request_ = composeRequest(method, host, path, port);

  timeoutSeconds_ = timeout;
  elapsedSeconds_ = 0;
  timer_->setEnabled(false);
  timer_->setEnabled(timeout >= 1);

  responseBuffer_.clear();
  transport_->close();
  state_ = RequestState::connecting;
  transport_->connect(host, port);
}

void ctlHttpRequest::Cancel() {
  timer_->setEnabled(false);
  const bool open = transport_->state() != SocketState::closed;
  // Closed before the event, so that a handler starting a new request keeps its connection.
  transport_->close();
  if (state_ == RequestState::connecting || state_ == RequestState::receiving)
    state_ = RequestState::finished;
  if (open) raise(events.canceled);
}

void ctlHttpRequest::transportConnected() {
  state_ = RequestState::receiving;
  const auto alive = alive_;
  raise(events.started);
  // A handler of `started` may have canceled, restarted or destroyed the request.
  if (!*alive || transport_->state() != SocketState::connected) return;
  transport_->send(request_);
}

void ctlHttpRequest::transportData(std::string_view bytes) {
  if (transport_->state() != SocketState::connected) return;
  // The buffer never holds more than the bound, so the subtraction cannot wrap.
  if (bytes.size() > maxAnswerBytes_ - responseBuffer_.size()) {
    answerTooLarge();
    return;
  }
  responseBuffer_.append(bytes);
}

void ctlHttpRequest::transportClosed() {
  timer_->setEnabled(false);
  transport_->close();
  state_ = RequestState::finished;
  const ParsedResponse parsed = parseResponse(responseBuffer_, requestPath_);
  if (parsed.failed()) {
    requestFailed_ = true;
    raiseParseError(parsed.parseErrorNumber, parsed.message, parsed.text, parsed.contentType);
    return;
  }
  if (!requestFailed_) raise(events.complete, decodeAnswer(parsed.body, parsed.contentType));
}

void ctlHttpRequest::transportAnswer(ParsedAnswer answer) {
  timer_->setEnabled(false);
  transport_->close();
  state_ = RequestState::finished;
  if (answer.body.size() > maxAnswerBytes_) {
    answerTooLarge();
    return;
  }
  if (answer.redirected) {
    // Following it could put another page -- a login form, say -- in place of the document.
    requestFailed_ = true;
    raiseParseError(2, "HTTP Error: " + requestPath_ + " answered with a redirect, which is not followed.",
                    answer.body, answer.contentType);
    return;
  }
  if (answer.status == 200) {
    if (answer.cutShort) {
      requestFailed_ = true;
      raiseParseError(2,
                      cutShortMessage(requestPath_,
                                      "the connection ended before the whole body arrived"),
                      answer.body, answer.contentType);
      return;
    }
    if (!requestFailed_) raise(events.complete, decodeOwnedAnswer(std::move(answer.body), answer.contentType));
    return;
  }
  const std::string code = std::to_string(answer.status);
  std::string statusLine = "HTTP/1.1 " + code;
  statusLine.push_back(' ');
  statusLine.append(answer.reason);
  requestFailed_ = true;
  raiseParseError(2, "HTTP Error: " + statusErrorText(code, statusLine, requestPath_), answer.body,
                  answer.contentType);
}

void ctlHttpRequest::raiseParseError(int number, const std::string& message, std::string_view text,
                                     std::string_view contentType) {
  raise(events.parseError, number, message, decodeAnswer(text, contentType));
}

void ctlHttpRequest::answerTooLarge() {
  timer_->setEnabled(false);
  transport_->close();
  state_ = RequestState::finished;
  requestFailed_ = true;
  responseBuffer_.clear();
  responseBuffer_.shrink_to_fit();
  raise(events.error, kAnswerTooLarge,
        "The answer from " + requestPath_ + " is larger than " + std::to_string(maxAnswerBytes_) +
            " bytes, the most the HTTP client holds; the request was stopped.");
}

void ctlHttpRequest::transportError(int number, const std::string& description) {
  timer_->setEnabled(false);
  state_ = RequestState::finished;
  raise(events.error, number, description);
}

void ctlHttpRequest::tick() {
  ++elapsedSeconds_;
  if (timeoutSeconds_ < 1 || elapsedSeconds_ < static_cast<std::size_t>(timeoutSeconds_)) return;
  timer_->setEnabled(false);
  transport_->close();
  state_ = RequestState::finished;
  requestFailed_ = true;
  raise(events.timeout);
}

}  // namespace vellmar::http
