#include "platform/browser/fetch_transport.h"

#include <emscripten/bind.h>
#include <emscripten/emscripten.h>
#include <emscripten/eventloop.h>
#include <emscripten/val.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/browser/dom.h"

// A page whose document refuses cookies (an opaque origin) throws on the write; the request then
// goes out with the cookies the browser has.
EM_JS(void, vellmar_set_page_cookie, (const char* cookie), {
  try {
    document.cookie = UTF8ToString(cookie);
  } catch (e) {
  }
});

namespace vellmar::browser {

namespace {

using emscripten::val;

class FetchTransport;

// Requests in flight by number. A settled fetch whose number is gone (closed, aborted, superseded
// by a new request, transport destroyed) is dropped.
std::unordered_map<int, FetchTransport*>& inFlight() {
  static std::unordered_map<int, FetchTransport*> map;
  return map;
}
int nextRequestId = 1;

FetchTransport* lookup(int id) {
  auto it = inFlight().find(id);
  return it == inFlight().end() ? nullptr : it->second;
}

// The address of the editor's server as the page reaches it. The page's own protocol is kept when
// the server is the page's own origin; otherwise port 443 means https and every other port http.
std::string originOf(const std::string& host, int port) {
  const val location = val::global("location");
  const std::string pageProtocol = location["protocol"].as<std::string>();
  const std::string pageHost = location["hostname"].as<std::string>();
  std::string pagePortText = location["port"].as<std::string>();
  const int pagePort = !pagePortText.empty() ? std::stoi(pagePortText)
                                             : (pageProtocol == "https:" ? 443 : 80);
  std::string protocol = port == 443 ? "https:" : "http:";
  if (pageHost == host && pagePort == port) protocol = pageProtocol;
  const int defaultPort = protocol == "https:" ? 443 : 80;
  std::string origin = protocol + "//" + host;
  if (port != defaultPort) origin += ":" + std::to_string(port);
  return origin;
}

// The cookie variables of a request as cookies of the page's origin, path "/", so that the browser
// sends them: a page may not write the Cookie header itself. A cookie the server set with HttpOnly
// cannot be replaced from the page; the browser then keeps sending the server's one.
void setPageCookies(const std::vector<http::NameValue>& cookies) {
  for (const auto& c : cookies) vellmar_set_page_cookie((c.name + "=" + c.value + "; path=/").c_str());
}

// The fetch() options of a composed request, but for its abort signal.
val requestInit(const http::OutgoingRequest& request) {
  val init = val::object();
  init.set("method", request.method);
  init.set("credentials", std::string("include"));
  init.set("cache", std::string("no-store"));
  // A redirect ends the exchange as an HTTP error, as it does natively: followed, it could put
  // another page -- a login form -- in place of the document.
  init.set("redirect", std::string("manual"));
  if (!request.contentType.empty()) {
    val headers = val::object();
    headers.set("Content-Type", request.contentType);
    init.set("headers", headers);
  }
  const std::string_view body = request.body();
  if (request.method != "GET") {
    // Copied out of the module's memory, which may move while the request is under way.
    init.set("body", dom::byteArrayOf(body));
  }
  return init;
}

// What makes two requests the same one: everything fetch() sends that the page chooses.
std::string requestKey(const std::string& url, const http::OutgoingRequest& request) {
  std::string key = request.method + '\n' + url + '\n' + request.contentType + '\n';
  for (const auto& c : request.cookies) key += c.name + '=' + c.value + ';';
  key += '\n';
  key += request.body();
  return key;
}

// Requests started ahead of their exchange (startEarlyRequest), oldest first.
struct EarlyRequest {
  std::string key;
  val answer = val::undefined();  // the fetch() promise
  val abort = val::undefined();   // its AbortController
  double startedMs = 0;
};

std::vector<EarlyRequest>& earlyRequests() {
  static std::vector<EarlyRequest> requests;
  return requests;
}

void forgetStaleEarlyRequests() {
  auto& requests = earlyRequests();
  const double now = emscripten_get_now();
  std::erase_if(requests, [now](const EarlyRequest& early) {
    if (now - early.startedMs <= kEarlyRequestLifetimeMs) return false;
    early.abort.call<void>("abort");
    return true;
  });
}

// The early request that is the same as `key`, taken out of the list.
std::optional<EarlyRequest> takeEarlyRequest(const std::string& key) {
  forgetStaleEarlyRequests();
  auto& requests = earlyRequests();
  const auto it = std::find_if(requests.begin(), requests.end(),
                               [&](const EarlyRequest& early) { return early.key == key; });
  if (it == requests.end()) return std::nullopt;
  EarlyRequest early = std::move(*it);
  requests.erase(it);
  return early;
}

class FetchTransport final : public http::Transport {
 public:
  explicit FetchTransport(http::TransportListener& listener) : listener_(listener) {}
  ~FetchTransport() override { close(); }

