#include "platform/browser/event_route.h"

#include <emscripten/bind.h>
#include <emscripten/em_js.h>
#include <emscripten/em_macros.h>

#include <unordered_map>

#include "common/diagnostics.h"

using JsHandle = emscripten::EM_VAL;

EM_JS(JsHandle, vellmar_route_function, (int id), {
  return Emval.toHandle(function(event) { Module["vellmarRouteEvent"](id, event === undefined ? null : event); });
});

namespace vellmar::browser {

namespace {

using emscripten::val;

struct Entry {
  const std::string* name;
  EventRoute::Handler handler;
  bool once = false;
};

std::unordered_map<int, Entry>& handlers() {
  static std::unordered_map<int, Entry> all;
  return all;
}

int gNextId = 1;

void routeEvent(int id, val event) {
  const auto found = handlers().find(id);
  if (found == handlers().end()) return;
  // The handler may end the route (and so this entry) while it runs.
  const EventRoute::Handler handler = found->second.handler;
  const std::string name = *found->second.name;
  if (found->second.once) handlers().erase(found);
  guarded(name, [&] { handler(event); });
}

}  // namespace

EventRoute::~EventRoute() {
  for (auto& listener : listeners_) {
    listener.target.call<void>("removeEventListener", listener.type, listener.function, listener.capture);
  }
  for (int id : ids_) handlers().erase(id);
}

int EventRoute::add(Handler handler, bool once) {
  const int id = gNextId++;
  handlers()[id] = Entry{&name_, std::move(handler), once};
  ids_.push_back(id);
  return id;
}

int EventRoute::listen(const val& target, const std::string& type, Handler handler, bool capture) {
  const int id = add(std::move(handler), false);
  val function = val::take_ownership(vellmar_route_function(id));
  target.call<void>("addEventListener", type, function, capture);
  listeners_.push_back(Listener{id, target, type, function, capture});
  return id;
}

void EventRoute::unlisten(int listener) {
  for (auto it = listeners_.begin(); it != listeners_.end(); ++it) {
    if (it->id != listener) continue;
    it->target.call<void>("removeEventListener", it->type, it->function, it->capture);
    listeners_.erase(it);
    break;
  }
  handlers().erase(listener);
}

val EventRoute::function(Handler handler) {
  return val::take_ownership(vellmar_route_function(add(std::move(handler), false)));
}

val EventRoute::callback(Handler handler) {
  return val::take_ownership(vellmar_route_function(add(std::move(handler), true)));
}

}  // namespace vellmar::browser

EMSCRIPTEN_BINDINGS(vellmar_event_route) { emscripten::function("vellmarRouteEvent", &vellmar::browser::routeEvent); }
