#include "toolbars/colour_selector.h"

#include <cctype>
#include <cstdio>

namespace vellmar::toolbars {

namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool allHex(std::string_view text) {
  for (char c : text) {
    if (hexValue(c) < 0) return false;
  }
  return true;
}

// "rgb(1, 2, 3)" with each part 0-255.
std::optional<std::string> readRgb(std::string_view text) {
  if (text.substr(0, 4) != "rgb(" || text.back() != ')') return std::nullopt;
  text = text.substr(4, text.size() - 5);
  int parts[3] = {0, 0, 0};
  for (int i = 0; i < 3; ++i) {
    text = trimmed(text);
    int value = 0;
    std::size_t digits = 0;
    while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits]))) {
      value = value * 10 + (text[digits] - '0');
      if (value > 255) return std::nullopt;
      ++digits;
    }
    if (digits == 0) return std::nullopt;
    parts[i] = value;
    text = trimmed(text.substr(digits));
    if (i < 2) {
      if (text.empty() || text.front() != ',') return std::nullopt;
      text.remove_prefix(1);
    }
  }
  if (!text.empty()) return std::nullopt;
  return colourTextOf(parts[0], parts[1], parts[2]);
}

constexpr std::array<std::string_view, kPaletteColumns * kPaletteRows> kPalette = {
    "#000000", "#444444", "#666666", "#999999", "#BBBBBB", "#DDDDDD", "#EEEEEE", "#FFFFFF",
    "#FF0000", "#FF8000", "#FFFF00", "#00FF00", "#00FFFF", "#0000FF", "#8000FF", "#FF00FF",
    "#F4CCCC", "#FCE5CD", "#FFF2CC", "#D9EAD3", "#D0E0E3", "#CFE2F3", "#D9D2E9", "#EAD1DC",
    "#E06666", "#F6B26B", "#FFD966", "#93C47D", "#76A5AF", "#6FA8DC", "#8E7CC3", "#C27BA0",
    "#CC0000", "#E69138", "#F1C232", "#6AA84F", "#45818E", "#3D85C6", "#674EA7", "#A64D79",
    "#660000", "#783F04", "#7F6000", "#274E13", "#0C343D", "#073763", "#20124D", "#4C1130",
};

struct Named {
  std::string_view colour;
  std::string_view name;
};
constexpr Named kNames[] = {
    {"#000000", "Black"},  {"#444444", "Dark grey"}, {"#666666", "Grey"},    {"#999999", "Mid grey"},
    {"#BBBBBB", "Silver"}, {"#DDDDDD", "Light grey"}, {"#EEEEEE", "Pale grey"}, {"#FFFFFF", "White"},
    {"#FF0000", "Red"},    {"#FF8000", "Orange"},    {"#FFFF00", "Yellow"},  {"#00FF00", "Green"},
    {"#00FFFF", "Cyan"},   {"#0000FF", "Blue"},      {"#8000FF", "Purple"},  {"#FF00FF", "Magenta"},
};

}  // namespace

std::string colourTextOf(int red, int green, int blue) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X", static_cast<unsigned>(red) & 0xFFU,
                static_cast<unsigned>(green) & 0xFFU, static_cast<unsigned>(blue) & 0xFFU);
  return buffer;
}

std::optional<std::string> readColourText(std::string_view text) {
  text = trimmed(text);
  if (text.empty()) return std::string();
  if (auto rgb = readRgb(text)) return rgb;
  if (text.front() == '#') text.remove_prefix(1);
  if (!allHex(text)) return std::nullopt;
  if (text.size() == 3) {
    const auto twice = [](char c) { return hexValue(c) * 17; };
    return colourTextOf(twice(text[0]), twice(text[1]), twice(text[2]));
  }
  if (text.size() != 6) return std::nullopt;
  std::string out = "#";
  for (char c : text) out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

const std::array<std::string_view, kPaletteColumns * kPaletteRows>& pickerPalette() { return kPalette; }

std::string colourName(std::string_view colourText) {
  for (const Named& n : kNames) {
    if (n.colour == colourText) return std::string(n.name) + " " + std::string(colourText);
  }
  return std::string(colourText);
}

void SelColor::setColor(std::string text) {
  color_ = std::move(text);
  propertyChanged_ = true;
}

void SelColor::chosen(std::string_view colour) {
  const auto text = readColourText(colour);
  // The picker only ever gives colours; anything else is no choice.
  if (!text || text->empty()) return;
  color_ = *text;
  if (Changed) Changed();
}

}  // namespace vellmar::toolbars
