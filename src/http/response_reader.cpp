#include "http/response_reader.h"

#include <cstddef>
#include <limits>
#include <optional>

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

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// The value of a header line whose name is `lowerName` in any letter case, blanks trimmed.
bool headerValue(std::string_view line, std::string_view lowerName, std::string_view& value) {
  if (line.size() <= lowerName.size() || line[lowerName.size()] != ':') return false;
  for (std::size_t i = 0; i < lowerName.size(); ++i)
    if (lower(line[i]) != lowerName[i]) return false;
  value = line.substr(lowerName.size() + 1);
  while (!value.empty() && (value.front() == ' ' || value.front() == '\t')) value.remove_prefix(1);
  while (!value.empty() && (value.back() == ' ' || value.back() == '\t')) value.remove_suffix(1);
  return true;
}

// The head of one answer block as the body is cut by it.
struct AnswerHead {
  bool terminated = false;         // the headers reached their empty line
  std::size_t bodyStart = 0;
  std::size_t contentLength = 0;   // "Content-length:" in exactly this spelling; 0 when absent
  bool chunked = false;
  // Content-Length in any spelling: not used to cut the body, but a body shorter than it was cut
  // off on the way.
  std::optional<std::size_t> announcedLength;
  std::string contentType;
};

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

AnswerHead readHead(std::string_view text) {
  AnswerHead head;
  head.bodyStart = text.size();
  std::size_t pos = 0;
  for (;;) {
    std::size_t lineEnd;
    const std::string_view line = lineAt(text, pos, lineEnd);
    if (line.empty()) {
      head.terminated = true;
      head.bodyStart = pos + 2;
      break;
    }
    std::string_view value;
    if (line.substr(0, 15) == "Content-length:") {
      // A value that is not a whole number is not a length: the body then runs to the end.
      if (!parseDecimal(trimBlanks(line.substr(15)), head.contentLength)) head.contentLength = 0;
    } else if (trimBlanks(line) == "Transfer-Encoding: chunked") {
      head.chunked = true;
    }
    if (headerValue(line, "content-length", value)) {
      std::size_t length = 0;
      if (parseDecimal(value, length)) head.announcedLength = length;
    } else if (headerValue(line, "content-type", value)) {
      head.contentType.assign(value);
    }
    if (lineEnd == std::string_view::npos) break;
    pos = lineEnd + 2;
  }
  return head;
}

// The body of `text` as `head` cuts it; `detail` receives why it is incomplete, when it is.
std::string cutBody(std::string_view text, const AnswerHead& head, std::string* detail) {
  const std::string_view body =
      head.bodyStart >= text.size() ? std::string_view() : text.substr(head.bodyStart);
  const auto shortOf = [&](std::size_t announced) {
    if (detail && body.size() < announced)
      *detail = "only " + std::to_string(body.size()) + " of the " + std::to_string(announced) +
                " bytes its Content-Length announced arrived";
  };
  if (head.contentLength != 0) {
    shortOf(head.contentLength);
    return std::string(body.substr(0, head.contentLength));
  }
  if (head.chunked) {
    bool complete = false;
    std::string decoded = decodeChunked(body, &complete);
    if (detail && !complete) *detail = "its chunked body ended before the last chunk";
    return decoded;
  }
  if (head.announcedLength) shortOf(*head.announcedLength);
  return std::string(body);
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
    const AnswerHead head = readHead(rest);
    ParsedResponse r;
    r.contentType = head.contentType;
    if (code == "200") {
      // Headers that never end mean the answer was cut off; it is not accepted.
      if (!head.terminated) return unsupportedVersion(version, text);
      std::string cutShort;
      r.body = cutBody(rest, head, &cutShort);
      if (!cutShort.empty()) {
        r.parseErrorNumber = 2;
        r.message = cutShortMessage(requestPath, cutShort);
        r.text = std::move(r.body);
        r.body.clear();
      }
      return r;
    }
    r.parseErrorNumber = 2;
    r.message = "HTTP Error: " + statusErrorText(code, line, requestPath);
    r.text = cutBody(rest, head, nullptr);
    return r;
  }
}

std::string cutShortMessage(std::string_view requestPath, std::string_view detail) {
  std::string message = "HTTP Error: The answer from ";
  message.append(requestPath).append(" was cut short: ").append(detail).append(".");
  return message;
}

std::string extractBody(std::string_view text, bool* terminated) {
  const AnswerHead head = readHead(text);
  if (terminated) *terminated = head.terminated;
  return cutBody(text, head, nullptr);
}

std::string decodeChunked(std::string_view data, bool* complete) {
  if (complete) *complete = false;
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
    if (size == 0 && digits > 0) {  // the last chunk: what follows is trailer
      if (complete) *complete = true;
      break;
    }

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
