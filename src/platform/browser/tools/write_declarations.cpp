// Writes vellmar.d.ts: the template with the editor element's properties filled in from the
// property table, so that the declarations can never drift from what the element exposes.
//
//   node write_declarations.js TEMPLATE OUTPUT
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "editor/properties.h"

namespace {

using vellmar::editor::PropertyDef;
using vellmar::editor::PropertyType;

constexpr std::string_view kMarker = "// @VELLMAR_PROPERTIES@";

std::string declaration(const PropertyDef& def, const std::string& indent) {
  std::string type;
  std::string about;
  switch (def.type) {
    case PropertyType::Text:
      type = "string";
      about = "Text, default \"" + std::string(def.defaultText) + "\".";
      break;
    case PropertyType::YesNo:
      type = "VellmarYesNo";
      about = "Switch, default 0.";
      break;
    case PropertyType::ContentMethod:
      type = "VellmarContentMethod";
      about = "0 the body HTML, 1 the body text; default 0.";
      break;
    case PropertyType::Int16Text:
      type = "number";
      about = "Whole number, default " + std::string(def.defaultText) +
              "; a value that is not a number reads back as 30.";
      break;
  }
  std::string out = indent + "/** " + about + " `<param name=\"" + std::string(def.readKey) +
                    "\">` */\n";
  out += indent + std::string(def.name) + ": " + type + ";\n";
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: write_declarations TEMPLATE OUTPUT\n";
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  if (!in) {
    std::cerr << "cannot read " << argv[1] << "\n";
    return 1;
  }
  std::ostringstream text;
  text << in.rdbuf();
  const std::string tmpl = text.str();
  const std::size_t marker = tmpl.find(kMarker);
  if (marker == std::string::npos) {
    std::cerr << argv[1] << " has no " << kMarker << " line\n";
    return 1;
  }
  const std::size_t lineStart = tmpl.rfind('\n', marker) + 1;
  const std::string indent = tmpl.substr(lineStart, marker - lineStart);
  const std::size_t lineEnd = tmpl.find('\n', marker);

  std::string properties;
  for (const PropertyDef& def : vellmar::editor::propertyTable()) {
    properties += declaration(def, indent);
  }
  if (!properties.empty()) properties.pop_back();  // the template's own line end follows

  std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
  out << tmpl.substr(0, lineStart) << properties << tmpl.substr(lineEnd);
  if (!out) {
    std::cerr << "cannot write " << argv[2] << "\n";
    return 1;
  }
  return 0;
}
