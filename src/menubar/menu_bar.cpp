#include "menubar/menu_bar.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vellmar::menubar {

namespace {

constexpr std::size_t kMaxCount = static_cast<std::size_t>(std::numeric_limits<MenuId>::max());

// Without a view to measure text, a caption is taken as 7 px per character.
std::int32_t estimateCaptionTwips(std::string_view text) {
  std::int32_t characters = 0;
  for (char c : text) {
    if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80U) ++characters;  // not a continuation byte
  }
  return characters * 7 * kTwipsPerPixel;
}

char lowerAscii(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

MenuId toId(std::size_t index) { return static_cast<MenuId>(index); }
std::size_t toIndex(MenuId id) { return static_cast<std::size_t>(id); }

}  // namespace

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
  }
  return true;
}

std::string_view toText(ButtonState state) {
  switch (state) {
    case ButtonState::flat: return "flat";
    case ButtonState::raised: return "raised";
    case ButtonState::depressed: return "depressed";
  }
  return "flat";
}

std::string_view toText(MenuState state) {
  switch (state) {
    case MenuState::allClosed: return "allClosed";
    case MenuState::open: return "open";
    case MenuState::brotherOpened: return "brotherOpened";
  }
  return "allClosed";
}

// ---------------------------------------------------------------------------------------------
// mcMenuButton

void mcMenuButton::setCaption(std::string caption) {
  caption_ = std::move(caption);
  relayout();
  if (changed_) changed_();
}

void mcMenuButton::setButtonState(ButtonState state) {
  if (buttonState_ == state) return;
  buttonState_ = state;
  if (changed_) changed_();
}

void mcMenuButton::setMenuState(MenuState state) {
  if (menuState_ == state) return;
  menuState_ = state;
  if (changed_) changed_();
}

void mcMenuButton::relayout() {
  width_ = (measure_ ? measure_(caption_) : estimateCaptionTwips(caption_)) + kCaptionPaddingTwips;
}

void mcMenuButton::refreshButton() {
  if (mouseInside_ && !pointerInside_) {
    mouseInside_ = false;
    if (raise_) raise_(Event::mouseOut);
  } else if (!mouseInside_ && pointerInside_) {
    mouseInside_ = true;
    if (raise_) raise_(Event::mouseOver);
  }
}

void mcMenuButton::press() {
  if (raise_) raise_(Event::Click);
}

// ---------------------------------------------------------------------------------------------
// mcMenuBar: structure

bool mcMenuBar::validButton(MenuId button) const {
  return button >= 0 && toIndex(button) < buttons_.size();
}

bool mcMenuBar::validItem(MenuId button, MenuId item) const {
  return validButton(button) && item >= 0 && toIndex(item) < buttons_[toIndex(button)].items.size();
}

MenuId mcMenuBar::getMBbuttonIDbyName(std::string_view name) const {
  for (const auto& record : buttons_) {
    if (equalsIgnoringCase(record.name, name)) return record.id;
  }
  return 0;
}

MenuId mcMenuBar::getMBitemIDbyName(MenuId button, std::string_view name) const {
  if (!validButton(button)) return -1;
  const auto& items = buttons_[toIndex(button)].items;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (equalsIgnoringCase(items[i].key, name)) return toId(i);
  }
  return -1;
}

MenuId mcMenuBar::AddMenuButton(std::string caption, std::string name) {
  if (buttons_.size() >= kMaxCount) return -1;
  const MenuId id = toId(buttons_.size());

  mcMenuButton view;
  view.measure_ = measure_;
  view.raise_ = [this, id](mcMenuButton::Event event) { onButtonEvent(id, event); };
  view.changed_ = [this] { changed(); };
  view.caption_ = caption;
  view.relayout();
  view.left_ = views_.empty() ? kButtonInsetPixels * kTwipsPerPixel
                              : views_.back().left_ + views_.back().width_;
  view.visible_ = true;
  views_.push_back(std::move(view));

  MenuButtonRecord record;
  record.id = id;
  record.name = std::move(name);
  record.caption = std::move(caption);
  buttons_.push_back(std::move(record));
  changed();
  return id;
}

