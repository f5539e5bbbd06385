// What of meshes is seen from outside.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <vector>

#include "Lbt/Tev/View/Skin.h"

namespace LbtTev::View {
namespace {

using Analysis::CellRules;
using Analysis::LoadedMesh;
using Nodes = std::vector<unsigned int>;

/// A mesh by hand.
struct HandMesh {
  std::vector<float> coordinates;
  Nodes faces;
  Nodes lengths;

  void Add(const Nodes& element) {
    faces.insert(faces.end(), element.begin(), element.end());
    lengths.push_back(static_cast<unsigned int>(element.size()));
  }

  [[nodiscard]] Skin SkinBy(std::string_view rules, std::size_t threads = 0) const {
    LoadedMesh mesh;
    mesh.coordinates = coordinates;
    mesh.hasFaces = true;
    mesh.faces = faces;
    mesh.lengths = lengths;
    CellRules cells;
    EXPECT_EQ(cells.Set(rules), "");
    return SkinOf(mesh, cells, threads);
  }
};

std::vector<Nodes> OutlinesOf(const Skin& skin) {
  std::vector<Nodes> outlines;
  for (std::size_t face = 0; face < skin.Faces(); ++face) {
    const auto outline = skin.OutlineOf(face);
    outlines.emplace_back(outline.begin(), outline.end());
  }
  return outlines;
}

std::multiset<std::set<unsigned int>> SetsOf(const Skin& skin) {
  std::multiset<std::set<unsigned int>> sets;
  for (const Nodes& outline : OutlinesOf(skin)) {
    sets.insert(std::set(outline.begin(), outline.end()));
  }
  return sets;
}

/// By the divergence theorem: the volume within triangles whose normals point outward.
double VolumeIn(const Skin& skin, const std::vector<float>& coordinates) {
  double volume = 0;
  for (const Skin::Triangle& triangle : skin.Triangles()) {
    std::array<std::array<double, 3>, 3> p{};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        p[i][axis] = static_cast<double>(coordinates[triangle[i] * 3 + axis]);
      }
    }
    volume += (p[0][0] * (p[1][1] * p[2][2] - p[1][2] * p[2][1]) -
               p[0][1] * (p[1][0] * p[2][2] - p[1][2] * p[2][0]) +
               p[0][2] * (p[1][0] * p[2][1] - p[1][1] * p[2][0])) /
              6;
  }
  return volume;
}

/// The corners of a cube of edge 1 as a hexahedron has them, and a point above its middle.
HandMesh Cube() {
  HandMesh mesh;
  mesh.coordinates = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1,    0,    0, 0,
                      1, 1, 0, 1, 1, 1, 1, 0, 1, 1, 0.5F, 0.5F, 2};
  return mesh;
}

/// A block of n x n x n cubes of edge 1.
HandMesh Block(unsigned int n) {
  HandMesh mesh;
  const unsigned int m = n + 1;
  for (unsigned int i = 0; i < m * m * m; ++i) {
    for (const unsigned int place : {i % m, i / m % m, i / m / m}) {
      mesh.coordinates.push_back(static_cast<float>(place));
    }
  }
  for (unsigned int z = 0; z < n; ++z) {
    for (unsigned int y = 0; y < n; ++y) {
      for (unsigned int x = 0; x < n; ++x) {
        const unsigned int a = x + m * (y + m * z);
        const unsigned int b = a + m * m;
        mesh.Add({a, a + 1, a + m + 1, a + m, b, b + 1, b + m + 1, b + m});
      }
    }
  }
  return mesh;
}

TEST(Skin, OfOneTetrahedron_HasItsFourFaces) {
  HandMesh mesh = Cube();
  mesh.Add({0, 1, 3, 4});
  const Skin skin = mesh.SkinBy("auto");
  EXPECT_EQ(SetsOf(skin),
            (std::multiset<std::set<unsigned int>>{{0, 1, 3}, {0, 1, 4}, {0, 3, 4}, {1, 3, 4}}));
  EXPECT_EQ(skin.Triangles().size(), 4U);
  EXPECT_DOUBLE_EQ(VolumeIn(skin, mesh.coordinates), 1.0 / 6);
}

