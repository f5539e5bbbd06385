// What "tev check" says on models whose records are damaged or refer to each other wrongly.

#include <gtest/gtest.h>

#include "run/TevCheckRun.h"
#include "support/ByteWriter.h"
#include "support/Hex.h"

namespace tevtest {
namespace {

class TevCheckTree : public TevCheckRun {
 protected:
  /// Where the record of a node is.
  [[nodiscard]] std::string Node(NodeRef node) { return NodeText(model, node, kTreeBlock); }

  /// Where its light data is: that at a place, counted from 0. Shapes have none.
  [[nodiscard]] std::string LightOf(NodeRef node, std::size_t place) {
    return "  " + BlockText(kLightBlock, kLightData, model, model.RecordStart(kLightData, place)) +
           ", node " + std::to_string(node) + " (" + model.At(node).name + ")";
  }

  ModelWriter model = SmallModel();
};

TEST_F(TevCheckTree, TreeRecordThatEndsTooEarly_IsCounted) {
  std::string bytes = model.StreamBytes(kTree);
  const std::size_t last = model.RecordStart(kTree, 6);
  bytes.pop_back();
  model.ReplaceStream(kTree, bytes);
  EXPECT_EQ(Check(model), "  " + BlockText(kTreeBlock, kTree, model, last) +
                              ": tree record 6 of 7 cannot be read: Not enough bytes in the "
                              "block\n");
}

TEST_F(TevCheckTree, AbsurdCountOfRecords_EndsWithTheRecordsThatThereAre) {
  const std::string bytes = model.StreamBytes(kTree);
  model.ReplaceStream(kTree, Hex("ffffff7f") + bytes.substr(4));
  EXPECT_EQ(Check(model), "  " + BlockText(kTreeBlock, kTree, model, bytes.size()) +
                              ": tree record 7 of 2147483647 cannot be read: Not enough bytes in "
                              "the block\n");
}

TEST_F(TevCheckTree, TreeWithoutAWholeCount_HasNoRecords) {
  model.ReplaceStream(kTree, "12");
  EXPECT_EQ(Check(model), "  " + BlockText(kTreeBlock, kTree, model) +
                              ": the number of tree records cannot be read: Not enough bytes in "
                              "the block\n");
}

TEST_F(TevCheckTree, NegativeCountOfRecords_IsToldAsSuchAndNothingIsRead) {
  for (const auto& [stored, count] : {std::pair("ffffffff", "-1"), {"00000080", "-2147483648"}}) {
    model.ReplaceStream(kTree, Hex(stored) + SmallModel().StreamBytes(kTree).substr(4));
    EXPECT_EQ(Check(model), "  " + BlockText(kTreeBlock, kTree, model) +
                                ": the number of tree records is " + count +
                                ", below 0, so no record is read\n");
  }
}

TEST_F(TevCheckTree, BytesAfterTheLastRecord_AreUnused) {
  const std::string bytes = model.StreamBytes(kTree);
  const std::string size = std::to_string(bytes.size());
  for (const auto& [rest, text] : {std::pair("x", "1 byte"), {"more", "4 bytes"}}) {
    model.ReplaceStream(kTree, bytes + rest);
    EXPECT_EQ(
        Check(model),
        "  " + BlockText(kTreeBlock, kTree, model, bytes.size()) + ": nothing reads the " + text +
            " after the last tree record, from byte " + size + " of the stream on (claimed " +
            std::to_string(bytes.size() + std::string(rest).size()) + ", found " + size + ")\n");
  }
}

TEST_F(TevCheckTree, BlockAfterTheLastRecord_IsUnusedAndNamed) {
  ContainerWriter writer = model.ToContainer();
  writer.AddRaw(kTree, "").AddCompressed(kTree, "12345").AddRaw(kTree, "67");
  const std::size_t size = model.StreamBytes(kTree).size();
  const Container container = writer.Build();
  EXPECT_EQ(Check(container.bytes),
            "  " + BlockText(7, std::string(kTree), container.Block(kTree, 2).offset) +
                ": nothing reads the 7 bytes after the last tree record, from byte " +
                std::to_string(size) + " of the stream on (claimed " + std::to_string(size + 7) +
                ", found " + std::to_string(size) + ")\n");
}

TEST_F(TevCheckTree, CountOfRecordsThatIsTooSmall_LeavesTheRestUnread) {
  const std::string bytes = model.StreamBytes(kTree);
  const std::size_t end = model.RecordStart(kTree, 6);
  model.ReplaceStream(kTree, Hex("06000000") + bytes.substr(4));
  const std::string found = Check(model);
  EXPECT_TRUE(found.starts_with("  " + BlockText(kTreeBlock, kTree, model, end) +
                                ": nothing reads the " + std::to_string(bytes.size() - end) +
                                " bytes after the last tree record, from byte "))
      << found;
}

TEST_F(TevCheckTree, RecordOverTwoBlocks_IsWhereItBegins) {
  model.At(kSmallMesh2).lastChild = 99;
  const std::size_t start = model.RecordStart(kTree, kSmallMesh2 - 1);
  model.SetLayout(kTree, {.split = StreamLayout::Split::AtCuts, .cuts = {start + 8}});
  const Container container = model.ToContainer().Build();
  EXPECT_EQ(Check(container.bytes),
            "  " +
                BlockText(kTreeBlock, std::string(kTree), container.Block(kTree).offset + start) +
                ", node 6 (mesh 2): its last child is a node that does not exist (claimed 99)\n");
}

TEST_F(TevCheckTree, RecordInACompressedBlock_IsAtTheStartOfTheBlock) {
  model.At(kSmallMesh2).lastChild = 99;
  model.SetLayout(kTree, {.packing = StreamLayout::Packing::Compressed});
  EXPECT_EQ(Check(model),
            "  " + BlockText(kTreeBlock, kTree, model) +
                ", node 6 (mesh 2): its last child is a node that does not exist (claimed 99)\n");
}

TEST_F(TevCheckTree, RefusedSecondTreeBlock_IsNamedAndNotThatBeforeIt) {
  model.SetLayout(
      kTree, {.split = StreamLayout::Split::AtCuts, .cuts = {model.RecordStart(kTree, 6) + 8}});
  ContainerWriter writer = model.ToContainer();
  BlockSpec& second = writer.Blocks().at(kTreeBlock + 1);
  second.compressed = true;
  second.storedBytes = Hex("04000000 'no stream'");
  const Container container = writer.Build();
  const std::string block =
      "  " + BlockText(kTreeBlock + 1, std::string(kTree), container.Block(kTree, 1).offset);
  const std::string found = Check(container.bytes);
  EXPECT_TRUE(found.starts_with(block + ": zlib refuses the data (code -3)\n  " + block +
                                ": tree record 6 of 7 cannot be read: zlib refuses the data of "
                                "block 2 (Tev Tree)\n"))
      << found;
}

TEST_F(TevCheckTree, RefusedTreeBlock_IsNamedWhereItIsMissed) {
  ContainerWriter writer = model.ToContainer();
  writer.Blocks().at(kTreeBlock) = {
      .name = std::string(kTree), .compressed = true, .storedBytes = Hex("04000000 'no stream'")};
  const Container container = writer.Build();
  const std::string block =
      "  " + BlockText(kTreeBlock, std::string(kTree), container.Block(kTree).offset);
  EXPECT_EQ(Check(container.bytes),
            block + ": zlib refuses the data (code -3)\n  " + block +
                ": the number of tree records cannot be read: zlib refuses the data of block 1 "
                "(Tev Tree)\n");
}

TEST_F(TevCheckTree, LightDataThatEndsTooEarly_NamesTheNode) {
  const std::string place = LightOf(kSmallNodeSets, 4);
  std::string bytes = model.StreamBytes(kLightData);
  bytes.pop_back();
  model.ReplaceStream(kLightData, bytes);
  EXPECT_EQ(Check(model), place + ": its data cannot be read: Not enough bytes in the block\n");
}

TEST_F(TevCheckTree, RefusedLightData_IsToldOfEachNodeThatHasSome) {
  ContainerWriter writer = model.ToContainer();
  BlockSpec& bad = writer.Blocks().at(kLightBlock);
  bad.compressed = true;
  bad.storedBytes = Hex("04000000 'no stream'");
  const Container container = writer.Build();
  const std::string block =
      BlockText(kLightBlock, std::string(kLightData), container.Block(kLightData).offset);
  std::string expected = "  " + block + ": zlib refuses the data (code -3)\n";
  for (const char* node : {"1 (model)", "2 (Geometry)", "4 (mesh 1)", "6 (mesh 2)", "7 (Sets)"}) {
    expected += "    " + block + ", node " + node +
                ": its data cannot be read: zlib refuses the data of block 2 (Light Data)\n";
  }
  EXPECT_EQ(Check(container.bytes), expected);
}

TEST_F(TevCheckTree, RefusedAttributes_LeaveTheVariablesToBeChecked) {
  model.VariableAt(kSmallMesh1, 4).byteCount = 6;
  ContainerWriter writer = model.ToContainer();
  BlockSpec& bad = writer.Blocks().at(kAttributesBlock);
  bad.compressed = true;
  bad.storedBytes = Hex("04000000 'no stream'");
  const Container container = writer.Build();
  const std::string block =
      BlockText(kAttributesBlock, std::string(kAttributes), container.Block(kAttributes).offset);
  std::string expected = "  " + block + ": zlib refuses the data (code -3)\n    " + block +
                         ", node 1 (model): its data cannot be read: zlib refuses the data of "
                         "block 3 (Attributes)\n";
  for (const char* node : {"2 (Geometry)", "4 (mesh 1)", "6 (mesh 2)"}) {
    expected += "    " + block + ", node " + node +
                ": its data cannot be read, since reading \"Attributes\" has failed before\n";
  }
  const std::string found = Check(container.bytes);
  EXPECT_TRUE(found.starts_with(expected)) << found;
  EXPECT_NE(found.find("node 4 (mesh 1), variable 4 (Element Ids): its byte count does not fit"),
            std::string::npos)
      << found;
}

TEST_F(TevCheckTree, ChangedBytesOfResources_BlameNoOtherStream) {
  // The count of the first list of a material, now above what there is. Where the material of the
  // other shape begins is unknown then.
  std::string bytes = model.StreamBytes(kResources);
  bytes.at(3) = '\x7f';
  model.ReplaceStream(kResources, bytes);
  const std::string found = Check(model);
  const std::string block = "block 4 (Resources) at byte ";
  EXPECT_TRUE(found.starts_with("  " + block)) << found;
  EXPECT_NE(found.find(", node 3 (Frame): its data cannot be read: "), std::string::npos) << found;
  EXPECT_NE(found.find("\n    " + block), std::string::npos) << found;
  EXPECT_TRUE(found.ends_with(
      ", node 5 (Panel): its data cannot be read, since reading \"Resources\" has failed before\n"))
      << found;
  EXPECT_EQ(std::count(found.begin(), found.end(), '\n'), 2);
}

TEST_F(TevCheckTree, LightDataAfterABlockOfUnknownLength_IsInNoBlockThatCouldBeNamed) {
  // Three stored bytes are too few for a length. The second group says that its data lies after
  // their block.
  model.SetLayout(kLightData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  model.At(kSmallGeometryGroup).lightPosition = model.RecordStart(kLightData, 2);
  ContainerWriter writer = model.ToContainer();
  writer.Blocks().at(kLightBlock + 1).storedBytes = "123";
  const Container container = writer.Build();
  const std::string block =
      BlockText(kLightBlock + 1, std::string(kLightData), container.Block(kLightData, 1).offset);
  std::string expected = "  " + block + ": the block is too short for a compressed one\n";
  for (const char* node : {"2 (Geometry)", "4 (mesh 1)", "6 (mesh 2)", "7 (Sets)"}) {
    expected += std::string("    block unknown (Light Data), node ") + node +
                ": its data cannot be read: Not enough bytes in the block\n";
  }
  EXPECT_EQ(Check(container.bytes), expected);
}

TEST_F(TevCheckTree, LightDataBeyondItsStream_NamesTheNode) {
  model.At(kSmallMesh2).lightPosition = 100000;
  const std::size_t length = model.StreamBytes(kLightData).size();
  EXPECT_EQ(Check(model), "  " + BlockText(kLightBlock, kLightData, model, length) +
                              ", node 6 (mesh 2): its data cannot be read: Invalid block position "
                              "(claimed 100000, found " +
                              std::to_string(length) + ")\n");
}

TEST_F(TevCheckTree, UnreadableNode_LeavesTheVariablesOfThoseBeforeItToBeChecked) {
  // The second mesh claims one variable more than it has; the first one has a fault of its own.
  model.VariableAt(kSmallMesh1, 4).byteCount = 6;
  model.At(kSmallMesh2).Geometry().count = 8;
  model.SetRecordOrder({1, 2, 3, 4, 5, 7, 6});
  // Before it lie Node Ids, Coordinates, Connectivity and Polylength.
  constexpr std::size_t kData = 20 + 60 + 32 + 8;
  EXPECT_EQ(Check(model),
            LightOf(kSmallMesh2, 4) +
                ": its data cannot be read: Not enough bytes in the block\n  " +
                BlockText(kHeavyBlock, kHeavyData, model, kData) +
                ", node 4 (mesh 1), variable 4 (Element Ids): its byte count does not fit items "
                "of 1 components, 4 bytes each (claimed 6, found 4)\n");
}

TEST_F(TevCheckTree, LinkToANodeThatWasNotRead_IsNoFinding) {
  model.VariableAt(kSmallMesh1, 6) = Variable::Link("Temperature", kScalarResult, kSmallMesh2, 0);
  model.VariableAt(kSmallMesh2, 6) = Variable::Floats("Temperature", kScalarResult, 1, {1});
  model.At(kSmallMesh2).Geometry().count = 8;
  model.SetRecordOrder({1, 2, 3, 4, 5, 7, 6});
  EXPECT_EQ(Check(model),
            LightOf(kSmallMesh2, 4) + ": its data cannot be read: Not enough bytes in the block\n");
}

TEST_F(TevCheckTree, BrokenModifierRecord_DoesNotKeepTheTreeFromBeingChecked) {
  model.SetModifierCount(3);
  model.At(kSmallMesh2).lastChild = 99;
  EXPECT_EQ(Check(model),
            "  " + BlockText(0, kGlobalInformation, model) +
                ": the records of the programs that wrote the file cannot be read: Not enough "
                "bytes in the block\n" +
                Node(kSmallMesh2) +
                ": its last child is a node that does not exist (claimed 99)\n");
}

TEST_F(TevCheckTree, BrokenNodeSets_AreNamedAndTheNextAreRead) {
  const NodeRef second = model.AddNodeSets("More", kSmallRoot, {{"Some", {{1, 1}}}});
  model.At(kSmallNodeSets).NodeSets().setCount = 3;
  model.At(second).NodeSets().heavyBytes = "";
  const std::size_t length = model.StreamBytes(kHeavyData).size();
  std::string found = Check(model);
  const std::string reason = ": its node sets cannot be read: Not enough bytes in the block\n";
  EXPECT_EQ(found.substr(found.find(", node 7 ")),
            ", node 7 (Sets)" + reason + "  " + BlockText(kHeavyBlock, kHeavyData, model, length) +
                ", node 8 (More)" + reason);
}

TEST_F(TevCheckTree, NodeSetsInARefusedBlock_AreToldWithTheirBlock) {
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  ContainerWriter writer = model.ToContainer();
  std::vector<int> heavy;
  for (int i = 0; i < static_cast<int>(writer.Blocks().size()); ++i) {
    if (writer.Blocks()[static_cast<std::size_t>(i)].name == kHeavyData) {
      heavy.push_back(i);
    }
  }
  const int last = heavy.back();  // that of the node sets
  writer.Blocks().at(static_cast<std::size_t>(last)).storedBytes = Hex("20000000 'no zlib stream'");
  const Container container = writer.Build();
  const std::string block = BlockText(last, std::string(kHeavyData),
                                      container.Block(kHeavyData, heavy.size() - 1).offset);
  EXPECT_EQ(Check(container.bytes),
            "  " + block + ": zlib refuses the data (code -3)\n    " + block +
                ", node 7 (Sets): its node sets cannot be read, since their block cannot\n");
}

TEST_F(TevCheckTree, LightDataAfterTheLastRecord_IsUnused) {
  const std::string bytes = model.StreamBytes(kLightData);
  model.ReplaceStream(kLightData, bytes + "rest");
  EXPECT_EQ(Check(model), "  " + BlockText(kLightBlock, kLightData, model, bytes.size()) +
                              ": there is light data that no record reads, from byte " +
                              std::to_string(bytes.size()) + " of its stream on (claimed " +
                              std::to_string(bytes.size() + 4) + ", found " +
                              std::to_string(bytes.size()) + ")\n");
}

TEST_F(TevCheckTree, LightDataBetweenRecords_IsUnused) {
  model.AddFuture("Probe", "probe", kSmallRoot, "");
  const std::string bytes = model.StreamBytes(kLightData);
  // The last record is read at its end from now on, where nothing lay before.
  model.At(8).lightPosition = bytes.size() + 3;
  model.ReplaceStream(kLightData, bytes + "gap" + Hex("00000000"));
  const std::size_t used = bytes.size() - 4;
  EXPECT_EQ(Check(model), "  " + BlockText(kLightBlock, kLightData, model, used) +
                              ": there is light data that no record reads, from byte " +
                              std::to_string(used) + " of its stream on (claimed " +
                              std::to_string(used + 11) + ", found " + std::to_string(used + 4) +
                              ")\n");
}

TEST_F(TevCheckTree, IdThatRepeats_NamesBothRecords) {
  model.At(kSmallNodeSets).id = kSmallShape2;
  model.At(kSmallNodeSets).previousSibling = 2;
  model.At(kSmallNodeSets).nextSibling = 0;
  model.At(kSmallRoot).lastChild = kSmallShape2;
  const std::string found = Check(model);
  EXPECT_TRUE(
      found.starts_with(Node(kSmallNodeSets) +
                        ": tree record 6 takes the place of record 4, which has the same id\n"))
      << found;
}

TEST_F(TevCheckTree, LinksToNodesThatDoNotExist_AreNamed) {
  NodeSpec& node = model.At(kSmallMesh2);
  node.parent = 91;
  node.previousSibling = 92;
  node.nextSibling = 93;
  node.firstChild = 94;
  node.lastChild = 95;
  std::string expected;
  int claimed = 91;
  for (const char* link :
       {"parent", "previous sibling", "next sibling", "first child", "last child"}) {
    expected += Node(kSmallMesh2) + ": its " + link + " is a node that does not exist (claimed " +
                std::to_string(claimed++) + ")\n";
  }
  EXPECT_EQ(Check(model), expected);
}

TEST_F(TevCheckTree, ShapeWithoutAGeometry_IsNamed) {
  ModelWriter lone;
  const NodeRef root = lone.AddGroup("model", 0);
  lone.AddShape("bare", root);
  lone.AddGroup("group", lone.AddShape("odd", root));
  EXPECT_EQ(Check(lone), NodeText(lone, 2, 0) +
                             ": the first child of a shape must be a geometry (claimed 0)\n" +
                             NodeText(lone, 3, 0) +
                             ": the first child of a shape must be a geometry (claimed 4)\n");
}

TEST_F(TevCheckTree, CycleOfParents_IsToldOnce) {
  model.At(kSmallGeometryGroup).parent = kSmallShape1;
  EXPECT_EQ(Check(model), Node(kSmallGeometryGroup) + ": its parents lead back to itself\n");
}

TEST_F(TevCheckTree, CycleOfSiblings_IsToldOnceForEachDirection) {
  model.At(kSmallShape2).nextSibling = kSmallShape1;
  model.At(kSmallShape1).previousSibling = kSmallShape2;
  EXPECT_EQ(Check(model), Node(kSmallShape1) + ": its previous siblings lead back to itself\n" +
                              Node(kSmallShape1) + ": its next siblings lead back to itself\n");
}

TEST_F(TevCheckTree, NodeThatIsItsOwnSibling_IsACycle) {
  model.At(kSmallMesh1).nextSibling = kSmallMesh1;
  EXPECT_EQ(Check(model), Node(kSmallMesh1) + ": its next siblings lead back to itself\n");
}

TEST_F(TevCheckTree, CycleOfChildren_NamesWhereItCloses) {
  model.At(kSmallMesh2).firstChild = kSmallGeometryGroup;
  EXPECT_EQ(Check(model),
            Node(kSmallGeometryGroup) + ": it stands below itself, in the children of node 6\n");
}

TEST_F(TevCheckTree, ChildOfTwoNodes_NamesBoth) {
  model.At(kSmallShape2).firstChild = kSmallMesh1;
  model.At(kSmallShape2).lastChild = kSmallMesh1;
  EXPECT_EQ(Check(model),
            Node(kSmallMesh1) + ": it stands in the children of node 3 and of node 5\n" +
                Node(kSmallMesh2) + ": no list of children leads to it from the root\n");
}

TEST_F(TevCheckTree, NodesThatTheRootDoesNotReach_AreToldByTheTopmost) {
  model.At(kSmallShape1).nextSibling = 0;
  EXPECT_EQ(Check(model), Node(kSmallShape2) + ": no list of children leads to it from the root\n");
}

TEST_F(TevCheckTree, RingThatTheRootDoesNotReach_IsToldOnceAndAsACycle) {
  const NodeRef one = model.AddGroup("one", 0);
  const NodeRef other = model.AddGroup("other", one);
  model.At(other).firstChild = one;
  EXPECT_EQ(Check(model), Node(one) + ": it stands below itself, in the children of node 9\n" +
                              Node(one) + ": no list of children leads to it from the root\n");
}

TEST_F(TevCheckTree, FileWithoutTheRootsId_HasNothingBelowIt) {
  ModelWriter lone;
  lone.At(lone.AddGroup("lone", 0)).id = 5;
  EXPECT_EQ(Check(lone),
            NodeText(lone, 1, 0) + ": no list of children leads to it from the root\n");
}

}  // namespace
}  // namespace tevtest
