#include "platform/browser/host.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "common/diagnostics.h"

namespace vellmar::browser {

namespace {

std::string lowerAscii(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Provisional property store until the full property set is wired in: the page's parameters as
// given, one store for every editor on the page.
struct ProvisionalProperty {
  std::string name;
  std::string value;
};

std::map<std::string, ProvisionalProperty>& store() {
  static std::map<std::string, ProvisionalProperty> values = {
      {"domain", {"domain", ""}},
      {"port", {"port", ""}},
  };
  return values;
}

const char* const kStyleSheetHref = "vellmar.css";

}  // namespace

std::vector<std::pair<std::string, std::string>> readParams(const val& element) {
  std::vector<std::pair<std::string, std::string>> params;
  const val children = element["children"];
  const int count = children["length"].as<int>();
  for (int i = 0; i < count; ++i) {
    const val child = children[i];
    if (child["tagName"].as<std::string>() != "PARAM") continue;
    const val name = child.call<val>("getAttribute", std::string("name"));
    if (name.isNull()) continue;
    const val value = child.call<val>("getAttribute", std::string("value"));
    params.emplace_back(name.as<std::string>(), value.isNull() ? "" : value.as<std::string>());
  }
  return params;
}

std::vector<std::string> propertyNames() {
  std::vector<std::string> names;
  for (const auto& [key, property] : store()) names.push_back(property.name);
  return names;
}

ElementHost::ElementHost(val element) : element_(std::move(element)) {
  const val document = val::global("document");
  // An <object> cannot carry a shadow root, so the editor's box is a child of it; a
  // <vellmar-editor> carries its shadow root itself.
  val host = element_;
  if (element_["tagName"].as<std::string>() == "OBJECT") {
    host = document.call<val>("createElement", std::string("div"));
    host.call<void>("setAttribute", std::string("class"), std::string("vellmar-host"));
    element_.call<void>("appendChild", host);
  }
  val init = val::object();
  init.set("mode", std::string("open"));
  root_ = host.call<val>("attachShadow", init);

  // The component's style sheet sits beside vellmar.js; the loader tells us where.
  val link = document.call<val>("createElement", std::string("link"));
  link.set("rel", std::string("stylesheet"));
  const val base = val::module_property("vellmarBaseUrl");
  link.set("href", (base.isString() ? base.as<std::string>() : std::string()) + kStyleSheetHref);
  root_.call<void>("appendChild", link);

  surface_ = document.call<val>("createElement", std::string("div"));
  surface_.call<void>("setAttribute", std::string("class"), std::string("vellmar-control"));
  surface_.call<void>("setAttribute", std::string("part"), std::string("control"));
  root_.call<void>("appendChild", surface_);

  for (const auto& [name, value] : readParams(element_)) {
    auto it = store().find(lowerAscii(name));
    if (it != store().end()) it->second.value = value;
  }
}

ElementHost::~ElementHost() = default;

void ElementHost::show() {
  guarded("UserControl_Show", [&] {
    shown_ = true;
    raiseEvent("Loaded", val::undefined());
  });
}

void ElementHost::hide() {
  guarded("UserControl_Hide", [&] { shown_ = false; });
}

void ElementHost::resize(double width, double height) {
  width_ = width;
  height_ = height;
}

val ElementHost::getProperty(const std::string& name) const {
  auto it = store().find(lowerAscii(name));
  if (it == store().end()) return val::undefined();
  return val(it->second.value);
}

void ElementHost::setProperty(const std::string& name, const val& value) {
  auto it = store().find(lowerAscii(name));
  if (it == store().end()) return;
  it->second.value = value.isString() ? value.as<std::string>()
                                      : val::global("String")(value).as<std::string>();
  val detail = val::object();
  detail.set("name", it->second.name);
  raiseEvent("propertychange", detail);
}

std::string ElementHost::getContent(int /*contentType*/) { return {}; }

std::string ElementHost::getBodyHTML() { return {}; }

val ElementHost::writeProperties() {
  val pairs = val::array();
  for (const auto& [key, property] : store()) {
    val pair = val::array();
    pair.call<void>("push", property.name);
    pair.call<void>("push", property.value);
    pairs.call<void>("push", pair);
  }
  return pairs;
}

void ElementHost::raiseEvent(const std::string& type, const val& detail) const {
  val init = val::object();
  init.set("detail", detail);
  init.set("bubbles", false);
  val event = val::global("CustomEvent").new_(type, init);
  element_.call<bool>("dispatchEvent", event);
}

}  // namespace vellmar::browser
