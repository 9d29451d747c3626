#pragma once

namespace vellmar::editor {

// The views of the editing area.
enum class View : int { Wysiwyg = 0, Html = 1 };

// State the control's parts share, held once per user-interface thread like the property set.
struct ControlState {
  // Set at the end of a successful show, cleared at initialisation and hide; layout and
  // interface enabling do nothing while it is clear.
  bool ready = false;
  // Result of the last configuration check.
  bool configurationValid = false;
  // From an HTTP exchange's `started` to its final event; drives the progress indicator.
  bool requestInProgress = false;
  View currentView = View::Wysiwyg;

  static ControlState& shared();
};

}  // namespace vellmar::editor
