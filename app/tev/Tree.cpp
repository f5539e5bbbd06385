// tev tree: the tree of a model.

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

#include "Lbt/Tev/TevInfo/TreeOutline.h"
#include "tev/OpenedModel.h"
#include "tev/TreeDrawing.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

void AnswerTree(const Input& input, AnswerWriter& writer, const TreeOptions& options) {
  WithModel(input, writer, [&](LbtTev::Tree& tree) {
    const LbtTev::Report::TreeOutline outline = LbtTev::Report::OutlineOf(tree);
    std::optional<Storage> storage;
    if (options.withStorage) {
      storage.emplace(tree.GetFile());
    }
    const Storage* places = storage ? &*storage : nullptr;
    if (writer.IsJson()) {
      WriteTree(outline, options, places, writer.Lost(), writer.Facts());
    } else if (options.isVerbose || options.withStorage) {
      DrawInFull(outline, options, places, writer.Text());
    } else {
      DrawCompact(tree, outline, options, writer.Lost(), writer.Columns(), writer.Text());
    }
  });
}

constexpr const char* kNotes =
    "Without options, each shape is one line with its mesh and its results, and a second one where "
    "it\n"
    "shares data. JSON always has all that --verbose tells.\n"
    "Examples:\n"
    "  tev tree heatsink.tev\n"
    "  tev tree --verbose --depth 3 heatsink.tev\n"
    "Exit status: 0 done, 1 bad usage, 2 a file failed.";

Action SetUp(CLI::App& app) {
  const auto options = std::make_shared<TreeOptions>();
  app.add_option("--depth", options->depth, "Draw only nodes down to this depth; the root is at 0")
      ->option_text("N")
      ->check(WholeNumberFault);
  app.add_flag("-v,--verbose", options->isVerbose,
               "Tell all of each node: variables, attributes, transforms, materials");
  app.add_flag("--storage", options->withStorage,
               "The same, with block, offset and bytes of the data of each variable");
  return RunWithFileOptions(
      app, {.verb = "tree", .answer = [options](const Input& input, AnswerWriter& writer) {
              AnswerTree(input, writer, *options);
            }});
}

}  // namespace

Verb TreeVerb() {
  return {.name = "tree", .summary = "The trees of models", .notes = kNotes, .setUp = SetUp};
}
