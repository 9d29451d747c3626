#include "dialogs/dialog_exchange.h"

#include <utility>

#include "common/diagnostics.h"
#include "editor/properties.h"
#include "editor/server_documents.h"
#include "http/server_exchange.h"

namespace vellmar::dialogs {

DialogExchange::DialogExchange(http::EventLoop& loop, std::string successSummary)
    : DialogExchange(loop, std::move(successSummary), editor::PropertySet::shared()) {}

DialogExchange::DialogExchange(http::EventLoop& loop, std::string successSummary,
                               editor::PropertySet& properties)
    : properties_(properties), successSummary_(std::move(successSummary)), request_(loop) {
  auto& e = request_.events;
  e.canceled = [this] {
    finish();
    if (canceled) canceled();
  };
  e.complete = [this](const std::string& body) {
    finish();
    http::showHttpMessage("HTTP Success", successSummary_,
                          successDetails_.empty() ? body : successDetails_, source_);
    if (done) done(body);
  };
  e.error = [this](int number, const std::string& description) {
    finish();
    http::reportHttpError(number, description, source_);
    if (failed) failed(std::string(editor::kUnreachableReason));
  };
  e.parseError = [this](int, const std::string& message, const std::string& text) {
    finish();
    http::reportParseError(message, text, source_);
    if (failed) failed(editor::httpFailureReason(message));
  };
  e.uploadProgress = [this](std::uint64_t sent, std::uint64_t total) {
    if (busy_ && progress) progress(sent, total);
  };
  e.timeout = [this] {
    finish();
    http::reportTimeout(source_, properties_.httpTimeout());
    if (failed) failed(editor::timeoutReason(properties_.httpTimeout()));
  };
}

void DialogExchange::finish() { busy_ = false; }

http::ctlHttpRequest& DialogExchange::prepare() {
  if (busy_) cancel();
  http::addCommonVariables(request_, properties_);
  return request_;
}

bool DialogExchange::start(int method, std::string_view path, std::string source,
                           std::string successDetails) {
  source_ = std::move(source);
  successDetails_ = std::move(successDetails);
  busy_ = http::startExchange(request_, method, path, source_, properties_);
  if (!busy_ && failed) failed(std::string(editor::kBadPortReason));
  return busy_;
}

void DialogExchange::cancel() {
  if (!busy_) return;
  request_.Cancel();
  busy_ = false;
}

std::string failureSentence(std::string_view what, std::string_view reason) {
  std::string s(what);
  s.append(": ").append(reason).append(".");
  return s;
}

}  // namespace vellmar::dialogs
