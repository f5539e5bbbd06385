#pragma once

#include <functional>
#include <optional>
#include <sstream>
#include <string>

#include "tev/Answers.h"
#include "tev/Inputs.h"
#include "tev/Output.h"
#include "tev/Progress.h"

/// An ENTRY of a verb's JSON for who asks in this process: one line, in memory. Nothing is told on
/// standard error.
class EntryInMemory {
 public:
  EntryInMemory(std::string verb, const std::string& path);

  /// Writes the ENTRY; stays with it until it is taken.
  [[nodiscard]] AnswerWriter& Writer() { return writer_; }

  /// Ends the ENTRY and gives it away, with "format" first. To be called once.
  [[nodiscard]] std::string Take();

 private:
  std::ostringstream text_;
  AnswerOutput output_;
  Progress progress_;
  AnswerWriter writer_;
};

/// A file that is named in this process: "-" is a file of that name.
class NamedInput {
 public:
  explicit NamedInput(const std::string& path);

  /// Valid as long as this is.
  [[nodiscard]] const Input& Get() const { return input_; }

 private:
  Inputs inputs_;
  Input input_;
};

/// The ENTRY that "answer" writes. What it throws becomes the failure of the file, but for a
/// UsageError, which is thrown on.
[[nodiscard]] std::string EntryOf(std::string verb, const std::string& path,
                                  const std::function<void(AnswerWriter& writer)>& answer);

/// Writes what `tev check` tells of a file.
void AnswerCheck(const Input& input, AnswerWriter& writer);

/// Writes what `tev diff` tells of two files with the tolerances that "--rtol" and "--atol" have as
/// text. Throws a UsageError for what are none, and a Failure where a file cannot be read.
void AnswerDiff(const Input& a, const Input& b, const std::string& relative,
                const std::string& absolute, AnswerWriter& writer);
