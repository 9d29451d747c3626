#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "http/transport.h"

namespace vellmar::browser {

// The HTTP client's platform in the page. A page has no sockets: each request goes out through
// fetch() with the page's credentials -- the composed method, path with query string, content
// type and body bytes; the headers a page may not set are the browser's -- and the answer comes
// back already parsed (status, reason, body). An upload (a multipart body) goes through
// XMLHttpRequest instead, which reports the bytes sent as they go. Time limits and Cancel abort
// the request. Timers are
// the page's interval timers.
class PageEventLoop final : public http::EventLoop {
 public:
  static PageEventLoop& shared();

  std::unique_ptr<http::Transport> createTransport(http::TransportListener& listener) override;
  std::unique_ptr<http::Timer> createTimer(std::chrono::milliseconds interval,
                                           std::function<void()> tick) override;
};

// Sends `request` to host:port now, ahead of the exchange that will send it, so that the answer is
// on its way while the editor still builds its interface. The first request of the page that is
// the same (address, method, content type, body and cookies) and is sent within
// kEarlyRequestLifetime takes this one's answer, or its failure, instead of fetching again; every
// event of that exchange comes as if it had fetched itself. An early request nobody takes by then
// is aborted and forgotten, so that an old answer never passes for a new one.
void startEarlyRequest(const std::string& host, int port, const http::OutgoingRequest& request);
inline constexpr double kEarlyRequestLifetimeMs = 30000;

// The number an `error` event carries for a failed fetch: the page is not told why a request
// failed (refused, unknown host, blocked), only that it did.
inline constexpr int kFetchFailed = 0;

}  // namespace vellmar::browser
