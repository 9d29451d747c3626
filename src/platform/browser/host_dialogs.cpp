// The dialogs and element property panels of one editor, connected to the entry points the
// editing commands open them through. Each dialog is made on first use and kept for the editor's
// life; message boxes are the editor's own (messageBoxes_).
#include "common/diagnostics.h"
#include "platform/browser/colour_selector_view.h"
#include "platform/browser/dialog_views.h"
#include "platform/browser/editor_commands.h"
#include "platform/browser/element_frames.h"
#include "platform/browser/engine.h"
#include "platform/browser/host.h"
#include "platform/browser/image_drop.h"
#include "platform/browser/spell_check_view.h"

namespace vellmar::browser {

void ElementHost::wireDialogs() {
  EditorDialogs& dialogs = commands_->dialogs();

  // One colour picker for the text colour and every colour selector of the panels.
  colourPicker_ = std::make_unique<ColourPicker>(root_);
  dialogs.colour = [this](const std::string& start, std::function<void(const std::string&)> done) {
    colourPicker_->open(start, std::move(done));
  };

  // The element frames, in the band the layout keeps under the editing surface.
  frames_ = std::make_unique<ElementFrames>(surface_, *engine_, *commands_, *control_, *colourPicker_);
  dialogs.hideAllFrames = [this] { frames_->hideAllFrames(); };
  dialogs.showFrame = [this](editing::PropertiesTarget panel, std::string_view title) {
    guarded("showFrame", [&] { frames_->showFrame(panel, title); });
  };
  editor::ControlHooks& hooks = control_->hooks();
  hooks.placeElementFrame = [this](const editor::Rect& rect) {
    if (frames_) frames_->place(rect);
  };
  hooks.closeElementFrame = [this] {
    if (frames_) frames_->hideAllFrames();
  };
  // The panel follows the selection after whatever else the tracker does.
  hooks.checkUnderCursor = [this, tracker = hooks.checkUnderCursor] {
    if (tracker) tracker();
    if (frames_) frames_->followSelection();
  };

  dialogs.image = [this](std::function<void(const ImageChoice&)> done) {
    if (!imageDialog_) imageDialog_ = std::make_unique<ImageManagerDialog>(root_, *messageBoxes_);
    imageDialog_->show(std::move(done));
  };
  engine_->events().FilesArrived = [this](const emscripten::val& files, const emscripten::val& range) {
    if (!imageDrop_) imageDrop_ = std::make_unique<ImageDrop>(*commands_, *messageBoxes_);
    imageDrop_->add(files, range);
  };
  dialogs.link = [this](const LinkChoice& current, std::function<void(const LinkChoice&)> done) {
    if (!linkDialog_) linkDialog_ = std::make_unique<LinkDialog>(root_);
    linkDialog_->show(current, std::move(done));
  };
  dialogs.table = [this](std::function<void(const TableChoice&)> done) {
    if (!tableDialog_) tableDialog_ = std::make_unique<TableDialog>(root_);
    tableDialog_->show(std::move(done));
  };
  dialogs.specialCharacters = [this](std::function<void(const std::string&)> done) {
    if (!charactersDialog_) charactersDialog_ = std::make_unique<SpecialCharactersDialog>(root_);
    charactersDialog_->show(std::move(done));
  };
  dialogs.about = [this] {
    if (!aboutDialog_) aboutDialog_ = std::make_unique<AboutDialog>(root_, *messageBoxes_);
    aboutDialog_->show();
  };
  dialogs.spellCheck = [this](SpellCheckView::Replace replace) {
    if (!spellCheck_) {
      spellCheck_ = std::make_unique<SpellCheckView>(root_, *engine_, *messageBoxes_,
                                                     menuBar_->settings());
    }
    spellCheck_->spellCheck(std::move(replace));
  };
}

}  // namespace vellmar::browser
