#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "http/transport.h"

namespace vellmar::native {

// The single-threaded event loop of the native build: file descriptors watched with poll(),
// repeating timers and deferred calls, all dispatched on the thread that runs the loop. Every
// callback may add or remove watches, timers and deferred calls, including its own.
class PollLoop final : public http::EventLoop {
 public:
  using Clock = std::chrono::steady_clock;
  using Id = std::uint64_t;

  PollLoop() = default;
  ~PollLoop() override = default;
  PollLoop(const PollLoop&) = delete;
  PollLoop& operator=(const PollLoop&) = delete;

  // A TCP transport whose connection runs on this loop.
  std::unique_ptr<http::Transport> createTransport(http::TransportListener& listener) override;
  std::unique_ptr<http::Timer> createTimer(std::chrono::milliseconds interval,
                                           std::function<void()> tick) override;

  // Calls `onReady(revents)` whenever poll() reports one of `events` (or an error or hang-up) on
  // `fd`. The loop does not own the descriptor.
  Id watch(int fd, short events, std::function<void(short revents)> onReady);
  void setEvents(Id id, short events);
  void unwatch(Id id);

  // Runs `fn` from the loop, after the current callback has returned.
  void post(std::function<void()> fn);

  // Repeating timer entries behind createTimer.
  Id addTimer(std::chrono::milliseconds interval, std::function<void()> tick);
  void enableTimer(Id id, bool enabled);
  void removeTimer(Id id);

  // Waits at most `maxWait` for the first ready descriptor or due timer and dispatches everything
  // that is ready then. Returns false when there is nothing to wait for at all.
  bool runOnce(std::chrono::milliseconds maxWait);
  // Runs until `done()` holds (checked after every round) or nothing is left to wait for.
  // Returns done().
  bool runUntil(const std::function<bool()>& done);

 private:
  struct Watch {
    int fd;
    short events;
    std::function<void(short)> onReady;
  };
  struct TimerEntry {
    std::chrono::milliseconds interval;
    bool enabled = false;
    Clock::time_point due{};
    std::function<void()> tick;
  };

  Id nextId_ = 1;
  std::map<Id, Watch> watches_;
  std::map<Id, TimerEntry> timers_;
  std::vector<std::function<void()>> posted_;
};

}  // namespace vellmar::native
