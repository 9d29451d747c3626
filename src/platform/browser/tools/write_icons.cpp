// Writes the component's style sheet: the editor's own sheet, then the icons the toolbars use, read
// from the icon set's folder, as one picture with a rule per icon. An icon the set does not have
// stops the build.
//
//   node write_icons.js ICON_FOLDER STYLE_SHEET OUTPUT
#include <fstream>
#include <iostream>
#include <sstream>
#include <optional>
#include <string>
#include <vector>

#include "toolbars/icons.h"

namespace {

bool readFile(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream buffer;
  buffer << in.rdbuf();
  text = buffer.str();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: write_icons ICON_FOLDER STYLE_SHEET OUTPUT\n";
    return 2;
  }
  std::string sheet;
  if (!readFile(argv[2], sheet)) {
    std::cerr << "write_icons: cannot read " << argv[2] << "\n";
    return 1;
  }
  sheet += "\n/* Toolbar icons: Lucide (https://lucide.dev), ISC License. */\n";
  const std::vector<std::string_view> names = vellmar::toolbars::usedIcons();
  std::vector<std::string> svgs;
  for (std::string_view name : names) {
    const std::string path = std::string(argv[1]) + "/" + std::string(name) + ".svg";
    if (!readFile(path, svgs.emplace_back())) {
      std::cerr << "write_icons: the icon set has no " << path << "\n";
      return 1;
    }
  }
  const std::optional<std::string> sprite = vellmar::toolbars::iconSprite(svgs);
  if (!sprite) {
    std::cerr << "write_icons: an icon of " << argv[1] << " is not an SVG document\n";
    return 1;
  }
  sheet += vellmar::toolbars::iconRules(names, *sprite);
  std::ofstream out(argv[3], std::ios::binary);
  out << sheet;
  return out ? 0 : 1;
}
