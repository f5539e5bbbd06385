// Real models as they are opened.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/OpenModel.h"
#include "RecordBlock.h"
#include "support/ContainerWriter.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"

namespace LbtTev {
namespace {

using tevtest::ExpectedException;
using tevtest::FailureOf;
using tevtest::LineNumber;
using tevtest::TempDir;

std::string Example(const std::string& name) {
  return std::string(TEVINFO_EXAMPLES_DIR) + "/" + name + ".tev";
}

std::string FailureOfOpening(const std::string& path, LineNumber line = LineNumber::Masked) {
  Tree tree;
  return FailureOf([&] { OpenModel(tree, path); }, line);
}

template <class Kind>
Kind& At(Tree& tree, unsigned int id) {
  return dynamic_cast<Kind&>(*tree.GetReqNode(id).data);
}

template <class T>
std::vector<T> Numbers(Tree& tree, unsigned int node, std::size_t variable) {
  std::vector<T> numbers;
  At<Geometry>(tree, node).variables.at(variable).array.loader->LoadTo(numbers);
  return numbers;
}

template <class T>
std::vector<T> First(const std::vector<T>& list, std::size_t count) {
  return {list.begin(), list.begin() + static_cast<std::ptrdiff_t>(std::min(count, list.size()))};
}

std::string TextAt(Tree& tree, unsigned int group, const std::string& name) {
  return At<Group>(tree, group).attributes.at(name).GetAttributeString();
}

class BracketModel : public testing::Test {
 protected:
  BracketModel() { OpenModel(tree_, Example("bracket")); }

  Tree tree_;
};

TEST_F(BracketModel, HasItsNineNodes) {
  std::vector<std::string> nodes;
  for (const auto& [id, entry] : tree_.GetNodes()) {
    nodes.push_back(entry.data->GetType() + " " + entry.data->name);
  }
  EXPECT_EQ(nodes, (std::vector<std::string>{"Group bracket", "Group Base", "Group Geometry",
                                             "Shape Base (Steel)", "Geometry Base (Steel)",
                                             "Group Arm", "Group Geometry", "Shape Arm (Aluminium)",
                                             "Geometry Arm (Aluminium)"}));
  EXPECT_EQ(tree_.GetReqNode(1).firstChild, 2U);
  EXPECT_EQ(tree_.GetReqNode(1).lastChild, 6U);
  EXPECT_EQ(tree_.GetReqNode(6).previousSibling, 2U);
  EXPECT_EQ(tree_.GetNextId(), 10U);
  EXPECT_EQ(tree_.GetContainerVersion(), "1.3");
}

TEST_F(BracketModel, HasItsAttributes) {
  EXPECT_EQ(At<Group>(tree_, 1).attributes.size(), 10U);
  EXPECT_EQ(TextAt(tree_, 1, "Model File"), "/projects/bracket/bracket.inp");
  EXPECT_EQ(TextAt(tree_, 1, "Number of Nodes in the Model"), "12819");
  EXPECT_EQ(TextAt(tree_, 1, "Unit Scale"), "0.001");
  EXPECT_EQ(TextAt(tree_, 1, "Model Diagonal"), "114.564");
  EXPECT_EQ(TextAt(tree_, 2, "Material"), "STEEL");
  EXPECT_EQ(TextAt(tree_, 2, "Volume"), "38727.7");
}

TEST_F(BracketModel, HasItsMaterials) {
  const Material& steel = At<Shape>(tree_, 4).material;
  EXPECT_EQ(steel.diffuse, (std::array<float, 4>{0.55F, 0.57F, 0.6F, 1}));
  EXPECT_EQ(steel.ambient, (std::array<float, 4>{0.11F, 0.114F, 0.12F, 0.2F}));
  EXPECT_EQ(steel.shininess, 48.0F);
  EXPECT_TRUE(steel.materialFlag);
  EXPECT_EQ(At<Shape>(tree_, 8).material.shininess, 32.0F);
}

TEST_F(BracketModel, HasItsModifiers) {
  ASSERT_EQ(tree_.modifierInfos.size(), 2U);
  EXPECT_EQ(tree_.modifierInfos[0].applicationName, "frdtranslate");
  EXPECT_EQ(tree_.modifierInfos[1].date, "Tue Mar  5 17:30:02 2024");
  EXPECT_EQ(tree_.modifierInfos[1].unreported, "batch");
}

TEST_F(BracketModel, HasItsVariables) {
  const auto& variables = At<Geometry>(tree_, 5).variables;
  ASSERT_EQ(variables.size(), 13U);
  EXPECT_EQ(At<Geometry>(tree_, 9).variables.size(), 13U);
  const Geometry::VarStruct& displacement = variables[5];
  EXPECT_EQ(displacement.name, "Displacement\x1eLoad Case = 1");
  EXPECT_EQ(displacement.variableType, static_cast<Geometry::VariableType>(14));
  EXPECT_TRUE(displacement.array.firstFlag);
  EXPECT_EQ(displacement.array.firstValue, -0.0114867F);
  EXPECT_EQ(displacement.array.secondValue, 0.0670434F);
  std::vector<std::string> names;
  for (const auto& [name, value] : displacement.attributes) {
    names.push_back(name);
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"Category", "Label", "LoadCase", "Subtitle", "Title"}));
}

