#include "http/server_exchange.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <memory>

#include "common/diagnostics.h"
#include "dialogs/message_window.h"
#include "editor/properties.h"

namespace vellmar::http {

namespace {

std::string_view trimBlanks(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

std::string escapeAngles(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (char c : text) {
    if (c == '<')
      out += "&lt;";
    else if (c == '>')
      out += "&gt;";
    else
      out.push_back(c);
  }
  return out;
}

struct PendingMessage {
  std::string caption;
  std::string summary;
  std::string details;
};

void logMessage(std::string_view caption, std::string_view summary, std::string_view details) {
  debugLog(caption);
  debugLog(summary);
  debugLog(details);
}

// Messages of debug mode wait here while the window shows another one. The window is modal: the
// three log entries of a shown message are written once it has been closed.
class MessageQueue {
 public:
  static MessageQueue& shared() {
    thread_local MessageQueue queue;
    return queue;
  }

  void add(PendingMessage m) {
    pending_.push_back(std::move(m));
    pump();
  }

  void setLoop(EventLoop* loop) {
    poll_.reset();
    loop_ = loop;
  }

  std::size_t size() const { return pending_.size(); }

  void pump() {
    auto& window = dialogs::MessageWindow::shared();
    while (!pending_.empty() && !window.isShowing()) {
      auto message = std::make_shared<PendingMessage>(std::move(pending_.front()));
      pending_.pop_front();
      window.showMessage(message->details, message->caption, message->summary, 8000, 6000, true,
                         [message] {
                           logMessage(message->caption, message->summary, message->details);
                           MessageQueue::shared().pump();
                         });
    }
    if (!loop_) return;
    if (!poll_ && !pending_.empty())
      poll_ = loop_->createTimer(std::chrono::milliseconds(50), [this] { pump(); });
    if (poll_) poll_->setEnabled(!pending_.empty());
  }

 private:
  std::deque<PendingMessage> pending_;
  EventLoop* loop_ = nullptr;
  std::unique_ptr<Timer> poll_;
};

}  // namespace

void addCommonVariables(ctlHttpRequest& request) {
  addCommonVariables(request, editor::PropertySet::shared());
}

void addCommonVariables(ctlHttpRequest& request, const editor::PropertySet& properties) {
  request.reset();
  for (int i = 1; i <= 10; ++i)
    request.addCookieVariable(properties.cookieName(i), properties.cookieValue(i));
  for (int i = 1; i <= 10; ++i) request.addUrlVariable(properties.urlName(i), properties.urlValue(i));
  if (!properties.contentID().empty()) request.addUrlVariable("vmContentID", properties.contentID());
}

std::string prepareXmlText(std::string_view text) {
  text = trimBlanks(text);
  // Line ends and tabs become spaces and every run of spaces one space, in one pass.
  std::string collapsed;
  collapsed.reserve(text.size());
  for (char c : text) {
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    if (c == ' ' && !collapsed.empty() && collapsed.back() == ' ') continue;
    collapsed.push_back(c);
  }
  std::string out;
  out.reserve(collapsed.size());
  for (std::size_t i = 0; i < collapsed.size();) {
    if (collapsed.compare(i, 3, "> <") == 0) {
      out += "><";
      i += 3;
    } else {
      out.push_back(collapsed[i++]);
    }
  }
  return std::string(trimBlanks(out));
}

void showHttpMessage(std::string_view title, std::string_view summary, std::string_view details,
                     std::string_view source) {
  PendingMessage message;
  message.caption.append(title).append(" (").append(source).append(")");
  if (editor::PropertySet::shared().debugMode() != editor::yes) {
    // Only logged: no copy of the details, which may be a whole document.
    logMessage(message.caption, summary, details);
    return;
  }
  message.summary.assign(summary);
  message.details.assign(details);
  MessageQueue::shared().add(std::move(message));
}

void setHttpMessageLoop(EventLoop* loop) { MessageQueue::shared().setLoop(loop); }

std::size_t pendingHttpMessages() { return MessageQueue::shared().size(); }

std::string exchangePath(std::string_view documentRoot, std::string_view pathProperty) {
  std::string path(documentRoot);
  path.append(pathProperty);
  return path;
}

std::optional<int> convertPort(std::string_view port) {
  if (!editor::isNumeric(port)) return std::nullopt;
  const std::string text(trimBlanks(port));
  const double value = std::trunc(std::strtod(text.c_str(), nullptr));
  if (!(value >= 0 && value <= 65535)) return std::nullopt;
  return static_cast<int>(value);
}

bool startExchange(ctlHttpRequest& request, int method, std::string_view pathProperty,
                   std::string_view source) {
  return startExchange(request, method, pathProperty, source, editor::PropertySet::shared());
}

bool startExchange(ctlHttpRequest& request, int method, std::string_view pathProperty,
                   std::string_view source, editor::PropertySet& properties) {
  const auto port = convertPort(properties.port());
  if (!port) {
    showHttpMessage("HTTP Error", "The port is not a number.",
                    "<p>The port \"" + escapeAngles(properties.port()) +
                        "\" could not be converted to a number, so the request was not sent.</p>",
                    source);
    return false;
  }
  request.http(method, properties.domain(),
               exchangePath(properties.documentRoot(), pathProperty), properties.httpTimeout(),
               *port);
  return true;
}

void reportHttpError(int number, std::string_view description, std::string_view source,
                     bool networkWording) {
  showHttpMessage(networkWording ? "Network Error" : "HTTP Error",
                  (networkWording ? "Network Number:" : "Error Number:") + std::to_string(number),
                  description, source);
}

void reportParseError(std::string_view message, std::string_view text, std::string_view source) {
  showHttpMessage("HTTP Error", message, text, source);
}

void reportTimeout(std::string_view source, int httpTimeout) {
  showHttpMessage("HTTP Timeout", "A timeout occurred during an HTTP request.",
                  "<p>The HTTP request exceeded the maximum time of " +
                      std::to_string(httpTimeout) + " seconds.</p>",
                  source);
}

std::string parseFailureDetails(std::string_view what, std::string_view source,
                                std::string_view body) {
  std::string out = "<p>There was an error parsing the ";
  out.append(what).append(" from ").append(source).append(":</p><p>Error: The ").append(what);
  out.append(" was not properly formatted. The ").append(what).append(" is output below:</p><hr>");
  out.append(escapeAngles(body));
  return out;
}

}  // namespace vellmar::http
