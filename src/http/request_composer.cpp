#include "http/request_composer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "common/diagnostics.h"
#include "common/entropy.h"
#include "common/version.h"

namespace vellmar::http {

namespace {

constexpr std::string_view kCrLf = "\r\n";

// What reads the contents of a form's file parts (setFileReader).
std::function<std::string(const std::string&)>& fileReader() {
  static std::function<std::string(const std::string&)> reader = readFileAsText;
  return reader;
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

std::string urlEncode(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size() * 3);
  for (char ch : text) {
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

std::vector<NameValue> encodedCookies(const std::vector<NameValue>& cookies) {
  std::vector<NameValue> out;
  for (const auto& c : cookies)
    if (!c.name.empty()) out.push_back({urlEncode(c.name), urlEncode(c.value)});
  return out;
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
      appendLine(body, fileReader()(f.value));
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
  static std::mt19937 engine(entropySeed());
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
  // Plain stdio: the streams library would pull the whole locale machinery into the page's module.
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!in) throw ProcedureError(53, "File not found: " + path);
  std::string contents;
  // On the heap: the page's module has a small stack.
  std::vector<char> buffer(std::size_t{1} << 16);
  std::size_t n = 0;
  while ((n = std::fread(buffer.data(), 1, buffer.size(), in.get())) > 0) contents.append(buffer.data(), n);
  if (std::ferror(in.get())) throw ProcedureError(57, "Device I/O error: " + path);
  return contents;
}

void setFileReader(std::function<std::string(const std::string& path)> reader) {
  fileReader() = reader ? std::move(reader) : readFileAsText;
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
