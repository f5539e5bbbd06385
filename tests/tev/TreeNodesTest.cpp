// The nodes that the records of a tree make, and the data that they take from other streams.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Tree.h"
#include "ModelOnDisk.h"
#include "TraceText.h"
#include "support/SmallModel.h"

namespace LbtTev {
namespace {

using tevtest::FailureOfLoading;
using tevtest::kHeavyData;
using tevtest::kLightData;
using tevtest::kResources;
using tevtest::LinksOf;
using tevtest::LoadedTree;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Outline;

using Ids = std::vector<unsigned int>;
using Lines = std::vector<std::string>;

TEST(TreeNodes, TypesOtherThanTheFour_BecomeFutureNodesWhoseDataIsSkipped) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0, {}, "0.1");
  for (const char* type : {"Probe", "group", "Shape ", "GEOMETRY", "Material", "FutureNode"}) {
    model.AddFuture(type, type, root, "skipped");
  }
  model.AddFuture("Probe", "without data", root, "");
  const NodeRef last = model.AddGroup("last", root);
  model.At(last).Group().groupByte = 9;
  LoadedTree loaded(model.KeepReadingOn());
  EXPECT_EQ(Outline(loaded.tree),
            (Lines{"1 Group root", "2 FutureNode Probe", "3 FutureNode group",
                   "4 FutureNode Shape ", "5 FutureNode GEOMETRY", "6 FutureNode Material",
                   "7 FutureNode FutureNode", "8 FutureNode without data", "9 Group last"}));
  EXPECT_EQ(loaded.At<Group>(last).groupByte, 9);
  EXPECT_TRUE(loaded.At<FutureNode>(2).attributes.empty());
}

TEST(TreeNodes, AFutureNodeLongerThanItsBlock_FailsWithNotEnoughBytes) {
  ModelWriter model;
  const NodeRef probe = model.AddFuture("Probe", "p", 0, "1234");
  model.At(probe).Future().size = 5;
  EXPECT_EQ(FailureOfLoading(model), tevtest::kNotEnoughBytes);
  model.At(probe).Future().size = 0xFFFFFFFF;
  EXPECT_EQ(FailureOfLoading(model), tevtest::kNotEnoughBytes);
}

TEST(TreeNodes, ARecordWithoutType_HasNoNode) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0, {}, "0.1");
  model.AddEmpty("named", root);
  LoadedTree loaded(model);
  EXPECT_EQ(Outline(loaded.tree), (Lines{"1 Group root", "2"}));
  EXPECT_EQ(LinksOf(loaded.tree, 1), (Ids{0, 0, 0, 2, 2}));
}

TEST(TreeNodes, ALightDataPositionPastItsStream_FailsWithInvalidPosition) {
  ModelWriter model;
  model.AddGroup("root", 0, {}, "0.2");
  for (const std::uint64_t position : {std::uint64_t{41}, std::uint64_t{1} << 40U}) {
    model.At(1).lightPosition = position;
    EXPECT_EQ(FailureOfLoading(model), tevtest::kInvalidPosition) << position;
  }
  model.At(1).lightPosition = 40;
  EXPECT_EQ(FailureOfLoading(model), tevtest::kNotEnoughBytes);
}

TEST(TreeNodes, ALightDataPositionWithoutItsStream_FailsWithInvalidPosition) {
  ModelWriter model;
  model.AddGroup("root", 0, {}, "0.1");
  model.At(1).lightPosition = 1;
  EXPECT_EQ(FailureOfLoading(model), tevtest::kInvalidPosition);
}

