// The dialogs and element property panels of one editor, connected to the entry points the
// editing commands open them through. Each dialog is made on first use and kept for the editor's
// life; message boxes are the editor's own (messageBoxes_).
#include "platform/browser/editor_commands.h"
#include "platform/browser/host.h"
#include "platform/browser/spell_check_view.h"

namespace vellmar::browser {

void ElementHost::wireDialogs() {
  [[maybe_unused]] EditorDialogs& dialogs = commands_->dialogs();
  dialogs.spellCheck = [this](SpellCheckView::Replace replace) {
    if (!spellCheck_) {
      spellCheck_ = std::make_unique<SpellCheckView>(root_, *engine_, *messageBoxes_,
                                                     menuBar_->settings());
    }
    spellCheck_->spellCheck(std::move(replace));
  };
}

}  // namespace vellmar::browser
