#include "editing/formats.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "common/diagnostics.h"

namespace vellmar::editing {

namespace {

bool sameIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) != std::toupper(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

std::string_view trimmed(std::string_view text) {
  const auto begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  const auto end = text.find_last_not_of(" \t\r\n");
  return text.substr(begin, end - begin + 1);
}

// A whole text that is a decimal number ("4", "-2", "4.75"), truncated toward zero.
std::optional<int> wholeNumber(std::string_view text) {
  text = trimmed(text);
  if (text.empty()) return std::nullopt;
  std::size_t i = 0;
  bool negative = false;
  if (text[0] == '+' || text[0] == '-') {
    negative = text[0] == '-';
    ++i;
  }
  long value = 0;
  bool digits = false;
  for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
    digits = true;
    if (value < 100000000) value = value * 10 + (text[i] - '0');
  }
  if (i < text.size() && text[i] == '.') {
    for (++i; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) digits = true;
  }
  if (!digits || i != text.size()) return std::nullopt;
  return static_cast<int>(negative ? -value : value);
}

}  // namespace

bool isDefaultFontKey(std::string_view key) { return key == kFontTable[0].key || key == "default"; }

std::string_view fontFamily(std::string_view key) {
  for (const auto& entry : kFontTable) {
    if (entry.key == key) return entry.family;
  }
  return key;
}

std::vector<std::size_t> fontsBeginningWith(std::string_view name) {
  std::vector<std::size_t> matches;
  for (std::size_t i = 0; i < kFontTable.size(); ++i) {
    if (kFontTable[i].family.substr(0, name.size()) == name) matches.push_back(i);
  }
  return matches;
}

bool isDefaultSizeKey(std::string_view key) {
  return key == kSizeTable[0].key || key == kSizeTable[0].label;
}

std::optional<int> fontSizeNumber(std::string_view key) {
  if (auto number = wholeNumber(key)) return number;
  if (key.size() < 3) return std::nullopt;
  return wholeNumber(key.substr(3));
}

const BlockFormatEntry* findBlockFormat(std::string_view nameOrTag) {
  nameOrTag = trimmed(nameOrTag);
  // The engine's own form of a tag, "<h2>", names the same block.
  if (nameOrTag.size() > 2 && nameOrTag.front() == '<' && nameOrTag.back() == '>') {
    nameOrTag = nameOrTag.substr(1, nameOrTag.size() - 2);
  }
  for (const auto& entry : kBlockFormatTable) {
    if (sameIgnoringCase(entry.name, nameOrTag) || sameIgnoringCase(entry.tag, nameOrTag)) return &entry;
  }
  return nullptr;
}

std::string colourText(int red, int green, int blue) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X", static_cast<unsigned>(red) & 0xFFU,
                static_cast<unsigned>(green) & 0xFFU, static_cast<unsigned>(blue) & 0xFFU);
  return buffer;
}

std::string colourTextFromValue(std::uint32_t value) {
  return colourText(static_cast<int>(value & 0xFFU), static_cast<int>((value >> 8) & 0xFFU),
                    static_cast<int>((value >> 16) & 0xFFU));
}

namespace {

// The three numbers of "rgb(r, g, b)" or "rgba(r, g, b, a)", as a browser writes a computed colour.
std::optional<std::array<int, 3>> rgbComponents(std::string_view text) {
  if (text.starts_with("rgba(")) {
    text.remove_prefix(5);
  } else if (text.starts_with("rgb(")) {
    text.remove_prefix(4);
  } else {
    return std::nullopt;
  }
  std::array<int, 3> out{};
  for (std::size_t i = 0; i < out.size(); ++i) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out[i]);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
    const char next = i + 1 < out.size() ? ',' : (text.starts_with(",") ? ',' : ')');
    if (text.empty() || text.front() != next) return std::nullopt;
    text.remove_prefix(1);
  }
  return out;
}

}  // namespace

std::string colourTextFromCss(std::string_view css) {
  const std::string text(trimmed(css));
  if (const auto rgb = rgbComponents(text)) return colourText((*rgb)[0], (*rgb)[1], (*rgb)[2]);
  const auto hex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
  if (text.size() == 4 && text[0] == '#' && hex(text[1]) && hex(text[2]) && hex(text[3])) {
    const auto digit = [](char c) { return static_cast<int>(std::strtol(std::string(2, c).c_str(), nullptr, 16)); };
    return colourText(digit(text[1]), digit(text[2]), digit(text[3]));
  }
  if (text.size() == 7 && text[0] == '#') {
    std::string upper = text;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return upper;
  }
  return text;
}

std::int16_t numberReading(std::string_view text) {
  long value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') continue;
    value = value * 10 + (c - '0');
    if (value > 32767) throw ProcedureError(6, "Overflow");
  }
  return static_cast<std::int16_t>(value);
}

}  // namespace vellmar::editing
