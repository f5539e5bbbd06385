// tev info: what a model holds and who made it, for analysts.

#include <CLI/CLI.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "tev/FieldOptions.h"
#include "tev/Json.h"
#include "tev/ModelFacts.h"
#include "tev/OpenedModel.h"
#include "tev/Verbs.h"

namespace {

namespace Analysis = LbtTev::Analysis;
using Analysis::Model;

void WriteFile(const char* key, const LbtTev::NativeFile& file, JsonWriter& json) {
  json.Key(key);
  json.OpenObject();
  json.Member("path", JsonOrNull(file.path));
  json.Member("type", JsonOrNull(file.type));
  json.Member("bytes", JsonOrNull(file.size ? BytesOfSize(*file.size) : std::nullopt));
  json.Close();
}

void WritePrograms(const LbtTev::Tree& tree, JsonWriter& json) {
  json.Key("programs");
  json.OpenList();
  for (const Analysis::Program& program : Analysis::ProgramsOf(tree)) {
    json.OpenObject();
    json.Member("role", program.role);
    json.Member("name", Analysis::ShownName(program.record->applicationName));
    json.Member("version", Analysis::ShownName(program.record->applicationVersion));
    json.Member("user", Analysis::ShownName(program.record->userName));
    json.Member("date", program.record->date);
    json.Member("dateIso", JsonOrNull(program.dateIso));
    json.Member("comment", program.record->comment);
    json.Close();
  }
  json.Close();
}

void WriteUnits(const Analysis::Units& units, JsonWriter& json) {
  json.Key("units");
  if (!units.length && !units.scale) {
    json.Value(nullptr);
    return;
  }
  json.OpenObject();
  json.Member("length", JsonOrNull(units.length));
  json.Member("scale", JsonOrNull(units.scale));
  json.Close();
}

void WriteResults(const Model& model, JsonWriter& json) {
  json.Key("results");
  json.OpenList();
  for (const Analysis::Result& result : model.Results()) {
    json.OpenObject();
    json.Member("name", Analysis::ShownName(result.name));
    json.Member("components", JsonOrNull(result.components));
    json.Member("location", TextOf(result.location));
    json.Close();
  }
  json.Close();
}

void WriteNodeSets(const LbtTev::Tree& tree, JsonWriter& json) {
  json.Key("nodeSets");
  json.OpenList();
  for (const LbtTev::NodeSets::NodeSet* set : Analysis::NodeSetsOf(tree)) {
    json.OpenObject();
    json.Member("name", Analysis::ShownName(set->name));
    json.Member("members", set->members.size());
    json.Close();
  }
  json.Close();
}

/// The counts of all parts. Tells "writer" of those that cannot be read.
PartCounts CountsOf(const Model& model, AnswerWriter& writer) {
  PartCounts counts(model.Parts().size());
  Analysis::CountElements(
      model, [&](std::size_t index, std::shared_ptr<const Analysis::ElementCounts> found,
                 const std::exception_ptr& failure) {
        if (failure != nullptr) {
          const Analysis::Part& part = model.Parts()[index];
          writer.AddMissing("the elements of part " + std::to_string(part.id) + " (" + part.name +
                            "): " + FailureOf(failure).what());
        }
        counts[index] = std::move(found);
      });
  // A part without lengths has no elements, which is known.
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (model.Parts()[i].geometry != nullptr && model.Parts()[i].mesh.lengths == nullptr) {
      counts[i] = std::make_shared<const Analysis::ElementCounts>();
    }
  }
  return counts;
}

void AnswerInfo(const Input& input, AnswerWriter& writer, bool withCounts) {
  WithModel(input, writer, [&](LbtTev::Tree& tree) {
    const Model model(tree);
    const auto counts = withCounts ? std::optional(CountsOf(model, writer)) : std::nullopt;
    const PartCounts* const all = counts ? &*counts : nullptr;
    if (writer.IsJson()) {
      WriteInfoJson(model, writer.Lost(), all, writer.Facts());
    } else {
      WriteInfoText(model, writer.Lost(), all, writer.Text());
    }
  });
}

constexpr const char* kNotes =
    "Node and element counts of the mesh are what the model says; those of parts, and the nodes\n"
    "that an element of theirs has on average, follow from the sizes of their data. --stats reads\n"
    "how many nodes each element has.\n"
    "Examples:\n"
    "  tev info bracket.tev\n"
    "  tev info --stats bracket.tev\n"
    "  tev info --json *.tev | jq -r '.files[] | [.file, .title] | @tsv'\n"
    "Exit status: 0 done, 1 bad usage, 2 a file failed.";

Action SetUp(CLI::App& app) {
  const auto withCounts = std::make_shared<bool>(false);
  const auto run = AddFileOptions(
      app, {.verb = "info", .answer = [withCounts](const Input& input, AnswerWriter& writer) {
              AnswerInfo(input, writer, *withCounts);
            }});
  app.add_flag("--stats", *withCounts, "Count the elements by how many nodes they have");
  return [run] { return RunOverFiles(*run); };
}

}  // namespace

void WriteInfoJson(const Model& model, const LostData& lost, const PartCounts* counts,
                   JsonWriter& json) {
  const LbtTev::Tree& tree = model.GetTree();
  const RootFacts root = RootFactsOf(tree);
  json.Member("bytes", tree.GetFile().GetSize().value_or(0));
  json.Member("version", tree.GetContainerVersion());
  json.Member("title", JsonOrNull(model.Title()));
  json.Member("category", JsonOrNull(CategoryOf(model, lost)));
  WriteFile("modelFile", root.modelFile, json);
  WriteFile("resultsFile", root.resultsFile, json);
  WritePrograms(tree, json);
  json.Member("nodes", JsonOrNull(root.nodes));
  json.Member("elements", JsonOrNull(root.elements));
  WriteUnits(root.units, json);
  WriteParts(model, lost, json, counts);
  WriteSteps(model, json);
  WriteResults(model, json);
  WriteNodeSets(tree, json);
  json.Member("attributes", JsonOf(root.others));
}

Verb InfoVerb() {
  return {.name = "info",
          .summary = "What models hold and who made them",
          .notes = kNotes,
          .setUp = SetUp};
}
