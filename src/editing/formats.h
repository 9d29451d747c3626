#pragma once

// The font, size and block-format tables the commands, the selector and the selection tracker
// share, and the texts derived from them. The tables are fixed: what the editor offers is part of
// what it is, not configuration.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellmar::editing {

// A font the editor offers: the command key and the family list the text gets.
struct FontEntry {
  std::string_view key;
  std::string_view family;
};

// Index 0 is the document's own font; the selector and the tracker address entries by position.
inline constexpr std::array<FontEntry, 6> kFontTable{{
    {"defaultfont", "Default"},
    {"arial", "Arial, Helvetica, sans-serif"},
    {"times", "Times New Roman, Times, serif"},
    {"courier", "Courier New, Courier, mono"},
    {"georgia", "Georgia, Times New Roman, serif"},
    {"verdana", "Verdana, Arial, Helvetica, sans-serif"},
}};

// A font size the editor offers: the command key and the label the selector shows. Entries 1 to 7
// are the HTML font sizes of their labels.
struct SizeEntry {
  std::string_view key;
  std::string_view label;
};

inline constexpr std::array<SizeEntry, 8> kSizeTable{{
    {"fs_default", "Default"},
    {"fs_1", "1"},
    {"fs_2", "2"},
    {"fs_3", "3"},
    {"fs_4", "4"},
    {"fs_5", "5"},
    {"fs_6", "6"},
    {"fs_7", "7"},
}};

// A block format: its name (which is also its command key and what the engine takes and reports)
// and the element that carries it.
struct BlockFormatEntry {
  std::string_view name;
  std::string_view tag;
};

// In the order the menu and the selector list them.
inline constexpr std::array<BlockFormatEntry, 9> kBlockFormatTable{{
    {"Normal", "P"},
    {"Heading 1", "H1"},
    {"Heading 2", "H2"},
    {"Heading 3", "H3"},
    {"Heading 4", "H4"},
    {"Heading 5", "H5"},
    {"Heading 6", "H6"},
    {"Address", "ADDRESS"},
    {"Formatted", "PRE"},
}};

// The block elements in the order the editor looks for the one around the caret: paragraphs
// first, then headings, address and preformatted text.
inline constexpr std::array<std::string_view, 9> kBlockTags{"P",  "H1", "H2",      "H3", "H4",
                                                            "H5", "H6", "ADDRESS", "PRE"};

// The default font's keys: the menu's and the selector's.
bool isDefaultFontKey(std::string_view key);
// The family a font key stands for; a key that is not in the table stands for itself.
std::string_view fontFamily(std::string_view key);
// The entries whose family begins with `name` (the selector's choice), in table order.
std::vector<std::size_t> fontsBeginningWith(std::string_view name);

// The default size's keys: the menu's "fs_default" and the selector's "Default".
bool isDefaultSizeKey(std::string_view key);
// The HTML font size a size key or label stands for: a number is read as a number and truncated
// ("4", "4.7"), anything else without its first three characters ("fs_4"). Nothing when no number
// is left.
std::optional<int> fontSizeNumber(std::string_view key);

// The block format of that name or element tag (either letter case), if it is one.
const BlockFormatEntry* findBlockFormat(std::string_view nameOrTag);

// The colour text: "#" and six upper-case hexadecimal digits, red, green, blue.
std::string colourText(int red, int green, int blue);
// The same from a colour value that holds blue in its high byte, green in the middle and red in
// the low byte.
std::string colourTextFromValue(std::uint32_t value);
// A colour as CSS writes it ("rgb(255, 128, 0)", "#ff8000", "#f80") in the colour text; other
// text (a colour name) unchanged.
std::string colourTextFromCss(std::string_view css);

// A number as the editor reads one from a text box: the decimal digits only, in order ("12px"
// gives 12, "" gives 0), as a 16-bit integer; more than 32767 is an overflow (ProcedureError 6).
std::int16_t numberReading(std::string_view text);

}  // namespace vellmar::editing
