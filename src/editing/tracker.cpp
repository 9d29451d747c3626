#include "editing/tracker.h"

#include <algorithm>
#include <cctype>

#include "common/diagnostics.h"
#include "editing/commands.h"
#include "editing/formats.h"
#include "menubar/editor_menu.h"
#include "menubar/menu_bar.h"
#include "toolbars/font_selector.h"
#include "toolbars/toolbars.h"

namespace vellmar::editing {

namespace {

using toolbars::ToolbarId;

constexpr std::int32_t kDisabled = statusNumber(CommandStatus::Disabled);
constexpr std::int32_t kEnabled = statusNumber(CommandStatus::Enabled);
constexpr std::int32_t kLatched = statusNumber(CommandStatus::Latched);

// The menu that holds a key: the first button of the editor's menu with an item of that key.
std::string_view menuOf(std::string_view key) {
  std::string_view button;
  for (const auto& row : menubar::editorMenuTable()) {
    if (!row.button.empty()) button = row.button;
    if (row.key == key) return button;
  }
  return {};
}

// The toolbar button an item shows its status on: the button of the same key, else a button
// whose command shows the same status (Copy HTML on Copy, Paste HTML on Paste).
std::pair<std::optional<ToolbarId>, int> buttonOf(const CommandRow& item) {
  constexpr ToolbarId kToolbars[] = {ToolbarId::standard, ToolbarId::objects, ToolbarId::textFormat};
  for (ToolbarId id : kToolbars) {
    const auto buttons = toolbars::toolbarButtons(id);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
      if (!buttons[i].separator() && buttons[i].key == item.key) return {id, static_cast<int>(i + 1)};
    }
  }
  for (ToolbarId id : kToolbars) {
    const auto buttons = toolbars::toolbarButtons(id);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
      if (buttons[i].separator()) continue;
      const CommandRow* row = findCommand(buttons[i].key);
      if (row && row->shows && row->shows == item.shows) return {id, static_cast<int>(i + 1)};
    }
  }
  // An item in the objects toolbar's menus without a button of its own still names that toolbar.
  return {std::nullopt, 0};
}

bool isTableStructure(Operation operation) {
  switch (operation) {
    case Operation::insertRow:
    case Operation::insertColumn:
    case Operation::deleteColumn:
    case Operation::deleteRow:
    case Operation::mergeCells:
    case Operation::splitCells: return true;
    default: return false;
  }
}

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

// The text-format toolbar's button that sets the colour.
int colourButtonIndex() {
  static const int index = [] {
    const auto buttons = toolbars::toolbarButtons(ToolbarId::textFormat);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
      const CommandRow* row = buttons[i].separator() ? nullptr : findCommand(buttons[i].key);
      if (row && row->operation == Operation::setColor) return static_cast<int>(i + 1);
    }
    return 0;
  }();
  return index;
}

bool blank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

}  // namespace

const std::vector<TrackedItem>& trackedItems() {
  static const std::vector<TrackedItem> items = [] {
    std::vector<TrackedItem> list;
    for (const CommandRow& row : commandRegistry()) {
      // The colour button follows the kind of selection, not a status; table items are greyed only.
      if (!row.shows || row.operation == Operation::setColor || isTableStructure(row.operation)) continue;
      const std::string_view menu = menuOf(row.key);
      if (menu.empty()) continue;
      const auto [toolbar, button] = buttonOf(row);
      list.push_back(TrackedItem{row.key, menu, *row.shows, toolbar, button});
    }
    return list;
  }();
  return items;
}

const std::vector<TrackedItem>& trackedTableItems() {
  static const std::vector<TrackedItem> items = [] {
    std::vector<TrackedItem> list;
    for (const CommandRow& row : commandRegistry()) {
      if (!row.shows || !isTableStructure(row.operation)) continue;
      list.push_back(TrackedItem{row.key, menuOf(row.key), *row.shows, std::nullopt, 0});
    }
    return list;
  }();
  return items;
}

SelectionTracker::SelectionTracker(TrackedDocument& document, TrackerTargets targets,
                                   const editor::PropertySet& properties)
    : document_(document), targets_(std::move(targets)), properties_(properties) {}

