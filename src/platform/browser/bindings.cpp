// The editor's interface to JavaScript: one Instance per editor element, created by the loader.
#include <emscripten/bind.h>

#include "common/version.h"
#include "platform/browser/host.h"

namespace {

using emscripten::val;
using vellmar::browser::ElementHost;

val propertyNameList() {
  val names = val::array();
  for (const auto& name : vellmar::browser::propertyNames()) names.call<void>("push", name);
  return names;
}

std::string version() { return vellmar::productVersion(); }

}  // namespace

EMSCRIPTEN_BINDINGS(vellmar) {
  emscripten::class_<ElementHost>("Instance")
      .constructor<val>()
      .function("show", &ElementHost::show)
      .function("hide", &ElementHost::hide)
      .function("resize", &ElementHost::resize)
      .function("getProperty", &ElementHost::getProperty)
      .function("setProperty", &ElementHost::setProperty)
      .function("getContent", &ElementHost::getContent)
      .function("getBodyHTML", &ElementHost::getBodyHTML)
      .function("hasUnsavedChanges", &ElementHost::hasUnsavedChanges)
      .function("writeProperties", &ElementHost::writeProperties)
      .function("getDebugLog", &ElementHost::getDebugLog)
      .function("showMessage", &ElementHost::showMessage);
  emscripten::function("propertyNames", &propertyNameList);
  emscripten::function("version", &version);
}
