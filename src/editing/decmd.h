#pragma once

// The editing engine's command vocabulary: the published DECMD command identifiers, the DECMDF
// status values QueryStatus answers with, and the OLECMDEXECOPT execution options. This is the one
// table of these numbers; the engine, the dispatch and the selection tracker all read it.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vellmar::editing {

enum class Decmd : std::int32_t {
  Bold = 5000,
  Copy = 5002,
  Cut = 5003,
  Delete = 5004,
  DeleteCells = 5005,
  DeleteCols = 5006,
  DeleteRows = 5007,
  FindText = 5008,
  Font = 5009,
  GetBackColor = 5010,
  GetBlockFmt = 5011,
  GetBlockFmtNames = 5012,
  GetFontName = 5013,
  GetFontSize = 5014,
  GetForeColor = 5015,
  Hyperlink = 5016,
  Image = 5017,
  Indent = 5018,
  InsertCell = 5019,
  InsertCol = 5020,
  InsertRow = 5021,
  InsertTable = 5022,
  Italic = 5023,
  JustifyCenter = 5024,
  JustifyLeft = 5025,
  JustifyRight = 5026,
  LockElement = 5027,
  MakeAbsolute = 5028,
  MergeCells = 5029,
  OrderList = 5030,
  Outdent = 5031,
  Paste = 5032,
  Redo = 5033,
  RemoveFormat = 5034,
  SelectAll = 5035,
  SendBackward = 5036,
  BringForward = 5037,
  SendBelowText = 5038,
  BringAboveText = 5039,
  SendToBack = 5040,
  BringToFront = 5041,
  SetBackColor = 5042,
  SetBlockFmt = 5043,
  SetFontName = 5044,
  SetFontSize = 5045,
  SetForeColor = 5046,
  SplitCell = 5047,
  Underline = 5048,
  Undo = 5049,
  Unlink = 5050,
  UnorderList = 5051,
  Properties = 5052,
};

// QueryStatus answers (DECMDF). A command counts as disabled when its status is exactly Disabled.
enum class CommandStatus : std::int32_t {
  NotSupported = 0,
  Disabled = 1,
  Enabled = 3,
  Latched = 7,
  Ninched = 11,
};

// ExecCommand options (OLECMDEXECOPT).
enum class ExecOption : std::int32_t {
  DoDefault = 0,
  PromptUser = 1,
  DontPromptUser = 2,
  ShowHelp = 3,
};

struct DecmdEntry {
  Decmd id;
  std::string_view name;  // the published identifier, e.g. "DECMD_BOLD"
};

inline constexpr std::array kDecmdTable{
    DecmdEntry{Decmd::Bold, "DECMD_BOLD"},
    DecmdEntry{Decmd::Copy, "DECMD_COPY"},
    DecmdEntry{Decmd::Cut, "DECMD_CUT"},
    DecmdEntry{Decmd::Delete, "DECMD_DELETE"},
    DecmdEntry{Decmd::DeleteCells, "DECMD_DELETECELLS"},
    DecmdEntry{Decmd::DeleteCols, "DECMD_DELETECOLS"},
    DecmdEntry{Decmd::DeleteRows, "DECMD_DELETEROWS"},
    DecmdEntry{Decmd::FindText, "DECMD_FINDTEXT"},
    DecmdEntry{Decmd::Font, "DECMD_FONT"},
    DecmdEntry{Decmd::GetBackColor, "DECMD_GETBACKCOLOR"},
    DecmdEntry{Decmd::GetBlockFmt, "DECMD_GETBLOCKFMT"},
    DecmdEntry{Decmd::GetBlockFmtNames, "DECMD_GETBLOCKFMTNAMES"},
    DecmdEntry{Decmd::GetFontName, "DECMD_GETFONTNAME"},
    DecmdEntry{Decmd::GetFontSize, "DECMD_GETFONTSIZE"},
    DecmdEntry{Decmd::GetForeColor, "DECMD_GETFORECOLOR"},
    DecmdEntry{Decmd::Hyperlink, "DECMD_HYPERLINK"},
    DecmdEntry{Decmd::Image, "DECMD_IMAGE"},
    DecmdEntry{Decmd::Indent, "DECMD_INDENT"},
    DecmdEntry{Decmd::InsertCell, "DECMD_INSERTCELL"},
    DecmdEntry{Decmd::InsertCol, "DECMD_INSERTCOL"},
    DecmdEntry{Decmd::InsertRow, "DECMD_INSERTROW"},
    DecmdEntry{Decmd::InsertTable, "DECMD_INSERTTABLE"},
    DecmdEntry{Decmd::Italic, "DECMD_ITALIC"},
    DecmdEntry{Decmd::JustifyCenter, "DECMD_JUSTIFYCENTER"},
    DecmdEntry{Decmd::JustifyLeft, "DECMD_JUSTIFYLEFT"},
    DecmdEntry{Decmd::JustifyRight, "DECMD_JUSTIFYRIGHT"},
    DecmdEntry{Decmd::LockElement, "DECMD_LOCK_ELEMENT"},
    DecmdEntry{Decmd::MakeAbsolute, "DECMD_MAKE_ABSOLUTE"},
    DecmdEntry{Decmd::MergeCells, "DECMD_MERGECELLS"},
    DecmdEntry{Decmd::OrderList, "DECMD_ORDERLIST"},
    DecmdEntry{Decmd::Outdent, "DECMD_OUTDENT"},
    DecmdEntry{Decmd::Paste, "DECMD_PASTE"},
    DecmdEntry{Decmd::Redo, "DECMD_REDO"},
    DecmdEntry{Decmd::RemoveFormat, "DECMD_REMOVEFORMAT"},
    DecmdEntry{Decmd::SelectAll, "DECMD_SELECTALL"},
    DecmdEntry{Decmd::SendBackward, "DECMD_SEND_BACKWARD"},
    DecmdEntry{Decmd::BringForward, "DECMD_BRING_FORWARD"},
    DecmdEntry{Decmd::SendBelowText, "DECMD_SEND_BELOW_TEXT"},
    DecmdEntry{Decmd::BringAboveText, "DECMD_BRING_ABOVE_TEXT"},
    DecmdEntry{Decmd::SendToBack, "DECMD_SEND_TO_BACK"},
    DecmdEntry{Decmd::BringToFront, "DECMD_BRING_TO_FRONT"},
    DecmdEntry{Decmd::SetBackColor, "DECMD_SETBACKCOLOR"},
    DecmdEntry{Decmd::SetBlockFmt, "DECMD_SETBLOCKFMT"},
    DecmdEntry{Decmd::SetFontName, "DECMD_SETFONTNAME"},
    DecmdEntry{Decmd::SetFontSize, "DECMD_SETFONTSIZE"},
    DecmdEntry{Decmd::SetForeColor, "DECMD_SETFORECOLOR"},
    DecmdEntry{Decmd::SplitCell, "DECMD_SPLITCELL"},
    DecmdEntry{Decmd::Underline, "DECMD_UNDERLINE"},
    DecmdEntry{Decmd::Undo, "DECMD_UNDO"},
    DecmdEntry{Decmd::Unlink, "DECMD_UNLINK"},
    DecmdEntry{Decmd::UnorderList, "DECMD_UNORDERLIST"},
    DecmdEntry{Decmd::Properties, "DECMD_PROPERTIES"},
};

