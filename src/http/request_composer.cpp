#include "http/request_composer.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>

#include "common/diagnostics.h"
#include "common/version.h"

namespace vellmar::http {

namespace {

constexpr std::string_view kCrLf = "\r\n";

// Code points of the Windows-1252 bytes 0x80-0x9F; 0 marks the five bytes the code page leaves
// undefined, which round-trip as the C1 control of the same number.
constexpr char32_t kHighControls[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// The Windows-1252 byte of a code point, or -1 when the code page has none.
int windows1252Byte(char32_t cp) {
  if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<int>(cp);
  for (int i = 0; i < 32; ++i) {
    const char32_t mapped = kHighControls[i];
    if (mapped == cp) return 0x80 + i;
    if (mapped == 0 && cp == static_cast<char32_t>(0x80 + i)) return 0x80 + i;
  }
  return -1;
}

// Decodes one UTF-8 sequence at `i`; returns its length, or 0 when the bytes there are not valid
// UTF-8 (the caller then takes the single byte as it is).
std::size_t decodeUtf8(std::string_view s, std::size_t i, char32_t& cp) {
  const auto b0 = static_cast<unsigned char>(s[i]);
  std::size_t len;
  char32_t min;
  if (b0 < 0x80) {
    cp = b0;
    return 1;
  } else if ((b0 & 0xE0) == 0xC0) {
    len = 2, cp = b0 & 0x1Fu, min = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    len = 3, cp = b0 & 0x0Fu, min = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    len = 4, cp = b0 & 0x07u, min = 0x10000;
  } else {
    return 0;
  }
  if (i + len > s.size()) return 0;
  for (std::size_t k = 1; k < len; ++k) {
    const auto b = static_cast<unsigned char>(s[i + k]);
    if ((b & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (b & 0x3Fu);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  return len;
}

bool isUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '*' ||
         c == '-' || c == '.' || c == '_';
}

// Joins the encoded pairs of `entries` whose name is not empty.
template <class Entries>
std::string joinEncoded(const Entries& entries, std::string_view first, std::string_view separator) {
  std::string out;
  for (const auto& e : entries) {
    if (e.name.empty()) continue;
    out.append(out.empty() ? first : separator);
    out.append(urlEncode(e.name));
    out.push_back('=');
    out.append(urlEncode(e.value));
  }
  return out;
}

void appendLine(std::string& out, std::string_view a, std::string_view b = {}) {
  out.append(a);
  out.append(b);
  out.append(kCrLf);
}

std::string inQuotes(std::string_view s) {
  std::string out;
  out.reserve(s.size() + 2);
  out.push_back('"');
  out.append(s);
  out.push_back('"');
  return out;
}

unsigned leadingNumber(const char*& p) {
  unsigned value = 0;
  while (*p >= '0' && *p <= '9') value = value * 10 + static_cast<unsigned>(*p++ - '0');
  if (*p == '.') ++p;
  return value;
}

}  // namespace

bool RequestVariables::hasFile() const {
  for (const auto& f : form)
    if (f.kind == kindFile) return true;
  return false;
}

UserAgentVersion buildVersion() {
  const char* p = productVersion();
  UserAgentVersion v;
  v.major = leadingNumber(p);
  v.minor = leadingNumber(p);
  v.revision = leadingNumber(p);
  return v;
}

std::string userAgentLine(const UserAgentVersion& v) {
  std::string line = "User-Agent: Korvath HTTP Control (";
  line += std::to_string(v.major) + "." + std::to_string(v.minor) + "." +
          std::to_string(v.revision) + ")\r\n";
  return line;
}

std::string toWindows1252(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  std::size_t i = 0;
  while (i < utf8.size()) {
    char32_t cp = 0;
    std::size_t len = decodeUtf8(utf8, i, cp);
    if (len == 0) {
      out.push_back(utf8[i]);
      ++i;
      continue;
    }
    const int byte = windows1252Byte(cp);
    if (byte >= 0) out.push_back(static_cast<char>(byte));
    i += len;
  }
  return out;
}

std::string urlEncode(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  const std::string bytes = toWindows1252(text);
  std::string out;
  out.reserve(bytes.size() * 3);
  for (char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    if (isUnreserved(c)) {
      out.push_back(ch);
    } else {
      out.push_back('%');
      out.push_back(kHex[c >> 4]);
      out.push_back(kHex[c & 0x0F]);
    }
  }
  return out;
}

std::string buildQueryString(const std::vector<NameValue>& urls) {
  return joinEncoded(urls, "?", "&");
}

std::string buildFormBody(const std::vector<FormVariable>& form) {
  return joinEncoded(form, "", "&");
}

std::string buildCookieString(const std::vector<NameValue>& cookies) {
  return joinEncoded(cookies, "", "; ");
}

std::string buildGetRequest(const RequestVariables& vars, std::string_view host,
                            std::string_view path, const UserAgentVersion& version,
                            std::size_t* bodyOffset) {
  const std::string cookies = buildCookieString(vars.cookies);
  std::string out = "GET ";
  out.append(path);
  out.append(buildQueryString(vars.urls));
  out.append(" HTTP/1.1\r\n");
  appendLine(out, "Cache-Control: no-cache");
  if (!cookies.empty()) appendLine(out, "Cookie: ", cookies);
  appendLine(out, "Host: ", host);
  out.append(userAgentLine(version));
  appendLine(out, "Connection: Close");
  out.append(kCrLf);
  if (bodyOffset) *bodyOffset = out.size();
  return out;
}

std::string buildFormPostRequest(const RequestVariables& vars, std::string_view hostValue,
                                 std::string_view path, const UserAgentVersion& version,
                                 std::size_t* bodyOffset) {
  const std::string cookies = buildCookieString(vars.cookies);
  const std::string body = buildFormBody(vars.form);
  std::string out = "POST ";
  out.append(path);
  out.append(buildQueryString(vars.urls));
  out.append(" HTTP/1.1\r\n");
  appendLine(out, "Cache-Control: no-cache");
  if (!cookies.empty()) appendLine(out, "Cookie: ", cookies);
  appendLine(out, "Host: ", hostValue);
  out.append(userAgentLine(version));
  appendLine(out, "Content-Type: application/x-www-form-urlencoded");
  appendLine(out, "Content-length: ", std::to_string(body.size()));
  appendLine(out, "Connection: Close");
  out.append(kCrLf);
  if (bodyOffset) *bodyOffset = out.size();
  out.append(body);
  return out;
}

std::string buildMultipartRequest(const RequestVariables& vars, std::string_view hostValue,
                                  std::string_view path, const UserAgentVersion& version,
                                  std::string_view boundary, std::size_t* bodyOffset) {
  std::string body;
  for (const auto& f : vars.form) {
    body.append("--");
    appendLine(body, boundary);
    if (f.kind == kindText) {
      appendLine(body, "Content-Disposition: form-data; name=", inQuotes(f.name));
      body.append(kCrLf);
      appendLine(body, f.value);
    } else {
      const auto dot = f.value.rfind('.');
      const std::string_view extension =
          dot == std::string::npos ? std::string_view(f.value)
                                   : std::string_view(f.value).substr(dot + 1);
      appendLine(body, "Content-Disposition: form-data; name=",
                 inQuotes(f.name) + "; filename=" + inQuotes(f.value));
      appendLine(body, "Content-Type: image/", extension);
      body.append(kCrLf);
      appendLine(body, readFileAsText(f.value));
    }
  }
  if (!vars.form.empty()) {
    body.append("--");
    body.append(boundary);
    body.append("--");
  }

  const std::string cookies = buildCookieString(vars.cookies);
  std::string out = "POST ";
  out.reserve(body.size() + 512);
  out.append(path);
  out.append(buildQueryString(vars.urls));
  out.append(" HTTP/1.1\r\n");
  appendLine(out, "Accept-Language: en-us");
  appendLine(out, "Content-Type: multipart/form-data; boundary=", boundary);
  out.append(userAgentLine(version));
  appendLine(out, "Host: ", hostValue);
  if (!body.empty()) appendLine(out, "Content-Length: ", std::to_string(body.size()));
  appendLine(out, "Connection: Close");
  appendLine(out, "Cache-Control: no-cache");
  if (!cookies.empty()) appendLine(out, "Cookie: ", cookies);
  out.append(kCrLf);
  if (bodyOffset) *bodyOffset = out.size();
  out.append(body);
  return out;
}

std::string makeBoundaryToken(std::size_t n) {
  // Seeded once from the clock and the system's entropy: drawing a fresh clock seed for every
  // character would repeat the same draw within one clock tick.
  static std::mt19937 engine = [] {
    std::random_device device;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::seed_seq seq{device(), static_cast<unsigned>(now), static_cast<unsigned>(now >> 32)};
    return std::mt19937(seq);
  }();
  std::uniform_real_distribution<double> draw(0.0, 1.0);
  std::string token;
  token.reserve(n);
  while (token.size() < n) {
    const auto code = static_cast<int>(draw(engine) * 255.0 + 0.5);
    const bool accepted =
        (code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z');
    if (accepted) token.push_back(static_cast<char>(code));
  }
  return token;
}

std::string makeBoundary() { return std::string(29, '-') + makeBoundaryToken(20); }

std::string readFileAsText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw ProcedureError(53, "File not found: " + path);
  std::string contents;
  in.seekg(0, std::ios::end);
  const auto size = in.tellg();
  if (size < 0) throw ProcedureError(57, "Device I/O error: " + path);
  contents.resize(static_cast<std::size_t>(size));
  in.seekg(0, std::ios::beg);
  if (size > 0 && !in.read(contents.data(), static_cast<std::streamsize>(size)))
    throw ProcedureError(57, "Device I/O error: " + path);
  return contents;
}

std::string normalizePath(std::string_view path) {
  std::string out;
  out.reserve(path.size() + 8);
  if (path.empty() || path.front() != '/') out.push_back('/');
  for (char c : path) {
    if (c == ' ')
      out.append("%20");
    else
      out.push_back(c);
  }
  return out;
}

std::string postHostValue(std::string_view host, int port) {
  std::string out(host);
  if (port != 80) {
    out.push_back(':');
    out.append(std::to_string(port));
  }
  return out;
}

}  // namespace vellmar::http
