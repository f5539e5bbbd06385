// The data sets that are gathered for the data dump.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/Given.h"
#include "report/OpenedModel.h"
#include "support/Mask.h"
#include "support/ModelWriter.h"

namespace tevtest {
namespace {

using LbtTev::Report::GroupListing;
using LbtTev::Report::ResultAttributeList;

using Floats = std::vector<float>;
using Integers = std::vector<unsigned int>;
using Names = std::vector<std::string>;

const std::string kTooOften = ExpectedFailure(
    "Out of Bounds", "The model refers to its data too often", "include/Lbt/Tev/ModelStreams");

class ExtractData : public ::testing::Test {
 protected:
  ExtractData() : part_(model.AddGroup("Geometry", model.AddGroup("Part", 0))) {}

  NodeRef AddMesh(std::string_view name, std::string_view version = "0.7") {
    return model.AddGeometry(name, AddShape("S"), version);
  }
  NodeRef AddShape(std::string_view name) { return model.AddShape(name, part_); }

  /// Gathers from a file, the model's where none is given.
  void Gather() { Gather(model.Build()); }
  void Gather(const std::string& bytes) {
    OpenedModel opened(bytes);
    TevInfo info;
    info.setFormat(TevInfo::ExtractData);
    GroupListing groups;
    results.clear();
    ::testing::internal::CaptureStderr();
    extractPartsAndResults(opened.tree, info, groups, results);
    error = MaskException(::testing::internal::GetCapturedStderr());
    datasets = info.datasets;
  }

  [[nodiscard]] Names ResultNames() const {
    Names names;
    for (const TevDataset& dataset : datasets)
      names.push_back(dataset.result);
    return names;
  }

  ModelWriter model;
  std::vector<TevDataset> datasets;
  ResultAttributeList results;
  std::string error;

