// The list of programs that wrote a model.

#include <gtest/gtest.h>

#include "Failure.h"
#include "Lbt/Tev/Tree.h"
#include "ModelOnDisk.h"
#include "TraceText.h"
#include "support/SmallModel.h"

namespace LbtTev {
namespace {

using tevtest::FailureOf;
using tevtest::kGlobalInformation;
using tevtest::ModelOnDisk;
using tevtest::ModelWriter;
using tevtest::StreamLayout;

void Load(Tree& tree, const ModelWriter& model) {
  ModelOnDisk disk(model.Build());
  tree.LoadGlobalInfo(disk.File());
}

TEST(TreeGlobalInfo, Modifiers_AreReadInOrder) {
  Tree tree;
  Load(tree, tevtest::SmallModel());
  ASSERT_EQ(tree.modifierInfos.size(), 2U);
  EXPECT_EQ(tree.modifierInfos[0].applicationName, "translate");
  EXPECT_EQ(tree.modifierInfos[0].unreported, "batch");
  EXPECT_EQ(tree.modifierInfos[0].comment, "First translation");
  EXPECT_EQ(tree.modifierInfos[1].applicationName, "tidy");
  EXPECT_EQ(tree.modifierInfos[1].userName, "release");
  EXPECT_EQ(tree.modifierInfos[1].comment, "");
}

TEST(TreeGlobalInfo, OfAFileWithoutIt_LeavesTheListAndLogsIt) {
  Tree tree;
  tree.modifierInfos.resize(3);
  ModelWriter model = tevtest::SmallModel();
  ModelOnDisk disk(model.LeaveOut(kGlobalInformation).Build());
  const tevtest::TraceText trace;
  tree.LoadGlobalInfo(disk.File());
  EXPECT_EQ(tree.modifierInfos.size(), 3U);
  EXPECT_EQ(tevtest::MaskLog(trace.Lines()), "Index : # @ Element Not Found\n");
}

TEST(TreeGlobalInfo, OfAnEmptyList_EmptiesTheList) {
  Tree tree;
  tree.modifierInfos.resize(3);
  ModelWriter model;
  Load(tree, model.SetModifierCount(0));
  EXPECT_TRUE(tree.modifierInfos.empty());
}

TEST(TreeGlobalInfo, OfAClosedFileThatWasNeverRead_LeavesTheList) {
  Tree tree;
  tree.modifierInfos.resize(3);
  LbtLbf::LbFile closed;
  tree.LoadGlobalInfo(closed);
  EXPECT_EQ(tree.modifierInfos.size(), 3U);
}

TEST(TreeGlobalInfo, OfRecordsThatEndTooEarly_FailsWithNotEnoughBytes) {
  Tree tree;
  ModelWriter model = tevtest::SmallModel();
  EXPECT_EQ(FailureOf([&] { Load(tree, model.SetModifierCount(3)); }), tevtest::kNotEnoughBytes);
}

TEST(TreeGlobalInfo, OfAListInTwoBlocks_FailsWithNotEnoughBytes) {
  ModelWriter model = tevtest::SmallModel();
  model.SetLayout(kGlobalInformation, {.split = StreamLayout::Split::AtCuts, .cuts = {4}});
  Tree tree;
  EXPECT_EQ(FailureOf([&] { Load(tree, model); }), tevtest::kNotEnoughBytes);
}

TEST(TreeGlobalInfo, OfARecordShorterThanItsTexts_FailsWithUnknownVersion) {
  ModelWriter model = tevtest::SmallModel();
  model.ModifierAt(1).envelope.recordSize = 10;
  Tree tree;
  EXPECT_EQ(FailureOf([&] { Load(tree, model); }, tevtest::LineNumber::Kept),
            tevtest::ExpectedException("Unknown Version", "Unknown Version",
                                       "include/Lbt/Tev/BlockVersionedIo", "184"));
}

}  // namespace
}  // namespace LbtTev
