#pragma once

#include <emscripten/val.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/browser/control_view.h"
#include "platform/browser/event_route.h"

namespace vellmar::browser {

class Engine;
class EditorMenuBar;

// The two views of the editing area: the engine (WYSIWYG) and the source box (HTML), the tabs and
// `view` menu items that switch between them, and the document going into and out of the engine.
class EditorViews {
 public:
  EditorViews(ControlView& view, EditorMenuBar& menuBar);
  ~EditorViews();
  EditorViews(const EditorViews&) = delete;
  EditorViews& operator=(const EditorViews&) = delete;

  // The engine exists from the first show on.
  void attach(Engine& engine);

  // Puts the document into the engine, scrolls to the top, refreshes the source box and puts the
  // caret at the start.
  void loadDocument(const std::string& content);
  // A collapsed selection at the start of the body.
  void caretToStart();
  std::string getBodyHTML() const;
  // 0: getBodyHTML; 1: the body's plain text; anything else: "".
  std::string getContent(std::int32_t contentType) const;
  // "wysiwyg" or "html"; any other key, or the current view's, does nothing.
  void setView(std::string_view viewKey);

  // The page's events.
  void handleEvent(int kind, int index);

 private:
  void sourceChanged();
  void setAllMenuItemsGrayed(bool grayed);
  void selectTab(int index);

  ControlView& view_;
  EditorMenuBar& menuBar_;
  Engine* engine_ = nullptr;
  emscripten::val source_;
  EventRoute route_{"EditorViews"};
  // True while the control itself writes the source box.
  bool suppress_ = false;
};

}  // namespace vellmar::browser
