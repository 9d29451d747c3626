#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vellmar::server {

struct Options {
  std::string host = "127.0.0.1";
  int port = 8080;
  std::filesystem::path dataDir = "data";
  std::filesystem::path webDir;   // the browser build: vellmar.js, vellmar.wasm, vellmar.css
  std::filesystem::path demoDir;  // demo pages and their assets
  double sessionMinutes = 20;     // a session lapses after this long without a request
  std::size_t maxUpload = 2097152;  // largest image file accepted, in bytes
  std::size_t maxDocument = 67108864;  // largest document a save stores, in bytes
  double headerSeconds = 5;  // the time a client has for its request line and headers
  std::vector<std::string> allowOrigins;  // other origins whose pages may save, upload and delete
  std::int64_t keepVersions = 100;        // versions kept per document, the newest ones
  std::int64_t maxSessions = 10000;       // live sessions kept; beyond, the least recently used end
};

// The reference server: serves the component under /vellmar/, the demo page at / and the
// server scripts under /cms/, on a SQLite database and a media folder in the data folder
// ("vellmar.db", "media/"). One instance owns one listening socket.
class ReferenceServer {
 public:
  explicit ReferenceServer(Options options);
  ~ReferenceServer();
  ReferenceServer(const ReferenceServer&) = delete;
  ReferenceServer& operator=(const ReferenceServer&) = delete;

  // Prepares the data folder and binds the socket. Returns an empty string on success, otherwise
  // a one-line reason fit for the operator.
  std::string start();
  // Serves until stop() is called (from a signal handler's thread or another thread).
  void run();
  void stop();
  // Whether run() has begun to accept connections (and not yet returned).
  bool running() const;
  int boundPort() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The largest request body the server reads: room for the largest upload and for the largest
// document percent-encoded at its worst (three bytes a byte), plus the form around it.
std::size_t maxRequestBody(const Options& options);

// Parses the command line; on failure returns false with a one-line message in `error`.
bool parseOptions(int argc, char** argv, Options& options, std::string& error);

}  // namespace vellmar::server
