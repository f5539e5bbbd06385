// How much work a hostile tree can cause, and positions that nearly overflow.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Lbf/Block.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/OpenModel.h"
#include "ModelOnDisk.h"
#include "TraceText.h"
#include "support/ModelWriter.h"
#include "support/SmallModel.h"

namespace LbtTev {
namespace {

using tevtest::FailureOf;
using tevtest::FailureOfLoading;
using tevtest::kInvalidPosition;
using tevtest::kLightData;
using tevtest::LoadedTree;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::SmallModel;
using tevtest::StreamLayout;
using tevtest::Variable;

/// Blocks take no more memory than they need, until its end.
class TightBlocks {
 public:
  TightBlocks() { Set("0"); }
  ~TightBlocks() {
    Set("10485760");
    ::unsetenv(kVariable);
  }
  TightBlocks(const TightBlocks&) = delete;
  TightBlocks& operator=(const TightBlocks&) = delete;

 private:
  static constexpr const char* kVariable = "PRAMO_DEFAULT_TEV_BLOCK_SIZE";

  static void Set(const char* size) {
    ::setenv(kVariable, size, 1);
    LbtLbf::Block::RefreshDefaultSize();
  }
};

constexpr std::uint32_t kRecords = 100000;
constexpr std::uint64_t kTransform = 40;  // bytes of a group "0.2"

/// The light data of the record that comes "nth" in the file, after a first byte that keeps all
/// positions from 0.
enum class Seeks { Backwards, ToAndFro };

std::uint64_t PlaceOf(Seeks seeks, std::uint32_t nth) {
  return seeks == Seeks::Backwards || nth % 2 == 0 ? kRecords - 1 - nth : nth;
}

/// Many groups, each of which has its light data somewhere else.
ModelWriter ManySeeks(Seeks seeks, StreamLayout layout) {
  ModelWriter model;
  for (std::uint32_t nth = 0; nth < kRecords; ++nth) {
    const NodeRef group = model.AddGroup("g", nth == 0 ? 0 : 1, {}, "0.2");
    model.At(group).lightPosition = 1 + kTransform * PlaceOf(seeks, nth);
  }
  model.SetPrefix(kLightData, "p").SetLayout(kLightData, std::move(layout));
  return model;
}

std::uint64_t LoadsOf(const ModelWriter& model) {
  const TightBlocks tight;
  LoadedTree loaded(model);
  EXPECT_EQ(loaded.tree.GetNodes().size(), kRecords);
  return loaded.disk.File().GetIndex().GetCache().LoadCount();
}

std::size_t BlocksOf(const ModelWriter& model) { return model.ToContainer().Blocks().size(); }

TEST(LoadWork, RecordsThatEachSeekWithinABlock_LoadItOnce) {
  const ModelWriter model = ManySeeks(Seeks::ToAndFro, {});
  EXPECT_LE(LoadsOf(model), BlocksOf(model));
}

TEST(LoadWork, RecordsThatEachSeekBackwards_LoadNoMoreThanBlocksAndSeeks) {
  const ModelWriter model =
      ManySeeks(Seeks::Backwards, {.split = StreamLayout::Split::BlockPerRecord});
  EXPECT_GE(BlocksOf(model), kRecords);
  EXPECT_LE(LoadsOf(model), BlocksOf(model) + kRecords);
}

TEST(LoadWork, RecordsThatEachSeekToAndFro_LoadNoMoreThanBlocksAndSeeks) {
  const ModelWriter model = ManySeeks(
      Seeks::ToAndFro,
      {.split = StreamLayout::Split::BlockPerRecord, .packing = StreamLayout::Packing::Compressed});
  EXPECT_GE(BlocksOf(model), kRecords);
  EXPECT_LE(LoadsOf(model), BlocksOf(model) + kRecords);
}

const std::string kTooOften = tevtest::ExpectedException(
    "Out of Bounds", "The model refers to its data too often", "include/Lbt/Tev/ModelStreams");

/// What the streams of a loaded model have cost.
LbtLbf::StreamWork WorkOf(LoadedTree& loaded, std::string_view stream) {
  return loaded.disk.File().FindStream(stream)->Work();
}

/// "count" geometries, all with the light data of the first, whose variables have no attributes.
ModelWriter SharedLightData(std::uint32_t count, std::uint32_t variables) {
  ModelWriter model;
  model.AddGroup("root", 0, {}, "0.1");
  for (std::uint32_t nth = 0; nth < count; ++nth) {
    const NodeRef mesh = model.AddGeometry("m", 1);
    model.At(mesh).lightPosition = 1;
    for (std::uint32_t i = 0; nth == 0 && i < variables; ++i) {
      model.AddVariable(mesh, Variable::Floats("v", 13, 1, {}));
    }
  }
  model.SetPrefix(kLightData, "p").LeaveOut(tevtest::kAttributes);
  return model;
}

TEST(LoadWork, GeometriesOnOneLightData_AreReadUpToTheLimit) {
  LoadedTree loaded(SharedLightData(100, 1000));
  for (const unsigned int id : {2U, 101U}) {
    EXPECT_EQ(loaded.At<Geometry>(id).variables.size(), 1000U);
  }
}

TEST(LoadWork, GeometriesOnOneLightDataBeyondTheLimit_Fail) {
  // 27 bytes and a name of one for each variable: 28,000 bytes for each geometry.
  ModelWriter model = SharedLightData(800, 1000);
  EXPECT_EQ(FailureOfLoading(model), kTooOften);
}

TEST(LoadWork, WhatIsMadeOfSharedRecords_IsLimited) {
  // The records, 8 MiB in all, may be read; the variables would take more than 64 MiB.
  ModelWriter model = SharedLightData(300, 1000);
  EXPECT_EQ(FailureOfLoading(model), kTooOften);
}

TEST(LoadWork, MissingAttributesOfManyVariables_LeaveOneLineInTheLog) {
  const tevtest::TraceText trace;
  LoadedTree loaded(SharedLightData(100, 1000));
  const std::string lines = trace.Lines();
  EXPECT_EQ(lines.find("Element Not Found"), lines.rfind("Element Not Found"));
  EXPECT_LE(lines.size(), 1000U);
}

TEST(LoadWork, NodeSetsInOnePlace_AreReadOnceAndShared) {
  constexpr std::uint32_t kNodes = 1000;
  ModelWriter model;
  model.AddGroup("root", 0);
  std::vector<std::pair<std::uint32_t, std::uint32_t>> members(50000, {1, 2});
  for (std::uint32_t nth = 0; nth < kNodes; ++nth) {
    std::vector<tevtest::NodeSet> sets;
    if (nth == 0) {
      sets = {{"Set", members}};
    }
    const NodeRef node = model.AddNodeSets("n", 1, std::move(sets));
    model.At(node).NodeSets().setCount = 1;
    model.At(node).NodeSets().heavyPosition = 0;
  }
  LoadedTree loaded(model);
  EXPECT_EQ(loaded.At<NodeSets>(2).sets.at(0).members.size(), 50000U);
  EXPECT_TRUE(loaded.At<NodeSets>(2).sets.IsSharedWith(loaded.At<NodeSets>(1001).sets));
  EXPECT_EQ(WorkOf(loaded, tevtest::kHeavyData).loads, 1U);
}

TEST(LoadWork, DataReadAtOnceInOnePlace_IsReadOnceAndShared) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddGroup("root", 0), "0.5");
  for (int i = 0; i < 1000; ++i) {
    Variable variable = Variable::Uints("v", 13, 1, {1, 2, 3});
    variable.heavyPosition = 0;
    variable.byteCount = i % 2 == 0 ? 12 : 8;
    model.AddVariable(mesh, variable);
  }
  LoadedTree loaded(model);
  const auto& variables = loaded.At<Geometry>(mesh).variables;
  EXPECT_EQ(variables[0].array.storedBytes->size(), 12U);
  EXPECT_EQ(variables[1].array.storedBytes->size(), 8U);
  EXPECT_EQ(variables[0].array.storedBytes, variables[998].array.storedBytes);
  EXPECT_EQ(variables[1].array.storedBytes, variables[999].array.storedBytes);
}

