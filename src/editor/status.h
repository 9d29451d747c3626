#pragma once

#include <functional>

#include "editor/control_state.h"

namespace vellmar::editor {

// What updateStatus reaches beyond the shared state.
struct StatusHooks {
  std::function<bool()> engineBusy;          // the engine's Busy
  std::function<void()> closeElementFrame;   // the element property panel
  std::function<void()> checkUnderCursor;    // the selection tracker
};

// Brings menus, toolbars and selectors in line with the selection after an engine display change.
// In the HTML view only the element frame is closed; while the engine is busy or a request is in
// progress nothing is updated.
void updateStatus(const ControlState& state, const StatusHooks& hooks);

}  // namespace vellmar::editor
