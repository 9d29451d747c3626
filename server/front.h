#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace vellmar::server {

// What the front allows a client before its request is handed on.
struct FrontLimits {
  std::chrono::milliseconds headerTime{5000};  // from the connection to the end of the headers
  std::chrono::milliseconds bodyPause{10000};  // the longest silence inside a body
  std::size_t bodyBytesPerSecond = 32768;      // a body may take 10 s plus its size at this rate
  std::size_t maxRequestLine = 8192;
  std::size_t maxHeaderBytes = 65536;  // request line and headers together
  std::size_t maxHeaderCount = 100;
  std::size_t maxBody = 0;
  std::size_t maxConnections = 1000;  // open connections the front holds at once
  std::size_t relayThreads = 16;
  int backlog = 1024;
};

// How far a request's head (request line and headers) has come, as read so far.
struct HeadCheck {
  enum class State { incomplete, complete, refused };
  State state = State::incomplete;
  int status = 0;          // refused: the status to answer
  std::string reason;      // refused: the text to answer
  std::size_t headEnd = 0;        // complete: the bytes of the head, blank line included
  std::size_t contentLength = 0;  // complete: the body's length
  bool expectContinue = false;    // complete: the client waits for "100 Continue"
  std::size_t expectBegin = 0, expectEnd = 0;  // complete: the Expect line, to leave out on the way on
};

// Reads the head at the start of `buffered` within `limits`: incomplete while its end has not
// arrived and no limit is crossed; refused with 414 (request line), 431 (headers), 411 (a body
// without a length) or 413 (a body over the limit), 400 for a head that is no HTTP request.
HeadCheck checkHead(std::string_view buffered, const FrontLimits& limits);

// The whole answer the front gives on its own: status line, a short text, "Connection: close".
std::string frontAnswer(int status, std::string_view text);

// `request` with "br" left out of its Accept-Encoding header (the head ends at `headEnd`); an
// Accept-Encoding that names nothing else is left out whole. The HTTP library behind the front
// compresses with brotli at its best quality, which costs some 1.5 ms per kilobyte of answer: the
// document of every load and the script of every page would wait for it. gzip takes a thirtieth
// of that for a few per cent more bytes.
void leaveOutBrotli(std::string& request, std::size_t headEnd);

// The front of the server: accepts connections on its own socket (with a long listen backlog),
// reads each request in one poll loop within the limits above, answers what it refuses itself,
// and hands each complete request to a relay thread that passes it to the HTTP library on a
// loopback port and the answer back. A slow, idle or oversized client therefore costs a file
// descriptor and its bytes, never a worker; a client that half-closes after its request still gets
// its answer; and a refused request's body is read and dropped for a moment after the answer, so
// the client sees the answer instead of a reset.
class Front {
 public:
  explicit Front(FrontLimits limits);
  ~Front();
  Front(const Front&) = delete;
  Front& operator=(const Front&) = delete;

  // Binds the public socket; returns the bound port, or -1 with `error` set.
  int bind(const std::string& host, int port, std::string& error);
  // Serves until stop(), passing requests to 127.0.0.1:`innerPort`.
  void run(int innerPort);
  void stop();
  bool running() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace vellmar::server
