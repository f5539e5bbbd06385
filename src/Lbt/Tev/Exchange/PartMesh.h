#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Exchange/Cells.h"
#include "Lbt/Tev/Exchange/Contents.h"

namespace LbtTev::Exchange {

/// The bytes of numbers in memory, which are little-endian as those of all formats here.
template <class T>
[[nodiscard]] std::span<const std::byte> AllBytes(const std::vector<T>& numbers) {
  return std::as_bytes(std::span<const T>(numbers));
}

/// What makes up the mesh of a part: its coordinates, its faces and their lengths.
[[nodiscard]] Analysis::WantedGroup WantedMesh(const Analysis::MeshVariables& mesh);

/// How many of its stored ids a mesh takes, from the first on: one for each node or element; none
/// where these are more. Points that stand for elements have no ids.
[[nodiscard]] std::size_t IdsTaken(const Analysis::MeshVariables& mesh, Analysis::Location of);

/// Whether there are ids, but not for all nodes or elements.
[[nodiscard]] bool HasFewIds(const Analysis::MeshVariables& mesh, Analysis::Location of);

/// Loaded numbers of a mesh, which have been checked.
struct LoadedMesh {
  /// Throws what went wrong with what was loaded, and "Model Error" for damage.
  LoadedMesh(const Analysis::MeshVariables& mesh, const Analysis::LoadedGroup& loaded);

  std::span<const float> coordinates;  ///< three for each point
  bool hasFaces = false;               ///< else each point is an element
  std::span<const unsigned int> faces;
  std::span<const unsigned int> lengths;

  [[nodiscard]] std::size_t Points() const { return coordinates.size() / 3; }
  [[nodiscard]] std::size_t Cells() const { return hasFaces ? lengths.size() : Points(); }
  [[nodiscard]] Analysis::UsedNodes Used() const;
};

/// Calls "take" with the shape and the nodes of each element.
template <class Take>
void ForCells(const LoadedMesh& mesh, const CellRules& rules, const Take& take) {
  if (!mesh.hasFaces) {
    for (unsigned int node = 0; node < mesh.Points(); ++node) {
      take(CellShape::Vertex, std::span<const unsigned int>(&node, 1));
    }
    return;
  }
  std::size_t next = 0;
  for (const unsigned int length : mesh.lengths) {
    const std::span<const unsigned int> nodes = mesh.faces.subspan(next, length);
    take(rules.ShapeOf(nodes, mesh.coordinates), nodes);
    next += length;
  }
}

/// A node set, with the ids of its nodes in order.
struct SortedSet {
  std::string name;
  std::vector<std::int64_t> ids;

  [[nodiscard]] bool Has(std::int32_t id) const {
    return std::ranges::binary_search(ids, std::int64_t{id});
  }
};

/// All node sets of a model. Throws "Out of Bounds" ("The model refers to its data too often").
[[nodiscard]] std::vector<SortedSet> SortedSetsOf(const Tree& tree);

/// Throws "Model Error": there are meshes, and none can be read.
[[noreturn]] void RaiseNoMesh();

/// Counts what the elements become.
[[nodiscard]] TakenShapes ShapesOf(const LoadedMesh& mesh, const CellRules& rules);

}  // namespace LbtTev::Exchange