TEST(Skin, OfTwoTetrahedraWithACommonFace_HasSixFaces) {
  HandMesh mesh = Cube();
  mesh.Add({0, 1, 3, 4});
  mesh.Add({3, 6, 4, 1});
  const Skin skin = mesh.SkinBy("auto");
  EXPECT_EQ(skin.Faces(), 6U);
  EXPECT_FALSE(SetsOf(skin).contains({1, 3, 4}));
  EXPECT_EQ(skin.ElementOf(2), 0U);
  EXPECT_EQ(skin.ElementOf(3), 1U);
}

TEST(Skin, OfFaceThatThreeSolidsHave_LacksIt) {
  HandMesh mesh = Cube();
  mesh.Add({0, 1, 3, 4});
  mesh.Add({1, 3, 4, 6});
  mesh.Add({1, 3, 4, 7});
  EXPECT_EQ(mesh.SkinBy("4=tetra").Faces(), 9U);
}

TEST(Skin, OfABlock_HasSixSquaresOfQuads) {
  for (const unsigned int n : {1U, 2U, 5U}) {
    const HandMesh mesh = Block(n);
    const Skin skin = mesh.SkinBy("auto");
    EXPECT_EQ(skin.Faces(), 6 * n * n);
    EXPECT_EQ(skin.Triangles().size(), 12 * n * n);
    EXPECT_NEAR(VolumeIn(skin, mesh.coordinates), n * n * n, 1e-9);
  }
}

TEST(Skin, FoundByTwoThreads_IsTheSame) {
  constexpr unsigned int kSide = 50;  // 125,000 solids
  const HandMesh block = Block(kSide);
  const Skin skin = block.SkinBy("8=hexahedron", 1);
  EXPECT_EQ(skin.Faces(), 6U * kSide * kSide);
  EXPECT_EQ(OutlinesOf(skin), OutlinesOf(block.SkinBy("8=hexahedron")));
}

TEST(Skin, OfSolidThatHasFacesTwice_HasThemOnce) {
  HandMesh mesh = Cube();
  mesh.faces = {0, 1, 2, 3, 2, 3, 6, 7};  // twisted: above and behind are the same, and so on
  mesh.lengths = {8};
  EXPECT_EQ(SetsOf(mesh.SkinBy("8=hexahedron")),
            (std::multiset<std::set<unsigned int>>{
                {0, 2, 3, 7}, {1, 2, 3, 6}, {0, 1, 2, 3}, {2, 3, 6, 7}}));
}

TEST(Skin, WithoutRules_HasAllElementsAsTheyAre) {
  HandMesh mesh = Cube();
  mesh.Add({0, 1, 2, 3});
  mesh.Add({});
  mesh.Add({4});
  mesh.Add({4, 5});
  mesh.Add({0, 1, 2, 3, 4});
  mesh.Add({0, 1, 2, 3});
  const Skin skin = mesh.SkinBy("6=wedge");
  EXPECT_EQ(OutlinesOf(skin),
            (std::vector<Nodes>{{0, 1, 2, 3}, {4}, {4, 5}, {0, 1, 2, 3, 4}, {0, 1, 2, 3}}));
  EXPECT_EQ(skin.ElementOf(1), 2U);
  EXPECT_EQ(skin.TrianglesOf(0).size(), 2U);
  EXPECT_EQ(skin.TrianglesOf(1).size(), 0U);
  EXPECT_EQ(skin.TrianglesOf(2).size(), 0U);
  EXPECT_EQ(skin.TrianglesOf(3).size(), 3U);
}

TEST(Skin, OfWedgeAndPyramidAndHexahedron_PointsOutwardHoweverTheyAreNumbered) {
  for (const Nodes& element : {Nodes{0, 1, 3, 4, 5, 7}, Nodes{4, 5, 7, 0, 1, 3}}) {
    HandMesh mesh = Cube();
    mesh.Add(element);
    const Skin skin = mesh.SkinBy("auto");
    EXPECT_EQ(skin.Faces(), 5U);
    EXPECT_DOUBLE_EQ(VolumeIn(skin, mesh.coordinates), 0.5);
  }
  HandMesh mesh = Cube();
  mesh.Add({0, 1, 2, 3, 4, 5, 6, 7});
  mesh.Add({4, 5, 6, 7, 8});
  const Skin skin = mesh.SkinBy("auto");
  EXPECT_EQ(skin.Faces(), 5U + 4U);
  EXPECT_NEAR(VolumeIn(skin, mesh.coordinates), 4.0 / 3, 1e-12);
}

