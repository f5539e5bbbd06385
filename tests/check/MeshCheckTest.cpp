// What the check says on the meshes of geometries, on data that is read with its record, and on
// bytes that nothing refers to.

#include <gtest/gtest.h>

#include <limits>

#include "Lbt/Tev/Check/ModelCheck.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

using LbtTev::Check::CheckModel;
using LbtTev::Check::CheckResult;
using LbtTev::Check::Finding;
using LbtTev::Check::Verdict;

constexpr NodeRef kMesh = 3;  // of the models here
constexpr const char* kLengthsText =
    "the lengths of the faces do not make up the list of their nodes";

CheckResult Check(const ModelWriter& model, std::vector<Finding>& findings) {
  const TempDir directory;
  return CheckModel(directory.Write("m.tev", model.Build()),
                    [&](const Finding& finding) { findings.push_back(finding); });
}

/// A finding in short: "node-range of 1: 4 of 3".
std::string TextsOf(const ModelWriter& model) {
  std::vector<Finding> findings;
  static_cast<void>(Check(model, findings));
  std::string texts;
  for (const Finding& finding : findings) {
    texts += std::string(NameOf(finding.kind)) + " of " +
             std::to_string(finding.variable ? finding.variable->number : 999) + ": " +
             std::to_string(finding.claimed.value_or(999)) + " of " +
             std::to_string(finding.found.value_or(999)) + '\n';
  }
  return texts;
}

std::vector<float> Points(std::size_t count) {
  std::vector<float> points(3 * count);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = static_cast<float>(i);
  }
  return points;
}

/// One part of four points: 0 Coordinates, 1 Connectivity, 2 Polylength.
ModelWriter MeshOf(const std::vector<std::uint32_t>& faces,
                   const std::vector<std::uint32_t>& lengths, std::string_view version = "0.7") {
  ModelWriter model;
  const NodeRef shape = model.AddShape("part", model.AddGroup("model", 0));
  const NodeRef mesh = model.AddGeometry("mesh", shape, version);
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, Points(4)));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, faces));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, lengths));
  return model;
}

void AddPoints(ModelWriter& model, std::size_t count, const std::string& step) {
  model.AddVariable(kMesh,
                    Variable::Floats("Coordinates\x1e" + step, kCoordinates, 3, Points(count)));
}

TEST(MeshCheck, LengthsThatMakeUpTheFaces_AreSound) {
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 3}, {4})), "");
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 3, 1, 2, 3}, {4, 0, 3})), "");
  EXPECT_EQ(TextsOf(MeshOf({}, {})), "");
}

TEST(MeshCheck, LengthsThatDoNotMakeUpTheFaces_AreALostMesh) {
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 3}, {3})), "face-lengths of 2: 3 of 4\n");
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 3}, {})), "face-lengths of 2: 0 of 4\n");
  std::vector<Finding> findings;
  const CheckResult result = Check(MeshOf({0, 1, 2, 3}, {5}), findings);
  EXPECT_EQ(result.verdict, Verdict::Damaged);
  EXPECT_EQ(result.lostMeshes, 1U);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].text, kLengthsText);
  EXPECT_EQ(findings[0].claimed, 5U);
  EXPECT_EQ(findings[0].found, 4U);
}

TEST(MeshCheck, LengthsBeyond32Bits_AreAddedUp) {
  // Their sum is 4 where it wraps.
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 3}, {0x80000000, 0x80000004})),
            "face-lengths of 2: 4294967300 of 4\n");
}

TEST(MeshCheck, FacesWithoutLengthsAndLengthsWithoutFaces_AreDamage) {
  ModelWriter faces = MeshOf({0, 1, 2, 3}, {4});
  faces.VariableAt(kMesh, 2) = Variable::Floats("Other", kIds, 1, {4});
  EXPECT_EQ(TextsOf(faces), "face-lengths of 1: 0 of 4\n");
  ModelWriter lengths = MeshOf({0, 1, 2, 3}, {4});
  lengths.VariableAt(kMesh, 1) = Variable::Floats("Other", kIds, 1, {0, 1, 2, 3});
  EXPECT_EQ(TextsOf(lengths), "face-lengths of 2: 4 of 0\n");
}

