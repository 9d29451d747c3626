#pragma once

#include <emscripten/val.h>

#include <functional>
#include <string>
#include <vector>

namespace vellmar::browser {

// Routes browser events into C++ for as long as its owner lives. Every listener it adds is removed
// again when the route goes, and a callback the browser still holds (a promise, a timer) finds
// nothing to call once the route is gone. What the handler throws is trapped and logged under the
// route's name, so no failure escapes into the browser.
class EventRoute {
 public:
  using Handler = std::function<void(const emscripten::val& event)>;

  explicit EventRoute(std::string name) : name_(std::move(name)) {}
  ~EventRoute();
  EventRoute(const EventRoute&) = delete;
  EventRoute& operator=(const EventRoute&) = delete;

  // addEventListener(type, ..., capture) on `target`, calling `handler` with the event. The answer
  // names the listener for unlisten.
  int listen(const emscripten::val& target, const std::string& type, Handler handler, bool capture = false);
  // Removes one listener before the route goes (an element that is thrown away).
  void unlisten(int listener);
  // A JavaScript function calling `handler` with its first argument every time (an observer's).
  emscripten::val function(Handler handler);
  // A JavaScript function calling `handler` once with its first argument (a promise's answer, a
  // timer); later calls do nothing.
  emscripten::val callback(Handler handler);

 private:
  struct Listener {
    int id;
    emscripten::val target;
    std::string type;
    emscripten::val function;
    bool capture;
  };
  int add(Handler handler, bool once);

  std::string name_;
  std::vector<int> ids_;
  std::vector<Listener> listeners_;
};

}  // namespace vellmar::browser
