#include "editor/status.h"

#include "common/diagnostics.h"

namespace vellmar::editor {

void updateStatus(const ControlState& state, const StatusHooks& hooks) {
  guarded("updateStatus", [&] {
    if (state.currentView == View::Html) {
      if (hooks.closeElementFrame) hooks.closeElementFrame();
      return;
    }
    const bool busy = hooks.engineBusy && hooks.engineBusy();
    if (!busy && !state.requestInProgress && hooks.checkUnderCursor) hooks.checkUnderCursor();
  });
}

}  // namespace vellmar::editor