 private:
  const NodeRef part_;
};

TEST_F(ExtractData, VariableOfFloats_IsLoadedAsItIs) {
  model.AddVariable(AddMesh("mesh"), Variable::Floats("Stress\x1eTop\x1eIn", kVectorResult, 3,
                                                      {1, 2, 3, -0.5F, 1e-30F, 4}));
  Gather();
  EXPECT_EQ(error, "");
  ASSERT_EQ(datasets.size(), 1U);
  EXPECT_EQ(datasets[0].group, "Part");
  EXPECT_EQ(datasets[0].result, "Stress");
  EXPECT_EQ(datasets[0].instance, "Top\x1eIn");
  EXPECT_EQ(datasets[0].kind, 1U);
  EXPECT_TRUE(datasets[0].flag);
  EXPECT_EQ(datasets[0].floatValues, (Floats{1, 2, 3, -0.5F, 1e-30F, 4}));
  EXPECT_EQ(datasets[0].intValues, Integers());
  EXPECT_EQ(datasets[0].names, Names{"mesh"});
}

TEST_F(ExtractData, TypesOfConnectivity_AreLoadedAsIntegers) {
  const NodeRef mesh = AddMesh("mesh");
  for (const std::uint32_t type : {4U, 5U, 6U, 9U}) {
    model.AddVariable(mesh, Variable::Uints(std::to_string(type), type, 1, {type, 0xFFFFFFFF, 0}));
  }
  Gather();
  ASSERT_EQ(datasets.size(), 4U);
  for (const TevDataset& dataset : datasets) {
    EXPECT_EQ(dataset.kind, 0U);
    EXPECT_EQ(dataset.intValues,
              (Integers{static_cast<unsigned int>(std::stoul(dataset.result)), 0xFFFFFFFF, 0}));
    EXPECT_EQ(dataset.floatValues, Floats());
  }
}

TEST_F(ExtractData, OtherTypes_AreLoadedAsFloats) {
  const NodeRef mesh = AddMesh("mesh");
  for (const std::uint32_t type : {0U, 1U, 3U, 7U, 8U, 10U, 11U, 12U, 200U})
    model.AddVariable(mesh, Variable::Floats(std::to_string(type), type, 1, {0.5F}));
  Gather();
  ASSERT_EQ(datasets.size(), 9U);
  for (const TevDataset& dataset : datasets) {
    EXPECT_EQ(dataset.kind, 1U) << dataset.result;
    EXPECT_EQ(dataset.floatValues, Floats{0.5F}) << dataset.result;
    EXPECT_EQ(dataset.intValues, Integers()) << dataset.result;
  }
}

TEST_F(ExtractData, NodeIdsAndElementIDs_AreDataAlthoughNoResults) {
  const NodeRef mesh = AddMesh("mesh");
  model.AddVariable(mesh, Variable::Floats("Node Ids", kIds, 1, {7, 8}));
  model.AddVariable(mesh, Variable::Floats("Element IDs", kIds, 1, {9}));
  Gather();
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(ResultNames(), (Names{"Node Ids", "Element IDs"}));
}

TEST_F(ExtractData, ElementIndices_AreIntegersBesideTheirFloats) {
  const Floats stored{0,
                      1.9F,
                      -0.9F,
                      -1,
                      4294967040.0F,
                      4294967296.0F,
                      1e30F,
                      std::numeric_limits<float>::infinity(),
                      -std::numeric_limits<float>::infinity()};
  model.AddVariable(AddMesh("mesh"),
                    Variable::Floats("Element Indices\x1eTop", kScalarResult, 1, stored));
  Gather();
  ASSERT_EQ(datasets.size(), 1U);
  EXPECT_EQ(datasets[0].kind, 1U);
  EXPECT_EQ(datasets[0].floatValues, stored);
  EXPECT_EQ(datasets[0].intValues,
            (Integers{0, 1, 0, 0, 4294967040U, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0}));
}

TEST_F(ExtractData, ElementIndexThatIsNoNumber_IsZero) {
  model.AddVariable(AddMesh("mesh"),
                    Variable::Floats("Element Indices", kScalarResult, 1,
                                     {std::numeric_limits<float>::quiet_NaN(), 3}));
  Gather();
  EXPECT_EQ(datasets.at(0).intValues, (Integers{0, 3}));
}

TEST_F(ExtractData, ElementIndicesOfConnectivityType_HaveNoFloats) {
  model.AddVariable(AddMesh("mesh"), Variable::Uints("Element Indices", kConnectivity, 1, {5, 6}));
  Gather();
  EXPECT_EQ(datasets.at(0).kind, 0U);
  EXPECT_EQ(datasets.at(0).intValues, (Integers{5, 6}));
  EXPECT_EQ(datasets.at(0).floatValues, Floats());
}

TEST_F(ExtractData, VariableWithoutBytes_IsAnEmptyDataSet) {
  model.AddVariable(AddMesh("mesh"), Variable::Floats("Empty", kScalarResult, 1, {}));
  Gather();
  EXPECT_EQ(error, "");
  ASSERT_EQ(datasets.size(), 1U);
  EXPECT_EQ(datasets[0].size(), 0U);
  EXPECT_EQ(datasets[0].names, Names{"mesh"});
}

TEST_F(ExtractData, VariablesWithoutALoader_AreEmptyDataSets) {
  const NodeRef mesh = AddMesh("mesh", "0.5");
  model.AddVariable(mesh, Variable::Floats("Stress", kScalarResult, 1, {1, 2}));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {1, 2}));
  model.AddVariable(mesh, Variable::Floats("Element Indices", kScalarResult, 1, {1, 2}));
  Gather();
  EXPECT_EQ(error, "");
  EXPECT_EQ(ResultNames(), (Names{"Stress", "Connectivity", "Element Indices"}));
  for (const TevDataset& dataset : datasets) {
    EXPECT_EQ(dataset.floatValues, Floats());
    EXPECT_EQ(dataset.intValues, Integers());
  }
}

TEST_F(ExtractData, OldGeometries_AreLoadedUnshuffled) {
  model.AddVariable(AddMesh("mesh", "0.4"),
                    Variable::Floats("Stress", kScalarResult, 1, {1.25F, -2}));
  Gather();
  EXPECT_EQ(datasets.at(0).floatValues, (Floats{1.25F, -2}));
}

