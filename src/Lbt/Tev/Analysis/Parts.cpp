// Finds the parts and the steps of a model, and puts steps in order.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Analysis {

namespace {

using Entry = LbtAdt::TreeNode<Node*>;

/// Groups above a shape that are looked at: links of a damaged tree may run in circles, and a
/// deep one would otherwise be walked anew for each of its shapes.
constexpr std::size_t kMostLevels = 256;

/// Calls "take" with the groups above an entry, from the lowest up, as long as it returns true.
template <class Take>
void ForGroupsAbove(const Tree& tree, unsigned int id, const Take& take) {
  const Entry* entry = tree.FindNode(id);
  for (std::size_t level = 0; level < kMostLevels && entry != nullptr; ++level) {
    entry = entry->parent == 0 ? nullptr : tree.FindNode(entry->parent);
    const auto* group = entry == nullptr ? nullptr : NodeCast<Group>(entry->data);
    if (group != nullptr && !take(*group)) {
      return;
    }
  }
}

std::optional<PartKind> KindUnder(std::string_view groupName) {
  static constexpr std::pair<std::string_view, PartKind> kKinds[]{
      {GroupName::kParts, PartKind::Part},
      {GroupName::kCutSections, PartKind::CutSection},
      {GroupName::kIsoSurfaces, PartKind::IsoSurface},
      {GroupName::kIsoVolumes, PartKind::IsoVolume},
      {GroupName::kFlowLines, PartKind::FlowLine}};
  const auto* found =
      std::ranges::find(kKinds, groupName, &std::pair<std::string_view, PartKind>::first);
  return found == std::end(kKinds) ? std::nullopt : std::optional(found->second);
}

PartKind KindOf(const Tree& tree, unsigned int id) {
  PartKind kind = PartKind::Shape;
  ForGroupsAbove(tree, id, [&kind](const Group& group) {
    const std::optional<PartKind> found = KindUnder(group.name);
    kind = found.value_or(kind);
    return !found;
  });
  return kind;
}

std::optional<double> NodesPerElement(const MeshVariables& mesh) {
  const std::size_t elements = mesh.ElementCount();
  if (mesh.faces == nullptr || elements == 0) {
    return std::nullopt;
  }
  return static_cast<double>(mesh.faces->array.GetNumElements()) / static_cast<double>(elements);
}

/// Each variable is the one without a step, else that of the first step that has one.
template <class Meshes>
MeshVariables ShownMesh(const Meshes& meshes) {
  MeshVariables shown;
  for (const auto& [step, mesh] : meshes) {
    for (const MeshRole role : kMeshRoles) {
      shown.*role = shown.*role == nullptr ? mesh.*role : shown.*role;
    }
  }
  return shown;
}

// --- Steps

/// The number that a text begins with, perhaps after blanks.
std::optional<double> NumberAtStartOf(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (text.starts_with('+') && !text.starts_with("+-")) {
    text.remove_prefix(1);
  }
  double value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isNumber = read.ec == std::errc() && std::isfinite(value);
  return isNumber ? std::optional(value) : std::nullopt;
}

/// None comes last.
std::weak_ordering CompareValues(const std::optional<double>& left,
                                 const std::optional<double>& right) {
  if (!left || !right) {
    if (left.has_value() == right.has_value()) {
      return std::weak_ordering::equivalent;
    }
    return left ? std::weak_ordering::less : std::weak_ordering::greater;
  }
  if (*left == *right) {
    return std::weak_ordering::equivalent;
  }
  return *left < *right ? std::weak_ordering::less : std::weak_ordering::greater;
}

}  // namespace

std::string_view TextOf(PartKind kind) {
  static constexpr std::string_view kTexts[]{"part",       "cut-section", "iso-surface",
                                             "iso-volume", "flow-line",   "shape"};
  return kTexts[static_cast<std::size_t>(kind)];
}

std::string_view TextOf(Location location) {
  static constexpr std::string_view kTexts[]{"node", "element", "unknown", "mixed"};
  return kTexts[static_cast<std::size_t>(location)];
}

const Geometry* GeometryOf(const Tree& tree, const Entry& shape) {
  const Entry* child = shape.firstChild == 0 ? nullptr : tree.FindNode(shape.firstChild);
  return child == nullptr ? nullptr : NodeCast<Geometry>(child->data);
}

bool IsLost(const Model& model, const Part& part, const LostData& lost) {
  return part.geometry == nullptr ||
         lost.HasLightOf(model.GetTree().GetNodes().at(part.id).firstChild);
}

std::size_t PointsOf(const Part& part, const MeshVariables& mesh, std::optional<std::size_t> step) {
  if (mesh.coordinates == nullptr) {
    return step ? 0 : part.nodes;
  }
  return TuplesOf(mesh.coordinates->array);
}