constexpr std::int32_t decmdNumber(Decmd id) { return static_cast<std::int32_t>(id); }

// The identifier with that published number, if it is one.
constexpr std::optional<Decmd> decmdFromNumber(std::int32_t number) {
  for (const auto& entry : kDecmdTable) {
    if (decmdNumber(entry.id) == number) return entry.id;
  }
  return std::nullopt;
}

// The identifier published under that name ("DECMD_BOLD"), if it is one.
constexpr std::optional<Decmd> decmdFromName(std::string_view name) {
  for (const auto& entry : kDecmdTable) {
    if (entry.name == name) return entry.id;
  }
  return std::nullopt;
}

constexpr std::string_view decmdName(Decmd id) {
  for (const auto& entry : kDecmdTable) {
    if (entry.id == id) return entry.name;
  }
  return {};
}

// The commands the browser's own editing commands carry out, by the browser's name for them
// (document.execCommand / queryCommandState). The engine's own commands (tables, find, undo,
// images, ...) have no row.
struct BrowserCommandEntry {
  Decmd id;
  std::string_view name;
};

inline constexpr std::array kBrowserCommands{
    BrowserCommandEntry{Decmd::Bold, "bold"},
    BrowserCommandEntry{Decmd::Italic, "italic"},
    BrowserCommandEntry{Decmd::Underline, "underline"},
    BrowserCommandEntry{Decmd::JustifyLeft, "justifyLeft"},
    BrowserCommandEntry{Decmd::JustifyCenter, "justifyCenter"},
    BrowserCommandEntry{Decmd::JustifyRight, "justifyRight"},
    BrowserCommandEntry{Decmd::OrderList, "insertOrderedList"},
    BrowserCommandEntry{Decmd::UnorderList, "insertUnorderedList"},
    BrowserCommandEntry{Decmd::Indent, "indent"},
    BrowserCommandEntry{Decmd::Outdent, "outdent"},
    BrowserCommandEntry{Decmd::RemoveFormat, "removeFormat"},
    BrowserCommandEntry{Decmd::SelectAll, "selectAll"},
    BrowserCommandEntry{Decmd::Delete, "delete"},
    BrowserCommandEntry{Decmd::Cut, "cut"},
    BrowserCommandEntry{Decmd::Copy, "copy"},
    BrowserCommandEntry{Decmd::Paste, "paste"},
    BrowserCommandEntry{Decmd::SetBlockFmt, "formatBlock"},
    BrowserCommandEntry{Decmd::SetFontName, "fontName"},
    BrowserCommandEntry{Decmd::SetFontSize, "fontSize"},
    BrowserCommandEntry{Decmd::SetForeColor, "foreColor"},
    BrowserCommandEntry{Decmd::SetBackColor, "backColor"},
    BrowserCommandEntry{Decmd::GetBackColor, "backColor"},
    BrowserCommandEntry{Decmd::Hyperlink, "createLink"},
    BrowserCommandEntry{Decmd::Unlink, "unlink"},
};

// The browser's name for the command; empty for the engine's own commands.
constexpr std::string_view browserCommandName(Decmd id) {
  for (const auto& entry : kBrowserCommands) {
    if (entry.id == id) return entry.name;
  }
  return {};
}

constexpr std::int32_t statusNumber(CommandStatus status) { return static_cast<std::int32_t>(status); }

}  // namespace vellmar::editing
