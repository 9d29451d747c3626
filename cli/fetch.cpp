// vellmar fetch: one exchange with the editor's own HTTP client, exactly as the editor makes it.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "common/diagnostics.h"
#include "http/http_request.h"
#include "platform/native/poll_loop.h"

namespace {

using vellmar::http::ctlHttpRequest;

constexpr const char* kUsage =
    "fetch [--post] --host H --port P --path PATH [--timeout S] [--cookie NAME=VALUE]... "
    "[--url NAME=VALUE]... [--form NAME=VALUE]... [--file NAME=PATH]... [--print-request]";

int usage() {
  std::fprintf(stderr, "usage: vellmar %s\n", kUsage);
  return 2;
}

bool toNumber(const std::string& text, long min, long max, int& out) {
  if (text.empty() || text.size() > 9) return false;
  long value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  if (value < min || value > max) return false;
  out = static_cast<int>(value);
  return true;
}

bool splitPair(const std::string& text, std::string& name, std::string& value) {
  const auto eq = text.find('=');
  if (eq == std::string::npos) return false;
  name = text.substr(0, eq);
  value = text.substr(eq + 1);
  return true;
}

void writeAll(const std::string& bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }

int fetch(const std::vector<std::string>& args) {
  vellmar::native::PollLoop loop;
  ctlHttpRequest request(loop);
  bool post = false;
  bool printRequest = false;
  std::string host, path;
  int port = -1;
  int timeout = 30;
  bool havePath = false;

  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& option = args[i];
    if (option == "--post") {
      post = true;
      continue;
    }
    if (option == "--print-request") {
      printRequest = true;
      continue;
    }
    if (i + 1 >= args.size()) return usage();
    const std::string& value = args[++i];
    std::string name, content;
    if (option == "--host") {
      if (value.empty()) return usage();
      host = value;
    } else if (option == "--port") {
      if (!toNumber(value, 1, 65535, port)) return usage();
    } else if (option == "--path") {
      path = value;
      havePath = true;
    } else if (option == "--timeout") {
      if (!toNumber(value, 0, 32767, timeout)) return usage();
    } else if (option == "--cookie" || option == "--url" || option == "--form" ||
               option == "--file") {
      if (!splitPair(value, name, content)) return usage();
      if (option == "--cookie") request.addCookieVariable(name, content);
      if (option == "--url") request.addUrlVariable(name, content);
      if (option == "--form") request.addFormVariable(name, vellmar::http::kindText, content);
      if (option == "--file") request.addFormVariable(name, vellmar::http::kindFile, content);
    } else {
      return usage();
    }
  }
  if (host.empty() || port < 0 || !havePath) return usage();

  const int method = post ? 1 : 0;
  try {
    if (printRequest) {
      writeAll(request.composeRequest(method, host, path, port).text);
      return 0;
    }

    std::string outcome;
    std::string body;
    bool ended = false;
    request.events.error = [&](int number, const std::string& description) {
      outcome = "error " + std::to_string(number) + " " + description;
      ended = true;
    };
    request.events.complete = [&](const std::string& b) {
      outcome = "complete";
      body = b;
      ended = true;
    };
    request.events.parseError = [&](int number, const std::string& message,
                                    const std::string& text) {
      outcome = "parseError " + std::to_string(number) + " " + message;
      body = text;
      ended = true;
    };
    request.events.timeout = [&] {
      outcome = "timeout";
      ended = true;
    };
    request.http(method, host, path, timeout, port);
    loop.runUntil([&] { return ended; });
    if (!ended) outcome = "error 0 The exchange ended without an answer";

    std::printf("%s\n", outcome.c_str());
    writeAll(body);
    std::fflush(stdout);
    return outcome == "complete" ? 0 : 1;
  } catch (const vellmar::ProcedureError& e) {
    std::fprintf(stderr, "vellmar fetch: %s\n", e.what());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vellmar fetch: %s\n", e.what());
  }
  return 1;
}

const vellmar::cli::RegisterCommand registerFetch("fetch", kUsage, fetch);

}  // namespace
