#pragma once

#include <string_view>
#include <utility>

namespace vellmar::server {

// The width and height a GIF, JPEG or PNG file states in its headers, read by stb_image (the
// pixels are not decoded); {0, 0} when the headers cannot be read.
std::pair<int, int> imagePixelSize(std::string_view bytes);

}  // namespace vellmar::server