  void connect(const std::string& host, int port) override {
    close();
    host_ = host;
    port_ = port;
    id_ = nextRequestId++;
    inFlight()[id_] = this;
    state_ = http::SocketState::connecting;
    // There is no connection to wait for; the request "connects" on the next turn of the page's
    // event loop, so that `started` never fires inside http().
    emscripten_set_timeout(&FetchTransport::connected, 0,
                           reinterpret_cast<void*>(static_cast<std::intptr_t>(id_)));
  }

  void send(const http::OutgoingRequest& request) override {
    if (state_ != http::SocketState::connected) return;
    setPageCookies(request.cookies);
    val init = requestInit(request);
    const std::string url = originOf(host_, port_) + request.target;
    const val id(id_);
    if (request.contentType.rfind("multipart/form-data", 0) == 0) {
      sendUpload(url, request, init["body"]);
      return;
    }
    val answer = val::undefined();
    if (std::optional<EarlyRequest> early = takeEarlyRequest(requestKey(url, request))) {
      abort_ = early->abort;
      answer = early->answer;
    } else {
      abort_ = val::global("AbortController").new_();
      init.set("signal", abort_["signal"]);
      answer = val::global("fetch")(url, init);
    }
    val onResponse = val::module_property("vellmarFetchResponse").call<val>("bind", val::null(), id);
    val onFailure = val::module_property("vellmarFetchFailed").call<val>("bind", val::null(), id);
    answer.call<void>("then", onResponse, onFailure);
  }

  void close() override {
    if (id_ != 0) inFlight().erase(id_);
    id_ = 0;
    if (!abort_.isUndefined()) abort_.call<void>("abort");
    abort_ = val::undefined();
    if (!upload_.isUndefined()) upload_.call<void>("abort");
    upload_ = val::undefined();
    state_ = http::SocketState::closed;
  }

  http::SocketState state() const override { return state_; }

  static void connected(void* user) {
    const int id = static_cast<int>(reinterpret_cast<std::intptr_t>(user));
    FetchTransport* t = lookup(id);
    if (!t || t->state_ != http::SocketState::connecting) return;
    t->state_ = http::SocketState::connected;
    t->listener_.transportConnected();
  }

  void response(int id, const val& response) {
    answer_ = {};
    if (response["type"].as<std::string>() == "opaqueredirect") {
      answer_.redirected = true;
      finish();
      listener_.transportAnswer(std::move(answer_));
      return;
    }
    answer_.status = response["status"].as<int>();
    answer_.reason = response["statusText"].as<std::string>();
    const val contentType = response["headers"].call<val>("get", std::string("Content-Type"));
    if (contentType.isString()) answer_.contentType = contentType.as<std::string>();
    const val id_value(id);
    val onBody = val::module_property("vellmarFetchBody").call<val>("bind", val::null(), id_value);
    val onCutShort =
        val::module_property("vellmarFetchBodyFailed").call<val>("bind", val::null(), id_value);
    response.call<val>("arrayBuffer").call<void>("then", onBody, onCutShort);
  }

  void body(const val& buffer) {
    answer_.body = dom::bytesOf(buffer);
    finish();
    listener_.transportAnswer(std::move(answer_));
  }

  // The headers came but the body did not arrive whole: fewer bytes than its Content-Length, a
  // chunked body without its last chunk, or a connection that broke on the way.
  void bodyFailed() {
    answer_.cutShort = true;
    finish();
    listener_.transportAnswer(std::move(answer_));
  }

  void progress(const val& event) {
    if (!event["lengthComputable"].as<bool>()) return;
    listener_.transportProgress(static_cast<std::uint64_t>(event["loaded"].as<double>()),
                                static_cast<std::uint64_t>(event["total"].as<double>()));
  }

  void uploaded(const val& xhr) {
    answer_ = {};
    answer_.status = xhr["status"].as<int>();
    if (answer_.status == 0) {
      failed(val::undefined());
      return;
    }
    // XMLHttpRequest follows a redirect whatever it is told; an answer from another address is
    // taken for the redirect it was.
    if (xhr["responseURL"].as<std::string>() != url_) {
      answer_.redirected = true;
    } else {
      answer_.reason = xhr["statusText"].as<std::string>();
      const val contentType = xhr.call<val>("getResponseHeader", std::string("Content-Type"));
      if (contentType.isString()) answer_.contentType = contentType.as<std::string>();
      const val body = xhr["response"];
      if (!body.isNull()) answer_.body = dom::bytesOf(body);
    }
    finish();
    listener_.transportAnswer(std::move(answer_));
  }

  void failed(const val& error) {
    std::string description = "Failed to fetch";
    if (!error.isUndefined() && !error.isNull()) {
      const val message = error["message"];
      if (message.isString() && !message.as<std::string>().empty())
        description = message.as<std::string>();
    }
    finish();
    state_ = http::SocketState::error;
    listener_.transportError(kFetchFailed, description);
  }

 private:
  // The answer is in: this request number settles nothing more.
  void finish() {
    inFlight().erase(id_);
    id_ = 0;
    abort_ = val::undefined();
    upload_ = val::undefined();
    state_ = http::SocketState::closing;
  }

