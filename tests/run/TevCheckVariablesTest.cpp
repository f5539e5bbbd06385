// What "tev check" says on variables whose data or links are wrong.

#include <gtest/gtest.h>

#include "run/TevCheckRun.h"
#include "support/Hex.h"

namespace tevtest {
namespace {

constexpr const char* kMesh1 = "node 4 (mesh 1), ";

class TevCheckVariables : public TevCheckRun {
 protected:
  [[nodiscard]] std::string CheckLink(std::uint32_t node, std::uint32_t variable) {
    model.VariableAt(kSmallMesh2, 6).linkNodeId = node;
    model.VariableAt(kSmallMesh2, 6).linkVariableIndex = variable;
    const std::string found = Check(model);
    const std::string place =
        "  " + BlockText(kLightBlock, kLightData, model, model.RecordStart(kLightData, 3)) +
        ", node 6 (mesh 2), variable 6 (Temperature Time = 0.5): ";
    EXPECT_TRUE(found.starts_with(place)) << found;
    return found.substr(std::min(found.size(), place.size()));
  }

  /// Where a variable's data begins.
  [[nodiscard]] std::string DataText(std::uint32_t position) const {
    return "  " + BlockText(kHeavyBlock, kHeavyData, model, position) + ", ";
  }

  ModelWriter model = SmallModel();
};

TEST_F(TevCheckVariables, LinkToANodeThatDoesNotExist) {
  EXPECT_EQ(CheckLink(99, 6), "it is linked to a node that does not exist (claimed 99)\n");
}

TEST_F(TevCheckVariables, LinkToNode0_IsALinkToNothing) {
  EXPECT_EQ(CheckLink(0, 0), "it is linked to a node that does not exist (claimed 0)\n");
}

TEST_F(TevCheckVariables, LinkToANodeThatIsNoGeometry) {
  EXPECT_EQ(CheckLink(kSmallShape1, 0), "it is linked to a node that is no geometry (claimed 3)\n");
}

TEST_F(TevCheckVariables, LinkToAVariableThatDoesNotExist) {
  EXPECT_EQ(CheckLink(kSmallMesh1, 7),
            "it is linked to a variable that node 4 does not have (claimed 7, found 7)\n");
}

TEST_F(TevCheckVariables, LinkToALink_HasNoData) {
  EXPECT_EQ(CheckLink(kSmallMesh2, 6),
            "it is linked to a variable of node 6 that is a link itself, and so has no data "
            "(claimed 6)\n");
}

TEST_F(TevCheckVariables, ByteCountThatDoesNotFitTheWidth) {
  // 15 floats in items of 3; the last item is one short.
  model.VariableAt(kSmallMesh1, 5).heavyBytes = std::string(56, '\0');
  EXPECT_EQ(Check(model),
            DataText(20 + 60 + 32 + 8 + 8) + kMesh1 +
                "variable 5 (Displacement Time = 0.5): its byte count does "
                "not fit items of 3 components, 4 bytes each (claimed 56, found 48)\n");
}

TEST_F(TevCheckVariables, DataWithoutComponents_FitsNothing) {
  model.VariableAt(kSmallMesh1, 4).width = 0;
  EXPECT_EQ(Check(model), DataText(20 + 60 + 32 + 8) + kMesh1 +
                              "variable 4 (Element Ids): its byte count does not fit items "
                              "of 0 components, 4 bytes each (claimed 8, found 0)\n");
}

TEST_F(TevCheckVariables, DataBeyondTheEndOfItsBlock_TellsHowMuchIsThere) {
  const auto length = static_cast<std::uint32_t>(model.StreamBytes(kHeavyData).size());
  model.VariableAt(kSmallMesh1, 4).heavyPosition = length - 4;
  EXPECT_EQ(Check(model), DataText(length - 4) + kMesh1 +
                              "variable 4 (Element Ids): the data cannot be loaded: Not enough "
                              "bytes in the block (claimed 8, found 4)\n");
}

TEST_F(TevCheckVariables, DataBeyondTheStream_HasNothing) {
  const auto length = static_cast<std::uint32_t>(model.StreamBytes(kHeavyData).size());
  model.VariableAt(kSmallMesh1, 4).heavyPosition = length + 100;
  EXPECT_EQ(Check(model), DataText(length) + kMesh1 +
                              "variable 4 (Element Ids): the data cannot be loaded: Invalid block "
                              "position (claimed 8, found 0)\n");
}

TEST_F(TevCheckVariables, NoHeavyData_IsToldOfEachVariable) {
  ModelWriter few;
  const NodeRef mesh = few.AddGeometry("mesh", few.AddShape("part", few.AddGroup("model", 0)));
  few.AddVariable(mesh, Variable::Floats("One", kScalarResult, 1, {1}));
  few.AddVariable(mesh, Variable::Floats("Two", kScalarResult, 1, {2}));
  EXPECT_EQ(Check(few.LeaveOut(kHeavyData)),
            "  node 3 (mesh), variable 0 (One): the data cannot be loaded: Not enough bytes "
            "in the block (claimed 4, found 0)\n"
            "  node 3 (mesh), variable 1 (Two): the data cannot be loaded: Invalid block "
            "position (claimed 4, found 0)\n");
}

TEST_F(TevCheckVariables, BadBlock_NamesWhatIsLostAndTheRestIsChecked) {
  // A block for each array: that of the connectivity of the first mesh is the third of them.
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  model.VariableAt(kSmallMesh1, 5).byteCount = 56;
  ContainerWriter writer = model.ToContainer();
  constexpr int kBad = kHeavyBlock + 2;
  writer.Blocks().at(kBad).storedBytes = Hex("20000000 'no zlib stream'");
  const Container container = writer.Build();
  const std::string block =
      BlockText(kBad, std::string(kHeavyData), container.Block(kHeavyData, 2).offset);
  EXPECT_EQ(Check(container.bytes),
            "  " + block + ": zlib refuses the data (code -3)\n    " + block +
                ", node 4 (mesh 1), variable 2 (Connectivity): the data cannot be loaded, since "
                "its block cannot (claimed 32, found 0)\n"
                "  " +
                BlockText(kHeavyBlock + 5, std::string(kHeavyData),
                          container.Block(kHeavyData, 5).offset) +
                ", node 4 (mesh 1), variable 5 (Displacement Time = 0.5): its byte count "
                "does not fit items of 3 components, 4 bytes each (claimed 56, found 48)\n");
}

TEST_F(TevCheckVariables, DataAfterABlockOfUnknownLength_IsInNoBlockThatCouldBeNamed) {
  // The second heavy block is one that the file ends before: how much it holds cannot be known, and
  // so neither which block has what lies after its first byte.
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  ContainerWriter writer = model.ToContainer();
  const Container whole = writer.Build();
  const std::size_t start = whole.Block(kHeavyData, 1).offset;
  const std::string found = Check(writer.TruncateTo(start + 3).Build().bytes);
  const std::string second = BlockText(kHeavyBlock + 1, std::string(kHeavyData), start);
  EXPECT_NE(found.find("  " + second + ": the file ends before the block does ("),
            std::string::npos)
      << found;
  EXPECT_NE(found.find("  " + second + ", " + kMesh1 +
                       "variable 1 (Coordinates): the data cannot be loaded, since its block "
                       "cannot (claimed 60, found 0)\n"),
            std::string::npos)
      << found;
  EXPECT_NE(found.find("  block unknown (Heavy Data), node 4 (mesh 1), variable 2 "
                       "(Connectivity): the data cannot be loaded, since the length of an earlier "
                       "block is unknown (claimed 32, found 0)\n"),
            std::string::npos)
      << found;
  EXPECT_NE(found.find("  block unknown (Heavy Data), node 7 (Sets): its node sets cannot be "
                       "read, since the length of an earlier block is unknown\n"),
            std::string::npos)
      << found;
}

TEST_F(TevCheckVariables, ConnectivityOutsideTheNodeRange_NamesTheHighestIndex) {
  // Five nodes, counted from 0.
  model.VariableAt(kSmallMesh1, 2) =
      Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 3, 1, 2, 5, 4});
  EXPECT_EQ(Check(model),
            DataText(5 * 4 + 15 * 4) + kMesh1 +
                "variable 2 (Connectivity): element 6 of the data is no index of a "
                "node; the nodes of the geometry count from 0 (claimed 5, found 5)\n");
}

