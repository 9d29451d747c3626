#include "platform/browser/dialog_parts.h"

#include <chrono>

#include "platform/browser/elements.h"
#include "platform/browser/fetch_transport.h"

namespace vellmar::browser::parts {

val element(const char* tag, const std::string& className, const std::string& text) {
  val el = create(tag, className);
  if (!text.empty()) el.set("textContent", text);
  return el;
}

val labelled(const val& parent, const std::string& label, val control) {
  val wrap = element("label", "vellmar-field");
  wrap.call<void>("appendChild", element("span", "vellmar-field-label", label));
  wrap.call<void>("appendChild", control);
  parent.call<void>("appendChild", wrap);
  return wrap;
}

val textBox(const std::string& value) {
  val input = element("input");
  input.set("type", std::string("text"));
  input.set("value", value);
  input.set("spellcheck", false);
  return input;
}

val listBox(int rows) {
  val list = element("select", "vellmar-listbox");
  list.set("size", rows);
  return list;
}

val dropDown(const std::vector<std::string>& entries) {
  val list = element("select");
  setEntries(list, entries);
  return list;
}

void setEntries(val list, const std::vector<std::string>& entries) {
  list.set("textContent", std::string());
  for (const auto& e : entries) list.call<void>("appendChild", element("option", {}, e));
}

int selectedIndex(val list) { return list["selectedIndex"].as<int>(); }
void select(val list, int index) { list.set("selectedIndex", index); }
std::string text(val control) { return control["value"].as<std::string>(); }
void setText(val control, const std::string& value) { control.set("value", value); }
void setDisabled(val control, bool disabled) { control.set("disabled", disabled); }
void setHidden(val el, bool hidden) { el.set("hidden", hidden); }

val alertLine() {
  val line = element("p", "vellmar-dialog-alert");
  line.call<void>("setAttribute", std::string("role"), std::string("alert"));
  line.set("hidden", true);
  return line;
}

void say(val line, const std::string& text) {
  line.set("textContent", text);
  line.set("hidden", text.empty());
}

TabStrip::TabStrip(const val& parent, EventRoute& route) : route_(route) {
  list_ = element("div", "vellmar-tabs");
  list_.call<void>("setAttribute", std::string("role"), std::string("tablist"));
  pages_ = element("div", "vellmar-tab-pages");
  parent.call<void>("appendChild", list_);
  parent.call<void>("appendChild", pages_);
  route_.listen(list_, "keydown", [this](const val& event) {
    const std::string key = event["key"].as<std::string>();
    if (key != "ArrowLeft" && key != "ArrowRight") return;
    std::size_t i = 0;
    while (i < tabs_.size() && tabs_[i].caption != current_) ++i;
    if (i == tabs_.size() || tabs_.size() < 2) return;
    i = key == "ArrowRight" ? (i + 1) % tabs_.size() : (i + tabs_.size() - 1) % tabs_.size();
    event.call<void>("preventDefault");
    choose(tabs_[i].caption);
    tabs_[i].button.call<void>("focus");
  });
}

val TabStrip::add(const std::string& caption) {
  val button = element("button", "vellmar-tab", caption);
  button.set("type", std::string("button"));
  button.call<void>("setAttribute", std::string("role"), std::string("tab"));
  val page = element("div", "vellmar-tab-page");
  page.call<void>("setAttribute", std::string("role"), std::string("tabpanel"));
  page.call<void>("setAttribute", std::string("aria-label"), caption);
  list_.call<void>("appendChild", button);
  pages_.call<void>("appendChild", page);
  tabs_.push_back(Tab{caption, button, page});
  route_.listen(button, "click", [this, caption](const val&) { choose(caption); });
  if (tabs_.size() == 1) choose(caption);
  return page;
}

void TabStrip::choose(const std::string& caption) {
  bool found = false;
  for (auto& t : tabs_) {
    const bool on = t.caption == caption;
    found = found || on;
    t.button.call<void>("setAttribute", std::string("aria-selected"), std::string(on ? "true" : "false"));
    t.button.set("tabIndex", on ? 0 : -1);
    t.page.set("hidden", !on);
  }
  if (!found) return;
  current_ = caption;
  if (chosen) chosen(caption);
}

void TabStrip::setDisabled(bool disabled) {
  for (auto& t : tabs_) t.button.set("disabled", disabled);
}

Progress::Progress(const val& parent, const std::string& label) {
  bar_ = element("progress", "vellmar-progress");
  bar_.set("max", 100);
  bar_.set("value", 0);
  bar_.call<void>("setAttribute", std::string("aria-label"), label);
  bar_.set("hidden", true);
  parent.call<void>("appendChild", bar_);
  timer_ = PageEventLoop::shared().createTimer(std::chrono::milliseconds(60), [this] {
    step_ = (step_ + 1) % 100;
    bar_.set("value", step_);
  });
}

void Progress::start() {
  running_ = true;
  step_ = 0;
  bar_.set("max", 100);
  bar_.set("value", 0);
  bar_.call<void>("removeAttribute", std::string("aria-valuetext"));
  bar_.set("hidden", false);
  timer_->setEnabled(true);
}

void Progress::show(std::uint64_t done, std::uint64_t total) {
  if (!running_ || total == 0) return;
  timer_->setEnabled(false);
  bar_.set("max", static_cast<double>(total));
  bar_.set("value", static_cast<double>(done < total ? done : total));
  bar_.call<void>("setAttribute", std::string("aria-valuetext"),
                  std::to_string(done) + " of " + std::to_string(total) + " bytes sent");
}

void Progress::stop() {
  running_ = false;
  timer_->setEnabled(false);
  bar_.set("value", 0);
  bar_.set("hidden", true);
}

}  // namespace vellmar::browser::parts
