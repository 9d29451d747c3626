#include "http/response_reader.h"

#include <cstddef>
#include <limits>

namespace vellmar::http {

namespace {

constexpr std::string_view kCrLf = "\r\n";
constexpr std::size_t kMax = std::numeric_limits<std::size_t>::max();

std::string_view trimBlanks(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

// Saturating: a value beyond size_t reads as the largest size, which is cut to the data anyway.
bool parseDecimal(std::string_view s, std::size_t& value) {
  if (s.empty()) return false;
  std::size_t v = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    const auto digit = static_cast<std::size_t>(c - '0');
    v = v > (kMax - digit) / 10 ? kMax : v * 10 + digit;
  }
  value = v;
  return true;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string_view lineAt(std::string_view text, std::size_t pos, std::size_t& end) {
  end = text.find(kCrLf, pos);
  return text.substr(pos, (end == std::string_view::npos ? text.size() : end) - pos);
}

ParsedResponse unsupportedVersion(std::string_view version, std::string_view text) {
  ParsedResponse r;
  r.parseErrorNumber = 1;
  r.message =
      "The response returned by the server used a version of HTTP unsupported by the HTTP "
      "control.  The version was ";
  r.message.append(version);
  r.text.assign(text);
  return r;
}

}  // namespace

std::string statusErrorText(std::string_view statusCode, std::string_view statusLine,
                            std::string_view requestPath) {
  if (statusCode == "404") return std::string(requestPath) + " was not found.";
  return std::string(statusLine);
}

ParsedResponse parseResponse(std::string_view text, std::string_view requestPath) {
  std::size_t pos = 0;
  for (;;) {
    std::size_t lineEnd;
    const std::string_view line = lineAt(text, pos, lineEnd);
    const auto firstSpace = line.find(' ');
    const std::string_view version = line.substr(0, firstSpace);
    // A status line of fewer than two words cannot be read; it is reported like a foreign version.
    if (version.substr(0, 7) != "HTTP/1." || firstSpace == std::string_view::npos)
      return unsupportedVersion(version, text);
    const auto codeStart = firstSpace + 1;
    const std::string_view code = line.substr(codeStart, line.find(' ', codeStart) - codeStart);

    if (code == "100") {
      // The interim block ends at its empty line; without one nothing is left to read.
      const auto blank = text.find("\r\n\r\n", pos);
      pos = blank == std::string_view::npos ? text.size() : blank + 4;
      continue;
    }

    const std::string_view rest = text.substr(pos);
    bool terminated = false;
    ParsedResponse r;
    if (code == "200") {
      r.body = extractBody(rest, &terminated);
      // Headers that never end mean the answer was cut off; it is not accepted.
      if (!terminated) return unsupportedVersion(version, text);
      return r;
    }
    r.parseErrorNumber = 2;
    r.message = "HTTP Error: " + statusErrorText(code, line, requestPath);
    r.text = extractBody(rest);
    return r;
  }
}

std::string extractBody(std::string_view text, bool* terminated) {
  std::size_t contentLength = 0;
  bool chunked = false;
  bool sawEmptyLine = false;
  std::size_t bodyStart = text.size();
  std::size_t pos = 0;
  for (;;) {
    std::size_t lineEnd;
    const std::string_view line = lineAt(text, pos, lineEnd);
    if (line.empty()) {
      sawEmptyLine = true;
      bodyStart = pos + 2;
      break;
    }
    if (line.substr(0, 15) == "Content-length:") {
      // A value that is not a whole number is not a length: the body then runs to the end.
      if (!parseDecimal(trimBlanks(line.substr(15)), contentLength)) contentLength = 0;
    } else if (trimBlanks(line) == "Transfer-Encoding: chunked") {
      chunked = true;
    }
    if (lineEnd == std::string_view::npos) break;
    pos = lineEnd + 2;
  }
  if (terminated) *terminated = sawEmptyLine;
  if (bodyStart >= text.size()) return {};

  const std::string_view body = text.substr(bodyStart);
  if (contentLength != 0) return std::string(body.substr(0, contentLength));
  if (chunked) return decodeChunked(body);
  return std::string(body);
}

std::string decodeChunked(std::string_view data) {
  std::string out;
  out.reserve(data.size());  // the decoded body is never longer than its coding
  std::size_t p = 0;
  while (p < data.size()) {
    const auto lineEnd = data.find(kCrLf, p);
    if (lineEnd == std::string_view::npos) break;  // a size line cut off by the end of the data
    const std::string_view sizeLine = trimBlanks(data.substr(p, lineEnd - p));

    std::size_t size = 0;
    std::size_t digits = 0;
    for (char c : sizeLine) {
      const int d = hexDigit(c);
      if (d < 0) break;
      size = size > (kMax >> 4) ? kMax : (size << 4) | static_cast<std::size_t>(d);
      ++digits;
    }
    if (size == 0 && digits > 0) break;  // the last chunk: what follows is trailer

    p = lineEnd + 2;
    const std::size_t available = data.size() - p;
    if (size >= available) {
      out.append(data.substr(p));
      break;
    }
    out.append(data.substr(p, size));
    p += size + 2;
  }
  return out;
}

}  // namespace vellmar::http
