#pragma once

// The colour selector (`ctlSelColor`) and the picture button it is made of (`ctlImageButton`), as
// state without a page: what the text box holds, when `Changed` is raised, what a typed text
// means, and the colours the picker offers. The views in the browser layer draw them.

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vellmar::toolbars {

// A colour as a person may type it: "#RRGGBB" or "RRGGBB" or "#RGB" in either letter case, or
// CSS "rgb(r, g, b)", in the colour text ("#" and six upper-case hexadecimal digits). A blank
// text is the empty colour (no colour); nothing for a text that is no colour.
std::optional<std::string> readColourText(std::string_view text);

// The colour text of a colour given as red, green, blue.
std::string colourTextOf(int red, int green, int blue);

// The picker's grid: rows of colour texts, from greys to the full hues and their shades.
inline constexpr std::size_t kPaletteColumns = 8;
inline constexpr std::size_t kPaletteRows = 6;
const std::array<std::string_view, kPaletteColumns * kPaletteRows>& pickerPalette();
// A name for a palette colour that a screen reader can say ("Red #FF0000"); the text for others.
std::string colourName(std::string_view colourText);

// `ctlImageButton`: looks pressed while the mouse button went down on it and the pointer is
// still over it; a click is a press released over the button.
class ImageButtonState {
 public:
  void pointerDown() { mouseDown_ = true; over_ = true; }
  void pointerEnter() { over_ = true; }
  void pointerLeave() { over_ = false; }
  // True when the release makes a click.
  bool pointerUp() {
    const bool click = mouseDown_ && over_;
    mouseDown_ = false;
    return click;
  }
  void cancel() { mouseDown_ = false; }
  bool pressed() const { return mouseDown_ && over_; }

 private:
  bool mouseDown_ = false;
  bool over_ = false;
};

// `ctlSelColor`: the text box's colour and the picker's outcome. `Changed` is raised only for a
// colour chosen in the picker; typing changes the colour without it (whoever shows the box
// decides what a finished typed text does).
class SelColor {
 public:
  // The persisted default.
  static constexpr std::string_view kDefaultColor = "0";
  // The colour the picker starts from: black.
  static constexpr std::string_view kPickerStart = "#000000";

  const std::string& Color() const { return color_; }
  // Let: the text as given; marks the property changed.
  void setColor(std::string text);
  bool propertyChanged() const { return propertyChanged_; }
  void clearPropertyChanged() { propertyChanged_ = false; }

  // The person typed into the text box.
  void typed(std::string text) { color_ = std::move(text); }
  // The picker closed with a colour (any form `readColourText` takes): the text becomes its
  // colour text and Changed is raised. A cancelled picker never calls this.
  void chosen(std::string_view colour);

  std::function<void()> Changed;

 private:
  std::string color_{kDefaultColor};
  bool propertyChanged_ = false;
};

}  // namespace vellmar::toolbars
