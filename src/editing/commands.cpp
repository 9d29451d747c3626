#include "editing/commands.h"

#include <array>
#include <cctype>
#include <unordered_map>
#include <vector>

#include "editing/formats.h"
#include "menubar/settings_store.h"

namespace vellmar::editing {

namespace {

using D = Decmd;
using G = Guard;
using O = Operation;

struct OperationNameEntry {
  Operation operation;
  std::string_view name;
};

constexpr OperationNameEntry kOperationNames[] = {
    {O::nothing, ""},
    {O::openLocal, "openLocal"},
    {O::saveToServer, "saveToServer"},
    {O::saveLocal, "saveLocal"},
    {O::saveLocalAs, "saveLocalAs"},
    {O::openRecentFiles, "openRecentFiles"},
    {O::cut, "cut"},
    {O::copy, "copy"},
    {O::paste, "paste"},
    {O::pasteUnformatted, "pasteUnformatted"},
    {O::copyHTML, "copyHTML"},
    {O::pasteHTML, "pasteHTML"},
    {O::selectAll, "selectAll"},
    {O::findText, "findText"},
    {O::spellCheck, "spellCheck"},
    {O::setView, "setView"},
    {O::visualAids, "visualAids"},
    {O::addImage, "addImage"},
    {O::addLink, "addLink"},
    {O::addHorizontalrule, "addHorizontalrule"},
    {O::addTable, "addTable"},
    {O::insertHTML, "insertHTML"},
    {O::addOtherCharacter, "addOtherCharacter"},
    {O::removeLink, "removeLink"},
    {O::undo, "undo"},
    {O::redo, "redo"},
    {O::clearStyle, "clearStyle"},
    {O::removeFormatting, "removeFormatting"},
    {O::setBlockFormat, "setBlockFormat"},
    {O::setBold, "setBold"},
    {O::setItalic, "setItalic"},
    {O::setUnderline, "setUnderline"},
    {O::setLeft, "setLeft"},
    {O::setRight, "setRight"},
    {O::setCenter, "setCenter"},
    {O::bulletList, "bulletList"},
    {O::numberList, "numberList"},
    {O::indent, "indent"},
    {O::outdent, "outdent"},
    {O::setColor, "setColor"},
    {O::setFont, "setFont"},
    {O::setFontSize, "setFontSize"},
    {O::applyClass, "applyClass"},
    {O::insertRow, "insertRow"},
    {O::insertColumn, "insertColumn"},
    {O::deleteColumn, "deleteColumn"},
    {O::deleteRow, "deleteRow"},
    {O::mergeCells, "mergeCells"},
    {O::splitCells, "splitCells"},
    {O::setTableValign, "setTableValign"},
    {O::goToHelp, "goToHelp"},
    {O::aboutVellmar, "aboutVellmar"},
};

// A row that runs its engine command when the guard passes, and shows that command's status.
constexpr CommandRow simpleRow(std::string_view key, Operation operation, Decmd command, Guard guard,
                               std::string_view shortcut = {}, bool menuShows = true) {
  CommandRow row;
  row.key = key;
  row.operation = operation;
  row.command = command;
  row.guard = guard;
  row.shows = command;
  row.shortcut = shortcut;
  row.menuShowsShortcut = menuShows;
  row.simple = true;
  return row;
}

constexpr CommandRow row(std::string_view key, Operation operation, std::string_view argument = {},
                         std::optional<Decmd> command = std::nullopt, Guard guard = G::none,
                         std::optional<Decmd> shows = std::nullopt, std::string_view shortcut = {}) {
  CommandRow r;
  r.key = key;
  r.operation = operation;
  r.argument = argument;
  r.command = command;
  r.guard = guard;
  r.shows = shows;
  r.shortcut = shortcut;
  return r;
}

constexpr CommandRow clipboardRow(std::string_view key, Operation operation, Decmd command,
                                  std::string_view shortcut) {
  CommandRow r = row(key, operation, {}, command, G::exactlyEnabled, command, shortcut);
  r.browserKey = true;
  return r;
}

std::vector<CommandRow> buildRegistry() {
  std::vector<CommandRow> rows;
  const auto add = [&](const CommandRow& r) { rows.push_back(r); };

  add(row("openLocal", O::openLocal));
  add(row("saveToServer", O::saveToServer));
  add(row("saveLocal", O::saveLocal));
  add(row("saveLocalAs", O::saveLocalAs));
  static const std::array<std::string, menubar::kRecentFileCount> recentKeys = [] {
    std::array<std::string, menubar::kRecentFileCount> keys;
    for (int n = 1; n <= menubar::kRecentFileCount; ++n) keys[static_cast<std::size_t>(n - 1)] = menubar::recentFilesKey(n);
    return keys;
  }();
  static const std::array<std::string, menubar::kRecentFileCount> recentNumbers = [] {
    std::array<std::string, menubar::kRecentFileCount> numbers;
    for (int n = 1; n <= menubar::kRecentFileCount; ++n) numbers[static_cast<std::size_t>(n - 1)] = std::to_string(n);
    return numbers;
  }();
  for (std::size_t i = 0; i < recentKeys.size(); ++i) add(row(recentKeys[i], O::openRecentFiles, recentNumbers[i]));

  add(simpleRow("undo", O::undo, D::Undo, G::exactlyEnabled, "Ctrl+Z"));
  add(simpleRow("redo", O::redo, D::Redo, G::exactlyEnabled, "Ctrl+Y"));
  add(clipboardRow("cut", O::cut, D::Cut, "Ctrl+X"));
  add(clipboardRow("copy", O::copy, D::Copy, "Ctrl+C"));
  add(clipboardRow("paste", O::paste, D::Paste, "Ctrl+V"));
  add(row("pasteUnformatted", O::pasteUnformatted, {}, std::nullopt, G::none, D::Paste));
  add(row("copyHTML", O::copyHTML, {}, std::nullopt, G::none, D::Copy));
  add(row("pasteHTML", O::pasteHTML, {}, std::nullopt, G::none, D::Paste));
  add(simpleRow("selectAll", O::selectAll, D::SelectAll, G::exactlyEnabled, "Ctrl+A"));
  add(simpleRow("find", O::findText, D::FindText, G::exactlyEnabled, "Ctrl+F"));
  add(row("spellCheck", O::spellCheck));
  add(row("wysiwyg", O::setView, "wysiwyg"));
  add(row("html", O::setView, "html"));
  add(row("visualAids", O::visualAids));
  add(row("image", O::addImage, {}, D::Image, G::none, D::Image));
  add(row("link", O::addLink, {}, D::Hyperlink, G::none, D::Hyperlink));
  // The engine has no command of its own for rules; a rule goes wherever an image could.
  add(row("horizontalrule", O::addHorizontalrule, {}, std::nullopt, G::none, D::Image));
  add(row("table", O::addTable, {}, D::InsertTable, G::none, D::InsertTable));
  add(row("lineBreak", O::insertHTML, "<br>", std::nullopt, G::none, std::nullopt, "Shift+Return"));
  add(row("nonBreakingSpace", O::insertHTML, "&nbsp;", std::nullopt, G::none, std::nullopt, "Ctrl+Shift+Space"));
  add(row("otherCharacters", O::addOtherCharacter));
  add(row("clearStyle", O::clearStyle));
  add(simpleRow("removeFormatting", O::removeFormatting, D::RemoveFormat, G::notDisabled));
  for (const auto& format : kBlockFormatTable) {
    add(row(format.name, O::setBlockFormat, format.name, D::SetBlockFmt, G::exactlyEnabled));
  }
  add(simpleRow("bold", O::setBold, D::Bold, G::notDisabled, "Ctrl+B", false));
  add(simpleRow("italic", O::setItalic, D::Italic, G::notDisabled, "Ctrl+I", false));
  add(simpleRow("underline", O::setUnderline, D::Underline, G::notDisabled, "Ctrl+U", false));
  add(row("changeLink", O::addLink, {}, D::Hyperlink, G::none, D::Unlink));
  add(simpleRow("removeLink", O::removeLink, D::Unlink, G::exactlyEnabled));
  add(simpleRow("left", O::setLeft, D::JustifyLeft, G::notDisabled));
  add(simpleRow("right", O::setRight, D::JustifyRight, G::notDisabled));
  add(simpleRow("center", O::setCenter, D::JustifyCenter, G::notDisabled));
  add(simpleRow("bulletList", O::bulletList, D::UnorderList, G::notDisabled));
  add(simpleRow("numberList", O::numberList, D::OrderList, G::notDisabled));
  add(simpleRow("indent", O::indent, D::Indent, G::notDisabled));
  add(simpleRow("outdent", O::outdent, D::Outdent, G::notDisabled));
  add(row("color", O::setColor, {}, D::SetForeColor, G::notDisabled, D::SetForeColor));
  for (const auto& font : kFontTable) {
    add(row(font.key, O::setFont, font.key, D::SetFontName, G::exactlyEnabled));
  }
  for (const auto& size : kSizeTable) {
    add(row(size.key, O::setFontSize, size.key, D::SetFontSize, G::notDisabled));
  }
  add(simpleRow("insertRow", O::insertRow, D::InsertRow, G::exactlyEnabled));
  add(simpleRow("insertColumn", O::insertColumn, D::InsertCol, G::exactlyEnabled));
  add(simpleRow("deleteColumn", O::deleteColumn, D::DeleteCols, G::exactlyEnabled));
  add(simpleRow("deleteRow", O::deleteRow, D::DeleteRows, G::exactlyEnabled));
  add(simpleRow("mergeCells", O::mergeCells, D::MergeCells, G::exactlyEnabled));
  add(simpleRow("splitCells", O::splitCells, D::SplitCell, G::exactlyEnabled));
  for (std::string_view valign : {"top", "middle", "bottom"}) add(row(valign, O::setTableValign, valign));
  add(row("contents", O::goToHelp));
  add(row("aboutVellmar", O::aboutVellmar));
  return rows;
}

const std::vector<CommandRow>& registry() {
  static const std::vector<CommandRow> rows = buildRegistry();
  return rows;
}

const std::unordered_map<std::string_view, const CommandRow*>& byKey() {
  static const auto index = [] {
    std::unordered_map<std::string_view, const CommandRow*> map;
    for (const auto& r : registry()) map.emplace(r.key, &r);  // the first row of a key wins
    return map;
  }();
  return index;
}

const std::unordered_map<std::string, const CommandRow*>& byShortcut() {
  static const auto index = [] {
    std::unordered_map<std::string, const CommandRow*> map;
    for (const auto& r : registry()) {
      if (!r.shortcut.empty()) map.emplace(std::string(r.shortcut), &r);
    }
    return map;
  }();
  return index;
}

}  // namespace

std::string_view operationName(Operation operation) {
  for (const auto& entry : kOperationNames) {
    if (entry.operation == operation) return entry.name;
  }
  return {};
}

bool guardPasses(Guard guard, std::int32_t status) {
  switch (guard) {
    case Guard::notDisabled: return status != statusNumber(CommandStatus::Disabled);
    case Guard::exactlyEnabled: return status == statusNumber(CommandStatus::Enabled);
    case Guard::none: break;
  }
  return true;
}

std::span<const CommandRow> commandRegistry() { return registry(); }

const CommandRow* findCommand(std::string_view key) {
  const auto& index = byKey();
  const auto found = index.find(key);
  return found == index.end() ? nullptr : found->second;
}

std::optional<std::string_view> classKeyName(std::string_view key) {
  if (key.size() < kClassKeyPrefix.size()) return std::nullopt;
  for (std::size_t i = 0; i < kClassKeyPrefix.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(key[i])) !=
        std::toupper(static_cast<unsigned char>(kClassKeyPrefix[i]))) {
      return std::nullopt;
    }
  }
  return key.substr(kClassKeyPrefix.size());
}

