#include "Lbt/Tev/TevInfo/PartsAndResults.h"

#include <cstddef>
#include <iterator>
#include <utility>

#include "DatasetGatherer.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Group.h"
#include "Lbt/Tev/Shape.h"

namespace {

using LbtTev::Geometry;
using LbtTev::Group;
using Entry = LbtAdt::TreeNode<LbtTev::Node*>;

const Group* AsGroup(const Entry* entry) {
  return entry == nullptr ? nullptr : LbtTev::NodeCast<Group>(entry->data);
}

const Entry* ParentOf(const LbtTev::Tree& tree, const Entry* entry) {
  return entry == nullptr ? nullptr : tree.FindNode(entry->parent);
}

/// Lists a shape under the groups above it and returns the name of the part that it
/// belongs to. A shape may lie directly under a group "Geometry" or one level deeper.
std::string ListShape(const LbtTev::Tree& tree, const Entry& shape, GroupListing& groups) {
  const Entry* parent = tree.FindNode(shape.parent);
  const Entry* grandparent = ParentOf(tree, parent);
  std::string partName;
  if (const Group* group = AsGroup(parent); group != nullptr) {
    groups[group->name].push_back(shape.data->name);
    partName = group->name;
  }
  const bool isDirect = partName == "Geometry";
  if (const Group* group = AsGroup(grandparent); group != nullptr) {
    partName = group->name;
  }
  const Group* above = AsGroup(ParentOf(tree, grandparent));
  if (!isDirect && AsGroup(grandparent) != nullptr && partName == "Geometry" && above != nullptr) {
    partName = above->name;
    groups["Geometry"].push_back(shape.data->name);
  }
  return partName;
}

using Position = LbtTev::Tree::Nodes::const_iterator;

/// The first child mostly has the next id.
const Entry& FirstChildOf(const LbtTev::Tree& tree, Position shape) {
  const unsigned int firstChild = shape->second.firstChild;
  const auto next = std::next(shape);
  const bool isNext = firstChild != 0 && next != tree.GetNodes().end() && next->first == firstChild;
  return isNext ? next->second : tree.GetReqNode(firstChild);
}

const Geometry& GeometryOf(const LbtTev::Tree& tree, Position shape) {
  const auto* geometry = LbtTev::NodeCast<Geometry>(FirstChildOf(tree, shape).data);
  if (geometry == nullptr) {
    throw GeometryAssertion();
  }
  return *geometry;
}

bool IsResult(const Geometry::VarStruct& variable, const VariableName& name) {
  return variable.variableType > Geometry::VariableType::LastMesh &&
         name.result != LbtTev::MeshName::kNodeIds &&
         name.result != LbtTev::MeshName::kElementIdsInCapitals;
}

}  // namespace

LbtUtil::AttributeMap AttributesOf(const Geometry::VarStruct& variable, const VariableName& name) {
  LbtUtil::AttributeMap attributes = variable.attributes;
  attributes.insert_or_assign("Result Name", name.result);
  if (!name.instance.empty()) {
    attributes.insert_or_assign("Instance Name", name.instance);
  }
  return attributes;
}

void GatherPartsAndResults(const LbtTev::Tree& tree, GroupListing& groups,
                           ResultAttributeList& results, std::vector<TevDataset>* datasets) {
  const ResultSink addResult = [&results](const auto& variable, const VariableName& name) {
    results.push_back(AttributesOf(variable, name));
  };
  GatherPartsAndResults(tree, groups, addResult, datasets);
}

void GatherPartsAndResults(const LbtTev::Tree& tree, GroupListing& groups,
                           const ResultSink& addResult, std::vector<TevDataset>* datasets) {
  DatasetGatherer gatherer;
  for (auto shape = tree.GetNodes().begin(); shape != tree.GetNodes().end(); ++shape) {
    const Entry& entry = shape->second;
    if (LbtTev::NodeCast<LbtTev::Shape>(entry.data) == nullptr) {
      continue;
    }
    const std::string partName = ListShape(tree, entry, groups);
    const Geometry& geometry = GeometryOf(tree, shape);
    for (std::size_t i = 0; i < geometry.variables.size(); ++i) {
      const Geometry::VarStruct& variable = geometry.variables[i];
      const VariableName name(variable.name);
      if (IsResult(variable, name)) {
        addResult(variable, name);
      }
      if (datasets != nullptr) {
        gatherer.Gather({partName, name, geometry.name, entry.firstChild, i}, variable, *datasets);
      }
    }
  }
}

void GatherRootAttributes(const LbtTev::Tree& tree, LbtUtil::AttributeMap& attributes) {
  const Group* root = AsGroup(tree.FindNode(LbtTev::Tree::kRootId));
  if (root == nullptr) {
    return;
  }
  for (const auto& [name, value] : root->attributes) {
    attributes.insert_or_assign(name, value);
  }
}
