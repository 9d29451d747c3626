#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Composition of the request text of ctlHttpRequest: one byte string per request, built by
// appending, with the exact header order and spelling each request form uses. Names and values
// handed in are UTF-8 and go out as UTF-8: percent-encoded in the query string, the form body and
// the cookie string, as they are in multipart parts.
namespace vellmar::http {

constexpr int kindText = 0;
constexpr int kindFile = 1;

struct FormVariable {
  std::string name;
  int kind = kindText;
  std::string value;  // for kindFile the local file path
};

struct NameValue {
  std::string name;
  std::string value;
};

// The three variable lists of one request, in the order the caller added the entries. Entries with
// an empty name stay in the lists; each builder decides whether it skips them.
struct RequestVariables {
  std::vector<FormVariable> form;
  std::vector<NameValue> cookies;
  std::vector<NameValue> urls;

  bool hasFile() const;
};

// The build version written into the User-Agent line (each number in decimal without padding).
struct UserAgentVersion {
  unsigned major = 0;
  unsigned minor = 0;
  unsigned revision = 0;
};

// The product's own version, read from the build.
UserAgentVersion buildVersion();

// "User-Agent: Korvath HTTP Control (major.minor.revision)\r\n".
std::string userAgentLine(const UserAgentVersion& version);

// Percent-encoding of query, form and cookie names and values, over the UTF-8 bytes of the text:
// letters, digits and "*-._" stay, every other byte becomes %XX (upper-case hex), so "é" is
// "%C3%A9" and every character of any script travels whole.
std::string urlEncode(std::string_view text);

std::string buildQueryString(const std::vector<NameValue>& urls);  // "" or "?a=1&b=2"
std::string buildFormBody(const std::vector<FormVariable>& form);  // "a=1&b=2"
std::string buildCookieString(const std::vector<NameValue>& cookies);  // "a=1; b=2"
// The pairs of the cookie string, each name and value percent-encoded, entries without a name left
// out: what a transport that cannot write the Cookie header itself sets as cookies.
std::vector<NameValue> encodedCookies(const std::vector<NameValue>& cookies);

// Each builder returns the whole request text; `bodyOffset`, when given, receives where the body
// starts in it (the text's size when there is none).
std::string buildGetRequest(const RequestVariables& vars, std::string_view host,
                            std::string_view path, const UserAgentVersion& version,
                            std::size_t* bodyOffset = nullptr);
std::string buildFormPostRequest(const RequestVariables& vars, std::string_view hostValue,
                                 std::string_view path, const UserAgentVersion& version,
                                 std::size_t* bodyOffset = nullptr);
// `boundary` is the full 49-character boundary (see makeBoundary). Reads every file entry from
// disk; a file that cannot be read throws ProcedureError before anything is built.
std::string buildMultipartRequest(const RequestVariables& vars, std::string_view hostValue,
                                  std::string_view path, const UserAgentVersion& version,
                                  std::string_view boundary, std::size_t* bodyOffset = nullptr);

// `n` letters or digits drawn at random.
std::string makeBoundaryToken(std::size_t n);
// 29 hyphens followed by makeBoundaryToken(20).
std::string makeBoundary();

// The whole file as bytes, unchanged. Throws ProcedureError (53, "File not found") when the file
// cannot be opened and (57, ...) when it cannot be read.
std::string readFileAsText(const std::string& path);
// Where the contents of a form's file parts come from: readFileAsText by default. The page's
// build, which has no file system, reads the bytes of a picked file kept under its name instead.
// A reader throws ProcedureError 53 for a path it does not know.
void setFileReader(std::function<std::string(const std::string& path)> reader);

// The path as sent: a leading "/" when it lacks one, every space written as "%20".
std::string normalizePath(std::string_view path);

// "host" for port 80, otherwise "host:port".
std::string postHostValue(std::string_view host, int port);

}  // namespace vellmar::http
