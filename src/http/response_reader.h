#pragma once

#include <string>
#include <string_view>

// Cutting a received HTTP answer into status, headers and body. All positions and lengths are
// size_t: nothing here is bounded below the size of the text.
namespace vellmar::http {

// What parseResponse found. `parseErrorNumber` is 0 when the answer was accepted: then `body` holds
// the body. Otherwise the request failed: number 1 (the status line is not HTTP/1.x, or the
// answer cannot be read at all) or 2 (a status other than 100 and 200, or an answer cut short),
// with `message` and `text` the arguments of the parseError event and `body` empty. Body and text
// are the bytes as they came; `contentType` says how to read them.
struct ParsedResponse {
  std::string body;
  int parseErrorNumber = 0;
  std::string message;
  std::string text;
  std::string contentType;

  bool failed() const { return parseErrorNumber != 0; }
};

// The whole received text once the server closed the connection. `requestPath` words the 404
// message.
ParsedResponse parseResponse(std::string_view text, std::string_view requestPath);

// The error text of a final status other than 200: the path for 404, the status line otherwise.
std::string statusErrorText(std::string_view statusCode, std::string_view statusLine,
                            std::string_view requestPath);

// The message of an answer that ended before all of it arrived: "HTTP Error: The answer from " +
// path + " was cut short: " + `detail` + ".". A cut-off document must never pass for the whole one.
std::string cutShortMessage(std::string_view requestPath, std::string_view detail);

// The body of one answer block (status line, headers, empty line, body). `terminated`, when given,
// tells whether the headers reached an empty line at all.
std::string extractBody(std::string_view text, bool* terminated = nullptr);

// Decodes chunked transfer coding. Chunk extensions are ignored, a truncated chunk gives what is
// there, and decoding stops at the last (zero-size) chunk so trailer lines add nothing.
// `complete`, when given, tells whether the last chunk was reached with every chunk whole.
std::string decodeChunked(std::string_view data, bool* complete = nullptr);

}  // namespace vellmar::http
