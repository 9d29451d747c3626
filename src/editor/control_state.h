#pragma once

#include <string>

namespace vellmar::editor {

// The views of the editing area.
enum class View : int { Wysiwyg = 0, Html = 1 };

// State the parts of one editor share. Each editor on the page has its own: shared between
// editors, one editor's view switch would overwrite another editor's document with its source
// text. (The property set, by contrast, is one for the whole page.)
struct ControlState {
  // Set at the end of a successful show, cleared at initialisation and hide; layout and
  // interface enabling do nothing while it is clear.
  bool ready = false;
  // Result of the last configuration check.
  bool configurationValid = false;
  // From an HTTP exchange's `started` to its final event; drives the progress indicator.
  bool requestInProgress = false;
  // From the document request until its answer has been loaded or the request has failed; the
  // editing area takes no input meanwhile, since the answer would replace whatever was typed.
  bool loadingDocument = false;
  View currentView = View::Wysiwyg;
  // The local file the document was last opened from or saved to; "" when none.
  std::string currentLocalFile;
};

}  // namespace vellmar::editor
