#include "server/origin.h"

#include <cctype>

namespace vellmar::server {

std::string originOf(std::string_view text) {
  std::string lower;
  lower.reserve(text.size());
  for (char c : text) lower.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
  std::string_view rest = lower;
  std::string scheme;
  for (const char* s : {"http://", "https://"}) {
    if (rest.substr(0, std::string_view(s).size()) == s) scheme = s;
  }
  if (scheme.empty()) return {};
  rest.remove_prefix(scheme.size());
  std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
  std::string_view host = authority, port;
  const std::size_t close = authority.find(']');
  const std::size_t colon = authority.find(':', close == std::string_view::npos ? 0 : close);
  if (colon != std::string_view::npos) {
    host = authority.substr(0, colon);
    port = authority.substr(colon + 1);
  }
  if (host.empty() || port.find_first_not_of("0123456789") != std::string_view::npos) return {};
  // Letters, digits and the punctuation of names and addresses only: no user name ("a@b"), no path.
  for (char c : host) {
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '[' || c == ']' ||
        c == ':' || c == '_')
      continue;
    return {};
  }
  while (port.size() > 1 && port.front() == '0') port.remove_prefix(1);
  const bool defaultPort = port.empty() || (scheme == "http://" && port == "80") ||
                           (scheme == "https://" && port == "443");
  return scheme + std::string(host) + (defaultPort ? "" : ":" + std::string(port));
}

std::string hostName(std::string_view host, const std::string& fallback) {
  if (host.empty()) return fallback;
  if (host.front() == '[') {
    const auto close = host.find(']');
    if (close == std::string_view::npos) return fallback;
    const std::string_view inner = host.substr(1, close - 1);
    if (inner.empty() || inner.find_first_not_of("0123456789abcdefABCDEF:.") != std::string_view::npos)
      return fallback;
    return std::string(inner);
  }
  if (const auto colon = host.find(':'); colon != std::string_view::npos) host = host.substr(0, colon);
  for (char c : host) {
    const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                    c == '.' || c == '-';
    if (!ok) return fallback;
  }
  return host.empty() ? fallback : std::string(host);
}

bool isSameOriginWrite(std::string_view originHeader, std::string_view refererHeader,
                       std::string_view hostHeader, const std::vector<std::string>& allowed,
                       std::string& reason) {
  const bool hasOrigin = !originHeader.empty();
  if (!hasOrigin && refererHeader.empty()) return true;
  const std::string_view given = hasOrigin ? originHeader : refererHeader;
  const std::string origin = originOf(given);
  // "null" (a sandboxed page, a file, a redirect across sites) is nobody's origin.
  if (!origin.empty()) {
    if (!hostHeader.empty() && origin == originOf("http://" + std::string(hostHeader))) return true;
    for (const auto& a : allowed)
      if (origin == originOf(a)) return true;
  }
  reason = std::string("Forbidden: this request comes from another site (") +
           (hasOrigin ? "Origin " : "Referer ") + std::string(given) +
           "); changes are accepted only from the server's own pages or an origin named with "
           "--allow-origin.";
  return false;
}

}  // namespace vellmar::server
