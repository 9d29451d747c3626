#pragma once

#include <string>
#include <string_view>
#include <vector>

// The characters frmSpecialChars offers: the upper half of Latin-1 from the cent sign on, without
// the soft hyphen, each under its name.
namespace vellmar::dialogs {

struct SpecialCharacter {
  char32_t code;
  std::string_view name;
};

// The 93 characters in ascending order.
const std::vector<SpecialCharacter>& specialCharacters();
// A list entry as it reads: the character (UTF-8), " - ", its name.
std::string specialCharacterEntry(const SpecialCharacter& character);

}  // namespace vellmar::dialogs