void mcMenuBar::EditMenuItem(MenuId button, MenuId item, std::string key, MenuId parent,
                             std::string caption, std::string shortcut, bool visible, bool checked,
                             bool grayed, bool separator) {
  if (!validItem(button, item)) return;
  auto& record = buttons_[toIndex(button)].items[toIndex(item)];
  record.key = std::move(key);
  record.parent = parent;
  record.caption = std::move(caption);
  record.shortcut = std::move(shortcut);
  record.visible = visible;
  record.checked = checked;
  record.grayed = grayed;
  record.separator = separator;
}

void mcMenuBar::grayMenuItem(MenuId button, MenuId item, bool grayed) {
  if (!validItem(button, item)) return;
  buttons_[toIndex(button)].items[toIndex(item)].grayed = grayed;
}

void mcMenuBar::AddMenuItem(MenuId button, std::string key, MenuId parent, std::string caption,
                            std::string shortcut, bool visible, bool checked, bool grayed,
                            bool separator) {
  PendingItemRecord call{button, std::move(key), parent, std::move(caption), std::move(shortcut),
                         visible, checked, grayed, separator};
  // The open popup was built from the item list; changing the list under it would make the
  // identifiers it returns name other items.
  if (menuOpen()) {
    pending_.push_back(std::move(call));
    setQueueTimer(true);
    return;
  }
  appendItem(std::move(call));
}

void mcMenuBar::appendItem(PendingItemRecord call) {
  if (!validButton(call.button)) return;
  auto& record = buttons_[toIndex(call.button)];
  if (record.items.size() >= kMaxCount) return;
  MenuItemRecord item;
  item.id = toId(record.items.size() + 1);
  item.key = std::move(call.key);
  item.parent = call.parent;
  item.visible = call.visible;
  item.caption = std::move(call.caption);
  item.shortcut = std::move(call.shortcut);
  item.checked = call.checked;
  item.grayed = call.grayed;
  item.separator = call.separator;
  record.items.push_back(std::move(item));
  record.itemCount = toId(record.items.size());
}

void mcMenuBar::queueTimerTick() {
  if (menuOpen()) return;
  auto calls = std::move(pending_);
  pending_.clear();
  for (auto& call : calls) appendItem(std::move(call));
  setQueueTimer(false);
}

void mcMenuBar::setQueueTimer(bool enabled) {
  if (queueTimerEnabled_ == enabled) return;
  queueTimerEnabled_ = enabled;
  if (observer_) observer_->queueTimerChanged(enabled);
}

std::int32_t mcMenuBar::fullWidth() const {
  std::int32_t total = 0;
  for (const auto& view : views_) total += view.width_;
  return total;
}

MenuId mcMenuBar::menuItemCount(MenuId button) const {
  return validButton(button) ? buttons_[toIndex(button)].itemCount : MenuId{0};
}

bool mcMenuBar::menuButtonVisible(MenuId button) const {
  return validButton(button) && buttons_[toIndex(button)].visible;
}

void mcMenuBar::setIsVisible(bool visible) {
  if (isVisible_ == visible) return;
  isVisible_ = visible;
  changed();
}

const MenuButtonRecord* mcMenuBar::buttonRecord(MenuId button) const {
  return validButton(button) ? &buttons_[toIndex(button)] : nullptr;
}

const mcMenuButton* mcMenuBar::button(MenuId button) const {
  return validButton(button) ? &views_[toIndex(button)] : nullptr;
}

mcMenuButton* mcMenuBar::button(MenuId button) {
  return validButton(button) ? &views_[toIndex(button)] : nullptr;
}

