#include "toolbars/font_selector.h"

#include "editing/formats.h"
#include "menubar/menu_bar.h"

namespace vellmar::toolbars {

ctlFontSelector::ctlFontSelector() {
  for (const auto& format : editing::kBlockFormatTable) state(SelectorList::format).entries.push_back(format.name);
  for (const auto& font : editing::kFontTable) state(SelectorList::font).entries.push_back(font.family);
  for (const auto& size : editing::kSizeTable) state(SelectorList::size).entries.push_back(size.label);
}

const std::vector<std::string_view>& ctlFontSelector::entries(SelectorList list) const {
  return state(list).entries;
}

std::string ctlFontSelector::selectedText(SelectorList list) const {
  const ListState& s = state(list);
  if (s.selected < 0) return {};
  return std::string(s.entries[static_cast<std::size_t>(s.selected)]);
}

void ctlFontSelector::enableItem(int which, bool enabled) {
  if (which < 0 || which > 2) return;
  const SelectorList list = kSelectorLists[static_cast<std::size_t>(which)];
  ListState& s = state(list);
  if (s.enabled == enabled) return;
  s.enabled = enabled;
  notify(&kSelectorLists[static_cast<std::size_t>(which)]);
}

void ctlFontSelector::updateInterface() {
  // The layout itself is the view's (the shown lists side by side); the bar says what changed.
  notify(nullptr);
  for (SelectorList list : kSelectorLists) {
    raiseEvents_ = false;
    selectQuietly(list, 0);
    raiseEvents_ = true;
  }
  layoutDone_ = true;
}

void ctlFontSelector::setSelectedSize(std::string_view text) {
  const ListState& s = state(SelectorList::size);
  for (std::size_t i = 0; i < s.entries.size(); ++i) {
    if (menubar::equalsIgnoringCase(s.entries[i], text)) {
      raiseEvents_ = false;
      selectQuietly(SelectorList::size, static_cast<int>(i));
      raiseEvents_ = true;
    }
  }
}

void ctlFontSelector::setSelectedFormat(std::string_view text) {
  const ListState& s = state(SelectorList::format);
  for (std::size_t i = 0; i < s.entries.size(); ++i) {
    if (menubar::equalsIgnoringCase(s.entries[i], text)) {
      raiseEvents_ = false;
      selectQuietly(SelectorList::format, static_cast<int>(i));
      raiseEvents_ = true;
    }
  }
}

void ctlFontSelector::setSelectedFont(int index) {
  if (index < 0 || index >= static_cast<int>(state(SelectorList::font).entries.size())) return;
  raiseEvents_ = false;
  selectQuietly(SelectorList::font, index);
  raiseEvents_ = true;
}

void ctlFontSelector::setRemoved(SelectorList list, bool removed) {
  ListState& s = state(list);
  if (s.removed == removed) return;
  s.removed = removed;
  updateInterface();
}

void ctlFontSelector::setIsVisible(bool visible) {
  if (isVisible_ == visible) return;
  isVisible_ = visible;
  notify(nullptr);
}

int ctlFontSelector::width() const {
  int width = 2 * kSelectorInsetPixels;
  for (SelectorList list : kSelectorLists) {
    if (listShown(list)) width += kSelectorListWidths[static_cast<std::size_t>(list)];
  }
  return width;
}

int ctlFontSelector::listLeft(SelectorList list) const {
  int left = kSelectorInsetPixels;
  for (SelectorList before : kSelectorLists) {
    if (before == list) break;
    if (listShown(before)) left += kSelectorListWidths[static_cast<std::size_t>(before)];
  }
  return left;
}

void ctlFontSelector::userSelected(SelectorList list, int index) {
  ListState& s = state(list);
  if (index < 0 || index >= static_cast<int>(s.entries.size())) return;
  s.selected = index;
  selectionChanged(list);
}

void ctlFontSelector::selectQuietly(SelectorList list, int index) {
  ListState& s = state(list);
  const bool changed = s.selected != index;
  s.selected = index;
  if (!changed) return;
  notify(&kSelectorLists[static_cast<std::size_t>(list)]);
  selectionChanged(list);
}

void ctlFontSelector::selectionChanged(SelectorList list) {
  if (!layoutDone_ || !raiseEvents_) return;
  const std::string text = selectedText(list);
  const auto& event = list == SelectorList::format ? formatChanged
                      : list == SelectorList::font ? fontChanged
                                                   : sizeChanged;
  if (event) event(text);
}

}  // namespace vellmar::toolbars
