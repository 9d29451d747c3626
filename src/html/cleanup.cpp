#include "html/cleanup.h"

#include <algorithm>
#include <array>
#include <vector>

#include "common/diagnostics.h"
#include "html/ascii.h"

namespace vellmar::html {

namespace {

constexpr std::string_view kDesigntime = "designtime";

struct TagName {
  std::string_view name;  // lower case
  TagClass cls;
};

// The classification table, sorted by name for binary search.
constexpr auto kTagClasses = [] {
  using C = TagClass;
  std::array<TagName, 92> t{{
      {"a", C::Inline},           {"abbr", C::Inline},        {"acronym", C::Inline},
      {"address", C::Structure},  {"applet", C::Container},   {"area", C::Line},
      {"b", C::Inline},           {"base", C::Line},          {"basefont", C::Line},
      {"bdo", C::Line},           {"bgsound", C::Line},       {"big", C::Inline},
      {"blockquote", C::Block},   {"body", C::Structure},     {"br", C::Break},
      {"button", C::Line},        {"caption", C::Structure},  {"center", C::Container},
      {"cite", C::Inline},        {"code", C::Inline},        {"col", C::Line},
      {"colgroup", C::Structure}, {"dd", C::Block},           {"del", C::Inline},
      {"dfn", C::Inline},         {"div", C::Block},          {"dl", C::Container},
      {"dt", C::Block},           {"em", C::Inline},          {"fieldset", C::Structure},
      {"font", C::Inline},        {"form", C::Container},     {"frame", C::Line},
      {"frameset", C::Container}, {"h1", C::Block},           {"h2", C::Block},
      {"h3", C::Block},           {"h4", C::Block},           {"h5", C::Block},
      {"h6", C::Block},           {"head", C::Structure},     {"hr", C::Line},
      {"html", C::Structure},     {"i", C::Inline},           {"iframe", C::Line},
      {"ilayer", C::Line},        {"img", C::Inline},         {"input", C::Line},
      {"ins", C::Inline},         {"kbd", C::Inline},         {"label", C::Line},
      {"layer", C::Line},         {"legend", C::Line},        {"li", C::Line},
      {"link", C::Line},          {"map", C::Container},      {"marquee", C::Structure},
      {"meta", C::Line},          {"multicol", C::Structure}, {"noframes", C::Structure},
      {"noscript", C::Structure}, {"object", C::Container},   {"ol", C::Container},
      {"optgroup", C::Line},      {"option", C::Line},        {"p", C::Block},
      {"param", C::Line},         {"pre", C::Line},           {"q", C::Inline},
      {"samp", C::Inline},        {"script", C::Line},        {"select", C::Container},
      {"small", C::Inline},       {"sound", C::Line},         {"spacer", C::Inline},
      {"span", C::Inline},        {"strong", C::Inline},      {"style", C::Structure},
      {"sub", C::Inline},         {"sup", C::Inline},         {"table", C::Container},
      {"tbody", C::Container},    {"td", C::Block},           {"textarea", C::Line},
      {"tfoot", C::Container},    {"th", C::Block},           {"thead", C::Container},
      {"title", C::Line},         {"tr", C::Block},           {"tt", C::Inline},
      {"ul", C::Container},       {"var", C::Inline},
  }};
  return t;
}();

constexpr std::size_t kLongestTagName = 10;  // "blockquote"

// A lower-case name of up to kLongestTagName bytes packed into two integers, so that the table is
// searched with integer comparisons. Zero padding keeps the order of the names.
struct PackedName {
  std::uint64_t head = 0;
  std::uint64_t tail = 0;
  constexpr bool operator<(const PackedName& o) const { return head != o.head ? head < o.head : tail < o.tail; }
  constexpr bool operator==(const PackedName& o) const { return head == o.head && tail == o.tail; }
};

constexpr PackedName pack(std::string_view lowerName) {
  PackedName p;
  for (std::size_t i = 0; i < 8; ++i) {
    p.head = (p.head << 8) | (i < lowerName.size() ? static_cast<unsigned char>(lowerName[i]) : 0U);
  }
  for (std::size_t i = 8; i < 16; ++i) {
    p.tail = (p.tail << 8) | (i < lowerName.size() ? static_cast<unsigned char>(lowerName[i]) : 0U);
  }
  return p;
}

constexpr auto kPackedNames = [] {
  std::array<PackedName, kTagClasses.size()> packed{};
  for (std::size_t i = 0; i < kTagClasses.size(); ++i) packed[i] = pack(kTagClasses[i].name);
  return packed;
}();

static_assert(std::is_sorted(kPackedNames.begin(), kPackedNames.end()), "the tag table must stay sorted");
static_assert(std::all_of(kTagClasses.begin(), kTagClasses.end(),
                          [](const TagName& t) { return !t.name.empty() && t.name.size() <= kLongestTagName; }),
              "every tag name fits the packed form");

std::size_t indentWidth(std::int32_t level) {
  return 2 * static_cast<std::size_t>(std::clamp<std::int32_t>(level, 0, kMaxIndentLevel));
}

void appendEncoded(std::string& out, std::string_view text) {
  // Characters 128..255 are the two-byte sequences C2 80 .. C3 BF; a lead byte C2 or C3 can never
  // be a continuation byte, so checking the following byte is all the UTF-8 decoding needed, and an
  // invalid sequence is copied as it stands.
  std::size_t start = 0;
  const std::size_t n = text.size();
  for (std::size_t i = 0; i + 1 < n; ++i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead != 0xC2 && lead != 0xC3) continue;
    const auto trail = static_cast<unsigned char>(text[i + 1]);
    if (trail < 0x80 || trail > 0xBF) continue;
    const unsigned code = ((lead & 0x1FU) << 6) | (trail & 0x3FU);
    if (code < 162 || code == 173) continue;
    out.append(text, start, i - start);
    char ref[6] = {'&', '#', static_cast<char>('0' + code / 100), static_cast<char>('0' + code / 10 % 10),
                   static_cast<char>('0' + code % 10), ';'};
    out.append(ref, sizeof ref);
    ++i;
    start = i + 1;
  }
  out.append(text, start, n - start);
}

std::size_t countCharacters(std::string_view text) {
  std::size_t count = 0;
  for (char c : text) {
    if (!ascii::isContinuationByte(c)) ++count;
  }
  return count;
}

constexpr auto npos = std::string_view::npos;

// Where the design-time attribute whose "designtime" starts at `found` ends: at the first blank
// outside double quotes, just after the closing double quote of its value, or at the tag's closing
// ">" (the end of the tag when it has none).
std::size_t designtimeEnd(std::string_view tag, std::size_t found) {
  const std::size_t tagEnd = (!tag.empty() && tag.back() == '>') ? tag.size() - 1 : tag.size();
  bool quoted = false;
  for (std::size_t i = found; i < tagEnd; ++i) {
    if (tag[i] == '"') {
      if (quoted) return i + 1;
      quoted = true;
    } else if (tag[i] == ' ' && !quoted) {
      return i;
    }
  }
  return tagEnd;
}

// The text of `tag` without any copy of `what`, copies taken left to right without overlapping.
std::string withoutCopies(std::string_view tag, std::string_view what) {
  std::string out;
  out.reserve(tag.size());
  std::size_t at = 0;
  for (std::size_t hit; (hit = tag.find(what, at)) != npos; at = hit + what.size()) out.append(tag, at, hit - at);
  out.append(tag, at, npos);
  return out;
}

// The rule as it is written: find the next "designtime", take the text from the blank before its
// attribute up to the attribute's end, and remove every copy of that text from the tag. A removal
// can join what stood on either side of a copy, and one attribute's text can be the beginning of
// another's, so the tag is rewritten for each attribute; tags for which that matters are handled
// here, all others by the single pass below.
std::string removeDesigntimeStepByStep(std::string tag) {
  std::size_t from = 0;
  for (std::size_t found; (found = ascii::findNoCase(tag, kDesigntime, from)) != npos;) {
    const std::size_t blank = found == 0 ? npos : tag.rfind(' ', found - 1);
    if (blank == npos) {  // in the tag name: not an attribute
      from = found + 1;
      continue;
    }
    const std::string text = tag.substr(blank, designtimeEnd(tag, found) - blank);
    tag = withoutCopies(tag, text);
    from = blank;
  }
  return tag;
}

// Appends `tag` without its design-time attributes to `out` in one pass, when the rule comes down
// to cutting each attribute out where it stands; answers false, with `out` unchanged, when it does
// not. That is so when the attributes are separate words (no other "designtime" inside one, each
// followed by a blank or the tag's end, so that no removal joins text), none is the beginning of
// another's text, and ">" only closes the tag: every copy of an attribute's text is then another
// attribute with exactly that text.
bool removeSeparateDesigntime(std::string_view tag, std::string& out, std::vector<std::string_view>& texts) {
  const std::size_t close = tag.find('>');
  if (close != npos && close + 1 != tag.size()) return false;
  const std::size_t tagEnd = close == npos ? tag.size() : close;
  const std::size_t firstBlank = tag.find(' ');
  texts.clear();
  std::size_t found = ascii::findNoCase(tag, kDesigntime);
  while (found != npos && (firstBlank == npos || found < firstBlank)) {
    found = ascii::findNoCase(tag, kDesigntime, found + 1);  // in the tag name: not an attribute
  }
  const std::size_t mark = out.size();
  std::size_t copied = 0;  // the end of the last attribute taken, which is a blank
  while (found != npos) {
    // There is a blank before `found`: the first blank of the tag, or the one ending the attribute
    // taken before, so the attributes taken never overlap.
    std::size_t blank = found - 1;
    while (tag[blank] != ' ') --blank;
    const std::size_t end = designtimeEnd(tag, found);
    const std::size_t next = ascii::findNoCase(tag, kDesigntime, found + 1);
    if ((end != tagEnd && tag[end] != ' ') || (next != npos && next < end)) {
      out.resize(mark);
      return false;
    }
    texts.push_back(tag.substr(blank, end - blank));
    out.append(tag, copied, blank - copied);
    copied = end;
    found = next;
  }
  std::sort(texts.begin(), texts.end());
  for (std::size_t i = 1; i < texts.size(); ++i) {
    if (texts[i] != texts[i - 1] && texts[i].starts_with(texts[i - 1])) {
      out.resize(mark);
      return false;
    }
  }
  out.append(tag, copied, npos);
  return true;
}

void removeDesigntimeInto(std::string_view tag, std::string& out, std::vector<std::string_view>& texts) {
  if (!removeSeparateDesigntime(tag, out, texts)) out += removeDesigntimeStepByStep(std::string(tag));
}

void lowerCaseTagInto(std::string_view tag, std::string& out) {
  if (tag.substr(0, 4) == "<!--") {
    out.append(tag);
    return;
  }
  const std::size_t n = tag.size();
  bool inValue = false;  // after the "=" of the current blank-separated word
  std::size_t i = 0;
  auto copyQuoted = [&] {
    // A quoted run, blanks included, is copied as written through its closing quote.
    const char quote = tag[i];
    const std::size_t close = tag.find(quote, i + 1);
    const std::size_t end = close == std::string_view::npos ? n : close + 1;
    out.append(tag, i, end - i);
    i = end;
  };
  while (i < n) {
    const char c = tag[i];
    if (c == ' ') {
      out.push_back(c);
      inValue = false;
      ++i;
    } else if (inValue) {
      if ((c == '"' || c == '\'') && tag[i - 1] == '=') {
        copyQuoted();
      } else {
        out.push_back(c);
        ++i;
      }
    } else if (c == '=') {
      out.push_back(c);
      inValue = true;
      ++i;
    } else if ((c == '"' || c == '\'') && i > 0 && tag[i - 1] == ' ') {
      copyQuoted();  // a quoted word of a declaration, such as a DOCTYPE's public identifier
    } else {
      out.push_back(ascii::toLower(c));
      ++i;
    }
  }
}

// Builds the result of the clean-up. Entities are written as the text is appended (the references
// never contain a line break, so the layout decisions see the same line ends), and the column of
// the last line is kept as characters are appended instead of being counted back from the end.
class Formatter {
 public:
  explicit Formatter(std::size_t expectedSize) { out_.reserve(expectedSize + expectedSize / 4 + 16); }
  // The output handed on to `sink` in pieces instead of kept whole.
  explicit Formatter(const Cleaner::Sink* sink) : sink_(sink) { out_.reserve(kPieceSize + kPieceSize / 4); }

