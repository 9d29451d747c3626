#include "server_fixture.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vellmar::servertest {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDemoTemplate =
    "<html><body><object type=\"application/x-vellmar\">\n"
    "<param name=\"domain\" value=\"{{DOMAIN}}\">\n"
    "<param name=\"port\" value=\"{{PORT}}\">\n"
    "<param name=\"CookieName1\" value=\"{{COOKIE_NAME}}\">\n"
    "<param name=\"CookieValue1\" value=\"{{COOKIE_VALUE}}\">\n"
    "<param name=\"MaxUploadSize\" value=\"{{MAX_UPLOAD}}\">\n"
    "<param name=\"ContentID\" value=\"{{CONTENT_ID}}\">\n"
    "</object></body></html>\n";

std::string paramValue(const std::string& page, const std::string& name) {
  const std::string key = "<param name=\"" + name + "\" value=\"";
  const auto at = page.find(key);
  if (at == std::string::npos) return {};
  const auto start = at + key.size();
  return page.substr(start, page.find('"', start) - start);
}

}  // namespace

TempDir::TempDir() {
  std::string pattern = (fs::temp_directory_path() / "vellmar-server-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  fs::remove_all(path_, ec);
}

ServerProcess::ServerProcess(fs::path dataDir, std::vector<std::string> extraArgs)
    : dataDir_(std::move(dataDir)) {
  // The server needs a browser build and a demo page; these stand-ins keep the tests independent
  // of the web build.
  const fs::path site = dataDir_.parent_path() / (dataDir_.filename().string() + "-site");
  fs::create_directories(site / "web");
  fs::create_directories(site / "demo");
  writeFile(site / "web" / "vellmar.js", "// stand-in\n");
  writeFile(site / "demo" / "index.html", kDemoTemplate);

  std::vector<std::string> args = {VELLMAR_SERVER_BINARY, "--host", "127.0.0.1", "--port", "0",
                                   "--data", dataDir_.string(), "--web", (site / "web").string(),
                                   "--demo", (site / "demo").string()};
  args.insert(args.end(), extraArgs.begin(), extraArgs.end());

  int out[2];
  if (pipe(out) != 0) throw std::runtime_error("pipe failed");
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) {
    dup2(out[1], STDOUT_FILENO);
    close(out[0]);
    close(out[1]);
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(out[1]);

  // The first line names the port: "vellmar-server listening on http://127.0.0.1:PORT/".
  std::string line;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (line.find('\n') == std::string::npos && std::chrono::steady_clock::now() < deadline) {
    pollfd p{out[0], POLLIN, 0};
    if (poll(&p, 1, 200) <= 0) continue;
    char buf[256];
    const ssize_t n = read(out[0], buf, sizeof buf);
    if (n <= 0) break;
    line.append(buf, static_cast<size_t>(n));
  }
  close(out[0]);
  const auto at = line.find("127.0.0.1:");
  if (at == std::string::npos) {
    kill();
    throw std::runtime_error("vellmar-server did not start: '" + line + "'");
  }
  port_ = std::atoi(line.c_str() + at + 10);
}

ServerProcess::~ServerProcess() {
  if (pid_ > 0) stop();
}

void ServerProcess::kill() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
}

