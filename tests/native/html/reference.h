#pragma once

// Deliberately naive versions of the clean-up and the splicing operations, written step by step
// from their descriptions with plain string operations and no concern for speed. The fast versions
// must agree with them on every input; the unit tests and the fuzz targets compare the two.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "html/cleanup.h"

namespace vellmar::html::reference {

inline std::string lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

inline std::string upper(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

// Case-insensitive search from the start, as a plain search on lower-cased copies.
inline std::size_t find(std::string_view text, std::string_view pattern, std::size_t from = 0) {
  return lower(text).find(lower(pattern), from);
}

inline std::string replaceAll(std::string text, std::string_view what, std::string_view with) {
  std::string out;
  std::size_t at = 0;
  for (std::size_t hit; (hit = text.find(what, at)) != std::string::npos; at = hit + what.size()) {
    out += text.substr(at, hit - at);
    out += with;
  }
  return out + text.substr(at);
}

inline std::string trim(std::string_view s) {
  const auto first = s.find_first_not_of(' ');
  if (first == std::string_view::npos) return "";
  return std::string(s.substr(first, s.find_last_not_of(' ') + 1 - first));
}

inline std::string prepare(std::string_view html) {
  std::string t = trim(html);
  for (char& c : t) {
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
  }
  while (t.find("  ") != std::string::npos) t = replaceAll(t, "  ", " ");
  t = replaceAll(t, "> <", "><");
  return trim(t);
}

// Decodes well-formed UTF-8 sequences; any other byte stands for itself.
inline std::string encodeEntities(std::string_view s) {
  std::string out;
  std::size_t i = 0;
  while (i < s.size()) {
    const auto b = static_cast<unsigned char>(s[i]);
    std::size_t len = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
    long code = -1;
    if (len >= 2 && i + len <= s.size()) {
      code = b & (0xFF >> (len + 1));
      for (std::size_t k = 1; k < len; ++k) {
        const auto c = static_cast<unsigned char>(s[i + k]);
        if ((c & 0xC0) != 0x80) code = -1;
        if (code >= 0) code = (code << 6) | (c & 0x3F);
      }
      if (code >= 0 && ((len == 2 && code < 0x80) || (len == 3 && code < 0x800) || (len == 4 && code < 0x10000)))
        code = -1;  // overlong
    }
    if (code >= 162 && code <= 255 && code != 173) {
      out += "&#" + std::to_string(code) + ";";
      i += len;
    } else if (code >= 0) {
      out.append(s.substr(i, len));
      i += len;
    } else {
      out.push_back(s[i]);
      i += 1;
    }
  }
  return out;
}

// Removes each design-time attribute and every copy of its text, searching on from where the
// removed text began. A copy can be the beginning of a longer attribute, and a removal can join the
// text on either side of a copy.
inline std::string removeDesigntime(std::string tag) {
  std::size_t from = 0;
  for (;;) {
    const std::size_t found = find(tag, "designtime", from);
    if (found == std::string::npos) return tag;
    const std::size_t blank = tag.rfind(' ', found);
    if (blank == std::string::npos) {
      from = found + 1;
      continue;
    }
    const std::size_t end = [&] {
      bool quoted = false;
      const std::size_t stop = (!tag.empty() && tag.back() == '>') ? tag.size() - 1 : tag.size();
      for (std::size_t i = found; i < stop; ++i) {
        if (tag[i] == '"' && quoted) return i + 1;
        if (tag[i] == '"') quoted = true;
        if (tag[i] == ' ' && !quoted) return i;
      }
      return stop;
    }();
    tag = replaceAll(tag, tag.substr(blank, end - blank), "");
    from = blank;
  }
}

inline const char* classOf(const std::string& upperName) {
  static const std::string classes[][2] = {
      {"inline", " A ABBR ACRONYM B BIG CITE CODE DEL DFN EM FONT I IMG INS KBD Q SAMP SMALL SPACER SPAN STRONG "
                 "SUB SUP TT VAR "},
      {"block", " BLOCKQUOTE DD DIV DT H1 H2 H3 H4 H5 H6 P TD TH TR "},
      {"line", " BDO LI LINK AREA BASE BASEFONT BGSOUND BUTTON COL FRAME HR IFRAME ILAYER INPUT LABEL LAYER "
               "LEGEND META OPTGROUP OPTION PARAM PRE SCRIPT SOUND TEXTAREA TITLE "},
      {"container", " APPLET CENTER DL FORM FRAMESET MAP OBJECT OL SELECT TABLE TBODY TFOOT THEAD UL "},
      {"structure", " ADDRESS HTML HEAD BODY CAPTION COLGROUP FIELDSET MARQUEE MULTICOL NOFRAMES NOSCRIPT STYLE "},
      {"break", " BR "},
  };
  if (upperName.empty() || upperName.find(' ') != std::string::npos) return "other";
  for (const auto& c : classes) {
    if (c[1].find(" " + upperName + " ") != std::string::npos) return c[0].c_str();
  }
  return "other";
}

// Two blanks per level, no deeper than the deepest indented level.
inline std::string indent(std::int32_t level) {
  if (level > html::kMaxIndentLevel) level = html::kMaxIndentLevel;
  return level > 0 ? std::string(2 * static_cast<std::size_t>(level), ' ') : "";
}

inline std::size_t lastLineLength(const std::string& result) {
  const std::size_t lf = result.rfind('\n');
  std::size_t n = 0;
  for (std::size_t i = lf == std::string::npos ? 0 : lf + 1; i < result.size(); ++i) {
    if ((static_cast<unsigned char>(result[i]) & 0xC0) != 0x80) ++n;
  }
  return n;
}

inline std::string last2(const std::string& s) { return s.size() >= 2 ? s.substr(s.size() - 2) : s; }

inline std::string formatTag(std::string result, std::string tag, std::int32_t& level, const std::string& lastTwo) {
  const std::string br = "\r\n";
  tag = html::lowerCaseTag(tag);
  const bool closing = tag.rfind("</", 0) == 0;
  std::string name = tag.substr(closing ? 2 : 1);
  name = name.substr(0, name.find_first_of(" >"));
  if (!name.empty() && name.back() == '/') name.pop_back();
  const std::string cls = classOf(upper(name));
  const bool lineStart = lastTwo == br;
  if (cls == "inline" || cls == "other") return result + tag;
  if (cls == "break") return result + tag + br;
  if (cls == "block" && !closing) {
    if (!lineStart) result += br;
    result += indent(level) + tag;
    ++level;
    return result;
  }
  if (cls == "block") {
    --level;
    return lineStart ? result + indent(level) + tag + br : result + tag + br;
  }
  if (cls == "line" && !closing) return (lineStart ? result : result + br) + indent(level) + tag;
  if (cls == "line") return result + tag + br;
  if (!lineStart) result += br;
  if (cls == "container" && closing) --level;
  result += indent(level) + tag + br;
  if (cls == "container" && !closing) ++level;
  return result;
}

inline std::string formatText(std::string result, const std::string& text, std::int32_t level,
                              const std::string& lastTwo) {
  if (trim(text).empty()) return result;
  if (lastTwo == "\r\n") result += indent(level);
  std::size_t col = lastLineLength(result);
  for (char c : text) {
    result += c;
    if ((static_cast<unsigned char>(c) & 0xC0) == 0x80) continue;
    ++col;
    if (col >= 60 && c == ' ') {
      result += "\r\n" + indent(level);
      col = lastLineLength(result);
    }
  }
  return result;
}

inline std::string cleanHTML(std::string_view html) {
  const std::string prepared = prepare(html);
  std::string result, text, tag;
  bool inTag = false;
  std::int32_t level = 0;
  for (char c : prepared) {
    if (c == '<') {
      result = formatText(result, text, level, last2(result));
      text = "";
      tag = "";
      inTag = true;
    }
    if (inTag) {
      tag += c;
    } else {
      text += c;
    }
    if (c == '>' && inTag) {
      tag = removeDesigntime(tag);
      result = formatTag(result, tag, level, last2(result));
      tag = "";
      text = "";
      inTag = false;
    }
  }
  if (!trim(text).empty()) result += "<p>" + text + "</p>";
  return encodeEntities(result);
}

inline std::string removeRange(const std::string& doc, std::int64_t before, std::int64_t after) {
  return doc.substr(0, static_cast<std::size_t>(before)) + doc.substr(static_cast<std::size_t>(after - 1));
}

inline bool hasStylesheetLink(const std::string& doc) {
  const auto s = find(doc, "<link ");
  if (s == std::string::npos) return false;
  const auto e = doc.find('>', s);
  if (e == std::string::npos) return false;
  const std::string tag = doc.substr(s, e - s + 1);
  return find(tag, "stylesheet") != std::string::npos || find(tag, " rel") != std::string::npos;
}

inline bool hasStyleBlock(const std::string& doc) {
  const auto s = find(doc, "<style");
  if (s == std::string::npos) return false;
  const auto g = doc.find('>', s);
  if (g == std::string::npos) return false;
  const auto c = find(doc, "</style", g + 1);
  return c != std::string::npos && doc.find('>', c) != std::string::npos;
}

inline std::string stripEmbeddedStyles(std::string doc) {
  using I = std::int64_t;
  while (hasStylesheetLink(doc)) {
    const auto s = find(doc, "<link ");
    const auto e = doc.find('>', s);
    doc = removeRange(doc, static_cast<I>(s), static_cast<I>(e) + 2);  // 0-based s, e
  }
  while (hasStyleBlock(doc)) {
    const auto s = find(doc, "<style");
    const auto g = doc.find('>', s);
    const auto e = doc.find('>', find(doc, "</style", g + 1));
    doc = removeRange(doc, static_cast<I>(s), static_cast<I>(e) + 2);
  }
  for (const char* marker : {" class=\"", " style=\""}) {
    for (;;) {
      const auto s = find(doc, marker);
      if (s == std::string::npos) break;
      const auto e = doc.find('"', s + 8);
      if (e == std::string::npos) break;
      doc = removeRange(doc, static_cast<I>(s), static_cast<I>(e) + 2);
    }
  }
  return doc;
}

}  // namespace vellmar::html::reference
