#include "platform/browser/debug_log_file.h"

#include <emscripten/emscripten.h>

#include <memory>
#include <string>

#include "editor/debug_log.h"

// The file writes are asynchronous in a page, so entries are queued per file and written in order,
// several at a time; a read waits for the queue. Failures drop the entries, as the log's own rule
// says, and never reach the editor.
EM_JS(void, vellmar_debug_log_install, (), {
  if (Module.vellmarDebugLog) return;
  const log = { chain: Promise.resolve(), file: null };
  Module.vellmarDebugLog = log;
  log.supported = function() {
    return typeof navigator !== "undefined" && !!navigator.storage &&
           typeof navigator.storage.getDirectory === "function";
  };
  log.open = function(name) {
    const file = { name: name, pending: [], scheduled: false };
    file.handle = navigator.storage.getDirectory().then(function(dir) {
      return dir.getFileHandle(name, { create: true });
    });
    file.handle.catch(function() {});
    log.file = file;
  };
  log.flush = async function(file) {
    file.scheduled = false;
    const chunks = file.pending;
    file.pending = [];
    const handle = await file.handle;
    const existing = await handle.getFile();
    const writable = await handle.createWritable({ keepExistingData: true });
    await writable.write({ type: "write", position: existing.size, data: new Blob(chunks) });
    await writable.close();
  };
  log.append = function(bytes) {
    const file = log.file;
    if (!file) return;
    file.pending.push(bytes);
    if (file.scheduled) return;
    file.scheduled = true;
    log.chain = log.chain.then(function() { return log.flush(file); }).catch(function() {});
  };
  log.read = function() {
    const file = log.file;
    return log.chain.then(async function() {
      if (!file) return String();
      const blob = await (await file.handle).getFile();
      return new TextDecoder("windows-1252").decode(await blob.arrayBuffer());
    }).catch(function() { return String(); });
  };
});

EM_JS(int, vellmar_debug_log_supported, (), { return Module.vellmarDebugLog.supported() ? 1 : 0; });

EM_JS(void, vellmar_debug_log_open, (const char* name), {
  Module.vellmarDebugLog.open(UTF8ToString(name));
});

EM_JS(void, vellmar_debug_log_append, (const char* bytes, int length), {
  Module.vellmarDebugLog.append(HEAPU8.slice(bytes, bytes + length));
});

EM_JS(void, vellmar_debug_log_echo, (const char* message), {
  console.log(UTF8ToString(message));
});

namespace vellmar::browser {

namespace {

class OriginPrivateLogFile final : public editor::LogFileSystem {
 public:
  std::string folderPath() override { return {}; }

  bool openForAppend(const std::string& path) override {
    if (!vellmar_debug_log_supported()) return false;
    // The name rule writes a Windows separator; the file system root takes the bare name.
    const auto slash = path.find_last_of("\\/");
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    vellmar_debug_log_open(name.c_str());
    return true;
  }

  bool append(std::string_view bytes) override {
    vellmar_debug_log_append(bytes.data(), static_cast<int>(bytes.size()));
    return true;
  }

  void close() override {}
};

}  // namespace

void installBrowserDebugLog() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  vellmar_debug_log_install();
  auto& log = editor::DebugLog::shared();
  log.setFileSystemFactory([] { return std::make_unique<OriginPrivateLogFile>(); });
  log.setEcho([](std::string_view message) {
    const std::string text(message);
    vellmar_debug_log_echo(text.c_str());
  });
  editor::installDebugLog();
}

emscripten::val readDebugLog() {
  installBrowserDebugLog();
  return emscripten::val::module_property("vellmarDebugLog").call<emscripten::val>("read");
}

}  // namespace vellmar::browser
