#include "platform/native/poll_loop.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vellmar::native {

namespace {

class LoopTimer final : public http::Timer {
 public:
  LoopTimer(PollLoop& loop, PollLoop::Id id) : loop_(loop), id_(id) {}
  ~LoopTimer() override { loop_.removeTimer(id_); }
  void setEnabled(bool enabled) override {
    enabled_ = enabled;
    loop_.enableTimer(id_, enabled);
  }
  bool enabled() const override { return enabled_; }

 private:
  PollLoop& loop_;
  PollLoop::Id id_;
  bool enabled_ = false;
};

}  // namespace

std::unique_ptr<http::Timer> PollLoop::createTimer(std::chrono::milliseconds interval,
                                                   std::function<void()> tick) {
  return std::make_unique<LoopTimer>(*this, addTimer(interval, std::move(tick)));
}

PollLoop::Id PollLoop::watch(int fd, short events, std::function<void(short)> onReady) {
  const Id id = nextId_++;
  watches_.emplace(id, Watch{fd, events, std::move(onReady)});
  return id;
}

void PollLoop::setEvents(Id id, short events) {
  if (auto it = watches_.find(id); it != watches_.end()) it->second.events = events;
}

void PollLoop::unwatch(Id id) { watches_.erase(id); }

void PollLoop::post(std::function<void()> fn) { posted_.push_back(std::move(fn)); }

PollLoop::Id PollLoop::addTimer(std::chrono::milliseconds interval, std::function<void()> tick) {
  const Id id = nextId_++;
  timers_.emplace(id, TimerEntry{interval, false, {}, std::move(tick)});
  return id;
}

void PollLoop::enableTimer(Id id, bool enabled) {
  auto it = timers_.find(id);
  if (it == timers_.end()) return;
  it->second.enabled = enabled;
  if (enabled) it->second.due = Clock::now() + it->second.interval;
}

void PollLoop::removeTimer(Id id) { timers_.erase(id); }

bool PollLoop::runOnce(std::chrono::milliseconds maxWait) {
  if (!posted_.empty()) {
    auto batch = std::move(posted_);
    posted_.clear();
    for (auto& fn : batch) fn();
    maxWait = std::chrono::milliseconds(0);
  }

  auto now = Clock::now();
  bool anyTimer = false;
  auto wait = maxWait;
  for (const auto& [id, t] : timers_) {
    if (!t.enabled) continue;
    anyTimer = true;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(t.due - now);
    wait = std::min(wait, std::max(left, std::chrono::milliseconds(0)));
  }
  if (watches_.empty() && !anyTimer && posted_.empty()) return false;
  if (!posted_.empty()) wait = std::chrono::milliseconds(0);

  std::vector<pollfd> fds;
  std::vector<Id> ids;
  fds.reserve(watches_.size());
  ids.reserve(watches_.size());
  for (const auto& [id, w] : watches_) {
    fds.push_back(pollfd{w.fd, w.events, 0});
    ids.push_back(id);
  }
  int ready = ::poll(fds.data(), fds.size(), static_cast<int>(wait.count()));
  if (ready < 0 && errno != EINTR) return false;

  for (std::size_t i = 0; ready > 0 && i < fds.size(); ++i) {
    if (fds[i].revents == 0) continue;
    // An earlier callback of this round may have removed or replaced the watch.
    auto it = watches_.find(ids[i]);
    if (it == watches_.end()) continue;
    auto onReady = it->second.onReady;
    onReady(fds[i].revents);
  }

  now = Clock::now();
  std::vector<Id> due;
  for (const auto& [id, t] : timers_)
    if (t.enabled && t.due <= now) due.push_back(id);
  for (Id id : due) {
    auto it = timers_.find(id);
    if (it == timers_.end() || !it->second.enabled || it->second.due > now) continue;
    // The next tick is one interval after this one was due; a loop that fell behind does not
    // fire a burst of ticks to catch up.
    it->second.due = std::max(it->second.due + it->second.interval, now);
    auto tick = it->second.tick;
    tick();
  }
  return true;
}

bool PollLoop::runUntil(const std::function<bool()>& done) {
  while (!done()) {
    if (!runOnce(std::chrono::milliseconds(1000))) break;
  }
  return done();
}

}  // namespace vellmar::native
