#include "server/server.h"

#include <httplib.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <system_error>

#include "common/version.h"

namespace vellmar::server {

namespace fs = std::filesystem;

struct ReferenceServer::Impl {
  Options options;
  httplib::Server http;
  int port = 0;
};

namespace {

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return {};
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

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

}  // namespace

ReferenceServer::ReferenceServer(Options options) : impl_(std::make_unique<Impl>()) {
  impl_->options = std::move(options);
}

ReferenceServer::~ReferenceServer() = default;

std::string ReferenceServer::start() {
  auto& o = impl_->options;
  if (auto err = prepareDataDir(o.dataDir); !err.empty()) return err;
  if (!fs::is_regular_file(o.webDir / "vellmar.js"))
    return "the browser build is missing: no vellmar.js in " + o.webDir.string() +
           " (run `make build`)";

  auto& http = impl_->http;
  http.set_mount_point("/vellmar", o.webDir.string());
  http.set_mount_point("/demo", o.demoDir.string());
  http.set_file_extension_and_mimetype_mapping("wasm", "application/wasm");
  http.set_file_extension_and_mimetype_mapping("ts", "text/plain");

  http.Get("/", [this](const httplib::Request&, httplib::Response& res) {
    const auto& opts = impl_->options;
    std::string page = readFile(opts.demoDir / "index.html");
    if (page.empty()) {
      res.status = 500;
      res.set_content("The demo page is missing.", "text/plain");
      return;
    }
    replaceAll(page, "{{DOMAIN}}", opts.host);
    replaceAll(page, "{{PORT}}", std::to_string(impl_->port));
    replaceAll(page, "{{VERSION}}", productVersion());
    res.set_header("Cache-Control", "no-store");
    res.set_content(page, "text/html; charset=utf-8");
  });

  http.set_error_handler([](const httplib::Request& req, httplib::Response& res) {
    if (res.body.empty()) {
      res.set_content(std::to_string(res.status) + " " + req.path + "\n", "text/plain");
    }
  });

  if (o.port == 0) {
    impl_->port = http.bind_to_any_port(o.host);
    if (impl_->port <= 0) return "cannot listen on " + o.host + ": no free port";
  } else {
    if (!http.bind_to_port(o.host, o.port))
      return "cannot listen on " + o.host + ":" + std::to_string(o.port) +
             ": the address is in use or not available";
    impl_->port = o.port;
  }
  return {};
}

void ReferenceServer::run() { impl_->http.listen_after_bind(); }

void ReferenceServer::stop() { impl_->http.stop(); }

int ReferenceServer::boundPort() const { return impl_->port; }

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
    } else {
      error = "unknown option " + arg;
      return false;
    }
  }
  return true;
}

}  // namespace vellmar::server
