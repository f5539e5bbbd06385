// Checks the streams that the model writer makes against bytes worked out by hand.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "support/Hex.h"
#include "support/ModelWriter.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

/// A model of one geometry record with one variable that uses every field.
ModelWriter OneVariable(std::string_view version) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", 0, version);
  Variable variable = Variable::Uints("v", 4, 1, {0x04030201, 0x08070605});
  variable.flags = {0xA1, 0xA2, 0xA3};
  variable.values = {1.0F, 2.0F};
  variable.furtherFlag = 0xA4;
  model.AddVariable(mesh, variable);
  model.SetPrefix(kHeavyData, "12345");
  return model;
}

TEST(ModelWriter, GeometryOfEachVersion_HasItsLightData) {
  const std::string nameAndType = "01000000 01000000 'v' 04000000";
  const std::string flags = "a1 a2 0000803f 00000040 a3";
  const auto light = [](const char* version) {
    return OneVariable(version).StreamBytes(kLightData);
  };
  const std::string old = nameAndType + "08000000 01";
  EXPECT_EQ(light("0.0a"), Hex(old + "05000000"));
  EXPECT_EQ(light("0.1"), Hex(old + "05000000"));
  EXPECT_EQ(light("0.2"), Hex(old + flags + "05000000"));
  EXPECT_EQ(light("0.3"), Hex(old + flags + "a4 05000000"));
  EXPECT_EQ(light("0.4"), Hex(old + flags + "a4 05000000"));
  EXPECT_EQ(light("0.8"), Hex(old + flags + "a4 05000000"));
  EXPECT_EQ(light("0.5"), Hex(nameAndType + "00 08000000 01" + flags + "05000000 a4"));
  EXPECT_EQ(light("0.6"), Hex(nameAndType + "00 08000000 01" + flags + "05000000 a4"));
  EXPECT_EQ(light("0.7"), Hex(nameAndType + "00 08000000 01" + flags + "0500000000000000 a4"));
}

TEST(ModelWriter, HeavyData_IsShuffledFromVersion06On) {
  const auto heavy = [](const char* version) {
    return OneVariable(version).StreamBytes(kHeavyData);
  };
  for (const char* version : {"0.0a", "0.1", "0.4", "0.5", "0.8"}) {
    EXPECT_EQ(heavy(version), Hex("'12345' 01020304 05060708")) << version;
  }
  for (const char* version : {"0.6", "0.7"}) {
    EXPECT_EQ(heavy(version), Hex("'12345' 01 05 02 06 03 07 04 08")) << version;
  }
}

TEST(ModelWriter, VariableAttributes_AreWrittenFromVersion04On) {
  const auto size = [](const char* version) {
    return OneVariable(version).StreamBytes(kAttributes).size();
  };
  EXPECT_EQ(size("0.1") + size("0.2") + size("0.3"), 0U);
  for (const char* version : {"0.4", "0.5", "0.6", "0.7", "0.8"})
    EXPECT_EQ(size(version), 24U);
}

TEST(ModelWriter, LinkedVariable_HasNoData) {
  ModelWriter model;
  model.AddVariable(model.AddGeometry("g", 0), Variable::Link("v", 14, 5, 2));
  EXPECT_EQ(model.StreamBytes(kLightData),
            Hex("01000000 01000000 'v' 0e000000 01 05000000 02000000 00"));
  EXPECT_EQ(model.StreamBytes(kHeavyData), "");
}

TEST(ModelWriter, GroupOfEachVersion_HasItsData) {
  for (const auto& [version, light, attributes] : {std::tuple{"0.0a", 0U, 0U},
                                                   {"0.1", 0U, 0U},
                                                   {"0.2", 40U, 0U},
                                                   {"0.3", 40U, 24U},
                                                   {"0.4", 41U, 24U},
                                                   {"0.9", 41U, 24U}}) {
    ModelWriter model;
    model.AddGroup("g", 0, {}, version);
    EXPECT_EQ(model.StreamBytes(kLightData).size(), light) << version;
    EXPECT_EQ(model.StreamBytes(kAttributes).size(), attributes) << version;
  }
}

