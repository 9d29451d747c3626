#pragma once

// The one form in which the editor hands out HTML (the content property, getBodyHTML, the source
// view): white space normalised, the editing engine's design-time attributes removed, tag and
// attribute names in lower case, block elements on lines of their own indented two blanks per
// level, long text wrapped, stray trailing text wrapped in a paragraph, and the characters 162 to
// 255 written as numeric character references.
//
// Text is UTF-8. Tag names and attribute names are classified and lower-cased by ASCII rules;
// characters above 255 and bytes that are not valid UTF-8 pass through unchanged. Everything here
// runs in time linear in the size of its input and output.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vellmar::html {

// Line break of every text produced here.
inline constexpr std::string_view kLineBreak = "\r\n";

// A line of text is broken after the first blank at or beyond this column.
inline constexpr std::size_t kWrapColumn = 60;

// The whole clean-up, in a single pass over the text: no tree is built and nesting is not checked,
// so unbalanced closing tags simply lower the level (a negative level indents nothing). A "<" inside
// a tag drops the unfinished tag; a tag never closed by ">" is dropped at the end of the text.
// Failures are logged by the error convention and give an empty text.
std::string cleanHTML(std::string_view html);

// The character-reference step alone: every character from 162 to 255 except the soft hyphen (173)
// becomes "&#" + its decimal code + ";"; everything else is copied unchanged, including 160, 161,
// 173, characters above 255 and bytes that are not valid UTF-8.
std::string encodeEntities(std::string_view text);

// How a tag is laid out, decided by its name alone.
enum class TagClass {
  Inline,     // written where it stands (A, B, IMG, SPAN...)
  Block,      // opening tag starts a line and raises the level; closing tag lowers it, ends the line
  Line,       // opening tag starts a line at the current level; closing tag ends the line
  Container,  // every tag on a line of its own; opening raises the level, closing lowers it first
  Structure,  // every tag on a line of its own; the level does not change
  Break,      // BR: written where it stands, then a line break
  Other,      // any other name, comments and declarations: written where it stands
};

// The class of a tag name, compared by ASCII rules regardless of letter case ("td", "TD" and "Td"
// are all Block). A trailing "/" of self-closing syntax ("br/") is not part of the name.
TagClass tagClass(std::string_view name);

// The tag without the editing engine's design-time marker attributes. Each attribute in which
// "designtime" occurs (in any letter case) is removed together with its leading blank: it starts
// after the last blank before the occurrence and ends at the first blank outside double quotes,
// just after the closing double quote of its value, or before the tag's closing ">". An occurrence
// in the tag name, with no blank before it, is left alone.
std::string removeDesigntime(std::string_view tag);

// The tag with its name and every attribute name in ASCII lower case. Attribute values, quoted or
// not, are kept exactly as written (blanks inside a quoted value do not end it), and so is a
// comment ("<!--" ...), which has no names.
std::string lowerCaseTag(std::string_view tag);

// Indentation for `level`: two blanks per level; none for a level of zero or below.
std::string indent(std::int32_t level);

// Number of characters (UTF-8 code points) after the last line feed of `text`; all of it when there
// is none.
std::size_t lastLineLength(std::string_view text);

}  // namespace vellmar::html
