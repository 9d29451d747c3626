#include "server/server.h"

#include <httplib.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <optional>
#include <system_error>
#include <thread>

#include "common/version.h"
#include "server/database.h"
#include "server/documents.h"
#include "server/editor_files.h"
#include "server/front.h"
#include "server/media.h"
#include "server/origin.h"
#include "server/scripts.h"
#include "server/seed.h"
#include "server/sessions.h"
#include "server/text.h"

namespace vellmar::server {

namespace fs = std::filesystem;

namespace {

// Keep-alive connections each hold a worker, so the pool is larger than the machine's cores.
constexpr std::size_t kWorkerThreads = 16;

std::chrono::milliseconds sessionLifetime(double minutes) {
  return std::chrono::milliseconds(static_cast<std::int64_t>(std::llround(minutes * 60000.0)));
}

FrontLimits frontLimits(const Options& o) {
  FrontLimits limits;
  limits.headerTime = std::chrono::milliseconds(std::llround(o.headerSeconds * 1000.0));
  limits.maxBody = maxRequestBody(o);
  limits.relayThreads = kWorkerThreads;
  return limits;
}

}  // namespace

struct ReferenceServer::Impl {
  explicit Impl(Options o)
      : options(std::move(o)),
        db(options.dataDir / "vellmar.db"),
        sessions(db, sessionLifetime(options.sessionMinutes), options.maxSessions),
        documents(db, options.keepVersions),
        media(db, options.dataDir / "media"),
        scripts(db, sessions, documents, media, options.maxUpload, options.maxDocument,
                options.allowOrigins),
        front(frontLimits(options)),
        editorFiles(options.webDir) {}

  Options options;
  Database db;
  SessionStore sessions;
  DocumentStore documents;
  MediaStore media;
  Scripts scripts;
  httplib::Server http;
  Front front;
  EditorFiles editorFiles;
  int port = 0;       // the public port, the front's
  int innerPort = 0;  // the library's, on the loopback interface
  int innerSocket = -1;

  void serveDemoPage(const httplib::Request& req, httplib::Response& res);
  // The document this browser saved last, when it still exists; "" otherwise.
  std::string lastSavedDocument(const std::string& cookieHeader);
};

namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  std::string out;
  out.reserve(text.size());
  std::size_t pos = 0;
  for (std::size_t hit; (hit = text.find(from, pos)) != std::string::npos; pos = hit + from.size()) {
    out.append(text, pos, hit - pos);
    out.append(to);
  }
  out.append(text, pos, std::string::npos);
  text.swap(out);
}

// The data folder must exist and take a file before the server accepts its first request, so that
// a misconfigured folder is reported at start and not at the first save.
std::string prepareDataDir(const fs::path& dir) {
  std::error_code ec;
  fs::create_directories(dir, ec);
  if (ec) return "cannot create data folder " + dir.string() + ": " + ec.message();
  const fs::path probe = dir / ".write-test";
  {
    std::ofstream out(probe, std::ios::binary | std::ios::trunc);
    if (!out || !(out << "ok") || !out.flush())
      return "cannot write to data folder " + dir.string() + ": " + std::strerror(errno);
  }
  fs::remove(probe, ec);
  return {};
}

const char* statusText(int status) {
  switch (status) {
    case 400: return "Bad request.";
    case 403: return "Forbidden.";
    case 404: return "Not found.";
    case 405: return "Method not allowed.";
    case 413: return "The request is too large.";
    case 414: return "The request line is too long.";
    case 415: return "Unsupported media type.";
    case 503: return "The server is busy; try again.";
    default: return "The request failed.";
  }
}

}  // namespace

std::string ReferenceServer::Impl::lastSavedDocument(const std::string& cookieHeader) {
  const std::string text = SessionStore::cookieValue(cookieHeader, kLastDocumentCookie);
  if (text.empty() || text.size() > 18 || text.find_first_not_of("0123456789") != std::string::npos)
    return {};
  const std::int64_t id = std::stoll(text);
  return id > 0 && documents.versionCount(id) > 0 ? std::to_string(id) : std::string();
}

