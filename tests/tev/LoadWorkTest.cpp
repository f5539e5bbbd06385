// How much work a hostile tree can cause, and positions that nearly overflow.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Lbf/Block.h"
#include "Lbt/Tev/Geometry.h"
#include "ModelOnDisk.h"
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

/// The light data of the record that comes "nth" in the file, behind a first byte that keeps all
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
