#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>

/// What the elements of a mesh become in other formats. A model tells the nodes of an element and
/// no type.
namespace LbtTev::Analysis {

/// The type of a cell, by its code in VTK.
enum class CellShape : std::uint8_t {
  Empty = 0,
  Vertex = 1,
  Line = 3,
  Triangle = 5,
  Polygon = 7,
  Quad = 9,
  Tetra = 10,
  Hexahedron = 12,
  Wedge = 13,
  Pyramid = 14,
  Line3 = 21,
  Triangle6 = 22,
  Quad8 = 23,
  Tetra10 = 24,
  Hexahedron20 = 25,
  Wedge15 = 26,
  Pyramid13 = 27,
};

/// What is known of a shape.
struct ShapeFacts {
  CellShape shape = CellShape::Polygon;
  std::string_view name;      ///< "tetra10"
  unsigned int nodes = 0;     ///< 0: any number
  unsigned int xdmfCode = 0;  ///< in lists of mixed types
  std::string_view xdmfName;
};

[[nodiscard]] const ShapeFacts& FactsOf(CellShape shape);

/// |det| / L^3 of four points: six times the volume that they span, in cubes of the longest
/// distance between two of them; 0 for flat elements. NaN where coordinates are.
[[nodiscard]] double Flatness(std::span<const float, 3> a, std::span<const float, 3> b,
                              std::span<const float, 3> c, std::span<const float, 3> d);

/// Which shape an element of so many nodes becomes. Without more rules it is a surface: a vertex,
/// line, triangle, quad or polygon.
class CellRules {
 public:
  /// Takes rules as in "4=tetra,10=tetra10"; "auto" among them: elements of as many nodes as a
  /// solid has that have no rule, and are not flat, become that solid. Returns what is wrong with
  /// them; empty where nothing is.
  [[nodiscard]] std::string Set(std::string_view text);

  [[nodiscard]] bool AreGuessing() const { return isGuessing_; }

  /// The shape of the element of these nodes, which are among the points of "coordinates".
  [[nodiscard]] CellShape ShapeOf(std::span<const unsigned int> nodes,
                                  std::span<const float> coordinates) const;

 private:
  [[nodiscard]] std::string SetOne(std::string_view rule);

  bool isGuessing_ = false;
  std::map<std::size_t, CellShape> rules_;
};

/// How many elements of so many nodes were taken for a shape.
using TakenShapes = std::map<std::pair<std::size_t, CellShape>, std::size_t>;

}  // namespace LbtTev::Analysis
