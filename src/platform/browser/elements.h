#pragma once

// Making the editor's own interface elements: the few DOM calls every view repeats.

#include <emscripten/val.h>

#include <string>
#include <string_view>

namespace vellmar::browser {

// A new element of the page's document, with `className` as its class when one is given.
inline emscripten::val create(std::string_view tag, std::string_view className = {}) {
  emscripten::val el = emscripten::val::global("document").call<emscripten::val>("createElement", std::string(tag));
  if (!className.empty()) el.call<void>("setAttribute", std::string("class"), std::string(className));
  return el;
}

inline void setAttr(const emscripten::val& el, std::string_view name, std::string_view value) {
  el.call<void>("setAttribute", std::string(name), std::string(value));
}

}  // namespace vellmar::browser
