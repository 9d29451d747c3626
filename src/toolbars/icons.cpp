#include "toolbars/icons.h"

#include <algorithm>

#include "toolbars/toolbars.h"

namespace vellmar::toolbars {

std::vector<std::string_view> usedIcons() {
  std::vector<std::string_view> names;
  for (ToolbarId id : {ToolbarId::standard, ToolbarId::objects, ToolbarId::textFormat}) {
    for (const ButtonDef& def : toolbarButtons(id)) {
      if (def.icon.empty() || std::find(names.begin(), names.end(), def.icon) != names.end()) continue;
      names.push_back(def.icon);
    }
  }
  return names;
}

std::string svgDataUri(std::string_view svg) {
  // Comments go first: the icon set marks every file with its licence, which the style sheet
  // states once instead.
  std::string text;
  for (std::size_t i = 0; i < svg.size();) {
    if (svg.compare(i, 4, "<!--") == 0) {
      const std::size_t end = svg.find("-->", i + 4);
      if (end == std::string_view::npos) break;
      i = end + 3;
      continue;
    }
    const char c = svg[i++];
    const bool space = c == ' ' || c == '\t' || c == '\r' || c == '\n';
    if (space) {
      if (!text.empty() && text.back() != ' ' && text.back() != '>') text += ' ';
      continue;
    }
    if ((c == '>' || c == '/') && !text.empty() && text.back() == ' ') text.pop_back();
    text += c;
  }
  while (!text.empty() && text.back() == ' ') text.pop_back();

  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out = "data:image/svg+xml,";
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       std::string_view(" -_.=/:;,'!*~+").find(static_cast<char>(c)) != std::string_view::npos;
    if (plain) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 0x0F];
    }
  }
  return out;
}

std::optional<std::string> iconSprite(const std::vector<std::string>& svgs) {
  const std::string width = std::to_string(kSpritePitch * static_cast<int>(svgs.size()));
  std::string sprite = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" +
                       std::to_string(kIconUnits) + "\" viewBox=\"0 0 " + width + " " +
                       std::to_string(kIconUnits) + "\">";
  int x = 0;
  for (const std::string& svg : svgs) {
    // A nested <svg> keeps the icon's own view box and drawing attributes; only its place is new.
    const std::size_t start = svg.find("<svg");
    if (start == std::string::npos) return std::nullopt;
    const std::size_t name = start + 4;
    sprite.append(svg, start, name - start);
    sprite += " x=\"" + std::to_string(x) + "\"";
    const std::size_t end = svg.rfind("</svg>");
    sprite.append(svg, name, (end == std::string::npos || end < name ? svg.size() : end + 6) - name);
    x += kSpritePitch;
  }
  sprite += "</svg>";
  return sprite;
}

std::string iconRules(const std::vector<std::string_view>& names, std::string_view sprite) {
  static_assert(kSpritePitch * kIconPixels % kIconUnits == 0, "icons must sit on whole pixels");
  constexpr int pitch = kSpritePitch * kIconPixels / kIconUnits;
  const std::string size = std::to_string(pitch * static_cast<int>(names.size())) + "px " +
                           std::to_string(kIconPixels) + "px";
  std::string rules = ".vellmar-tool-icon { --vellmar-icons: url(\"" + svgDataUri(sprite) +
                      "\"); --vellmar-icons-size: " + size + "; }\n";
  int x = 0;
  for (std::string_view name : names) {
    rules += ".vellmar-tool[data-icon=\"";
    rules += name;
    rules += "\"] { --vellmar-icon-x: " + std::to_string(-x) + "px; }\n";
    x += pitch;
  }
  return rules;
}

}  // namespace vellmar::toolbars
