#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tev/AnswerWriter.h"

/// Exit statuses, those of TevInfo.
enum class Status : int { Done = 0, BadUsage = 1, FileFailed = 2 };

/// How the answer on one file ended.
struct Ending {
  /// What is wrong with the file, one line each; any makes it a failed file.
  std::vector<std::string> faults = {};
  bool isFailure = false;  ///< a failed file even without them, since the answer tells why
};

/// Answers on one file, as text or in JSON, through "writer". An exception or a
/// GeometryAssertion is a failure of the file; what was written until then stays.
using AnswerFunction = std::function<Ending(const std::string& path, AnswerWriter& writer)>;

/// A run of a subcommand over files.
struct FileRun {
  std::string command;  ///< its name
  std::vector<std::string> files;
  bool json = false;
  AnswerFunction answer;
  TextLayout layout = TextLayout::Sections;
};

/// Writes the answers for all files to "output" as they come, and names those that
/// failed on standard error.
///
/// Text: as the layout of the run says.
/// JSON: one object, {"command", "files": [an object for each file], "failures": [{"file",
/// "reason"}]}, of the same shape for one file and for many.
[[nodiscard]] Status RunOverFiles(const FileRun& run, std::ostream& output);

/// Writes "tev: ", the path and the reason to standard error, as one line.
void ReportFailure(const std::string& path, std::string_view reason);
