#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "http/http_request.h"

namespace vellmar::editor {
class PropertySet;
}

// One server exchange of a dialog (an image or link list, a preview, an upload, a delete). It
// follows the editor's pattern -- reset, the page's cookies and URL variables, the dialog's own
// fields, the request to documentRoot + path -- and reports every outcome the editor's way (the
// debug log, and the message window in debug mode). Beyond that, the dialog hears a failure as
// one plain sentence it can show beside its list, since without debug mode nothing else would
// tell the user why the list stayed empty.
namespace vellmar::dialogs {

class DialogExchange {
 public:
  // `successSummary` is the summary of the report of a completed exchange ("Successfully
  // retrieved image list.").
  DialogExchange(http::EventLoop& loop, std::string successSummary);
  DialogExchange(http::EventLoop& loop, std::string successSummary, editor::PropertySet& properties);

  // Resets the client and adds the common variables; the caller then adds its own fields.
  http::ctlHttpRequest& prepare();
  // Sends the prepared request (method 0 GET, 1 POST) to documentRoot + `path`; `source` names
  // the exchange in its reports. `successDetails`, when given, replaces the answer's body in the
  // success report (an image's bytes are not worth showing). False when nothing was sent.
  bool start(int method, std::string_view path, std::string source,
             std::string successDetails = {});
  // Abandons the request under way; `canceled` follows.
  void cancel();
  bool busy() const { return busy_; }

  std::function<void(const std::string& body)> done;
  // Why it failed, in a few words ("HTTP 500", "cannot reach the server", ...).
  std::function<void(const std::string& reason)> failed;
  std::function<void()> canceled;
  // Bytes of the request's body sent so far, of all of them (an upload).
  std::function<void(std::uint64_t sent, std::uint64_t total)> progress;

 private:
  void finish();

  editor::PropertySet& properties_;
  std::string successSummary_;
  std::string successDetails_;
  std::string source_;
  bool busy_ = false;
  http::ctlHttpRequest request_;
};

// "The image list could not be loaded: HTTP 500." -- what a dialog shows for a failed exchange:
// `what` is the sentence up to the colon.
std::string failureSentence(std::string_view what, std::string_view reason);

}  // namespace vellmar::dialogs