  void text(std::string_view text) {
    if (ascii::isBlankOnly(text)) return;
    if (atLineStart()) putIndent();
    std::size_t column = column_;
    std::size_t chunk = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (ascii::isContinuationByte(text[i])) continue;
      ++column;
      if (column >= kWrapColumn && text[i] == ' ') {
        appendEncoded(out_, text.substr(chunk, i + 1 - chunk));
        chunk = i + 1;
        lineBreak();
        putIndent();
        column = column_;
      }
    }
    appendEncoded(out_, text.substr(chunk));
    column_ = column;
    handOn();
  }

  void tag(std::string_view rawTag) {
    tag_.clear();
    lowerCaseTagInto(rawTag, tag_);
    const bool closing = tag_.size() >= 2 && tag_[0] == '<' && tag_[1] == '/';
    const std::size_t nameStart = closing ? 2 : 1;
    std::size_t nameEnd = nameStart;
    while (nameEnd < tag_.size() && tag_[nameEnd] != ' ' && tag_[nameEnd] != '>') ++nameEnd;
    const std::string_view name = std::string_view(tag_).substr(nameStart, nameEnd - nameStart);
    const bool lineStart = atLineStart();
    switch (tagClass(name)) {
      case TagClass::Inline:
      case TagClass::Other:
        put(tag_);
        break;
      case TagClass::Break:
        put(tag_);
        lineBreak();
        break;
      case TagClass::Block:
        if (closing) {
          lower();
          if (lineStart) putIndent();
          put(tag_);
          lineBreak();
        } else {
          if (!lineStart) lineBreak();
          putIndent();
          put(tag_);
          raise();
        }
        break;
      case TagClass::Line:
        if (closing) {
          put(tag_);
          lineBreak();
        } else {
          if (!lineStart) lineBreak();
          putIndent();
          put(tag_);
        }
        break;
      case TagClass::Container:
        if (!lineStart) lineBreak();
        if (closing) lower();
        putIndent();
        put(tag_);
        lineBreak();
        if (!closing) raise();
        break;
      case TagClass::Structure:
        if (!lineStart) lineBreak();
        putIndent();
        put(tag_);
        lineBreak();
        break;
    }
    handOn();
  }

