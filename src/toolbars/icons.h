#pragma once

// The toolbar buttons' pictures in the style sheet: each icon of the icon set that a button uses
// becomes one rule giving the button its picture as a CSS mask, so that the picture takes the
// button's text colour (greyed with it) and only the icons in use are shipped.

#include <string>
#include <string_view>
#include <vector>

namespace vellmar::toolbars {

// The icon names the toolbars use, each once, in table order.
std::vector<std::string_view> usedIcons();

// An SVG document as a data: address for CSS: comments and line breaks dropped, runs of blanks
// collapsed, and every character a url("...") or a data address cannot carry percent-encoded.
std::string svgDataUri(std::string_view svg);

// The rule that gives the buttons with that icon their picture.
std::string iconRule(std::string_view name, std::string_view svg);

}  // namespace vellmar::toolbars
