// Any bytes a server may send: parseResponse must end in a body or a parse error, never fail.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "http/response_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto parsed = vellmar::http::parseResponse(text, "/fuzz/path.xml");
  if (!parsed.failed() && parsed.body.size() > size) __builtin_trap();
  // The body readers on their own, as a transport that skipped the status line would use them.
  const std::string body = vellmar::http::extractBody(text);
  const std::string decoded = vellmar::http::decodeChunked(text);
  if (body.size() > size || decoded.size() > size) __builtin_trap();
  return 0;
}
