// What a model holds, as text for people.

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/NumberText.h"
#include "tev/ModelFacts.h"
#include "tev/Table.h"
#include "tev/VisibleText.h"

namespace {

namespace Analysis = LbtTev::Analysis;
using Analysis::Model;
using Analysis::Part;
using Analysis::PartKind;
using enum Table::Align;

/// A table under its heading with the number of rows, which are indented below it.
class Section {
 public:
  Section(std::ostream& stream, const std::string& heading, std::vector<Table::Column> columns)
      : table_((stream << "\n  " << heading << '\n', stream), std::move(columns), {.indent = 4}) {}
  ~Section() = default;
  Section(const Section&) = delete;
  Section& operator=(const Section&) = delete;

  void Add(std::vector<std::string> cells) { table_.Add(std::move(cells)); }
  void Finish() { table_.Finish(); }

 private:
  Table table_;
};

std::string Heading(const char* what, std::size_t count) {
  return std::string(what) + " (" + std::to_string(count) + ')';
}

void WriteLine(std::ostream& stream, const std::string& label, const std::string& value) {
  constexpr std::size_t kColumn = 10;
  stream << "  " << label << std::string(kColumn - std::min(kColumn, label.size()), ' ') << value
         << '\n';
}

std::string UnitsText(const Analysis::Units& units) {
  std::string text = units.length ? VisibleText(*units.length) : "unnamed";
  return units.scale ? text + " (" + Lbt::Util::ToString(*units.scale) + " m)" : text;
}

/// Exact counts: "642 of 3, 10 of 4".
std::string CountsText(const std::map<unsigned int, std::size_t>& byNodes) {
  constexpr std::size_t kMost = 8;
  std::string text;
  std::size_t told = 0;
  for (const auto& [nodes, elements] : byNodes) {
    if (told++ == kMost) {
      return text + " and " + std::to_string(byNodes.size() - kMost) + " more kinds";
    }
    text += (told == 1 ? "" : ", ") + std::to_string(elements) + " of " + std::to_string(nodes);
  }
  return text;
}

/// How many nodes the elements of the mesh have: a mean, " of 4 nodes", or exact counts, ": 642 of
/// 3, 10 of 4 nodes". They are those of the parts, without cuts and surfaces through them; nothing
/// where any of these is unknown.
std::string NodesOfMesh(const Model& model, const LostData& lost, const PartCounts* counts) {
  double nodes = 0;
  double elements = 0;
  std::map<unsigned int, std::size_t> byNodes;
  for (std::size_t i = 0; i < model.Parts().size(); ++i) {
    const Part& part = model.Parts()[i];
    if (part.kind != PartKind::Part) {
      continue;
    }
    if (IsLost(model, part, lost) || (counts != nullptr && (*counts)[i] == nullptr)) {
      return "";
    }
    const auto partElements = static_cast<double>(part.nodesPerElement ? part.elements : 0);
    nodes += partElements * part.nodesPerElement.value_or(0);
    elements += partElements;
    if (counts != nullptr) {
      for (const auto& [ofNodes, count] : (*counts)[i]->byNodes) {
        byNodes[ofNodes] += count;
      }
    }
  }
  if (!byNodes.empty()) {
    return ": " + CountsText(byNodes) + (byNodes.rbegin()->first == 1 ? " node" : " nodes");
  }
  return elements == 0 ? "" : " of " + MeanNodesText(nodes / elements);
}

std::string MeshText(const Model& model, const LostData& lost, const RootFacts& root,
                     const PartCounts* counts) {
  return CountedOrDash(root.nodes, "node") + ", " + CountedOrDash(root.elements, "element") +
         NodesOfMesh(model, lost, counts);
}

void WriteTop(const Model& model, const LostData& lost, const RootFacts& root,
              const PartCounts* counts, std::ostream& stream) {
  const std::uint64_t bytes = model.GetTree().GetFile().GetSize().value_or(0);
  if (model.Title()) {
    WriteLine(stream, "Title", VisibleText(*model.Title()));
  }
  WriteLine(stream, "Category", VisibleText(CategoryOf(model, lost).value_or("-")));
  WriteLine(stream, "File",
            LbtUtil::FileSizeText(static_cast<std::int64_t>(bytes)) + " (" + std::to_string(bytes) +
                " bytes), version " + VisibleText(model.GetTree().GetContainerVersion()));
  WriteLine(stream, "Mesh", MeshText(model, lost, root, counts));
  if (root.units.length || root.units.scale) {
    WriteLine(stream, "Units", UnitsText(root.units));
  }
}

void WritePrograms(const LbtTev::Tree& tree, std::ostream& stream) {
  const std::vector<Analysis::Program> programs = Analysis::ProgramsOf(tree);
  if (programs.empty()) {
    return;
  }
  Section section(
      stream, Heading("Programs", programs.size()),
      {{"Role", Left}, {"Program", Left}, {"User", Left}, {"Date", Left}, {"Comment", Left}});
  for (const Analysis::Program& program : programs) {
    const LbtTev::ModifierInfo& record = *program.record;
    section.Add(
        {std::string(program.role),
         VisibleText(Analysis::ShownName(record.applicationName + ' ' + record.applicationVersion)),
         VisibleText(Analysis::ShownName(record.userName)),
         VisibleText(program.dateIso.value_or(record.date)), VisibleText(record.comment)});
  }
  section.Finish();
}

/// The groups that a part lies under, without the root, which all have.
std::string GroupsText(const Model& model, const Part& part) {
  const std::vector<std::string> path = model.PathOf(part);
  std::string text;
  for (std::size_t i = 1; i < path.size(); ++i) {
    text += (i == 1 ? "" : " / ") + NameText(path[i]);
  }
  return text;
}

/// "4", a mean, or exact counts: "642 of 3, 10 of 4".
std::string NodesText(const Part& part, const PartCounts* counts, std::size_t index) {
  if (counts == nullptr) {
    return part.nodesPerElement ? MeanText(*part.nodesPerElement) : "-";
  }
  const Analysis::ElementCounts* exact = (*counts)[index].get();
  if (exact == nullptr || exact->byNodes.empty()) {
    return exact == nullptr ? "damaged" : "-";
  }
  return CountsText(exact->byNodes);
}

std::vector<std::string> PartCells(const Model& model, std::size_t index, bool isLost,
                                   const PartCounts* counts) {
  const Part& part = model.Parts()[index];
  const std::string shared =
      part.sharesWith ? "of part " + std::to_string(*part.sharesWith) : "own";
  return {std::to_string(part.id),
          NameText(part.name),
          isLost ? "-" : std::to_string(part.nodes),
          isLost ? "-" : std::to_string(part.elements),
          isLost ? "-" : NodesText(part, counts, index),
          isLost ? "-" : shared,
          GroupsText(model, part)};
}

/// The parts of one kind.
void WriteParts(const Model& model, const LostData& lost, const char* heading, PartKind kind,
                const PartCounts* counts, std::ostream& stream) {
  const auto& parts = model.Parts();
  const auto count = std::count_if(parts.begin(), parts.end(),
                                   [kind](const Part& part) { return part.kind == kind; });
  if (count == 0) {
    return;
  }
  Section section(stream, Heading(heading, static_cast<std::size_t>(count)),
                  {{"Id", Right},
                   {"Name", Left},
                   {"Nodes", Right},
                   {"Elements", Right},
                   counts == nullptr ? Table::Column{"Nodes/element", Right}
                                     : Table::Column{"Elements by nodes", Left},
                   {"Coordinates", Left},
                   {"Groups", Left}});
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const Part& part = parts[i];
    if (part.kind == kind) {
      section.Add(PartCells(model, i, IsLost(model, part, lost), counts));
    }
  }
  section.Finish();
}

