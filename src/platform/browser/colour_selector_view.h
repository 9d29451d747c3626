#pragma once

// The colour picker of one editor and the two small controls built on it: the picture button
// (`ctlImageButton`) and the colour selector (`ctlSelColor`, a text box with the button at its
// right end). The state and the colour text are the toolbars' model; this is their view.

#include <emscripten/val.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/browser/event_route.h"
#include "platform/browser/modal_dialog.h"
#include "toolbars/colour_selector.h"

namespace vellmar::browser {

// The picker: a dialog "Color" with a grid of colours, and the browser's own colour input for
// any other colour. Picking a colour of the grid, or OK after choosing another, answers with its
// colour text; Cancel and Escape answer nothing. The dialog is made when first opened.
class ColourPicker {
 public:
  explicit ColourPicker(emscripten::val root) : root_(std::move(root)) {}
  ColourPicker(const ColourPicker&) = delete;
  ColourPicker& operator=(const ColourPicker&) = delete;

  void open(const std::string& start, std::function<void(const std::string& colour)> chosen);
  bool isOpen() const { return dialog_ && dialog_->isOpen(); }

 private:
  void build();
  void finish(const std::string& colour);
  void moveInGrid(const emscripten::val& event);

  emscripten::val root_;
  std::unique_ptr<ModalDialog> dialog_;
  emscripten::val grid_ = emscripten::val::undefined();
  emscripten::val custom_ = emscripten::val::undefined();
  emscripten::val customText_ = emscripten::val::undefined();
  std::function<void(const std::string&)> chosen_;
};

// `ctlImageButton`: a real button showing a picture, pressed while held down over it.
class ImageButton {
 public:
  // `label` names the button (its tooltip too).
  ImageButton(const std::string& label, std::function<void()> click);
  const emscripten::val& element() const { return button_; }
  // The picture: here a swatch of a colour ("" shows none).
  void setSwatch(const std::string& colour);

 private:
  void showPressed();

  emscripten::val button_ = emscripten::val::undefined();
  emscripten::val picture_ = emscripten::val::undefined();
  toolbars::ImageButtonState state_;
  EventRoute route_{"ctlImageButton"};
};

// `ctlSelColor`: the text box and its button. `Changed` follows a colour chosen in the picker;
// `committed` a typed text the person has finished (the box was left or Enter pressed).
class SelColorView {
 public:
  // `label` names the text box ("Bg Color:" without the colon is the button's "Choose Bg Color").
  SelColorView(ColourPicker& picker, const std::string& id, const std::string& label);
  const emscripten::val& element() const { return box_; }
  const emscripten::val& input() const { return text_; }

  std::string Color() const { return model_.Color(); }
  void setColor(const std::string& colour);

  std::function<void()> Changed;
  std::function<void()> committed;

 private:
  void showSwatch();

  ColourPicker& picker_;
  toolbars::SelColor model_;
  emscripten::val box_ = emscripten::val::undefined();
  emscripten::val text_ = emscripten::val::undefined();
  std::unique_ptr<ImageButton> button_;
  EventRoute route_{"ctlSelColor"};
};

}  // namespace vellmar::browser