TEST(MeshCheck, LengthsWithoutAStepOfFacesThatHaveOne_AreThoseOfEachStep) {
  ModelWriter model = MeshOf({0, 1, 2, 3}, {4});
  model.VariableAt(kMesh, 1).name = "Connectivity\x1eTime = 1";
  model.AddVariable(kMesh,
                    Variable::Uints("Connectivity\x1eTime = 2", kConnectivity, 1, {3, 2, 1, 0}));
  EXPECT_EQ(TextsOf(model), "");
  model.VariableAt(kMesh, 3) =
      Variable::Uints("Connectivity\x1eTime = 2", kConnectivity, 1, {3, 2, 1});
  EXPECT_EQ(TextsOf(model), "face-lengths of 2: 4 of 3\n");
}

TEST(MeshCheck, NodeIds_AreNoPoints) {
  ModelWriter model = MeshOf({0, 1, 2, 4}, {4});
  model.AddVariable(kMesh, Variable::Floats("Node Ids", kIds, 1, {1, 2, 3, 4, 5}));
  EXPECT_EQ(TextsOf(model), "node-range of 1: 4 of 4\n");
}

TEST(MeshCheck, FacesWithoutAStep_HaveToFitTheStepWithTheLeastPoints) {
  ModelWriter model = MeshOf({0, 1, 2, 3}, {4});
  AddPoints(model, 5, "Time = 1");
  EXPECT_EQ(TextsOf(model), "");
  AddPoints(model, 3, "Time = 2");
  EXPECT_EQ(TextsOf(model), "node-range of 1: 3 of 3\n");
  // That step has faces of its own.
  model.AddVariable(kMesh,
                    Variable::Uints("Connectivity\x1eTime = 2", kConnectivity, 1, {0, 1, 2, 2}));
  EXPECT_EQ(TextsOf(model), "");
  model.VariableAt(kMesh, 5) =
      Variable::Uints("Connectivity\x1eTime = 2", kConnectivity, 1, {0, 1, 2, 3});
  EXPECT_EQ(TextsOf(model), "node-range of 5: 3 of 3\n");
}

TEST(MeshCheck, MeshThatMoves_IsSoundWithoutCoordinatesThatHaveNoStep) {
  ModelWriter model = MeshOf({0, 1, 2, 3}, {4});
  model.VariableAt(kMesh, 0).name = "Coordinates\x1eTime = 1";
  AddPoints(model, 4, "Time = 2");
  EXPECT_EQ(TextsOf(model), "");
  AddPoints(model, 2, "Time = 3");
  EXPECT_EQ(TextsOf(model), "node-range of 1: 3 of 2\n");
}

TEST(MeshCheck, StepsThatAreShownAlike_AreOne) {
  ModelWriter model = MeshOf({0, 1, 2, 3}, {4});
  AddPoints(model, 3, "a b");
  model.AddVariable(kMesh, Variable::Uints("Connectivity\x1e"
                                           "a\x1e"
                                           "b",
                                           kConnectivity, 1, {0, 1, 2, 3}));
  EXPECT_EQ(TextsOf(model), "node-range of 4: 3 of 3\n");
}

TEST(MeshCheck, FacesThatCannotBeLoaded_AreToldOfAlone) {
  ModelWriter model = MeshOf({0, 1, 2, 3}, {4});
  model.VariableAt(kMesh, 1).heavyPosition = 5000;
  EXPECT_EQ(TextsOf(model), "unreadable-data of 1: 16 of 0\n");
}

TEST(MeshCheck, MeshWithTwoFaults_IsOneThatIsLost) {
  std::vector<Finding> findings;
  const CheckResult result = Check(MeshOf({0, 1, 2, 9}, {5}), findings);
  EXPECT_EQ(findings.size(), 2U);
  EXPECT_EQ(result.damages, 2U);
  EXPECT_EQ(result.lostMeshes, 1U);
}

class DataOfVersion : public testing::TestWithParam<const char*> {};

