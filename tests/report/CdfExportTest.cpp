// The export of a geometry as CDF text: its blocks, and what they hold.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "CdfModel.h"
#include "Lbt/Tev/TevInfo/Given.h"

namespace tevtest {
namespace {

// ------------------------------------------------------------------ geometries

TEST(CdfExport, UnknownName_GivesAnEmptyFile) {
  LoadedModel model(ModelOf({Scalar("Heat", {1})}));
  EXPECT_EQ(model.Text("no such geometry"), "");
  exportCDF(model.tree, "mes", model.directory / "out.cdf");
  EXPECT_EQ(model.directory.Read("out.cdf"), "");
}

TEST(CdfExport, NameOfAnotherKindOfNode_GivesAnEmptyFile) {
  ModelWriter writer = ModelOf({});
  writer.AddNodeSets("sets", 1, {});
  LoadedModel model(writer);
  EXPECT_EQ(model.Text("model"), "");
  EXPECT_EQ(model.Text("sets"), "");
}

TEST(CdfExport, GeometryWithoutVariables_HasItsHeadings) {
  EXPECT_EQ(LoadedModel(ModelOf({})).Text("mesh"), kHeadings);
}

TEST(CdfExport, SeveralGeometriesOfOneName_AreAllWrittenInOrderOfTheirIds) {
  ModelWriter writer;
  const NodeRef group = writer.AddGroup("model", 0);
  const NodeRef first = writer.AddGeometry("mesh", writer.AddShape("a", group));
  const NodeRef other = writer.AddGeometry("other", writer.AddShape("b", group));
  const NodeRef second = writer.AddGeometry("mesh", writer.AddShape("c", group));
  writer.AddVariable(second, Scalar("Heat", {2}));
  writer.AddVariable(other, Scalar("Heat", {3}));
  writer.AddVariable(first, Scalar("Heat", {1}));
  EXPECT_EQ(LoadedModel(writer).Text("mesh"),
            kHeadings + "*RESULT,NAME=\"Heat\"\n1\n" + kHeadings + "*RESULT,NAME=\"Heat\"\n2\n");
}

TEST(CdfExport, WholeGeometry_HasItsBlocksInTheOrderOfTheVariables) {
  const std::vector<Variable> variables{
      Variable::Floats("Node Ids", kIds, 1, {1, 2, 3}),
      Variable::Floats("Coordinates\x1eTime = 0.5", kCoordinates, 3,
                       {0, 1.5F, 2, 3, 4, 5, 6, 7, 1e-7F}),
      Faces({0, 1, 2, 0, 2}, "Faces\x1eTime = 0.5"),
      Lengths({3, 2}, "Lengths\x1eTime = 0.5"),
      Variable::Floats("Flux\x1eTime = 0.5", kVectorResult, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}),
      Scalar("Heat", {293.25F, 294, 1234567})};
  EXPECT_EQ(Blocks(variables),
            "*VERTICES,STEP=0.5\n"
            "0,1.5,2\n"
            "3,4,5\n"
            "6,7,1e-07\n"
            "*FACES,STEP=0.5\n"
            "0,1,2\n"
            "0,2\n"
            "*FACESET,NAME=\"mesh\",STEP=0.5\n"
            "0,1,\n"
            "*RESULT,NAME=\"Flux\",STEP=0.5\n"
            "1,2,3\n"
            "4,5,6\n"
            "7,8,9\n"
            "*RESULT,NAME=\"Heat\"\n"
            "293.25\n"
            "294\n"
            "1.23457e+06\n");
}

// ------------------------------------------------------------------ values

TEST(CdfExport, EveryTypeThatIsNoMesh_IsAResult) {
  for (const std::uint32_t type : {0U, 2U, 3U, 7U, 8U, 10U, 11U, 12U, 13U, 15U, 200U}) {
    EXPECT_EQ(Blocks({Variable::Floats("A", type, 1, {1})}), "*RESULT,NAME=\"A\"\n1\n") << type;
  }
}

TEST(CdfExport, NodeIds_HaveNoBlock) {
  EXPECT_EQ(Blocks({Scalar("Node Ids", {1}), Scalar("Node Ids\x1eTime = 1", {1}),
                    Scalar("Node Ids\x1ewithout a step", {1})}),
            "");
}

TEST(CdfExport, NodeIdsAsNameOfCoordinates_AreVertices) {
  EXPECT_EQ(Blocks({Variable::Floats("Node Ids", kCoordinates, 1, {7})}), "*VERTICES\n7\n");
}

TEST(CdfExport, OtherNamesOfIds_AreResults) {
  EXPECT_EQ(Blocks({Scalar("Element Ids", {8}), Scalar("node ids", {9})}),
            "*RESULT,NAME=\"Element Ids\"\n8\n*RESULT,NAME=\"node ids\"\n9\n");
}

/// How often an export loads a block of the model.
std::uint64_t LoadsOfExport(const ModelWriter& writer, const std::string& expected) {
  const LoadedModel model(writer);
  const auto loads = [&] { return model.tree.GetFile().GetIndex().GetCache().LoadCount(); };
  const std::uint64_t before = loads();
  EXPECT_EQ(model.Text("mesh"), expected);
  return loads() - before;
}

TEST(CdfExport, VariablesOnTheSameData_AreLoadedOnce) {
  // Two blocks of heavy data, which the variables of two geometries claim in turn.
  const std::string stored = Shuffle(ElementBytes(std::vector<float>{1, 2}), 1) +
                             Shuffle(ElementBytes(std::vector<float>{3, 4}), 1);
  ModelWriter writer;
  const NodeRef group = writer.AddGroup("model", 0);
  std::string expected;
  for (int geometry = 0; geometry < 2; ++geometry) {
    const NodeRef mesh = writer.AddGeometry("mesh", writer.AddShape("S", group));
    expected += kHeadings;
    for (int i = 0; i < 10; ++i) {
      const std::string name = "Heat " + std::to_string(i);
      Variable variable = Scalar(name, {1, 2});
      variable.heavyBytes = geometry == 0 && i == 0 ? stored : std::string();
      variable.byteCount = 8;
      variable.heavyPosition = 8 * (i % 2);
      writer.AddVariable(mesh, variable);
      expected += "*RESULT,NAME=\"" + name + "\"\n" + (i % 2 == 0 ? "1\n2\n" : "3\n4\n");
    }
  }
  writer.SetLayout(kHeavyData, {.split = StreamLayout::Split::AtCuts, .cuts = {8}});
  EXPECT_EQ(LoadsOfExport(writer, expected), 2U);
}

TEST(CdfExport, FacesOnTheSameLengths_LoadThemOnce) {
  ModelWriter writer =
      ModelOf({Faces({0, 1}, "A"), Faces({1, 0}, "B"), Faces({1, 1}, "C"), Lengths({2})});
  writer.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord});
  const std::string faceSet = "*FACESET,NAME=\"mesh\"\n0,\n";
  EXPECT_EQ(LoadsOfExport(writer, kHeadings + "*FACES\n0,1\n" + faceSet + "*FACES\n1,0\n" +
                                      faceSet + "*FACES\n1,1\n" + faceSet),
            4U);
}

