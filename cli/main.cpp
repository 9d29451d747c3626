#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "common/version.h"

namespace vellmar::cli {
namespace {
std::vector<Command>& registry() {
  static std::vector<Command> all;
  return all;
}
}  // namespace

RegisterCommand::RegisterCommand(const char* name, const char* usage, CommandFn run) {
  registry().push_back({name, usage, run});
}

const std::vector<Command>& commands() { return registry(); }

}  // namespace vellmar::cli

namespace {
void printUsage(std::FILE* out) {
  std::fprintf(out, "usage: vellmar COMMAND [OPTIONS]\n\ncommands:\n");
  for (const auto& c : vellmar::cli::commands()) std::fprintf(out, "  %s\n", c.usage);
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    printUsage(stderr);
    return 2;
  }
  const std::string name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    printUsage(stdout);
    return 0;
  }
  if (name == "--version") {
    std::printf("vellmar %s\n", vellmar::productVersion());
    return 0;
  }
  for (const auto& c : vellmar::cli::commands()) {
    if (name == c.name) return c.run(std::vector<std::string>(argv + 2, argv + argc));
  }
  std::fprintf(stderr, "vellmar: unknown command '%s'\n", name.c_str());
  printUsage(stderr);
  return 2;
}