TEST_F(BracketModel, HasItsNumbers) {
  const auto coordinates = Numbers<float>(tree_, 5, 1);
  EXPECT_EQ(coordinates.size(), 27759U);
  EXPECT_EQ(coordinates.back(), 7.281715F);
  const auto connectivity = Numbers<unsigned int>(tree_, 5, 2);
  EXPECT_EQ(connectivity.size(), 51950U);
  EXPECT_EQ(First(connectivity, 4), (std::vector<unsigned int>{889, 4616, 4599, 4769}));
  EXPECT_EQ(connectivity.back(), 627U);
  const auto displacement = Numbers<float>(tree_, 9, 5);
  EXPECT_EQ(First(displacement, 4),
            (std::vector<float>{0.0116003F, 0.000844323F, 0.0658898F, 0.0116013F}));
  EXPECT_EQ(displacement.back(), 0.0384035F);
}

class HeatsinkModel : public testing::Test {
 protected:
  HeatsinkModel() { OpenModel(tree_, Example("heatsink")); }

  Tree tree_;
};

TEST_F(HeatsinkModel, HasItsNodesAndVariables) {
  EXPECT_EQ(tree_.GetNodes().size(), 14U);
  EXPECT_EQ(tree_.GetReqNode(8).data->name, "Iso-Surfaces");
  EXPECT_EQ(tree_.GetReqNode(14).data->name, "Temperature = 306");
  EXPECT_EQ(At<Geometry>(tree_, 5).variables.size(), 45U);
  EXPECT_EQ(At<Geometry>(tree_, 7).variables.size(), 45U);
  EXPECT_EQ(At<Geometry>(tree_, 14).variables.size(), 6U);
  EXPECT_EQ(tree_.modifierInfos.at(0).comment, "K\xC3\xBChlk\xC3\xB6rper, 20 W");
  EXPECT_FALSE(At<Shape>(tree_, 9).material.materialFlag);
  EXPECT_EQ(At<Shape>(tree_, 9).material.materialFactor, 0.5F);
}

TEST_F(HeatsinkModel, SharesTheResultsOfItsShapes) {
  const auto& fins = At<Geometry>(tree_, 5).variables;
  const auto& base = At<Geometry>(tree_, 7).variables;
  for (const std::size_t i : {0U, 1U, 5U, 44U}) {
    EXPECT_TRUE(base[i].isLinked) << i;
    EXPECT_TRUE(base[i].attributes.empty()) << i;
    EXPECT_EQ(base[i].array.loader, fins[i].array.loader) << i;
  }
  EXPECT_FALSE(base[2].isLinked);
  EXPECT_EQ(First(Numbers<unsigned int>(tree_, 7, 2), 3),
            (std::vector<unsigned int>{3218, 3368, 2862}));
}