TEST_F(ExtractData, LinkedVariables_AddOnlyTheirGeometrysName) {
  const NodeRef owner = AddMesh("owner");
  model.AddVariable(owner, Variable::Floats("Stress", kScalarResult, 1, {1}));
  model.AddVariable(owner, Variable::Floats("Strain", kScalarResult, 1, {2}));
  model.AddVariable(AddMesh("second"), Variable::Link("Other name", kScalarResult, owner, 1));
  const NodeRef third = AddMesh("third");
  model.AddVariable(third, Variable::Link("Strain", kScalarResult, owner, 1));
  model.AddVariable(third, Variable::Floats("Own", kScalarResult, 1, {3}));
  Gather();
  EXPECT_EQ(error, "");
  EXPECT_EQ(ResultNames(), (Names{"Stress", "Strain", "Own"}));
  ASSERT_EQ(datasets.size(), 3U);
  EXPECT_EQ(datasets[0].names, Names{"owner"});
  EXPECT_EQ(datasets[1].names, (Names{"owner", "second", "third"}));
  EXPECT_EQ(datasets[1].floatValues, Floats{2});
  EXPECT_EQ(datasets[2].names, Names{"third"});
  EXPECT_EQ(results.size(), 5U);
}

TEST_F(ExtractData, LinksWithoutAGatheredTarget_AddNothing) {
  const NodeRef early = AddMesh("early");
  const NodeRef owner = AddMesh("owner");
  model.AddVariable(owner, Variable::Floats("Stress", kScalarResult, 1, {1}));
  model.AddVariable(early, Variable::Link("Stress", kScalarResult, owner, 0));  // not met yet
  const NodeRef late = AddMesh("late");
  model.AddVariable(late, Variable::Link("a", kScalarResult, owner, 1));
  model.AddVariable(late, Variable::Link("b", kScalarResult, 999, 0));
  model.AddVariable(late, Variable::Link("c", kScalarResult, 0, 0));
  model.AddVariable(late, Variable::Link("d", kScalarResult, early, 0));  // itself a link
  Gather();
  EXPECT_EQ(error, "");
  ASSERT_EQ(datasets.size(), 1U);
  EXPECT_EQ(datasets[0].names, Names{"owner"});
}

/// Two variables that claim the same bytes, but for what "change" does to the second one.
template <class Change>
std::vector<Variable> TwoOnTheSameBytes(Change change) {
  Variable first = Variable::Floats("first", kVectorResult, 3, {1, 2, 3, 4, 5, 6});
  first.heavyPosition = 0;
  Variable second = first;
  second.name = "second";
  second.heavyBytes = "";
  second.byteCount = 24;
  change(second);
  return {first, second};
}

