#pragma once

#include <string>
#include <string_view>

// The character form of answers. Text inside the editor is UTF-8; an answer's bytes are turned into
// that text by the charset its Content-Type names, so that a server speaking another single-byte
// code page is still read correctly. Requests need no conversion: they are composed from UTF-8
// text and go out as UTF-8.
namespace vellmar::http {

// The charset parameter of a Content-Type value, lower-cased and unquoted; "" when there is none.
std::string charsetOf(std::string_view contentType);

// Whether an answer of this Content-Type is text: no Content-Type at all, text/*, an XML, JSON or
// script type, or any type that names a charset. Everything else (images, octet streams) is data
// and is handed on byte for byte.
bool isTextAnswer(std::string_view contentType);

// The answer's bytes as UTF-8 text. Text answers are decoded by their charset: UTF-8 when none is
// named or the name is not known here, Windows-1252 for it and the labels browsers read as it
// (ISO-8859-1, Latin-1, US-ASCII), UTF-16 in either byte order. A UTF-8 byte order mark is dropped
// and bytes that are not valid in the charset become U+FFFD, as a browser decodes them. Data
// answers come back unchanged.
std::string decodeAnswer(std::string_view bytes, std::string_view contentType);
// The same for bytes the caller gives up: an answer that needs no change (nearly every one) is
// handed on as it is, without a copy of a document that may run to megabytes.
std::string decodeOwnedAnswer(std::string bytes, std::string_view contentType);

// `bytes` as valid UTF-8: every byte that does not begin a well-formed sequence becomes U+FFFD.
std::string sanitizeUtf8(std::string_view bytes);

// Whether `bytes` is well-formed UTF-8 throughout.
bool isValidUtf8(std::string_view bytes);

}  // namespace vellmar::http
