#pragma once

#include <emscripten/val.h>

#include <functional>
#include <memory>
#include <string>

#include "editor/local_files.h"
#include "menubar/settings_store.h"
#include "platform/browser/event_route.h"
#include "platform/browser/modal_dialog.h"

namespace vellmar::browser {

// Open Local, Save Local, Save Local As and the recent files of one editor, on the browser's file
// pickers. Where the browser has the File System Access API, the file chosen is kept as a handle:
// Save Local writes to it again without asking, and a recent file is opened again from its handle
// (kept in the page's IndexedDB per site and name). Elsewhere a file input chooses what to open,
// and a save is a download under the name given.
class LocalFilesView {
 public:
  struct Hooks {
    editor::LocalFileHooks files;
    // The site the recent files and the kept handles belong to (`domain`).
    std::function<std::string()> domain;
  };
  LocalFilesView(emscripten::val root, MessageBoxes& messageBoxes, menubar::SettingsStore& settings,
                 Hooks hooks);
  ~LocalFilesView();
  LocalFilesView(const LocalFilesView&) = delete;
  LocalFilesView& operator=(const LocalFilesView&) = delete;

  void openLocal();
  void openRecentFiles(int n);
  void saveLocal();
  void saveLocalAs(const std::string& defaultName);

  const std::string& currentFile() const { return files_.currentFile(); }

 private:
  bool hasPickers() const;
  void openHandle(const emscripten::val& handle);
  void readFile(const emscripten::val& file, const std::string& name, const emscripten::val& handle);
  void writeHandle(const emscripten::val& handle);
  void download(const std::string& name);
  void askName(const std::string& name);
  void failedSave(const std::string& name, const emscripten::val& error);

  emscripten::val root_;
  MessageBoxes& messageBoxes_;
  menubar::SettingsStore& settings_;
  Hooks hooks_;
  editor::LocalFiles files_;
  emscripten::val input_ = emscripten::val::undefined();    // the file input of the fallback
  emscripten::val current_ = emscripten::val::null();      // the current file's handle, if any
  std::unique_ptr<ModalDialog> nameDialog_;
  emscripten::val nameField_ = emscripten::val::undefined();
  EventRoute route_{"LocalFiles"};
};

}  // namespace vellmar::browser
