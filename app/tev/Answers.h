#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "tev/FileFailure.h"
#include "tev/Json.h"
#include "tev/Output.h"
#include "tev/Progress.h"
#include "tev/TemporaryFile.h"

/// What an answer is written as. JsonLines is one JSON object for each file, on a line of its own.
enum class Form { Text, JsonDocument, JsonLines, Csv };

/// How answers of text stand one after another: each as a section under its path, with an
/// empty line between two, or all as one list of lines.
enum class TextLayout { Sections, Lines };

/// Who tells the user why a file failed: the frame, by a line on standard error, or the answer
/// itself.
enum class Told { OnStandardError, InTheAnswer };

using LbtTev::Analysis::LostData;

/// Writes the answers on several files, one after another, each in as many pieces as it comes in,
/// with what stands around and between them.
///
/// JsonDocument: {"format": "tev.<verb>/1", "files": [ENTRY...]}. JsonLines: each ENTRY with
/// "format" first. ENTRY: "file", "failure" (null, or {"code", "message"}; null exactly where the
/// file does not make the exit status 2), "complete", "missing" (a list of texts), then the facts
/// of the verb.
///
/// Since an ENTRY begins with how it ended, facts are held back until its end, in a temporary file
/// where they are many; memory does not grow with them.
class AnswerWriter {
 public:
  struct Style {
    std::string verb;
    Form form = Form::Text;
    TextLayout layout = TextLayout::Sections;
    /// The first line of the form Csv, whose columns begin with "file,failure,complete".
    std::string csvHeading{};
    bool isQuiet = false;  ///< nothing is told on standard error
  };

  /// "output" and "progress", whose line gives way to an answer, must outlive this.
  AnswerWriter(Style style, AnswerOutput& output, Progress& progress);

  [[nodiscard]] Form GetForm() const { return style_.form; }
  [[nodiscard]] bool IsJson() const {
    return style_.form == Form::JsonDocument || style_.form == Form::JsonLines;
  }
  /// The columns of the terminal that text goes to, where it is one.
  [[nodiscard]] std::optional<std::size_t> Columns() const { return output_->Columns(); }
  [[nodiscard]] Progress& GetProgress() { return *progress_; }

  /// The file that what follows is about.
  void BeginFile(const std::string& path);

  /// Text and Csv: where the next piece of the answer goes.
  [[nodiscard]] std::ostream& Text();

  /// Csv: writes one line, with empty cells up to the last column. A file that fails without any
  /// has one for its failure.
  void AddCsvRow(std::vector<std::string> cells);

  /// Text: says that the file has none of "what", "node sets", in place of a heading alone.
  void TellNone(const std::string& what);

  /// JSON: where the members of the ENTRY go that come after the first four, one by one. All that
  /// the verb's schema requires, or none.
  [[nodiscard]] JsonWriter& Facts();

  /// Says that a part of the file is lost, and which. What is there is told all the same, and the
  /// file has failed, as damaged. To be called before the first Text() where that is possible.
  /// "count" is how many losses the text stands for.
  void AddMissing(std::string what, std::size_t count = 1);

  /// What is missing so far, "most" texts of it and how many more there are.
  [[nodiscard]] std::vector<std::string> MissingTexts(std::size_t most) const;

  /// What is missing of the nodes, for those who tell of them.
  [[nodiscard]] LostData& Lost() { return lost_; }

  /// From now on, up to the next BeginFile, what is missing or fails is that of this file, one of
  /// several that the answer is about. Standard error names it, and in JSON the failure has it as
  /// its "file"; texts in JSON begin with it where the answer itself is named for another one.
  void Blame(const std::string& file);

  /// Says that the file has failed, though it has its facts. The first failure counts.
  void Fail(const Failure& failure, Told told = Told::OnStandardError);

  /// The same where there are no facts; those that have been written are dropped.
  void FailWithoutFacts(const Failure& failure);

  /// Says that the file has nothing of what is asked for, and why: an ENTRY has "noMatch" in place
  /// of facts. That is no failure of the file. Such an ENTRY waits for an answer with facts or a
  /// failure: as long as there is none, nothing is written.
  void TellOfNothing(const std::string& why);

  /// The failure of the file, as far as it is known; what is missing makes one.
  [[nodiscard]] std::optional<Failure> GetFailure() const;

  /// Whether nothing is missing, as far as it is known.
  [[nodiscard]] bool IsComplete() const { return hasFacts_ && missing_.empty(); }

  /// Ends the answer and tells of a failure.
  void EndFile();

  /// Ends the answer on all files. Not to be called where nothing was found in any of them.
  void Close();

  /// Whether a file failed.
  [[nodiscard]] bool HasFailed() const { return hasFailed_; }

 private:
  /// What is missing, and of which file.
  struct Loss {
    std::string file;
    std::string what;
  };

  void BeginText();
  void WriteMissing();
  void WriteEntry();
  [[nodiscard]] std::ostream& EntryStream();
  void WriteHead(JsonWriter& json);
  void WriteFailure(const Failure& failure, JsonWriter& json) const;
  [[nodiscard]] std::string TextInJson(const std::string& file, const std::string& text) const;
  [[nodiscard]] const std::string& FailedFile() const;
  void BeginDocument();
  void TellFailure() const;
  void TellEachMissing() const;
  void ClearFacts();

  Style style_;
  AnswerOutput* output_;
  Progress* progress_;
  std::string path_;
  bool isTextBegun_ = false;   // of this file
  bool isFirstText_ = true;    // of all files
  std::string blamed_;         // whose losses and failures come
  bool areFilesTold_ = false;  // of failures in JSON
  std::vector<Loss> missing_;
  std::size_t missingWritten_ = 0;
  std::size_t missingCount_ = 0;
  LostData lost_;
  std::optional<Failure> failure_;
  std::string failedFile_;  // that of the failure
  Told told_ = Told::OnStandardError;
  bool hasFacts_ = true;  // or could have
  std::optional<std::string> nothing_;
  bool hasFailed_ = false;

  HeldText waiting_;  // entries on files that have nothing, before the first other one
  std::ostream waitingStream_;
  bool isBegun_ = false;                // whether an entry has been written elsewhere
  std::optional<JsonWriter> document_;  // the one of the form JsonDocument, from its first file on

  HeldText held_;
  std::ostream heldStream_;
  std::optional<JsonWriter> facts_;  // those of this file
};

/// Writes "tev: ", the path and the reason to standard error, as one line.
void ReportFailure(const std::string& path, std::string_view reason);

/// Writes one line of CSV; cells are quoted where they have to be, and hold U+FFFD for what is no
/// valid UTF-8.
void WriteCsvRow(std::ostream& stream, const std::vector<std::string>& cells);