void WriteAllParts(const Model& model, const LostData& lost, const PartCounts* counts,
                   std::ostream& stream) {
  constexpr std::array<std::pair<PartKind, const char*>, 6> kKinds{
      {{PartKind::Part, "Parts"},
       {PartKind::CutSection, "Cut-sections"},
       {PartKind::IsoSurface, "Iso-surfaces"},
       {PartKind::IsoVolume, "Iso-volumes"},
       {PartKind::FlowLine, "Flow lines"},
       {PartKind::Shape, "Other shapes"}}};
  for (const auto& [kind, heading] : kKinds) {
    WriteParts(model, lost, heading, kind, counts, stream);
  }
}

void WriteNodeSets(const LbtTev::Tree& tree, std::ostream& stream) {
  const auto sets = Analysis::NodeSetsOf(tree);
  if (sets.empty()) {
    return;
  }
  Section section(stream, Heading("Node sets", sets.size()), {{"Name", Left}, {"Members", Right}});
  for (const LbtTev::NodeSets::NodeSet* set : sets) {
    section.Add({NameText(set->name), std::to_string(set->members.size())});
  }
  section.Finish();
}

/// A subtitle is told where it changes, and "-" where there is none any more.
void WriteSteps(const Model& model, std::ostream& stream) {
  if (model.Steps().empty()) {
    return;
  }
  Section section(stream, Heading("Steps", model.Steps().size()),
                  {{"Step", Left}, {"Subtitle", Left}});
  std::string last;
  for (const Analysis::Step& step : model.Steps()) {
    const std::string subtitle = step.subtitle.empty() ? "-" : VisibleText(step.subtitle);
    section.Add({VisibleText(step.text), step.subtitle == last ? "" : subtitle});
    last = step.subtitle;
  }
  section.Finish();
}

