#include "platform/browser/modal_dialog.h"
#include "platform/browser/elements.h"

#include <utility>

#include "common/diagnostics.h"
#include "platform/browser/dom.h"

namespace vellmar::browser {

namespace {

using emscripten::val;

bool present(const val& v) { return !v.isUndefined() && !v.isNull(); }

// The element that has the focus, looking into shadow roots and frames' documents as far as the
// page lets us (a sandboxed frame's document may be out of reach).
val focusedElement(const val& root) {
  val active = root["activeElement"];
  if (!present(active)) active = val::global("document")["activeElement"];
  return active;
}

}  // namespace

ModalDialog::ModalDialog(val root, const std::string& caption, const std::string& className)
    : route_("ModalDialog") {
  dialog_ = create("dialog", className.empty() ? "vellmar-dialog" : "vellmar-dialog " + className);
  dialog_.call<void>("setAttribute", std::string("aria-label"), caption);

  val title = create("div", "vellmar-dialog-caption");
  title.set("textContent", caption);
  title.call<void>("setAttribute", std::string("aria-hidden"), std::string("true"));
  dialog_.call<void>("appendChild", title);

  body_ = create("div", "vellmar-dialog-body");
  dialog_.call<void>("appendChild", body_);
  buttons_ = create("div", "vellmar-dialog-buttons");
  dialog_.call<void>("appendChild", buttons_);

  // Escape: the browser raises "cancel" and would close the dialog by itself; the cancel button
  // decides instead, so its handler runs exactly as when it is clicked.
  route_.listen(dialog_, "cancel", [this](const val& event) {
    event.call<void>("preventDefault");
    if (cancel_) {
      const auto cancel = cancel_;
      cancel();
    } else {
      close();
    }
  });
  route_.listen(dialog_, "keydown", [this](const val& event) { pressDefault(event); });
  root.call<void>("appendChild", dialog_);
}

ModalDialog::~ModalDialog() {
  if (!present(dialog_)) return;
  guarded("ModalDialog", [&] {
    if (isOpen()) dialog_.call<void>("close");
    dialog_.call<void>("remove");
  });
}

val ModalDialog::makeButton(const std::string& label, std::function<void()> pressed) {
  val button = create("button", "vellmar-dialog-button");
  button.call<void>("setAttribute", std::string("type"), std::string("button"));
  button.set("textContent", label);
  route_.listen(button, "click", [pressed = std::move(pressed)](const val&) {
    if (pressed) pressed();
  });
  return button;
}

val ModalDialog::addButton(const std::string& label, std::function<void()> pressed, Role role) {
  if (role == Role::accept) accept_ = pressed;
  if (role == Role::cancel) cancel_ = pressed;
  val button = makeButton(label, std::move(pressed));
  if (role == Role::accept)
    button["classList"].call<void>("add", std::string("vellmar-dialog-default"));
  buttons_.call<void>("appendChild", button);
  return button;
}

void ModalDialog::pressDefault(const val& event) {
  if (!accept_ || event["key"].as<std::string>() != "Enter") return;
  if (event["shiftKey"].as<bool>() || event["ctrlKey"].as<bool>() || event["altKey"].as<bool>())
    return;
  // Enter keeps its own meaning on buttons, in lists and in multi-line fields.
  const val target = event["target"];
  const std::string tag = present(target) ? target["tagName"].as<std::string>() : std::string();
  if (tag == "BUTTON" || tag == "TEXTAREA" || tag == "SELECT") return;
  if (tag == "INPUT") {
    const std::string type = target["type"].as<std::string>();
    if (type == "button" || type == "submit" || type == "file" || type == "checkbox" ||
        type == "radio")
      return;
  }
  event.call<void>("preventDefault");
  const auto accept = accept_;
  accept();
}

void ModalDialog::show(const val& focus) {
  if (isOpen()) return;
  returnFocus_ = focusedElement(dialog_.call<val>("getRootNode"));
  dom::call(dialog_, "showModal");
  val target = focus;
  if (!present(target)) {
    target = body_.call<val>("querySelector",
                             std::string("input:not([disabled]),select:not([disabled]),"
                                         "textarea:not([disabled]),[role=listbox],button:not([disabled])"));
  }
  if (!present(target)) target = buttons_.call<val>("querySelector", std::string("button"));
  if (present(target)) target.call<void>("focus");
}

void ModalDialog::close() {
  if (!isOpen()) return;
  dialog_.call<void>("close");
  // The element the focus came from may have gone meanwhile (a replaced document, the menu item
  // that opened the dialog): the focus then goes to the editor's document.
  if (present(returnFocus_) && returnFocus_["isConnected"].as<bool>() &&
      returnFocus_["tagName"].as<std::string>() != "BODY") {
    dom::focus(returnFocus_);
  } else {
    dom::focus(dialog_.call<val>("getRootNode").call<val>(
        "querySelector", std::string("iframe.vellmar-engine-frame")));
  }
  returnFocus_ = val::undefined();
  if (onClosed) {
    const auto closed = onClosed;
    closed();
  }
}

bool ModalDialog::isOpen() const { return present(dialog_) && dialog_["open"].as<bool>(); }

// ---- MessageBoxes

MessageBoxes::MessageBoxes(val root) : root_(std::move(root)) {}
MessageBoxes::~MessageBoxes() = default;

void MessageBoxes::show(const std::string& text, const std::string& caption, MessageButtons buttons,
                        std::function<void(MessageAnswer)> answered) {
  queue_.push_back(Pending{text, caption, buttons, std::move(answered)});
  if (!current_) next();
}

void MessageBoxes::next() {
  if (queue_.empty()) return;
  Pending p = std::move(queue_.front());
  queue_.erase(queue_.begin());
  current_ = std::make_unique<ModalDialog>(root_, p.caption, "vellmar-message-box");
  answered_ = std::move(p.answered);
  val text = val::global("document").call<val>("createElement", std::string("p"));
  text.call<void>("setAttribute", std::string("class"), std::string("vellmar-message-box-text"));
  text.set("textContent", p.text);
  current_->body().call<void>("appendChild", text);
  current_->element().call<void>("setAttribute", std::string("role"), std::string("alertdialog"));

  using Role = ModalDialog::Role;
  auto add = [&](const char* label, MessageAnswer a, Role role) {
    return current_->addButton(label, [this, a] { answer(a); }, role);
  };
  val first = val::undefined();
  switch (p.buttons) {
    case MessageButtons::ok:
      first = add("OK", MessageAnswer::ok, Role::accept);
      // Escape answers OK: the box has nothing else to say.
      current_->setEscape([this] { answer(MessageAnswer::ok); });
      break;
    case MessageButtons::okCancel:
      first = add("OK", MessageAnswer::ok, Role::accept);
      add("Cancel", MessageAnswer::cancel, Role::cancel);
      break;
    case MessageButtons::yesNo:
      first = add("Yes", MessageAnswer::yes, Role::accept);
      add("No", MessageAnswer::no, Role::cancel);
      break;
    case MessageButtons::yesNoCancel:
      first = add("Yes", MessageAnswer::yes, Role::accept);
      add("No", MessageAnswer::no, Role::plain);
      add("Cancel", MessageAnswer::cancel, Role::cancel);
      break;
  }
  current_->show(first);
}

void MessageBoxes::answer(MessageAnswer a) {
  if (!current_) return;
  finished_ = std::move(current_);
  finished_->close();
  auto answered = std::move(answered_);
  answered_ = nullptr;
  if (answered) answered(a);
  if (!current_) next();
}

}  // namespace vellmar::browser