TEST(LoadWork, OldVariablesInTwoCompressedBlocks_LoadNeither) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddGroup("root", 0), "0.4");
  for (unsigned int i = 0; i < 1000; ++i) {
    Variable variable = Variable::Uints("v", 13, 1, {i});
    variable.heavyPosition = i % 2 == 0 ? 0 : 2000;
    model.AddVariable(mesh, variable);
  }
  model.SetLayout(tevtest::kHeavyData, {.split = StreamLayout::Split::AtCuts,
                                        .packing = StreamLayout::Packing::Compressed,
                                        .cuts = {2000}});
  LoadedTree loaded(model);
  EXPECT_EQ(loaded.At<Geometry>(mesh).variables.size(), 1000U);
  EXPECT_EQ(WorkOf(loaded, tevtest::kHeavyData).loads, 0U);
}

TEST(LoadWork, ASoundModel_ReadsItsStreamsOnce) {
  LoadedTree loaded(SmallModel());
  for (const std::string_view stream : {kLightData, tevtest::kHeavyData, tevtest::kAttributes}) {
    EXPECT_EQ(WorkOf(loaded, stream).loadedAgain, 0U) << stream;
  }
}

TEST(LoadWork, ArraysLoadedOneByOne_AreRequestsOfTheirOwn) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddGroup("root", 0));
  const std::vector<float> values(262144);  // 1 MiB
  model.AddVariable(mesh, Variable::Floats("v", 13, 1, values));
  LoadedTree loaded(model);
  const auto& array = loaded.At<Geometry>(mesh).variables[0].array;
  std::vector<float> read;
  for (int i = 0; i < 40; ++i) {
    array.loader->LoadTo(read);
  }
  EXPECT_EQ(read.size(), values.size());
}

