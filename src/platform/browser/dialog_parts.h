#pragma once

#include <emscripten/val.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "http/transport.h"
#include "platform/browser/event_route.h"

// The pieces the editor's dialogs are built from: labelled fields, list boxes, a tab strip and a
// progress bar. Labels wrap their controls, so every field is named by its label.
namespace vellmar::browser::parts {

using emscripten::val;

val element(const char* tag, const std::string& className = {}, const std::string& text = {});
// A label wrapping `control`, the label's text in front; appended to `parent`.
val labelled(const val& parent, const std::string& label, val control);
val textBox(const std::string& value = {});
// A list box showing `rows` entries at a time (a select of that size: a real listbox).
val listBox(int rows);
// A drop-down list with `entries`.
val dropDown(const std::vector<std::string>& entries);
void setEntries(val list, const std::vector<std::string>& entries);
int selectedIndex(val list);
void select(val list, int index);
std::string text(val control);
void setText(val control, const std::string& text);
void setDisabled(val control, bool disabled);
void setHidden(val element, bool hidden);
// A line for what went wrong beside a field or list; empty text hides it.
val alertLine();
void say(val line, const std::string& text);

// A strip of tabs over their pages (tablist / tab / tabpanel); arrow keys move between tabs.
class TabStrip {
 public:
  TabStrip(const val& parent, EventRoute& route);
  // Adds a tab and returns its page.
  val add(const std::string& caption);
  void choose(const std::string& caption);
  const std::string& current() const { return current_; }
  void setDisabled(bool disabled);
  std::function<void(const std::string& caption)> chosen;

 private:
  struct Tab {
    std::string caption;
    val button;
    val page;
  };
  val list_ = val::undefined();
  val pages_ = val::undefined();
  EventRoute& route_;
  std::vector<Tab> tabs_;
  std::string current_;
};

// A progress bar that steps 0..99 and round again on a timer while something runs, or shows a
// known share when one is given.
class Progress {
 public:
  explicit Progress(const val& parent, const std::string& label);
  void start();
  void stop();
  // Real progress in place of the running bar: `done` of `total`, also given as text.
  void show(std::uint64_t done, std::uint64_t total);
  bool running() const { return running_; }

 private:
  val bar_ = val::undefined();
  std::unique_ptr<http::Timer> timer_;
  int step_ = 0;
  bool running_ = false;
};

}  // namespace vellmar::browser::parts