TEST_F(TevCheckVariables, ConnectivityOfEachType_IsCheckedAndLengthsAreNoNodes) {
  const std::vector<std::uint32_t> faces{0, 1, 2, 3, 4, 0, 1, 9};
  for (const std::uint32_t type : {4U, 5U, 6U}) {
    model.VariableAt(kSmallMesh1, 2).type = type;
    model.VariableAt(kSmallMesh1, 2).elements = ElementBytes(faces);
    model.VariableAt(kSmallMesh1, 3).elements = ElementBytes(std::vector<std::uint32_t>{8});
    EXPECT_NE(Check(model).find("(claimed 9, found 5)\n"), std::string::npos) << type;
    EXPECT_EQ(Check(model).find("Polylength"), std::string::npos) << type;
  }
}

TEST_F(TevCheckVariables, ConnectivityAndCoordinatesThroughLinks_AreFollowed) {
  // The second mesh takes its nodes and its elements from the first, which has one node less.
  model.VariableAt(kSmallMesh1, 0) = Variable::Floats("Node Ids", kIds, 1, {1, 2, 3, 4});
  model.VariableAt(kSmallMesh1, 1) =
      Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1});
  model.VariableAt(kSmallMesh2, 0) = Variable::Link("Node Ids", kIds, kSmallMesh1, 0);
  model.VariableAt(kSmallMesh2, 1) = Variable::Link("Coordinates", kCoordinates, kSmallMesh1, 1);
  model.VariableAt(kSmallMesh2, 2) = Variable::Link("Connectivity", kConnectivity, kSmallMesh1, 2);
  model.VariableAt(kSmallMesh2, 3) = Variable::Link("Polylength", kPolylength, kSmallMesh1, 3);
  const std::string rest =
      "variable 2 (Connectivity): element 7 of the data is no index of a node; the nodes of the "
      "geometry count from 0 (claimed 4, found 4)\n";
  const std::string data = DataText(4 * 4 + 12 * 4);
  EXPECT_EQ(Check(model), data + kMesh1 + rest + data + "node 6 (mesh 2), " + rest);
}

