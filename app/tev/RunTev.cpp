// Finds the verb that a command line names, reads its options and runs it over all files.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/Selection.h"
#include "tev/FileFailure.h"
#include "tev/Output.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

/// What a UsageError about a file says of it.
std::string TextAbout(const std::string& path, const UsageError& error) {
  const std::string text = error.what();
  return text.starts_with(path + ": ") ? text.substr(path.size() + 2) : text;
}

/// A run over files, and what came of them.
class Answering {
 public:
  Answering(const FileRun& run, bool canBeMany, AnswerWriter& writer)
      : run_(&run), canBeMany_(canBeMany), writer_(&writer) {}

  void Try(const Input& input) {
    writer_->BeginFile(input.path);
    try {
      if (input.failure && !run_->takesFailures) {
        throw Failure(*input.failure);
      }
      run_->answer(input, *writer_);
      hasAnswer_ = true;
    } catch (const UsageError& error) {
      TellOfNothing(input, error);
    } catch (const OutputFailure&) {
      throw;
    } catch (...) {
      writer_->FailWithoutFacts(FailureOfCurrentException());
    }
    writer_->EndFile();
  }

  [[nodiscard]] Status GetStatus() const {
    if (writer_->HasFailed()) {
      return Status::FileFailed;
    }
    return hasNothing_ && !hasAnswer_ ? Status::BadUsage : Status::Done;
  }

 private:
  /// What is asked for may be in the part that is lost. Rethrows where the run ends.
  void TellOfNothing(const Input& input, const UsageError& error) {
    const std::string text = TextAbout(input.path, error);
    if (const auto failure = writer_->GetFailure()) {
      writer_->FailWithoutFacts({failure->Code(), text + "; " + failure->what()});
    } else if (canBeMany_) {
      hasNothing_ = true;
      writer_->TellOfNothing(text);
    } else {
      throw;
    }
  }

  const FileRun* run_;
  bool canBeMany_;
  AnswerWriter* writer_;
  bool hasAnswer_ = false;
  bool hasNothing_ = false;
};

}  // namespace

Status RunOverFiles(const FileRun& run) {
  AnswerOutput output(run.output);
  std::vector<std::string> spared = run.files;
  spared.push_back(run.filesFrom);
  output.RequireApartFrom(spared);
  Inputs inputs(run.files, run.filesFrom, run.folders);
  Progress progress(run.progress);
  AnswerWriter writer({run.verb, run.form, run.layout, run.csvHeading}, output, progress);
  Answering answering(run, inputs.CanBeMany(), writer);
  std::size_t done = 0;
  for (const Input* input = nullptr; output.IsGood() && (input = inputs.Next()) != nullptr;) {
    progress.Show(done++, inputs.Count(), input->path);
    answering.Try(*input);
  }
  if (run.finish) {
    run.finish(writer);
  }
  const Status status = answering.GetStatus();
  if (status != Status::BadUsage) {
    writer.Close();
    if (status == Status::Done || inputs.CanBeMany()) {
      static_cast<void>(output.Stream());  // an empty answer is one, too
    }
  }
  output.Finish();
  return status;
}

namespace {

constexpr const char* kVersion = "tev " TEVINFO_VERSION;
constexpr const char* kHelpAndVersion = " (see tev --help)";

/// Shows arguments as "PATH...", not with the number of how many there can be.
class UsageFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option* option) const override {
    const std::string name = option->get_name(true) + (option->get_expected_max() > 1 ? "..." : "");
    return option->get_required() || option->get_expected_max() > 1 ? name : "[" + name + "]";
  }
};

void Write(const std::string& text) {
  AnswerOutput output;
  output.Stream() << text;
  output.Finish();
}

void Complain(const std::string& line) {
  std::cerr << "tev: " + VisibleText(line) + '\n' << std::flush;
}

const Verb* FindVerb(std::string_view name) {
  const auto& verbs = Verbs();
  const auto verb = std::find_if(verbs.begin(), verbs.end(),
                                 [name](const Verb& candidate) { return candidate.name == name; });
  return verb == verbs.end() ? nullptr : &*verb;
}

std::string HelpText() {
  std::string text =
      "Tells what Tev model files hold: text for people, JSON for scripts.\n"
      "Usage: tev VERB [OPTIONS] PATH...\n\n"
      "Verbs:\n";
  for (const Verb& verb : Verbs()) {
    constexpr std::size_t kColumn = 10;
    text += "  " + verb.name + std::string(kColumn - std::min(kColumn, verb.name.size()), ' ') +
            verb.summary + '\n';
  }
  return text +
         "\n"
         "tev help VERB and tev VERB --help tell of one verb, tev --version of the program.\n"
         "Exit status: 0 done, 1 bad usage, 2 a file failed.\n";
}

