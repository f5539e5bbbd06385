// Blocks that are inflated before their turn, and how long they stay in memory.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/BlocksAhead.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::CountedLoads;
using tevtest::DescribedModel;
using tevtest::kHeavyData;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::StreamLayout;
using tevtest::Variable;

/// Heavy data of 48 bytes in three compressed blocks of 16.
ModelWriter ThreeBlocks() {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("R", 13, 1, std::vector<float>(12, 1.0F)));
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::AtCuts,
                               .packing = StreamLayout::Packing::Compressed,
                               .cuts = {16, 32}});
  return model;
}

TEST(BlocksAhead, ABlock_StaysAsLongAsSomethingInItIsPlanned) {
  for (const std::size_t threads : {0U, 1U}) {
    const DescribedModel described(ThreeBlocks());
    BlocksAhead blocks(*described.tree.GetStreams().heavy, {.threads = threads});
    blocks.Plan(std::vector<unsigned long>{0, 8, 16});
    ASSERT_NE(blocks.Find(0), nullptr);
    const std::weak_ptr<const void> first = blocks.Hold();
    blocks.DropUsedUp();
    EXPECT_FALSE(first.expired());
    const LbtLbf::Block* found = blocks.Find(8);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->GetRemaining(), 8U);
    blocks.DropUsedUp();
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(blocks.Hold(), nullptr);
    ASSERT_NE(blocks.Find(16), nullptr);
    EXPECT_NE(blocks.Hold(), nullptr);
    blocks.DropUsedUp();
    EXPECT_EQ(blocks.Hold(), nullptr);
  }
}

TEST(BlocksAhead, ABlockThatIsLeft_IsLetGo) {
  DescribedModel described(ThreeBlocks());
  const CountedLoads loads(described);
  BlocksAhead blocks(*described.tree.GetStreams().heavy, {.threads = 1, .most = 1});
  blocks.Plan(std::vector<unsigned long>{0, 0, 16, 32});
  ASSERT_NE(blocks.Find(0), nullptr);
  EXPECT_EQ(loads.Blocks(), 2U);  // in hand, and one ahead
  const std::weak_ptr<const void> first = blocks.Hold();
  ASSERT_NE(blocks.Find(20), nullptr);
  EXPECT_TRUE(first.expired());
  EXPECT_EQ(loads.Blocks(), 3U);
  EXPECT_EQ(blocks.Find(48), nullptr);  // past the end
  const auto place = blocks.Locate(20);
  ASSERT_TRUE(place.has_value());
  EXPECT_EQ(place->offset, 4U);
}

TEST(BlocksAhead, ABlockThatTheFileKeeps_IsNotChargedAgain) {
  DescribedModel described(ThreeBlocks());
  described.tree.GetFile().GetIndex().KeepAllContents(1 << 20);
  ModelStream& heavy = *described.tree.GetStreams().heavy;
  const ModelStream::Request request(heavy);
  BlocksAhead blocks(heavy, {});
  for (const unsigned long position : {16U, 0U, 20U, 4U}) {
    ASSERT_NE(blocks.Find(position), nullptr);
  }
  EXPECT_EQ(heavy.Charged(), 0U);
}

TEST(BlocksAhead, ABlockThatIsReturnedTo_IsChargedWithItsLength) {
  const DescribedModel described(ThreeBlocks());
  ModelStream& heavy = *described.tree.GetStreams().heavy;
  const ModelStream::Request request(heavy);
  BlocksAhead blocks(heavy, {});
  ASSERT_NE(blocks.Find(16), nullptr);
  ASSERT_NE(blocks.Find(0), nullptr);
  EXPECT_EQ(heavy.Charged(), 0U);
  ASSERT_NE(blocks.Find(20), nullptr);
  EXPECT_EQ(heavy.Charged(), 16U);
}

}  // namespace
}  // namespace LbtTev::Analysis