TEST_F(TevCheckVariables, ConnectivityWithoutCoordinates_HasNoNodes) {
  model.VariableAt(kSmallMesh2, 1).name = "Other";
  model.VariableAt(kSmallMesh2, 1).type = kVectorResult;
  const std::string found = Check(model);
  EXPECT_NE(found.find("node 6 (mesh 2), variable 2 (Connectivity): element 4 of the data is no "
                       "index of a node; the nodes of the geometry count from 0 (claimed 4, found "
                       "0)\n"),
            std::string::npos)
      << found;
}

TEST_F(TevCheckVariables, ConnectivityWithNodesThatLeadNowhere_IsNotJudged) {
  model.VariableAt(kSmallMesh2, 1) = Variable::Link("Coordinates", kCoordinates, 99, 0);
  model.VariableAt(kSmallMesh2, 2) =
      Variable::Uints("Connectivity", kConnectivity, 1, {900, 900, 900, 900, 900});
  const std::string found = Check(model);
  EXPECT_NE(found.find("node 6 (mesh 2), variable 1 (Coordinates): "), std::string::npos) << found;
  EXPECT_EQ(found.find("variable 2 (Connectivity)"), std::string::npos) << found;
}

TEST_F(TevCheckVariables, ConnectivityWithoutElements_IsSound) {
  model.VariableAt(kSmallMesh2, 2) = Variable::Uints("Connectivity", kConnectivity, 1, {});
  model.VariableAt(kSmallMesh2, 3) = Variable::Uints("Polylength", kPolylength, 1, {});
  Write("m.tev", model);
  ExpectSound({"m.tev"});
}

}  // namespace
}  // namespace tevtest
