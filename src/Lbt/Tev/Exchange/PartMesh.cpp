// Which ids the mesh of a part brings along, and the node sets of a model.

#include "PartMesh.h"

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Analysis/Facts.h"

namespace LbtTev::Exchange {

using Analysis::MeshVariables;

namespace {

std::size_t IdsStored(const MeshVariables& mesh, Analysis::Location of) {
  const Geometry::VarStruct* ids = mesh.IdsOf(of);
  return ids == nullptr ? 0 : ids->array.GetNumElements();
}

std::size_t IdsWanted(const MeshVariables& mesh, Analysis::Location of) {
  if (of == Analysis::Location::Element) {
    return mesh.faces == nullptr ? 0 : mesh.ElementCount();
  }
  return mesh.coordinates == nullptr ? 0 : Analysis::TuplesOf(mesh.coordinates->array);
}

}  // namespace

std::size_t IdsTaken(const MeshVariables& mesh, Analysis::Location of) {
  const std::size_t wanted = IdsWanted(mesh, of);
  return IdsStored(mesh, of) < wanted ? 0 : wanted;
}

bool HasFewIds(const MeshVariables& mesh, Analysis::Location of) {
  const std::size_t stored = IdsStored(mesh, of);
  return stored != 0 && stored < IdsWanted(mesh, of);
}

std::vector<SortedSet> SortedSetsOf(const Tree& tree) {
  ModelStream& heavy = *tree.GetStreams().heavy;
  const ModelStream::Request request(heavy);
  std::vector<SortedSet> sorted;
  for (const NodeSets::NodeSet* set : Analysis::NodeSetsOf(tree)) {
    // Any number of nodes may share their sets.
    heavy.Charge(set->members.size() * sizeof(std::int64_t));
    SortedSet& each = sorted.emplace_back(SortedSet{Analysis::ShownName(set->name), {}});
    for (const auto& [id, other] : set->members) {
      each.ids.push_back(id);
    }
    std::ranges::sort(each.ids);
  }
  return sorted;
}

void RaiseNoMesh() {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ModelError,
                  "No part has a mesh that can be read", "include/Lbt/Tev/Exchange/Contents");
}

}  // namespace LbtTev::Exchange
