#pragma once

#include <array>
#include <span>
#include <vector>

namespace LbtTev::View {

/// Twice the area, as a normal, of what goes around these nodes.
[[nodiscard]] std::array<double, 3> NormalOf(std::span<const unsigned int> around,
                                             std::span<const float> coordinates);

/// Adds the triangles of the polygon that goes around these nodes; none for lines and points.
/// "hasMiddles": every second node is the middle of an edge. "coordinates" are three for each node.
/// Triangles of a polygon with corners that point inward stay within it. Takes time in proportion
/// to the nodes: polygons of very many are taken for convex.
void AddTriangles(std::span<const unsigned int> around, bool hasMiddles,
                  std::span<const float> coordinates,
                  std::vector<std::array<unsigned int, 3>>& triangles);

}  // namespace LbtTev::View
