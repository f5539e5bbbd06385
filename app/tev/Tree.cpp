// tev tree: the tree of a model.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "Lbt/Tev/TevInfo/TreeOutline.h"
#include "tev/OpenedModel.h"
#include "tev/TreeDrawing.h"
#include "tev/TreeJson.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

void AnswerTree(const Input& input, AnswerWriter& writer, const TreeOptions& options) {
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const LbtTev::Report::TreeOutline outline = LbtTev::Report::OutlineOf(tree);
    if (writer.IsJson()) {
      WriteTree(outline, options, writer.Facts());
    } else {
      writer.Text() << TreeDrawingText(outline, options);
    }
  });
}

/// What is wrong with the text of a whole number; empty where nothing is.
std::string WholeNumberFault(const std::string& text) {
  // A leading zero would be taken for an octal number.
  const bool isWhole = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos &&
                       (text == "0" || text.front() != '0');
  return isWhole ? "" : QuotedText(text) + " is no whole number";
}

Action SetUp(CLI::App& app) {
  const auto options = std::make_shared<TreeOptions>();
  app.add_option("--depth", options->depth, "Draw only nodes down to this depth; the root is at 0")
      ->option_text("N")
      ->check(WholeNumberFault);
  app.add_flag("--attributes", options->attributes,
               "Tell the attributes of groups and variables, too");
  return RunWithFileOptions(
      app, {.verb = "tree", .answer = [options](const Input& input, AnswerWriter& writer) {
              AnswerTree(input, writer, *options);
            }});
}

}  // namespace

Verb TreeVerb() {
  return {.name = "tree",
          .summary = "Draw the trees of models",
          .notes = "Example: tev tree --depth 3 bracket.tev",
          .setUp = SetUp};
}
