#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "tev/FileRun.h"

namespace CLI {
class App;
}

/// What a command line asks for. Writes the answer to "output".
using Action = std::function<Status(std::ostream& output)>;

/// Adds a subcommand over files, with "MODEL..." and "--json", which "answer" answers.
/// Where a command line that is parsed afterwards names it, "action", which must outlive
/// "app", becomes what it asks for.
CLI::App& AddFileCommand(CLI::App& app, Action& action, const std::string& name,
                         const std::string& description, AnswerFunction answer,
                         TextLayout layout = TextLayout::Sections);

// Each adds its subcommand to "app", as above.
void AddCdf(CLI::App& app, Action& action);
void AddCheck(CLI::App& app, Action& action);
void AddInfo(CLI::App& app, Action& action);
void AddLs(CLI::App& app, Action& action);
void AddTree(CLI::App& app, Action& action);
