#pragma once

// The three button toolbars under the menu bar: the standard toolbar (files, spelling, find,
// clipboard, undo), the objects toolbar (insertions) and the text-format toolbar (character and
// paragraph formatting). Each button carries a command key that goes, unchanged, to the dispatch;
// the switches of the property set hide buttons and whole toolbars.
//
// The model knows nothing of the DOM: a view draws the buttons, reports clicks and redraws what the
// observer names.

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "editor/control.h"
#include "editor/properties.h"

namespace vellmar::toolbars {

// Geometry, in twips as the bars measure (15 twips to the pixel).
inline constexpr std::int32_t kTwipsPerPixel = 15;
inline constexpr std::int32_t kBarHeightTwips = 315;  // the bar is this + kBarExtraPixels high
inline constexpr std::int32_t kBarExtraPixels = 4;
inline constexpr std::int32_t kButtonWidthTwips = 24 * kTwipsPerPixel;
inline constexpr std::int32_t kSeparatorWidthTwips = 9 * kTwipsPerPixel;

enum class ToolbarId { standard, objects, textFormat };

// One button as the toolbar is built with it. A separator has no key.
struct ButtonDef {
  std::string_view key;
  std::string_view tooltip;
  // The button's picture: the name of an icon of the editor's icon set.
  std::string_view icon;
  // The switch rule: the button is hidden when this answers true. Buttons without a rule are
  // always shown and do not count toward the toolbar's own visibility.
  bool (*hiddenWhen)(const editor::PropertySet&) = nullptr;
  // A toggle shows whether its state is on where the caret is (pressed or not).
  bool toggle = false;
  bool separator() const { return key.empty(); }
};

// The buttons of a toolbar, in order; index 0 here is button 1.
std::span<const ButtonDef> toolbarButtons(ToolbarId toolbar);
// The component's name ("ctlTlbrStandard") and the label the page gives the toolbar ("Standard").
std::string_view toolbarName(ToolbarId toolbar);
std::string_view toolbarLabel(ToolbarId toolbar);

// A button's state at run time: shown, enabled and pressed (value 1).
struct ToolbarButton {
  const ButtonDef* def = nullptr;
  bool visible = true;
  bool enabled = true;
  int value = 0;
};

// One toolbar component (`ctlTlbrStandard`, `ctlTlbrObjects`, `ctlTlbrTextFormat`).
class ctlToolbar {
 public:
  explicit ctlToolbar(ToolbarId id);
  ctlToolbar(const ctlToolbar&) = delete;
  ctlToolbar& operator=(const ctlToolbar&) = delete;

  ToolbarId id() const { return id_; }
  // `getTlbr`: every button, in order (index 0 is button 1).
  std::span<const ToolbarButton> buttons() const { return buttons_; }
  std::size_t count() const { return buttons_.size(); }
  const ToolbarButton& button(int index) const;  // 1-based

  // The button with that key (exact match), 1-based; 0 when no button has it.
  int indexOf(std::string_view key) const;

  // `buttonEnabled` and `buttonValue`, the button given by key or 1-based index. A key or index
  // that names no button fails inside the call only (false); the other buttons are unaffected.
  bool buttonEnabled(std::string_view key, bool enabled);
  bool buttonEnabled(int index, bool enabled);
  bool buttonValue(std::string_view key, int value);
  bool buttonValue(int index, int value);
  bool setButtonVisible(int index, bool visible);

  bool isVisible() const { return isVisible_; }
  void setIsVisible(bool visible);

  // The user clicked button `index`: `ButtonClick` gets its key. Separators, hidden and disabled
  // buttons report nothing.
  void click(int index);
  std::function<void(const std::string& key)> ButtonClick;

  // The view learns which button changed (0: the toolbar as a whole).
  void setObserver(std::function<void(int index)> changed) { changed_ = std::move(changed); }

 private:
  bool valid(int index) const { return index >= 1 && index <= static_cast<int>(buttons_.size()); }
  void notify(int index) {
    if (changed_) changed_(index);
  }

  ToolbarId id_;
  std::vector<ToolbarButton> buttons_;
  bool isVisible_ = true;
  std::function<void(int)> changed_;
};

// The sum of the widths of the visible buttons, in twips (16-bit, as the component reports it).
std::int16_t toolbarContentWidth(const ctlToolbar& toolbar);
// The toolbar's natural width in pixels: its content and the 2-pixel frame on either side.
int toolbarWidthPixels(const ctlToolbar& toolbar);
// Hides separators that lead, trail or follow another visible separator; one pass in index order.
void tidyToolbarSeparators(ctlToolbar& toolbar);
// The button rules of one toolbar, then the separator clean-up; true when a rule-governed button
// is still shown.
bool applyButtonRules(ctlToolbar& toolbar, const editor::PropertySet& properties);

class ctlFontSelector;

// `applyToolbarSwitches`: standard, objects, font selector, text format, in that order. A toolbar
// whose own switch is on is not shown; otherwise its rules run and it is shown when a
// rule-governed button remains. The selector takes its three lists' switches and is shown unless
// all three are removed.
editor::ToolbarVisibility applyToolbarSwitches(ctlToolbar& standard, ctlToolbar& objects,
                                               ctlFontSelector& selector, ctlToolbar& textFormat,
                                               const editor::PropertySet& properties);

}  // namespace vellmar::toolbars