TEST(Skin, OfHexahedronWithRepeatedCorners_MeetsTheTriangleBesideIt) {
  HandMesh mesh = Cube();
  mesh.Add({0, 1, 2, 2, 4, 5, 6, 6});  // a wedge: its side 2-2-6-6 is an edge
  mesh.Add({0, 1, 2, 8});
  const Skin skin = mesh.SkinBy("8=hexahedron,4=tetra");
  EXPECT_EQ(skin.Faces(), 4U + 3U);
  EXPECT_FALSE(SetsOf(skin).contains({0, 1, 2}));
}

TEST(Skin, OfSolidsWithoutVolume_IsWithinThem) {
  HandMesh mesh = Cube();
  mesh.Add({0, 0, 0, 0});
  mesh.Add({0, 1, 1, 2});
  mesh.Add({0, 1, 2, 3});
  const Skin skin = mesh.SkinBy("4=tetra");
  // Of the second only 0-1-2, which the third has as well.
  EXPECT_EQ(skin.Faces(), 3U);
  for (std::size_t face = 0; face < skin.Faces(); ++face) {
    EXPECT_EQ(skin.ElementOf(face), 2U);
  }
}

TEST(Skin, OfNumbersThatAreNone_HasItsFaces) {
  HandMesh mesh = Cube();
  mesh.coordinates[3] = NAN;
  mesh.coordinates[10] = INFINITY;
  mesh.Add({0, 1, 3, 4});
  EXPECT_EQ(mesh.SkinBy("4=tetra").Faces(), 4U);
  EXPECT_EQ(mesh.SkinBy("auto").Faces(), 1U);
}

/// The corners, and after them the middle of the edge of each pair.
HandMesh Quadratic(const Nodes& corners, const std::vector<std::array<unsigned int, 2>>& edges) {
  HandMesh mesh = Cube();
  Nodes element = corners;
  for (const auto& [a, b] : edges) {
    element.push_back(static_cast<unsigned int>(mesh.coordinates.size() / 3));
    for (std::size_t axis = 0; axis < 3; ++axis) {
      mesh.coordinates.push_back(
          (mesh.coordinates[corners[a] * 3 + axis] + mesh.coordinates[corners[b] * 3 + axis]) / 2);
    }
  }
  mesh.Add(element);
  return mesh;
}

/// Every second node of a face lies in the middle between those beside it.
void ExpectMiddles(const Skin& skin, const HandMesh& mesh) {
  for (const Nodes& outline : OutlinesOf(skin)) {
    ASSERT_EQ(outline.size() % 2, 0U);
    for (std::size_t i = 1; i < outline.size(); i += 2) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto at = [&](std::size_t place) {
          return mesh.coordinates[outline[place % outline.size()] * 3 + axis];
        };
        EXPECT_EQ(at(i), (at(i - 1) + at(i + 1)) / 2);
      }
    }
  }
}

TEST(Skin, OfQuadraticSolids_GoesThroughTheMiddlesOfEdges) {
  struct Case {
    Nodes corners;
    std::vector<std::array<unsigned int, 2>> edges;
    std::size_t faces;
    std::size_t triangles;
    double volume;
  };
  // In the order of VTK: around the bottom, around the top, and up.
  const std::vector<Case> cases{
      {{0, 1, 3, 4}, {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}, 4, 16, 1.0 / 6},
      {{0, 1, 2, 3, 8},
       {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 4}, {1, 4}, {2, 4}, {3, 4}},
       5,
       6 + 4 * 4,
       2.0 / 3},
      {{0, 1, 3, 4, 5, 7},
       {{0, 1}, {1, 2}, {2, 0}, {3, 4}, {4, 5}, {5, 3}, {0, 3}, {1, 4}, {2, 5}},
       5,
       3 * 6 + 2 * 4,
       0.5},
      {{0, 1, 2, 3, 4, 5, 6, 7},
       {{0, 1},
        {1, 2},
        {2, 3},
        {3, 0},
        {4, 5},
        {5, 6},
        {6, 7},
        {7, 4},
        {0, 4},
        {1, 5},
        {2, 6},
        {3, 7}},
       6,
       36,
       1}};
  for (const Case& each : cases) {
    const HandMesh mesh = Quadratic(each.corners, each.edges);
    const Skin skin = mesh.SkinBy("auto");
    EXPECT_EQ(skin.Faces(), each.faces);
    EXPECT_EQ(skin.Triangles().size(), each.triangles);
    EXPECT_NEAR(VolumeIn(skin, mesh.coordinates), each.volume, 1e-6);
    ExpectMiddles(skin, mesh);
  }
}