TEST(CdfExport, ValuesThatDoNotFillALine_EndWithAComma) {
  EXPECT_EQ(Blocks({Variable::Floats("A", kVectorResult, 3, {1, 2, 3, 4}), Scalar("B", {5})}),
            "*RESULT,NAME=\"A\"\n1,2,3\n4,*RESULT,NAME=\"B\"\n5\n");
}

TEST(CdfExport, EmptyData_LeavesTheKeywordAlone) {
  EXPECT_EQ(Blocks({Scalar("A", {}), Variable::Floats("C", kCoordinates, 3, {}), Scalar("B", {5})}),
            "*RESULT,NAME=\"A\"\n*VERTICES\n*RESULT,NAME=\"B\"\n5\n");
}

TEST(CdfExport, Floats_ReadAsInAStream) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(Blocks({Scalar("A", {kInfinity, -kInfinity, std::nanf(""), -0.0F, 0.1F, 1e-5F, 1e6F,
                                 999999.5F, 16777216})}),
            "*RESULT,NAME=\"A\"\ninf\n-inf\nnan\n-0\n0.1\n1e-05\n1e+06\n1e+06\n1.67772e+07\n");
}

TEST(CdfExport, NoComponents_LeaveTheBlockOut) {
  EXPECT_EQ(Blocks({OfWidth(Scalar("A", {1}), 0), Scalar("B", {5}),
                    OfWidth(Scalar("C\x1ewithout a step", {1}), 0),
                    OfWidth(Variable::Floats("D", kCoordinates, 3, {1, 2, 3}), 0)}),
            "*RESULT,NAME=\"B\"\n5\n");
}

