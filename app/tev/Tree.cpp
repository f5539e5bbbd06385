#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "Lbt/Tev/TevInfo/TreeOutline.h"
#include "tev/OpenedModel.h"
#include "tev/Subcommands.h"
#include "tev/TreeDrawing.h"
#include "tev/TreeJson.h"
#include "tev/VisibleText.h"

namespace {

Ending AnswerTree(const std::string& path, AnswerWriter& writer, const TreeOptions& options) {
  const std::string text = WithModel(path, [&](const LbtTev::Tree& tree) {
    const LbtTev::Report::TreeOutline outline = LbtTev::Report::OutlineOf(tree);
    return writer.IsJson() ? TreeJsonText(path, outline, options)
                           : TreeDrawingText(outline, options);
  });
  writer.Write(text);
  return {};
}

/// What is wrong with the text of a whole number; empty where nothing is.
std::string WholeNumberFault(const std::string& text) {
  // A leading zero would be taken for an octal number.
  const bool isWhole = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos &&
                       (text == "0" || text.front() != '0');
  return isWhole ? "" : QuotedText(text) + " is no whole number";
}

}  // namespace

void AddTree(CLI::App& app, Action& action) {
  const auto options = std::make_shared<TreeOptions>();
  CLI::App& command = AddFileCommand(app, action, "tree", "Draw the trees of models",
                                     [options](const std::string& path, AnswerWriter& writer) {
                                       return AnswerTree(path, writer, *options);
                                     });
  command
      .add_option("--depth", options->depth, "Draw only nodes down to this depth; the root is at 0")
      ->option_text("N")
      ->check(WholeNumberFault);
  command.add_flag("--attributes", options->attributes,
                   "Tell the attributes of groups and variables, too");
}
