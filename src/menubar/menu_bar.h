#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// The menu bar component: a row of top-level buttons (mcMenuButton), each owning a flat list of
// items nested into submenus by parent references, plus the state machine of a classic menu bar
// (hover highlighting, one open menu at a time, sliding from one open menu to the next).
//
// The model knows nothing of the editor or of the DOM. A view renders it (buttons, the open popup)
// and feeds it pointer and keyboard events; the model reports changes through MenuBarObserver and
// the chosen key through mcMenuBar::menuItemSelected.
namespace vellmar::menubar {

// Button IDs, item IDs and item indexes are 16-bit, as the bar's public interface has them.
using MenuId = std::int16_t;

// Geometry. Widths and positions are kept in twips; the view converts with kTwipsPerPixel.
inline constexpr std::int32_t kTwipsPerPixel = 15;
inline constexpr std::int32_t kBarHeightTwips = 315;     // the bar is this + kBarExtraPixels high
inline constexpr std::int32_t kBarExtraPixels = 4;
inline constexpr std::int32_t kButtonInsetPixels = 2;    // buttons sit 2 px inside the bar
inline constexpr std::int32_t kCaptionPaddingTwips = 200;

enum class ButtonState { flat, raised, depressed };
enum class MenuState { allClosed, open, brotherOpened };

// The texts the component uses for its states ("flat", "allClosed", ...).
std::string_view toText(ButtonState state);
std::string_view toText(MenuState state);

struct MenuItemRecord {
  MenuId id = 0;       // index + 1; also the item's identifier in the popup
  std::string key;     // delivered by menuItemSelected; looked up ignoring case
  MenuId parent = -1;  // -1: top level; otherwise the id of the item opening this item's submenu
  bool visible = true;
  std::string caption;
  std::string shortcut;  // display text only, shown right-aligned
  bool checked = false;
  bool grayed = false;
  bool separator = false;
};

struct MenuButtonRecord {
  MenuId id = 0;  // equals its index
  std::string name;
  std::string caption;
  std::vector<MenuItemRecord> items;
  MenuId itemCount = 0;
  bool visible = true;
};

// An AddMenuItem call made while a menu is open, applied once it has closed.
struct PendingItemRecord {
  MenuId button = 0;
  std::string key;
  MenuId parent = -1;
  std::string caption;
  std::string shortcut;
  bool visible = true;
  bool checked = false;
  bool grayed = false;
  bool separator = false;
};

// The drop-down built from a button's visible items when it opens. menus[0] is the root; an entry
// with submenu >= 0 opens menus[submenu]. Submenus whose parent item is not shown stay unattached
// and are never displayed.
struct PopupEntry {
  MenuId id = 0;  // the item's id; choosing the entry reports item (id - 1)
  std::string caption;
  std::string shortcut;
  bool checked = false;
  bool grayed = false;
  bool separator = false;
  int submenu = -1;
};
struct PopupMenu {
  MenuId parentId = -1;
  std::vector<PopupEntry> entries;
};
struct Popup {
  MenuId button = -1;
  std::vector<PopupMenu> menus;
};

// One top-level button: caption, drawing state, menu state and the pointer-inside flag.
class mcMenuButton {
 public:
  enum class Event { Click, mouseOver, mouseOut };

  const std::string& caption() const { return caption_; }
  void setCaption(std::string caption);
  ButtonState buttonState() const { return buttonState_; }
  void setButtonState(ButtonState state);
  MenuState menuState() const { return menuState_; }
  void setMenuState(MenuState state);

  // Whether the pointer was inside the button at the last refresh.
  bool mouseInside() const { return mouseInside_; }
  // Where the pointer is now, as the view sees it; refreshButton acts on it.
  void setPointerInside(bool inside) { pointerInside_ = inside; }
  // One hover step: raises mouseOut when the pointer has left, mouseOver when it has entered.
  void refreshButton();
  // A mouse-down on the button or its caption.
  void press();

  // Width: caption width + 200 twips. Left edge relative to the bar. Both in twips.
  std::int32_t width() const { return width_; }
  std::int32_t left() const { return left_; }
  bool visible() const { return visible_; }

 private:
  friend class mcMenuBar;
  void relayout();

  std::string caption_;
  ButtonState buttonState_ = ButtonState::flat;
  MenuState menuState_ = MenuState::allClosed;
  bool mouseInside_ = false;
  bool pointerInside_ = false;
  std::int32_t width_ = kCaptionPaddingTwips;
  std::int32_t left_ = 0;
  bool visible_ = false;
  std::function<std::int32_t(std::string_view)> measure_;
  std::function<void(Event)> raise_;
  std::function<void()> changed_;
};

// What a view learns from the bar. Every member has an empty default.
class MenuBarObserver {
 public:
  virtual ~MenuBarObserver() = default;
  // Buttons changed: caption, state, visibility or position.
  virtual void buttonsChanged() {}
  // A menu opened for `popup.button`; it is shown below that button until popupClosed.
  virtual void popupOpened(const Popup& /*popup*/) {}
  // The open menu is gone (chosen, dismissed or closed from outside).
  virtual void popupClosed() {}
  // Item additions were queued while a menu was open: the view calls queueTimerTick every 10 ms
  // while this is on.
  virtual void queueTimerChanged(bool /*enabled*/) {}
};

class mcMenuBar {
 public:
  mcMenuBar() = default;
  // Buttons hold callbacks into their bar, so the bar stays where it was made.
  mcMenuBar(const mcMenuBar&) = delete;
  mcMenuBar& operator=(const mcMenuBar&) = delete;

  // ---- the public interface of the component ----