TEST(CdfExport, MostComponents_StandOnOneLine) {
  std::vector<float> values(256, 1);
  const std::string line = [] {
    std::string text;
    for (int i = 0; i < 254; ++i) {
      text += "1,";
    }
    return text + "1\n";
  }();
  EXPECT_EQ(Blocks({Variable::Floats("A", kVectorResult, 255, values)}),
            "*RESULT,NAME=\"A\"\n" + line + "1,");
}

TEST(CdfExport, LinkedVariable_HasTheValuesOfItsTarget) {
  ModelWriter writer = ModelOf({Variable::Floats("A", kVectorResult, 2, {1, 2, 3, 4})});
  const NodeRef mesh = writer.AddGeometry("linked", writer.AddShape("second", 1));
  writer.AddVariable(mesh, Variable::Link("B\x1eTime = 2", kVectorResult, 3, 0));
  writer.AddVariable(mesh, Variable::Link("C", kVectorResult, 99, 0));
  EXPECT_EQ(LoadedModel(writer).Text("linked"),
            kHeadings + "*RESULT,NAME=\"B\",STEP=2\n1,2\n3,4\n*RESULT,NAME=\"C\"\n");
}

// ------------------------------------------------------------------ steps

TEST(CdfExport, Step_IsTheNumberAfterTheFirstEqualsSign) {
  const std::vector<std::pair<std::string, std::string>> steps{{"Time = 0.5", "0.5"},
                                                               {"Time = 1e-3", "0.001"},
                                                               {"A = 1 = 2", "1"},
                                                               {" = 7", "7"},
                                                               {"Time = -2.50", "-2.5"},
                                                               {"Time =  +3 s", "3"},
                                                               {"Time = 1234567", "1.23457e+06"},
                                                               {"a=b = 4", "4"},
                                                               {"Time = = 5", "0"},
                                                               {"Time = soon", "0"},
                                                               {"Time = ", "0"},
                                                               {"B\x1eTime = 6", "6"}};
  for (const auto& [instance, step] : steps) {
    EXPECT_EQ(Blocks({Scalar("Heat\x1e" + instance, {1})}),
              "*RESULT,NAME=\"Heat\",STEP=" + step + "\n1\n")
        << instance;
  }
}

TEST(CdfExport, EmptyInstanceName_HasNoStep) {
  EXPECT_EQ(Blocks({Scalar("Heat\x1e", {1}), Scalar("\x1eTime = 1", {2})}),
            "*RESULT,NAME=\"Heat\"\n1\n*RESULT,NAME=\"\",STEP=1\n2\n");
}

// ------------------------------------------------------------------ faces

struct FaceCount {
  std::size_t count;
  std::string indices;  ///< the rest of the block
};

class CdfFaceSet : public ::testing::TestWithParam<FaceCount> {};

TEST_P(CdfFaceSet, EndsByTheCountPlusOne) {
  const std::vector<std::uint32_t> ones(GetParam().count, 1);
  std::string faces;
  for (std::size_t i = 0; i < GetParam().count; ++i) {
    faces += "1\n";
  }
  EXPECT_EQ(Blocks({Variable::Uints("Faces", kConnectivity, 1, ones),
                    Variable::Uints("Lengths", kPolylength, 1, ones), Scalar("Heat", {5})}),
            "*FACES\n" + faces + "*FACESET,NAME=\"mesh\"\n" + GetParam().indices +
                "*RESULT,NAME=\"Heat\"\n5\n");
}

INSTANTIATE_TEST_SUITE_P(
    Counts, CdfFaceSet,
    ::testing::Values(FaceCount{0, "\n"}, FaceCount{1, "0,\n"}, FaceCount{5, "0,1,2,3,4,\n"},
                      FaceCount{6, "0,1,2,3,4,5,"}, FaceCount{7, "0,1,2,3,4,5,6\n\n"},
                      FaceCount{8, "0,1,2,3,4,5,6\n7,\n"},
                      FaceCount{13, "0,1,2,3,4,5,6\n7,8,9,10,11,12,"},
                      FaceCount{14, "0,1,2,3,4,5,6\n7,8,9,10,11,12,13\n\n"}),
    [](const auto& faces) { return "Of" + std::to_string(faces.param.count); });

TEST(CdfExport, FacesOfEveryConnectivityType_AreWritten) {
  for (const std::uint32_t type : {4U, 5U, 6U}) {
    EXPECT_EQ(Blocks({Faces({0, 1, 4294967295U}, "Any name", type), Lengths({3})}),
              "*FACES\n0,1,4294967295\n*FACESET,NAME=\"mesh\"\n0,\n")
        << type;
  }
}

