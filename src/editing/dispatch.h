#pragma once

// The dispatch: command keys from the menu bar, the toolbars, the keyboard and the context menu
// turned into the editor's operations, through the command registry. The selector's three events
// land here too.

#include <string>
#include <string_view>

#include "editing/commands.h"

namespace vellmar::editing {

// The editor's operations, as the dispatch reaches them. Each traps its own failures and logs
// them under its own name.
class EditorOperations {
 public:
  virtual ~EditorOperations() = default;

  // A row whose operation is its engine command alone: the guard, then the command.
  virtual void runCommand(const CommandRow& row) = 0;

  virtual void openLocal() = 0;
  virtual void saveToServer() = 0;
  virtual void saveLocal() = 0;
  virtual void saveLocalAs(const std::string& fileName) = 0;
  virtual void openRecentFiles(int n) = 0;

  virtual void cut() = 0;
  virtual void copy() = 0;
  virtual void paste() = 0;
  virtual void pasteUnformatted() = 0;
  virtual void copyHTML() = 0;
  virtual void pasteHTML() = 0;
  virtual void spellCheck() = 0;

  virtual void setView(std::string_view viewKey) = 0;
  virtual void visualAids() = 0;

  virtual void addImage() = 0;
  virtual void addLink() = 0;
  virtual void addHorizontalrule() = 0;
  virtual void addTable() = 0;
  virtual void insertHTML(std::string_view html) = 0;
  virtual void addOtherCharacter() = 0;

  virtual void clearStyle() = 0;
  virtual void setColor() = 0;
  virtual void setFont(std::string_view key) = 0;
  virtual void setFontSize(std::string_view key) = 0;
  virtual void setBlockFormat(std::string_view name) = 0;
  virtual void applyClass(std::string_view className) = 0;
  virtual void setTableValign(std::string_view valign) = 0;

  virtual void goToHelp() = 0;
  virtual void aboutVellmar() = 0;

  // The selection tracker's refresh of the selector and the Format menu.
  virtual void checkFormatInMenu() = 0;
};

// Runs the operation of a registry row.
void runOperation(EditorOperations& operations, const CommandRow& row);

// `mcMenuBar1_menuItemSelected`: the key's row, or the class family ("cssStyle_." in any letter
// case) with applyClass. An empty key, and a key of no row, do nothing.
void mcMenuBar1_menuItemSelected(EditorOperations& operations, std::string_view key);

// The selector's events. A font name applies every font whose family begins with it, in table
// order; each event ends with the tracker's refresh of the selector.
void ctlFontSelector1_fontChanged(EditorOperations& operations, std::string_view name);
void ctlFontSelector1_formatChanged(EditorOperations& operations, std::string_view name);
void ctlFontSelector1_sizeChanged(EditorOperations& operations, std::string_view size);

}  // namespace vellmar::editing
