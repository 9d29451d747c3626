#include "server/multipart.h"
#include "server/text.h"

#include <cctype>

namespace vellmar::server {

namespace {

// The value of parameter `key` in a header value such as `form-data; name="a"; filename="b"`.
std::optional<std::string> headerParameter(std::string_view value, std::string_view key) {
  std::size_t pos = value.find(';');
  while (pos != std::string_view::npos) {
    std::string_view rest = trim(value.substr(pos + 1));
    const auto eq = rest.find('=');
    if (eq == std::string_view::npos) return std::nullopt;
    const std::string_view name = trim(rest.substr(0, eq));
    rest = trim(rest.substr(eq + 1));
    std::string_view found;
    std::size_t consumed = 0;
    if (!rest.empty() && rest.front() == '"') {
      const auto close = rest.find('"', 1);
      if (close == std::string_view::npos) return std::nullopt;
      found = rest.substr(1, close - 1);
      consumed = close + 1;
    } else {
      consumed = std::min(rest.find(';'), rest.size());
      found = trim(rest.substr(0, consumed));
    }
    if (equalsNoCase(name, key)) return std::string(found);
    const std::size_t base = static_cast<std::size_t>(rest.data() - value.data()) + consumed;
    pos = value.find(';', base);
  }
  return std::nullopt;
}

}  // namespace

std::string multipartBoundary(std::string_view contentType) {
  const auto type = trim(contentType.substr(0, contentType.find(';')));
  if (!equalsNoCase(type, "multipart/form-data")) return {};
  return headerParameter(contentType, "boundary").value_or("");
}

std::optional<std::vector<FormPart>> parseMultipart(std::string_view body,
                                                    std::string_view boundary) {
  if (boundary.empty() || boundary.size() > 200) return std::nullopt;
  const std::string delimiter = "--" + std::string(boundary);
  const std::string separator = "\r\n" + delimiter;

  std::vector<FormPart> parts;
  std::size_t pos = 0;
  if (body.substr(0, delimiter.size()) != delimiter) {
    const auto first = body.find(separator);  // a preamble before the first delimiter
    if (first == std::string_view::npos) return std::nullopt;
    pos = first + 2;
  }
  for (;;) {
    pos += delimiter.size();
    if (body.substr(pos, 2) == "--") return parts;  // closing delimiter, with or without CR LF
    if (body.substr(pos, 2) != "\r\n") return std::nullopt;
    pos += 2;

    const auto headerEnd = body.find("\r\n\r\n", pos);
    if (headerEnd == std::string_view::npos) return std::nullopt;
    FormPart part;
    bool named = false;
    std::string_view headers = body.substr(pos, headerEnd - pos);
    while (!headers.empty()) {
      const auto eol = headers.find("\r\n");
      const std::string_view line = headers.substr(0, eol);
      headers = eol == std::string_view::npos ? std::string_view{} : headers.substr(eol + 2);
      const auto colon = line.find(':');
      if (colon == std::string_view::npos) return std::nullopt;
      const std::string_view field = trim(line.substr(0, colon));
      const std::string_view value = trim(line.substr(colon + 1));
      if (equalsNoCase(field, "Content-Disposition")) {
        auto name = headerParameter(value, "name");
        if (!name) return std::nullopt;
        part.name = *name;
        part.filename = headerParameter(value, "filename");
        named = true;
      } else if (equalsNoCase(field, "Content-Type")) {
        part.contentType = std::string(value);
      }
    }
    if (!named) return std::nullopt;

    const std::size_t contentStart = headerEnd + 4;
    const auto next = body.find(separator, contentStart);
    if (next == std::string_view::npos) return std::nullopt;
    part.content = body.substr(contentStart, next - contentStart);
    parts.push_back(std::move(part));
    pos = next + 2;
  }
}

}  // namespace vellmar::server
