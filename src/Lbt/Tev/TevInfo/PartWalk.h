#pragma once

#include <string>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Report {

/// A shape with its geometry, as the walk comes to it.
struct Part {
  const std::string& name;  ///< of the group that it belongs to, which the dump calls the analysis
  unsigned int geometryId;
  const Geometry& geometry;
  bool isRepeated;  ///< another shape with this geometry has been met
};

/// Who takes what lies in the shapes of a model derives from this.
class PartSink {
 public:
  PartSink() = default;
  virtual ~PartSink() = default;
  PartSink(const PartSink&) = delete;
  PartSink& operator=(const PartSink&) = delete;

  /// A shape lies under a group: directly, or one level deeper under a group "Geometry".
  virtual void List(const std::string& group, const std::string& shape) = 0;

  virtual void Take(const Part& part) = 0;
};

/// Hands the shapes of a tree to "sink", in ascending order of id: where each lies, then its
/// geometry. Throws "Element Not Found" for a shape without a first child, GeometryAssertion, and
/// what the sink throws.
void WalkParts(const Tree& tree, PartSink& sink);

/// Copies the attributes of the root, where it is a group.
void GatherRootAttributes(const Tree& tree, LbtUtil::AttributeMap& attributes);

}  // namespace LbtTev::Report
