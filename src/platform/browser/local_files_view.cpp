#include "platform/browser/local_files_view.h"
#include "platform/browser/elements.h"

#include <emscripten/em_js.h>
#include <emscripten/emscripten.h>
#include <emscripten/val.h>

#include <utility>

#include "common/diagnostics.h"
#include "platform/browser/dom.h"

using emscripten::EM_VAL;

// The handles of opened and saved files, kept in IndexedDB (they cannot live in text storage).
// Each answers a promise; a browser without IndexedDB, or one that refuses it, keeps nothing.
EM_JS(EM_VAL, vellmar_handles_request, (const char* mode, const char* key, EM_VAL handle), {
  const op = UTF8ToString(mode);
  const name = UTF8ToString(key);
  const value = handle ? Emval.toValue(handle) : null;
  return Emval.toHandle(new Promise(function(resolve) {
    try {
      const open = indexedDB.open('Vellmar2', 1);
      open.onupgradeneeded = function() { open.result.createObjectStore('fileHandles'); };
      open.onerror = function() { resolve(null); };
      open.onsuccess = function() {
        const db = open.result;
        const tx = db.transaction('fileHandles', op === 'put' ? 'readwrite' : 'readonly');
        const store = tx.objectStore('fileHandles');
        const req = op === 'put' ? store.put(value, name) : store.get(name);
        req.onsuccess = function() { resolve(op === 'put' ? true : (req.result || null)); };
        req.onerror = function() { resolve(null); };
        tx.oncomplete = function() { db.close(); };
      };
    } catch (e) {
      resolve(null);
    }
  }));
});

// Writes the blob into the file of the handle: a promise that settles when the file is closed.
EM_JS(EM_VAL, vellmar_write_handle, (EM_VAL handle, EM_VAL blob), {
  const file = Emval.toValue(handle);
  const data = Emval.toValue(blob);
  return Emval.toHandle(file.createWritable().then(function(stream) {
    return stream.write(data).then(function() { return stream.close(); }, function(error) {
      try { stream.abort(); } catch (e) {}
      throw error;
    });
  }));
});