  // Text left over after the last tag is not inside any element and becomes a paragraph of its own.
  void strayText(std::string_view text) {
    if (ascii::isBlankOnly(text)) return;
    put("<p>");
    put(text);
    put("</p>");
    handOn();
  }

  std::string take() { return std::move(out_); }

  // What is left of the output, to the sink.
  void finish() {
    if (sink_ && !out_.empty()) (*sink_)(out_);
    out_.clear();
  }

 private:
  bool atLineStart() const {
    const std::size_t n = out_.size();
    return n >= 2 && out_[n - 2] == kLineBreak[0] && out_[n - 1] == kLineBreak[1];
  }
  void put(std::string_view raw) {
    appendEncoded(out_, raw);
    column_ += countCharacters(raw);
  }
  void lineBreak() {
    out_.append(kLineBreak);
    column_ = 0;
    handOn();
  }
  // Hands a full piece on to the sink, keeping the last two bytes, which tell whether a line has
  // just begun.
  void handOn() {
    if (!sink_ || out_.size() < kPieceSize) return;
    const std::size_t kept = kLineBreak.size();
    (*sink_)(std::string_view(out_).substr(0, out_.size() - kept));
    out_.erase(0, out_.size() - kept);
  }
  // The level stops at the ends of its range instead of wrapping round (it takes gigabytes of tags
  // to get there).
  void raise() {
    if (level_ < INT32_MAX) ++level_;
  }
  void lower() {
    if (level_ > INT32_MIN) --level_;
  }
  void putIndent() {
    const std::size_t width = indentWidth(level_);
    out_.append(width, ' ');
    column_ += width;
  }

