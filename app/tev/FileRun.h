#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tev/Answers.h"
#include "tev/Inputs.h"

/// Exit statuses, those of TevInfo. A verb that compares has its own meaning of 1.
enum class Status : std::uint8_t { Done = 0, BadUsage = 1, FileFailed = 2 };

/// Answers on one file through "writer": text or JSON, as the writer's form says. An exception or
/// a GeometryAssertion is a failure of the file; text that was written until then stays, and facts
/// do not. A UsageError says that the file has nothing of what is asked for: a run on one file ends
/// with it, one on several goes on.
using AnswerFunction = std::function<void(const Input& input, AnswerWriter& writer)>;

/// A run of a verb over files.
struct FileRun {
  std::string verb;  ///< its name
  std::vector<std::string> files{};
  std::string filesFrom{};  ///< a file of further names, as Inputs takes it
  Inputs::Folders folders = Inputs::Folders::Walked;
  Form form = Form::Text;
  TextLayout layout = TextLayout::Sections;
  std::string csvHeading{};
  std::string output{};  ///< as AnswerOutput takes it
  Progress::Mode progress = Progress::Mode::Auto;
  AnswerFunction answer{};
  /// Whether it answers on files that cannot be opened or are no models, too. Else these have
  /// failed before.
  bool takesFailures = false;
  std::function<void(AnswerWriter& writer)> finish{};  ///< after the last file, where it is set
};

/// Writes the answers on all files as they come, and names those that failed on standard error, or
/// that have nothing of what is asked for. Where none has, the usage was bad.
/// Throws a Failure where the answer cannot be written, and a UsageError.
[[nodiscard]] Status RunOverFiles(const FileRun& run);
