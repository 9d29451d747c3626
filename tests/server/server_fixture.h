#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http/http_request.h"
#include "platform/native/poll_loop.h"

namespace vellmar::servertest {

// A vellmar-server process on a free port of 127.0.0.1, with its own data folder and a demo
// page template that shows the session parameters.
class ServerProcess {
 public:
  explicit ServerProcess(std::filesystem::path dataDir, std::vector<std::string> extraArgs = {});
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  int port() const { return port_; }
  const std::filesystem::path& dataDir() const { return dataDir_; }
  // SIGKILL, as a crash would end it; waits for the process.
  void kill();
  // SIGTERM and wait; returns the exit status.
  int stop();

 private:
  std::filesystem::path dataDir_;
  pid_t pid_ = -1;
  int port_ = 0;
};

// A fresh temporary folder, removed with the object.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// How one exchange of the editor's client ended.
struct Outcome {
  std::string event;  // "complete", "parseError", "error" or "timeout"
  std::string body;   // complete: the body; parseError: the text
  std::string message;
  int number = 0;
};

// One request as the editor sends it: a fresh ctlHttpRequest on its own poll loop; `prepare` adds
// the variables after reset.
Outcome exchange(int port, int method, const std::string& path,
                 const std::function<void(http::ctlHttpRequest&)>& prepare = {});

// The session cookie the demo page hands out, taken from the page's CookieValue1 parameter.
std::string demoSession(int port, std::string* page = nullptr);

// An exchange that carries `session` as the editor's CookieName1/CookieValue1 would.
Outcome sessionExchange(int port, const std::string& session, int method, const std::string& path,
                        const std::function<void(http::ctlHttpRequest&)>& addFields = {});

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

// How a run of the command-line tool ended: its exit status (-1 when it did not exit), standard
// output and standard error.
struct CliRun {
  int status = -1;
  std::string out;
  std::string err;
};

// The command-line tool, built beside the server.
std::filesystem::path cliBinary();

// Runs `vellmar` with `args` (each passed as one word), feeding `input` on standard input.
CliRun runCli(const std::vector<std::string>& args, const std::string& input = {});

// Runs the sqlite3 shell on `db` with one statement and returns what it prints.
std::string sqlite(const std::filesystem::path& db, const std::string& sql);

// Raw sockets, for requests the editor's client would never send.
// A connection to 127.0.0.1:`port` whose reads give up after `receiveSeconds`; -1 when refused.
int connectTo(int port, int receiveSeconds = 10);
bool sendAll(int fd, std::string_view bytes);
// Everything the server sends until it closes (or the receive limit passes).
std::string readAll(int fd);
std::string statusLine(const std::string& answer);
// One request on its own connection; `halfClose` shuts the sending side once it is sent.
std::string raw(int port, const std::string& request, bool halfClose = false);
// The value of header `name` in a raw answer's head ("" when absent), matched without case.
std::string headerOf(const std::string& answer, std::string_view name);
// The body of a raw answer: what follows its head.
std::string bodyOf(const std::string& answer);

}  // namespace vellmar::servertest
