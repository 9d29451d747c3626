#include "platform/browser/toolbar_view.h"
#include "platform/browser/elements.h"

#include <algorithm>

#include "editor/properties.h"

namespace vellmar::browser {

namespace {

using emscripten::val;
using toolbars::SelectorList;

std::string px(int v) { return std::to_string(v) + "px"; }

constexpr const char* kListLabels[] = {"Block Format", "Font", "Font Size"};

}  // namespace

// ---- a toolbar ---------------------------------------------------------------------------------

ToolbarView::ToolbarView(toolbars::ctlToolbar& model, val bar) : model_(model), bar_(std::move(bar)) {
  bar_["classList"].call<void>("add", std::string("vellmar-toolbar"));
  setAttr(bar_, "data-toolbar", toolbars::toolbarName(model_.id()));
  setAttr(bar_, "aria-orientation", "horizontal");
  for (int i = 1; i <= static_cast<int>(model_.count()); ++i) {
    const toolbars::ButtonDef& def = *model_.button(i).def;
    val el = val::null();
    if (def.separator()) {
      el = create("span", "vellmar-tool-separator");
      setAttr(el, "role", "separator");
      setAttr(el, "aria-orientation", "vertical");
    } else {
      el = create("button", "vellmar-tool");
      setAttr(el, "type", "button");
      setAttr(el, "title", def.tooltip);
      setAttr(el, "aria-label", def.tooltip);
      setAttr(el, "data-key", def.key);
      setAttr(el, "data-icon", def.icon);
      setAttr(el, "tabindex", "-1");
      val icon = create("span", "vellmar-tool-icon");
      setAttr(icon, "aria-hidden", "true");
      el.call<void>("appendChild", icon);
      // The document keeps the focus and its selection; the button acts on the click.
      route_.listen(el, "mousedown", [](const val& event) { event.call<void>("preventDefault"); });
      route_.listen(el, "click", [this, i](const val&) {
        setTabStop(i);
        model_.click(i);
      });
    }
    bar_.call<void>("appendChild", el);
    buttons_.push_back(el);
  }
  route_.listen(bar_, "keydown", [this](const val& event) { onKey(event); });
  for (int i = 1; i <= static_cast<int>(model_.count()); ++i) drawButton(i);
  setTabStop(0);
  model_.setObserver([this](int index) { changed(index); });
}

void ToolbarView::changed(int index) {
  if (index == 0) return;  // the toolbar as a whole: the control shows and hides its element
  drawButton(index);
  // The tab stop stays on a button that can take it.
  const auto stops = reachable();
  if (std::find(stops.begin(), stops.end(), tabStop_) == stops.end()) setTabStop(0);
}

void ToolbarView::drawButton(int index) {
  const toolbars::ToolbarButton& b = model_.button(index);
  val el = buttons_[static_cast<std::size_t>(index - 1)];
  el.set("hidden", !b.visible);
  if (b.def->separator()) return;
  el.set("disabled", !b.enabled);
  if (b.def->toggle) {
    setAttr(el, "aria-pressed", b.value != 0 ? "true" : "false");
  } else if (b.value != 0) {
    setAttr(el, "aria-pressed", "true");
  } else {
    el.call<void>("removeAttribute", std::string("aria-pressed"));
  }
}

std::vector<int> ToolbarView::reachable() const {
  std::vector<int> indexes;
  for (int i = 1; i <= static_cast<int>(model_.count()); ++i) {
    const toolbars::ToolbarButton& b = model_.button(i);
    if (b.visible && b.enabled && !b.def->separator()) indexes.push_back(i);
  }
  return indexes;
}

void ToolbarView::setTabStop(int index) {
  const auto stops = reachable();
  if (index == 0 || std::find(stops.begin(), stops.end(), index) == stops.end()) {
    index = stops.empty() ? 0 : stops.front();
  }
  if (tabStop_ == index) return;
  if (tabStop_ > 0) setAttr(buttons_[static_cast<std::size_t>(tabStop_ - 1)], "tabindex", "-1");
  tabStop_ = index;
  if (tabStop_ > 0) setAttr(buttons_[static_cast<std::size_t>(tabStop_ - 1)], "tabindex", "0");
}

void ToolbarView::onKey(const val& event) {
  const std::string key = event["key"].as<std::string>();
  if (key != "ArrowRight" && key != "ArrowLeft" && key != "Home" && key != "End") return;
  const auto stops = reachable();
  if (stops.empty()) return;
  const val active = bar_["ownerDocument"]["activeElement"];
  const val root = bar_.call<val>("getRootNode");
  const val focused = root["activeElement"].isUndefined() ? active : root["activeElement"];
  int current = -1;
  for (std::size_t n = 0; n < stops.size(); ++n) {
    if (buttons_[static_cast<std::size_t>(stops[n] - 1)].strictlyEquals(focused)) current = static_cast<int>(n);
  }
  const int last = static_cast<int>(stops.size()) - 1;
  int next = 0;
  if (key == "Home") {
    next = 0;
  } else if (key == "End") {
    next = last;
  } else if (current < 0) {
    next = 0;
  } else if (key == "ArrowRight") {
    next = current == last ? 0 : current + 1;
  } else {
    next = current == 0 ? last : current - 1;
  }
  event.call<void>("preventDefault");
  const int index = stops[static_cast<std::size_t>(next)];
  setTabStop(index);
  buttons_[static_cast<std::size_t>(index - 1)].call<void>("focus");
}

// ---- the selector bar --------------------------------------------------------------------------

SelectorView::SelectorView(toolbars::ctlFontSelector& model, val bar) : model_(model), bar_(std::move(bar)) {
  for (SelectorList list : toolbars::kSelectorLists) {
    const auto n = static_cast<std::size_t>(list);
    val select = create("select", "vellmar-selector-list");
    setAttr(select, "aria-label", kListLabels[n]);
    setAttr(select, "title", kListLabels[n]);
    setAttr(select, "data-list", std::to_string(n));
    select["style"].set("width", px(toolbars::kSelectorListWidths[n]));
    for (std::string_view entry : model_.entries(list)) {
      val option = val::global("document").call<val>("createElement", std::string("option"));
      option.set("textContent", std::string(entry));
      select.call<void>("appendChild", option);
    }
    route_.listen(select, "change", [this, list](const val& event) {
      model_.userSelected(list, event["target"]["selectedIndex"].as<int>());
      if (picked) picked();
    });
    bar_.call<void>("appendChild", select);
    lists_.push_back(select);
  }
  model_.setObserver([this](const SelectorList* list) { changed(list); });
  model_.updateInterface();
}

void SelectorView::changed(const SelectorList* list) {
  if (list) {
    drawList(*list);
    return;
  }
  for (SelectorList each : toolbars::kSelectorLists) drawList(each);
}

void SelectorView::drawList(SelectorList list) {
  val select = lists_[static_cast<std::size_t>(list)];
  select.set("hidden", !model_.listShown(list));
  select.set("disabled", !model_.listEnabled(list));
  // Setting the index from here raises no change event in the page.
  select.set("selectedIndex", model_.selectedIndex(list));
}

// ---- the editor's bars -------------------------------------------------------------------------

EditorToolbars::EditorToolbars(const std::function<val(editor::Child)>& bar)
    : standardView_(standard_, bar(editor::Child::StandardToolbar)),
      objectsView_(objects_, bar(editor::Child::ObjectsToolbar)),
      textFormatView_(textFormat_, bar(editor::Child::TextFormatToolbar)),
      selectorView_(selector_, bar(editor::Child::FontSelector)) {}

void EditorToolbars::connect(editor::ControlHooks& hooks) {
  hooks.applyToolbarSwitches = [this](int /*innerWidth*/) {
    return toolbars::applyToolbarSwitches(standard_, objects_, selector_, textFormat_,
                                          editor::PropertySet::shared());
  };
}

void EditorToolbars::sourceViewShown(bool shown) {
  for (toolbars::ctlToolbar* bar : {&standard_, &objects_, &textFormat_}) {
    for (int i = 1; i <= static_cast<int>(bar->count()); ++i) {
      bar->buttonEnabled(i, !shown);
      // The source has no caret in a bold word; the WYSIWYG view's status sets them again.
      if (shown) bar->buttonValue(i, 0);
    }
  }
  for (int list = 0; list < 3; ++list) selector_.enableItem(list, !shown);
  if (shown) {
    for (const char* key : {"cut", "copy", "paste"}) standard_.buttonEnabled(key, true);
  }
}

void EditorToolbars::setDispatch(std::function<void(const std::string& key)> dispatch) {
  standard_.ButtonClick = dispatch;
  objects_.ButtonClick = dispatch;
  textFormat_.ButtonClick = std::move(dispatch);
}

void EditorToolbars::setSelectorEvents(std::function<void(const std::string&)> formatChanged,
                                       std::function<void(const std::string&)> fontChanged,
                                       std::function<void(const std::string&)> sizeChanged) {
  selector_.formatChanged = std::move(formatChanged);
  selector_.fontChanged = std::move(fontChanged);
  selector_.sizeChanged = std::move(sizeChanged);
}

}  // namespace vellmar::browser
