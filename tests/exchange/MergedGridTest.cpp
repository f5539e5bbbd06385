// All parts of a step as one grid.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "Lbt/Tev/Exchange/MergedGrid.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Util/Exception.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"

namespace LbtTev::Exchange {
namespace {

using tevtest::kConnectivity;
using tevtest::kCoordinates;
using tevtest::kIds;
using tevtest::kPolylength;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;

/// Keeps a grid in memory; what is written twice or never is seen.
class GridInMemory : public GridSink {
 public:
  void Begin(const GridLayout& planned) override {
    layout = planned;
    for (const GridArray& array : layout.arrays) {
      bytes_.emplace_back(array.tuples * array.TupleBytes());
      times_.emplace_back(array.tuples);
    }
  }

  void Write(std::size_t array, std::uint64_t first, std::span<const std::byte> tuples) override {
    const std::size_t size = layout.arrays[array].TupleBytes();
    ASSERT_EQ(tuples.size() % size, 0U);
    ASSERT_LE(first * size + tuples.size(), bytes_[array].size());
    std::memcpy(bytes_[array].data() + first * size, tuples.data(), tuples.size());
    for (std::size_t i = 0; i < tuples.size() / size; ++i) {
      ++times_[array][first + i];
    }
  }

  template <class T>
  [[nodiscard]] std::vector<T> Numbers(const std::string& name) const {
    for (std::size_t i = 0; i < layout.arrays.size(); ++i) {
      if (layout.arrays[i].name == name) {
        EXPECT_EQ(times_[i], std::vector<int>(layout.arrays[i].tuples, 1)) << name;
        std::vector<T> numbers(bytes_[i].size() / sizeof(T));
        std::memcpy(numbers.data(), bytes_[i].data(), bytes_[i].size());
        return numbers;
      }
    }
    ADD_FAILURE() << "no array " << name;
    return {};
  }

  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const GridArray& array : layout.arrays) {
      names.push_back(array.name);
    }
    return names;
  }

  GridLayout layout;

 private:
  std::vector<std::vector<std::byte>> bytes_;
  std::vector<std::vector<int>> times_;
};

/// An export of a model's first step into memory, with what it tells of.
struct Exported {
  explicit Exported(const ModelWriter& writer, const Analysis::Selection& selection = {},
                    const std::string& rules = "4=tetra,5=pyramid") {
    const tevtest::TempDir dir;
    Tree tree;
    OpenModel(tree, dir.Write("m.tev", writer.Build()));
    const Analysis::Model model(tree);
    const Contents contents(model, selection);
    CellRules cells;
    EXPECT_EQ(cells.Set(rules), "");
    const Listener listener{
        .meshFailed = [this](
                          auto part, auto /*step*/,
                          const auto& failure) { Tell("mesh " + std::to_string(part), failure); },
        .fieldFailed =
            [this](const auto& field, const auto& failure) {
              Tell(std::string(field.field->result), failure);
            },
        .leftOut =
            [this](const auto& field) { told.push_back("no " + std::string(field.field->result)); },
        .fewIds = [this](auto part, auto /*of*/) { told.push_back("ids " + std::to_string(part)); },
        .taken = [this](auto part, auto /*step*/, const auto& shapes) { taken[part] = shapes; }};
    WriteMergedGrid(contents, 0, cells, grid, listener);
  }

  void Tell(const std::string& what, const std::exception_ptr& failure) {
    EXPECT_NE(failure, nullptr);
    told.push_back(what);
  }

  GridInMemory grid;
  std::vector<std::string> told;
  std::map<std::size_t, TakenShapes> taken;
};

template <class T>
using List = std::vector<T>;