TEST(TreeNodes, WithoutLightData_NodesHaveTheirDefaults) {
  ModelWriter model = tevtest::SmallModel();
  model.KeepReadingOn().LeaveOut(kLightData);
  LoadedTree loaded(model.SetRecordOrder({1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(loaded.At<Group>(1).rotation[2], 1.0F);
  EXPECT_TRUE(loaded.At<Geometry>(4).variables.empty());
}

TEST(TreeNodes, ShapesOfTheFirstVersions_TakeNoMaterial) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0, {}, "0.1");
  model.AddShape("a", root, "0.0a");
  model.AddShape("b", root, "0.1");
  model.AddShape("c", root, "0.2");
  model.AddShape("d", root, "");
  model.At(4).Shape().material->shininess = 1;
  model.At(5).Shape().material->shininess = 2;
  LoadedTree loaded(model);
  EXPECT_EQ(loaded.At<Shape>(2).material.shininess, 0.0F);
  EXPECT_EQ(loaded.At<Shape>(3).material.shininess, 0.0F);
  EXPECT_EQ(loaded.At<Shape>(3).material.diffuse[0], 0.8F);
  EXPECT_EQ(loaded.At<Shape>(4).material.shininess, 1.0F);
  EXPECT_EQ(loaded.At<Shape>(5).material.shininess, 2.0F);
}

TEST(TreeNodes, WithoutResources_ShapesKeepTheDefaultMaterial) {
  ModelWriter model;
  model.AddShape("a", 0);
  model.AddShape("b", 1);
  const tevtest::TraceText trace;
  LoadedTree loaded(model.LeaveOut(kResources));
  for (const NodeRef shape : {1U, 2U}) {
    EXPECT_EQ(loaded.At<Shape>(shape).material.shininess, 0.0F);
    EXPECT_EQ(loaded.At<Shape>(shape).material.diffuse[0], 0.8F);
  }
  const std::string line = "Index : # @ Element Not Found\n";
  const std::string lines = tevtest::MaskLog(trace.Lines());
  EXPECT_NE(lines.find(line), std::string::npos);
  EXPECT_EQ(lines.find(line), lines.rfind(line));
}

TEST(TreeNodes, WithTooFewMaterials_FailsWithNotEnoughBytes) {
  ModelWriter model;
  model.AddShape("a", 0);
  model.At(model.AddShape("b", 1)).Shape().material.reset();
  EXPECT_EQ(FailureOfLoading(model), tevtest::kNotEnoughBytes);
}

TEST(TreeNodes, AMaterialShorterThanItsFields_FailsWithUnknownVersion) {
  ModelWriter model;
  model.AddShape("a", 0);
  model.At(1).Shape().material->envelope.recordSize = 70;
  EXPECT_EQ(FailureOfLoading(model),
            tevtest::ExpectedException("Unknown Version", "Unknown Version",
                                       "include/Lbt/Tev/BlockVersionedIo"));
}

TEST(TreeNodes, NodeSets_TakeTheirPlaceFrom16Bytes) {
  ModelWriter model;
  model.SetPrefix(kHeavyData, "abc");
  model.AddNodeSets("sets", 0, {{"Fixed", {{1, 4}}}});
  model.At(1).NodeSets().third = 6;
  LoadedTree loaded(model);
  const auto& sets = loaded.At<NodeSets>(1);
  EXPECT_EQ(sets.setCount, 1U);
  EXPECT_EQ(sets.heavyDataPosition, 3U);
  EXPECT_EQ(sets.reservedCount, 6U);
  ASSERT_EQ(sets.sets.size(), 1U);
  EXPECT_EQ(sets.sets[0].name, "Fixed");
}

TEST(TreeNodes, NodeSetsOfAnotherSize_SkipItAndHaveNoSets) {
  for (const char* light : {"", "1", "123456789012345", "12345678901234567"}) {
    ModelWriter model;
    const NodeRef sets = model.AddNodeSets("sets", 0, {{"Fixed", {{1, 4}}}});
    model.At(sets).NodeSets().lightBytes = light;
    const NodeRef group = model.AddGroup("group", sets);
    model.At(group).Group().groupByte = 7;
    LoadedTree loaded(model.KeepReadingOn());
    EXPECT_EQ(loaded.At<NodeSets>(sets).setCount, 0U);
    EXPECT_EQ(loaded.At<NodeSets>(sets).heavyDataPosition, 0U);
    EXPECT_TRUE(loaded.At<NodeSets>(sets).sets.empty());
    EXPECT_EQ(loaded.At<Group>(group).groupByte, 7);
  }
}

TEST(TreeNodes, NodeSetsWithoutHeavyData_FailWithNotEnoughBytes) {
  ModelWriter model;
  model.AddNodeSets("sets", 0, {});
  EXPECT_EQ(FailureOfLoading(model.LeaveOut(kHeavyData)), tevtest::kNotEnoughBytes);
}

}  // namespace
}  // namespace LbtTev
