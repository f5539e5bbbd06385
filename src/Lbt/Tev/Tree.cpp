// A model: its modifiers and the links between its variables.

#include "Lbt/Tev/Tree.h"

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Geometry.h"

namespace LbtTev {

namespace {

/// A linked variable and the array that it gets.
using Link = std::pair<Geometry::VarStruct*, NumericArray>;

/// The array of a link's target; an empty one where there is none.
NumericArray TargetOf(const Tree& tree, const Geometry::VarStruct& variable) {
  const Geometry::VarStruct* target = tree.FindLinkTarget(variable);
  return target == nullptr ? NumericArray() : target->array;
}

void CollectLinks(const Tree& tree, Geometry& geometry, std::vector<Link>& links) {
  for (Geometry::VarStruct& variable : geometry.variables) {
    if (variable.isLinked) {
      links.emplace_back(&variable, TargetOf(tree, variable));
    }
  }
}

}  // namespace

Tree::~Tree() {
  for (const auto& [id, entry] : GetNodes()) {
    const std::unique_ptr<Node> owned(entry.data);
  }
}

std::shared_ptr<ModelStreams> Tree::StreamsOf(LbtLbf::LbFile& file) const {
  return &file == &file_ ? streams_ : std::make_shared<ModelStreams>(file);
}

const Geometry::VarStruct* Tree::FindLinkTarget(const Geometry::VarStruct& variable) const {
  const auto* entry = FindNode(variable.linkNodeId);
  const auto* target = entry == nullptr ? nullptr : NodeCast<Geometry>(entry->data);
  const bool exists = target != nullptr && variable.linkVariableIndex < target->variables.size();
  return exists ? &target->variables[variable.linkVariableIndex] : nullptr;
}

void Tree::UpdateLinkedBuffers() {
  // The lines are fixed: the trace log has always shown them.
  constexpr unsigned long kFirstLine = 567;
  constexpr unsigned long kLastLine = 590;
  Lbt::Log::Trace("Updating buffer links ... ", "include/Lbt/Tev/Tree", kFirstLine);
  // All targets are copied before any variable changes: a link to a linked variable
  // gets what that one had.
  std::vector<Link> links;
  for (const auto& [id, entry] : GetNodes()) {
    if (auto* geometry = NodeCast<Geometry>(entry.data); geometry != nullptr) {
      CollectLinks(*this, *geometry, links);
    }
  }
  for (auto& [variable, array] : links) {
    variable->array = std::move(array);
  }
  Lbt::Log::Trace("Buffer links updated. ", "include/Lbt/Tev/Tree", kLastLine);
}

}  // namespace LbtTev
