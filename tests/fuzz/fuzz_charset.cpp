// Any bytes under any label: a text answer always becomes well-formed UTF-8, and data stays as it
// came.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "http/charset.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  // The first line is taken as the Content-Type, the rest as the body.
  const auto newline = bytes.find('\n');
  const std::string_view type = bytes.substr(0, newline);
  const std::string_view body = newline == std::string_view::npos ? std::string_view() : bytes.substr(newline + 1);
  const std::string text = vellmar::http::decodeAnswer(body, type);
  if (vellmar::http::isTextAnswer(type)) {
    if (!vellmar::http::isValidUtf8(text)) __builtin_trap();
  } else if (text != body) {
    __builtin_trap();
  }
  // Every byte grows to at most one replacement character (three bytes), or a BOM-less UTF-16 unit
  // to at most three bytes per two.
  if (text.size() > 3 * body.size()) __builtin_trap();
  return 0;
}
