// Which parts, steps and fields an export has.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Lbt/Tev/Exchange/Contents.h"
#include "Lbt/Tev/OpenModel.h"
#include "support/ModelWriter.h"
#include "support/TempDir.h"

namespace LbtTev::Exchange {
namespace {

using tevtest::kCoordinates;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;
using Texts = std::vector<std::string>;

/// A part of one point with these results, each a number.
ModelWriter PointWith(const Texts& results, const std::string& part = "P") {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape(part, model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {1, 2, 3}));
  for (const std::string& result : results) {
    model.AddVariable(mesh, Variable::Floats(result, 13, 1, {1}));
  }
  return model;
}

/// "time: results" of each step.
Texts GridsOf(const ModelWriter& writer, const Analysis::Selection& selection = {}) {
  const tevtest::TempDir dir;
  Tree tree;
  OpenModel(tree, dir.Write("m.tev", writer.Build()));
  const Analysis::Model model(tree);
  const Contents contents(model, selection);
  Texts texts;
  for (std::size_t i = 0; i < contents.Steps().size(); ++i) {
    std::string text = std::to_string(contents.TimeOf(i)).substr(0, 3) + ":";
    for (const Analysis::Field* field : contents.FieldsAt(0, contents.Steps()[i])) {
      text += ' ' + std::string(field->result) + '@' + contents.TextOf(field->step);
    }
    texts.push_back(text);
  }
  return texts;
}

TEST(ExportContents, StepsOfOneLabel_HaveTheirValuesAsTimes) {
  EXPECT_EQ(GridsOf(PointWith({"R\x1eTime = 2.5", "R\x1eTime = 1"})),
            (Texts{"1.0: R@Time = 1", "2.5: R@Time = 2.5"}));
}

TEST(ExportContents, StepsOfSeveralLabelsOrOfOneValue_HaveTheirNumbers) {
  EXPECT_EQ(GridsOf(PointWith({"R\x1eTime = 2.5", "R\x1eMode = 7"})),
            (Texts{"0.0: R@Mode = 7", "1.0: R@Time = 2.5"}));
  EXPECT_EQ(GridsOf(PointWith({"R\x1eTime = 2 a", "R\x1eTime = 2 b"})),
            (Texts{"0.0: R@Time = 2 a", "1.0: R@Time = 2 b"}));
  EXPECT_EQ(GridsOf(PointWith({"R\x1eTime = x", "R\x1eTime = 3"})),
            (Texts{"0.0: R@Time = 3", "1.0: R@Time = x"}));
}

TEST(ExportContents, FieldWithoutAStep_StandsInAllThatLackItsName) {
  EXPECT_EQ(GridsOf(PointWith({"R", "S", "R\x1eTime = 1", "T\x1eTime = 2"})),
            (Texts{"1.0: R@Time = 1 S@", "2.0: T@Time = 2 R@ S@"}));
  EXPECT_EQ(GridsOf(PointWith({"R"})), Texts{"0.0: R@"});
}

TEST(ExportContents, Selection_LeavesOutStepsWithoutWhatIsAskedFor) {
  const ModelWriter model = PointWith({"R", "R\x1eTime = 1", "T\x1eTime = 2"});
  EXPECT_EQ(GridsOf(model, {.results = {"T"}}), Texts{"2.0: T@Time = 2"});
  EXPECT_EQ(GridsOf(model, {.steps = {""}}), Texts{"0.0: R@"});
}

TEST(ExportContents, FieldWithoutAStep_StandsInAllThatAreChosen) {
  const ModelWriter model = PointWith({"R", "S", "R\x1eTime = 1", "T\x1eTime = 2"});
  EXPECT_EQ(GridsOf(model, {.steps = {"Time = 2"}}), Texts{"2.0: T@Time = 2 R@ S@"});
  EXPECT_EQ(GridsOf(model, {.steps = {"Time = 1"}}), Texts{"1.0: R@Time = 1 S@"});
  EXPECT_EQ(GridsOf(model, {.results = {"R"}, .steps = {"", "Time = 1"}}),
            Texts{"1.0: R@Time = 1"});
  EXPECT_EQ(GridsOf(model, {.results = {"S"}, .steps = {"Time = 1"}}), Texts{"1.0: S@"});
  EXPECT_EQ(GridsOf(model, {.results = {"T"}, .steps = {"Time = 1"}}), Texts{});
}

TEST(ExportContents, MeshWithoutFields_IsOneGrid) {
  EXPECT_EQ(GridsOf(PointWith({})), Texts{"0.0:"});
}

TEST(ExportContents, PartsOfOneName_AreToldApartByTheirIds) {
  ModelWriter writer = PointWith({});
  for (const char* name : {"P", "Q", "none"}) {
    const NodeRef mesh = writer.AddGeometry("g", writer.AddShape(name, 1));
    if (std::string(name) != "none") {
      writer.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {1, 2, 3}));
    }
  }
  const tevtest::TempDir dir;
  Tree tree;
  OpenModel(tree, dir.Write("m.tev", writer.Build()));
  const Analysis::Model model(tree);
  const Contents contents(model, {});
  EXPECT_EQ(contents.PartNames(), (Texts{"P", "P (4)", "Q"}));
  EXPECT_EQ(contents.PartsWithoutPoints(), std::vector<std::size_t>{3});
}

TEST(UniqueNames, AreThoseThatNoneHasYet) {
  std::map<std::string, int> used;
  Texts names;
  for (const char* name : {"a", "a", "a (2)", "a", "b"}) {
    names.push_back(UniqueName(name, used));
  }
  EXPECT_EQ(names, (Texts{"a", "a (2)", "a (2) (2)", "a (3)", "b"}));
}

}  // namespace
}  // namespace LbtTev::Exchange