/// How often one array of 1 MiB can be loaded within one request.
int LoadsInOneRequest() {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddGroup("root", 0));
  const std::vector<float> values(262144);
  model.AddVariable(mesh, Variable::Floats("v", 13, 1, values));
  const tevtest::TempDir directory;
  Tree tree;
  OpenModel(tree, directory.Write("m.tev", model.Build()));
  const auto& array = dynamic_cast<Geometry&>(*tree.GetReqNode(mesh).data).variables[0].array;
  const ModelStream::Request request(*tree.GetStreams().heavy);
  std::vector<float> read;
  int loads = 0;
  while (loads < 100 && FailureOf([&] { array.loader->LoadTo(read); }) == "no failure") {
    ++loads;
  }
  EXPECT_EQ(FailureOf([&] { array.loader->LoadTo(read); }), kTooOften);
  return loads;
}

// 16 times the stream of 1 MiB, and 16 MiB; what is read last is not counted yet.
TEST(LoadWork, AnArrayLoadedAgainAndAgainInOneRequest_FailsBeyondTheLimit) {
  EXPECT_EQ(LoadsInOneRequest(), 33);
}

TEST(LoadWork, WhatARequestAllows_IsWhatItHasLeft) {
  const tevtest::TempDir directory;
  LbtLbf::LbFile file;
  file.OpenFile(
      directory.Write("a.tev",
                      tevtest::ContainerWriter().AddRaw("A", std::string(1000, 'x')).Build().bytes),
      "rb");
  constexpr std::uint64_t kLimit = 16 * 1000 + (std::uint64_t{16} << 20U);
  ModelStream stream(file, "A");
  EXPECT_TRUE(stream.Allows(2 * kLimit));  // outside of a request
  const ModelStream::Request request(stream);
  EXPECT_TRUE(stream.Allows(kLimit));
  EXPECT_FALSE(stream.Allows(kLimit + 1));
  stream.Charge(300);
  static_cast<void>(stream.GetBytes(200));  // counts though no seek has followed
  EXPECT_TRUE(stream.Allows(kLimit - 500));
  EXPECT_FALSE(stream.Allows(kLimit - 499));
}

