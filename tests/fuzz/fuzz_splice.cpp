// The style and body splicing operations on arbitrary bytes: no crash, no sanitizer report, and the
// same results as repeating each removal until nothing matches.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "../native/html/reference.h"
#include "html/splice.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  namespace html = vellmar::html;
  namespace ref = vellmar::html::reference;
  if (size < 2) return 0;
  // The first two bytes choose a range for removeRange; the rest is the document.
  const std::string doc(reinterpret_cast<const char*>(data) + 2, size - 2);
  const auto length = static_cast<std::int64_t>(doc.size());

  const std::string stripped = html::stripEmbeddedStyles(doc);
  if (stripped.size() > doc.size() || stripped != ref::stripEmbeddedStyles(doc)) std::abort();
  if (html::hasStylesheetLink(doc) != ref::hasStylesheetLink(doc)) std::abort();
  if (html::hasStyleBlock(doc) != ref::hasStyleBlock(doc)) std::abort();

  const std::string body = html::extractBodyContent(doc);
  if (body != doc && doc.find(body) == std::string::npos) std::abort();

  const std::int64_t before = length == 0 ? 0 : data[0] % (length + 1);
  const std::int64_t after = 1 + (length == 0 ? 0 : data[1] % (length + 1));
  if (html::removeRange(doc, before, after) != ref::removeRange(doc, before, after)) std::abort();
  // Out-of-range positions are clamped, never read out of bounds.
  (void)html::removeRange(doc, static_cast<std::int8_t>(data[0]) * 1000, static_cast<std::int8_t>(data[1]) * 1000);
  return 0;
}
