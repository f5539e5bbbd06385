// Finds the parts of a model and says where they lie and what they share.
#include <algorithm>
#include <utility>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Node.h"

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
      {"Geometry", PartKind::Part},
      {"Cut-Sections", PartKind::CutSection},
      {"Iso-Surfaces", PartKind::IsoSurface},
      {"Iso-Volumes", PartKind::IsoVolume},
      {"Flow Lines", PartKind::FlowLine}};
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

/// The variable without a step, else the first stored one.
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

void Model::FindParts() {
  contents_.emplace_back();  // of all parts that lack a geometry
  std::map<const Geometry*, std::size_t> contentOf{{nullptr, 0}};
  for (const auto& [id, entry] : tree_->GetNodes()) {
    if (NodeCast<Shape>(entry.data) == nullptr) {
      continue;
    }
    Part& part = parts_.emplace_back();
    part.id = id;
    part.name = ShownName(entry.data->name);
    part.kind = KindOf(*tree_, id);
    const Entry* child = entry.firstChild == 0 ? nullptr : tree_->FindNode(entry.firstChild);
    part.geometry = child == nullptr ? nullptr : NodeCast<Geometry>(child->data);
    const auto [known, isNew] = contentOf.emplace(part.geometry, contents_.size());
    if (isNew) {
      contents_.emplace_back().geometry = part.geometry;
    }
    part.content = known->second;
  }
}

void Model::Describe(Part& part, const std::map<unsigned int, unsigned int>& partOfGeometry) const {
  const MeshVariables& mesh = part.mesh = ShownMesh(contents_[part.content].meshes);
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

std::vector<std::string> Model::PathOf(const Part& part) const {
  std::vector<std::string> path;
  ForGroupsAbove(*tree_, part.id, [&path](const Group& group) {
    path.push_back(ShownName(group.name));
    return true;
  });
  std::ranges::reverse(path);
  return path;
}

}  // namespace LbtTev::Analysis
