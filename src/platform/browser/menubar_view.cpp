#include "platform/browser/menubar_view.h"
#include "platform/browser/dom.h"
#include "platform/browser/elements.h"

#include <emscripten/bind.h>
#include <emscripten/em_js.h>
#include <emscripten/emscripten.h>
#include <emscripten/eventloop.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "common/diagnostics.h"
#include "editor/properties.h"
#include "menubar/editor_menu.h"
#include "menubar/menu_keys.h"

using emscripten::EM_VAL;

// Storage can be absent or refuse access; either way the store reads empty and writes nothing.
EM_JS(EM_VAL, vellmar_settings_get, (const char* key), {
  try {
    var v = window.localStorage.getItem(UTF8ToString(key));
    return Emval.toHandle(v === null ? "" : v);
  } catch (e) {
    return Emval.toHandle("");
  }
});

EM_JS(void, vellmar_settings_set, (const char* key, const char* value), {
  try {
    window.localStorage.setItem(UTF8ToString(key), UTF8ToString(value));
  } catch (e) {
  }
});

namespace vellmar::browser {

namespace {

using emscripten::val;
using menubar::MenuId;

// What a listener was attached for.
enum Kind : int {
  kButtonEnter,
  kButtonLeave,
  kButtonDown,
  kButtonKey,
  kItemEnter,
  kItemUp,
  kMenuKey,
  kMenuDown,
  kDocumentDown,
  kWindowBlur,
};

// Items are addressed by level and row in one listener index.
constexpr int kRowBits = 16;
int itemIndex(std::size_t level, int row) {
  return (static_cast<int>(level) << kRowBits) | row;
}

// The caption font of the style sheet's bar, for measuring captions before they are drawn.
constexpr const char* kCaptionFont = "12px system-ui, -apple-system, \"Segoe UI\", Roboto, \"DejaVu Sans\", sans-serif";

std::string px(double v) { return std::to_string(static_cast<long>(std::lround(v))) + "px"; }

double rectOf(const val& el, const char* side) {
  return el.call<val>("getBoundingClientRect")[side].as<double>();
}

std::string settingsKey(std::string_view application, std::string_view section,
                        std::string_view key) {
  std::string k(application);
  k.append("/").append(section).append("/").append(key);
  return k;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// LocalStorageSettingsStore

std::string LocalStorageSettingsStore::GetSetting(std::string_view application,
                                                  std::string_view section, std::string_view key) {
  const std::string k = settingsKey(application, section, key);
  return val::take_ownership(vellmar_settings_get(k.c_str())).as<std::string>();
}

void LocalStorageSettingsStore::SaveSetting(std::string_view application, std::string_view section,
                                            std::string_view key, std::string_view value) {
  const std::string k = settingsKey(application, section, key);
  const std::string v(value);
  vellmar_settings_set(k.c_str(), v.c_str());
}

// ---------------------------------------------------------------------------------------------
// MenuBarView

MenuBarView::MenuBarView(menubar::mcMenuBar& model, val bar, val root)
    : model_(model),
      bar_(std::move(bar)),
      root_(std::move(root)),
      document_(val::global("document")),
      window_(val::global("window")) {

  setAttr(bar_, "role", "menubar");
  if (!bar_.call<bool>("hasAttribute", std::string("aria-label"))) setAttr(bar_, "aria-label", "Menu");
  bar_["classList"].call<void>("add", std::string("vellmar-menubar"));

  val context = create("canvas", "").call<val>("getContext", std::string("2d"));
  context.set("font", std::string(kCaptionFont));
  model_.setCaptionMeasure([context](std::string_view text) {
    const double width = context.call<val>("measureText", std::string(text))["width"].as<double>();
    return static_cast<std::int32_t>(std::lround(width * menubar::kTwipsPerPixel));
  });
  model_.setObserver(this);

  // A press anywhere else closes the menu; so does the page losing focus (a click into the
  // editing frame, another window).
  listen(document_, "pointerdown", kDocumentDown, 0, true);
  listen(window_, "blur", kWindowBlur, 0);
  renderButtons();
}

MenuBarView::~MenuBarView() {
  model_.setObserver(nullptr);
  if (queueTimer_) emscripten_clear_interval(queueTimer_);
  closeLevelsFrom(0);
}

int MenuBarView::listen(const val& target, const char* type, int kind, int index, bool capture) {
  return route_.listen(target, type, [this, kind, index](const val& event) { handle(kind, index, event); }, capture);
}

void MenuBarView::raiseSelected(const std::string& key) {
  val init = val::object();
  init.set("detail", key);
  init.set("bubbles", false);
  bar_.call<bool>("dispatchEvent", val::global("CustomEvent").new_(std::string("menuItemSelected"), init));
}

// ---- the bar ----

void MenuBarView::buttonsChanged() { renderButtons(); }

std::vector<MenuId> MenuBarView::shownButtons() const {
  std::vector<MenuId> shown;
  for (MenuId b = 0; b < model_.menuButtonCount(); ++b) {
    if (model_.menuButtonVisible(b)) shown.push_back(b);
  }
  return shown;
}

void MenuBarView::renderButtons() {
  while (buttons_.size() < static_cast<std::size_t>(model_.menuButtonCount())) {
    const int index = static_cast<int>(buttons_.size());
    val button = create("div", "vellmar-menubutton");
    setAttr(button, "role", "menuitem");
    setAttr(button, "aria-haspopup", "menu");
    setAttr(button, "tabindex", "-1");
    setAttr(button, "data-index", std::to_string(index));
    listen(button, "pointerenter", kButtonEnter, index);
    listen(button, "pointerleave", kButtonLeave, index);
    listen(button, "mousedown", kButtonDown, index);
    listen(button, "keydown", kButtonKey, index);
    bar_.call<void>("appendChild", button);
    buttons_.push_back(button);
    shownButtons_.emplace_back();
  }

  const auto visible = shownButtons();
  if (std::find(visible.begin(), visible.end(), tabStop_) == visible.end() && !visible.empty()) {
    tabStop_ = visible.front();
  }
  for (MenuId b = 0; b < model_.menuButtonCount(); ++b) {
    const auto* view = model_.button(b);
    val& el = buttons_[static_cast<std::size_t>(b)];
    ShownButton& shown = shownButtons_[static_cast<std::size_t>(b)];
    if (shown.caption != view->caption()) {
      shown.caption = view->caption();
      el.set("textContent", shown.caption);
    }
    if (const bool hidden = !model_.menuButtonVisible(b); shown.hidden != hidden) {
      shown.hidden = hidden;
      el.set("hidden", hidden);
    }
    if (const std::string state(menubar::toText(view->buttonState())); shown.buttonState != state) {
      shown.buttonState = state;
      setAttr(el, "data-button-state", state);
    }
    if (const std::string state(menubar::toText(view->menuState())); shown.menuState != state) {
      shown.menuState = state;
      setAttr(el, "data-menu-state", state);
      setAttr(el, "aria-expanded", view->menuState() == menubar::MenuState::open ? "true" : "false");
    }
    if (shown.tabStop != (b == tabStop_)) {
      shown.tabStop = b == tabStop_;
      setAttr(el, "tabindex", shown.tabStop ? "0" : "-1");
    }
  }
}

void MenuBarView::focusButton(MenuId button) {
  if (button < 0 || static_cast<std::size_t>(button) >= buttons_.size()) return;
  tabStop_ = button;
  renderButtons();
  buttons_[static_cast<std::size_t>(button)].call<void>("focus");
}

void MenuBarView::rememberFocus() {
  val active = root_["activeElement"];
  focusBefore_ = active.isUndefined() ? val::null() : active;
  if (focusBefore_.isNull()) focusBefore_ = document_["activeElement"];
}

bool MenuBarView::focusInsideMenus() const {
  val active = root_["activeElement"];
  if (active.isNull() || active.isUndefined()) return false;
  for (const auto& level : levels_) {
    if (level.element.call<bool>("contains", active)) return true;
  }
  return false;
}

// ---- menus ----

void MenuBarView::popupOpened(const menubar::Popup& popup) {
  closeLevelsFrom(0);
  popup_ = popup;
  lastOpened_ = popup.button;
  if (popup_.menus.empty()) return;
  openLevel(0, 0, -1);
  if (keyboard_) {
    focusRow(0, menubar::firstMenuRow(rows(0)));
  } else {
    levels_[0].element.call<void>("focus");
  }
}

void MenuBarView::popupClosed() {
  const bool sliding = model_.switchPending();
  const bool hadFocus = focusInsideMenus();
  closeLevelsFrom(0);
  popup_ = menubar::Popup{};
  if (!sliding) {
    if (closeReason_ == CloseReason::escape) {
      focusButton(lastOpened_);
    } else if (hadFocus && !focusBefore_.isNull() && !focusBefore_.isUndefined() &&
               focusBefore_["isConnected"].as<bool>()) {
      dom::focus(focusBefore_);
    }
    focusBefore_ = val::null();
  }
  closeReason_ = CloseReason::none;
}

const menubar::PopupEntry* MenuBarView::entryAt(std::size_t level, int row) const {
  if (level >= levels_.size()) return nullptr;
  const Level& l = levels_[level];
  if (row < 0 || static_cast<std::size_t>(row) >= l.entries.size()) return nullptr;
  const auto& menu = popup_.menus[static_cast<std::size_t>(l.menu)];
  return &menu.entries[static_cast<std::size_t>(l.entries[static_cast<std::size_t>(row)])];
}

void MenuBarView::openLevel(int menu, std::size_t level, int anchorRow) {
  closeLevelsFrom(level);
  const auto& entries = popup_.menus[static_cast<std::size_t>(menu)].entries;

  Level l;
  l.menu = menu;
  l.element = create("div", "vellmar-menu");
  setAttr(l.element, "role", "menu");
  setAttr(l.element, "tabindex", "-1");
  std::string label;
  if (level == 0) {
    label = model_.button(popup_.button)->caption();
  } else if (const auto* parent = entryAt(level - 1, anchorRow)) {
    label = parent->caption;
  }
  setAttr(l.element, "aria-label", label);
  l.listeners.push_back(listen(l.element, "keydown", kMenuKey, static_cast<int>(level)));
  l.listeners.push_back(listen(l.element, "mousedown", kMenuDown, static_cast<int>(level)));

  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto& entry = entries[i];
    if (entry.separator) {
      val line = create("div", "vellmar-menuseparator");
      setAttr(line, "role", "separator");
      // One cell per column of the menu's table, so the line runs across all of them.
      for (int cell = 0; cell < 4; ++cell) line.call<void>("appendChild", create("span", ""));
      l.element.call<void>("appendChild", line);
      continue;
    }
    const int row = static_cast<int>(l.items.size());
    val item = create("div", "vellmar-menuitem");
    setAttr(item, "role", entry.checked ? "menuitemcheckbox" : "menuitem");
    if (entry.checked) setAttr(item, "aria-checked", "true");
    setAttr(item, "aria-label", entry.caption);
    setAttr(item, "tabindex", "-1");
    if (entry.grayed) setAttr(item, "aria-disabled", "true");
    if (entry.submenu >= 0) {
      setAttr(item, "aria-haspopup", "menu");
      setAttr(item, "aria-expanded", "false");
    }
    if (!entry.shortcut.empty()) setAttr(item, "aria-keyshortcuts", entry.shortcut);
    const char* cells[][2] = {
        {"vellmar-menucheck", entry.checked ? "\u2713" : ""},
        {"vellmar-menucaption", entry.caption.c_str()},
        {"vellmar-menushortcut", entry.shortcut.c_str()},
        {"vellmar-menuarrow", entry.submenu >= 0 ? "\u25B8" : ""},
    };
    for (const auto& cell : cells) {
      val span = create("span", cell[0]);
      span.set("textContent", std::string(cell[1]));
      if (cell[0] != std::string_view("vellmar-menucaption") &&
          cell[0] != std::string_view("vellmar-menushortcut")) {
        setAttr(span, "aria-hidden", "true");
      }
      item.call<void>("appendChild", span);
    }
    l.listeners.push_back(listen(item, "pointerenter", kItemEnter, itemIndex(level, row)));
    l.listeners.push_back(listen(item, "mouseup", kItemUp, itemIndex(level, row)));
    l.element.call<void>("appendChild", item);
    l.items.push_back(item);
    l.entries.push_back(static_cast<int>(i));
  }

  // Place the menu: under the button for the root, beside the opening row for a submenu, kept
  // inside the window.
  val style = l.element["style"];
  style.set("left", std::string("0px"));
  style.set("top", std::string("0px"));
  style.set("visibility", std::string("hidden"));
  root_.call<void>("appendChild", l.element);
  const double width = rectOf(l.element, "width");
  const double height = rectOf(l.element, "height");
  const double viewWidth = window_["innerWidth"].as<double>();
  const double viewHeight = window_["innerHeight"].as<double>();
  double left = 0;
  double top = 0;
  if (level == 0) {
    const val& button = buttons_[static_cast<std::size_t>(popup_.button)];
    left = rectOf(button, "left");
    top = rectOf(button, "bottom");
  } else {
    const val& anchor = levels_[level - 1].items[static_cast<std::size_t>(anchorRow)];
    left = rectOf(anchor, "right") - 2;
    top = rectOf(anchor, "top") - 3;
    if (left + width > viewWidth) left = rectOf(levels_[level - 1].element, "left") - width + 2;
    levels_[level - 1].expanded = anchorRow;
    setAttr(anchor, "aria-expanded", "true");
  }
  left = std::max(0.0, std::min(left, viewWidth - width));
  top = std::max(0.0, std::min(top, viewHeight - height));
  style.set("left", px(left));
  style.set("top", px(top));
  style.set("visibility", std::string("visible"));
  levels_.push_back(std::move(l));
}

void MenuBarView::closeLevelsFrom(std::size_t level) {
  while (levels_.size() > level) {
    for (int listener : levels_.back().listeners) route_.unlisten(listener);
    levels_.back().element.call<void>("remove");
    levels_.pop_back();
  }
  if (level > 0 && level - 1 < levels_.size()) {
    Level& parent = levels_[level - 1];
    if (parent.expanded >= 0) {
      setAttr(parent.items[static_cast<std::size_t>(parent.expanded)], "aria-expanded", "false");
      parent.expanded = -1;
    }
  }
}

void MenuBarView::focusRow(std::size_t level, int row) {
  if (level >= levels_.size()) return;
  Level& l = levels_[level];
  // No row to focus (none, or every one greyed): the menu itself takes the keys.
  if (row < 0 || row >= static_cast<int>(l.items.size())) {
    l.element.call<void>("focus");
    return;
  }
  l.items[static_cast<std::size_t>(row)].call<void>("focus");
}

int MenuBarView::rowOf(std::size_t level, const val& target) const {
  if (level >= levels_.size()) return -1;
  const Level& l = levels_[level];
  for (std::size_t i = 0; i < l.items.size(); ++i) {
    if (l.items[i].strictlyEquals(target)) return static_cast<int>(i);
  }
  return -1;
}

void MenuBarView::activateRow(std::size_t level, int row, bool fromKeyboard) {
  const auto* entry = entryAt(level, row);
  if (!entry || entry->grayed) return;
  if (entry->submenu >= 0) {
    if (levels_[level].expanded != row) openLevel(entry->submenu, level + 1, row);
    if (fromKeyboard) focusRow(level + 1, menubar::firstMenuRow(rows(level + 1)));
    return;
  }
  closeReason_ = CloseReason::other;
  model_.chooseItem(entry->id);
}

// ---- events ----

void MenuBarView::handle(int kind, int index, const val& event) {
  switch (kind) {
    case kButtonEnter:
      keyboard_ = false;
      model_.pointerEntered(static_cast<MenuId>(index));
      break;
    case kButtonLeave:
      model_.pointerLeft(static_cast<MenuId>(index));
      break;
    case kButtonDown:
      if (event["button"].as<int>() != 0) return;
      // Keeps the focus (and the editing selection) where it is.
      event.call<void>("preventDefault");
      keyboard_ = false;
      if (!model_.menuOpen()) rememberFocus();
      closeReason_ = CloseReason::other;
      model_.pressButton(static_cast<MenuId>(index));
      break;
    case kButtonKey:
      onBarKey(static_cast<MenuId>(index), event);
      break;
    case kItemEnter: {
      const auto level = static_cast<std::size_t>(index >> kRowBits);
      const int row = index & ((1 << kRowBits) - 1);
      if (level >= levels_.size()) return;
      keyboard_ = false;
      focusRow(level, row);
      const auto* entry = entryAt(level, row);
      if (entry && entry->submenu >= 0 && !entry->grayed) {
        if (levels_[level].expanded != row) openLevel(entry->submenu, level + 1, row);
      } else {
        closeLevelsFrom(level + 1);
      }
      break;
    }
    case kItemUp:
      if (event["button"].as<int>() != 0) return;
      activateRow(static_cast<std::size_t>(index >> kRowBits), index & ((1 << kRowBits) - 1),
                  false);
      break;
    case kMenuKey:
      onMenuKey(static_cast<std::size_t>(index), event);
      break;
    case kMenuDown:
      event.call<void>("preventDefault");
      break;
    case kDocumentDown: {
      if (!model_.menuOpen()) return;
      const val path = event.call<val>("composedPath");
      const int length = path["length"].as<int>();
      for (int i = 0; i < length; ++i) {
        const val node = path[i];
        if (node.strictlyEquals(bar_)) return;  // the buttons handle their own presses
        for (const auto& level : levels_) {
          if (node.strictlyEquals(level.element)) return;
        }
      }
      closeReason_ = CloseReason::other;
      model_.dismissMenu();
      break;
    }
    case kWindowBlur:
      if (!model_.menuOpen()) return;
      closeReason_ = CloseReason::other;
      model_.EndMenu();
      break;
    default:
      break;
  }
}

void MenuBarView::onBarKey(MenuId button, const val& event) {
  const std::string key = event["key"].as<std::string>();
  const auto shown = shownButtons();
  auto at = std::find(shown.begin(), shown.end(), button);
  if (at == shown.end()) return;
  const auto position = static_cast<int>(at - shown.begin());
  const int count = static_cast<int>(shown.size());
  bool handled = true;
  if (key == "ArrowRight") {
    focusButton(shown[static_cast<std::size_t>((position + 1) % count)]);
  } else if (key == "ArrowLeft") {
    focusButton(shown[static_cast<std::size_t>((position + count - 1) % count)]);
  } else if (key == "Home") {
    focusButton(shown.front());
  } else if (key == "End") {
    focusButton(shown.back());
  } else if (key == "Enter" || key == " " || key == "ArrowDown" || key == "ArrowUp") {
    if (!model_.menuOpen()) {
      keyboard_ = true;
      rememberFocus();
      tabStop_ = button;
      model_.pressButton(button);
    }
  } else {
    handled = false;
  }
  if (handled) event.call<void>("preventDefault");
}

void MenuBarView::slideBy(int step) {
  const auto shown = shownButtons();
  auto at = std::find(shown.begin(), shown.end(), model_.openButton());
  if (at == shown.end() || shown.size() < 2) return;
  const int count = static_cast<int>(shown.size());
  const int next = (static_cast<int>(at - shown.begin()) + step + count) % count;
  keyboard_ = true;
  tabStop_ = shown[static_cast<std::size_t>(next)];
  model_.slideTo(shown[static_cast<std::size_t>(next)]);
}

void MenuBarView::onMenuKey(std::size_t level, const val& event) {
  if (level >= levels_.size()) return;
  const std::string key = event["key"].as<std::string>();
  const int row = rowOf(level, event["target"]);
  const auto result = menubar::menuKey(key, rows(level), row, level > 0, true);
  using A = menubar::MenuKeyAction;
  switch (result.action) {
    case A::none:
      return;
    case A::consume:
      break;
    case A::focus:
      focusRow(level, result.row);
      break;
    case A::choose:
    case A::openSubmenu:
      activateRow(level, result.row, true);
      break;
    case A::slideNext:
    case A::slidePrevious:
      slideBy(result.action == A::slideNext ? 1 : -1);
      break;
    case A::closeSubmenu: {
      const int parentRow = levels_[level - 1].expanded;
      closeLevelsFrom(level);
      focusRow(level - 1, parentRow);
      break;
    }
    case A::dismiss:
      closeReason_ = CloseReason::escape;
      model_.dismissMenu();
      break;
    case A::leave:
      closeReason_ = CloseReason::other;
      model_.dismissMenu();
      return;
  }
  event.call<void>("preventDefault");
  event.call<void>("stopPropagation");
}

std::vector<menubar::MenuRow> MenuBarView::rows(std::size_t level) const {
  std::vector<menubar::MenuRow> out;
  if (level >= levels_.size()) return out;
  for (std::size_t i = 0; i < levels_[level].items.size(); ++i) {
    const auto* entry = entryAt(level, static_cast<int>(i));
    out.push_back({entry && !entry->grayed, entry && entry->submenu >= 0});
  }
  return out;
}

void MenuBarView::queueTimerChanged(bool enabled) {
  if (enabled == (queueTimer_ != 0)) return;
  if (enabled) {
    queueTimer_ = emscripten_set_interval(&MenuBarView::queueTick, 10, this);
  } else {
    emscripten_clear_interval(queueTimer_);
    queueTimer_ = 0;
  }
}

void MenuBarView::queueTick(void* self) { static_cast<MenuBarView*>(self)->model_.queueTimerTick(); }

// ---------------------------------------------------------------------------------------------
// EditorMenuBar

EditorMenuBar::EditorMenuBar(val bar, val root) : view_(model_, std::move(bar), std::move(root)) {
  model_.menuItemSelected = [this](const std::string& key) {
    view_.raiseSelected(key);
    if (dispatch_) dispatch_(key);
  };
}

void EditorMenuBar::connect(editor::ControlHooks& hooks) {
  hooks.buildEditorMenu = [this] {
    if (built_) return;
    built_ = true;
    menubar::buildEditorMenu(model_);
  };
  hooks.applyMenuSwitches = [this] {
    const bool anyMenu =
        menubar::applyMenuSwitches(model_, editor::PropertySet::shared(), settings_);
    model_.setIsVisible(anyMenu);
    return anyMenu;
  };
  hooks.setVisibleMenuItem = [this](std::string_view menu, std::string_view item, bool visible) {
    model_.setVisibleMenuItem(menu, item, visible);
  };
}

}  // namespace vellmar::browser

