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

std::string iconRule(std::string_view name, std::string_view svg) {
  std::string rule = ".vellmar-tool[data-icon=\"";
  rule += name;
  rule += "\"] { --vellmar-icon: url(\"";
  rule += svgDataUri(svg);
  rule += "\"); }\n";
  return rule;
}

}  // namespace vellmar::toolbars
