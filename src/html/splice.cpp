#include "html/splice.h"

#include <algorithm>
#include <utility>

#include "common/diagnostics.h"
#include "html/ascii.h"

namespace vellmar::html {

namespace {

constexpr auto npos = std::string_view::npos;

constexpr std::string_view kLink = "<link ";
constexpr std::string_view kStyleOpen = "<style";
constexpr std::string_view kStyleClose = "</style";
constexpr std::string_view kClassAttribute = " class=\"";
constexpr std::string_view kStyleAttribute = " style=\"";

bool isStylesheetLink(std::string_view linkTag) {
  return ascii::containsNoCase(linkTag, "stylesheet") || ascii::containsNoCase(linkTag, " rel");
}

// A document from which ranges are removed left to right, without copying the rest of it for each
// removal. The current text is `kept_` (already passed, never to be searched again) followed by
// src_[next_..]. Positions are indices into the current text.
//
// Invariant, for the marker of the pass: `kept_` holds no whole occurrence. A removal can join the
// end of `kept_` to the rest into a new occurrence, so the first occurrence in the current text
// starts no earlier than the last (marker length - 1) kept bytes.
class JoinedText {
 public:
  explicit JoinedText(std::string_view src) : src_(src) {}

  // The first occurrence of `lowerMarker` in the current text, given the invariant above.
  std::size_t findFirst(std::string_view lowerMarker) const {
    const std::size_t tail = std::min(kept_.size(), lowerMarker.size() - 1);
    return find(lowerMarker, kept_.size() - tail);
  }

  // The first occurrence of `lowerPattern` at or after `from`. Every caller passes a `from` within
  // the last few kept bytes or beyond, so kept text is never scanned at length.
  std::size_t find(std::string_view lowerPattern, std::size_t from) const {
    for (std::size_t at = from; at < kept_.size(); ++at) {
      if (matchesAt(at, lowerPattern)) return at;
    }
    const std::size_t srcFrom = toSource(std::max(from, kept_.size()));
    const std::size_t found = ascii::findNoCase(src_, lowerPattern, srcFrom);
    return found == npos ? npos : found - next_ + kept_.size();
  }

  // The current text from `from` up to (not including) `to`.
  std::string slice(std::size_t from, std::size_t to) const {
    std::string s;
    s.reserve(to - from);
    for (std::size_t at = from; at < std::min(to, kept_.size()); ++at) s.push_back(kept_[at]);
    const std::size_t srcFrom = toSource(std::max(from, kept_.size()));
    if (to > kept_.size()) s.append(src_, srcFrom, toSource(to) - srcFrom);
    return s;
  }

  // Removes the current text from `from` up to (not including) `to`; `to` lies past the kept text.
  void remove(std::size_t from, std::size_t to) {
    const std::size_t srcTo = toSource(to);
    if (from < kept_.size()) {
      kept_.resize(from);
    } else {
      kept_.append(src_, next_, toSource(from) - next_);
    }
    next_ = srcTo;
  }

  std::string finish() && {
    kept_.append(src_, next_, npos);
    return std::move(kept_);
  }

 private:
  std::size_t size() const { return kept_.size() + (src_.size() - next_); }
  std::size_t toSource(std::size_t at) const { return next_ + (at - kept_.size()); }
  char at(std::size_t pos) const { return pos < kept_.size() ? kept_[pos] : src_[toSource(pos)]; }
  bool matchesAt(std::size_t pos, std::string_view lowerPattern) const {
    if (size() - pos < lowerPattern.size()) return false;
    for (std::size_t k = 0; k < lowerPattern.size(); ++k) {
      if (ascii::toLower(at(pos + k)) != lowerPattern[k]) return false;
    }
    return true;
  }

