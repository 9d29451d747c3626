#pragma once

#include <emscripten/val.h>

namespace vellmar::browser {

// Backs the editor's debug log with a file of the origin-private file system (the file name keeps
// its rule; the folder is the file system's root) and echoes every entry to the browser console.
// Idempotent: every editor on the page shares the one log.
void installBrowserDebugLog();

// A promise of the text of the log file opened last ("" when none was opened), read after every
// entry written so far has reached the file.
emscripten::val readDebugLog();

}  // namespace vellmar::browser
