#include "platform/browser/control_view.h"
#include "platform/browser/elements.h"

#include <emscripten/eventloop.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace vellmar::browser {

namespace {

using editor::Child;
using emscripten::val;

// The height of the tab row above the tab strip's client area and the strip's frame, in pixels
// (the style sheet draws them to these sizes).
constexpr int kTabRowHeight = 24;
constexpr int kTabFrame = 2;

constexpr int kProgressInterval = 50;     // ms
constexpr int kKeepAliveInterval = 1000;  // ms

bool isBar(Child c) {
  return c == Child::MenuBar || c == Child::StandardToolbar || c == Child::ObjectsToolbar ||
         c == Child::FontSelector || c == Child::TextFormatToolbar;
}

std::string px(int v) { return std::to_string(v) + "px"; }

int measure(const val& el, const char* property) {
  const double v = el.call<val>("getBoundingClientRect")[property].as<double>();
  return static_cast<int>(std::ceil(v - 0.01));
}

}  // namespace

ControlView::ControlView(val surface, val shadowRoot)
    : surface_(std::move(surface)), messages_(std::move(shadowRoot)) {
  struct BarPlaceholder {
    Child child;
    const char* tag;
    const char* className;
    const char* role;
    const char* label;
  };
  // Stacking follows this order: the editing area and source box lie over the tab strip.
  const BarPlaceholder placeholders[] = {
      {Child::MenuBar, "div", "vellmar-bar vellmar-menubar", "menubar", "Menu"},
      {Child::StandardToolbar, "div", "vellmar-bar vellmar-toolbar-standard", "toolbar", "Standard"},
      {Child::ObjectsToolbar, "div", "vellmar-bar vellmar-toolbar-objects", "toolbar", "Objects"},
      {Child::FontSelector, "div", "vellmar-bar vellmar-font-selector", "toolbar", "Font"},
      {Child::TextFormatToolbar, "div", "vellmar-bar vellmar-toolbar-format", "toolbar",
       "Text Format"},
      {Child::ViewTabs, "div", "vellmar-view-tabs", nullptr, nullptr},
      {Child::Engine, "div", "vellmar-engine", nullptr, nullptr},
      {Child::SourceBox, "textarea", "vellmar-source", nullptr, "HTML"},
      {Child::Progress, "div", "vellmar-progress", "progressbar", "Loading"},
      {Child::Status, "div", "vellmar-status", "status", nullptr},
  };
  for (const auto& s : placeholders) {
    val el = create(s.tag, s.className);
    if (s.role) setAttr(el, "role", s.role);
    if (s.label) setAttr(el, "aria-label", s.label);
    el.set("hidden", true);
    surface_.call<void>("appendChild", el);
    slot(s.child).element = el;
  }
  // The two view tabs; switching views belongs to the views themselves.
  val tablist = create("div", "vellmar-view-tablist");
  setAttr(tablist, "role", "tablist");
  for (const char* caption : {"WYSIWYG", "HTML"}) {
    val tab = create("button", "vellmar-view-tab");
    setAttr(tab, "type", "button");
    setAttr(tab, "role", "tab");
    setAttr(tab, "aria-selected", caption[0] == 'W' ? "true" : "false");
    tab.set("textContent", std::string(caption));
    tablist.call<void>("appendChild", tab);
  }
  slot(Child::ViewTabs).element.call<void>("appendChild", tablist);
  val progress = slot(Child::Progress).element;
  setAttr(progress, "aria-valuemin", "0");
  setAttr(progress, "aria-valuemax", "100");
  progressBar_ = create("div", "vellmar-progress-value");
  progress.call<void>("appendChild", progressBar_);
  // The source box shows only in the HTML view. It holds markup, not prose: the browser neither
  // marks its tag names as misspelt nor capitalises or completes what is typed.
  val source = slot(Child::SourceBox).element;
  source.set("hidden", true);
  source.set("spellcheck", false);
  setAttr(source, "autocapitalize", "off");
  setAttr(source, "autocomplete", "off");
  setAttr(source, "translate", "no");
}

ControlView::~ControlView() {
  if (progressTimer_) emscripten_clear_interval(progressTimer_);
  if (keepAliveTimer_) emscripten_clear_interval(keepAliveTimer_);
}

