#include "tev/RunTev.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "Lbt/Util/Exception.h"
#include "Lbt/Util/OutputStream.h"
#include "tev/Failure.h"
#include "tev/Subcommands.h"
#include "tev/VisibleText.h"

namespace {

using Lbt::Util::DescriptorStream;
using Lbt::Util::Exception;

constexpr const char* kVersion = "tev " TEVINFO_VERSION;

/// Shows a subcommand's arguments as "MODEL...", not with the number of how many there
/// can be.
class UsageFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option* option) const override {
    return option->get_name(true) + (option->get_expected_max() > 1 ? "..." : "");
  }
};

void AddSubcommands(CLI::App& app, Action& action) {
  app.formatter(std::make_shared<UsageFormatter>());
  AddCdf(app, action);
  AddCheck(app, action);
  AddInfo(app, action);
  AddLs(app, action);
  AddTree(app, action);
  app.require_subcommand(1);
  app.set_version_flag("--version", kVersion, "Print the version and exit");
  for (CLI::App* command : app.get_subcommands({})) {
    command->set_version_flag("--version", kVersion, "Print the version and exit");
  }
}

/// What is wrong with a command line, in one line.
std::string FaultOf(const CLI::App& app, const CLI::ParseError& error, const char* first) {
  if (app.get_subcommands().empty() && first != nullptr && *first != '-') {
    return "there is no subcommand " + QuotedText(first);
  }
  return VisibleText(OneLine(error.what()));
}

/// The answer to a command line that asks for no run: help or the version on "output",
/// or one line on standard error for what is wrong with it. "first" is the first argument.
Status AnswerWithoutRun(const CLI::App& app, const CLI::ParseError& error, const char* first,
                        std::ostream& output) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
    std::ostream unused(nullptr);
    app.exit(error, output, unused);
    return Status::Done;
  }
  std::cerr << "tev: " + FaultOf(app, error, first) + " (see tev --help)\n" << std::flush;
  return Status::BadUsage;
}

Status Run(int argc, const char* const* argv, std::ostream& output) {
  CLI::App app("Looks into Tev model files", "tev");
  Action action;
  AddSubcommands(app, action);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return AnswerWithoutRun(app, error, argc > 1 ? argv[1] : nullptr, output);
  }
  return action(output);
}

}  // namespace

int RunTev(int argc, const char* const* argv) {
  DescriptorStream output(STDOUT_FILENO, DescriptorStream::Ownership::Borrowed);
  Status status = Status::FileFailed;
  try {
    status = Run(argc, argv, output);
  } catch (const std::exception& exception) {
    std::cerr << "tev: " + VisibleText(ReasonOf(exception)) + '\n' << std::flush;
  }
  if (!output.Finish()) {
    std::cerr << std::string("tev: ") +
                     Exception::GetDescription(Exception::ErrorType::WriteError) +
                     ": Unable to write the answer\n"
              << std::flush;
    return static_cast<int>(Status::FileFailed);
  }
  return static_cast<int>(status);
}
