#pragma once

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"

/// Calls "visitor" with the node as what it is: a group, shape, geometry, node sets or
/// future node. Nothing is called for any other.
template <class Visitor>
void VisitNode(const LbtTev::Node& node, Visitor&& visitor) {
  if (const auto* group = dynamic_cast<const LbtTev::Group*>(&node)) {
    visitor(*group);
  } else if (const auto* shape = dynamic_cast<const LbtTev::Shape*>(&node)) {
    visitor(*shape);
  } else if (const auto* geometry = dynamic_cast<const LbtTev::Geometry*>(&node)) {
    visitor(*geometry);
  } else if (const auto* nodeSets = dynamic_cast<const LbtTev::NodeSets*>(&node)) {
    visitor(*nodeSets);
  } else if (const auto* future = dynamic_cast<const LbtTev::FutureNode*>(&node)) {
    visitor(*future);
  }
}
