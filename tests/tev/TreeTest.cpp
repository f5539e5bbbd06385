// Loading a file as the whole tree.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Tree.h"
#include "ModelOnDisk.h"
#include "support/ByteWriter.h"
#include "support/SmallModel.h"

namespace LbtTev {
namespace {

using tevtest::ByteWriter;
using tevtest::FailureOf;
using tevtest::FailureOfLoading;
using tevtest::kHeavyData;
using tevtest::kTree;
using tevtest::LinksOf;
using tevtest::LoadedTree;
using tevtest::ModelOnDisk;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Outline;
using tevtest::StreamLayout;

using Ids = std::vector<unsigned int>;
using BlockMap = std::map<unsigned int, unsigned int>;

using Lines = std::vector<std::string>;

const Lines kSmallOutline{"1 Group model",     "2 Group Geometry", "3 Shape Frame",
                          "4 Geometry mesh 1", "5 Shape Panel",    "6 Geometry mesh 2",
                          "7 NodeSets Sets"};

void ExpectSmallModel(LoadedTree& loaded) {
  EXPECT_EQ(Outline(loaded.tree), kSmallOutline);
  EXPECT_EQ(LinksOf(loaded.tree, 1), (Ids{0, 0, 0, 2, 7}));
  EXPECT_EQ(LinksOf(loaded.tree, 2), (Ids{1, 0, 7, 3, 5}));
  EXPECT_EQ(LinksOf(loaded.tree, 3), (Ids{2, 0, 5, 4, 4}));
  EXPECT_EQ(LinksOf(loaded.tree, 7), (Ids{1, 2, 0, 0, 0}));
  EXPECT_EQ(loaded.At<Group>(1).attributes.at("Tolerance").GetAttributeString(), "0.25");
  EXPECT_EQ(loaded.At<Shape>(3).material.shininess, 32.0F);
  EXPECT_EQ(loaded.At<Shape>(5).material.shininess, 8.0F);
  EXPECT_EQ(loaded.At<Geometry>(4).variables.size(), 7U);
  ASSERT_EQ(loaded.At<NodeSets>(7).sets.size(), 2U);
  EXPECT_EQ(loaded.At<NodeSets>(7).sets[1].name, "Loaded");
  std::vector<float> temperature;
  loaded.At<Geometry>(4).variables[6].array.loader->LoadTo(temperature);
  EXPECT_EQ(temperature, (std::vector<float>{293.25F, 294, 295.5F, 296, 1234567}));
}

TEST(Tree, ANewOne_HoldsTheRootWithoutANode) {
  Tree tree;
  EXPECT_EQ(Outline(tree), Lines{"1"});
  EXPECT_EQ(tree.GetNextId(), 2U);
  EXPECT_EQ(tree.GetCurrentId(), 0U);
  EXPECT_TRUE(tree.modifierInfos.empty());
}

TEST(Tree, AWholeModel_IsLoadedWithIdsAsInTheFile) {
  LoadedTree loaded(tevtest::SmallModel());
  ExpectSmallModel(loaded);
  EXPECT_EQ(loaded.blockMap, (BlockMap{{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}}));
  EXPECT_EQ(loaded.tree.GetNextId(), 8U);
  EXPECT_EQ(loaded.tree.GetCurrentId(), 0U);
}

TEST(Tree, AModelWithNarrowOffsets_IsLoadedAlike) {
  ModelWriter model = tevtest::SmallModel();
  model.SetFileVersion("0.6");
  LoadedTree loaded(model, false);
  ExpectSmallModel(loaded);
}

TEST(Tree, AModelWithoutLightDataPositions_IsReadOnFromNodeToNode) {
  ModelWriter model = tevtest::SmallModel();
  LoadedTree loaded(model.KeepReadingOn());
  ExpectSmallModel(loaded);
}

TEST(Tree, AModelInBlocksPerRecord_IsLoadedAlike) {
  for (const auto packing : {StreamLayout::Packing::Raw, StreamLayout::Packing::Alternating,
                             StreamLayout::Packing::Compressed}) {
    ModelWriter model = tevtest::SmallModel();
    model.SetLayoutOfOthers(
        {.split = StreamLayout::Split::BlockPerRecord, .packing = packing, .emptyBlocks = true});
    LoadedTree loaded(model.Interleave());
    ExpectSmallModel(loaded);
  }
}

TEST(Tree, AFileWithoutRecords_LeavesTheRootAlone) {
  for (const std::uint32_t count : {0U, 0xFFFFFFFFU, 0x80000000U}) {
    ModelWriter model;
    model.ReplaceStream(kTree, ByteWriter().U32(count).Raw("rest").Bytes());
    LoadedTree loaded(model);
    EXPECT_EQ(Outline(loaded.tree), Lines{"1"});
    EXPECT_TRUE(loaded.blockMap.empty());
  }
}

TEST(Tree, AFileWithoutTree_StillLoadsTheDataOfWhatIsThere) {
  LoadedTree loaded(tevtest::SmallModel());
  ModelWriter other;
  other.LeaveOut(kTree).SetPrefix(kHeavyData,
                                  tevtest::NodeSetLists{.sets = {{"A", {}}, {"B", {}}}}.Encode());
  ModelOnDisk disk(other.Build());
  auto& sets = loaded.At<NodeSets>(7);
  sets.heavyDataPosition = 0;
  loaded.tree.LoadTree(disk.File(), loaded.blockMap, 0, true);
  EXPECT_EQ(Outline(loaded.tree), kSmallOutline);
  ASSERT_EQ(sets.sets.size(), 2U);
  EXPECT_EQ(sets.sets[0].name, "A");
}

TEST(Tree, RecordsThatEndTooEarly_FailAndKeepTheNodesReadUntilThen) {
  ModelWriter model;
  model.AddGroup("first", 0);
  model.AddGroup("second", 1);
  const std::string bytes = model.StreamBytes(kTree);
  // The second record: six ids, "second", "Group", "0.4" with their lengths, the position.
  const std::size_t start = bytes.size() - (24 + 10 + 9 + 7 + 8);
  for (std::size_t size = start; size < bytes.size(); ++size) {
    model.ReplaceStream(kTree, bytes.substr(0, size));
    ModelOnDisk disk(model.Build());
    Tree tree;
    BlockMap map;
    EXPECT_EQ(FailureOf([&] { tree.LoadTree(disk.File(), map, 0, true); }),
              tevtest::kNotEnoughBytes)
        << size;
    EXPECT_EQ(Outline(tree), Lines{"1 Group first"}) << size;
  }
}

TEST(Tree, ARecordThatEndsAfterItsId_IsInTheBlockMap) {
  ModelWriter model;
  model.AddGroup("first", 0);
  const std::size_t second = model.StreamBytes(kTree).size();
  model.At(model.AddGroup("second", 1)).id = 9;
  const std::string bytes = model.StreamBytes(kTree);
  const auto mapOf = [&](std::size_t size) {
    model.ReplaceStream(kTree, bytes.substr(0, size));
    ModelOnDisk disk(model.Build());
    Tree tree;
    BlockMap map;
    EXPECT_EQ(FailureOf([&] { tree.LoadTree(disk.File(), map, 0, true); }),
              tevtest::kNotEnoughBytes);
    return map;
  };
  EXPECT_EQ(mapOf(second + 3), (BlockMap{{1, 1}}));
  EXPECT_EQ(mapOf(second + 4), (BlockMap{{1, 1}, {9, 9}}));
  EXPECT_EQ(mapOf(bytes.size() - 1), (BlockMap{{1, 1}, {9, 9}}));
}

TEST(Tree, GeometriesOfALoadThatFailed_HaveNoLoaders) {
  ModelWriter model;
  model.AddGroup("root", 0);
  model.AddVariable(model.AddGeometry("mesh", 1), tevtest::Variable::Floats("v", 12, 1, {1.0F}));
  const std::string whole = model.StreamBytes(kTree);
  LoadedTree loaded(model);
  EXPECT_NE(loaded.At<Geometry>(2).variables.at(0).array.loader, nullptr);

  model.AddGroup("never read", 1);
  model.ReplaceStream(kTree, model.StreamBytes(kTree).substr(0, whole.size() + 20));
  ModelOnDisk disk(model.Build());
  Tree tree;
  EXPECT_EQ(FailureOf([&] { tree.LoadTree(disk.File(), 0, true); }), tevtest::kNotEnoughBytes);
  const auto& geometry = dynamic_cast<const Geometry&>(*tree.GetReqNode(2).data);
  EXPECT_EQ(geometry.variables.at(0).array.loader, nullptr);
  EXPECT_EQ(geometry.heavyDataPositions.at("v"), 0U);
}

TEST(Tree, AFieldThatGoesOnInTheNextBlock_FailsWithNotEnoughBytes) {
  ModelWriter model;
  model.AddGroup("first", 0);
  // Cut in the count, in the id, and between length and text of the name.
  for (const std::size_t cut : {2U, 6U, 32U}) {
    model.SetLayout(kTree, {.split = StreamLayout::Split::AtCuts, .cuts = {cut}});
    EXPECT_EQ(FailureOfLoading(model), tevtest::kNotEnoughBytes) << cut;
  }
  model.SetLayout(kTree, {.split = StreamLayout::Split::AtCuts, .cuts = {4, 8, 28}});
  LoadedTree loaded(model);
  EXPECT_EQ(Outline(loaded.tree), Lines{"1 Group first"});
}

TEST(Tree, EachRecord_StartsFromEmptyTexts) {
  // A group of an empty version reads its byte, which one of the version before does not.
  ModelWriter model;
  const NodeRef root = model.AddGroup("named", 0, {}, "0.2");
  const NodeRef nameless = model.AddGroup("", root, {}, "");
  model.At(nameless).Group().groupByte = 5;
  model.AddEmpty("", nameless);
  LoadedTree loaded(model);
  EXPECT_EQ(Outline(loaded.tree), (Lines{"1 Group named", "2 Group ", "3"}));
  EXPECT_EQ(loaded.At<Group>(nameless).groupByte, 5);
}

TEST(Tree, ARepeatedId_ReplacesTheEntryAndItsNode) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  model.AddGroup("first", root);
  model.At(model.AddShape("second", root)).id = 2;
  model.At(3).nextSibling = 77;
  LoadedTree loaded(model);
  EXPECT_EQ(Outline(loaded.tree), (Lines{"1 Group root", "2 Shape second"}));
  EXPECT_EQ(loaded.tree.GetReqNode(2).nextSibling, 77U);
  EXPECT_EQ(loaded.tree.GetNextId(), 3U);
}

TEST(Tree, NodeSetsWhoseIdIsRepeated_AreReadOnceFromTheLastOne) {
  ModelWriter model;
  model.AddGroup("root", 0);
  model.AddNodeSets("first", 1, {{"First", {{1, 1}}}});
  model.AddNodeSets("second", 1, {{"Second", {{2, 2}}}});
  model.AddNodeSets("third", 1, {{"Third", {{3, 3}}}});
  model.AddGroup("fourth", 1);
  model.At(3).id = 2;
  model.At(5).id = 4;
  LoadedTree loaded(model);
  const auto& sets = loaded.At<NodeSets>(2).sets;
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(sets[0].name, "Second");
  EXPECT_EQ(loaded.At<Group>(4).name, "fourth");
}

// Two of them fail, each with another text.
TEST(Tree, NodeSets_AreReadInTheOrderOfIds) {
  for (const unsigned int outside : {2U, 3U}) {
    ModelWriter model;
    model.AddGroup("root", 0);
    for (const NodeRef node : {2U, 3U}) {
      model.AddNodeSets("sets", 1, {{"Set", {{1, 1}}}});
      if (node == outside) {
        model.At(node).NodeSets().heavyPosition = 0xFFFFFF;
      } else {
        model.At(node).NodeSets().setCount = 5;  // more than the lists have
      }
    }
    const std::string lists = tevtest::ExpectedException(
        "Out of Bounds", "Not enough bytes in the block", "include/Lbt/Tev/NodeSets");
    const std::string expected = outside == 2U ? tevtest::kInvalidPosition : lists;
    EXPECT_EQ(FailureOfLoading(model), expected);
    EXPECT_EQ(FailureOfLoading(model.SetRecordOrder({3, 2, 1})), expected);
  }
}

TEST(Tree, ALoadWithoutABlockMap_IsTheSame) {
  const ModelWriter model = tevtest::SmallModel();
  LoadedTree loaded(model);
  ModelOnDisk disk(model.Build());
  Tree tree;
  tree.LoadTree(disk.File(), 0, true);
  EXPECT_EQ(Outline(tree), Outline(loaded.tree));
}

TEST(Tree, ARecordOfId0_IsKeptButIsNobodysTarget) {
  ModelWriter model;
  model.AddGroup("root", 0);
  model.At(model.AddGroup("zero", 1)).id = 0;
  LoadedTree loaded(model);
  EXPECT_EQ(Outline(loaded.tree), (Lines{"0 Group zero", "1 Group root"}));
  EXPECT_EQ(loaded.tree.FindNode(0), nullptr);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(loaded.tree.GetReqNode(0)); }),
            tevtest::kMissingEntry);
  EXPECT_EQ(loaded.blockMap, (BlockMap{{0, 0}, {1, 1}}));
  EXPECT_EQ(loaded.tree.GetNextId(), 2U);
}

TEST(Tree, Ids_MayHaveGapsAndComeInAnyOrder) {
  ModelWriter model;
  model.AddGroup("root", 0);
  model.At(model.AddGroup("far", 1)).id = 900;
  model.At(model.AddGroup("near", 1)).id = 5;
  LoadedTree loaded(model.SetRecordOrder({2, 3, 1}));
  EXPECT_EQ(Outline(loaded.tree), (Lines{"1 Group root", "5 Group near", "900 Group far"}));
  EXPECT_EQ(LinksOf(loaded.tree, 1), (Ids{0, 0, 0, 900, 5}));
  EXPECT_EQ(loaded.tree.GetNextId(), 901U);
}

}  // namespace
}  // namespace LbtTev