  const Cleaner::Sink* sink_ = nullptr;
  std::string out_;
  std::string tag_;
  std::size_t column_ = 0;  // characters after the last line break, before entity encoding
  std::int32_t level_ = 0;
};

constexpr bool isWhiteSpace(char c) { return c == ' ' || c == '\r' || c == '\n' || c == '\t'; }

// One pass over the raw text, which may come in pieces split anywhere. White space is normalised
// on the way in, exactly as a separate preparation would do it: line feeds, carriage returns and
// tabs become blanks, runs of blanks become one, a blank between ">" and "<" disappears and both
// ends are trimmed. A blank is held back until the next other byte shows whether it survives. Only
// the text or tag being collected is buffered, never a prepared copy of the whole document.
class Pass {
 public:
  explicit Pass(Formatter& result) : result_(result) {}

  void feed(std::string_view html) {
    const std::size_t n = html.size();
    std::size_t i = 0;
    while (i < n) {
      const char c = html[i];
      if (isWhiteSpace(c)) {
        blankPending_ = started_;
        ++i;
        continue;
      }
      if (blankPending_ && !(c == '<' && last_ == '>')) segment_.push_back(' ');
      blankPending_ = false;
      started_ = true;
      last_ = c;
      if (c == '<') {
        if (!inTag_) result_.text(segment_);  // inside a tag, a "<" drops the unfinished tag instead
        segment_.assign(1, '<');
        inTag_ = true;
        ++i;
      } else if (c == '>' && inTag_) {
        segment_.push_back('>');
        if (ascii::findNoCase(segment_, kDesigntime) == std::string_view::npos) {
          result_.tag(segment_);
        } else {
          tag_.clear();
          removeDesigntimeInto(segment_, tag_, texts_);
          result_.tag(tag_);
        }
        segment_.clear();
        inTag_ = false;
        ++i;
      } else {
        std::size_t end = i + 1;
        while (end < n && !isWhiteSpace(html[end]) && html[end] != '<' && html[end] != '>') ++end;
        segment_.append(html, i, end - i);
        last_ = html[end - 1];
        i = end;
      }
    }
  }

