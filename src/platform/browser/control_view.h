#pragma once

#include <emscripten/val.h>

#include <array>
#include <functional>
#include <string>

#include "editor/control.h"
#include "platform/browser/message_view.h"

namespace vellmar::browser {

// The control's child elements in the page: the menu bar and the four bars (placeholders of their
// natural width until the real bars fill them), the view tabs, the editing area, the source box
// and the progress indicator, all positioned by the control's layout inside its surface. Timers
// are the page's intervals.
class ControlView final : public editor::ControlView {
 public:
  ControlView(emscripten::val surface, emscripten::val shadowRoot);
  ~ControlView() override;
  ControlView(const ControlView&) = delete;
  ControlView& operator=(const ControlView&) = delete;

  // What the page's events and timers reach.
  void setControl(editor::ctlVellmar2* control) { control_ = control; }
  void setLoadedHandler(std::function<void()> loaded) { loaded_ = std::move(loaded); }
  // The editing engine once it exists (it is made at the first show).
  void setEngineAccess(std::function<bool()> busy, std::function<void()> caretToStart) {
    engineBusy_ = std::move(busy);
    caretToStart_ = std::move(caretToStart);
  }

  int innerWidth() const override;
  int innerHeight() const override;
  editor::Rect bounds(editor::Child child) const override;
  void setBounds(editor::Child child, const editor::Rect& rect) override;
  bool isShown(editor::Child child) const override;
  void setShown(editor::Child child, bool shown) override;
  bool isEnabled(editor::Child child) const override;
  void setEnabled(editor::Child child, bool enabled) override;
  editor::Rect tabClientArea(const editor::Rect& tabs) const override;
  int progressValue() const override { return progress_; }
  void setProgressValue(int value) override;
  void setTimerEnabled(editor::Timer timer, bool enabled) override;
  bool engineBusy() const override { return engineBusy_ && engineBusy_(); }
  void caretToStart() override {
    if (caretToStart_) caretToStart_();
  }
  void raiseLoaded() override;
  dialogs::MessagePresenter* messagePresenter() override { return &messages_; }

  // The element of a child (the engine and source box are filled by the views that own them).
  const emscripten::val& element(editor::Child child) const;

  // The bottom strip's status text, announced to screen readers.
  void setStatusText(const std::string& text);
  std::string statusText() const;
  // Shows over the editing area that the document is still loading.
  void setLoadingShown(bool loading);

 private:
  struct Slot {
    emscripten::val element = emscripten::val::undefined();
    editor::Rect rect;
    bool shown = false;
    bool enabled = true;
  };
  static constexpr std::size_t kChildren = 10;
  Slot& slot(editor::Child child) { return slots_[static_cast<std::size_t>(child)]; }
  const Slot& slot(editor::Child child) const { return slots_[static_cast<std::size_t>(child)]; }

  static void progressTick(void* self);
  static void keepAliveTick(void* self);

  emscripten::val surface_;
  std::array<Slot, kChildren> slots_;
  emscripten::val progressBar_ = emscripten::val::undefined();
  MessageView messages_;
  editor::ctlVellmar2* control_ = nullptr;
  std::function<void()> loaded_;
  std::function<bool()> engineBusy_;
  std::function<void()> caretToStart_;
  int progress_ = 0;
  long progressTimer_ = 0;
  long keepAliveTimer_ = 0;
};

}  // namespace vellmar::browser
