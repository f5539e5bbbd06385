#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Lbt/Lbf/Index.h"
#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Lbf/LbFile.h"

/// What kind of thing is wrong with a file, for scripts.
enum class FailureCode : std::uint8_t {
  NotFound,
  PermissionDenied,
  NotAFile,            ///< a folder where only a file can be, a pipe, a device
  NotAModel,           ///< it lacks the signature
  UnsupportedVersion,  ///< the container is newer than this program, or its version is no number
  Damaged,             ///< it has the signature
  OutOfMemory,
  IoError,
};

/// The name of a code in JSON: "not-found".
[[nodiscard]] std::string_view NameOf(FailureCode code);

/// What went wrong with a file, in one line for its user. It makes the exit status 2.
class Failure : public std::runtime_error {
 public:
  Failure(FailureCode code, const std::string& message)
      : std::runtime_error(message), code_(code) {}

  [[nodiscard]] FailureCode Code() const { return code_; }

 private:
  FailureCode code_;
};

/// What is wrong with where the answers go, which ends a run whatever file it is at.
class OutputFailure : public Failure {
 public:
  explicit OutputFailure(const Failure& failure) : Failure(failure) {}
};

/// A command line that asks for what cannot be: the run ends with status 1, and nothing is
/// written. Names that a model does not have count, too.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The same for options alone, whatever the models hold: the verb's help tells more.
class OptionError : public UsageError {
 public:
  using UsageError::UsageError;
};

/// "what" with the system's reason "error", which 0 leaves out: "cannot open: Permission denied".
[[nodiscard]] Failure SystemFailure(const std::string& what, int error);

/// One line on what an exception tells.
[[nodiscard]] std::string ReasonOf(const std::exception& exception);

/// That an open file is of a version which this program does not read: most often a newer one.
[[nodiscard]] Failure VersionFailure(LbtLbf::LbFile& file);

/// What the exception that is being handled, whatever it is, tells of a file. What the library
/// throws of itself means damage, unless memory is what lacks. Only for use in a handler.
[[nodiscard]] Failure FailureOfCurrentException();

/// The same of an exception out of a check of the file at "path": damage is told by findings, never
/// so.
[[nodiscard]] Failure FailureOfCheck(const std::string& path);

/// That zlib refuses a block, whose name is shown as all names are.
[[nodiscard]] std::string TextOnRefused(LbtLbf::NumberedBlock block);

/// Runs "read", which reads from "file". Where zlib refuses a block, it throws a Failure
/// that names the block; the exception that the library throws then tells nothing.
template <class Read>
decltype(auto) NamingBlocks(const LbtLbf::LbFile& file, Read read) {
  try {
    return read();
  } catch (const std::exception& exception) {
    const auto block = file.GetIndex().RefusedBlock();
    if (block && LbtLbf::IsRefusal(exception)) {
      throw Failure(FailureCode::Damaged, TextOnRefused(*block));
    }
    throw;
  }
}