TEST_P(DataOfVersion, Meshes_AreChecked) {
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 3}, {4}, GetParam())), "");
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 9}, {4}, GetParam())), "node-range of 1: 9 of 4\n");
  EXPECT_EQ(TextsOf(MeshOf({0, 1, 2, 3}, {3}, GetParam())), "face-lengths of 2: 3 of 4\n");
}

TEST_P(DataOfVersion, NumbersThatAreNotFinite_AreAWarningAtTheirBlock) {
  ModelWriter model = MeshOf({0, 1, 2, 3}, {4}, GetParam());
  std::vector<float> points = Points(4);
  points[7] = std::numeric_limits<float>::quiet_NaN();
  model.VariableAt(kMesh, 0) = Variable::Floats("Coordinates", kCoordinates, 3, points);
  std::vector<Finding> findings;
  EXPECT_EQ(Check(model, findings).verdict, Verdict::Warning);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].text, "1 number is NaN or infinite, the first one component 1 of tuple 2");
  EXPECT_EQ(findings[0].block->name, kHeavyData);
}

// That of "0.5" is read with its record.
INSTANTIATE_TEST_SUITE_P(Versions, DataOfVersion, testing::Values("0.4", "0.5", "0.6", "0.7"));

TEST(MeshCheck, DataReadWithItsRecord_IsFollowedThroughLinks) {
  ModelWriter model = MeshOf({0, 1, 2, 3}, {4}, "0.5");
  const NodeRef other = model.AddGeometry("other", model.AddShape("two", 1), "0.5");
  model.AddVariable(other, Variable::Link("Coordinates", kCoordinates, kMesh, 0));
  model.AddVariable(other, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 4}));
  model.AddVariable(other, Variable::Uints("Polylength", kPolylength, 1, {3}));
  EXPECT_EQ(TextsOf(model), "node-range of 1: 4 of 4\n");
}

/// What is said of bytes that nothing reads.
std::string UnusedIn(const ModelWriter& model) {
  std::vector<Finding> findings;
  const CheckResult result = Check(model, findings);
  EXPECT_EQ(result.damages, 0U);
  std::string texts;
  for (const Finding& finding : findings) {
    EXPECT_EQ(finding.kind, Finding::Kind::UnusedBytes);
    texts += finding.block->name + ": " + finding.text + '\n';
  }
  return texts;
}

TEST(UnusedBytes, AtTheEndOfEachStreamThatIsReadFrontToBack_AreAWarning) {
  for (const auto stream : {kGlobalInformation, kAttributes, kResources}) {
    ModelWriter model = SmallModel();
    const std::string bytes = model.StreamBytes(stream);
    model.ReplaceStream(stream, bytes + std::string(50, 'x'));
    EXPECT_EQ(UnusedIn(model), std::string(stream) +
                                   ": nothing reads the 50 bytes at its end, from "
                                   "byte " +
                                   std::to_string(bytes.size()) + " of the stream on\n");
  }
}

TEST(UnusedBytes, OfAStreamThatNothingReads_AreAWarning) {
  ModelWriter model;
  model.AddGroup("model", 0);
  model.ReplaceStream(kResources, "x");
  EXPECT_EQ(UnusedIn(model),
            "Resources: nothing reads the 1 byte at its end, from byte 0 of the stream on\n");
}

TEST(UnusedBytes, OfHeavyData_AreAWarningWhereverTheyAre) {
  ModelWriter end = SmallModel();
  const std::string bytes = end.StreamBytes(kHeavyData);
  end.ReplaceStream(kHeavyData, bytes + std::string(50, 'x'));
  const std::string text =
      "Heavy Data: there is heavy data that no variable and no node set refers to, from byte ";
  EXPECT_EQ(UnusedIn(end), text + std::to_string(bytes.size()) + " of its stream on\n");
  ModelWriter start = SmallModel();
  start.SetPrefix(kHeavyData, "1234");
  EXPECT_EQ(UnusedIn(start), text + "0 of its stream on\n");
}

}  // namespace
}  // namespace tevtest
