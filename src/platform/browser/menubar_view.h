#pragma once

#include <emscripten/val.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "editor/control.h"
#include "menubar/menu_bar.h"
#include "menubar/menu_keys.h"
#include "menubar/settings_store.h"
#include "platform/browser/event_route.h"

namespace vellmar::browser {

// The per-user settings store on browser storage: one entry per (application, section, key).
// Storage that is missing or refused (private modes, sandboxed pages) reads as empty.
class LocalStorageSettingsStore final : public menubar::SettingsStore {
 public:
  std::string GetSetting(std::string_view application, std::string_view section,
                         std::string_view key) override;
  void SaveSetting(std::string_view application, std::string_view section, std::string_view key,
                   std::string_view value) override;
};

// Draws an mcMenuBar in the page and feeds it the user's pointer and keys. The bar element holds
// the buttons; the drop-down menus and their submenus are placed in the shadow root, over
// everything else, at the bottom-left corner of the open button. The bar element raises the
// component's `menuItemSelected` event (detail: the key) after the model has reported a choice.
class MenuBarView final : public menubar::MenuBarObserver {
 public:
  MenuBarView(menubar::mcMenuBar& model, emscripten::val bar, emscripten::val root);
  ~MenuBarView() override;
  MenuBarView(const MenuBarView&) = delete;
  MenuBarView& operator=(const MenuBarView&) = delete;

  const emscripten::val& element() const { return bar_; }
  void raiseSelected(const std::string& key);

  void buttonsChanged() override;
  void popupOpened(const menubar::Popup& popup) override;
  void popupClosed() override;
  void queueTimerChanged(bool enabled) override;

  // Entry point of the DOM listeners: `kind` says which listener, `index` which button, menu
  // level or item.
  void handle(int kind, int index, const emscripten::val& event);

 private:
  // An open menu: the root (level 0) or a submenu opened from an entry of the level above.
  struct Level {
    int menu = 0;  // index into popup_.menus
    emscripten::val element = emscripten::val::null();
    std::vector<emscripten::val> items;  // the choosable rows, in order (separators left out)
    std::vector<int> entries;            // popup entry index of each row
    int expanded = -1;                   // row whose submenu is open
    std::vector<int> listeners;          // removed with the level
  };
  enum class CloseReason { none, escape, other };

  int listen(const emscripten::val& target, const char* type, int kind, int index, bool capture = false);
  void renderButtons();
  std::vector<menubar::MenuId> shownButtons() const;
  void focusButton(menubar::MenuId button);
  void openLevel(int menu, std::size_t level, int anchorRow);
  void closeLevelsFrom(std::size_t level);
  void focusRow(std::size_t level, int row);
  int rowOf(std::size_t level, const emscripten::val& target) const;
  void activateRow(std::size_t level, int row, bool fromKeyboard);
  const menubar::PopupEntry* entryAt(std::size_t level, int row) const;
  void rememberFocus();
  bool focusInsideMenus() const;

  void onBarKey(menubar::MenuId button, const emscripten::val& event);
  void onMenuKey(std::size_t level, const emscripten::val& event);
  // The rows of an open level as the keyboard model sees them.
  std::vector<menubar::MenuRow> rows(std::size_t level) const;
  void slideBy(int step);
  static void queueTick(void* self);

  menubar::mcMenuBar& model_;
  EventRoute route_{"mcMenuBar_event"};
  emscripten::val bar_;
  emscripten::val root_;
  emscripten::val document_;
  emscripten::val window_;
  std::vector<emscripten::val> buttons_;
  // What each button element shows, as last written: the switches change the bar's buttons
  // one by one while the editor is first shown, and rewriting every attribute each time cost
  // the first paint several milliseconds.
  struct ShownButton {
    std::string caption;
    bool hidden = false;
    std::string buttonState;
    std::string menuState;
    bool tabStop = false;
  };
  std::vector<ShownButton> shownButtons_;
  menubar::MenuId tabStop_ = 0;
  menubar::Popup popup_;
  std::vector<Level> levels_;
  emscripten::val focusBefore_ = emscripten::val::null();
  menubar::MenuId lastOpened_ = -1;
  bool keyboard_ = false;
  CloseReason closeReason_ = CloseReason::none;
  long queueTimer_ = 0;
};

// The editor's menu bar in the control: the model, its view in the control's menu bar element,
// the recent-files store, and the route from a chosen key to the control's dispatch.
class EditorMenuBar {
 public:
  EditorMenuBar(emscripten::val bar, emscripten::val root);

  // Fills the control's menu hooks: building the menu, applying its switches, item visibility.
  void connect(editor::ControlHooks& hooks);
  // Where chosen keys go (`mcMenuBar1_menuItemSelected`).
  void setDispatch(std::function<void(const std::string& key)> dispatch) {
    dispatch_ = std::move(dispatch);
  }

  menubar::mcMenuBar& model() { return model_; }
  menubar::SettingsStore& settings() { return settings_; }

 private:
  menubar::mcMenuBar model_;
  LocalStorageSettingsStore settings_;
  MenuBarView view_;
  std::function<void(const std::string& key)> dispatch_;
  bool built_ = false;
};

}  // namespace vellmar::browser
