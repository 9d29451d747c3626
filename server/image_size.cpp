#include "server/image_size.h"

#include <climits>

// stb_image is compiled into this file alone, for the three types the server accepts; it reads
// only headers here, which is what stbi_info does.
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_GIF
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_NO_FAILURE_STRINGS
#include <stb/stb_image.h>

namespace vellmar::server {

std::pair<int, int> imagePixelSize(std::string_view bytes) {
  if (bytes.empty() || bytes.size() > static_cast<std::size_t>(INT_MAX)) return {0, 0};
  int width = 0, height = 0, channels = 0;
  if (!stbi_info_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()),
                             static_cast<int>(bytes.size()), &width, &height, &channels))
    return {0, 0};
  return {width, height};
}

}  // namespace vellmar::server
