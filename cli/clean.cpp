// `vellmar clean`: the HTML clean-up as a filter, giving byte for byte what the editor hands out.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/commands.h"
#include "common/diagnostics.h"
#include "html/cleanup.h"
#include "html/splice.h"

namespace {

constexpr const char* kUsage = "clean [--body] [--strip-styles] [FILE]";

bool readAll(std::FILE* in, std::string& out) {
  char buffer[1 << 16];
  std::size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof buffer, in)) > 0) out.append(buffer, got);
  return std::ferror(in) == 0;
}

int usageError(const std::string& problem) {
  std::fprintf(stderr, "vellmar clean: %s\nusage: vellmar %s\n", problem.c_str(), kUsage);
  return 2;
}

int runClean(const std::vector<std::string>& args) {
  bool body = false;
  bool stripStyles = false;
  bool optionsEnded = false;
  std::vector<std::string> files;
  for (const auto& arg : args) {
    if (!optionsEnded && arg == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && arg == "--body") {
      body = true;
    } else if (!optionsEnded && arg == "--strip-styles") {
      stripStyles = true;
    } else if (!optionsEnded && (arg == "--help" || arg == "-h")) {
      std::printf("usage: vellmar %s\n", kUsage);
      return 0;
    } else if (!optionsEnded && arg.size() > 1 && arg[0] == '-') {
      return usageError("unknown option '" + arg + "'");
    } else {
      files.push_back(arg);
    }
  }
  if (files.size() > 1) return usageError("more than one FILE given");

  std::string html;
  const bool fromStdin = files.empty() || files[0] == "-";
  const std::string name = fromStdin ? std::string("standard input") : files[0];
  std::FILE* in = fromStdin ? stdin : std::fopen(files[0].c_str(), "rb");
  if (in == nullptr) {
    std::fprintf(stderr, "vellmar clean: cannot read %s: %s\n", name.c_str(), std::strerror(errno));
    return 1;
  }
  const bool ok = readAll(in, html);
  const int readErrno = errno;
  if (!fromStdin) std::fclose(in);
  if (!ok) {
    std::fprintf(stderr, "vellmar clean: cannot read %s: %s\n", name.c_str(), std::strerror(readErrno));
    return 1;
  }

  // The editor strips a fetched document's styling before it reduces it to its body.
  if (stripStyles) html = vellmar::html::stripEmbeddedStyles(html);
  if (body) html = vellmar::html::extractBodyContent(html);
  // The clean-up logs its failure (three lines: where, number, description) instead of throwing.
  std::vector<std::string> failure;
  vellmar::setDebugSink([&failure](std::string_view line) { failure.emplace_back(line); });
  std::optional<std::string> cleaned = vellmar::html::cleanHTML(html);
  vellmar::setDebugSink(nullptr);
  if (!cleaned) {
    const std::string why = failure.size() >= 3 ? failure[2] : "unknown failure";
    std::fprintf(stderr, "vellmar clean: cannot clean %s: %s; nothing was written\n", name.c_str(), why.c_str());
    return 1;
  }
  if (std::fwrite(cleaned->data(), 1, cleaned->size(), stdout) != cleaned->size() || std::fflush(stdout) != 0) {
    std::fprintf(stderr, "vellmar clean: cannot write the output: %s\n", std::strerror(errno));
    return 1;
  }
  return 0;
}

const vellmar::cli::RegisterCommand registerClean("clean", kUsage, runClean);

}  // namespace
