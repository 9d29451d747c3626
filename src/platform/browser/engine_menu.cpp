// The context-menu hook: on a context-menu request the engine raises ShowContextMenu(x, y), the
// editor hands captions and states with SetContextMenu, and the engine shows them at the pointer
// and reports the chosen entry by its index with ContextMenuAction.
#include <algorithm>

#include "common/diagnostics.h"
#include "menubar/menu_keys.h"
#include "platform/browser/elements.h"
#include "platform/browser/engine.h"

namespace vellmar::browser {

namespace {

constexpr std::int32_t kGrayed = 2;

}  // namespace

void Engine::SetContextMenu(const std::vector<std::string>& captions, const std::vector<std::int32_t>& states) {
  menuCaptions_ = captions;
  menuStates_ = states;
  menuStates_.resize(menuCaptions_.size(), 0);
  // Inside ShowContextMenu the menu is shown once the handler returns; a menu handed over later
  // is shown at once, at the last pointer position.
  if (!menuRequested_ && !menuCaptions_.empty()) showMenu(menuX_, menuY_);
}

void Engine::showMenu(int x, int y) {
  hideMenu();
  menu_ = create("div", "vellmar-engine-menu");
  menu_.call<void>("setAttribute", std::string("role"), std::string("menu"));
  menu_.call<void>("setAttribute", std::string("aria-label"), std::string("Context menu"));
  menu_.call<void>("setAttribute", std::string("tabindex"), std::string("-1"));
  for (std::size_t i = 0; i < menuCaptions_.size(); ++i) {
    if (menuCaptions_[i].empty()) {
      val separator = create("div", "vellmar-engine-menu-separator");
      separator.call<void>("setAttribute", std::string("role"), std::string("separator"));
      menu_.call<void>("appendChild", separator);
      continue;
    }
    val item = create("div", "vellmar-engine-menu-item");
    item.call<void>("setAttribute", std::string("role"), std::string("menuitem"));
    item.call<void>("setAttribute", std::string("tabindex"), std::string("-1"));
    item.call<void>("setAttribute", std::string("data-index"), std::to_string(i));
    if (menuStates_[i] & kGrayed) item.call<void>("setAttribute", std::string("aria-disabled"), std::string("true"));
    item.set("textContent", menuCaptions_[i]);
    menu_.call<void>("appendChild", item);
  }
  menuListeners_ = {listen(menu_, "click", kMenuClick), listen(menu_, "keydown", kMenuKey)};
  overlay_.call<void>("appendChild", menu_);
  // Kept inside the engine's box: a menu that would run over the right or bottom edge opens to
  // the left of or above the pointer.
  const double width = menu_["offsetWidth"].as<double>();
  const double height = menu_["offsetHeight"].as<double>();
  const double boxWidth = box_["clientWidth"].as<double>();
  const double boxHeight = box_["clientHeight"].as<double>();
  double left = x;
  double top = y;
  if (left + width > boxWidth) left = std::max(0.0, left - width);
  if (top + height > boxHeight) top = std::max(0.0, top - height);
  menu_["style"].set("left", std::to_string(left) + "px");
  menu_["style"].set("top", std::to_string(top) + "px");
  // The first item that can be chosen takes the focus, as in every menu the keyboard opens.
  std::vector<menubar::MenuRow> rows;
  for (std::size_t i = 0; i < menuCaptions_.size(); ++i) {
    if (!menuCaptions_[i].empty()) rows.push_back({(menuStates_[i] & kGrayed) == 0, false});
  }
  menu_.call<void>("focus");
  const int first = menubar::firstMenuRow(rows);
  if (first >= 0) menu_.call<val>("querySelectorAll", std::string("[role=menuitem]"))[first].call<void>("focus");
}

void Engine::hideMenu() {
  if (menu_.isUndefined()) return;
  for (int listener : menuListeners_) route_.unlisten(listener);
  menuListeners_.clear();
  menu_.call<void>("remove");
  menu_ = val::undefined();
}

void Engine::chooseMenuItem(int index) {
  hideMenu();
  focus();
  raise("ContextMenuAction", 0, 0, index);
}

void Engine::onMenuClick(const val& event) {
  const val item = event["target"].call<val>("closest", std::string("[role=menuitem]"));
  if (item.isNull() || item.call<bool>("hasAttribute", std::string("aria-disabled"))) return;
  chooseMenuItem(std::stoi(item.call<val>("getAttribute", std::string("data-index")).as<std::string>()));
}

void Engine::onMenuKey(const val& event) {
  const std::string key = event["key"].isString() ? event["key"].as<std::string>() : "";
  const val items = menu_.call<val>("querySelectorAll", std::string("[role=menuitem]"));
  const int count = items["length"].as<int>();
  std::vector<menubar::MenuRow> rows;
  int current = -1;
  const val active = menu_.call<val>("getRootNode")["activeElement"];
  for (int i = 0; i < count; ++i) {
    rows.push_back({!items[i].call<bool>("hasAttribute", std::string("aria-disabled")), false});
    if (items[i].strictlyEquals(active)) current = i;
  }
  const auto result = menubar::menuKey(key, rows, current, false, false);
  using A = menubar::MenuKeyAction;
  switch (result.action) {
    case A::none:
      return;
    case A::focus:
      items[result.row].call<void>("focus");
      break;
    case A::choose:
      chooseMenuItem(std::stoi(items[result.row].call<val>("getAttribute", std::string("data-index")).as<std::string>()));
      break;
    case A::dismiss:
    case A::leave:
      hideMenu();
      focus();
      break;
    default:
      break;
  }
  event.call<void>("preventDefault");
}

}  // namespace vellmar::browser
