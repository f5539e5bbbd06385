#pragma once

#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tevtest {

/// Where one standard descriptor of a child leads.
struct Redirect {
  enum class Kind {
    Capture,     ///< into the result; for standard input the same as Null
    Counted,     ///< the same, but only how much it is
    Null,        ///< /dev/null
    Closed,      ///< not open at all
    Path,        ///< a file: read for standard input, else created and truncated
    Descriptor,  ///< an open descriptor of the caller, which keeps it
    BrokenPipe   ///< a pipe whose other end is closed
  };

  Kind kind = Kind::Capture;
  std::string path{};
  int descriptor = -1;

  static Redirect Counted() { return {Kind::Counted}; }
  static Redirect Null() { return {Kind::Null}; }
  static Redirect Closed() { return {Kind::Closed}; }
  static Redirect To(std::string path) { return {Kind::Path, std::move(path)}; }
  static Redirect ToDescriptor(int descriptor) { return {Kind::Descriptor, {}, descriptor}; }
  static Redirect BrokenPipe() { return {Kind::BrokenPipe}; }
};

/// Runs in the child before the program; an exception from it becomes one of the call.
using ChildHook = std::function<void()>;

struct RunOptions {
  /// Changes to the environment: a value, or nothing to remove the variable.
  std::map<std::string, std::optional<std::string>> environment{};
  std::string workingDirectory{};  ///< empty: the caller's
  Redirect input = Redirect::Null();
  Redirect output{};
  Redirect error{};
  std::vector<ChildHook> hooks{};
  std::chrono::seconds processorTime{60};  ///< of each process; then the system ends it (SIGXCPU)
  std::chrono::milliseconds hang{
      600000};  ///< on the clock: then the child and its children are
                ///< killed. No test may count on less: machines are busy.
};

struct RunResult {
  int status = -1;    ///< exit status; -1 when a signal ended the child
  int signal = 0;     ///< the signal that ended the child, or 0
  bool hung = false;  ///< killed, for it neither ended nor used up its processor time
  std::string output;
  std::string error;
  std::uint64_t outputSize = 0;  ///< bytes of the output that came back, kept or only counted
  std::chrono::microseconds processorTime{0};  ///< of the program and of the system for it
  long peakKiB = 0;  ///< largest resident size, never below the caller's own at the start
};

/// Runs a program (looked up in PATH without a slash) and waits for its end. The child inherits no
/// descriptors but its standard ones, and signals at their defaults. Throws std::runtime_error when
/// the program could not be started.
[[nodiscard]] RunResult RunProgram(const std::vector<std::string>& command,
                                   const RunOptions& options = {});

/// Runs "body" in a forked child, which ends with what it returns as its exit status. Test
/// assertions in the body do not reach the caller.
[[nodiscard]] RunResult RunForked(const std::function<int()>& body, const RunOptions& options = {});

/// A hook that gives up all privileges of root, down to the user and group 65534. A user who has
/// none stays what he is. Throws when the privileges cannot be given up, so that the test fails.
void RunAsUnprivileged();

/// A hook that sets both limits of a resource, such as RLIMIT_FSIZE.
[[nodiscard]] ChildHook Limit(int resource, rlim_t value);

}  // namespace tevtest