TEST(Skin, OfQuadraticSurfacesAndLines_GoesThroughTheMiddlesOfEdges) {
  const HandMesh triangle = Quadratic({0, 1, 2}, {{0, 1}, {1, 2}, {2, 0}});
  ExpectMiddles(triangle.SkinBy("6=triangle6"), triangle);
  EXPECT_EQ(triangle.SkinBy("6=triangle6").Triangles().size(), 4U);
  const HandMesh quad = Quadratic({0, 1, 2, 3}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}});
  ExpectMiddles(quad.SkinBy("8=quad8"), quad);
  EXPECT_EQ(quad.SkinBy("8=quad8").Triangles().size(), 6U);
  const HandMesh line = Quadratic({0, 1}, {{0, 1}});
  EXPECT_EQ(OutlinesOf(line.SkinBy("3=line3")), (std::vector<Nodes>{{0, 9}, {9, 1}}));
}

/// The area of the triangles of a polygon that goes around counterclockwise on the plane z = 0, as
/// each of them has to.
double AreaOfTriangles(const Skin& skin, const HandMesh& mesh) {
  double area = 0;
  for (const Skin::Triangle& triangle : skin.Triangles()) {
    const auto at = [&](std::size_t corner, std::size_t axis) {
      return static_cast<double>(mesh.coordinates[triangle.at(corner) * 3 + axis]);
    };
    const double twice = (at(1, 0) - at(0, 0)) * (at(2, 1) - at(0, 1)) -
                         (at(2, 0) - at(0, 0)) * (at(1, 1) - at(0, 1));
    EXPECT_GE(twice, 0);
    area += twice / 2;
  }
  return area;
}

/// One polygon of the plane z = 0.
HandMesh FlatPolygon(const std::vector<std::array<float, 2>>& corners) {
  HandMesh mesh;
  Nodes element;
  for (const auto& [x, y] : corners) {
    element.push_back(static_cast<unsigned int>(element.size()));
    mesh.coordinates.insert(mesh.coordinates.end(), {x, y, 0});
  }
  mesh.Add(element);
  return mesh;
}

TEST(Skin, OfConcavePolygons_StaysWithinThemFromWhicheverCornerTheyBegin) {
  struct Case {
    std::vector<std::array<float, 2>> corners;
    double area;
  };
  // An arrow head, an L, a comb, a U with corners in the middle of edges.
  const std::vector<Case> cases{
      {{{0, 0}, {4, 0}, {1, 1}, {0, 4}}, 4},
      {{{0, 0}, {3, 0}, {3, 1}, {1, 1}, {1, 3}, {0, 3}}, 5},
      {{{0, 0},
        {7, 0},
        {7, 3},
        {6, 3},
        {6, 1},
        {4, 1},
        {4, 3},
        {3, 3},
        {3, 1},
        {1, 1},
        {1, 3},
        {0, 3}},
       13},
      {{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 2}, {2, 2}, {2, 1}, {1.5F, 1}, {1, 1}, {1, 2}, {0, 2}},
       5}};
  for (const Case& each : cases) {
    std::vector<std::array<float, 2>> corners = each.corners;
    for (std::size_t turn = 0; turn < corners.size(); ++turn) {
      std::rotate(corners.begin(), corners.begin() + 1, corners.end());
      const HandMesh mesh = FlatPolygon(corners);
      const Skin skin = mesh.SkinBy("3=triangle");
      EXPECT_EQ(skin.Triangles().size(), corners.size() - 2);
      EXPECT_DOUBLE_EQ(AreaOfTriangles(skin, mesh), each.area);
    }
  }
}

