// tev sets: the node sets of a model.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "tev/ModelFacts.h"
#include "tev/OpenedModel.h"
#include "tev/Table.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

namespace Analysis = LbtTev::Analysis;
using LbtTev::NodeSets;
using Sets = std::vector<const NodeSets::NodeSet*>;

std::string ShownName(const NodeSets::NodeSet& set) { return Analysis::ShownName(set.name); }

/// Those of that name; without one, those that fit it as a glob.
Sets Find(const Sets& all, const std::string& path, const std::string& name) {
  Sets exact;
  Sets fitting;
  std::vector<std::string> names;
  for (const NodeSets::NodeSet* set : all) {
    names.push_back(ShownName(*set));
    if (names.back() == name) {
      exact.push_back(set);
    } else if (Analysis::FitsGlob(names.back(), name)) {
      fitting.push_back(set);
    }
  }
  if (exact.empty() && fitting.empty()) {
    const std::vector<std::string_view> views(names.begin(), names.end());
    throw UsageError(path + ": " + Analysis::NoMatchText("node set", name, views));
  }
  return exact.empty() ? fitting : exact;
}

void WriteTable(const Sets& sets, AnswerWriter& writer) {
  using enum Table::Align;
  if (sets.empty()) {
    writer.TellNone("node sets");
    return;
  }
  Table table(writer.Text(), {{"Members", Right}, {"Name", Left}}, {.limit = writer.Columns()});
  for (const NodeSets::NodeSet* set : sets) {
    table.Add({std::to_string(set->members.size()), NameText(set->name)});
  }
  table.Finish();
}

void WriteIds(const Sets& sets, std::ostream& stream) {
  for (const NodeSets::NodeSet* set : sets) {
    for (const auto& [id, other] : set->members) {
      stream << id << '\n';
    }
  }
}

void WriteFacts(const Sets& sets, bool withIds, JsonWriter& json) {
  json.Key("nodeSets");
  json.OpenList();
  for (const NodeSets::NodeSet* set : sets) {
    json.OpenObject();
    json.Member("name", ShownName(*set));
    json.Member("members", set->members.size());
    if (withIds) {
      json.Key("ids");
      json.OpenList();
      for (const auto& [id, other] : set->members) {
        json.Value(id);
      }
      json.Close();
    }
    json.Close();
  }
  json.Close();
}

void AnswerSets(const Input& input, AnswerWriter& writer, const std::optional<std::string>& name) {
  WithModel(input, writer, [&](const LbtTev::Tree& tree) {
    const Sets all = Analysis::NodeSetsOf(tree);
    const Sets sets = name ? Find(all, input.path, *name) : all;
    if (writer.IsJson()) {
      WriteFacts(sets, name.has_value(), writer.Facts());
    } else if (name) {
      WriteIds(sets, writer.Text());
    } else {
      WriteTable(sets, writer);
    }
  });
}

constexpr const char* kNotes =
    "NAME is a name, or a pattern with *, ? and [...]; the node ids of what it fits are written, "
    "one\n"
    "on each line.\n"
    "Examples:\n"
    "  tev sets frame.tev\n"
    "  tev sets frame.tev Fixed > fixed.txt\n"
    "Exit status: 0 done, 1 bad usage or no such set, 2 the model failed.";

Action SetUp(CLI::App& app) {
  const auto run = AddModelOptions(app, {.verb = "sets"});
  const auto name = std::make_shared<std::optional<std::string>>();
  app.add_option("NAME", *name, "The set whose node ids are wanted")->option_text(" ");
  run->answer = [name](const Input& input, AnswerWriter& writer) {
    AnswerSets(input, writer, *name);
  };
  return [run, name] {
    run->layout = name->has_value() ? TextLayout::Lines : TextLayout::Sections;
    return RunOverFiles(*run);
  };
}

}  // namespace

Verb SetsVerb() {
  return {.name = "sets",
          .summary = "Node sets of a model, or the ids of one",
          .notes = kNotes,
          .setUp = SetUp};
}