  void end() {
    if (!inTag_) result_.strayText(segment_);  // a tag never closed is dropped
  }

 private:
  Formatter& result_;
  std::string segment_;  // the text since the last tag, or the tag being read
  std::string tag_;
  std::vector<std::string_view> texts_;
  bool inTag_ = false;
  bool blankPending_ = false;
  bool started_ = false;  // a byte other than white space has been taken
  char last_ = 0;         // the last byte taken other than a blank
};

std::string cleanText(std::string_view html) {
  Formatter result(html.size());
  Pass pass(result);
  pass.feed(html);
  pass.end();
  return result.take();
}

}  // namespace

std::optional<std::string> cleanHTML(std::string_view html) {
  std::optional<std::string> cleaned;
  guarded("cleanHTML", [&] { cleaned = cleanText(html); });
  return cleaned;
}

struct Cleaner::Parts {
  explicit Parts(const Sink* sink) : formatter(sink), pass(formatter) {}
  Formatter formatter;
  Pass pass;
};

Cleaner::Cleaner(Sink sink) : sink_(std::move(sink)), parts_(std::make_unique<Parts>(&sink_)) {}

Cleaner::~Cleaner() = default;

void Cleaner::feed(std::string_view html) { parts_->pass.feed(html); }

void Cleaner::finish() {
  parts_->pass.end();
  parts_->formatter.finish();
}

std::string encodeEntities(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  appendEncoded(out, text);
  return out;
}

TagClass tagClass(std::string_view name) {
  if (!name.empty() && name.back() == '/') name.remove_suffix(1);
  // A NUL byte would read as padding in the packed form.
  if (name.empty() || name.size() > kLongestTagName || name.find('\0') != std::string_view::npos) {
    return TagClass::Other;
  }
  char lower[kLongestTagName];
  for (std::size_t i = 0; i < name.size(); ++i) lower[i] = ascii::toLower(name[i]);
  const PackedName key = pack(std::string_view(lower, name.size()));
  const auto it = std::lower_bound(kPackedNames.begin(), kPackedNames.end(), key);
  if (it == kPackedNames.end() || !(*it == key)) return TagClass::Other;
  return kTagClasses[static_cast<std::size_t>(it - kPackedNames.begin())].cls;
}

std::string removeDesigntime(std::string_view tag) {
  std::string out;
  std::vector<std::string_view> texts;
  removeDesigntimeInto(tag, out, texts);
  return out;
}

std::string lowerCaseTag(std::string_view tag) {
  std::string out;
  out.reserve(tag.size());
  lowerCaseTagInto(tag, out);
  return out;
}

std::string indent(std::int32_t level) { return std::string(indentWidth(level), ' '); }

std::size_t lastLineLength(std::string_view text) {
  const std::size_t lineFeed = text.rfind('\n');
  return countCharacters(lineFeed == std::string_view::npos ? text : text.substr(lineFeed + 1));
}

}  // namespace vellmar::html