/// ", did you mean "NAME"?" with what comes nearest; empty where nothing does.
std::string NearestText(std::string_view name, const std::vector<std::string_view>& names,
                        const std::string& before = "") {
  const std::string_view nearest = LbtTev::Analysis::NearestName(name, names);
  return nearest.empty() ? "" : ", did you mean \"" + before + std::string(nearest) + "\"?";
}

/// The same for the first argument that is left over, where it is meant for an option.
std::string NearestOptionText(const CLI::App& app) {
  constexpr std::string_view kDashes = "--";
  std::vector<std::string_view> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.emplace_back(name);
    }
  }
  const std::vector<std::string> left = app.remaining();
  const auto first = std::ranges::find_if(
      left, [kDashes](const std::string& argument) { return argument.starts_with(kDashes); });
  if (first == left.end()) {
    return "";
  }
  const std::string name = first->substr(kDashes.size());
  return NearestText(name.substr(0, name.find('=')), names, std::string(kDashes));
}

/// Has flags refuse a value, and messages call the values of options what the help calls them.
void RefineOptions(CLI::App& app) {
  const auto isFlagAlone = [](const std::string& value) {
    return value == "true" ? std::string() : "takes no value";
  };
  for (CLI::Option* option :
       app.get_options([](CLI::Option* each) { return each->nonpositional(); })) {
    if (option->get_expected_max() == 0) {
      option->check(isFlagAlone);
    } else {
      option->type_name(option->get_option_text());
    }
  }
}

/// Runs the verb with the arguments "argv", of which the first is the verb's own name.
Status RunVerb(const Verb& verb, int argc, const char* const* argv) {
  // Each verb is a program of its own to the parser: as a part of a larger one, it would take
  // "++" for the end of the verb and the names of other verbs for these.
  CLI::App app(verb.summary, "tev " + verb.name);
  app.formatter(std::make_shared<UsageFormatter>());
  app.footer(verb.notes);
  app.set_version_flag("-V,--version", kVersion, "Print the version and exit");
  const std::string pointer = " (see tev " + verb.name + " --help)";
  try {
    const Action action = verb.setUp(app);
    RefineOptions(app);
    app.parse(argc, argv);
    return action();
  } catch (const CLI::Success& success) {
    Write(dynamic_cast<const CLI::CallForVersion*>(&success) != nullptr
              ? std::string(kVersion) + '\n'
              : app.help());
    return Status::Done;
  } catch (const CLI::ParseError& error) {
    const bool isLeftOver = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    Complain(OneLine(error.what()) + (isLeftOver ? NearestOptionText(app) : "") + pointer);
  } catch (const OptionError& error) {
    Complain(OneLine(error.what()) + pointer);
  } catch (const UsageError& error) {
    Complain(OneLine(error.what()));
  }
  return verb.badUsage;
}

Status RefuseVerb(std::string_view name) {
  std::vector<std::string_view> names;
  for (const Verb& verb : Verbs()) {
    names.emplace_back(verb.name);
  }
  Complain("there is no verb \"" + std::string(name) + '"' + NearestText(name, names) +
           kHelpAndVersion);
  return Status::BadUsage;
}

bool IsHelp(std::string_view argument) {
  return argument == "help" || argument == "--help" || argument == "-h";
}

bool IsVersion(std::string_view argument) { return argument == "--version" || argument == "-V"; }

Status Version() {
  Write(std::string(kVersion) + '\n');
  return Status::Done;
}

Status Help(int argc, const char* const* argv) {
  constexpr int kMost = 3;
  const char* const* const end = argv + argc;
  const char* const* const extra = std::find_if_not(argv + std::min(kMost, argc), end, IsHelp);
  if (extra != end) {
    Complain("The following argument was not expected: " + std::string(*extra) + kHelpAndVersion);
    return Status::BadUsage;
  }
  if (argc >= kMost && IsVersion(argv[2])) {
    return Version();
  }
  if (argc < kMost || IsHelp(argv[2])) {
    Write(HelpText());
    return Status::Done;
  }
  if (const Verb* verb = FindVerb(argv[2])) {
    const std::array<const char*, 2> arguments{argv[2], "--help"};
    return RunVerb(*verb, static_cast<int>(arguments.size()), arguments.data());
  }
  return RefuseVerb(argv[2]);
}

Status Run(int argc, const char* const* argv) {
  const std::string_view first = argc > 1 ? argv[1] : "";
  if (IsHelp(first)) {
    return Help(argc, argv);
  }
  if (IsVersion(first)) {
    return Version();
  }
  if (const Verb* verb = FindVerb(first)) {
    return RunVerb(*verb, argc - 1, argv + 1);
  }
  if (argc > 1) {
    return RefuseVerb(first);
  }
  Complain(std::string("a verb is missing") + kHelpAndVersion);
  return Status::BadUsage;
}

}  // namespace

int RunTev(int argc, const char* const* argv) {
  try {
    return static_cast<int>(Run(argc, argv));
  } catch (...) {
    Complain(FailureOfCurrentException().what());
    return static_cast<int>(Status::FileFailed);
  }
}
