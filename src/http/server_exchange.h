#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "http/http_request.h"

namespace vellmar::editor {
class PropertySet;
}

// The pattern every server exchange of the editor follows: reset the instance, add the page's
// cookies and URL variables (and the document identifier), add its own fields, call http with the
// editor's domain, path, time-out and port; report every outcome through showHttpMessage.
namespace vellmar::http {

// Resets `request`, then adds CookieName1..10 / CookieValue1..10 as cookies, UrlName1..10 /
// UrlValue1..10 as URL variables and, when ContentID is set, the URL variable "vmContentID".
void addCommonVariables(ctlHttpRequest& request);
void addCommonVariables(ctlHttpRequest& request, const editor::PropertySet& properties);

// Normalises a server's XML answer before it is parsed: no line breaks or tabs, no runs of spaces,
// no space between ">" and "<", no blanks at either end.
std::string prepareXmlText(std::string_view text);

// The one report of every exchange: three debug-log entries (title + " (" + source + ")",
// summary, details) and, in debug mode, the message window with the caption, the summary as
// label and the details as HTML. A message that arrives while the window is showing waits until
// it has been closed, without blocking anything else.
void showHttpMessage(std::string_view title, std::string_view summary, std::string_view details,
                     std::string_view source);
// Lets messages that wait for a window opened elsewhere poll for its closing on `loop` (nullptr:
// they wait for the next window this module closes). The loop must outlive its use here.
void setHttpMessageLoop(EventLoop* loop);
// Messages waiting for the window.
std::size_t pendingHttpMessages();

// The path of an exchange: documentRoot and the path property joined with nothing between them
// (http puts "/" in front when the joined text lacks one).
std::string exchangePath(std::string_view documentRoot, std::string_view pathProperty);

// The port property as a whole number: a decimal number cut to its integer part. nullopt when the
// text is empty, not a number, or not a TCP port.
std::optional<int> convertPort(std::string_view port);

// The final step of an exchange: http(method, domain, documentRoot + pathProperty, HttpTimeout,
// port). When the port does not convert, nothing is started and the failure is reported through
// showHttpMessage under `source`; returns whether the request was started.
bool startExchange(ctlHttpRequest& request, int method, std::string_view pathProperty,
                   std::string_view source);
bool startExchange(ctlHttpRequest& request, int method, std::string_view pathProperty,
                   std::string_view source, editor::PropertySet& properties);

// The shared reactions to the ending events. `networkWording` is the content exchange's own
// wording of a socket error ("Network Error", "Network Number:").
void reportHttpError(int number, std::string_view description, std::string_view source,
                     bool networkWording = false);
void reportParseError(std::string_view message, std::string_view text, std::string_view source);
void reportTimeout(std::string_view source, int httpTimeout);

// The details of a document that came back without its expected root: "what" names the document
// ("image list", ...); the body follows with "<" and ">" written as entities.
std::string parseFailureDetails(std::string_view what, std::string_view source,
                                std::string_view body);

}  // namespace vellmar::http
