#pragma once

#include <string>
#include <string_view>

// What frmAbout shows.
namespace vellmar::dialogs {

inline constexpr std::string_view kAboutCaption = "About Korvath Vellmar 2 HTML Editor";
inline constexpr std::string_view kAboutTitle = "Vellmar 2 HTML Editor";
inline constexpr std::string_view kAboutThanks = "Thank you for using Vellmar 2!";
inline constexpr std::string_view kAboutCredit =
    "Spelling checked with Hunspell-compatible dictionaries.";
inline constexpr std::string_view kMakerAddress = "https://www.korvath.example/vellmar/";

// "Version: " followed by major.minor.revision of `version`, each a plain decimal number (a
// missing part reads 0, leading zeros are dropped).
std::string aboutVersionLine(std::string_view version);

}  // namespace vellmar::dialogs