TEST(ModelWriter, TreeRecords_AreLinkedAndPointToTheirLightData) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("r", 0, {}, "0.2");
  model.AddEmpty("a", root);
  model.AddFuture("F", "b", root, "xyz");
  EXPECT_EQ(model.StreamBytes(kTree),
            Hex("03000000"
                "01000000 00000000 00000000 00000000 02000000 03000000"
                "01000000 'r' 05000000 'Group' 03000000 '0.2' 0000000000000000"
                "02000000 01000000 00000000 03000000 00000000 00000000"
                "01000000 'a' 00000000 00000000 0000000000000000"
                "03000000 01000000 02000000 00000000 00000000 00000000"
                "01000000 'b' 01000000 'F' 03000000 '0.1' 2800000000000000"));
  EXPECT_EQ(model.StreamBytes(kLightData).substr(40), Hex("03000000 'xyz'"));
}

TEST(ModelWriter, OldFileVersion_HasNarrowLightDataPositions) {
  ModelWriter model;
  const NodeRef node = model.AddEmpty("", 0);
  model.At(node).id = 9;
  model.At(node).lightPosition = 0x01020304;
  model.SetFileVersion("0.6");
  EXPECT_EQ(model.StreamBytes(kTree),
            Hex("01000000 09000000 00000000 00000000 00000000 00000000 00000000"
                "00000000 00000000 00000000 04030201"));
  EXPECT_EQ(model.SetFileVersion("0.7").StreamBytes(kTree).size(), 48U);
  EXPECT_EQ(model.SetWideOffsets(false).StreamBytes(kTree).size(), 44U);
}

TEST(ModelWriter, NodeSets_PointToTheirLists) {
  ModelWriter model;
  const NodeRef sets = model.AddNodeSets("s", 0, {{"ab", {{1, 2}}}});
  model.SetPrefix(kHeavyData, "1234");
  EXPECT_EQ(model.StreamBytes(kLightData), Hex("10000000 01000000 0400000000000000 00000000"));
  EXPECT_EQ(model.StreamBytes(kHeavyData).substr(4, 8), Hex("02000000 00000000"));
  model.At(sets).NodeSets().lightBytes = "abc";
  EXPECT_EQ(model.StreamBytes(kLightData), Hex("03000000 'abc'"));
}

std::string Joined(const std::vector<BlockSpec>& blocks, std::string_view name) {
  std::string bytes;
  for (const BlockSpec& block : blocks)
    bytes += block.name == name ? block.payload : "";
  return bytes;
}

TEST(ModelWriter, EveryLayout_KeepsTheBytesOfTheStreams) {
  for (const auto split : {StreamLayout::Split::OneBlock, StreamLayout::Split::BlockPerRecord,
                           StreamLayout::Split::AtCuts}) {
    ModelWriter model = SmallModel();
    model.SetLayoutOfOthers({.split = split, .cuts = {3, 10}, .emptyBlocks = true});
    ContainerWriter container = model.Interleave().ToContainer();
    for (const std::string_view name : {kTree, kLightData, kHeavyData, kAttributes, kResources}) {
      EXPECT_EQ(Joined(container.Blocks(), name), SmallModel().StreamBytes(name)) << name;
    }
  }
}

TEST(ModelWriter, BlockPerRecord_CutsAfterEachRecord) {
  ModelWriter model = SmallModel();
  model.SetLayoutOfOthers({.split = StreamLayout::Split::BlockPerRecord,
                           .packing = StreamLayout::Packing::Alternating});
  const Container file = model.ToContainer().Build();
  // Six ids, "Sets", "NodeSets", "0.1" and a wide position.
  EXPECT_EQ(file.Block(kTree, 6).storedSize, 24U + 8U + 12U + 7U + 8U);
  EXPECT_THROW(static_cast<void>(file.Block(kTree, 7)), std::out_of_range);
  EXPECT_EQ(file.Block(kResources, 0).storedSize, 76U);
}

TEST(ModelWriter, StreamsCanBeOrderedLeftOutAndReplaced) {
  ModelWriter model = SmallModel();
  model.SetStreamOrder({"Heavy Data", "Tev Tree"}).LeaveOut(kLightData);
  model.ReplaceStream(kAttributes, "");
  std::vector<std::string> names;
  ContainerWriter container = model.ToContainer();
  for (const BlockSpec& block : container.Blocks())
    names.push_back(block.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Heavy Data", "Tev Tree", "Global Information",
                                             "Attributes", "Resources"}));
  EXPECT_EQ(Joined(container.Blocks(), kAttributes), "");
}

}  // namespace
}  // namespace tevtest
