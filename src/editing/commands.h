#pragma once

// The command registry: every command key the menus, the toolbars, the context menu and the
// keyboard deliver, declared once with the operation it runs, the engine command that guards it
// (and how), the engine command whose status the interface shows for it, and its shortcut. The
// dispatch, the menu's shortcut texts, the keyboard, the context menu, the toolbars and the
// selection tracker all read this one table.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "editing/decmd.h"

namespace vellmar::editing {

// The operations a command key can run. The names are the operations' own, as the error
// convention logs them ("Error in setBold").
enum class Operation {
  nothing,
  // File and server.
  openLocal,
  saveToServer,
  saveLocal,
  saveLocalAs,
  openRecentFiles,  // argument: the entry's number, "1" to "4"
  // Clipboard, find and spelling.
  cut,
  copy,
  paste,
  pasteUnformatted,
  copyHTML,
  pasteHTML,
  selectAll,
  findText,
  spellCheck,
  // Views.
  setView,  // argument: "wysiwyg" or "html"
  visualAids,
  // Insertion.
  addImage,
  addLink,
  addHorizontalrule,
  addTable,
  insertHTML,  // argument: the markup
  addOtherCharacter,
  removeLink,
  // Formatting.
  undo,
  redo,
  clearStyle,
  removeFormatting,
  setBlockFormat,  // argument: the block format's name
  setBold,
  setItalic,
  setUnderline,
  setLeft,
  setRight,
  setCenter,
  bulletList,
  numberList,
  indent,
  outdent,
  setColor,
  setFont,      // argument: the font key
  setFontSize,  // argument: the size key
  applyClass,   // argument: the class name
  // Table structure.
  insertRow,
  insertColumn,
  deleteColumn,
  deleteRow,
  mergeCells,
  splitCells,
  setTableValign,  // argument: "top", "middle" or "bottom"
  // Help.
  goToHelp,
  aboutVellmar,
};

// The operation's name, as its failures are logged.
std::string_view operationName(Operation operation);

// When a guarded operation may run, judged on the engine's status of its command read just before.
enum class Guard {
  none,            // always
  notDisabled,     // unless the status is exactly 1 (disabled)
  exactlyEnabled,  // only when the status is exactly 3 (enabled); latched and ninched block it too
};

bool guardPasses(Guard guard, std::int32_t status);

struct CommandRow {
  std::string_view key;
  Operation operation = Operation::nothing;
  std::string_view argument;
  // The engine command the operation runs or is guarded by.
  std::optional<Decmd> command;
  Guard guard = Guard::none;
  // The engine command whose status the menu item, the toolbar button and the context item show
  // (checked when latched, greyed when disabled). Not always the command itself: a rule shows the
  // image command's status, Copy HTML the copy command's.
  std::optional<Decmd> shows;
  // The key chord, written as the menu shows it ("Ctrl+Z", "Shift+Return", "Ctrl+Shift+Space").
  std::string_view shortcut;
  // False for a chord every editor has but the menu does not print (Ctrl+B beside Bold).
  bool menuShowsShortcut = true;
  // The chord is the browser's own clipboard chord: only the browser's handling of the key press
  // reaches the system clipboard without asking the user, so the key runs the operation by
  // letting the browser act (after the operation's guard).
  bool browserKey = false;
  // The operation is the engine command alone, run when its guard passes.
  bool simple = false;
};

// Every row of the registry, in dispatch order. Rows for the block formats, fonts, sizes and
// recent files are made from their tables.
std::span<const CommandRow> commandRegistry();

// The row of a command key: exact, case-sensitive match, first row wins. Keys of the class family
// ("cssStyle_." in any letter case, then the class name) have no row of their own: see
// classKeyName.
const CommandRow* findCommand(std::string_view key);

// The prefix of the keys of the style sheet's classes.
inline constexpr std::string_view kClassKeyPrefix = "cssStyle_.";
// The class name of a class key (everything after the prefix, letter case unchanged), when the key
// has the prefix in any letter case.
std::optional<std::string_view> classKeyName(std::string_view key);
// The menu key of a class ("Note" gives "cssStyle_.Note").
std::string classKey(std::string_view className);

// The shortcut text the menu shows beside a key's item; empty when none.
std::string_view menuShortcut(std::string_view key);

// A key press as the keyboard reports it: `key` is the browser's key value ("z", "Z", "Enter",
// " "), `ctrl` includes the command key of Apple keyboards.
struct KeyChord {
  std::string_view key;
  bool ctrl = false;
  bool shift = false;
  bool alt = false;
};

// The chord as shortcuts are written ("Ctrl+Shift+Space"); empty for a chord no shortcut can be
// (a bare letter, anything with Alt).
std::string chordText(const KeyChord& chord);
// The row whose shortcut the chord is.
const CommandRow* findShortcut(const KeyChord& chord);

// The engine as guarded operations drive it.
class CommandEngine {
 public:
  virtual ~CommandEngine() = default;
  virtual std::int32_t QueryStatus(Decmd command) = 0;
  // Runs a command that takes no value.
  virtual void ExecCommand(Decmd command) = 0;
};

// Reads the status of the row's command and runs it when the row's guard passes; true when it ran.
bool runSimpleCommand(CommandEngine& engine, const CommandRow& row);

}  // namespace vellmar::editing