TEST_F(HeatsinkModel, HasItsNumbers) {
  const auto temperature = Numbers<float>(tree_, 7, 5);
  EXPECT_EQ(temperature.size(), 3498U);
  EXPECT_EQ(First(temperature, 2), (std::vector<float>{293.273F, 294.287F}));
  EXPECT_EQ(temperature.back(), 293.382F);
  EXPECT_EQ(Numbers<float>(tree_, 10, 5), std::vector<float>(656, 302.0F));
  EXPECT_EQ(Numbers<float>(tree_, 14, 1).back(), 4.0348325F);
}

TEST(OpenModel, LeavesTheVersionForRecordsAtTheNewest) {
  const TempDir directory;
  tevtest::ModelWriter model = tevtest::SmallModel();
  for (const char* version : {"0.1", "0.2", "0.6", "1.3"}) {
    model.SetFileVersion(version);
    Tree tree;
    OpenModel(tree, directory.Write("model.tev", model.Build()));
    EXPECT_EQ(tree.GetContainerVersion(), version);
    EXPECT_EQ(tree.GetNodes().size(), 7U) << version;
    EXPECT_EQ(tree.modifierInfos.size(), 2U) << version;
    EXPECT_EQ(LbtLbf::tev_file_version, "1.3");
  }
}

/// The version for records after a model of version "version" was loaded with "former" in force.
std::string VersionForRecordsAfter(const char* version, const char* former) {
  const TempDir directory;
  const std::string model =
      tevtest::ContainerWriter().SetVersion(version).AddRaw("other", "").Build().bytes;
  const tevtest::FileVersion kept(former);
  Tree tree;
  OpenModel(tree, directory.Write("model.tev", model));
  return LbtLbf::tev_file_version;
}

TEST(OpenModel, AfterAnotherVersionForRecords_SetsTheNewest) {
  EXPECT_EQ(VersionForRecordsAfter("0.6", "1.1"), "1.3");
  EXPECT_EQ(VersionForRecordsAfter("1.3", "1.1"), "1.3");
}

TEST(OpenModel, OfTheOldestVersion_LeavesThatForRecordsAlone) {
  EXPECT_EQ(VersionForRecordsAfter("0.1", "1.1"), "1.1");
}

TEST(OpenModel, UpdatesLinks) {
  const TempDir directory;
  Tree tree;
  OpenModel(tree, directory.Write("model.tev", tevtest::SmallModel().Build()));
  EXPECT_EQ(At<Geometry>(tree, 6).variables[6].array.loader,
            At<Geometry>(tree, 4).variables[6].array.loader);
}

TEST(OpenModel, OfAFileWithoutTheSignature_FailsByItsName) {
  const TempDir directory;
  for (const std::string bytes : {"", "\x89LBF\r\n\x1a", "no model at all"}) {
    const std::string path = directory.Write("notes.txt", bytes);
    EXPECT_EQ(FailureOfOpening(path, LineNumber::Kept),
              ExpectedException("Format Not Supported", path + " is not a Tev file",
                                "include/Lbt/Tev/Tree", "729"));
  }
}

TEST(OpenModel, OfANewerFile_FailsWithUnknownVersion) {
  const TempDir directory;
  tevtest::ModelWriter model = tevtest::SmallModel();
  const std::string path = directory.Write("new.tev", model.SetFileVersion("1.4").Build());
  EXPECT_EQ(FailureOfOpening(path),
            ExpectedException("Unknown Version",
                              "This file is of tev file version 14.\nThis version of Quarlo only "
                              "supports tev file version upto 13.\n",
                              "include/Lbt/Lbf/LbFile"));
}