void ReferenceServer::Impl::serveDemoPage(const httplib::Request& req, httplib::Response& res) {
  std::string page = readWholeFile(options.demoDir / "index.html").value_or(std::string());
  if (page.empty()) {
    res.status = 500;
    res.set_content("The demo page is missing.", "text/plain");
    return;
  }
  // Every visit gets a session of its own, and the one the browser brought ends: a token that
  // somebody else planted in this browser (a page on another port of the host can set cookies
  // for it) is never carried on. Other editors of this browser go on with the new one, which the
  // browser sends in place of the old.
  const std::string presented =
      SessionStore::cookieValue(req.get_header_value("Cookie"), SessionStore::kCookieName);
  const std::string token = sessions.create();
  if (!presented.empty()) sessions.end(presented);

  const auto lifetimeSeconds = sessions.lifetime().count() / 1000;
  // The editor's keep-alive must come well within the session's lifetime.
  const auto keepAlive = std::clamp<std::int64_t>(lifetimeSeconds / 2, 1, 300);

  replaceAll(page, "{{DOMAIN}}", hostName(req.get_header_value("Host"), options.host));
  replaceAll(page, "{{PORT}}", std::to_string(port));
  replaceAll(page, "{{VERSION}}", productVersion());
  replaceAll(page, "{{COOKIE_NAME}}", SessionStore::kCookieName);
  replaceAll(page, "{{COOKIE_VALUE}}", token);
  replaceAll(page, "{{CONTENT_ID}}", lastSavedDocument(req.get_header_value("Cookie")));
  replaceAll(page, "{{MAX_UPLOAD}}", std::to_string(options.maxUpload));
  replaceAll(page, "{{KEEPALIVE_SECONDS}}", std::to_string(keepAlive));
  res.set_header("Set-Cookie", std::string(SessionStore::kCookieName) + "=" + token +
                                   "; Path=/; HttpOnly; SameSite=Strict");
  res.set_header("Cache-Control", "no-store");
  res.set_content(page, "text/html; charset=utf-8");
}