void Model::FindParts() {
  contents_.emplace_back();  // of all parts that lack a geometry
  std::map<const Geometry*, std::size_t> contentOf{{nullptr, 0}};
  std::map<std::string, std::size_t> firstOfName;
  for (const auto& [id, entry] : tree_->GetNodes()) {
    if (NodeCast<Shape>(entry.data) == nullptr) {
      continue;
    }
    Part& part = parts_.emplace_back();
    part.id = id;
    part.name = ShownName(entry.data->name);
    part.kind = KindOf(*tree_, id);
    part.geometry = GeometryOf(*tree_, entry);
    const auto [known, isNew] = contentOf.emplace(part.geometry, contents_.size());
    if (isNew) {
      contents_.emplace_back().geometry = part.geometry;
    }
    part.content = known->second;
    const auto [first, isFirst] = firstOfName.emplace(part.name, parts_.size() - 1);
    part.hasNamesake = !isFirst;
    parts_[first->second].hasNamesake = !isFirst;
  }
}

void Model::Describe(Part& part, const std::map<unsigned int, unsigned int>& partOfGeometry) const {
  const MeshVariables& mesh = part.mesh = ShownMesh(contents_[part.content].meshes.Own());
  part.elements = mesh.ElementCount();
  part.nodesPerElement = NodesPerElement(mesh);
  if (mesh.coordinates == nullptr) {
    return;
  }
  part.nodes = TuplesOf(mesh.coordinates->array);
  const auto owner = partOfGeometry.find(mesh.coordinates->linkNodeId);
  if (mesh.coordinates->isLinked && owner != partOfGeometry.end()) {
    part.sharesWith = owner->second;
  }
}

void Model::ChargePathOf(const Part& part) const {
  std::size_t bytes = 0;
  ForGroupsAbove(*tree_, part.id, [&bytes](const Group& group) {
    bytes += group.name.size();
    return true;
  });
  tree_->GetStreams().tree.Charge(BeyondOrdinary(bytes));
}

void Model::RequireModestPaths() const {
  const ModelStream::Request request(tree_->GetStreams().tree);
  for (const Part& part : parts_) {
    ChargePathOf(part);
  }
}

std::vector<std::string> Model::PathOf(const Part& part) const {
  std::vector<std::string> path;
  ForGroupsAbove(*tree_, part.id, [&path](const Group& group) {
    path.push_back(ShownName(group.name));
    return true;
  });
  std::ranges::reverse(path);
  return path;
}

Step::Step(std::string_view instance) : text(ShownName(instance)) {
  const std::size_t separator = text.find(kBeforeValue);
  label = text.substr(0, separator);
  if (separator != std::string::npos) {
    value = NumberAtStartOf(std::string_view(text).substr(separator + kBeforeValue.size()));
  }
}

std::weak_ordering operator<=>(const Step& left, const Step& right) {
  if (const int order = left.label.compare(right.label); order != 0) {
    return order <=> 0;
  }
  const std::weak_ordering order = CompareValues(left.value, right.value);
  return order != std::weak_ordering::equivalent ? order : left.text.compare(right.text) <=> 0;
}

bool operator==(const Step& left, const Step& right) { return left.text == right.text; }

/// Different instances may be shown with the same text, and are the same step then.
void Model::FindSteps() {
  std::map<std::string, const Geometry::VarStruct*> subtitled;
  for (const Content& content : contents_) {
    if (content.geometry == nullptr) {
      continue;
    }
    for (const Geometry::VarStruct& variable : content.geometry->variables) {
      const std::string_view instance = VariableName(variable.name).instance;
      if (instance.empty()) {
        continue;
      }
      const auto [known, isNew] = stepOfInstance_.emplace(instance, 0);
      const bool hasSubtitle = variable.attributes.contains("Subtitle");
      if (isNew || hasSubtitle) {
        const Geometry::VarStruct*& first =
            subtitled.emplace(ShownName(instance), nullptr).first->second;
        first = first == nullptr && hasSubtitle ? &variable : first;
      }
    }
  }
  for (const auto& [text, variable] : subtitled) {
    Step& step = steps_.emplace_back(text);
    step.subtitle =
        variable == nullptr ? "" : variable->attributes.at("Subtitle").GetAttributeString();
  }
  std::ranges::sort(steps_, [](const Step& left, const Step& right) { return left < right; });
  std::map<std::string_view, std::size_t> places;
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    places.emplace(steps_[i].text, i);
  }
  for (auto& [instance, step] : stepOfInstance_) {
    step = places.at(ShownName(instance));
  }
}

std::optional<std::size_t> Model::StepOf(std::string_view instance) const {
  return instance.empty() ? std::nullopt : std::optional(stepOfInstance_.at(instance));
}

StepRange Model::GetStepRange() const {
  StepRange range{.count = steps_.size()};
  if (steps_.empty() || steps_.front().label != steps_.back().label) {
    return range;
  }
  range.label = steps_.front().label;
  range.first = steps_.front().value;
  const auto last = std::find_if(steps_.rbegin(), steps_.rend(),
                                 [](const Step& step) { return step.value.has_value(); });
  range.last = last == steps_.rend() ? std::nullopt : last->value;
  return range;
}

std::optional<std::size_t> Model::FindStep(std::string_view text) const {
  const auto found = std::ranges::find(steps_, text, &Step::text);
  return found == steps_.end() ? std::nullopt
                               : std::optional(static_cast<std::size_t>(found - steps_.begin()));
}

}  // namespace LbtTev::Analysis
