#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vellmar::server {

// An origin as "scheme://host[:port]" in lower case, without the scheme's default port; empty
// when `text` is no origin of an http or https URL. A whole URL gives its origin (a Referer).
std::string originOf(std::string_view text);

// Whether a state-changing request may go ahead: when it carries an Origin header (or, without
// one, a Referer), that origin must be the server's own (http:// and the Host the request was sent
// to) or one of `allowed`. A request with neither header (the native client, command-line tools)
// is not a browser's cross-site request and goes ahead. On refusal `reason` names the origin.
// The host name of a Host header ("[::1]:8080" gives "::1", "Example.com:80" "Example.com"), so
// that the demo page has the editor talk to the origin the browser used; `fallback` when the
// header is empty or holds anything but a name, an IPv4 address or a bracketed IPv6 address.
std::string hostName(std::string_view hostHeader, const std::string& fallback);

bool isSameOriginWrite(std::string_view originHeader, std::string_view refererHeader,
                       std::string_view hostHeader, const std::vector<std::string>& allowed,
                       std::string& reason);

}  // namespace vellmar::server