ReferenceServer::ReferenceServer(Options options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

ReferenceServer::~ReferenceServer() = default;

std::string ReferenceServer::start() {
  auto& o = impl_->options;
  if (auto err = prepareDataDir(o.dataDir); !err.empty()) return err;
  if (!fs::is_regular_file(o.webDir / "vellmar.js"))
    return "the browser build is missing: no vellmar.js in " + o.webDir.string() +
           " (run `make build`)";
  try {
    impl_->db.open();
    impl_->media.prepare();
    seedIfNew(impl_->db, impl_->media);
  } catch (const std::exception& e) {
    return std::string("cannot prepare the data folder: ") + e.what();
  }

  auto& http = impl_->http;
  http.new_task_queue = [] { return new httplib::ThreadPool(kWorkerThreads); };
  // One request per connection. The editor sends "Connection: Close", which the library only
  // recognises in lower case; without this every editor request would wait out the keep-alive
  // time before its answer is complete (the editor reads to the server's close).
  http.set_keep_alive_max_count(1);
  // Large enough for the largest document and image; an image or document beyond its own limit
  // is read and then refused with its own message, a body beyond this is refused by the library
  // with 413 before it is read.
  http.set_payload_max_length(maxRequestBody(o));
  // The library listens on a loopback port of its own behind the front. Its backlog is fixed at
  // five inside the library; the socket is remembered here so that it can be raised.
  http.set_socket_options([this](socket_t sock) {
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    impl_->innerSocket = sock;
  });
  http.Get("/vellmar/(.+)", [this](const httplib::Request& req, httplib::Response& res) {
    impl_->editorFiles.serve(req.matches[1].str(), req, res);
  });
  http.set_mount_point("/demo", o.demoDir.string());

  http.Get("/", [this](const httplib::Request& req, httplib::Response& res) {
    try {
      impl_->serveDemoPage(req, res);
    } catch (const std::exception& e) {
      res.status = 503;
      res.set_content(std::string("The session could not be created: ") + e.what() + "\n",
                      "text/plain");
    }
  });
  impl_->scripts.install(http);

  http.set_exception_handler(
      [](const httplib::Request&, httplib::Response& res, std::exception_ptr) {
        res.status = 500;
        res.set_content("Internal error.\n", "text/plain");
      });
  const std::size_t bodyLimit = maxRequestBody(o);
  http.set_error_handler([bodyLimit](const httplib::Request& req, httplib::Response& res) {
    if (res.body.empty() && res.status == 413) {
      res.set_content("413 Payload Too Large: the request is larger than the server's limit of " +
                          std::to_string(bodyLimit) + " bytes.\n",
                      "text/plain");
    } else if (res.body.empty()) {
      res.set_content(std::to_string(res.status) + " " + statusText(res.status) + " " + req.path +
                          "\n",
                      "text/plain");
    }
  });

  impl_->innerPort = http.bind_to_any_port("127.0.0.1");
  if (impl_->innerPort <= 0) return "cannot listen on a loopback port for the scripts";
  if (impl_->innerSocket >= 0) ::listen(impl_->innerSocket, 1024);
  std::string error;
  impl_->port = impl_->front.bind(o.host, o.port, error);
  if (impl_->port < 0) return error;
  return {};
}

void ReferenceServer::run() {
  std::thread library([this] { impl_->http.listen_after_bind(); });
  impl_->front.run(impl_->innerPort);
  // The front has ended every exchange it had handed on, so the library's workers are free. A stop
  // that came before the library began to listen would be lost: wait for it, briefly.
  for (int i = 0; i < 400 && !impl_->http.is_running(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  impl_->http.stop();
  library.join();
}

void ReferenceServer::stop() { impl_->front.stop(); }

bool ReferenceServer::running() const { return impl_->front.running(); }

int ReferenceServer::boundPort() const { return impl_->port; }

std::size_t maxRequestBody(const Options& options) {
  return std::max(options.maxUpload, 3 * options.maxDocument) + (1u << 20);
}

bool parseOptions(int argc, char** argv, Options& options, std::string& error) {
  options.webDir = VELLMAR_DEFAULT_WEB_DIR;
  options.demoDir = VELLMAR_DEMO_DIR;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= argc) {
        error = "option " + arg + " needs a value";
        return false;
      }
      out = argv[++i];
      return true;
    };
    std::string v;
    if (arg == "--host") {
      if (!value(options.host)) return false;
    } else if (arg == "--port") {
      if (!value(v)) return false;
      char* end = nullptr;
      const long port = std::strtol(v.c_str(), &end, 10);
      if (v.empty() || *end != '\0' || port < 0 || port > 65535) {
        error = "--port must be a number from 0 to 65535, not '" + v + "'";
        return false;
      }
      options.port = static_cast<int>(port);
    } else if (arg == "--data") {
      if (!value(v)) return false;
      options.dataDir = v;
    } else if (arg == "--web") {
      if (!value(v)) return false;
      options.webDir = v;
    } else if (arg == "--demo") {
      if (!value(v)) return false;
      options.demoDir = v;
    } else if (arg == "--session-minutes") {
      if (!value(v)) return false;
      char* end = nullptr;
      const double minutes = std::strtod(v.c_str(), &end);
      // Fractions are allowed (0.05 is three seconds), which tests of lapsing sessions use.
      if (v.empty() || *end != '\0' || !(minutes > 0) || minutes > 525600) {
        error = "--session-minutes must be a number of minutes above 0, not '" + v + "'";
        return false;
      }
      options.sessionMinutes = minutes;
    } else if (arg == "--header-seconds") {
      if (!value(v)) return false;
      char* end = nullptr;
      const double seconds = std::strtod(v.c_str(), &end);
      if (v.empty() || *end != '\0' || !(seconds >= 0.1) || seconds > 3600) {
        error = "--header-seconds must be a number of seconds from 0.1 to 3600, not '" + v + "'";
        return false;
      }
      options.headerSeconds = seconds;
    } else if (arg == "--allow-origin") {
      if (!value(v)) return false;
      if (originOf(v).empty()) {
        error = "--allow-origin must be an origin such as http://cms.example.com:8000, not '" + v + "'";
        return false;
      }
      options.allowOrigins.push_back(v);
    } else if (arg == "--keep-versions" || arg == "--max-sessions") {
      if (!value(v)) return false;
      char* end = nullptr;
      const long long n = std::strtoll(v.c_str(), &end, 10);
      if (v.empty() || *end != '\0' || n < 1 || n > 1000000000) {
        error = arg + " must be a number from 1 to 1000000000, not '" + v + "'";
        return false;
      }
      (arg == "--keep-versions" ? options.keepVersions : options.maxSessions) = n;
    } else if (arg == "--max-upload" || arg == "--max-document") {
      if (!value(v)) return false;
      char* end = nullptr;
      const unsigned long long bytes = std::strtoull(v.c_str(), &end, 10);
      if (v.empty() || v.front() == '-' || *end != '\0' || bytes == 0 ||
          bytes > (1ull << 30)) {
        error = arg + " must be a number of bytes from 1 to 1073741824, not '" + v + "'";
        return false;
      }
      (arg == "--max-upload" ? options.maxUpload : options.maxDocument) =
          static_cast<std::size_t>(bytes);
    } else {
      error = "unknown option " + arg;
      return false;
    }
  }
  return true;
}

}  // namespace vellmar::server
