#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/TevInfo/TreeOutline.h"
#include "Lbt/Tev/Tree.h"
#include "tev/Answers.h"
#include "tev/Json.h"

/// What of a tree is wanted.
struct TreeOptions {
  std::size_t depth = std::numeric_limits<std::size_t>::max();  ///< of the deepest nodes
  bool isVerbose = false;
  bool withStorage = false;  ///< where the data of variables is stored; verbose, too
};

/// Where in a container data is stored.
struct StoragePlace {
  std::size_t block = 0;     ///< its number
  std::uint64_t offset = 0;  ///< in the contents of that block
};

/// Finds the places of variables by the lengths that the blocks have by the file's own word.
class Storage {
 public:
  /// Reads the length fields of the blocks. Throws "Read Error".
  explicit Storage(LbtLbf::LbFile& file);

  /// None for a variable without data of its own, and beyond the blocks.
  [[nodiscard]] std::optional<StoragePlace> PlaceOf(
      const LbtTev::Geometry::VarStruct& variable) const;

 private:
  struct Start {
    std::uint64_t position;  ///< in the stream
    std::size_t block;
  };

  std::vector<Start> starts_;  // of the blocks of the heavy data
  std::uint64_t end_ = 0;
};

/// Draws a tree in full: a line for each node, indented by its depth, with lines below
/// it for what it holds. Deeper than 40 levels the indent stays and the depth is told.
/// "storage" may be null.
void DrawInFull(const LbtTev::Report::TreeOutline& outline, const TreeOptions& options,
                const Storage* storage, std::ostream& stream);

/// Draws a tree with lines, each shape with its mesh and results on one line. Lines are cut to
/// "limit" columns.
void DrawCompact(const LbtTev::Tree& tree, const LbtTev::Report::TreeOutline& outline,
                 const TreeOptions& options, const LostData& lost, std::optional<std::size_t> limit,
                 std::ostream& stream);

/// Writes the member "nodes" of a tree: the list of its nodes, each before its children. The
/// list is flat and the depth a number, since readers of JSON bear only so much nesting.
/// "storage" may be null.
void WriteTree(const LbtTev::Report::TreeOutline& outline, const TreeOptions& options,
               const Storage* storage, const LostData& lost, JsonWriter& json);

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
