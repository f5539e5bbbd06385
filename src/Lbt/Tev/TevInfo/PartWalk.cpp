// Walks over the shapes of a model: where they lie and which geometry each has.

#include "PartWalk.h"

#include <set>

#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/RootFacts.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"

namespace LbtTev::Report {

namespace {

using TreeEntry = LbtAdt::TreeNode<Node*>;

const Group* AsGroup(const TreeEntry* entry) {
  return entry == nullptr ? nullptr : NodeCast<Group>(entry->data);
}

const TreeEntry* ParentOf(const Tree& tree, const TreeEntry* entry) {
  return entry == nullptr ? nullptr : tree.FindNode(entry->parent);
}

/// Lists a shape under the groups above it and returns the name of the part that it
/// belongs to. A shape may lie directly under a group "Geometry" or one level deeper.
const std::string& ListShape(const Tree& tree, const TreeEntry& shape, PartSink& sink) {
  static const std::string kNoName;
  const TreeEntry* parent = tree.FindNode(shape.parent);
  const TreeEntry* grandparent = ParentOf(tree, parent);
  const Group* group = AsGroup(parent);
  const Group* above = AsGroup(grandparent);
  if (group != nullptr) {
    sink.List(group->name, shape.data->name);
  }
  if (above == nullptr) {
    return group == nullptr ? kNoName : group->name;
  }
  const bool isDirect = group != nullptr && group->name == GroupName::kParts;
  const Group* top = AsGroup(ParentOf(tree, grandparent));
  if (isDirect || above->name != GroupName::kParts || top == nullptr) {
    return above->name;
  }
  sink.List(above->name, shape.data->name);
  return top->name;
}

using Position = Tree::Nodes::const_iterator;

/// Knows which geometries have been met. Mostly a geometry's parent is its one shape, which
/// nothing needs to be kept for: at most the parent comes after another shape.
class MetGeometries {
 public:
  /// Whether another shape has been met with the same geometry.
  [[nodiscard]] bool IsRepeated(const TreeEntry& shape, const TreeEntry& geometry) {
    return geometry.parent != shape.id && !ofOthers_.insert(geometry.id).second;
  }

 private:
  std::set<unsigned int> ofOthers_;  // geometries that shapes which are not their parents name
};

}  // namespace

void WalkParts(const Tree& tree, PartSink& sink) {
  MetGeometries met;
  for (auto shape = tree.GetNodes().begin(); shape != tree.GetNodes().end(); ++shape) {
    if (NodeCast<Shape>(shape->second.data) == nullptr) {
      continue;
    }
    const std::string& partName = ListShape(tree, shape->second, sink);
    const TreeEntry& child = tree.GetFirstChild(shape);
    const auto* geometry = NodeCast<Geometry>(child.data);
    if (geometry == nullptr) {
      throw GeometryAssertion();
    }
    sink.Take({partName, child.id, *geometry, met.IsRepeated(shape->second, child)});
  }
}

void GatherRootAttributes(const Tree& tree, LbtUtil::AttributeMap& attributes) {
  for (const auto& [name, value] : RootAttributesOf(tree)) {
    attributes.insert_or_assign(name, value);
  }
}

}  // namespace LbtTev::Report
