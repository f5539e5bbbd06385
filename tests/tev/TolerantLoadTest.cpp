// Loading that goes on after failures: what is still read, and what an observer is told.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/OpenModel.h"
#include "ModelOnDisk.h"
#include "support/SmallModel.h"

namespace LbtTev {
namespace {

using tevtest::ContainerWriter;
using tevtest::kAttributes;
using tevtest::kGlobalInformation;
using tevtest::kHeavyData;
using tevtest::kLightData;
using tevtest::kResources;
using tevtest::kTree;
using tevtest::ModelWriter;
using tevtest::Outline;
using tevtest::SmallModel;
using tevtest::TempDir;

using Lines = std::vector<std::string>;
using Part = LoadFailure::Part;

const Lines kWhole{"1 Group model", "2 Group Geometry",  "3 Shape Frame",  "4 Geometry mesh 1",
                   "5 Shape Panel", "6 Geometry mesh 2", "7 NodeSets Sets"};

std::string PlaceOf(const LoadFailure& failure) {
  switch (failure.part) {
    case Part::Index:
      return "index";
    case Part::GlobalInformation:
      return "global information";
    case Part::RecordCount:
      return "record count";
    case Part::Record:
      return "record " + std::to_string(failure.record);
    case Part::NodeData:
      return "data of " + std::to_string(failure.nodeId) + " " + std::string(failure.nodeName) +
             " (record " + std::to_string(failure.record) + ")";
    case Part::NodeSets:
      return "sets of " + std::to_string(failure.nodeId) + " " + std::string(failure.nodeName);
  }
  return "?";
}

/// Writes down what it is told, and goes on after the first "most" failures.
class Notes final : public LoadObserver {
 public:
  explicit Notes(std::size_t most = 100) : most_(most) {}

  void OnRecord(const TreeRecord& /*record*/) override { ++records_; }
  void OnNode() override { ++nodes_; }
  bool OnFailure(const LoadFailure& failure) override {
    std::string line = PlaceOf(failure) + (failure.isConsequence ? " without " : " from ") +
                       std::string(failure.stream);
    if (failure.refusedBlock) {
      line += ", block " + std::to_string(failure.refusedBlock->number);
    }
    lines_.push_back(line);
    positions_.push_back(failure.position);
    texts_.push_back(tevtest::MaskException(failure.exception->what()));
    return lines_.size() <= most_;
  }

  [[nodiscard]] const Lines& Failures() const { return lines_; }
  [[nodiscard]] const std::vector<std::uint64_t>& Positions() const { return positions_; }
  [[nodiscard]] const Lines& Texts() const { return texts_; }
  [[nodiscard]] int Records() const { return records_; }
  [[nodiscard]] int Nodes() const { return nodes_; }

 private:
  std::size_t most_;
  Lines lines_;
  std::vector<std::uint64_t> positions_;
  Lines texts_;
  int records_ = 0;
  int nodes_ = 0;
};

/// A model that was opened in spite of its damage.
class Opened {
 public:
  explicit Opened(const std::string& bytes) {
    OpenModel(tree, directory_.Write("model.tev", bytes), &notes);
  }
  explicit Opened(const ModelWriter& model) : Opened(model.Build()) {}

  template <class Kind>
  [[nodiscard]] const Kind& At(unsigned int id) const {
    return dynamic_cast<const Kind&>(*tree.GetReqNode(id).data);
  }

  Notes notes;
  Tree tree;

