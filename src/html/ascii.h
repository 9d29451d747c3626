#pragma once

// Byte-level helpers shared by the clean-up and the splicing code. Text is UTF-8, but every name and
// marker these searches look for is ASCII, so comparing bytes is exact: a byte of a multi-byte
// sequence is never mistaken for an ASCII letter, and a match never starts inside a character.

#include <cstddef>
#include <string_view>

namespace vellmar::html::ascii {

constexpr char toLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + ('a' - 'A')) : c; }

constexpr bool isContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// True when text[at..] begins with `lowerPattern`, ignoring ASCII letter case.
// `lowerPattern` must be written in lower case.
constexpr bool startsWithNoCase(std::string_view text, std::size_t at, std::string_view lowerPattern) {
  if (at > text.size() || text.size() - at < lowerPattern.size()) return false;
  for (std::size_t k = 0; k < lowerPattern.size(); ++k) {
    if (toLower(text[at + k]) != lowerPattern[k]) return false;
  }
  return true;
}

// First position at or after `from` where `lowerPattern` occurs, ignoring ASCII letter case;
// npos when there is none. `lowerPattern` must be written in lower case and not be empty.
inline std::size_t findNoCase(std::string_view text, std::string_view lowerPattern, std::size_t from = 0) {
  const std::size_t m = lowerPattern.size();
  if (from > text.size() || text.size() - from < m) return std::string_view::npos;
  const std::size_t last = text.size() - m;
  const char first = lowerPattern[0];
  const bool letter = first >= 'a' && first <= 'z';
  for (std::size_t i = from; i <= last; ++i) {
    if (letter) {
      if (toLower(text[i]) != first) continue;
    } else {
      // A non-letter first byte has one form only, so memchr (string_view::find) can skip ahead.
      i = text.find(first, i);
      if (i == std::string_view::npos || i > last) return std::string_view::npos;
    }
    if (startsWithNoCase(text, i + 1, lowerPattern.substr(1))) return i;
  }
  return std::string_view::npos;
}

inline bool containsNoCase(std::string_view text, std::string_view lowerPattern) {
  return findNoCase(text, lowerPattern) != std::string_view::npos;
}

// Blanks are the only white space left once a text has been prepared, and the only white space
// that trimming removes.
constexpr bool isBlankOnly(std::string_view text) { return text.find_first_not_of(' ') == std::string_view::npos; }

}  // namespace vellmar::html::ascii
