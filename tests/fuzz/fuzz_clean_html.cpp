// cleanHTML and encodeEntities on arbitrary bytes: no crash, no sanitizer report, the same result as
// the step-by-step reference, no growth beyond layout and entity expansion, never more than the
// bounded factor of the input, and the same result when the input comes in pieces.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "../native/html/reference.h"
#include "html/cleanup.h"

namespace {

bool isLayoutByte(char c) { return c == ' ' || c == '\r' || c == '\n' || c == '\t'; }

// Bytes that are neither layout nor part of a character reference, counting each "&#N;" of the
// encoded range as the two bytes of its UTF-8 form.
std::size_t contentBytes(std::string_view s) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (isLayoutByte(s[i])) continue;
    if (s.substr(i, 2) == "&#") {
      const std::size_t semicolon = s.find(';', i);
      if (semicolon != std::string_view::npos && semicolon - i == 5) {
        count += 2;
        i = semicolon;
        continue;
      }
    }
    ++count;
  }
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const auto result = vellmar::html::cleanHTML(input);
  if (!result) std::abort();
  const std::string& cleaned = *result;
  if (cleaned.size() > vellmar::html::kMaxOutputFactor * size + 7) std::abort();

  // Tags only shrink (design-time attributes, unfinished tags) and text is only re-spaced, so apart
  // from line breaks, indentation and references the output holds at most the input plus the
  // "<p></p>" around stray text.
  std::size_t inputBytes = 0;
  for (char c : input) inputBytes += isLayoutByte(c) ? 0 : 1;
  if (contentBytes(cleaned) > inputBytes + 7) std::abort();

  // The reference rebuilds its result at every step; keep it to inputs it handles quickly.
  if (size <= 1024 && cleaned != vellmar::html::reference::cleanHTML(input)) std::abort();
  if (vellmar::html::encodeEntities(input) != vellmar::html::reference::encodeEntities(input)) std::abort();

  // In pieces whose sizes the input's own bytes choose (1 to 16 bytes).
  std::string pieces;
  vellmar::html::Cleaner cleaner([&](std::string_view piece) { pieces.append(piece); });
  for (std::size_t at = 0; at < size;) {
    const std::size_t take = std::min<std::size_t>(size - at, 1 + (data[at] & 15));
    cleaner.feed(input.substr(at, take));
    at += take;
  }
  cleaner.finish();
  if (pieces != cleaned) std::abort();
  return 0;
}
