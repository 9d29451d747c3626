#pragma once

#include <emscripten/val.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/browser/event_route.h"

namespace vellmar::browser {

// A modal dialog of one editor: a <dialog> in the editor's shadow root, named by its caption (so
// assistive technology and tests find it as the dialog "Images", "Tables", ...). The owner fills
// `body()` and adds the buttons. Escape presses the cancel button (or only closes when there is
// none), Enter in a one-line field presses the default button, and when the dialog closes the
// focus goes back to where it was before it opened (the document, as a rule).
//
// The dialog lives as long as its owner; closing only hides it. Handlers run through the dialog's
// own EventRoute, so nothing reaches a dialog that is gone.
class ModalDialog {
 public:
  ModalDialog(emscripten::val root, const std::string& caption, const std::string& className = {});
  ~ModalDialog();
  ModalDialog(const ModalDialog&) = delete;
  ModalDialog& operator=(const ModalDialog&) = delete;

  // Where the owner puts its fields.
  const emscripten::val& body() const { return body_; }
  const emscripten::val& element() const { return dialog_; }
  EventRoute& route() { return route_; }

  // A button in the dialog's button row, in the order added. The default button is the one Enter
  // presses; the cancel button the one Escape presses.
  enum class Role { plain, accept, cancel };
  emscripten::val addButton(const std::string& label, std::function<void()> pressed,
                            Role role = Role::plain);
  // What Escape does when no cancel button says it.
  void setEscape(std::function<void()> escape) { cancel_ = std::move(escape); }
  // A button elsewhere (inside the body) that does not belong to the row.
  emscripten::val makeButton(const std::string& label, std::function<void()> pressed);

  // Opens the dialog modally and puts the focus on `focus` (the first field when not given).
  void show(const emscripten::val& focus = emscripten::val::undefined());
  // Closes it and returns the focus.
  void close();
  bool isOpen() const;

  // Called whenever the dialog is closed, by a button, by Escape or by close().
  std::function<void()> onClosed;

 private:
  void pressDefault(const emscripten::val& event);

  emscripten::val dialog_ = emscripten::val::undefined();
  emscripten::val body_ = emscripten::val::undefined();
  emscripten::val buttons_ = emscripten::val::undefined();
  emscripten::val returnFocus_ = emscripten::val::undefined();
  std::function<void()> accept_;
  std::function<void()> cancel_;
  EventRoute route_;
};

// The buttons and answers of a message box.
enum class MessageButtons { ok, okCancel, yesNo, yesNoCancel };
enum class MessageAnswer { ok, cancel, yes, no };

// Message boxes of one editor: a line or two of text under a caption with one row of buttons,
// answered through a continuation (a message box never blocks the page). Boxes shown while one is
// open wait their turn.
class MessageBoxes {
 public:
  explicit MessageBoxes(emscripten::val root);
  ~MessageBoxes();
  MessageBoxes(const MessageBoxes&) = delete;
  MessageBoxes& operator=(const MessageBoxes&) = delete;

  void show(const std::string& text, const std::string& caption,
            MessageButtons buttons = MessageButtons::ok,
            std::function<void(MessageAnswer)> answered = {});
  bool showing() const { return static_cast<bool>(current_); }

 private:
  struct Pending {
    std::string text, caption;
    MessageButtons buttons;
    std::function<void(MessageAnswer)> answered;
  };
  void next();
  void answer(MessageAnswer a);

  emscripten::val root_;
  std::vector<Pending> queue_;
  std::unique_ptr<ModalDialog> current_;
  std::function<void(MessageAnswer)> answered_;
  // A box is answered from inside its own button's handler, so the finished dialog is kept until
  // the next box replaces it or the owner goes.
  std::unique_ptr<ModalDialog> finished_;
};

}  // namespace vellmar::browser
