#pragma once

// The selection tracker: after every display change it brings the interface into line with the
// element under the caret. Menu items and toolbar buttons are checked, pressed or greyed by their
// engine command's status; the selector shows the block format, font and size there; the class of
// the element is checked in the Style menu; an open property panel is closed when the caret moved
// to another element and re-read when its element changed.
//
// Which item shows which status is the command registry's; which button belongs to an item is the
// toolbars' tables; which menu holds it is the editor menu's. Nothing here repeats them.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "editing/decmd.h"
#include "editing/selection.h"
#include "editor/properties.h"

namespace vellmar::menubar {
class mcMenuBar;
}
namespace vellmar::toolbars {
class ctlToolbar;
class ctlFontSelector;
enum class ToolbarId;
}  // namespace vellmar::toolbars

namespace vellmar::editing {

// What the tracker reads from the engine and its document. Failures are thrown (ProcedureError)
// and trapped by the tracker's procedures.
class TrackedDocument {
 public:
  virtual ~TrackedDocument() = default;
  virtual std::int32_t QueryStatus(Decmd command) = 0;
  // The value of a GET command: the block format's name, the font name, the font size.
  virtual std::string ExecCommand(Decmd command) = 0;
  virtual SelectionType selectionType() = 0;
  // Compares the selection's text range with the one remembered by the last call, then remembers
  // the current one. True when they differ; a comparison that fails counts as a difference.
  virtual bool textRangeChanged() = 0;
  // The ancestor search: from the start of the selection (the selected element for a control
  // selection) up to BODY, which is never compared. The tag in any letter case.
  virtual bool checkForParentTag(std::string_view tag) = 0;
  // An attribute of the innermost enclosing element with that tag; nothing when there is no such
  // element or it lacks the attribute.
  virtual std::optional<std::string> parentTagAttribute(std::string_view tag, std::string_view attribute) = 0;
  // The element the selection is about (a text range's parent element, or the selected element):
  // its upper-case tag name, its position among the document's elements, its class attribute.
  virtual std::string selectedTagName() = 0;
  virtual int selectedSourceIndex() = 0;
  virtual std::string selectedClassName() = 0;
  // Removes the width and height attributes of the selected element.
  virtual void removeSelectedSize() = 0;
};

// The element property panel as the tracker follows it. Empty members stand for no panel.
struct PanelFollowing {
  // The sourceIndex of the element whose panel is open; -1 when none is.
  std::function<int()> elementIndex;
  std::function<void()> hideAllFrames;
  // With a panel shown: re-reads its element when the element's outer HTML changed since it was
  // last read.
  std::function<void()> refreshPanel;
};

struct TrackerTargets {
  menubar::mcMenuBar* menuBar = nullptr;
  toolbars::ctlToolbar* standard = nullptr;
  toolbars::ctlToolbar* objects = nullptr;
  toolbars::ctlToolbar* textFormat = nullptr;
  toolbars::ctlFontSelector* selector = nullptr;
  PanelFollowing panels;
};

// One item the tracker keeps in step with an engine command's status: the item's key, the menu it
// is in, the command, and its toolbar button (index 0: none).
struct TrackedItem {
  std::string_view key;
  std::string_view menu;
  Decmd command;
  std::optional<toolbars::ToolbarId> toolbar;
  int button = 0;
};

// The items whose checked and greyed states follow their command's status, and the table
// commands, which are only greyed (unless their status is exactly enabled).
const std::vector<TrackedItem>& trackedItems();
const std::vector<TrackedItem>& trackedTableItems();

class SelectionTracker {
 public:
  SelectionTracker(TrackedDocument& document, TrackerTargets targets,
                   const editor::PropertySet& properties);

  // The full refresh, on every display change in the WYSIWYG view.
  void checkUnderCursor();
  // One command's status on one menu item and, when buttonIndex is not 0, one toolbar button:
  // latched checks and presses, enabled clears, disabled greys and disables; other statuses
  // change nothing.
  void checkAndSetStatus(Decmd command, std::string_view menu, std::string_view item,
                         toolbars::ctlToolbar* toolbar, int buttonIndex);
  // The partial refreshes: the font, the size and the block format in the selector and the
  // Format and Style menus, and the element's class in the Style menu.
  void checkFontsInMenu();
  void checkSizeInMenu();
  void checkFormatInMenu();
  void checkStyleInMenu();

  // Forget the text range of the last run, so that the next run refreshes the selector.
  void forgetLastRange() { forceRefresh_ = true; }

 private:
  toolbars::ctlToolbar* toolbar(std::optional<toolbars::ToolbarId> id) const;
  void setChecked(std::string_view menu, std::string_view item, bool checked);
  void setGrayed(std::string_view menu, std::string_view item, bool grayed);

  TrackedDocument& document_;
  TrackerTargets targets_;
  const editor::PropertySet& properties_;
  bool forceRefresh_ = true;
};

}  // namespace vellmar::editing