void mcMenuBar::setCaptionMeasure(std::function<std::int32_t(std::string_view)> measure) {
  measure_ = std::move(measure);
  for (auto& view : views_) {
    view.measure_ = measure_;
    view.relayout();
  }
  layoutButtons();
  changed();
}

void mcMenuBar::changed() {
  if (observer_) observer_->buttonsChanged();
}

// ---------------------------------------------------------------------------------------------
// mcMenuBar: visibility, check marks, greying

void mcMenuBar::setVisibleMenuItem(std::string_view button, std::string_view key, bool visible) {
  const MenuId b = getMBbuttonIDbyName(button);
  const MenuId item = getMBitemIDbyName(b, key);
  if (item < 0) return;
  setItemVisible(b, item, visible, 0);
}

void mcMenuBar::setItemVisible(MenuId button, MenuId item, bool visible, int depth) {
  auto& record = buttons_[toIndex(button)];
  record.items[toIndex(item)].visible = visible;
  std::vector<MenuId> tidied{-1};
  tidySeparators(record, -1, tidied);

  // Parent references form a chain upward; a malformed chain must not recurse for ever.
  if (depth > record.itemCount) return;
  const MenuId parent = record.items[toIndex(item)].parent;
  const bool anyShown = std::any_of(record.items.begin(), record.items.end(), [&](const auto& i) {
    return i.parent == parent && i.visible;
  });
  if (parent == -1) {
    setButtonVisible(button, anyShown);
  } else if (validItem(button, static_cast<MenuId>(parent - 1)) && parent - 1 != item) {
    setItemVisible(button, static_cast<MenuId>(parent - 1), anyShown, depth + 1);
  }
}

void mcMenuBar::removeSeparators() {
  for (auto& record : buttons_) {
    std::vector<MenuId> tidied{-1};
    tidySeparators(record, -1, tidied);
  }
}

// Tidies the items lying directly in submenu `parent` and, through them, every submenu met.
// Hidden separators stay hidden until the host shows them again.
void mcMenuBar::tidySeparators(MenuButtonRecord& record, MenuId parent,
                               std::vector<MenuId>& tidied) {
  auto& items = record.items;
  bool anyKept = false;
  bool lastKeptIsSeparator = false;
  for (std::size_t i = 0; i < items.size(); ++i) {
    auto& item = items[i];
    if (!item.visible) continue;
    if (item.parent == parent) {
      if (item.separator && (!anyKept || lastKeptIsSeparator)) {
        item.visible = false;
      } else {
        anyKept = true;
        lastKeptIsSeparator = item.separator;
      }
    } else if (std::find(tidied.begin(), tidied.end(), item.parent) == tidied.end()) {
      tidied.push_back(item.parent);
      tidySeparators(record, item.parent, tidied);
    }
  }
  for (std::size_t i = items.size(); i-- > 0;) {
    auto& item = items[i];
    if (item.parent != parent || !item.visible) continue;
    if (!item.separator) break;
    item.visible = false;
  }
}

void mcMenuBar::setCheckedMenuItem(std::string_view button, std::string_view key, bool checked) {
  const MenuId b = getMBbuttonIDbyName(button);
  const MenuId item = getMBitemIDbyName(b, key);
  if (item < 0) return;
  buttons_[toIndex(b)].items[toIndex(item)].checked = checked;
}

void mcMenuBar::setGrayedMenuItem(std::string_view button, std::string_view key, bool grayed) {
  const MenuId b = getMBbuttonIDbyName(button);
  const MenuId item = getMBitemIDbyName(b, key);
  if (item < 0) return;
  buttons_[toIndex(b)].items[toIndex(item)].grayed = grayed;
}

void mcMenuBar::setVisibleMenuButton(std::string_view button, bool visible) {
  const MenuId b = getMBbuttonIDbyName(button);
  if (!validButton(b)) return;
  setButtonVisible(b, visible);
}