  // An upload goes out through XMLHttpRequest, the one way a page learns how much of a body has
  // been sent (fetch tells nothing until the answer comes).
  void sendUpload(const std::string& url, const http::OutgoingRequest& request, const val& bytes) {
    url_ = val::global("URL").new_(url)["href"].as<std::string>();
    upload_ = val::global("XMLHttpRequest").new_();
    upload_.call<void>("open", request.method, url);
    upload_.set("withCredentials", true);
    upload_.set("responseType", std::string("arraybuffer"));
    upload_.call<void>("setRequestHeader", std::string("Content-Type"), request.contentType);
    const val id(id_);
    upload_["upload"].set(
        "onprogress", val::module_property("vellmarUploadProgress").call<val>("bind", val::null(), id));
    upload_.set("onload",
                val::module_property("vellmarUploaded").call<val>("bind", val::null(), id, upload_));
    upload_.set("onerror",
                val::module_property("vellmarFetchFailed").call<val>("bind", val::null(), id));
    upload_.call<void>("send", bytes);
  }

  http::TransportListener& listener_;
  http::SocketState state_ = http::SocketState::closed;
  std::string host_;
  int port_ = 0;
  int id_ = 0;
  val abort_ = val::undefined();
  val upload_ = val::undefined();  // the XMLHttpRequest of an upload under way
  std::string url_;
  http::ParsedAnswer answer_;
};

void fetchResponse(int id, val response) {
  if (FetchTransport* t = lookup(id)) t->response(id, response);
}

void fetchBody(int id, val buffer) {
  if (FetchTransport* t = lookup(id)) t->body(buffer);
}

void fetchBodyFailed(int id, val) {
  // An aborted fetch was closed here first, so its number is already gone.
  if (FetchTransport* t = lookup(id)) t->bodyFailed();
}

void fetchFailed(int id, val error) {
  // An aborted fetch was closed here first, so its number is already gone.
  if (FetchTransport* t = lookup(id)) t->failed(error);
}

void uploadProgress(int id, val event) {
  if (FetchTransport* t = lookup(id)) t->progress(event);
}

void ignoreFailure(val) {}

void uploaded(int id, val xhr, val) {
  if (FetchTransport* t = lookup(id)) t->uploaded(xhr);
}

class PageTimer final : public http::Timer {
 public:
  PageTimer(std::chrono::milliseconds interval, std::function<void()> tick)
      : interval_(interval), tick_(std::move(tick)) {}
  ~PageTimer() override { setEnabled(false); }

  void setEnabled(bool enabled) override {
    if (id_ != 0) emscripten_clear_interval(id_);
    id_ = 0;
    if (enabled)
      id_ = emscripten_set_interval(&PageTimer::fire, static_cast<double>(interval_.count()), this);
  }
  bool enabled() const override { return id_ != 0; }

 private:
  static void fire(void* self) {
    auto tick = static_cast<PageTimer*>(self)->tick_;
    tick();
  }

  std::chrono::milliseconds interval_;
  std::function<void()> tick_;
  long id_ = 0;
};

}  // namespace

void startEarlyRequest(const std::string& host, int port, const http::OutgoingRequest& request) {
  if (request.contentType.rfind("multipart/form-data", 0) == 0) return;  // uploads report progress
  forgetStaleEarlyRequests();
  setPageCookies(request.cookies);
  const std::string url = originOf(host, port) + request.target;
  EarlyRequest early;
  early.key = requestKey(url, request);
  early.abort = val::global("AbortController").new_();
  val init = requestInit(request);
  init.set("signal", early.abort["signal"]);
  early.answer = val::global("fetch")(url, init);
  // A failure nobody has taken yet is not an unhandled one: the exchange that takes it reports it.
  early.answer.call<val>("catch", val::module_property("vellmarIgnoreFailure"));
  early.startedMs = emscripten_get_now();
  earlyRequests().push_back(std::move(early));
}

PageEventLoop& PageEventLoop::shared() {
  static PageEventLoop loop;
  return loop;
}

std::unique_ptr<http::Transport> PageEventLoop::createTransport(http::TransportListener& listener) {
  return std::make_unique<FetchTransport>(listener);
}

std::unique_ptr<http::Timer> PageEventLoop::createTimer(std::chrono::milliseconds interval,
                                                        std::function<void()> tick) {
  return std::make_unique<PageTimer>(interval, std::move(tick));
}

}  // namespace vellmar::browser

EMSCRIPTEN_BINDINGS(vellmar_fetch) {
  emscripten::function("vellmarFetchResponse", &vellmar::browser::fetchResponse);
  emscripten::function("vellmarFetchBody", &vellmar::browser::fetchBody);
  emscripten::function("vellmarFetchFailed", &vellmar::browser::fetchFailed);
  emscripten::function("vellmarFetchBodyFailed", &vellmar::browser::fetchBodyFailed);
  emscripten::function("vellmarUploadProgress", &vellmar::browser::uploadProgress);
  emscripten::function("vellmarUploaded", &vellmar::browser::uploaded);
  emscripten::function("vellmarIgnoreFailure", &vellmar::browser::ignoreFailure);
}