TEST_F(ExtractData, VariablesOnTheSameData_ShareTheirValues) {
  const NodeRef mesh = AddMesh("mesh");
  for (const Variable& variable : TwoOnTheSameBytes([](Variable&) {}))
    model.AddVariable(mesh, variable);
  Gather();
  ASSERT_EQ(datasets.size(), 2U);
  EXPECT_EQ(datasets[0].floatValues, (Floats{1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(datasets[1].floatValues.IsSharedWith(datasets[0].floatValues));
}

TEST_F(ExtractData, VariablesOnTheSameBytesInAnotherForm_HaveTheirOwnValues) {
  struct Case {
    std::function<void(Variable&)> change;
    Floats expected;
  };
  // Three planes of two elements each, one after another, read as one plane of six.
  const std::string stored = Shuffle(ElementBytes(Floats{1, 2, 3, 4, 5, 6}), 3);
  Floats asOnePlane(6);
  for (std::size_t i = 0; i < 24; ++i)
    std::memcpy(reinterpret_cast<char*>(&asOnePlane[i % 6]) + i / 6, &stored[i], 1);
  for (const Case& one : {
           Case{[](Variable& variable) { variable.width = 1; }, asOnePlane},
           Case{[](Variable& variable) { variable.byteCount = 0; }, {}},
           Case{[](Variable& variable) { variable.heavyPosition = 24; }, {9, 9, 9, 9, 9, 9}},
       }) {
    ModelWriter another;
    const NodeRef group = another.AddGroup("Geometry", another.AddGroup("Part", 0));
    const NodeRef mesh = another.AddGeometry("mesh", another.AddShape("S", group));
    for (const Variable& variable : TwoOnTheSameBytes(one.change))
      another.AddVariable(mesh, variable);
    another.AddVariable(mesh, Variable::Floats("after", kVectorResult, 3, {9, 9, 9, 9, 9, 9}));
    Gather(another.Build());
    ASSERT_EQ(datasets.size(), 3U);
    EXPECT_FALSE(datasets[1].floatValues.IsSharedWith(datasets[0].floatValues));
    EXPECT_EQ(datasets[1].floatValues, one.expected);
  }
}

TEST_F(ExtractData, SameBytesAsFloatsAndAsIntegers_AreOfBothKinds) {
  const NodeRef mesh = AddMesh("mesh");
  for (const Variable& variable :
       TwoOnTheSameBytes([](Variable& second) { second.type = kConnectivity; }))
    model.AddVariable(mesh, variable);
  Gather();
  ASSERT_EQ(datasets.size(), 2U);
  EXPECT_EQ(datasets[0].floatValues, (Floats{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(datasets[1].intValues,
            (Integers{0x3F800000, 0x40000000, 0x40400000, 0x40800000, 0x40A00000, 0x40C00000}));
}

TEST_F(ExtractData, ElementIndicesOnTheSameData_ShareTheirIntegersToo) {
  const NodeRef mesh = AddMesh("mesh");
  for (Variable& variable : TwoOnTheSameBytes([](Variable&) {})) {
    variable.name = "Element Indices";
    model.AddVariable(mesh, variable);
  }
  Gather();
  ASSERT_EQ(datasets.size(), 2U);
  EXPECT_EQ(datasets[1].intValues, (Integers{1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(datasets[1].intValues.IsSharedWith(datasets[0].intValues));
}

/// What the dump may repeat of a geometry with these bytes of numbers that several shapes name.
constexpr std::uint64_t MostRepeated(std::uint64_t bytes) {
  return 16 * bytes + std::uint64_t{16} * 1024 * 1024;
}

TEST_F(ExtractData, GeometryOfManyShapes_IsRepeatedUpToALimit) {
  constexpr std::size_t kValues = 100000;
  constexpr std::size_t kShapes = 100;
  const NodeRef mesh = AddMesh("mesh");
  model.AddVariable(mesh, Variable::Floats("Heat", kScalarResult, 1, Floats(kValues, 0.5F)));
  for (std::size_t i = 1; i < kShapes; ++i)
    model.At(AddShape("S")).firstChild = mesh;
  Gather();
  EXPECT_EQ(error, kTooOften);
  // The first shape that is not the geometry's parent counts as its own, too.
  const std::uint64_t most = 2 + MostRepeated(4 * kValues) / (4 * kValues);
  EXPECT_LE(datasets.size(), most);
  EXPECT_GE(datasets.size(), most - 1);
  for (const TevDataset& dataset : datasets)
    EXPECT_TRUE(dataset.floatValues.IsSharedWith(datasets[0].floatValues));
}

TEST_F(ExtractData, GeometryWithoutNumbersOfManyShapes_IsRepeatedUpToALimit) {
  const NodeRef mesh = AddMesh("mesh");
  for (int i = 0; i < 1000; ++i)
    model.AddVariable(mesh, Variable::Floats("Heat", kScalarResult, 1, {}));
  for (int i = 0; i < 1000; ++i)
    model.At(AddShape("S")).firstChild = mesh;
  Gather();
  EXPECT_EQ(error, kTooOften);
  EXPECT_LE(datasets.size() * sizeof(TevDataset), MostRepeated(0) + 2000 * sizeof(TevDataset));
  EXPECT_GE(datasets.size(), 20000U);
}

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

/// Names of so many bytes are free; what longer ones have beyond it may come to 16 MiB where a
/// model has no numbers.
constexpr std::size_t kOrdinaryName = 1024;

class RepeatedNames : public ExtractData {
 protected:
  /// A geometry in a part with a name of that length.
  NodeRef AddMeshInPart(std::string_view name, std::size_t partNameSize) {
    const NodeRef part = model.AddGroup(std::string(partNameSize, 'p'), 0);
    return model.AddGeometry(name, model.AddShape("S", model.AddGroup("Geometry", part)));
  }

  void AddVariables(NodeRef geometry, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      model.AddVariable(geometry, Variable::Floats("Heat", kScalarResult, 1, {}));
  }
};

TEST_F(RepeatedNames, OfOrdinaryLength_AreFreeHoweverOftenTheyCome) {
  // Forty thousand data sets with two names of 1,024 bytes: five times what long ones may come to.
  AddVariables(AddMeshInPart(std::string(kOrdinaryName, 'm'), kOrdinaryName), 40000);
  Gather();
  EXPECT_EQ(error, "");
  EXPECT_EQ(datasets.size(), 40000U);
}

TEST_F(RepeatedNames, OfMoreThanOrdinaryLength_CountWithTheRest) {
  AddVariables(AddMeshInPart("mesh", kOrdinaryName + kMebibyte), 16 + 1);
  Gather();
  EXPECT_EQ(datasets.size(), 16U);
  EXPECT_EQ(error, kTooOften);
}

TEST_F(RepeatedNames, GeometriesOfLinkedVariables_CountWithoutTheirParts) {
  const NodeRef owner = AddMeshInPart("mesh", kOrdinaryName + kMebibyte);
  AddVariables(owner, 10);
  const NodeRef user = AddMesh(std::string(kOrdinaryName + kMebibyte, 'u'));
  for (int i = 0; i < 20; ++i)
    model.AddVariable(user, Variable::Link("Heat", kScalarResult, owner, 0));
  Gather();
  EXPECT_EQ(datasets.size(), 10U);
  EXPECT_EQ(datasets.at(0).names.size(), 1U + 6U);
  EXPECT_EQ(error, kTooOften);
}

TEST_F(ExtractData, DamagedVariable_EndsTheWalkAndKeepsWhatCameBefore) {
  const NodeRef mesh = AddMesh("mesh");
  model.AddVariable(mesh, Variable::Floats("a", kScalarResult, 1, {1}));
  model.AddVariable(mesh, Variable::Floats("b", kScalarResult, 1, {2}));
  model.AddVariable(mesh, Variable::Floats("c", kScalarResult, 1, {3}));
  model.VariableAt(mesh, 1).heavyPosition = 1000000;
  Gather();
  EXPECT_EQ(error,
            ExpectedFailure("Out of Bounds", "Invalid block position", "include/Lbt/Lbf/Block"));
  EXPECT_EQ(ResultNames(), Names{"a"});
  EXPECT_EQ(results.size(), 2U);  // "b" was met as a result before its numbers
}

TEST_F(ExtractData, VariableLongerThanItsBlock_EndsTheWalk) {
  const NodeRef mesh = AddMesh("mesh");
  model.AddVariable(mesh, Variable::Uints("a", kConnectivity, 1, {1, 2}));
  model.VariableAt(mesh, 0).byteCount = 0xFFFFFFFF;
  Gather();
  EXPECT_EQ(error, ExpectedFailure("Out of Bounds", "Not enough bytes in the block",
                                   "include/Lbt/Lbf/Block"));
  EXPECT_TRUE(datasets.empty());
}

TEST_F(ExtractData, BlockThatZlibRefuses_EndsTheWalk) {
  const NodeRef mesh = AddMesh("mesh");
  model.AddVariable(mesh, Variable::Floats("a", kScalarResult, 1, {1}));
  model.AddVariable(mesh, Variable::Floats("b", kScalarResult, 1, {2}));
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  ContainerWriter container = model.ToContainer();
  BlockSpec& last = container.Blocks().back();
  ASSERT_EQ(last.name, kHeavyData);
  last.storedBytes = std::string("\x04\0\0\0", 4) + "no zlib stream";
  Gather(container.Build().bytes);
  EXPECT_EQ(error, "Error -3 while uncompressing block \nException: std::exception\n");
  EXPECT_EQ(ResultNames(), Names{"a"});
}

TEST(TevDatasetSize, CountsTheSequenceOfItsKind) {
  TevDataset dataset;
  dataset.floatValues = {1, 2};
  dataset.intValues = {1, 2, 3};
  EXPECT_EQ(dataset.size(), 2U);
  dataset.kind = 0;
  EXPECT_EQ(dataset.size(), 3U);
  dataset.kind = 2;
  EXPECT_EQ(dataset.size(), 0U);
}

}  // namespace
}  // namespace tevtest