void mcMenuBar::setButtonVisible(MenuId button, bool visible) {
  buttons_[toIndex(button)].visible = visible;
  views_[toIndex(button)].visible_ = visible;
  layoutButtons();
  changed();
}

void mcMenuBar::layoutButtons() {
  std::int32_t x = kButtonInsetPixels * kTwipsPerPixel;
  for (std::size_t i = 0; i < views_.size(); ++i) {
    if (!buttons_[i].visible) continue;
    views_[i].left_ = x;
    x += views_[i].width_;
  }
}

// ---------------------------------------------------------------------------------------------
// mcMenuBar: the menu state machine

void mcMenuBar::pointerEntered(MenuId button) {
  if (!validButton(button)) return;
  auto& view = views_[toIndex(button)];
  view.setPointerInside(true);
  view.refreshButton();
}

void mcMenuBar::pointerLeft(MenuId button) {
  if (!validButton(button)) return;
  auto& view = views_[toIndex(button)];
  view.setPointerInside(false);
  view.refreshButton();
}

void mcMenuBar::pressButton(MenuId button) {
  if (!validButton(button) || !buttons_[toIndex(button)].visible) return;
  if (menuOpen()) {
    // The press dismisses the menu first; the click itself arrives once it has closed.
    closeMenu(0, button);
    return;
  }
  views_[toIndex(button)].press();
}

void mcMenuBar::onButtonEvent(MenuId button, mcMenuButton::Event event) {
  switch (event) {
    case mcMenuButton::Event::Click: onClick(button); break;
    case mcMenuButton::Event::mouseOver: onMouseOver(button); break;
    case mcMenuButton::Event::mouseOut: onMouseOut(button); break;
  }
}

void mcMenuBar::onClick(MenuId button) {
  if (menuOpen()) {
    clickedWhileOpen_ = button;
    return;
  }
  if (views_[toIndex(button)].menuState() != MenuState::open) {
    setStates(button);
    openMenu(button);
  } else {
    closeAllStates();
    views_[toIndex(button)].setButtonState(ButtonState::raised);
  }
}

void mcMenuBar::onMouseOver(MenuId button) {
  auto& view = views_[toIndex(button)];
  switch (view.menuState()) {
    case MenuState::allClosed: view.setButtonState(ButtonState::raised); break;
    case MenuState::open: view.setButtonState(ButtonState::depressed); break;
    case MenuState::brotherOpened: switchTo(button); break;
  }
}

void mcMenuBar::onMouseOut(MenuId button) {
  auto& view = views_[toIndex(button)];
  view.setButtonState(view.menuState() == MenuState::open ? ButtonState::depressed
                                                          : ButtonState::flat);
}

void mcMenuBar::setStates(MenuId openOne) {
  for (std::size_t i = 0; i < views_.size(); ++i) {
    const bool isOpen = toId(i) == openOne;
    views_[i].setMenuState(isOpen ? MenuState::open : MenuState::brotherOpened);
    views_[i].setButtonState(isOpen ? ButtonState::depressed : ButtonState::flat);
  }
}

void mcMenuBar::closeAllStates() {
  for (auto& view : views_) {
    view.setMenuState(MenuState::allClosed);
    view.setButtonState(ButtonState::flat);
  }
}

void mcMenuBar::slideTo(MenuId button) {
  if (!menuOpen() || closing_ || !validButton(button) || button == popup_.button ||
      !buttons_[toIndex(button)].visible) {
    return;
  }
  switchTo(button);
}

void mcMenuBar::switchTo(MenuId button) {
  if (!menuOpen() || closing_) return;
  switchPending_ = true;
  switchTarget_ = button;
  for (auto& view : views_) {
    view.setButtonState(ButtonState::flat);
    view.setMenuState(MenuState::brotherOpened);
  }
  closeMenu(0, -1);
}