TEST(CdfExport, LengthsBeforeOrAfterTheirFaces_AreFound) {
  const std::string expected = "*FACES\n0\n1,2\n*FACESET,NAME=\"mesh\"\n0,1,\n";
  EXPECT_EQ(Blocks({Lengths({1, 2}), Faces({0, 1, 2})}), expected);
  EXPECT_EQ(Blocks({Faces({0, 1, 2}), Lengths({1, 2})}), expected);
}

TEST(CdfExport, LaterLengthsOfAnInstance_Win) {
  EXPECT_EQ(Blocks({Lengths({3}, "Old"), Faces({0, 1, 2}), Lengths({1, 2}, "New")}),
            "*FACES\n0\n1,2\n*FACESET,NAME=\"mesh\"\n0,1,\n");
}

TEST(CdfExport, FacesOfSeveralInstances_TakeTheLengthsOfTheirOwn) {
  EXPECT_EQ(Blocks({Lengths({2}, "Lengths\x1eTime = 2"), Lengths({1, 1}, "Lengths\x1eTime = 1"),
                    Faces({7, 8}, "Faces\x1eTime = 1"), Faces({7, 8}, "Faces\x1eTime = 2")}),
            "*FACES,STEP=1\n7\n8\n*FACESET,NAME=\"mesh\",STEP=1\n0,1,\n"
            "*FACES,STEP=2\n7,8\n*FACESET,NAME=\"mesh\",STEP=2\n0,\n");
}

TEST(CdfExport, FacesWithoutLengths_AreLeftOut) {
  EXPECT_EQ(Blocks({Faces({0, 1, 2}), Scalar("Heat", {5})}), "*RESULT,NAME=\"Heat\"\n5\n");
}

TEST(CdfExport, FacesWithTheLengthsOfAnotherInstance_AreLeftOut) {
  EXPECT_EQ(Blocks({Faces({0, 1}, "Faces\x1eTime = 1"), Lengths({2}, "Lengths\x1eTime = 1.0"),
                    Lengths({2}), Scalar("Heat", {5})}),
            "*RESULT,NAME=\"Heat\"\n5\n");
}

TEST(CdfExport, FacesThatAreLeftOut_NeedNoStep) {
  EXPECT_EQ(Blocks({Faces({0, 1}, "Faces\x1ewithout a step"), Scalar("Heat", {5})}),
            "*RESULT,NAME=\"Heat\"\n5\n");
}

TEST(CdfExport, LengthsThatDoNotCoverTheFaces_LeaveThemOut) {
  EXPECT_EQ(Blocks({Faces({0, 1, 2, 3}), Lengths({1, 2}), Scalar("Heat", {5})}),
            "*RESULT,NAME=\"Heat\"\n5\n");
  EXPECT_EQ(Blocks({Faces({0}), Lengths({}), Scalar("Heat", {5})}), "*RESULT,NAME=\"Heat\"\n5\n");
}

TEST(CdfExport, LengthsBeyondTheFaces_CountInTheFaceSet) {
  EXPECT_EQ(Blocks({Faces({0, 1, 2}), Lengths({2, 4, 1})}),
            "*FACES\n0,1\n2,*FACESET,NAME=\"mesh\"\n0,1,2,\n");
}

TEST(CdfExport, EmptyFacesWithLengths_HaveAFaceSet) {
  EXPECT_EQ(Blocks({Faces({}), Lengths({3, 3})}), "*FACES\n*FACESET,NAME=\"mesh\"\n0,1,\n");
}

TEST(CdfExport, LengthOfZero_IsNeverReached) {
  EXPECT_EQ(Blocks({Faces({0, 1, 2, 3}), Lengths({2, 0, 1})}),
            "*FACES\n0,1\n2,3,*FACESET,NAME=\"mesh\"\n0,1,2,\n");
}

TEST(CdfExport, FacesWithoutComponents_AreLeftOut) {
  EXPECT_EQ(Blocks({OfWidth(Faces({0, 1}), 0), Lengths({2}), Scalar("Heat", {5})}),
            "*RESULT,NAME=\"Heat\"\n5\n");
}

TEST(CdfExport, LengthsAlone_AreNotWritten) {
  EXPECT_EQ(Blocks({Lengths({2}), Lengths({2}, "Lengths\x1ewithout a step")}), "");
}

}  // namespace
}  // namespace tevtest