int ServerProcess::stop() {
  if (pid_ <= 0) return -1;
  ::kill(pid_, SIGTERM);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Outcome exchange(int port, int method, const std::string& path,
                 const std::function<void(http::ctlHttpRequest&)>& prepare) {
  native::PollLoop loop;
  http::ctlHttpRequest request(loop);
  Outcome outcome;
  bool done = false;
  request.events.complete = [&](const std::string& body) {
    outcome = {"complete", body, "", 0};
    done = true;
  };
  request.events.parseError = [&](int number, const std::string& message, const std::string& text) {
    outcome = {"parseError", text, message, number};
    done = true;
  };
  request.events.error = [&](int number, const std::string& description) {
    outcome = {"error", "", description, number};
    done = true;
  };
  request.events.timeout = [&] {
    outcome = {"timeout", "", "", 0};
    done = true;
  };
  request.reset();
  if (prepare) prepare(request);
  request.http(method, "127.0.0.1", path, 20, port);
  loop.runUntil([&] { return done; });
  return outcome;
}

std::string demoSession(int port, std::string* page) {
  const Outcome o = exchange(port, 0, "/");
  if (page) *page = o.body;
  return paramValue(o.body, "CookieValue1");
}

Outcome sessionExchange(int port, const std::string& session, int method, const std::string& path,
                        const std::function<void(http::ctlHttpRequest&)>& addFields) {
  return exchange(port, method, path, [&](http::ctlHttpRequest& r) {
    r.addCookieVariable("vmSession", session);
    if (addFields) addFields(r);
  });
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void writeFile(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

std::string sqlite(const fs::path& db, const std::string& sql) {
  const std::string command = "sqlite3 '" + db.string() + "' \"" + sql + "\" 2>&1";
  std::string out;
  if (FILE* p = popen(command.c_str(), "r")) {
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    pclose(p);
  }
  while (!out.empty() && (out.back() == '\n' || out.back() == '\r')) out.pop_back();
  return out;
}

fs::path cliBinary() {
  return fs::path(VELLMAR_SERVER_BINARY).parent_path().parent_path() / "cli" / "vellmar";
}

CliRun runCli(const std::vector<std::string>& args, const std::string& input) {
  CliRun run;
  TempDir dir;
  const fs::path in = dir.path() / "in";
  const fs::path out = dir.path() / "out";
  const fs::path err = dir.path() / "err";
  writeFile(in, input);
  const auto quoted = [](const std::string& word) {
    std::string q = "'";
    for (char c : word) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
  };
  std::string command = quoted(cliBinary().string());
  for (const auto& arg : args) command += " " + quoted(arg);
  command += " <" + quoted(in.string()) + " >" + quoted(out.string()) + " 2>" + quoted(err.string());
  const int status = std::system(command.c_str());
  if (status != -1 && WIFEXITED(status)) run.status = WEXITSTATUS(status);
  run.out = readFile(out);
  run.err = readFile(err);
  return run;
}

int connectTo(int port, int receiveSeconds) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_port = htons(static_cast<uint16_t>(port));
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof(a)) != 0) {
    ::close(fd);
    return -1;
  }
  const timeval limit{receiveSeconds, 0};
  ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  return fd;
}

bool sendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

std::string readAll(int fd) {
  std::string out;
  char buf[65536];
  for (ssize_t n; (n = ::recv(fd, buf, sizeof(buf), 0)) > 0;) out.append(buf, static_cast<std::size_t>(n));
  return out;
}

std::string statusLine(const std::string& answer) { return answer.substr(0, answer.find("\r\n")); }

std::string raw(int port, const std::string& request, bool halfClose) {
  const int fd = connectTo(port);
  sendAll(fd, request);
  if (halfClose) ::shutdown(fd, SHUT_WR);
  std::string answer = readAll(fd);
  ::close(fd);
  return answer;
}

std::string headerOf(const std::string& answer, std::string_view name) {
  const std::string head = answer.substr(0, answer.find("\r\n\r\n"));
  for (std::size_t pos = head.find("\r\n"); pos != std::string::npos;) {
    const std::size_t start = pos + 2;
    const std::size_t end = head.find("\r\n", start);
    const std::string line = head.substr(start, end == std::string::npos ? std::string::npos : end - start);
    const std::size_t colon = line.find(':');
    if (colon == name.size() &&
        std::equal(name.begin(), name.end(), line.begin(), [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
        })) {
      const std::size_t value = line.find_first_not_of(' ', colon + 1);
      return value == std::string::npos ? std::string() : line.substr(value);
    }
    pos = end;
  }
  return {};
}

std::string bodyOf(const std::string& answer) {
  const std::size_t end = answer.find("\r\n\r\n");
  return end == std::string::npos ? std::string() : answer.substr(end + 4);
}

}  // namespace vellmar::servertest
