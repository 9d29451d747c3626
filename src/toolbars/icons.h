#pragma once

// The toolbar buttons' pictures in the style sheet: the icons of the icon set that the buttons use
// are drawn side by side into one picture, the sprite, which every button's icon takes as its CSS
// mask, shifted to its own icon. The picture takes the button's text colour (greyed with it), and
// only the icons in use are shipped. One picture rather than one per icon: a browser makes a
// document of its own for every SVG image it shows, about a millisecond each before the first
// paint.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellmar::toolbars {

// The icon names the toolbars use, each once, in table order.
std::vector<std::string_view> usedIcons();

// An SVG document as a data: address for CSS: comments and line breaks dropped, runs of blanks
// collapsed, and every character a url("...") or a data address cannot carry percent-encoded.
std::string svgDataUri(std::string_view svg);

// The icon set draws on a square of this many units; the sprite places its icons this many
// units apart, so that a stroke near an icon's edge never shows in its neighbour's place.
inline constexpr int kIconUnits = 24;
inline constexpr int kSpritePitch = 36;
// The size the buttons show their icons at, in pixels.
inline constexpr int kIconPixels = 16;

// The icons (SVG documents of kIconUnits square) side by side in one SVG document, the n-th at
// n * kSpritePitch units from the left. Each keeps its own drawing attributes. Nothing when an
// icon is not an SVG document.
std::optional<std::string> iconSprite(const std::vector<std::string>& svgs);

// The rules that give the buttons their pictures: the sprite and its size scaled to kIconPixels
// high for every button's icon (`--vellmar-icons`, `--vellmar-icons-size`), and per icon name, in
// the sprite's order, the shift to its icon (`--vellmar-icon-x`).
std::string iconRules(const std::vector<std::string_view>& names, std::string_view sprite);

}  // namespace vellmar::toolbars