 private:
  TempDir directory_;
};

std::size_t NumberOf(ContainerWriter& container, std::string_view stream) {
  std::size_t number = 0;
  while (container.Blocks().at(number).name != stream) {
    ++number;
  }
  return number;
}

/// The small model with a stream that zlib refuses, and the number of its block.
std::string Refused(std::string_view stream, std::string& number) {
  ContainerWriter container = SmallModel().ToContainer();
  const std::size_t block = NumberOf(container, stream);
  container.Blocks()[block].compressed = true;
  container.Blocks()[block].storedBytes = std::string("\x10\0\0\0no zlib stream", 18);
  number = std::to_string(block);
  return container.Build().bytes;
}

TEST(TolerantLoad, OfASoundModel_TellsOfNoFailure) {
  const Opened model(SmallModel());
  EXPECT_EQ(model.notes.Failures(), Lines());
  EXPECT_EQ(model.notes.Records(), 7);
  EXPECT_EQ(model.notes.Nodes(), 7);
}

TEST(TolerantLoad, WithoutAttributes_HasEverythingElse) {
  std::string block;
  const Opened model(Refused(kAttributes, block));
  EXPECT_EQ(Outline(model.tree), kWhole);
  EXPECT_EQ(model.notes.Failures(),
            (Lines{"data of 1 model (record 0) from Attributes, block " + block,
                   "data of 2 Geometry (record 1) without Attributes",
                   "data of 4 mesh 1 (record 3) without Attributes",
                   "data of 6 mesh 2 (record 5) without Attributes"}));
  EXPECT_EQ(model.notes.Texts(), Lines(4, "std::exception"));
  EXPECT_EQ(model.notes.Records(), 7);
  EXPECT_EQ(model.notes.Nodes(), 3);
  EXPECT_TRUE(model.At<Group>(1).attributes.empty());
  EXPECT_EQ(model.At<Shape>(5).material.shininess, 8.0F);
  EXPECT_EQ(model.At<Geometry>(4).variables.size(), 7U);
  EXPECT_NE(model.At<Geometry>(6).variables.at(6).array.loader, nullptr);
  EXPECT_EQ(model.At<NodeSets>(7).sets.size(), 2U);
}

TEST(TolerantLoad, WithoutLightData_HasAttributesOfTheGroupsBeforeAndMaterials) {
  std::string block;
  const Opened model(Refused(kLightData, block));
  EXPECT_EQ(Outline(model.tree), kWhole);
  ASSERT_EQ(model.notes.Failures().size(), 5U);
  EXPECT_EQ(model.notes.Failures()[0],
            "data of 1 model (record 0) from Light Data, block " + block);
  EXPECT_EQ(model.At<Group>(1).attributes.at("Tolerance").GetAttributeString(), "0.25");
  EXPECT_EQ(model.At<Shape>(3).material.shininess, 32.0F);
  EXPECT_TRUE(model.At<Geometry>(4).variables.empty());
  EXPECT_TRUE(model.At<NodeSets>(7).sets.empty());
}

TEST(TolerantLoad, WithoutMaterials_HasDefaultOnes) {
  std::string block;
  const Opened model(Refused(kResources, block));
  EXPECT_EQ(model.notes.Failures(),
            (Lines{"data of 3 Frame (record 2) from Resources, block " + block,
                   "data of 5 Panel (record 4) without Resources"}));
  EXPECT_EQ(model.At<Shape>(3).material.diffuse[0], 0.8F);
  EXPECT_EQ(model.At<Geometry>(6).variables.size(), 7U);
}

TEST(TolerantLoad, WithoutHeavyData_HasEverythingButNodeSets) {
  std::string block;
  const Opened model(Refused(kHeavyData, block));
  EXPECT_EQ(Outline(model.tree), kWhole);
  EXPECT_EQ(model.notes.Failures(), Lines{"sets of 7 Sets from Heavy Data, block " + block});
  EXPECT_TRUE(model.At<NodeSets>(7).sets.empty());
  EXPECT_EQ(model.At<Geometry>(6).variables.at(6).array.loader,
            model.At<Geometry>(4).variables.at(6).array.loader);  // links are updated, too
}

TEST(TolerantLoad, ABlockThatZlibRefuses_IsTriedOnceForAllNodesWhoseDataLiesThere) {
  std::string block;
  const std::string bytes = Refused(kLightData, block);
  testing::internal::CaptureStderr();
  const Opened model(bytes);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error -3 while uncompressing block \n");
  for (const std::string& line : model.notes.Failures()) {
    EXPECT_NE(line.find("Light Data, block " + block), std::string::npos) << line;
  }
}

TEST(TolerantLoad, AGeometryThatIsCut_HasTheVariablesBefore) {
  ModelWriter writer = SmallModel();
  writer.SetRecordOrder({1, 2, 3, 5, 6, 7, 4});
  writer.At(tevtest::kSmallMesh1).Geometry().count = 8;  // one more than there are
  const Opened model(writer);
  EXPECT_EQ(model.notes.Failures(), Lines{"data of 4 mesh 1 (record 6) from Light Data"});
  EXPECT_EQ(model.notes.Texts()[0], tevtest::kNotEnoughBytes);
  EXPECT_EQ(model.At<Geometry>(4).variables.size(), 7U);
  EXPECT_EQ(model.At<Geometry>(4).variables.at(6).attributes.size(), 3U);
}

TEST(TolerantLoad, LightDataOutsideTheStream_IsMissedByItsNodeAlone) {
  ModelWriter writer = SmallModel();
  writer.At(tevtest::kSmallMesh1).lightPosition = 1000000;
  const Opened model(writer);
  ASSERT_GE(model.notes.Failures().size(), 1U);
  EXPECT_EQ(model.notes.Failures()[0], "data of 4 mesh 1 (record 3) from Light Data");
  EXPECT_EQ(model.notes.Texts()[0], tevtest::kInvalidPosition);
  EXPECT_TRUE(model.At<Geometry>(4).variables.empty());
  EXPECT_EQ(model.At<NodeSets>(7).sets.size(), 2U);
}

TEST(TolerantLoad, ATreeThatIsCut_HasTheRecordsBeforeAndTheirNodeSets) {
  ModelWriter writer = SmallModel();
  writer.SetRecordOrder({1, 7, 2, 3, 4, 5, 6});
  const std::size_t fourth = writer.RecordStart(kTree, 3);
  writer.ReplaceStream(kTree, writer.StreamBytes(kTree).substr(0, fourth + 30));
  const Opened model(writer);
  EXPECT_EQ(Outline(model.tree).size(), 3U);
  ASSERT_EQ(model.notes.Failures(), Lines{"record 3 from Tev Tree"});
  EXPECT_EQ(model.notes.Texts()[0], tevtest::kNotEnoughBytes);
  EXPECT_GE(model.notes.Positions()[0], fourth);
  EXPECT_LE(model.notes.Positions()[0], fourth + 30);
  EXPECT_EQ(model.At<NodeSets>(7).sets.size(), 2U);
}

TEST(TolerantLoad, ATreeWithoutACount_HasNoNodes) {
  ModelWriter writer = SmallModel();
  const Opened model(writer.ReplaceStream(kTree, "abc"));
  EXPECT_EQ(model.notes.Failures(), Lines{"record count from Tev Tree"});
  EXPECT_EQ(model.tree.modifierInfos.size(), 2U);
  EXPECT_EQ(Outline(model.tree), Lines{"1"});
}

TEST(TolerantLoad, OneOfSeveralNodeSetsThatCannotBeRead_IsTheOnlyOne) {
  ModelWriter writer = SmallModel();
  writer.AddNodeSets("more", 1, {{"First", {{1, 1}}}});
  writer.At(tevtest::kSmallNodeSets).NodeSets().heavyPosition = 0xFFFFFF;
  const Opened model(writer);
  EXPECT_EQ(model.notes.Failures(), Lines{"sets of 7 Sets from Heavy Data"});
  EXPECT_EQ(model.notes.Texts()[0], tevtest::kInvalidPosition);
  EXPECT_EQ(model.At<NodeSets>(8).sets.size(), 1U);
}

TEST(TolerantLoad, ModifiersThatAreCut_AreThoseBefore) {
  ModelWriter writer = SmallModel();
  const Opened model(writer.SetModifierCount(5));
  EXPECT_EQ(model.notes.Failures(), Lines{"global information from Global Information"});
  EXPECT_EQ(model.tree.modifierInfos.size(), 2U);
  EXPECT_EQ(Outline(model.tree), kWhole);
}

TEST(TolerantLoad, AnIndexThatIsCut_LeavesNothingToRead) {
  const Opened model(SmallModel().Build().substr(0, 40));
  EXPECT_EQ(model.notes.Failures(), Lines{"index from "});
  EXPECT_EQ(Outline(model.tree), Lines{"1"});
}

TEST(TolerantLoad, AFileCutAnywhereAfterItsIndex_HasWhatIsThere) {
  const std::string bytes = SmallModel().Build();
  const std::size_t start = SmallModel().ToContainer().Build().blocks.at(0).offset;
  std::size_t before = 0;
  for (std::size_t size = start; size < bytes.size(); ++size) {
    const Opened model(bytes.substr(0, size));
    EXPECT_FALSE(model.notes.Failures().empty()) << size;
    EXPECT_GE(model.tree.GetNodes().size(), before) << size;
    before = model.tree.GetNodes().size();
  }
  EXPECT_EQ(before, 7U);
}

std::string FailureOfOpening(const std::string& bytes, Notes& notes, Tree& tree) {
  const TempDir directory;
  return tevtest::FailureOf([&] { OpenModel(tree, directory.Write("m.tev", bytes), &notes); });
}

TEST(TolerantLoad, WhoseObserverGivesUp_EndsWithThatFailure) {
  ModelWriter writer = SmallModel();
  writer.SetModifierCount(5).At(tevtest::kSmallMesh1).lightPosition = 1000000;
  Notes notes(1);
  Tree tree;
  EXPECT_EQ(FailureOfOpening(writer.Build(), notes, tree), tevtest::kInvalidPosition);
  EXPECT_EQ(notes.Failures(), (Lines{"global information from Global Information",
                                     "data of 4 mesh 1 (record 3) from Light Data"}));
  EXPECT_EQ(Outline(tree).size(), 3U);
}

TEST(TolerantLoad, WhoseObserverGivesUpWithinAGeometry_AsksOnce) {
  ModelWriter writer = SmallModel();
  writer.At(tevtest::kSmallMesh1).version = "0.4";
  writer.VariableAt(tevtest::kSmallMesh1, 1).heavyPosition = 0xFFFFFF;
  Notes notes(0);
  Tree tree;
  EXPECT_EQ(FailureOfOpening(writer.Build(), notes, tree), tevtest::kInvalidPosition);
  EXPECT_EQ(notes.Failures(), Lines{"data of 4 mesh 1 (record 3) from Heavy Data"});
}

TEST(TolerantLoad, AnObserverThatSaysNothing_EndsAtTheFirstFailure) {
  class Silent final : public LoadObserver {
    void OnRecord(const TreeRecord& /*record*/) override {}
    void OnNode() override {}
  };
  ModelWriter writer = SmallModel();
  writer.At(tevtest::kSmallMesh1).lightPosition = 1000000;
  const TempDir directory;
  Silent silent;
  Tree tree;
  EXPECT_EQ(tevtest::FailureOf(
                [&] { OpenModel(tree, directory.Write("m.tev", writer.Build()), &silent); }),
            tevtest::kInvalidPosition);
  EXPECT_EQ(Outline(tree).size(), 3U);
}

}  // namespace
}  // namespace LbtTev
