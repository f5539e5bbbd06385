#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/Process.h"
#include "support/TempDir.h"

namespace tevtest {

/// What a run left. What differs from run to run is "#": the memory figure, times, and the line
/// numbers of the source but for those that never change.
struct Outcome {
  int status = -1;  ///< -1 where a signal ended the run
  int signal = 0;
  bool hung = false;
  std::string output;
  std::string error;
  std::string log;  ///< empty where there is none
};

/// The line that every report follows.
inline constexpr std::string_view kMemoryLine = "Peak Memory Usage: # Mb\n";

/// One entry of the metadata document, in its two forms.
[[nodiscard]] std::string NativeEntry(std::string_view name, std::string_view value);
[[nodiscard]] std::string EkmEntry(std::string_view name, std::string_view value);

/// The whole document around the entries.
[[nodiscard]] std::string NativeDocument(std::string_view entries);
[[nodiscard]] std::string EkmDocument(std::string_view entries);

/// The size of a file between 1 KiB and 1 MiB as reports show it.
[[nodiscard]] std::string KibibyteText(std::size_t bytes);

/// What a failing run writes on standard error after the notice of the log.
[[nodiscard]] std::string Failure(std::string_view type, std::string_view description,
                                  std::string_view file);

/// What every run on a model writes to the trace log before anything goes wrong, and what a run
/// that opened its model writes last.
inline constexpr std::string_view kIndexLog =
    "LbFile : # @ Reading index positions ... \n"
    "Index : # @ Reading index block ... \n"
    "Index : # @ Index block read. \n"
    "LbFile : # @ Index read. \n";
inline constexpr std::string_view kLinksLog =
    "Tree : 567 @ Updating buffer links ... \n"
    "Tree : 590 @ Buffer links updated. \n";
inline constexpr std::string_view kClosingLog =
    "LbFile : # @ Closing file ...\n"
    "LbFile : # @ File closed.\n";

/// Runs TevInfo in a scratch directory. The trace log goes to "log" in it.
class TevInfoRun : public ::testing::Test {
 protected:
  TevInfoRun() : logDirectory(dir.MakeDirectory("log")) {}

  /// "options" may name another directory for the log; the working directory is the scratch one.
  [[nodiscard]] Outcome Run(std::vector<std::string> arguments, RunOptions options = {}) const;

  /// The same as a user without privileges, who may read and write in the scratch directory and in
  /// that of the log.
  [[nodiscard]] Outcome RunUnprivileged(std::vector<std::string> arguments,
                                        RunOptions options = {}) const;

  [[nodiscard]] std::string LogPath() const { return logDirectory + "/TevInfo_trace.log"; }

  /// What every run writes first.
  [[nodiscard]] std::string Notice() const { return "Writing log to \"" + LogPath() + "\"\n"; }

  /// A run that ended well with "document" on standard output.
  void ExpectReport(const Outcome& outcome, std::string_view document) const;

  /// A run that ended with status 2, nothing on standard output, and "text" after the notice.
  void ExpectFailed(const Outcome& outcome, std::string_view text) const;

  const TempDir dir;
  const std::string logDirectory;

 private:
  [[nodiscard]] Outcome RunCopy(const std::string& program, std::vector<std::string> arguments,
                                RunOptions options) const;
};

}  // namespace tevtest