toolbars::ctlToolbar* SelectionTracker::toolbar(std::optional<ToolbarId> id) const {
  if (!id) return nullptr;
  switch (*id) {
    case ToolbarId::standard: return targets_.standard;
    case ToolbarId::objects: return targets_.objects;
    case ToolbarId::textFormat: return targets_.textFormat;
  }
  return nullptr;
}

void SelectionTracker::setChecked(std::string_view menu, std::string_view item, bool checked) {
  if (targets_.menuBar) targets_.menuBar->setCheckedMenuItem(menu, item, checked);
}

void SelectionTracker::setGrayed(std::string_view menu, std::string_view item, bool grayed) {
  if (targets_.menuBar) targets_.menuBar->setGrayedMenuItem(menu, item, grayed);
}

void SelectionTracker::checkAndSetStatus(Decmd command, std::string_view menu, std::string_view item,
                                         toolbars::ctlToolbar* toolbar, int buttonIndex) {
  const std::int32_t status = document_.QueryStatus(command);
  bool checked = false;
  bool enabled = true;
  if (status == kLatched) {
    checked = true;
  } else if (status == kDisabled) {
    enabled = false;
  } else if (status != kEnabled) {
    return;  // not supported or ninched: left as it is
  }
  setChecked(menu, item, checked);
  setGrayed(menu, item, !enabled);
  if (toolbar && buttonIndex != 0) {
    toolbar->buttonValue(buttonIndex, checked ? 1 : 0);
    toolbar->buttonEnabled(buttonIndex, enabled);
  }
}

void SelectionTracker::checkUnderCursor() {
  bool trapped = true;
  guarded("checkUnderCursor", [&] {
    for (const TrackedItem& item : trackedItems()) {
      checkAndSetStatus(item.command, item.menu, item.key, toolbar(item.toolbar), item.button);
    }
    for (const TrackedItem& item : trackedTableItems()) {
      setGrayed(item.menu, item.key, document_.QueryStatus(item.command) != kEnabled);
    }
    if (!properties_.pathToStyleSheet().empty() && properties_.switchValue("DisableCssStyles") == 0) {
      checkStyleInMenu();
    }

    const int colourButton = colourButtonIndex();
    const SelectionType kind = document_.selectionType();
    int elementIndex = -1;
    const bool panelOpen = targets_.panels.elementIndex && targets_.panels.elementIndex() != -1;
    if (kind != SelectionType::Control) {
      // Nothing of this is worth an error: a failed comparison of ranges simply refreshes.
      try {
        if (targets_.textFormat) targets_.textFormat->buttonEnabled(colourButton, true);
        const bool moved = document_.textRangeChanged();
        if (moved || forceRefresh_) {
          forceRefresh_ = false;
          if (properties_.switchValue("DisableBlockformat") == 0) checkFormatInMenu();
          if (properties_.switchValue("DisableFont") == 0) checkFontsInMenu();
          if (properties_.switchValue("DisableFontSize") == 0) checkSizeInMenu();
        }
        if (panelOpen) elementIndex = document_.selectedSourceIndex();
      } catch (...) {
      }
    } else {
      if (targets_.textFormat) targets_.textFormat->buttonEnabled(colourButton, false);
      if (properties_.switchValue("DisableBlockformat") == 0) checkFormatInMenu();
      // Resizing an image by its handles is undone when its size may not be edited.
      if (document_.selectedTagName() == "IMG" && properties_.isOn("DisableEditImageWidthHeight")) {
        document_.removeSelectedSize();
      }
      if (panelOpen) elementIndex = document_.selectedSourceIndex();
    }

    // Moving to another element closes the panel.
    if (panelOpen && targets_.panels.elementIndex() != elementIndex && targets_.panels.hideAllFrames) {
      targets_.panels.hideAllFrames();
    }
    trapped = false;
  });
  if (trapped) return;
  // The panel follows its element: an error here ends the operation.
  guarded("checkUnderCursor", [&] {
    if (targets_.panels.refreshPanel) targets_.panels.refreshPanel();
  });
}