void mcMenuBar::openMenu(MenuId button) {
  const auto& record = buttons_[toIndex(button)];
  popup_ = Popup{};
  popup_.button = button;
  popup_.menus.push_back(PopupMenu{-1, {}});

  for (const auto& item : record.items) {
    if (!item.visible) continue;
    auto menu = std::find_if(popup_.menus.begin(), popup_.menus.end(),
                             [&](const PopupMenu& m) { return m.parentId == item.parent; });
    if (menu == popup_.menus.end()) {
      popup_.menus.push_back(PopupMenu{item.parent, {}});
      menu = std::prev(popup_.menus.end());
    }
    menu->entries.push_back(PopupEntry{item.id, item.caption, item.shortcut, item.checked,
                                       item.grayed, item.separator, -1});
  }

  // Attach every submenu to the shown entry that opens it, searching from the root through the
  // submenus attached so far.
  for (std::size_t k = 1; k < popup_.menus.size(); ++k) {
    const MenuId wanted = popup_.menus[k].parentId;
    std::vector<std::size_t> stack{0};
    std::vector<bool> seen(popup_.menus.size(), false);
    bool attached = false;
    while (!stack.empty() && !attached) {
      const std::size_t m = stack.back();
      stack.pop_back();
      if (seen[m]) continue;
      seen[m] = true;
      for (auto& entry : popup_.menus[m].entries) {
        if (entry.id == wanted && entry.submenu < 0) {
          entry.submenu = static_cast<int>(k);
          attached = true;
          break;
        }
        if (entry.submenu >= 0) stack.push_back(static_cast<std::size_t>(entry.submenu));
      }
    }
  }

  if (++lastPopupHandle_ <= 0) lastPopupHandle_ = 1;
  openPopup_ = lastPopupHandle_;
  if (observer_) observer_->popupOpened(popup_);
}

bool mcMenuBar::chooseItem(MenuId id) {
  if (!menuOpen() || closing_ || popup_.menus.empty()) return false;
  std::vector<std::size_t> stack{0};
  std::vector<bool> seen(popup_.menus.size(), false);
  while (!stack.empty()) {
    const std::size_t m = stack.back();
    stack.pop_back();
    if (seen[m]) continue;
    seen[m] = true;
    for (const auto& entry : popup_.menus[m].entries) {
      if (entry.id == id) {
        if (entry.grayed || entry.separator || entry.submenu >= 0) return false;
        closeMenu(id, -1);
        return true;
      }
      if (entry.submenu >= 0) stack.push_back(static_cast<std::size_t>(entry.submenu));
    }
  }
  return false;
}

void mcMenuBar::dismissMenu() { closeMenu(0, -1); }

void mcMenuBar::EndMenu() { closeMenu(0, -1); }

void mcMenuBar::closeMenu(MenuId chosenId, MenuId deliveredClick) {
  if (!menuOpen() || closing_) return;
  closing_ = true;
  if (observer_) observer_->popupClosed();
  const MenuId button = popup_.button;

  closeAllStates();
  for (auto& view : views_) view.refreshButton();
  std::string key;
  if (chosenId > 0 && validItem(button, static_cast<MenuId>(chosenId - 1))) {
    key = buttons_[toIndex(button)].items[toIndex(static_cast<MenuId>(chosenId - 1))].key;
  }
  // The host runs with the menu still counted as open, so that items it adds are queued.
  if (menuItemSelected) menuItemSelected(key);

  clickedWhileOpen_ = -1;
  if (validButton(deliveredClick)) views_[toIndex(deliveredClick)].press();
  popup_ = Popup{};
  openPopup_ = 0;
  closing_ = false;

  if (switchPending_) {
    switchPending_ = false;
    const MenuId target = switchTarget_;
    if (validButton(target)) {
      setStates(target);
      openMenu(target);
    }
  }
  if (validButton(clickedWhileOpen_)) {
    views_[toIndex(clickedWhileOpen_)].setButtonState(ButtonState::raised);
  }
}

}  // namespace vellmar::menubar
