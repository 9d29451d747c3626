#pragma once

// The selector bar beside the toolbars (`ctlFontSelector`): three drop-down lists for the
// paragraph's block format, the font family and the font size. Picking an entry raises an event
// with the entry's text; the selection tracker selects entries to show the state under the caret,
// which must not raise the events.

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vellmar::toolbars {

// The lists, left to right; the numbers are `enableItem`'s.
enum class SelectorList : int { format = 0, font = 1, size = 2 };
inline constexpr std::array<SelectorList, 3> kSelectorLists{SelectorList::format, SelectorList::font,
                                                           SelectorList::size};

// Widths of the lists in pixels: each shows its longest entry. The bar is as high as the toolbars.
inline constexpr std::array<int, 3> kSelectorListWidths{112, 236, 76};
inline constexpr int kSelectorInsetPixels = 2;

class ctlFontSelector {
 public:
  ctlFontSelector();
  ctlFontSelector(const ctlFontSelector&) = delete;
  ctlFontSelector& operator=(const ctlFontSelector&) = delete;

  // The entries of a list (the block formats' names, the font families, the size labels).
  const std::vector<std::string_view>& entries(SelectorList list) const;
  // The selected entry's index, -1 before the first layout.
  int selectedIndex(SelectorList list) const { return state(list).selected; }
  std::string selectedText(SelectorList list) const;
  bool listEnabled(SelectorList list) const { return state(list).enabled; }
  // Shown unless its Disable property removed it.
  bool listShown(SelectorList list) const { return !state(list).removed; }

  // which = 0 block format, 1 font, 2 size; any other value does nothing.
  void enableItem(int which, bool enabled);
  void formatEnabled(bool enabled) { enableItem(0, enabled); }
  void fontEnabled(bool enabled) { enableItem(1, enabled); }
  void fontSizeEnabled(bool enabled) { enableItem(2, enabled); }

  // Lays the bar out and selects the first entry of each list; events are raised from then on.
  void updateInterface();
  // Programmatic selections: no event is raised for them. Text compares ignore letter case, and
  // with several equal entries the last one wins; a text that is no entry changes nothing.
  void setSelectedSize(std::string_view text);
  void setSelectedFormat(std::string_view text);
  void setSelectedFont(int index);

  bool DisableCtlFormatSelector() const { return state(SelectorList::format).removed; }
  bool DisableCtlFontSelector() const { return state(SelectorList::font).removed; }
  bool DisableCtlSizeSelector() const { return state(SelectorList::size).removed; }
  void setDisableCtlFormatSelector(bool removed) { setRemoved(SelectorList::format, removed); }
  void setDisableCtlFontSelector(bool removed) { setRemoved(SelectorList::font, removed); }
  void setDisableCtlSizeSelector(bool removed) { setRemoved(SelectorList::size, removed); }

  bool isVisible() const { return isVisible_; }
  void setIsVisible(bool visible);
  bool layoutDone() const { return layoutDone_; }

  // The bar's width in pixels: the lists shown, side by side, and the frame.
  int width() const;
  // The left edge of a shown list inside the bar, in pixels.
  int listLeft(SelectorList list) const;

  // The user picked entry `index` of `list` (the view's change event).
  void userSelected(SelectorList list, int index);

  // Events: the text of the entry the user picked.
  std::function<void(const std::string& text)> formatChanged;
  std::function<void(const std::string& text)> fontChanged;
  std::function<void(const std::string& text)> sizeChanged;

  // The view learns what changed: a list's selection, enabled or shown state (the list), or the
  // bar as a whole (nullopt).
  void setObserver(std::function<void(const SelectorList* list)> changed) { changed_ = std::move(changed); }

 private:
  struct ListState {
    std::vector<std::string_view> entries;
    int selected = -1;
    bool enabled = true;
    bool removed = false;
  };
  ListState& state(SelectorList list) { return lists_[static_cast<std::size_t>(list)]; }
  const ListState& state(SelectorList list) const { return lists_[static_cast<std::size_t>(list)]; }
  void setRemoved(SelectorList list, bool removed);
  // Selects without raising the event.
  void selectQuietly(SelectorList list, int index);
  // A list's selection changed: its event goes out when the layout is done and events are on.
  void selectionChanged(SelectorList list);
  void notify(const SelectorList* list) {
    if (changed_) changed_(list);
  }

  std::array<ListState, 3> lists_;
  bool isVisible_ = true;
  bool layoutDone_ = false;
  bool raiseEvents_ = false;
  std::function<void(const SelectorList*)> changed_;
};

}  // namespace vellmar::toolbars