void SelectionTracker::checkFontsInMenu() {
  guarded("checkFontsInMenu", [&] {
    auto* selector = targets_.selector;
    const std::string_view format = menubar::kFormatMenu;
    if (document_.QueryStatus(Decmd::GetFontName) == kDisabled) {
      if (selector) selector->fontEnabled(false);
      setGrayed(format, "font", true);
      return;
    }
    if (selector) selector->fontEnabled(true);
    setGrayed(format, "font", false);
    if (document_.checkForParentTag("font") && document_.parentTagAttribute("font", "face")) {
      const std::string name = document_.ExecCommand(Decmd::GetFontName);
      for (std::size_t i = 0; i < kFontTable.size(); ++i) {
        const std::string_view family = kFontTable[i].family;
        if (family.substr(0, name.size()) == name) {
          setChecked(format, kFontTable[i].key, true);
          if (selector) selector->setSelectedFont(static_cast<int>(i));
        } else {
          setChecked(format, kFontTable[i].key, false);
        }
      }
      return;
    }
    setChecked(format, kFontTable[0].key, true);
    if (selector) selector->setSelectedFont(0);
    for (std::size_t i = 1; i < kFontTable.size(); ++i) setChecked(format, kFontTable[i].key, false);
  });
}

void SelectionTracker::checkSizeInMenu() {
  guarded("checkSizeInMenu", [&] {
    auto* selector = targets_.selector;
    const std::string_view format = menubar::kFormatMenu;
    if (document_.QueryStatus(Decmd::GetFontSize) == kDisabled) {
      if (selector) selector->fontSizeEnabled(false);
      setGrayed(format, "size", true);
      return;
    }
    if (selector) selector->fontSizeEnabled(true);
    setGrayed(format, "size", false);
    const auto size = document_.checkForParentTag("font") ? document_.parentTagAttribute("font", "size")
                                                           : std::nullopt;
    if (size && !blank(*size)) {
      std::string current;
      try {
        current = document_.ExecCommand(Decmd::GetFontSize);
      } catch (...) {
      }
      setChecked(format, kSizeTable[0].key, false);
      for (const SizeEntry& entry : kSizeTable) {
        const bool same = entry.label == current;
        setChecked(format, entry.key, same);
        if (same && selector) selector->setSelectedSize(entry.label);
      }
      return;
    }
    setChecked(format, kSizeTable[0].key, true);
    if (selector) selector->setSelectedSize(kSizeTable[0].label);
    for (std::size_t i = 1; i < kSizeTable.size(); ++i) setChecked(format, kSizeTable[i].key, false);
  });
}

void SelectionTracker::checkFormatInMenu() {
  guarded("checkFormatInMenu", [&] {
    auto* selector = targets_.selector;
    const std::string_view style = menubar::kStyleMenu;
    if (document_.QueryStatus(Decmd::GetBlockFmt) == kDisabled) {
      if (selector) {
        selector->formatEnabled(false);
        selector->fontEnabled(false);
        selector->fontSizeEnabled(false);
      }
      for (const BlockFormatEntry& entry : kBlockFormatTable) {
        setChecked(style, entry.name, false);
        setGrayed(style, entry.name, true);
      }
      return;
    }
    if (selector) {
      selector->formatEnabled(true);
      selector->fontEnabled(true);
      selector->fontSizeEnabled(true);
    }
    // Reading the block format has no effect on the document, so once serves every entry.
    const std::string current = upper(document_.ExecCommand(Decmd::GetBlockFmt));
    for (const BlockFormatEntry& entry : kBlockFormatTable) {
      setGrayed(style, entry.name, false);
      const bool same = upper(entry.name) == current;
      if (same && selector) selector->setSelectedFormat(entry.name);
      setChecked(style, entry.name, same);
    }
  });
}

void SelectionTracker::checkStyleInMenu() {
  guarded("checkStyleInMenu", [&] {
    menubar::mcMenuBar* bar = targets_.menuBar;
    if (!bar) return;
    const std::string className = document_.selectedClassName();
    // The class items are the Style menu's items of the class family.
    const auto* record = bar->buttonRecord(bar->getMBbuttonIDbyName(menubar::kStyleMenu));
    if (record) {
      std::vector<std::string> checkedKeys;
      for (const auto& item : record->items) {
        if (item.checked && classKeyName(item.key)) checkedKeys.push_back(item.key);
      }
      for (const std::string& key : checkedKeys) setChecked(menubar::kStyleMenu, key, false);
    }
    if (!className.empty()) setChecked(menubar::kStyleMenu, classKey(className), true);
  });
}

}  // namespace vellmar::editing