  // First button whose name equals `name` ignoring case; 0 when none matches (0 is also the ID of
  // the first button).
  MenuId getMBbuttonIDbyName(std::string_view name) const;
  // Index of the first item of `button` whose key equals `name` ignoring case; -1 when none.
  MenuId getMBitemIDbyName(MenuId button, std::string_view name) const;
  // Appends a button after the last one; returns its ID, or -1 when the bar is full.
  MenuId AddMenuButton(std::string caption, std::string name);
  // Overwrites every field of an existing item; its id is kept. Out-of-range indexes are refused.
  void EditMenuItem(MenuId button, MenuId item, std::string key, MenuId parent, std::string caption,
                    std::string shortcut, bool visible, bool checked, bool grayed, bool separator);
  void grayMenuItem(MenuId button, MenuId item, bool grayed);
  // Appends an item to `button`; while a menu is open the call is queued and applied, in order,
  // once no menu is open.
  void AddMenuItem(MenuId button, std::string key, MenuId parent, std::string caption,
                   std::string shortcut, bool visible = true, bool checked = false,
                   bool grayed = false, bool separator = false);
  // Sum of the widths of all buttons, shown or not (twips).
  std::int32_t fullWidth() const;
  // Hides leading, doubled and trailing separators of every button, at every nesting level.
  void removeSeparators();
  MenuId menuButtonCount() const { return static_cast<MenuId>(buttons_.size()); }
  MenuId menuItemCount(MenuId button) const;
  // Sets an item's visibility, tidies the button's separators and carries the result upward: a
  // submenu with nothing shown hides its parent item, a menu with nothing shown hides its button,
  // and the reverse.
  void setVisibleMenuItem(std::string_view button, std::string_view key, bool visible);
  void setCheckedMenuItem(std::string_view button, std::string_view key, bool checked);
  void setGrayedMenuItem(std::string_view button, std::string_view key, bool grayed);
  // Shows or hides a button; the shown buttons are laid out again from the left, without gaps.
  void setVisibleMenuButton(std::string_view button, bool visible);
  bool menuButtonVisible(MenuId button) const;
  // Whether the host should show the bar at all (the host copies it into its own layout).
  bool isVisible() const { return isVisible_; }
  void setIsVisible(bool visible);

  // Raised with the chosen item's key, or "" when an opened menu closed without a choice.
  std::function<void(const std::string& key)> menuItemSelected;

  // Closes the open menu from outside, as if it had been dismissed.
  void EndMenu();

  // ---- for the view ----

  void setObserver(MenuBarObserver* observer) { observer_ = observer; }
  // Measures a caption in twips; the default estimates from the number of characters.
  void setCaptionMeasure(std::function<std::int32_t(std::string_view)> measure);

  const MenuButtonRecord* buttonRecord(MenuId button) const;
  const mcMenuButton* button(MenuId button) const;
  mcMenuButton* button(MenuId button);

  // Pointer entered or left a button (the view's hover events; each is one refresh of the button).
  void pointerEntered(MenuId button);
  void pointerLeft(MenuId button);
  // Mouse-down on a button. While a menu is open this first closes it, as a click outside would.
  void pressButton(MenuId button);
  // The user chose entry `id` of the open popup. Refused (false) for anything that cannot be
  // chosen: unknown, not shown, greyed, a separator or a submenu opener.
  bool chooseItem(MenuId id);
  // Escape or a click outside the menus and the bar.
  void dismissMenu();
  // Keyboard sliding: close the open menu and open `button`'s, as moving the pointer there does.
  void slideTo(MenuId button);

  bool menuOpen() const { return openPopup_ != 0; }
  MenuId openButton() const { return menuOpen() ? popup_.button : MenuId{-1}; }
  // The popup on show; empty menus when none is open.
  const Popup& currentPopup() const { return popup_; }

  // One tick of the queue timer: applies the queued additions unless a menu is open.
  void queueTimerTick();
  bool queueTimerEnabled() const { return queueTimerEnabled_; }
  const std::vector<PendingItemRecord>& pending() const { return pending_; }

  bool switchPending() const { return switchPending_; }
  MenuId clickedWhileOpen() const { return clickedWhileOpen_; }

 private:
  bool validButton(MenuId button) const;
  bool validItem(MenuId button, MenuId item) const;
  void appendItem(PendingItemRecord call);
  void setItemVisible(MenuId button, MenuId item, bool visible, int depth);
  void setButtonVisible(MenuId button, bool visible);
  void tidySeparators(MenuButtonRecord& record, MenuId parent, std::vector<MenuId>& tidied);
  void layoutButtons();

  void onButtonEvent(MenuId button, mcMenuButton::Event event);
  void onClick(MenuId button);
  void onMouseOver(MenuId button);
  void onMouseOut(MenuId button);
  void setStates(MenuId openOne);
  void closeAllStates();
  void switchTo(MenuId button);
  void openMenu(MenuId button);
  void closeMenu(MenuId chosenId, MenuId deliveredClick);
  void setQueueTimer(bool enabled);
  void changed();

  std::vector<MenuButtonRecord> buttons_;
  std::vector<mcMenuButton> views_;  // the mcMenuButton of each record, same index
  std::int32_t openPopup_ = 0;       // non-zero exactly while a menu is open
  std::int32_t lastPopupHandle_ = 0;
  Popup popup_;
  bool closing_ = false;
  bool switchPending_ = false;
  MenuId switchTarget_ = -1;
  MenuId clickedWhileOpen_ = -1;
  std::vector<PendingItemRecord> pending_;
  bool queueTimerEnabled_ = false;
  bool isVisible_ = false;

  MenuBarObserver* observer_ = nullptr;
  std::function<std::int32_t(std::string_view)> measure_;
};

// ASCII letter case ignored, as the bar compares button names and item keys.
bool equalsIgnoringCase(std::string_view a, std::string_view b);

}  // namespace vellmar::menubar