  std::string_view src_;
  std::string kept_;
  std::size_t next_ = 0;
};

std::string removeStylesheetLinks(std::string_view doc) {
  JoinedText text(doc);
  for (;;) {
    const std::size_t start = text.findFirst(kLink);
    if (start == npos) break;
    const std::size_t close = text.find(">", start);
    if (close == npos || !isStylesheetLink(text.slice(start, close + 1))) break;
    text.remove(start, close + 1);
  }
  return std::move(text).finish();
}

std::string removeStyleBlocks(std::string_view doc) {
  JoinedText text(doc);
  for (;;) {
    const std::size_t start = text.findFirst(kStyleOpen);
    if (start == npos) break;
    const std::size_t openEnd = text.find(">", start);
    if (openEnd == npos) break;
    const std::size_t closeTag = text.find(kStyleClose, openEnd + 1);
    if (closeTag == npos) break;
    const std::size_t closeEnd = text.find(">", closeTag);
    if (closeEnd == npos) break;
    text.remove(start, closeEnd + 1);
  }
  return std::move(text).finish();
}

// Removes every double-quoted attribute introduced by `marker` (blank, name, "=", double quote).
std::string removeQuotedAttributes(std::string_view doc, std::string_view marker) {
  JoinedText text(doc);
  for (;;) {
    const std::size_t start = text.findFirst(marker);
    if (start == npos) break;
    const std::size_t closeQuote = text.find("\"", start + marker.size());
    if (closeQuote == npos) break;
    text.remove(start, closeQuote + 1);
  }
  return std::move(text).finish();
}

}  // namespace

std::string stripEmbeddedStyles(std::string_view doc) {
  std::string stripped;
  guarded("stripEmbeddedStyles", [&] {
    std::string text = removeStylesheetLinks(doc);
    text = removeStyleBlocks(text);
    text = removeQuotedAttributes(text, kClassAttribute);
    stripped = removeQuotedAttributes(text, kStyleAttribute);
  });
  return stripped;
}

namespace {

// Where extractBodyContent's text starts and ends in `doc`: all of it when there is no body.
std::pair<std::size_t, std::size_t> bodyContentRange(std::string_view doc) {
  const std::pair<std::size_t, std::size_t> whole{0, doc.size()};
  const std::size_t body = ascii::findNoCase(doc, "<body");
  if (body == npos) return whole;
  const std::size_t open = doc.find('>', body);
  if (open == npos) return whole;
  const std::size_t close = ascii::findNoCase(doc, "</body", open + 1);
  if (close == npos || doc.find('>', close) == npos) return whole;
  return {open + 1, close};
}

}  // namespace

std::string extractBodyContent(std::string_view doc) {
  const auto [start, end] = bodyContentRange(doc);
  return std::string(doc.substr(start, end - start));
}

std::string takeBodyContent(std::string doc) {
  const auto [start, end] = bodyContentRange(doc);
  doc.erase(end);
  doc.erase(0, start);
  return doc;
}

bool hasStylesheetLink(std::string_view doc) {
  const std::size_t start = ascii::findNoCase(doc, kLink);
  if (start == npos) return false;
  const std::size_t close = doc.find('>', start);
  return close != npos && isStylesheetLink(doc.substr(start, close + 1 - start));
}

bool hasStyleBlock(std::string_view doc) {
  const std::size_t start = ascii::findNoCase(doc, kStyleOpen);
  if (start == npos) return false;
  const std::size_t openEnd = doc.find('>', start);
  if (openEnd == npos) return false;
  const std::size_t closeTag = ascii::findNoCase(doc, kStyleClose, openEnd + 1);
  return closeTag != npos && doc.find('>', closeTag) != npos;
}

std::string removeRange(std::string_view doc, std::int64_t before, std::int64_t after) {
  const auto size = static_cast<std::int64_t>(doc.size());
  const auto head = static_cast<std::size_t>(std::clamp<std::int64_t>(before, 0, size));
  const auto tailStart = static_cast<std::size_t>(std::clamp<std::int64_t>(after, 1, size + 1) - 1);
  std::string out;
  out.reserve(head + (doc.size() - tailStart));
  out.append(doc.substr(0, head));
  out.append(doc.substr(tailStart));
  return out;
}

}  // namespace vellmar::html