TEST(LoadWork, RepeatedIds_KeepOneNode) {
  ModelWriter model;
  for (std::uint32_t nth = 0; nth < kRecords; ++nth) {
    model.At(model.AddGroup("g", 0, {}, "0.1")).id = 7;
  }
  LoadedTree loaded(model);
  EXPECT_EQ(loaded.tree.GetNodes().size(), 2U);  // beside the root's entry
  EXPECT_EQ(loaded.tree.GetNextId(), 8U);
}

/// Where sums with what is read there overflow 32 bits.
const std::vector<std::uint64_t> kLastPage{0xFFFFF000, 0xFFFFF001, 0xFFFFFFFC, 0xFFFFFFFF};

/// The same for 64 bits.
const std::vector<std::uint64_t> kLastPageOf64Bits{0x100000000, 0xFFFFFFFFFFFFF000,
                                                   0xFFFFFFFFFFFFFFFF};

class Overflow : public ::testing::Test {
 protected:
  /// "set" puts a position into the small model.
  template <class Set>
  void ExpectInvalid(const std::vector<std::uint64_t>& positions, Set set) const {
    for (const std::uint64_t position : positions) {
      ModelWriter model = SmallModel();
      set(model, position);
      EXPECT_EQ(FailureOfLoading(model), kInvalidPosition) << position;
    }
  }
};

TEST_F(Overflow, LightDataPositions_AreInvalid) {
  const auto set = [](ModelWriter& model, std::uint64_t position) {
    model.At(tevtest::kSmallMesh1).lightPosition = position;
  };
  ExpectInvalid(kLastPage, set);
  ExpectInvalid(kLastPageOf64Bits, set);
}

TEST_F(Overflow, NarrowLightDataPositions_AreInvalid) {
  for (const std::uint64_t position : kLastPage) {
    ModelWriter model = SmallModel();
    model.SetFileVersion("0.6").At(tevtest::kSmallMesh1).lightPosition = position;
    EXPECT_EQ(FailureOf([&] { LoadedTree(model, false); }), kInvalidPosition) << position;
  }
}

TEST_F(Overflow, PositionsOfNodeSets_AreInvalid) {
  const auto set = [](ModelWriter& model, std::uint64_t position) {
    model.At(tevtest::kSmallNodeSets).NodeSets().heavyPosition = position;
  };
  ExpectInvalid(kLastPage, set);
  ExpectInvalid(kLastPageOf64Bits, set);
}

TEST_F(Overflow, PositionsOfOldVariables_AreInvalid) {
  for (const char* version : {"0.4", "0.5"}) {
    ExpectInvalid(kLastPage, [version](ModelWriter& model, std::uint64_t position) {
      model.At(tevtest::kSmallMesh1).version = version;
      model.VariableAt(tevtest::kSmallMesh1, 1).heavyPosition = position;
    });
  }
}

// The position of a new variable is used when its numbers are wanted.
TEST_F(Overflow, PositionsOfNewVariables_AreInvalidWhenTheirNumbersAreWanted) {
  for (const std::uint64_t position : kLastPageOf64Bits) {
    ModelWriter model = SmallModel();
    Variable& variable = model.VariableAt(tevtest::kSmallMesh1, 1);
    variable.heavyPosition = position;
    variable.byteCount = 0xFFFFFFFC;
    LoadedTree loaded(model);
    const auto& read = loaded.At<Geometry>(tevtest::kSmallMesh1).variables[1];
    std::vector<float> numbers;
    EXPECT_EQ(FailureOf([&] { read.array.loader->LoadTo(numbers); }), kInvalidPosition);
    EXPECT_EQ(numbers.capacity(), 0U);
  }
}

}  // namespace
}  // namespace LbtTev
