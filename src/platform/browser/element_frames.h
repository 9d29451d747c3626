#pragma once

// The element frames of one editor: a band under the editing surface with a title line (the
// panel's heading and a close button) and the property panel of the element under the selection
// (image, rule, table or cell). The fields, what they read and what they write are the editing
// subsystem's panel model; this draws them, hands them the element and keeps each change one undo
// step. The band is a non-modal region named by its title.

#include <emscripten/val.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "editing/element_panels.h"
#include "editor/control.h"
#include "platform/browser/colour_selector_view.h"
#include "platform/browser/dom.h"
#include "platform/browser/event_route.h"

namespace vellmar::browser {

class Engine;
class EditorCommands;

class ElementFrames {
 public:
  // `surface` is the control's box, where the band is placed by the control's layout.
  ElementFrames(emscripten::val surface, Engine& engine, EditorCommands& commands,
                editor::ctlVellmar2& control, ColourPicker& picker);
  ~ElementFrames();
  ElementFrames(const ElementFrames&) = delete;
  ElementFrames& operator=(const ElementFrames&) = delete;

  // Opens `panel` for the element under the selection (or re-reads it when it changed).
  void showFrame(editing::PropertiesTarget panel, std::string_view title);
  // Closes every panel and forgets the element.
  void hideAllFrames();
  // After a display change: closes the panel when the selection left its element, re-reads the
  // element when it changed (after an undo, a resize by the handles).
  void followSelection();
  // Where the control's layout puts the band.
  void place(const editor::Rect& rect);

 private:
  struct Field {
    const editing::PanelField* def = nullptr;
    emscripten::val input = emscripten::val::undefined();
    emscripten::val message = emscripten::val::undefined();
    std::unique_ptr<SelColorView> colour;
  };
  struct Panel {
    editing::PropertiesTarget kind = editing::PropertiesTarget::none;
    emscripten::val element = emscripten::val::undefined();
    std::vector<std::unique_ptr<Field>> fields;
  };

  void buildPanel(editing::PropertiesTarget kind);
  // The panel of `kind`, made on first use; none for none.
  Panel* panel(editing::PropertiesTarget kind);
  // The element the open panel edits, and the one the selection is about (which the frame
  // follows).
  dom::Element panelElement(editing::PropertiesTarget kind) const;
  dom::Element selectionElement() const;
  void setProperties();
  void fieldChanged(Panel& panel, Field& field);
  std::string fieldText(const Field& field) const;
  void showValue(Field& field, const std::string& text);
  void showMessage(Field& field, const std::string& message);
  void measure();

  emscripten::val surface_;
  Engine& engine_;
  EditorCommands& commands_;
  editor::ctlVellmar2& control_;
  ColourPicker& picker_;
  emscripten::val band_ = emscripten::val::undefined();
  emscripten::val title_ = emscripten::val::undefined();
  std::vector<std::unique_ptr<Panel>> panels_;
  editing::FrameTracking tracking_;
  bool visible_ = false;
  EventRoute route_{"ElementFrames"};
};

}  // namespace vellmar::browser
