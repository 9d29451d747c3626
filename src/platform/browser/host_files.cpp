// Local files of one editor: the pickers and the current file, connected to the control.
#include "editor/properties.h"
#include "menubar/editor_menu.h"
#include "platform/browser/editor_views.h"
#include "platform/browser/host.h"
#include "platform/browser/local_files_view.h"

namespace vellmar::browser {

void ElementHost::wireLocalFiles() {
  LocalFilesView::Hooks hooks;
  hooks.files.loadContent = [this](const std::string& content) {
    control_->letProperty("content", content);
  };
  hooks.files.fillRecentFiles = [this](const std::string& path) {
    menubar::fillRecentFiles(menuBar_->model(), editor::PropertySet::shared(),
                             menuBar_->settings(), path);
  };
  hooks.files.showMessage = [this](const std::string& text, const std::string& caption) {
    messageBoxes_->show(text, caption);
  };
  hooks.files.documentText = [this] {
    return views_->getContent(editor::PropertySet::shared().saveContentMethod());
  };
  hooks.files.saveContentMethod = [] { return editor::PropertySet::shared().saveContentMethod(); };
  hooks.domain = [] { return editor::PropertySet::shared().domain(); };
  localFiles_ = std::make_unique<LocalFilesView>(root_, *messageBoxes_, menuBar_->settings(),
                                                 std::move(hooks));
}

}  // namespace vellmar::browser
