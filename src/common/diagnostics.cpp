#include "common/diagnostics.h"

#include <string>

namespace vellmar {

namespace {
DebugSink& sink() {
  static DebugSink current;
  return current;
}
}  // namespace

void setDebugSink(DebugSink s) { sink() = std::move(s); }

void debugLog(std::string_view line) {
  if (auto& s = sink()) s(line);
}

void logProcedureError(std::string_view procedure, long number, std::string_view description) {
  std::string first = "Error in ";
  first.append(procedure);
  debugLog(first);
  debugLog(std::to_string(number));
  debugLog(description);
}

}  // namespace vellmar
