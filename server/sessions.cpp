#include "server/sessions.h"
#include "server/text.h"

#include <algorithm>
#include <array>
#include <random>

namespace vellmar::server {

namespace {

std::string randomToken() {
  static std::mutex mutex;
  static std::random_device device;
  static constexpr char digits[] = "0123456789abcdef";
  std::array<unsigned, 4> words{};
  {
    std::lock_guard lock(mutex);
    for (auto& w : words) w = device();
  }
  std::string token;
  token.reserve(32);
  for (unsigned w : words)
    for (int shift = 28; shift >= 0; shift -= 4) token.push_back(digits[(w >> shift) & 0xFu]);
  return token;
}


}  // namespace

SessionStore::SessionStore(Database& db, std::chrono::milliseconds lifetime,
                           std::int64_t maxSessions)
    : db_(db),
      lifetime_(lifetime),
      maxSessions_(std::max<std::int64_t>(1, maxSessions)),
      writeInterval_(std::min<std::int64_t>(5000, lifetime.count() / 10)) {}

std::int64_t SessionStore::nowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::string SessionStore::create() {
  const std::int64_t now = nowMs();
  std::string token = randomToken();
  const bool capped = db_.write([&](Connection& c) {
    c.prepare("DELETE FROM sessions WHERE last_seen < ?").bind(1, now - lifetime_.count()).run();
    c.prepare("INSERT INTO sessions(token, created, last_seen) VALUES(?, ?, ?)")
        .bind(1, token)
        .bind(2, now)
        .bind(3, now)
        .run();
    // The times in the database lag those in memory by a few seconds at most, which is all the
    // order of the least recently used needs.
    c.prepare("DELETE FROM sessions WHERE token IN (SELECT token FROM sessions "
              "ORDER BY last_seen DESC, created DESC LIMIT -1 OFFSET ?)")
        .bind(1, maxSessions_)
        .run();
    return c.changes() > 0;
  });
  std::lock_guard lock(mutex_);
  std::erase_if(cache_, [&](const auto& kv) { return now - kv.second.lastSeen > lifetime_.count(); });
  cache_[token] = Entry{now, now};
  if (capped) {
    // The sessions that ended for the limit are forgotten here too: the database is asked again.
    std::erase_if(cache_, [&](const auto& kv) { return kv.first != token; });
  }
  return token;
}

void SessionStore::end(std::string_view tokenView) {
  const std::string token(tokenView);
  {
    std::lock_guard lock(mutex_);
    cache_.erase(token);
  }
  db_.write([&](Connection& c) { c.prepare("DELETE FROM sessions WHERE token = ?").bind(1, token).run(); });
}

bool SessionStore::touch(std::string_view tokenView, bool persist) {
  if (tokenView.empty()) return false;
  const std::string token(tokenView);
  const std::int64_t now = nowMs();
  bool due = false;
  {
    std::lock_guard lock(mutex_);
    auto it = cache_.find(token);
    if (it != cache_.end()) {
      if (now - it->second.lastSeen > lifetime_.count()) {
        cache_.erase(it);
        return false;
      }
      it->second.lastSeen = now;
      due = persist || now - it->second.lastWritten >= writeInterval_;
      if (due) it->second.lastWritten = now;
    }
  }
  if (due) {
    write(token, now);
    return true;
  }
  {
    std::lock_guard lock(mutex_);
    if (cache_.count(token)) return true;
  }

  // Not seen since this process started: the database decides.
  const std::int64_t stored = db_.read([&](Connection& c) -> std::int64_t {
    auto st = c.prepare("SELECT last_seen FROM sessions WHERE token = ?");
    st.bind(1, token);
    return st.step() ? st.integer(0) : -1;
  });
  if (stored < 0 || now - stored > lifetime_.count()) return false;
  write(token, now);
  std::lock_guard lock(mutex_);
  cache_[token] = Entry{now, now};
  return true;
}

void SessionStore::write(const std::string& token, std::int64_t lastSeen) {
  db_.write([&](Connection& c) {
    c.prepare("UPDATE sessions SET last_seen = max(last_seen, ?) WHERE token = ?")
        .bind(1, lastSeen)
        .bind(2, token)
        .run();
  });
}

std::string SessionStore::cookieValue(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    const auto semi = header.find(';');
    std::string_view pair = trim(header.substr(0, semi));
    header = semi == std::string_view::npos ? std::string_view{} : header.substr(semi + 1);
    const auto eq = pair.find('=');
    if (eq == std::string_view::npos) continue;
    if (trim(pair.substr(0, eq)) == name) return std::string(trim(pair.substr(eq + 1)));
  }
  return {};
}

}  // namespace vellmar::server
