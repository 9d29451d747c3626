#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellmar::server {

// One part of a multipart/form-data body; the views point into the body it was parsed from.
struct FormPart {
  std::string name;
  std::optional<std::string> filename;  // present for file parts, exactly as sent
  std::string contentType;
  std::string_view content;
};

// The boundary parameter of a multipart/form-data Content-Type, or empty.
std::string multipartBoundary(std::string_view contentType);

// Splits a multipart/form-data body. The closing delimiter may end the body without a line end
// (the editor sends it that way) or be followed by one. Filenames are taken verbatim: a Windows
// path keeps its backslashes. Returns nothing when the body is not well-formed.
std::optional<std::vector<FormPart>> parseMultipart(std::string_view body,
                                                    std::string_view boundary);

}  // namespace vellmar::server