std::string classKey(std::string_view className) {
  std::string key(kClassKeyPrefix);
  key += className;
  return key;
}

std::string_view menuShortcut(std::string_view key) {
  const CommandRow* r = findCommand(key);
  return r && r->menuShowsShortcut ? r->shortcut : std::string_view();
}

std::string chordText(const KeyChord& chord) {
  if (chord.alt || chord.key.empty()) return {};
  std::string name;
  if (chord.key == " ") {
    name = "Space";
  } else if (chord.key == "Enter") {
    name = "Return";
  } else if (chord.key.size() == 1) {
    name = std::string(1, static_cast<char>(std::toupper(static_cast<unsigned char>(chord.key[0]))));
  } else {
    name = chord.key;
  }
  // Without Ctrl a printable character is typing, not a shortcut, with or without Shift.
  const bool printable = chord.key.size() == 1 || (static_cast<unsigned char>(chord.key[0]) >= 0x80);
  if (!chord.ctrl && (printable || !chord.shift)) return {};
  std::string text;
  if (chord.ctrl) text += "Ctrl+";
  if (chord.shift) text += "Shift+";
  return text + name;
}

const CommandRow* findShortcut(const KeyChord& chord) {
  const std::string text = chordText(chord);
  if (text.empty()) return nullptr;
  const auto& index = byShortcut();
  const auto found = index.find(text);
  return found == index.end() ? nullptr : found->second;
}

bool runSimpleCommand(CommandEngine& engine, const CommandRow& row) {
  if (!row.command) return false;
  if (row.guard != Guard::none && !guardPasses(row.guard, engine.QueryStatus(*row.command))) return false;
  engine.ExecCommand(*row.command);
  return true;
}

}  // namespace vellmar::editing