TEST(OpenModel, OfANewerFile_StillTellsTheVersion) {
  const TempDir directory;
  tevtest::ModelWriter model = tevtest::SmallModel();
  const std::string path = directory.Write("new.tev", model.SetFileVersion("1.4").Build());
  Tree tree;
  EXPECT_NE(FailureOf([&] { OpenModel(tree, path); }), "no failure");
  EXPECT_EQ(tree.GetContainerVersion(), "1.4");
}

TEST(OpenModel, OfAMissingFile_FailsByItsName) {
  const TempDir directory;
  const std::string path = directory / "missing.tev";
  EXPECT_EQ(FailureOfOpening(path),
            ExpectedException("Miscelleneous Error", "Unable to open file \"" + path + "\"",
                              "include/Lbt/Lbf/LbFile"));
}

/// The streams of a container that has one raw block of each of these names.
StreamsFound StreamsOf(const std::vector<std::string>& names) {
  const TempDir directory;
  tevtest::ContainerWriter writer;
  for (const std::string& name : names) {
    writer.AddRaw(name, "1");
  }
  LbtLbf::LbFile file;
  file.OpenFile(directory.Write("a.tev", writer.Build().bytes), "rb");
  file.ReadIndex();
  return FindStreams(file.GetIndex());
}

using Names = std::vector<std::string>;

TEST(FindStreams, ModelWithoutStreamsThatItDoesNotNeed_LacksNone) {
  const StreamsFound found = StreamsOf({"Tev Tree", "Light Data"});
  EXPECT_TRUE(found.isAny);
  EXPECT_EQ(found.missing, Names());
  EXPECT_TRUE(found.unknown.empty());
}

TEST(FindStreams, UnknownStream_MayBeAnyThatIsAbsent) {
  const StreamsFound found =
      StreamsOf({"Light Data", "Tev Tree", "Heavy Datb", "Heavy Datb", "Attributes", "Resources"});
  EXPECT_TRUE(found.isAny);
  EXPECT_EQ(found.missing, (Names{"Heavy Data", "Global Information"}));
  EXPECT_EQ(found.unknown, std::vector<std::size_t>{2});
}

TEST(FindStreams, ModelWithoutATree_LacksItWhateverElseThereIs) {
  EXPECT_EQ(StreamsOf({"Light Data"}).missing, Names{"Tev Tree"});
  EXPECT_TRUE(StreamsOf({"Light Data"}).isAny);
}

TEST(FindStreams, ContainerOfSomethingElse_HasNone) {
  EXPECT_FALSE(StreamsOf({}).isAny);
  EXPECT_FALSE(StreamsOf({"Pictures"}).isAny);
  EXPECT_EQ(StreamsOf({"Pictures"}).missing, Names{"Tev Tree"});
}

TEST(FindStreams, SecondIndex_IsNoUnknownStream) {
  const TempDir directory;
  tevtest::ContainerWriter writer;
  writer.AddRaw("Tev Tree", "1").AddRaw("Light Data", "2").ContinueAfter({.after = 1});
  LbtLbf::LbFile file;
  file.OpenFile(directory.Write("a.tev", writer.Build().bytes), "rb");
  file.ReadIndex();
  EXPECT_EQ(file.GetIndex().GetItems().size(), 3U);
  EXPECT_TRUE(FindStreams(file.GetIndex()).unknown.empty());
}

TEST(OpenContainer, SaysWhetherPositionsAreWide) {
  const TempDir directory;
  tevtest::ModelWriter model = tevtest::SmallModel();
  for (const char* version : {"0.6", "0.7"}) {
    LbtLbf::LbFile file;
    bool wideOffsets = false;
    const std::string path = directory.Write("m.tev", model.SetFileVersion(version).Build());
    EXPECT_EQ(OpenContainer(file, path, wideOffsets), version);
    EXPECT_EQ(wideOffsets, std::string(version) == "0.7");
  }
}

}  // namespace
}  // namespace LbtTev
