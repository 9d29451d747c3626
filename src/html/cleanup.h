#pragma once

// The one form in which the editor hands out HTML (the content property, getBodyHTML, the source
// view): white space normalised, the editing engine's design-time attributes removed, tag and
// attribute names in lower case, block elements on lines of their own indented two blanks per
// level, long text wrapped, stray trailing text wrapped in a paragraph, and the characters 162 to
// 255 written as numeric character references.
//
// Text is UTF-8. Tag names and attribute names are classified and lower-cased by ASCII rules;
// characters above 255 and bytes that are not valid UTF-8 pass through unchanged. Everything here
// runs in time linear in the size of its input and output, with one exception: a tag whose
// design-time attributes overlap, join the text around them when removed, or begin one another
// (no editing engine writes such a tag) is rewritten once per attribute. The output of the
// clean-up is never more than kMaxOutputFactor times its input (plus a few bytes).

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vellmar::html {

// Line break of every text produced here.
inline constexpr std::string_view kLineBreak = "\r\n";

// A line of text is broken after the first blank at or beyond this column.
inline constexpr std::size_t kWrapColumn = 60;

// Nesting is indented two blanks per level up to this level; deeper levels keep its indentation.
// No real document nests this deep, but a run of unclosed opening tags does, and indenting it ever
// deeper would make the output grow with the square of the input.
inline constexpr std::int32_t kMaxIndentLevel = 100;

// The most the clean-up writes per byte of input: "a a a" at the deepest indentation breaks after
// every blank, so two bytes of text become a line break, 2 * kMaxIndentLevel blanks and themselves.
inline constexpr std::size_t kMaxOutputFactor = kMaxIndentLevel + 2;

// The whole clean-up, in a single pass over the text: no tree is built and nesting is not checked,
// so unbalanced closing tags simply lower the level (a negative level indents nothing). A "<" inside
// a tag drops the unfinished tag; a tag never closed by ">" is dropped at the end of the text.
// A clean-up that fails (for want of memory) is logged by the error convention and gives no text at
// all, never a part of the document: callers must not hand out or send anything in its place.
std::optional<std::string> cleanHTML(std::string_view html);

// About how much output a Cleaner gathers before it hands a piece on.
inline constexpr std::size_t kPieceSize = 32 * 1024;

// The same clean-up, taking its input in pieces and handing its output on in pieces of about
// kPieceSize bytes, so that a long document is never held whole on either side. The input may be
// split anywhere, even inside a character or a tag; the output pieces are split anywhere too, and
// joined they are exactly what cleanHTML gives for the joined input. A failure (for want of
// memory) throws; the caller decides what becomes of the pieces already handed on.
class Cleaner {
 public:
  using Sink = std::function<void(std::string_view)>;
  explicit Cleaner(Sink sink);
  ~Cleaner();
  Cleaner(const Cleaner&) = delete;
  Cleaner& operator=(const Cleaner&) = delete;

  void feed(std::string_view html);
  // The end of the input: the rest of the output goes to the sink.
  void finish();

 private:
  struct Parts;
  Sink sink_;
  std::unique_ptr<Parts> parts_;
};

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

// The tag without the editing engine's design-time marker attributes. For each "designtime" (in any
// letter case, searching on from where the last removal was) the attribute around it is taken
// together with its leading blank: from the last blank before the occurrence up to the first blank
// outside double quotes, just after the closing double quote of its value, or up to the tag's
// closing ">"; then every copy of that text is removed from the tag. A copy may be the beginning of
// a longer attribute: "<FORM designtimesp designtimesp="X">" becomes "<FORM="X">". An occurrence in
// the tag name, with no blank before it, is left alone.
std::string removeDesigntime(std::string_view tag);

// The tag with its name and every attribute name in ASCII lower case. Attribute values, quoted or
// not, are kept exactly as written (blanks inside a quoted value do not end it), and so is a
// comment ("<!--" ...), which has no names.
std::string lowerCaseTag(std::string_view tag);

// Indentation for `level`: two blanks per level up to kMaxIndentLevel; none for a level of zero or
// below.
std::string indent(std::int32_t level);

// Number of characters (UTF-8 code points) after the last line feed of `text`; all of it when there
// is none.
std::size_t lastLineLength(std::string_view text);

}  // namespace vellmar::html
