#include "dialogs/character_chart.h"

namespace vellmar::dialogs {

const std::vector<SpecialCharacter>& specialCharacters() {
  // The names as the list has always shown them, "Acutea" included.
  static const std::vector<SpecialCharacter> all{
    {0xA2, "Cent Sign"},
    {0xA3, "Pound Sign"},
    {0xA4, "Currency Sign"},
    {0xA5, "Yen Sign"},
    {0xA6, "Broken Bar"},
    {0xA7, "Section Sign"},
    {0xA8, "Diaeresis"},
    {0xA9, "Copyright Sign"},
    {0xAA, "Feminine Ordinal Indicator"},
    {0xAB, "Left-Pointing Double Angle Quotation Mark"},
    {0xAC, "Not Sign"},
    {0xAE, "Registered Sign"},
    {0xAF, "Macron"},
    {0xB0, "Degree Sign"},
    {0xB1, "Plus-Minus Sign"},
    {0xB2, "Superscript Two"},
    {0xB3, "Superscript Three"},
    {0xB4, "Acute Accent"},
    {0xB5, "Micro Sign"},
    {0xB6, "Pilcrow Sign"},
    {0xB7, "Middle Dot"},
    {0xB8, "Cedilla"},
    {0xB9, "Superscript One"},
    {0xBA, "Masculine Ordinal Indicator"},
    {0xBB, "Right-Pointing Double Angle Quotation Mark"},
    {0xBC, "Vulgar Fraction One Quarter"},
    {0xBD, "Vulgar Fraction One Half"},
    {0xBE, "Vulgar Fraction Three Quarters"},
    {0xBF, "Inverted Question Mark"},
    {0xC0, "Latin Capital Letter a With Grave"},
    {0xC1, "Latin Capital Letter a With Acute"},
    {0xC2, "Latin Capital Letter a With Circumflex"},
    {0xC3, "Latin Capital Letter a With Tilde"},
    {0xC4, "Latin Capital Letter a With Diaeresis"},
    {0xC5, "Latin Capital Letter a With Ring Above"},
    {0xC6, "Latin Capital Letter ae"},
    {0xC7, "Latin Capital Letter c With Cedilla"},
    {0xC8, "Latin Capital Letter e With Grave"},
    {0xC9, "Latin Capital Letter e With Acute"},
    {0xCA, "Latin Capital Letter e With Circumflex"},
    {0xCB, "Latin Capital Letter e With Diaeresis"},
    {0xCC, "Latin Capital Letter i With Grave"},
    {0xCD, "Latin Capital Letter i With Acute"},
    {0xCE, "Latin Capital Letter i With Circumflex"},
    {0xCF, "Latin Capital Letter i With Diaeresis"},
    {0xD0, "Latin Capital Letter eth"},
    {0xD1, "Latin Capital Letter n With Tilde"},
    {0xD2, "Latin Capital Letter o With Grave"},
    {0xD3, "Latin Capital Letter o With Acute"},
    {0xD4, "Latin Capital Letter o With Circumflex"},
    {0xD5, "Latin Capital Letter o With Tilde"},
    {0xD6, "Latin Capital Letter o With Diaeresis"},
    {0xD7, "Multiplication Sign"},
    {0xD8, "Latin Capital Letter o With Stroke"},
    {0xD9, "Latin Capital Letter u With Grave"},
    {0xDA, "Latin Capital Letter u With Acute"},
    {0xDB, "Latin Capital Letter u With Circumflex"},
    {0xDC, "Latin Capital Letter u With Diaeresis"},
    {0xDD, "Latin Capital Letter y With Acute"},
    {0xDE, "Latin Capital Letter Thorn"},
    {0xDF, "Latin Small Letter Sharp s"},
    {0xE0, "Latin Small Letter a With Grave"},
    {0xE1, "Latin Small Letter a With Acutea"},
    {0xE2, "Latin Small Letter a With Circumflex"},
    {0xE3, "Latin Small Letter a With Tilde"},
    {0xE4, "Latin Small Letter a With Diaeresis"},
    {0xE5, "Latin Small Letter a With Ring Above"},
    {0xE6, "Latin Small Letter ae"},
    {0xE7, "Latin Small Letter c With Cedilla"},
    {0xE8, "Latin Small Letter e With Grave"},
    {0xE9, "Latin Small Letter e With Acute"},
    {0xEA, "Latin Small Letter e With Circumflex"},
    {0xEB, "Latin Small Letter e With Diaeresis"},
    {0xEC, "Latin Small Letter i With Grave"},
    {0xED, "Latin Small Letter i With Acute"},
    {0xEE, "Latin Small Letter i With Circumflex"},
    {0xEF, "Latin Small Letter i With Diaeresis"},
    {0xF0, "Latin Small Letter eth"},
    {0xF1, "Latin Small Letter n With Tilde"},
    {0xF2, "Latin Small Letter o With Grave"},
    {0xF3, "Latin Small Letter o With Acute"},
    {0xF4, "Latin Small Letter o With Circumflex"},
    {0xF5, "Latin Small Letter o With Tilde"},
    {0xF6, "Latin Small Letter o With Diaeresis"},
    {0xF7, "Division Sign"},
    {0xF8, "Latin Small Letter o With Stroke"},
    {0xF9, "Latin Small Letter u With Grave"},
    {0xFA, "Latin Small Letter u With Acute"},
    {0xFB, "Latin Small Letter u With Circumflex"},
    {0xFC, "Latin Small Letter u With Diaeresis"},
    {0xFD, "Latin Small Letter y With Acute"},
    {0xFE, "Latin Small Letter Thorn"},
    {0xFF, "Latin Small Letter y With Diaeresis"},
  };
  return all;
}

std::string specialCharacterEntry(const SpecialCharacter& character) {
  // Every code is below 0x100: two bytes of UTF-8.
  const auto c = static_cast<unsigned>(character.code);
  std::string entry;
  entry += static_cast<char>(0xC0U | (c >> 6));
  entry += static_cast<char>(0x80U | (c & 0x3FU));
  entry += " - ";
  entry += character.name;
  return entry;
}

}  // namespace vellmar::dialogs
