#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellmar::server {

// The name/value pairs of an application/x-www-form-urlencoded text (a query string or a form
// body), in order: "+" is a blank, %XX a byte; a malformed escape stays as it was sent.
std::vector<std::pair<std::string, std::string>> parseUrlEncoded(std::string_view text);

// Whether a Content-Type names a URL-encoded form.
bool isUrlEncodedForm(std::string_view contentType);

// The fields of a request: the URL's variables first, then those of its form body. The server
// reads form bodies itself: the HTTP library refuses any URL-encoded body over 8 KB, which would
// refuse every save of a real document.
class FormFields {
 public:
  FormFields() = default;
  void add(std::vector<std::pair<std::string, std::string>> fields);
  void add(std::string name, std::string value);
  // The first value of `name`; nothing when the request does not carry it.
  std::optional<std::string> get(std::string_view name) const;
  bool has(std::string_view name) const { return get(name).has_value(); }

 private:
  std::vector<std::pair<std::string, std::string>> fields_;
};

// The document number a request names in vmContentID; nothing when the variable is absent or
// blank. Throws RequestError 400 for anything but a positive number (blanks around it allowed).
std::optional<std::int64_t> documentIdOf(const FormFields& fields);

}  // namespace vellmar::server
