#pragma once

#include <chrono>
#include <functional>
#include <memory>

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

// The number an `error` event carries for a failed fetch: the page is not told why a request
// failed (refused, unknown host, blocked), only that it did.
inline constexpr int kFetchFailed = 0;

}  // namespace vellmar::browser
