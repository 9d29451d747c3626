#include "platform/browser/message_view.h"
#include "platform/browser/elements.h"

#include <emscripten/bind.h>

#include <string>

namespace vellmar::browser {

namespace {

using emscripten::val;
using dialogs::twipsToPixels;

std::string px(int twips) { return std::to_string(twipsToPixels(twips)) + "px"; }

void place(val& el, const dialogs::TwipRect& r) {
  val style = el["style"];
  style.set("left", px(r.left));
  style.set("top", px(r.top));
  style.set("width", px(r.width));
  style.set("height", px(r.height));
}

void setVisible(val& el, bool visible) { el.set("hidden", !visible); }

// Called from the page's events.
void onMessageOk(val /*event*/) { dialogs::MessageWindow::shared().ok(); }

void onMessageTab(val event) {
  const val key = event["currentTarget"]["dataset"]["key"];
  if (key.isString()) dialogs::MessageWindow::shared().selectTab(key.as<std::string>());
}

void onMessageCancel(val event) {
  // Escape closes the window like OK, through the model.
  event.call<void>("preventDefault");
  dialogs::MessageWindow::shared().ok();
}

}  // namespace

MessageView::MessageView(val shadowRoot) : root_(std::move(shadowRoot)) {}

MessageView::~MessageView() {
  dialogs::MessageWindow::shared().forget(this);
  closed();
}

void MessageView::closed() {
  if (dialog_.isUndefined() || dialog_.isNull()) return;
  if (dialog_["open"].as<bool>()) dialog_.call<void>("close");
  dialog_.call<void>("remove");
  dialog_ = val::undefined();
}

void MessageView::present(const dialogs::MessageWindowLayout& l) {
  closed();
  const val module = val::module_property("messageWindowOk");

  dialog_ = create("dialog", "vellmar-message");
  setAttr(dialog_, "aria-labelledby", "vellmar-message-caption");
  val style = dialog_["style"];
  style.set("width", px(l.width));
  style.set("height", px(l.height));

  val caption = create("div", "vellmar-message-caption");
  setAttr(caption, "id", "vellmar-message-caption");
  caption.set("textContent", l.caption);
  dialog_.call<void>("appendChild", caption);

  val client = create("div", "vellmar-message-client");
  dialog_.call<void>("appendChild", client);

  val icon = create("div", "vellmar-message-icon");
  setAttr(icon, "aria-hidden", "true");
  place(icon, l.icon);
  client.call<void>("appendChild", icon);

  val label = create("div", "vellmar-message-label");
  label.set("textContent", l.label);
  place(label, l.labelRect);
  setVisible(label, l.labelVisible);
  client.call<void>("appendChild", label);

  tabs_ = create("div", "vellmar-message-tabs");
  place(tabs_, l.tabs);
  setVisible(tabs_, l.tabsVisible);
  val tablist = create("div", "vellmar-message-tablist");
  setAttr(tablist, "role", "tablist");
  for (const auto& tab : dialogs::kMessageTabs) {
    val button = create("button", "vellmar-message-tab");
    setAttr(button, "type", "button");
    setAttr(button, "role", "tab");
    setAttr(button, "title", std::string(tab.toolTip));
    setAttr(button, "data-key", std::string(tab.key));
    button.set("textContent", std::string(tab.caption));
    button.call<void>("addEventListener", std::string("click"),
                      val::module_property("messageWindowTab"));
    tablist.call<void>("appendChild", button);
  }
  tabs_.call<void>("appendChild", tablist);
  client.call<void>("appendChild", tabs_);

  // An empty sandbox: the message is rendered but no script in it runs, nothing it links to opens
  // in the page, and it cannot reach the editor.
  frame_ = create("iframe", "vellmar-message-frame");
  setAttr(frame_, "sandbox", "");
  setAttr(frame_, "title", l.caption);
  place(frame_, l.client);
  frame_.set("srcdoc", "<!doctype html><html><head><meta charset=\"utf-8\"></head><body>" + l.html +
                           "</body></html>");
  client.call<void>("appendChild", frame_);

  source_ = create("textarea", "vellmar-message-source");
  source_.set("readOnly", true);
  setAttr(source_, "aria-label", "HTML Source");
  place(source_, l.client);
  source_.set("value", l.source);
  client.call<void>("appendChild", source_);

  val ok = create("button", "vellmar-message-ok");
  setAttr(ok, "type", "button");
  ok.set("textContent", std::string("OK"));
  place(ok, l.ok);
  ok.call<void>("addEventListener", std::string("click"), module);
  client.call<void>("appendChild", ok);

  dialog_.call<void>("addEventListener", std::string("cancel"),
                     val::module_property("messageWindowCancel"));
  root_.call<void>("appendChild", dialog_);
  tabChanged(true);
  dialog_.call<void>("showModal");
  ok.call<void>("focus");
}

void MessageView::tabChanged(bool browserVisible) {
  if (dialog_.isUndefined() || dialog_.isNull()) return;
  setVisible(frame_, browserVisible);
  setVisible(source_, !browserVisible);
  const val buttons = tabs_.call<val>("querySelectorAll", std::string("[role=tab]"));
  const int count = buttons["length"].as<int>();
  for (int i = 0; i < count; ++i) {
    val button = buttons[i];
    const bool selected = (i == 0) == browserVisible;
    setAttr(button, "aria-selected", selected ? "true" : "false");
    setAttr(button, "tabindex", selected ? "0" : "-1");
  }
}

EMSCRIPTEN_BINDINGS(vellmar_message_window) {
  emscripten::function("messageWindowOk", &onMessageOk);
  emscripten::function("messageWindowTab", &onMessageTab);
  emscripten::function("messageWindowCancel", &onMessageCancel);
}

}  // namespace vellmar::browser
