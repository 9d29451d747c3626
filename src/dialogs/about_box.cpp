#include "dialogs/about_box.h"

namespace vellmar::dialogs {

std::string aboutVersionLine(std::string_view version) {
  std::string line = "Version: ";
  for (int part = 0; part < 3; ++part) {
    unsigned long number = 0;
    while (!version.empty() && version.front() >= '0' && version.front() <= '9') {
      number = number * 10 + static_cast<unsigned long>(version.front() - '0');
      version.remove_prefix(1);
    }
    if (!version.empty() && version.front() == '.') version.remove_prefix(1);
    if (part > 0) line += '.';
    line += std::to_string(number);
  }
  return line;
}

}  // namespace vellmar::dialogs
