#pragma once

#include <cstddef>
#include <span>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Analysis/FileOrder.h"
#include "Lbt/Tev/Analysis/Model.h"

namespace LbtTev::Analysis {

/// What makes up the mesh of a part: its coordinates, its faces and their lengths.
[[nodiscard]] WantedGroup WantedMesh(const MeshVariables& mesh);

/// Where a field belongs on a mesh: Unknown where it has a value neither for each node nor for each
/// element of it.
[[nodiscard]] Location LocationOn(const MeshVariables& mesh, const Field& field);

/// Throws "Model Error" where coordinates are not three for each point.
void RequireThreeCoordinates(const MeshVariables& mesh);

/// Loaded numbers of a mesh, which have been checked.
struct LoadedMesh {
  LoadedMesh() = default;

  /// "mesh" has coordinates. Throws what went wrong with what was loaded, and "Model Error" for
  /// damage.
  LoadedMesh(const MeshVariables& mesh, const LoadedGroup& loaded);

  std::span<const float> coordinates;  ///< three for each point
  bool hasFaces = false;               ///< else each point is an element
  std::span<const unsigned int> faces;
  std::span<const unsigned int> lengths;

  [[nodiscard]] std::size_t Points() const { return coordinates.size() / 3; }
  [[nodiscard]] std::size_t Cells() const { return hasFaces ? lengths.size() : Points(); }
  [[nodiscard]] UsedNodes Used() const;
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

/// Counts what the elements become.
[[nodiscard]] TakenShapes ShapesOf(const LoadedMesh& mesh, const CellRules& rules);

}  // namespace LbtTev::Analysis
