// The faces and edges of cells, by the order that their nodes have in VTK.

#include "SolidFaces.h"

#include <algorithm>
#include <utility>

namespace LbtTev::View {

using Analysis::CellShape;

namespace {

constexpr std::array<SolidFace, 4> kTetraFaces{
    {{3, {0, 1, 3}}, {3, {1, 2, 3}}, {3, {2, 0, 3}}, {3, {0, 2, 1}}}};
constexpr std::array<SolidFace, 5> kPyramidFaces{
    {{4, {0, 3, 2, 1}}, {3, {0, 1, 4}}, {3, {1, 2, 4}}, {3, {2, 3, 4}}, {3, {3, 0, 4}}}};
constexpr std::array<SolidFace, 5> kWedgeFaces{
    {{3, {0, 1, 2}}, {3, {3, 5, 4}}, {4, {0, 3, 4, 1}}, {4, {1, 4, 5, 2}}, {4, {2, 5, 3, 0}}}};
constexpr std::array<SolidFace, 6> kHexahedronFaces{{{4, {0, 4, 7, 3}},
                                                     {4, {1, 2, 6, 5}},
                                                     {4, {0, 1, 5, 4}},
                                                     {4, {3, 7, 6, 2}},
                                                     {4, {0, 3, 2, 1}},
                                                     {4, {4, 5, 6, 7}}}};

/// The corners of an edge, the lesser first. Their order is that of the nodes in their middles.
using Edge = std::pair<std::uint8_t, std::uint8_t>;

constexpr std::array<Edge, 6> kTetraEdges{{{0, 1}, {1, 2}, {0, 2}, {0, 3}, {1, 3}, {2, 3}}};
constexpr std::array<Edge, 8> kPyramidEdges{
    {{0, 1}, {1, 2}, {2, 3}, {0, 3}, {0, 4}, {1, 4}, {2, 4}, {3, 4}}};
constexpr std::array<Edge, 9> kWedgeEdges{
    {{0, 1}, {1, 2}, {0, 2}, {3, 4}, {4, 5}, {3, 5}, {0, 3}, {1, 4}, {2, 5}}};
constexpr std::array<Edge, 12> kHexahedronEdges{{{0, 1},
                                                 {1, 2},
                                                 {2, 3},
                                                 {0, 3},
                                                 {4, 5},
                                                 {5, 6},
                                                 {6, 7},
                                                 {4, 7},
                                                 {0, 4},
                                                 {1, 5},
                                                 {2, 6},
                                                 {3, 7}}};
constexpr std::array<Edge, 1> kLineEdges{{{0, 1}}};
constexpr std::array<Edge, 3> kTriangleEdges{{{0, 1}, {1, 2}, {0, 2}}};
constexpr std::array<Edge, 4> kQuadEdges{{{0, 1}, {1, 2}, {2, 3}, {0, 3}}};

/// The edges that have nodes in their middles.
std::span<const Edge> EdgesOf(CellShape shape) {
  switch (shape) {
    case CellShape::Line3:
      return kLineEdges;
    case CellShape::Triangle6:
      return kTriangleEdges;
    case CellShape::Quad8:
      return kQuadEdges;
    case CellShape::Tetra10:
      return kTetraEdges;
    case CellShape::Pyramid13:
      return kPyramidEdges;
    case CellShape::Wedge15:
      return kWedgeEdges;
    case CellShape::Hexahedron20:
      return kHexahedronEdges;
    default:
      return {};
  }
}

}  // namespace

std::span<const SolidFace> FacesOf(CellShape shape) {
  switch (shape) {
    case CellShape::Tetra:
    case CellShape::Tetra10:
      return kTetraFaces;
    case CellShape::Pyramid:
    case CellShape::Pyramid13:
      return kPyramidFaces;
    case CellShape::Wedge:
    case CellShape::Wedge15:
      return kWedgeFaces;
    case CellShape::Hexahedron:
    case CellShape::Hexahedron20:
      return kHexahedronFaces;
    default:
      return {};
  }
}

bool HasMiddles(CellShape shape) { return !EdgesOf(shape).empty(); }

std::size_t MiddleOf(CellShape shape, std::size_t a, std::size_t b) {
  const std::span<const Edge> edges = EdgesOf(shape);
  const auto found = std::ranges::find(edges, Edge(std::min(a, b), std::max(a, b)));
  return CornersOf(shape) + static_cast<std::size_t>(found - edges.begin());
}

std::size_t CornersOf(CellShape shape) {
  return Analysis::FactsOf(shape).nodes - EdgesOf(shape).size();
}

}  // namespace LbtTev::View
