#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "server/database.h"

namespace vellmar::server {

// Login sessions of the scripts. A session is a random token handed out as a cookie by the demo
// page; it lapses after `lifetime` without a request. Sessions live in the database so that a
// restart does not log anybody out; the time of the last request is kept in memory and written
// back at most every few seconds, so reading a document does not cost a disk write.
class SessionStore {
 public:
  static constexpr const char* kCookieName = "vmSession";

  // At most `maxSessions` live at once: beyond, the least recently used ones end.
  SessionStore(Database& db, std::chrono::milliseconds lifetime, std::int64_t maxSessions = 10000);

  // A new live session; expired ones are deleted on the way, and the least recently used ones
  // when more than the limit are live.
  std::string create();
  // Ends a session at once (nothing happens for an unknown token).
  void end(std::string_view token);
  // True when `token` names a live session, which then counts as used now. `persist` writes the
  // new time through at once (the keep-alive script does, so that its effect survives a restart).
  bool touch(std::string_view token, bool persist = false);

  std::chrono::milliseconds lifetime() const { return lifetime_; }

  // The value of cookie `name` in a Cookie header ("a=1; b=2"), or empty.
  static std::string cookieValue(std::string_view header, std::string_view name);

 private:
  struct Entry {
    std::int64_t lastSeen = 0;     // ms since the epoch
    std::int64_t lastWritten = 0;  // the value the database holds
  };

  static std::int64_t nowMs();
  void write(const std::string& token, std::int64_t lastSeen);

  Database& db_;
  std::chrono::milliseconds lifetime_;
  std::int64_t maxSessions_;
  std::int64_t writeInterval_;
  std::mutex mutex_;
  std::unordered_map<std::string, Entry> cache_;
};

}  // namespace vellmar::server
