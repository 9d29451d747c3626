#pragma once

#include <string>
#include <vector>

namespace vellmar::cli {

// A subcommand receives the arguments after its own name and returns the process exit status.
using CommandFn = int (*)(const std::vector<std::string>& args);

struct Command {
  const char* name;
  const char* usage;  // one line, shown by `vellmar --help`
  CommandFn run;
};

// Each cli/*.cpp file registers its subcommand with a file-scope instance of this type, so adding
// a subcommand never touches main.cpp.
struct RegisterCommand {
  RegisterCommand(const char* name, const char* usage, CommandFn run);
};

const std::vector<Command>& commands();

}  // namespace vellmar::cli