TEST(Skin, OfConcavePolygonInSpace_HasItsArea) {
  // The arrow head on the plane x + y + z = 0, far from the origin, and the other way around.
  HandMesh mesh;
  for (const auto& [u, v] : std::vector<std::array<float, 2>>{{0, 4}, {1, 1}, {4, 0}, {0, 0}}) {
    mesh.coordinates.insert(mesh.coordinates.end(), {1000 + u, 2000 - u + v, 3000 - v});
  }
  mesh.Add({0, 1, 2, 3});
  for (unsigned int turn = 0; turn < 4; ++turn) {
    std::rotate(mesh.faces.begin(), mesh.faces.begin() + 1, mesh.faces.end());
    std::set<std::set<unsigned int>> triangles;
    const Skin skin = mesh.SkinBy("4=quad");
    for (const Skin::Triangle& each : skin.Triangles()) {
      triangles.insert(std::set(each.begin(), each.end()));
    }
    EXPECT_EQ(triangles, (std::set<std::set<unsigned int>>{{0, 1, 3}, {1, 2, 3}}));
  }
}

TEST(Skin, OfConcaveQuadraticQuad_StaysWithinIt) {
  // The arrow head: what is between its corner that points inward and the middles is outside of it.
  const HandMesh mesh =
      FlatPolygon({{0, 0}, {4, 0}, {1, 1}, {0, 4}, {2, 0}, {2.5F, 0.5F}, {0.5F, 2.5F}, {0, 2}});
  EXPECT_DOUBLE_EQ(AreaOfTriangles(mesh.SkinBy("8=quad8"), mesh), 4);
}

TEST(Skin, OfPolygonsThatCrossThemselves_HasAFan) {
  const HandMesh mesh = FlatPolygon({{0, 0}, {2, 2}, {2, 0}, {0, 3}, {1, -1}});
  EXPECT_EQ(mesh.SkinBy("3=triangle").Triangles().size(), 3U);
  const HandMesh line = FlatPolygon({{0, 0}, {1, 1}, {2, 2}, {3, 3}, {1, 1}});
  EXPECT_EQ(line.SkinBy("3=triangle").Triangles().size(), 3U);
  const HandMesh nan = FlatPolygon({{0, 0}, {NAN, 1}, {2, 0}, {3, INFINITY}, {1, 1}});
  EXPECT_EQ(nan.SkinBy("3=triangle").Triangles().size(), 3U);
}

/// A saw of very many teeth is taken for convex: looking for its ears would take time without end.
TEST(Skin, OfConcavePolygonWithVeryManyCorners_IsFound) {
  std::vector<std::array<float, 2>> corners;
  constexpr unsigned int kTeeth = 200000;
  for (unsigned int i = 0; i < kTeeth; ++i) {
    corners.push_back({static_cast<float>(i), static_cast<float>(i % 2)});
  }
  corners.push_back({static_cast<float>(kTeeth), 2});
  corners.push_back({0, 2});
  EXPECT_EQ(FlatPolygon(corners).SkinBy("3=triangle").Triangles().size(), kTeeth);
}

TEST(Skin, OfPartWithoutFaces_HasItsPoints) {
  const HandMesh cube = Cube();
  LoadedMesh mesh;
  mesh.coordinates = cube.coordinates;
  const Skin skin = SkinOf(mesh, CellRules());
  EXPECT_EQ(skin.Faces(), 9U);
  EXPECT_EQ(OutlinesOf(skin)[8], Nodes{8});
  EXPECT_EQ(skin.ElementOf(8), 8U);
  EXPECT_TRUE(skin.Triangles().empty());
}

/// Every tetrahedron has the same node: all faces stand in one list.
TEST(Skin, OfVeryManySolidsAroundOneNode_IsFound) {
  HandMesh mesh;
  constexpr unsigned int kCount = 100000;
  mesh.coordinates.assign((std::size_t{kCount} + 3) * 3, 0);
  for (unsigned int i = 0; i < kCount; ++i) {
    mesh.Add({0, i + 1, i + 2, i + 3});
  }
  // A chain: each shares a face with the next one.
  EXPECT_EQ(mesh.SkinBy("4=tetra").Faces(), 2 * kCount + 2);
}

}  // namespace
}  // namespace LbtTev::View
