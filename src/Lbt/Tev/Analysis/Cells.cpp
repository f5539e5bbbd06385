// Decides which type of cell an element becomes.

#include "Lbt/Tev/Analysis/Cells.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <system_error>

namespace LbtTev::Analysis {

namespace {

constexpr ShapeFacts kShapes[]{
    {CellShape::Polygon, "polygon", 0, 3, "Polygon"},
    {CellShape::Empty, "empty", 0, 3, "Polygon"},
    {CellShape::Vertex, "vertex", 1, 1, "Polyvertex"},
    {CellShape::Line, "line", 2, 2, "Polyline"},
    {CellShape::Triangle, "triangle", 3, 4, "Triangle"},
    {CellShape::Quad, "quad", 4, 5, "Quadrilateral"},
    {CellShape::Tetra, "tetra", 4, 6, "Tetrahedron"},
    {CellShape::Pyramid, "pyramid", 5, 7, "Pyramid"},
    {CellShape::Wedge, "wedge", 6, 8, "Wedge"},
    {CellShape::Hexahedron, "hexahedron", 8, 9, "Hexahedron"},
    {CellShape::Line3, "line3", 3, 34, "Edge_3"},
    {CellShape::Triangle6, "triangle6", 6, 36, "Triangle_6"},
    {CellShape::Quad8, "quad8", 8, 37, "Quadrilateral_8"},
    {CellShape::Tetra10, "tetra10", 10, 38, "Tetrahedron_10"},
    {CellShape::Pyramid13, "pyramid13", 13, 39, "Pyramid_13"},
    {CellShape::Wedge15, "wedge15", 15, 40, "Wedge_15"},
    {CellShape::Hexahedron20, "hexahedron20", 20, 48, "Hexahedron_20"},
};

/// What an element may be by its number of nodes, and four of its corners that no plane holds then.
struct Guess {
  std::size_t nodes;
  CellShape shape;
  std::array<std::size_t, 4> corners;
};

constexpr Guess kGuesses[]{
    {4, CellShape::Tetra, {0, 1, 2, 3}},      {10, CellShape::Tetra10, {0, 1, 2, 3}},
    {5, CellShape::Pyramid, {0, 1, 3, 4}},    {13, CellShape::Pyramid13, {0, 1, 3, 4}},
    {6, CellShape::Wedge, {0, 1, 2, 3}},      {15, CellShape::Wedge15, {0, 1, 2, 3}},
    {8, CellShape::Hexahedron, {0, 1, 3, 4}}, {20, CellShape::Hexahedron20, {0, 1, 3, 4}},
};

CellShape SurfaceOf(std::size_t nodes) {
  constexpr std::array kSurfaces{CellShape::Empty, CellShape::Vertex, CellShape::Line,
                                 CellShape::Triangle, CellShape::Quad};
  return nodes < kSurfaces.size() ? kSurfaces.at(nodes) : CellShape::Polygon;
}

std::span<const float, 3> PointAt(std::span<const float> coordinates, std::size_t node) {
  return coordinates.subspan(node * 3).first<3>();
}

using Vector = std::array<double, 3>;

Vector Difference(std::span<const float, 3> to, std::span<const float, 3> from) {
  return {static_cast<double>(to[0]) - static_cast<double>(from[0]),
          static_cast<double>(to[1]) - static_cast<double>(from[1]),
          static_cast<double>(to[2]) - static_cast<double>(from[2])};
}

/// Of floats: neither too large nor too small for a double.
double SquareOf(const Vector& v) { return v[0] * v[0] + v[1] * v[1] + v[2] * v[2]; }

/// Whether an element is the solid that one of its number of nodes may be. The tetrahedra of real
/// meshes, slivers included, are above 1e-3; four nodes of a quad are below 1e-6.
bool IsSolid(const Guess& guess, std::span<const unsigned int> nodes,
             std::span<const float> coordinates) {
  constexpr double kLeast = 4e-5;
  const auto corner = [&](std::size_t i) {
    return PointAt(coordinates, nodes[guess.corners.at(i)]);
  };
  return Flatness(corner(0), corner(1), corner(2), corner(3)) > kLeast;
}

}  // namespace

const ShapeFacts& FactsOf(CellShape shape) {
  return *std::ranges::find(kShapes, shape, &ShapeFacts::shape);
}

double Flatness(std::span<const float, 3> a, std::span<const float, 3> b,
                std::span<const float, 3> c, std::span<const float, 3> d) {
  const Vector u = Difference(b, a);
  const Vector v = Difference(c, a);
  const Vector w = Difference(d, a);
  const double determinant = u[0] * (v[1] * w[2] - v[2] * w[1]) -
                             u[1] * (v[0] * w[2] - v[2] * w[0]) +
                             u[2] * (v[0] * w[1] - v[1] * w[0]);
  const double square = std::max({SquareOf(u), SquareOf(v), SquareOf(w), SquareOf(Difference(c, b)),
                                  SquareOf(Difference(d, b)), SquareOf(Difference(d, c))});
  return square == 0 ? 0 : std::abs(determinant) / (square * std::sqrt(square));
}

std::string CellRules::Set(std::string_view text) {
  for (;;) {
    const std::size_t comma = text.find(',');
    if (std::string fault = SetOne(text.substr(0, comma)); !fault.empty()) {
      return fault;
    }
    if (comma == std::string_view::npos) {
      return {};
    }
    text.remove_prefix(comma + 1);
  }
}

std::string CellRules::SetOne(std::string_view rule) {
  if (rule == "auto") {
    isGuessing_ = true;
    return {};
  }
  const std::size_t equals = rule.find('=');
  const std::string_view number = rule.substr(0, equals);
  std::size_t nodes = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), nodes);
  if (equals == std::string_view::npos || read.ec != std::errc() ||
      read.ptr != number.data() + number.size()) {
    return "\"" + std::string(rule) + "\" is no rule like 4=tetra, nor auto";
  }
  const std::string_view name = rule.substr(equals + 1);
  const auto* facts = std::ranges::find(kShapes, name, &ShapeFacts::name);
  if (facts == std::end(kShapes) || facts->shape == CellShape::Empty) {
    return "there is no cell \"" + std::string(name) + '"';
  }
  if (facts->nodes != 0 && facts->nodes != nodes) {
    return "a cell \"" + std::string(name) + "\" has " + std::to_string(facts->nodes) +
           (facts->nodes == 1 ? " node, not " : " nodes, not ") + std::to_string(nodes);
  }
  rules_[nodes] = facts->shape;
  return {};
}

CellShape CellRules::ShapeOf(std::span<const unsigned int> nodes,
                             std::span<const float> coordinates) const {
  if (const auto rule = rules_.find(nodes.size()); rule != rules_.end()) {
    return rule->second;
  }
  const auto* guess = std::ranges::find(kGuesses, nodes.size(), &Guess::nodes);
  const bool isSolid =
      isGuessing_ && guess != std::end(kGuesses) && IsSolid(*guess, nodes, coordinates);
  return isSolid ? guess->shape : SurfaceOf(nodes.size());
}

}  // namespace LbtTev::Analysis
