#pragma once

#include <span>
#include <string_view>

#include "editor/properties.h"
#include "menubar/menu_bar.h"
#include "menubar/settings_store.h"

// The editor's menus: the seven buttons and their items, how the Disable.../Hide... switches and
// the path properties show and hide them, and the File menu's four recent files.
namespace vellmar::menubar {

// One row of the editor's menu. A row naming a button starts that button; the rows after it, up to
// the next one naming a button, are its items in order.
struct EditorMenuRow {
  std::string_view button;         // button name, on the first row of a button only
  std::string_view buttonCaption;  // button caption, likewise
  std::string_view key;
  std::string_view caption;
  std::string_view shortcut;
  std::string_view parentKey;  // key of the item opening the submenu; "" for the top level
  bool separator = false;
  bool hidden = false;
  bool checked = false;
};

// Every button and item of the editor's menu, in order. The block formats, fonts and sizes are
// the editing tables' entries; the shortcut texts are the command registry's.
std::span<const EditorMenuRow> editorMenuTable();
// The caption of the first item with that key ("" when there is none).
std::string_view menuCaption(std::string_view key);

// The button names, in the order the switches are applied.
inline constexpr std::string_view kFileMenu = "file";
inline constexpr std::string_view kEditMenu = "edit";
inline constexpr std::string_view kViewMenu = "view";
inline constexpr std::string_view kInsertMenu = "insert";
inline constexpr std::string_view kStyleMenu = "style";
inline constexpr std::string_view kFormatMenu = "format";
inline constexpr std::string_view kHelpMenu = "help";

// Adds every button and item of editorMenuTable() to an empty bar. Called once at start-up.
void buildEditorMenu(mcMenuBar& bar);

// Applies the switches to all seven menus (File, Edit, View, Insert, Style, Format, Help): a menu
// whose own switch is on loses its button; otherwise its procedure runs and the button stays only
// when some item is still shown. True when at least one button remains visible.
bool applyMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties,
                       SettingsStore& store);

// Each shows and hides the items of one menu and answers whether any item group is still shown.
bool applyFileMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties,
                           SettingsStore& store);
bool applyEditMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties);
bool applyViewMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties);
bool applyInsertMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties);
bool applyStyleMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties);
bool applyFormatMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties);
bool applyHelpMenuSwitches(mcMenuBar& bar, const editor::PropertySet& properties);

// Records `path` (unless empty) as the most recent file of the current `domain`, writes the
// non-empty entries into the File menu and sets the recent-files separator. True when at least
// one entry is non-empty; always false while DisableRecentFiles is not 0.
bool fillRecentFiles(mcMenuBar& bar, const editor::PropertySet& properties, SettingsStore& store,
                     std::string_view path);

}  // namespace vellmar::menubar
