#include "http/charset.h"

#include <algorithm>
#include <array>

namespace vellmar::http {

namespace {

enum class Charset { utf8, windows1252, utf16le, utf16be };

constexpr char32_t kReplacement = 0xFFFD;

// Code points of the Windows-1252 bytes 0x80-0x9F. The five bytes the code page leaves unassigned
// stand for the C1 control of the same number, as browsers read them.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// The labels browsers accept for each charset decoded here.
constexpr std::string_view kUtf8Labels[] = {"unicode-1-1-utf-8", "unicode11utf8", "unicode20utf8",
                                            "utf-8", "utf8", "x-unicode20utf8"};
constexpr std::string_view kWindows1252Labels[] = {
    "ansi_x3.4-1968", "ascii",      "cp1252",     "cp819",           "csisolatin1", "ibm819",
    "iso-8859-1",     "iso-ir-100", "iso8859-1",  "iso88591",        "iso_8859-1",  "iso_8859-1:1987",
    "l1",             "latin1",     "us-ascii",   "windows-1252",    "x-cp1252"};
constexpr std::string_view kUtf16LeLabels[] = {"csunicode", "iso-10646-ucs-2", "ucs-2",  "unicode",
                                               "unicodefeff", "utf-16",        "utf-16le"};
constexpr std::string_view kUtf16BeLabels[] = {"unicodefffe", "utf-16be"};

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view trimSpace(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

std::string lowered(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = lower(c);
  return out;
}

template <std::size_t N>
bool among(std::string_view label, const std::string_view (&labels)[N]) {
  return std::find(std::begin(labels), std::end(labels), label) != std::end(labels);
}

Charset charsetNamed(std::string_view label) {
  if (among(label, kUtf8Labels)) return Charset::utf8;
  if (among(label, kWindows1252Labels)) return Charset::windows1252;
  if (among(label, kUtf16LeLabels)) return Charset::utf16le;
  if (among(label, kUtf16BeLabels)) return Charset::utf16be;
  return Charset::utf8;  // named so, or a charset not known here
}

void appendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

// The UTF-8 decoder browsers use: each maximal ill-formed subsequence becomes one U+FFFD. Writes to
// `out` when given; answers whether the input was well-formed.
bool decodeUtf8(std::string_view in, std::string* out) {
  bool valid = true;
  std::size_t needed = 0, seen = 0;
  char32_t cp = 0;
  unsigned char lowerBound = 0x80, upperBound = 0xBF;
  std::size_t sequenceStart = 0;
  for (std::size_t i = 0; i < in.size(); ++i) {
    const auto b = static_cast<unsigned char>(in[i]);
    if (needed == 0) {
      if (b < 0x80) {
        if (out) out->push_back(static_cast<char>(b));
        continue;
      }
      sequenceStart = i;
      if (b >= 0xC2 && b <= 0xDF) {
        needed = 1, cp = b & 0x1F;
      } else if (b >= 0xE0 && b <= 0xEF) {
        if (b == 0xE0) lowerBound = 0xA0;
        if (b == 0xED) upperBound = 0x9F;
        needed = 2, cp = b & 0x0F;
      } else if (b >= 0xF0 && b <= 0xF4) {
        if (b == 0xF0) lowerBound = 0x90;
        if (b == 0xF4) upperBound = 0x8F;
        needed = 3, cp = b & 0x07;
      } else {
        valid = false;
        if (out) appendUtf8(*out, kReplacement);
      }
      continue;
    }
    if (b < lowerBound || b > upperBound) {
      // The sequence so far is one replacement; this byte starts afresh.
      valid = false;
      if (out) appendUtf8(*out, kReplacement);
      needed = seen = 0;
      lowerBound = 0x80, upperBound = 0xBF;
      --i;
      continue;
    }
    lowerBound = 0x80, upperBound = 0xBF;
    cp = (cp << 6) | (b & 0x3F);
    if (++seen == needed) {
      if (out) out->append(in.substr(sequenceStart, needed + 1));
      needed = seen = 0;
    }
  }
  if (needed != 0) {
    valid = false;
    if (out) appendUtf8(*out, kReplacement);
  }
  return valid;
}

std::string decodeWindows1252(std::string_view in) {
  std::string out;
  out.reserve(in.size() + in.size() / 4);
  for (char ch : in) {
    const auto b = static_cast<unsigned char>(ch);
    appendUtf8(out, b >= 0x80 && b < 0xA0 ? char32_t{kHighControls[b - 0x80]} : char32_t{b});
  }
  return out;
}

std::string decodeUtf16(std::string_view in, bool bigEndian) {
  std::string out;
  out.reserve(in.size());
  const auto unit = [&](std::size_t i) -> char32_t {
    const auto a = static_cast<unsigned char>(in[i]);
    const auto b = static_cast<unsigned char>(in[i + 1]);
    return bigEndian ? (char32_t{a} << 8) | b : (char32_t{b} << 8) | a;
  };
  std::size_t i = 0;
  if (in.size() >= 2 && unit(0) == 0xFEFF) i = 2;
  for (; i + 1 < in.size(); i += 2) {
    const char32_t u = unit(i);
    if (u >= 0xD800 && u <= 0xDBFF && i + 3 < in.size()) {
      const char32_t next = unit(i + 2);
      if (next >= 0xDC00 && next <= 0xDFFF) {
        appendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (next - 0xDC00));
        i += 2;
        continue;
      }
    }
    appendUtf8(out, (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : u);
  }
  if (i < in.size()) appendUtf8(out, kReplacement);  // an odd byte at the end
  return out;
}

}  // namespace

std::string charsetOf(std::string_view contentType) {
  std::size_t semicolon = contentType.find(';');
  while (semicolon != std::string_view::npos) {
    const std::size_t next = contentType.find(';', semicolon + 1);
    const std::string_view param = contentType.substr(
        semicolon + 1, next == std::string_view::npos ? std::string_view::npos : next - semicolon - 1);
    semicolon = next;
    const auto eq = param.find('=');
    if (eq == std::string_view::npos || lowered(trimSpace(param.substr(0, eq))) != "charset")
      continue;
    std::string_view value = trimSpace(param.substr(eq + 1));
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
      value = value.substr(1, value.size() - 2);
    return lowered(trimSpace(value));
  }
  return {};
}

bool isTextAnswer(std::string_view contentType) {
  const std::string type = lowered(trimSpace(contentType.substr(0, contentType.find(';'))));
  if (type.empty() || !charsetOf(contentType).empty()) return true;
  const auto endsWith = [&](std::string_view tail) {
    return type.size() >= tail.size() && type.compare(type.size() - tail.size(), tail.size(), tail) == 0;
  };
  return type.rfind("text/", 0) == 0 || endsWith("/xml") || endsWith("+xml") ||
         endsWith("/json") || endsWith("+json") || type == "application/javascript" ||
         type == "application/ecmascript" || type == "application/xhtml+xml";
}

std::string decodeAnswer(std::string_view bytes, std::string_view contentType) {
  if (!isTextAnswer(contentType)) return std::string(bytes);
  switch (charsetNamed(charsetOf(contentType))) {
    case Charset::windows1252:
      return decodeWindows1252(bytes);
    case Charset::utf16le:
      return decodeUtf16(bytes, false);
    case Charset::utf16be:
      return decodeUtf16(bytes, true);
    case Charset::utf8:
      break;
  }
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  return sanitizeUtf8(bytes);
}

std::string decodeOwnedAnswer(std::string bytes, std::string_view contentType) {
  if (!isTextAnswer(contentType)) return bytes;
  const bool utf8 = charsetNamed(charsetOf(contentType)) == Charset::utf8;
  if (utf8 && bytes.compare(0, 3, "\xEF\xBB\xBF") != 0 && isValidUtf8(bytes)) return bytes;
  return decodeAnswer(bytes, contentType);
}

std::string sanitizeUtf8(std::string_view bytes) {
  // Nearly every answer is valid already; checking first saves building a copy byte by byte.
  if (decodeUtf8(bytes, nullptr)) return std::string(bytes);
  std::string out;
  out.reserve(bytes.size() + 16);
  decodeUtf8(bytes, &out);
  return out;
}

bool isValidUtf8(std::string_view bytes) { return decodeUtf8(bytes, nullptr); }

}  // namespace vellmar::http