TEST(MergedGrid, OfSmallModel_HasBothPartsOneAfterAnother) {
  const Exported exported(tevtest::SmallModel());
  const GridInMemory& grid = exported.grid;
  EXPECT_EQ(exported.told, List<std::string>());
  EXPECT_EQ(grid.layout.points, 10U);
  EXPECT_EQ(grid.layout.cells, 3U);
  EXPECT_EQ(grid.layout.time, 0.5);
  EXPECT_EQ(grid.layout.step, "Time = 0.5");
  EXPECT_EQ(grid.layout.parts,
            (List<std::pair<unsigned int, std::string>>{{3, "Frame"}, {5, "Panel"}}));
  EXPECT_EQ(grid.Names(),
            (List<std::string>{"Points", "connectivity", "offsets", "types", "Part Ids", "Node Ids",
                               "Element Ids", "Node Set Fixed", "Node Set Loaded", "Displacement",
                               "Temperature"}));
  EXPECT_EQ(grid.Numbers<std::int64_t>("connectivity"),
            (List<std::int64_t>{0, 1, 2, 3, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(grid.Numbers<std::int64_t>("offsets"), (List<std::int64_t>{4, 8, 13}));
  EXPECT_EQ(grid.Numbers<std::uint8_t>("types"), (List<std::uint8_t>{10, 10, 14}));
  EXPECT_EQ(grid.Numbers<std::int32_t>("Part Ids"), (List<std::int32_t>{3, 3, 5}));
  EXPECT_EQ(grid.Numbers<std::int32_t>("Node Ids"),
            (List<std::int32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(grid.Numbers<std::int32_t>("Element Ids"), (List<std::int32_t>{101, 102, 103}));
  EXPECT_EQ(grid.Numbers<std::uint8_t>("Node Set Fixed"),
            (List<std::uint8_t>{1, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(grid.Numbers<std::uint8_t>("Node Set Loaded"),
            (List<std::uint8_t>{0, 0, 0, 0, 1, 0, 0, 0, 0, 0}));
  EXPECT_EQ(grid.Numbers<float>("Temperature"),
            (List<float>{293.25F, 294, 295.5F, 296, 1234567, 293.25F, 294, 295.5F, 296, 1234567}));
  EXPECT_EQ(grid.Numbers<float>("Points").size(), 30U);
}

/// A part of four points, of which a triangle uses the last three.
ModelWriter Triangle() {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  model.AddVariable(
      mesh, Variable::Floats("Coordinates", kCoordinates, 3, {9, 9, 9, 0, 0, 0, 1, 0, 0, 0, 1, 0}));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {3, 1, 2}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {3}));
  return model;
}

constexpr NodeRef kTriangle = 3;

TEST(MergedGrid, NodeThatNoElementUses_IsLeftOut) {
  ModelWriter model = Triangle();
  model.AddVariable(kTriangle, Variable::Floats("R", 13, 1, {5, 6, 7, 8}));
  const Exported exported(model);
  EXPECT_EQ(exported.grid.Numbers<float>("Points"), (List<float>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
  EXPECT_EQ(exported.grid.Numbers<std::int64_t>("connectivity"), (List<std::int64_t>{2, 0, 1}));
  EXPECT_EQ(exported.grid.Numbers<float>("R"), (List<float>{6, 7, 8}));
  EXPECT_EQ(exported.grid.Numbers<std::int32_t>("Node Ids"), (List<std::int32_t>{-1, -1, -1}));
}

TEST(MergedGrid, FieldsOfOneNameAndOfNoPlace_AreTwoAndNone) {
  ModelWriter model = Triangle();
  model.AddVariable(kTriangle, Variable::Floats("R", 13, 1, {1}));
  model.AddVariable(kTriangle, Variable::Floats("R", 13, 1, {2}));
  model.AddVariable(kTriangle, Variable::Floats("R", 14, 3, {3, 4, 5}));
  model.AddVariable(kTriangle, Variable::Floats("Two", 13, 1, {1, 2}));
  model.AddVariable(kTriangle, Variable::Floats("Part Ids", 13, 1, {6}));
  const Exported exported(model);
  EXPECT_EQ(exported.grid.Numbers<float>("R"), List<float>{1});
  EXPECT_EQ(exported.grid.Numbers<float>("R (2)"), List<float>{2});
  EXPECT_EQ(exported.grid.Numbers<float>("R (3)"), (List<float>{3, 4, 5}));
  EXPECT_EQ(exported.grid.Numbers<float>("Part Ids (2)"), List<float>{6});
  EXPECT_EQ(exported.told, List<std::string>{"no Two"});
}

TEST(MergedGrid, PartWithoutElements_IsItsNodes) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {1, 2, 3, 4, 5, 6}));
  model.AddVariable(mesh, Variable::Floats("R", 13, 1, {7, 8}));
  const Exported exported(model);
  EXPECT_EQ(exported.grid.Numbers<std::uint8_t>("types"), (List<std::uint8_t>{1, 1}));
  EXPECT_EQ(exported.grid.Numbers<std::int64_t>("connectivity"), (List<std::int64_t>{0, 1}));
  EXPECT_EQ(exported.grid.Numbers<float>("R"), (List<float>{7, 8}));
}

TEST(MergedGrid, WhatAPartLacksOrLost_IsNaN) {
  ModelWriter model = tevtest::SmallModel();
  model.VariableAt(tevtest::kSmallMesh1, 5).heavyPosition = 1U << 30U;
  const Exported exported(model);
  EXPECT_EQ(exported.told, List<std::string>{"Displacement"});
  const auto values = exported.grid.Numbers<float>("Displacement");
  EXPECT_TRUE(std::isnan(values.at(0)));
  EXPECT_TRUE(std::isnan(values.at(14)));
  EXPECT_EQ(values.at(29), 15);
}

TEST(MergedGrid, DamagedMesh_IsLeftOutAndTold) {
  ModelWriter model = tevtest::SmallModel();
  model.VariableAt(tevtest::kSmallMesh1, 2) =
      Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 3, 1, 2, 3, 5});
  const Exported exported(model);
  EXPECT_EQ(exported.told, List<std::string>{"mesh 0"});
  EXPECT_EQ(exported.grid.layout.points, 5U);
  EXPECT_EQ(exported.grid.Numbers<std::int32_t>("Part Ids"), List<std::int32_t>{5});
}

TEST(MergedGrid, NoMeshThatCanBeRead_Throws) {
  ModelWriter model = Triangle();
  model.VariableAt(kTriangle, 2) = Variable::Uints("Polylength", kPolylength, 1, {4});
  EXPECT_THROW(Exported{model}, Lbt::Util::Exception);
}

TEST(MergedGrid, Guessing_TellsWhatWasTakenForWhat) {
  const Exported exported(tevtest::SmallModel(), {.parts = {"Frame"}}, "auto");
  EXPECT_EQ(exported.taken.size(), 1U);
  EXPECT_EQ(exported.taken.at(0), (TakenShapes{{{4, CellShape::Tetra}, 2}}));
}

}  // namespace
}  // namespace LbtTev::Exchange
