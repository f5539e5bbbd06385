#include "tev/Subcommands.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <utility>

CLI::App& AddFileCommand(CLI::App& app, Action& action, const std::string& name,
                         const std::string& description, AnswerFunction answer, TextLayout layout) {
  CLI::App& command = *app.add_subcommand(name, description);
  const auto run = std::make_shared<FileRun>();
  run->command = name;
  run->answer = std::move(answer);
  run->layout = layout;
  // An option that allows extra arguments would take a name in brackets for a list of
  // names; one that wants as many as there can be takes each as it is.
  constexpr int kAsManyAsThereAre = 1 << 28;
  command.add_option("MODEL", run->files, "The model files")
      ->required()
      ->expected(kAsManyAsThereAre)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false)
      ->option_text("... REQUIRED");
  command.add_flag("--json", run->json, "Write JSON");
  command.callback([&action, run] {
    action = [run](std::ostream& output) { return RunOverFiles(*run, output); };
  });
  return command;
}