void WriteResults(const Model& model, std::ostream& stream) {
  if (model.Results().empty()) {
    return;
  }
  Section section(stream, Heading("Results", model.Results().size()),
                  {{"Name", Left}, {"Components", Right}, {"Location", Left}});
  for (const Analysis::Result& result : model.Results()) {
    section.Add({NameText(result.name),
                 result.components ? std::to_string(*result.components) : "mixed",
                 std::string(TextOf(result.location))});
  }
  section.Finish();
}

void WriteFiles(const RootFacts& root, std::ostream& stream) {
  const std::array<std::pair<const char*, const LbtTev::NativeFile*>, 2> files{
      {{"model", &root.modelFile}, {"results", &root.resultsFile}}};
  if (!root.modelFile.path && !root.resultsFile.path) {
    return;
  }
  Section section(stream, "Native files",
                  {{"Of", Left}, {"Path", Left}, {"Format", Left}, {"Size", Left}});
  for (const auto& [what, file] : files) {
    if (file->path) {
      section.Add({what, VisibleText(*file->path), VisibleText(file->type.value_or("")),
                   VisibleText(file->size.value_or(""))});
    }
  }
  section.Finish();
}

void WriteAttributes(const LbtUtil::AttributeMap& attributes, std::ostream& stream) {
  if (!attributes.empty()) {
    stream << "\n  Attributes of the model\n";
  }
  for (const auto& [name, value] : attributes) {
    stream << "    " << NameText(name) << ": " << VisibleText(value.GetAttributeString()) << '\n';
  }
}

}  // namespace

void WriteInfoText(const Model& model, const LostData& lost, const PartCounts* counts,
                   std::ostream& stream) {
  model.RequireModestPaths();
  const RootFacts root = RootFactsOf(model.GetTree());
  WriteTop(model, lost, root, counts, stream);
  WritePrograms(model.GetTree(), stream);
  WriteAllParts(model, lost, counts, stream);
  WriteNodeSets(model.GetTree(), stream);
  WriteSteps(model, stream);
  WriteResults(model, stream);
  WriteFiles(root, stream);
  WriteAttributes(root.others, stream);
}
