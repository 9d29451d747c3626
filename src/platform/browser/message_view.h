#pragma once

#include <emscripten/val.h>

#include "dialogs/message_window.h"

namespace vellmar::browser {

// The message window of one editor: a modal <dialog> in the editor's shadow root, named by its
// caption, with the two tabs, a sandboxed frame that renders the message (no script in a message
// ever runs) and a read-only box with its source. It only draws the model of
// dialogs::MessageWindow; closing it, by OK or Escape, is the model's OK.
class MessageView final : public dialogs::MessagePresenter {
 public:
  explicit MessageView(emscripten::val shadowRoot);
  ~MessageView() override;

  void present(const dialogs::MessageWindowLayout& layout) override;
  void tabChanged(bool browserVisible) override;
  void closed() override;

 private:
  emscripten::val root_;
  emscripten::val dialog_ = emscripten::val::undefined();
  emscripten::val frame_ = emscripten::val::undefined();
  emscripten::val source_ = emscripten::val::undefined();
  emscripten::val tabs_ = emscripten::val::undefined();
};

}  // namespace vellmar::browser
