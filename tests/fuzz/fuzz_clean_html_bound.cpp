// The clean-up's output bound, on documents built from the bytes: each byte picks a piece (tags of
// every layout class, text, blanks, references, design-time attributes) and how many times it is
// repeated, so that a few kilobytes of input reach nesting far beyond the deepest indented level.
// Whatever the document, the output is at most kMaxOutputFactor times its size (plus the paragraph
// around stray text), and it is exactly the step-by-step result where that is quick to compute.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "../native/html/reference.h"
#include "html/cleanup.h"

namespace {

constexpr std::string_view kPieces[] = {
    "<div>", "</div>", "<P>", "</P>", "<td>", "<TABLE>", "</table>", "<ul>", "</UL>", "<li>", "</li>",
    "<body>", "<br>", "<b>", "</b>", "<x>", "<!-- c -->", "x", "x ", " ", "word ", "\r\n", "\t",
    "\xC3\xA9", "\xC3\xA9 ", "\xE2\x82\xAC", "<", ">", "<img src=\"a b\" designtimesp=1>",
    "<p designtimesp designtimesp=\"X\">", "a longer line of text that wraps at the sixtieth column ",
};
constexpr std::size_t kPieceCount = sizeof kPieces / sizeof kPieces[0];
constexpr unsigned kRepeats[] = {1, 1, 2, 3, 8, 40, 120, 400};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string doc;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    const std::string_view piece = kPieces[data[i] % kPieceCount];
    for (unsigned r = kRepeats[data[i + 1] % 8]; r > 0; --r) doc.append(piece);
  }
  const auto cleaned = vellmar::html::cleanHTML(doc);
  if (!cleaned) std::abort();
  if (cleaned->size() > vellmar::html::kMaxOutputFactor * doc.size() + 7) std::abort();
  if (doc.size() <= 2048 && *cleaned != vellmar::html::reference::cleanHTML(doc)) std::abort();
  return 0;
}
