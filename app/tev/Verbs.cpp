// The list of all verbs, and the options that they share.

#include "tev/Verbs.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <utility>

#include "tev/VisibleText.h"

namespace {

/// A flag that sets the form, which there can be one of.
void AddFormFlag(CLI::App& app, const std::shared_ptr<FileRun>& run, const char* name, Form form,
                 const char* description) {
  CLI::Option* flag = app.add_flag_function(
      name, [run, form](std::int64_t /*count*/) { run->form = form; }, description);
  flag->option_text(" ");  // else help lists what it excludes
  for (const char* other : {"--json", "--jsonl", "--csv"}) {
    CLI::Option* option = app.get_option_no_throw(other);
    if (option != nullptr && option != flag) {
      flag->excludes(option);
    }
  }
}

void AddProgressFlag(CLI::App& app, const std::shared_ptr<FileRun>& run, const char* name,
                     Progress::Mode mode, const char* description) {
  app.add_flag_function(
      name, [run, mode](std::int64_t /*count*/) { run->progress = mode; }, description);
}

}  // namespace

const std::vector<Verb>& Verbs() {
  static const std::vector<Verb> verbs{
      ListVerb(), InfoVerb(),  TreeVerb(),   ResultsVerb(), ValuesVerb(),  DiffVerb(),
      SetsVerb(), CheckVerb(), BlocksVerb(), BlockVerb(),   CdfVerb(),     ExportVerb(),
      ViewVerb(), ScanVerb(),  MergeVerb(),  FindVerb(),    SummaryVerb(), QueryVerb()};
  return verbs;
}

std::string WholeNumberFault(const std::string& text) {
  // A leading zero would be taken for an octal number.
  const bool isWhole = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos &&
                       (text == "0" || text.front() != '0');
  if (!isWhole) {
    return QuotedText(text) + " is no whole number";
  }
  std::uint64_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() ? "" : QuotedText(text) + " is too large";
}

void AddOutputOptions(CLI::App& app, const std::shared_ptr<FileRun>& run) {
  app.add_option("-o,--output", run->output, "Write to FILE; - is standard output")
      ->option_text("FILE");
  AddProgressOptions(app, run);
}

void AddProgressOptions(CLI::App& app, const std::shared_ptr<FileRun>& run) {
  AddProgressFlag(app, run, "--progress", Progress::Mode::Always,
                  "Tell on standard error how far the run is, wherever that goes");
  AddProgressFlag(app, run, "--no-progress", Progress::Mode::Never, "Never tell");
}

void AddAnswerOptions(CLI::App& app, const std::shared_ptr<FileRun>& run) {
  AddFormFlag(app, run, "--json", Form::JsonDocument, "Write one JSON document");
  AddFormFlag(app, run, "--jsonl", Form::JsonLines, "Write a line of JSON for each file");
  if (!run->csvHeading.empty()) {
    AddFormFlag(app, run, "--csv", Form::Csv, "Write comma-separated values");
  }
  AddOutputOptions(app, run);
}

void AddModel(CLI::App& app, const std::shared_ptr<FileRun>& run) {
  run->folders = Inputs::Folders::Refused;
  app.add_option_function<std::string>(
         "MODEL", [run](const std::string& path) { run->files = {path}; },
         "The model; - is standard input")
      ->required()
      ->option_text(" ");
}

void AddInputOptions(CLI::App& app, const std::shared_ptr<FileRun>& run) {
  // An option that allows extra arguments would take a name in brackets for a list of
  // names; one that wants as many as there can be takes each as it is.
  constexpr int kAsManyAsThereAre = 1 << 28;
  app.add_option("PATH", run->files, "Models, and folders with models; - is standard input")
      ->expected(kAsManyAsThereAre)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false)
      ->option_text("...");
  app.add_option("--files0-from", run->filesFrom,
                 "Read further paths, each ended by NUL, from FILE; - is standard input")
      ->option_text("FILE");
  app.callback([run] {
    if (run->files.empty() && run->filesFrom.empty()) {
      throw CLI::RequiredError("PATH");
    }
  });
}

std::shared_ptr<FileRun> AddFileOptions(CLI::App& app, FileRun run) {
  auto shared = std::make_shared<FileRun>(std::move(run));
  AddInputOptions(app, shared);
  AddAnswerOptions(app, shared);
  return shared;
}

std::shared_ptr<FileRun> AddModelOptions(CLI::App& app, FileRun run) {
  auto shared = std::make_shared<FileRun>(std::move(run));
  AddModel(app, shared);
  AddAnswerOptions(app, shared);
  return shared;
}

Action RunWithFileOptions(CLI::App& app, FileRun run) {
  return [shared = AddFileOptions(app, std::move(run))] { return RunOverFiles(*shared); };
}
