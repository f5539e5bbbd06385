#pragma once

#include <cstdint>
#include <functional>
#include <memory>
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

namespace CLI {
class App;
}

/// What a command line asks for.
using Action = std::function<Status()>;

/// A verb of the program.
///
/// To add one:
/// - Write app/tev/<Name>.cpp with a function `Verb <Name>Verb()`, declare it below, and put it
///   into the list in Verbs.cpp, in the place that it shall have in `tev help`.
/// - In its setUp, call AddFileOptions (or AddModelOptions, where the verb is about one model), add
///   the verb's own options to the command line, and set the run's "answer": a function on one
///   file, which writes text to AnswerWriter::Text() or facts to AnswerWriter::Facts(). Models are
///   opened by WithModel. What is thrown becomes the file's failure; a UsageError ends a run on one
///   file with status 1 and nothing written.
/// - "notes" ends the verb's help: examples, and statuses where they are its own.
/// - Give it a schema in docs/schema, a man page in docs/man and a place in the completions.
struct Verb {
  std::string name;
  std::string summary;  ///< a line in `tev help`
  std::string notes;
  /// Adds options to the command line. What it returns is called when they have been read.
  std::function<Action(CLI::App& app)> setUp;
  Status badUsage = Status::BadUsage;
};

/// All verbs, in the order of `tev help`.
[[nodiscard]] const std::vector<Verb>& Verbs();

/// What is wrong with the text of a whole number; empty where nothing is.
[[nodiscard]] std::string WholeNumberFault(const std::string& text);

/// Adds what every verb has: "-o", "--progress" and "--no-progress". "run" becomes what they say.
void AddOutputOptions(CLI::App& app, const std::shared_ptr<FileRun>& run);

/// Adds "--progress" and "--no-progress" alone.
void AddProgressOptions(CLI::App& app, const std::shared_ptr<FileRun>& run);

/// Adds "PATH..." and "--files0-from", of which there must be one.
void AddInputOptions(CLI::App& app, const std::shared_ptr<FileRun>& run);

/// Adds "--json" and "--jsonl", and "--csv" where the run has a heading for it.
void AddAnswerOptions(CLI::App& app, const std::shared_ptr<FileRun>& run);

/// Adds "MODEL", which is no folder.
void AddModel(CLI::App& app, const std::shared_ptr<FileRun>& run);

/// Adds "PATH..." and "--files0-from", and the above. Run the result by RunOverFiles.
[[nodiscard]] std::shared_ptr<FileRun> AddFileOptions(CLI::App& app, FileRun run);

/// Adds "MODEL", and the above.
[[nodiscard]] std::shared_ptr<FileRun> AddModelOptions(CLI::App& app, FileRun run);

/// A verb over files without options of its own.
[[nodiscard]] Action RunWithFileOptions(CLI::App& app, FileRun run);

[[nodiscard]] Verb BlockVerb();
[[nodiscard]] Verb BlocksVerb();
[[nodiscard]] Verb CdfVerb();
[[nodiscard]] Verb CheckVerb();
[[nodiscard]] Verb ExportVerb();
[[nodiscard]] Verb FindVerb();
[[nodiscard]] Verb InfoVerb();
[[nodiscard]] Verb ListVerb();
[[nodiscard]] Verb MergeVerb();
[[nodiscard]] Verb QueryVerb();
[[nodiscard]] Verb ResultsVerb();
[[nodiscard]] Verb ScanVerb();
[[nodiscard]] Verb DiffVerb();
[[nodiscard]] Verb SetsVerb();
[[nodiscard]] Verb SummaryVerb();
[[nodiscard]] Verb ValuesVerb();
[[nodiscard]] Verb TreeVerb();
[[nodiscard]] Verb ViewVerb();

/// One run of the program, from its arguments to its exit status: 0 done, 1 bad usage,
/// 2 a file failed, or the answer could not be written.
[[nodiscard]] int RunTev(int argc, const char* const* argv);
