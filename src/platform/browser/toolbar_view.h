#pragma once

#include <emscripten/val.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "editor/control.h"
#include "platform/browser/event_route.h"
#include "toolbars/font_selector.h"
#include "toolbars/toolbars.h"

namespace vellmar::browser {

// Draws one toolbar in its bar element: a real button per entry, named by its tooltip, with its
// icon; pressed toggles carry aria-pressed, unavailable ones are disabled. The arrow keys, Home and
// End move among the shown buttons (one of them is the toolbar's tab stop). A press keeps the focus
// where it was, so the document keeps its selection.
class ToolbarView {
 public:
  ToolbarView(toolbars::ctlToolbar& model, emscripten::val bar);
  ToolbarView(const ToolbarView&) = delete;
  ToolbarView& operator=(const ToolbarView&) = delete;

 private:
  void changed(int index);
  void drawButton(int index);
  void onKey(const emscripten::val& event);
  // The shown, enabled buttons in order (1-based indexes).
  std::vector<int> reachable() const;
  void setTabStop(int index);

  toolbars::ctlToolbar& model_;
  emscripten::val bar_;
  std::vector<emscripten::val> buttons_;  // index 0 is button 1
  int tabStop_ = 0;
  EventRoute route_{"ctlToolbar_ButtonClick"};
};

// Draws the selector bar: three labelled drop-down lists, the removed ones left out.
class SelectorView {
 public:
  SelectorView(toolbars::ctlFontSelector& model, emscripten::val bar);
  SelectorView(const SelectorView&) = delete;
  SelectorView& operator=(const SelectorView&) = delete;

  // After the user picked an entry (the focus goes back to the document).
  std::function<void()> picked;

 private:
  void changed(const toolbars::SelectorList* list);
  void drawList(toolbars::SelectorList list);

  toolbars::ctlFontSelector& model_;
  emscripten::val bar_;
  std::vector<emscripten::val> lists_;
  EventRoute route_{"ctlFontSelector_Click"};
};

// The editor's three toolbars and its selector bar: models, views, the control's
// applyToolbarSwitches hook and the route of clicks and picks to the dispatch.
class EditorToolbars {
 public:
  // `bar` gives the element of each bar child of the control.
  explicit EditorToolbars(const std::function<emscripten::val(editor::Child)>& bar);

  void connect(editor::ControlHooks& hooks);
  // Where clicked keys go (the dispatch), and the selector's three events.
  void setDispatch(std::function<void(const std::string& key)> dispatch);
  void setSelectorEvents(std::function<void(const std::string&)> formatChanged,
                         std::function<void(const std::string&)> fontChanged,
                         std::function<void(const std::string&)> sizeChanged);
  void setRefocus(std::function<void()> refocus) { selectorView_.picked = std::move(refocus); }
  // The HTML view disables every button and the three lists but cut, copy and paste; the WYSIWYG
  // view enables them all again (the selection tracker then decides, as after any change).
  void sourceViewShown(bool shown);

  toolbars::ctlToolbar& standard() { return standard_; }
  toolbars::ctlToolbar& objects() { return objects_; }
  toolbars::ctlToolbar& textFormat() { return textFormat_; }
  toolbars::ctlFontSelector& selector() { return selector_; }

 private:
  toolbars::ctlToolbar standard_{toolbars::ToolbarId::standard};
  toolbars::ctlToolbar objects_{toolbars::ToolbarId::objects};
  toolbars::ctlToolbar textFormat_{toolbars::ToolbarId::textFormat};
  toolbars::ctlFontSelector selector_;
  ToolbarView standardView_;
  ToolbarView objectsView_;
  ToolbarView textFormatView_;
  SelectorView selectorView_;
};

}  // namespace vellmar::browser