int ControlView::innerWidth() const { return surface_["clientWidth"].as<int>(); }
int ControlView::innerHeight() const { return surface_["clientHeight"].as<int>(); }

const val& ControlView::element(Child child) const { return slot(child).element; }

editor::Rect ControlView::bounds(Child child) const { return slot(child).rect; }

void ControlView::setBounds(Child child, const editor::Rect& rect) {
  Slot& s = slot(child);
  val style = s.element["style"];
  editor::Rect applied = rect;
  if (isBar(child)) {
    // A bar is never narrower than its content, and as high as its content.
    style.set("width", std::string("max-content"));
    style.set("height", std::string("auto"));
    if (s.shown) {
      applied.width = std::max(rect.width, measure(s.element, "width"));
      applied.height = measure(s.element, "height");
    } else {
      applied.height = s.rect.height;
    }
  }
  s.rect = applied;
  style.set("left", px(applied.left));
  style.set("top", px(applied.top));
  style.set("width", px(applied.width));
  style.set("height", px(applied.height));
}

bool ControlView::isShown(Child child) const { return slot(child).shown; }

void ControlView::setShown(Child child, bool shown) {
  Slot& s = slot(child);
  s.shown = shown;
  // The source box belongs to the HTML view; the views decide when it shows.
  if (child == Child::SourceBox) return;
  s.element.set("hidden", !shown);
}

bool ControlView::isEnabled(Child child) const { return slot(child).enabled; }

void ControlView::setEnabled(Child child, bool enabled) {
  Slot& s = slot(child);
  s.enabled = enabled;
  if (enabled) {
    s.element.call<void>("removeAttribute", std::string("aria-disabled"));
  } else {
    setAttr(s.element, "aria-disabled", "true");
  }
  if (child == Child::SourceBox) s.element.set("disabled", !enabled);
  if (child == Child::ViewTabs) {
    const val tabs = s.element.call<val>("querySelectorAll", std::string("[role=tab]"));
    const int count = tabs["length"].as<int>();
    for (int i = 0; i < count; ++i) tabs[i].set("disabled", !enabled);
  }
}

editor::Rect ControlView::tabClientArea(const editor::Rect& tabs) const {
  return {tabs.left + kTabFrame, tabs.top + kTabRowHeight, std::max(0, tabs.width - 2 * kTabFrame),
          std::max(0, tabs.height - kTabRowHeight - kTabFrame)};
}

void ControlView::setProgressValue(int value) {
  progress_ = value;
  val el = slot(Child::Progress).element;
  setAttr(el, "aria-valuenow", std::to_string(value).c_str());
  progressBar_["style"].set("width", std::to_string(value) + "%");
}

void ControlView::progressTick(void* self) {
  auto* view = static_cast<ControlView*>(self);
  if (view->control_) view->control_->progressTimer();
}

void ControlView::keepAliveTick(void* self) {
  auto* view = static_cast<ControlView*>(self);
  if (view->control_) view->control_->keepAliveTimer();
}

void ControlView::setTimerEnabled(editor::Timer timer, bool enabled) {
  long& id = timer == editor::Timer::Progress ? progressTimer_ : keepAliveTimer_;
  if (enabled == (id != 0)) return;
  if (!enabled) {
    emscripten_clear_interval(id);
    id = 0;
  } else if (timer == editor::Timer::Progress) {
    id = emscripten_set_interval(&ControlView::progressTick, kProgressInterval, this);
  } else {
    id = emscripten_set_interval(&ControlView::keepAliveTick, kKeepAliveInterval, this);
  }
}

void ControlView::setStatusText(const std::string& text) {
  slot(Child::Status).element.set("textContent", text);
}

std::string ControlView::statusText() const {
  return slot(Child::Status).element["textContent"].as<std::string>();
}

void ControlView::setLoadingShown(bool loading) {
  val engine = slot(Child::Engine).element;
  if (loading) {
    setAttr(engine, "aria-busy", "true");
  } else {
    engine.call<void>("removeAttribute", std::string("aria-busy"));
  }
}

void ControlView::raiseLoaded() {
  if (loaded_) loaded_();
}

}  // namespace vellmar::browser