namespace vellmar::browser {

namespace {

using emscripten::val;

constexpr const char* kAccept = ".htm,.html,.txt,text/html,text/plain";

bool present(const val& v) { return !v.isUndefined() && !v.isNull(); }

// The picker's file types: "HTML Files (*.htm;*.html)", "Text Files (*.txt)"; all files stay
// choosable.
val pickerTypes() {
  auto type = [](const char* description, const char* mime, std::initializer_list<const char*> exts) {
    val extensions = val::array();
    for (const char* e : exts) extensions.call<void>("push", std::string(e));
    val accept = val::object();
    accept.set(mime, extensions);
    val t = val::object();
    t.set("description", std::string(description));
    t.set("accept", accept);
    return t;
  };
  val types = val::array();
  types.call<void>("push", type("HTML Files", "text/html", {".htm", ".html"}));
  types.call<void>("push", type("Text Files", "text/plain", {".txt"}));
  return types;
}

bool isAbort(const val& error) {
  return present(error) && present(error["name"]) && error["name"].isString() &&
         error["name"].as<std::string>() == "AbortError";
}

std::string describe(const val& error) {
  return present(error) ? val::global("String")(error).as<std::string>() : std::string("unknown");
}

std::string handleKey(const std::string& domain, const std::string& name) {
  return domain + "/" + name;
}

}  // namespace

LocalFilesView::LocalFilesView(val root, MessageBoxes& messageBoxes,
                               menubar::SettingsStore& settings, Hooks hooks)
    : root_(std::move(root)),
      messageBoxes_(messageBoxes),
      settings_(settings),
      hooks_(std::move(hooks)),
      files_(hooks_.files) {
  input_ = create("input", "vellmar-local-file-input");
  input_.set("type", std::string("file"));
  input_.set("accept", std::string(kAccept));
  input_.set("hidden", true);
  input_.call<void>("setAttribute", std::string("aria-label"), std::string(editor::kOpenLocalTitle));
  root_.call<void>("appendChild", input_);
  route_.listen(input_, "change", [this](const val&) {
    const val list = input_["files"];
    if (!present(list) || list["length"].as<int>() == 0) return;
    const val file = list[0];
    // Choosing the same file again must raise change again.
    input_.set("value", std::string());
    const std::string name = file["name"].as<std::string>();
    if (!files_.shouldOpen(name)) return;
    readFile(file, name, val::null());
  });
}

LocalFilesView::~LocalFilesView() {
  guarded("LocalFiles", [&] { input_.call<void>("remove"); });
}

bool LocalFilesView::hasPickers() const {
  const val window = val::global("window");
  return window["showOpenFilePicker"].typeOf().as<std::string>() == "function" &&
         window["showSaveFilePicker"].typeOf().as<std::string>() == "function";
}

void LocalFilesView::openLocal() {
  guarded("openLocal", [&] {
    if (!hasPickers()) {
      input_.call<void>("click");
      return;
    }
    val options = val::object();
    options.set("types", pickerTypes());
    options.set("multiple", false);
    val::global("window")
        .call<val>("showOpenFilePicker", options)
        .call<void>("then", route_.callback([this](const val& handles) { openHandle(handles[0]); }),
                    route_.callback([](const val& error) {
                      if (!isAbort(error)) debugLog("openLocal: " + describe(error));
                    }));
  });
}

void LocalFilesView::openHandle(const val& handle) {
  guarded("readAndOpenLocalFile", [&] {
    const std::string name = handle["name"].as<std::string>();
    if (!files_.shouldOpen(name)) return;
    handle.call<val>("getFile").call<void>(
        "then", route_.callback([this, handle, name](const val& file) { readFile(file, name, handle); }),
        route_.callback([this, name](const val&) { files_.openFailed(name); }));
  });
}

void LocalFilesView::readFile(const val& file, const std::string& name, const val& handle) {
  guarded("readAndOpenLocalFile", [&] {
    if (!files_.sizeAllowed(name, static_cast<std::uint64_t>(file["size"].as<double>()))) return;
    file.call<val>("arrayBuffer")
        .call<void>("then", route_.callback([this, name, handle](const val& buffer) {
                      const std::string bytes = dom::bytesOf(buffer);
                      if (!files_.fileRead(name, bytes)) return;
                      current_ = handle;
                      if (present(handle)) {
                        const std::string key = handleKey(hooks_.domain(), name);
                        val::take_ownership(vellmar_handles_request("put", key.c_str(), handle.as_handle()));
                      }
                    }),
                    route_.callback([this, name](const val&) { files_.openFailed(name); }));
  });
}

void LocalFilesView::openRecentFiles(int n) {
  guarded("openRecentFiles", [&] {
    const std::string path = menubar::readRecentFile(settings_, hooks_.domain(), n);
    if (!files_.shouldOpen(path)) return;
    if (!hasPickers()) {
      // Without file handles a page cannot reach a file by its name; the person chooses it again.
      messageBoxes_.show("The browser opens " + path + " again only when you choose it.  Choose it "
                         "in the next window.",
                         std::string(editor::kOpenLocalTitle), MessageButtons::okCancel,
                         [this](MessageAnswer answer) {
                           if (answer == MessageAnswer::ok) input_.call<void>("click");
                         });
      return;
    }
    const std::string key = handleKey(hooks_.domain(), path);
    val::take_ownership(vellmar_handles_request("get", key.c_str(), nullptr))
        .call<void>("then", route_.callback([this, path](const val& handle) {
          if (!present(handle)) {
            files_.openFailed(path);
            return;
          }
          val mode = val::object();
          mode.set("mode", std::string("read"));
          handle.call<val>("requestPermission", mode)
              .call<void>("then", route_.callback([this, path, handle](const val& state) {
                            if (state.isString() && state.as<std::string>() == "granted") {
                              openHandle(handle);
                            } else {
                              files_.openFailed(path);
                            }
                          }),
                          route_.callback([this, path](const val&) { files_.openFailed(path); }));
        }));
  });
}

void LocalFilesView::saveLocal() {
  guarded("saveLocal", [&] {
    const std::string& target = files_.saveLocalTarget();
    if (target.empty()) {
      saveLocalAs("");
    } else if (present(current_) && current_["name"].as<std::string>() == target) {
      writeHandle(current_);
    } else if (hasPickers()) {
      // A file opened through the file input has no handle to write to.
      saveLocalAs("");
    } else {
      download(target);
    }
  });
}

void LocalFilesView::saveLocalAs(const std::string& defaultName) {
  guarded("saveLocalAs", [&] {
    const std::string name = files_.saveAsName(defaultName);
    if (!hasPickers()) {
      askName(name);
      return;
    }
    val options = val::object();
    options.set("suggestedName", name);
    options.set("types", pickerTypes());
    val::global("window")
        .call<val>("showSaveFilePicker", options)
        .call<void>("then", route_.callback([this](const val& handle) { writeHandle(handle); }),
                    route_.callback([](const val& error) {
                      // A cancelled picker ends the save without a word.
                      if (!isAbort(error)) logProcedureError("saveLocalAs", 5, describe(error));
                    }));
  });
}

void LocalFilesView::writeHandle(const val& handle) {
  guarded("saveToLocalFile", [&] {
    const std::string name = handle["name"].as<std::string>();
    const auto text = files_.textToSave();
    if (!text) {
      messageBoxes_.show("The document could not be prepared.", std::string(editor::kSaveLocalTitle));
      return;
    }
    val parts = val::array();
    parts.call<void>("push", *text);
    const val blob = val::global("Blob").new_(parts);
    val::take_ownership(vellmar_write_handle(handle.as_handle(), blob.as_handle()))
        .call<void>("then", route_.callback([this, handle, name](const val&) {
                      current_ = handle;
                      files_.saved(name);
                      const std::string key = handleKey(hooks_.domain(), name);
                      val::take_ownership(vellmar_handles_request("put", key.c_str(), handle.as_handle()));
                    }),
                    route_.callback([this, name](const val& e) { failedSave(name, e); }));
  });
}

void LocalFilesView::failedSave(const std::string& name, const val& error) {
  logProcedureError("saveToLocalFile", 75, describe(error));
  messageBoxes_.show("There was an error saving the file " + name + ".  " + describe(error),
                     std::string(editor::kSaveLocalTitle));
}

void LocalFilesView::download(const std::string& name) {
  guarded("saveToLocalFile", [&] {
    const auto text = files_.textToSave();
    if (!text) {
      messageBoxes_.show("The document could not be prepared.", std::string(editor::kSaveLocalTitle));
      return;
    }
    val type = val::object();
    const bool plain = name.size() >= 4 && (name.ends_with(".txt") || name.ends_with(".TXT"));
    type.set("type", std::string(plain ? "text/plain;charset=utf-8" : "text/html;charset=utf-8"));
    val parts = val::array();
    parts.call<void>("push", *text);
    const val blob = val::global("Blob").new_(parts, type);
    const val url = val::global("URL").call<val>("createObjectURL", blob);
    val link = create("a");
    link.set("href", url);
    link.set("download", name);
    link.set("hidden", true);
    root_.call<void>("appendChild", link);
    link.call<void>("click");
    link.call<void>("remove");
    // The download has its own copy once it started; the address can go a little later.
    val::global("setTimeout")(route_.callback([url](const val&) {
                                val::global("URL").call<void>("revokeObjectURL", url);
                              }),
                              60000);
    current_ = val::null();
    files_.saved(name);
  });
}

void LocalFilesView::askName(const std::string& name) {
  if (!nameDialog_) {
    nameDialog_ = std::make_unique<ModalDialog>(root_, std::string(editor::kSaveLocalTitle),
                                                "vellmar-save-local");
    val label = create("label");
    label.set("textContent", std::string("File name:"));
    nameField_ = create("input");
    nameField_.call<void>("setAttribute", std::string("id"), std::string("vellmar-save-local-name"));
    label.call<void>("setAttribute", std::string("for"), std::string("vellmar-save-local-name"));
    nameDialog_->body().call<void>("appendChild", label);
    nameDialog_->body().call<void>("appendChild", nameField_);
    nameDialog_->addButton(
        "Save",
        [this] {
          std::string chosen = nameField_["value"].as<std::string>();
          // A name only: the browser decides the folder.
          const auto slash = chosen.find_last_of("/\\");
          if (slash != std::string::npos) chosen.erase(0, slash + 1);
          if (chosen.empty()) return;
          nameDialog_->close();
          download(chosen);
        },
        ModalDialog::Role::accept);
    nameDialog_->addButton("Cancel", [this] { nameDialog_->close(); }, ModalDialog::Role::cancel);
  }
  nameField_.set("value", name);
  nameDialog_->show(nameField_);
  nameField_.call<void>("select");
}

}  // namespace vellmar::browser
