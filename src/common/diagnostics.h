#pragma once

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vellmar {

// Every diagnostic line of the system goes through debugLog. Where the line ends up is decided by
// the installed sink: the editor installs its debug log (written only in debug mode); tests install
// a recorder; without a sink lines are dropped.
using DebugSink = std::function<void(std::string_view line)>;
void setDebugSink(DebugSink sink);
void debugLog(std::string_view line);

// A run-time failure with the number and description the error convention logs.
class ProcedureError : public std::runtime_error {
 public:
  ProcedureError(long number, const std::string& description)
      : std::runtime_error(description), number_(number) {}
  long number() const { return number_; }

 private:
  long number_;
};

// Logs a failure of `procedure` the one way every procedure does: "Error in " + name, then the
// error number, then the description (three lines).
void logProcedureError(std::string_view procedure, long number, std::string_view description);

// The error convention: each procedure traps its own failures for its whole body, logs them and
// ends without further effect. Returns true when the body completed.
template <class Body>
bool guarded(std::string_view procedure, Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
    return true;
  } catch (const ProcedureError& e) {
    logProcedureError(procedure, e.number(), e.what());
  } catch (const std::bad_alloc&) {
    logProcedureError(procedure, 7, "Out of memory");
  } catch (const std::exception& e) {
    logProcedureError(procedure, 5, e.what());  // 5: invalid procedure call or argument
  } catch (...) {
    logProcedureError(procedure, 51, "Internal error");
  }
  return false;
}

}  // namespace vellmar
