// Writes the component's style sheet: the editor's own sheet, then one rule per icon the toolbars
// use, read from the icon set's folder. An icon the set does not have stops the build.
//
//   node write_icons.js ICON_FOLDER STYLE_SHEET OUTPUT
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

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
  for (std::string_view name : vellmar::toolbars::usedIcons()) {
    std::string svg;
    const std::string path = std::string(argv[1]) + "/" + std::string(name) + ".svg";
    if (!readFile(path, svg)) {
      std::cerr << "write_icons: the icon set has no " << path << "\n";
      return 1;
    }
    sheet += vellmar::toolbars::iconRule(name, svg);
  }
  std::ofstream out(argv[3], std::ios::binary);
  out << sheet;
  return out ? 0 : 1;
}
