// What elements become by their number of nodes, by rules, and by how flat they are.
#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <vector>

#include "Lbt/Tev/Analysis/Cells.h"

namespace LbtTev::Analysis {
namespace {

/// The corners of a cube of edge 1 in the order of a hexahedron: bottom, then top.
constexpr std::array<float, 24> kCube{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0,
                                      0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};

CellShape ShapeOf(const CellRules& rules, const std::vector<unsigned int>& nodes) {
  return rules.ShapeOf(nodes, kCube);
}

CellRules Rules(std::string_view text) {
  CellRules rules;
  EXPECT_EQ(rules.Set(text), "");
  return rules;
}

TEST(CellRules, WithoutRules_AllIsASurface) {
  const CellRules rules;
  EXPECT_EQ(ShapeOf(rules, {}), CellShape::Empty);
  EXPECT_EQ(ShapeOf(rules, {0}), CellShape::Vertex);
  EXPECT_EQ(ShapeOf(rules, {0, 1}), CellShape::Line);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2}), CellShape::Triangle);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 4}), CellShape::Quad);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3, 4}), CellShape::Polygon);
}

TEST(CellRules, Named_GoByTheNumberOfNodes) {
  const CellRules rules = Rules("4=tetra,8=hexahedron,5=polygon");
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3}), CellShape::Tetra);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3, 4, 5, 6, 7}), CellShape::Hexahedron);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3, 4}), CellShape::Polygon);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2}), CellShape::Triangle);
  EXPECT_FALSE(rules.AreGuessing());
}

TEST(CellRules, Guessing_TellsSolidsFromFlatElements) {
  const CellRules rules = Rules("auto");
  EXPECT_TRUE(rules.AreGuessing());
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3}), CellShape::Quad);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 4}), CellShape::Tetra);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3, 4}), CellShape::Pyramid);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 3, 4, 5, 7}), CellShape::Wedge);
  EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3, 4, 5, 6, 7}), CellShape::Hexahedron);
  EXPECT_EQ(ShapeOf(rules, {0, 0, 0, 0}), CellShape::Quad);
}

TEST(CellRules, NamedBesideGuessing_Wins) {
  CellRules oneByOne = Rules("auto");
  EXPECT_EQ(oneByOne.Set("4=quad"), "");
  for (const CellRules& rules : {oneByOne, Rules("auto,4=quad"), Rules("4=quad,auto")}) {
    EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 4}), CellShape::Quad);
    EXPECT_EQ(ShapeOf(rules, {0, 1, 2, 3, 4}), CellShape::Pyramid);
  }
}

TEST(CellRules, WrongOnes_AreNamed) {
  CellRules rules;
  EXPECT_EQ(rules.Set("tetra"), "\"tetra\" is no rule like 4=tetra, nor auto");
  EXPECT_EQ(rules.Set("4=tetra,"), "\"\" is no rule like 4=tetra, nor auto");
  EXPECT_EQ(rules.Set("4x=tetra"), "\"4x=tetra\" is no rule like 4=tetra, nor auto");
  EXPECT_EQ(rules.Set("4=cube"), "there is no cell \"cube\"");
  EXPECT_EQ(rules.Set("0=empty"), "there is no cell \"empty\"");
  EXPECT_EQ(rules.Set("4=tetra10"), "a cell \"tetra10\" has 10 nodes, not 4");
  EXPECT_EQ(rules.Set("2=vertex"), "a cell \"vertex\" has 1 node, not 2");
}

TEST(CellShapes, HaveTheNodesOfTheirNames) {
  EXPECT_EQ(FactsOf(CellShape::Tetra10).name, "tetra10");
  EXPECT_EQ(FactsOf(CellShape::Tetra10).nodes, 10U);
  EXPECT_EQ(FactsOf(CellShape::Hexahedron20).nodes, 20U);
}

TEST(Flatness, IsSixVolumesInCubesOfTheLongestEdge) {
  const auto flatness = [](std::array<float, 12> p) {
    const std::span<const float> all(p);
    return Flatness(all.first<3>(), all.subspan<3, 3>(), all.subspan<6, 3>(), all.subspan<9, 3>());
  };
  EXPECT_DOUBLE_EQ(flatness({0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 2}), 24.0 / 125);
  EXPECT_EQ(flatness({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}), 0);
  EXPECT_EQ(flatness({1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}), 0);
}

}  // namespace
}  // namespace LbtTev::Analysis
