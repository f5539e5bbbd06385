// Parts, steps, fields and results of models.
#include <gtest/gtest.h>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "support/SmallModel.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::Attribute;
using tevtest::AttributeSet;
using tevtest::DescribedModel;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;
using Texts = std::vector<std::string>;

/// "text|label|value" of each step.
Texts StepTexts(const Model& model) {
  Texts texts;
  for (const Step& step : model.Steps()) {
    texts.push_back(step.text + '|' + step.label + '|' +
                    (step.value ? std::to_string(*step.value) : "-"));
  }
  return texts;
}

/// "result@step location components x count" of each field of a part.
Texts FieldTexts(const Model& model, std::size_t part) {
  Texts texts;
  for (const Field& field : model.FieldsOf(model.Parts().at(part))) {
    texts.push_back(std::string(field.result) + '@' +
                    (field.step ? model.Steps()[*field.step].text : "-") + ' ' +
                    std::string(TextOf(field.location)) + ' ' + std::to_string(field.components) +
                    'x' + std::to_string(field.count));
  }
  return texts;
}

/// A part with a geometry of its own under a group "Geometry".
NodeRef AddPart(ModelWriter& model, const std::string& name) {
  const NodeRef root = model.AddGroup("root", 0);
  const NodeRef group = model.AddGroup("Geometry", root);
  return model.AddGeometry(name, model.AddShape(name, group));
}

Variable Floats(const std::string& name, std::size_t count, std::uint32_t type = 13,
                std::uint8_t width = 1, const AttributeSet& attributes = {}) {
  return Variable::Floats(name, type, width, std::vector<float>(count, 1.0F), attributes);
}

Variable Uints(const std::string& name, std::size_t count, std::uint32_t type) {
  return Variable::Uints(name, type, 1, std::vector<std::uint32_t>(count, 1));
}

TEST(Model, SmallModel_HasItsPartsStepsAndResults) {
  const DescribedModel small(tevtest::SmallModel());
  const Model& model = small.model;
  ASSERT_EQ(model.Parts().size(), 2U);
  const Part& frame = model.Parts()[0];
  EXPECT_EQ(frame.id, 3U);
  EXPECT_EQ(frame.name, "Frame");
  EXPECT_EQ(frame.kind, PartKind::Part);
  EXPECT_EQ(frame.nodes, 5U);
  EXPECT_EQ(frame.elements, 2U);
  EXPECT_EQ(frame.nodesPerElement, 4.0);
  EXPECT_FALSE(frame.sharesWith.has_value());
  EXPECT_EQ(model.PathOf(frame), (Texts{"model", "Geometry"}));
  EXPECT_EQ(StepTexts(model), Texts{"Time = 0.5|Time|0.500000"});
  const Texts fields{"Displacement@Time = 0.5 node 3x5", "Temperature@Time = 0.5 node 1x5"};
  EXPECT_EQ(FieldTexts(model, 0), fields);
  EXPECT_EQ(FieldTexts(model, 1), fields);
  ASSERT_EQ(model.Results().size(), 2U);
  EXPECT_EQ(model.Results()[0].name, "Displacement");
  EXPECT_EQ(model.Results()[0].components, 3U);
  EXPECT_EQ(model.Results()[1].location, Location::Node);
  EXPECT_EQ(model.Title(), "Frame, transient heating");
  EXPECT_EQ(model.Category(), "Transient");
}

TEST(Model, HeatSink_HasWhatItsTruthSays) {
  const DescribedModel sink("heatsink.tev");
  const Model& model = sink.model;
  ASSERT_EQ(model.Parts().size(), 5U);
  const Part& base = model.Parts()[1];
  EXPECT_EQ(base.name, "BASE");
  EXPECT_EQ(base.nodes, 3498U);
  EXPECT_EQ(base.elements, 4305U);
  EXPECT_EQ(base.sharesWith, 4U);
  EXPECT_EQ(model.PathOf(base), (Texts{"heatsink", "Heat Sink", "Geometry"}));
  EXPECT_EQ(model.Parts()[2].kind, PartKind::IsoSurface);
  EXPECT_EQ(model.Parts()[2].nodesPerElement, 2140.0 / 642.0);
  EXPECT_EQ(model.Steps().size(), 20U);
  EXPECT_EQ(model.Steps().front().text, "Time = 0.5");
  EXPECT_EQ(model.Steps().back().text, "Time = 10");
  EXPECT_EQ(model.Steps().back().subtitle, "Aluminium, film 0.4 mW/mm²K");
  const StepRange range = model.GetStepRange();
  EXPECT_EQ(range.count, 20U);
  EXPECT_EQ(range.label, "Time");
  EXPECT_EQ(range.first, 0.5);
  EXPECT_EQ(range.last, 10.0);
}

TEST(Model, Bracket_TellsElementsFromNodesByTheirNumber) {
  const DescribedModel bracket("bracket.tev");
  const Texts fields = FieldTexts(bracket.model, 1);
  ASSERT_EQ(fields.size(), 8U);
  EXPECT_EQ(fields.front(), "Displacement@Load Case = 1 node 3x3743");
  EXPECT_EQ(fields.back(), "Element Volume@Load Case = 1 element 1x1953");
}

TEST(Step, Name_IsTakenApart) {
  const Step step(
      "Load\x1e"
      "Case = -2.5e1 kN = 3");
  EXPECT_EQ(step.text, "Load Case = -2.5e1 kN = 3");
  EXPECT_EQ(step.label, "Load Case");
  EXPECT_EQ(step.value, -25.0);
}

TEST(Step, TextWithoutANumber_HasNoValue) {
  for (const char* text : {"Final", "Time = x", "Time = ", "Time = inf", "Time = nan",
                           "Time = 1e999", "Time =1", "= 1"}) {
    EXPECT_FALSE(Step(text).value.has_value()) << text;
  }
  EXPECT_EQ(Step("Final").label, "Final");
  EXPECT_EQ(Step("Time = +3").value, 3.0);
}

TEST(Model, Steps_AreInOrderOfLabelValueAndText) {
  ModelWriter writer;
  const NodeRef mesh = AddPart(writer, "p");
  for (const char* instance :
       {"Time = 10", "Time = 2", "Mode = 3", "Time = x", "Time = 2.0", "Time = 2",
        "Mode 1\x1e"
        "a"}) {
    writer.AddVariable(mesh, Floats(std::string("R\x1e") + instance, 1));
  }
  writer.AddVariable(mesh, Floats("Coordinates\x1eTime = 1", 3, tevtest::kCoordinates, 3));
  const DescribedModel described(writer);
  EXPECT_EQ(StepTexts(described.model),
            (Texts{"Mode = 3|Mode|3.000000", "Mode 1 a|Mode 1 a|-", "Time = 1|Time|1.000000",
                   "Time = 2|Time|2.000000", "Time = 2.0|Time|2.000000", "Time = 10|Time|10.000000",
                   "Time = x|Time|-"}));
  const StepRange range = described.model.GetStepRange();
  EXPECT_EQ(range.count, 7U);
  EXPECT_FALSE(range.label || range.first || range.last);
}

TEST(Model, Kind_IsThatOfTheNearestGroup) {
  ModelWriter writer;
  const NodeRef root = writer.AddGroup("Geometry", 0);
  const auto shapeUnder = [&writer](const char* group, NodeRef under) {
    const NodeRef inner = writer.AddGroup("x", writer.AddGroup(group, under));
    static_cast<void>(writer.AddGeometry("g", writer.AddShape(group, inner)));
  };
  for (const char* group : {"Cut-Sections", "Iso-Surfaces", "Iso-Volumes", "Flow Lines", "other"}) {
    shapeUnder(group, root);
  }
  shapeUnder("other", 0);
  const DescribedModel described(writer);
  Texts kinds;
  for (const Part& part : described.model.Parts()) {
    kinds.emplace_back(TextOf(part.kind));
  }
  EXPECT_EQ(kinds,
            (Texts{"cut-section", "iso-surface", "iso-volume", "flow-line", "part", "shape"}));
}

TEST(Model, ShapesWithoutGeometry_AreEmptyParts) {
  ModelWriter writer;
  const NodeRef root = writer.AddGroup("Geometry", 0);
  static_cast<void>(writer.AddShape("alone", root));
  static_cast<void>(writer.AddGroup("no geometry", writer.AddShape("other child", root)));
  writer.At(writer.AddShape("child missing", root)).firstChild = 77;
  const DescribedModel described(writer);
  ASSERT_EQ(described.model.Parts().size(), 3U);
  for (const Part& part : described.model.Parts()) {
    EXPECT_EQ(part.geometry, nullptr);
    EXPECT_EQ(part.nodes, 0U);
    EXPECT_TRUE(described.model.FieldsOf(part).empty());
  }
}

TEST(Model, GroupsInACircle_EndTheWalk) {
  ModelWriter writer;
  const NodeRef root = writer.AddGroup("a", 0);
  const NodeRef group = writer.AddGroup("b", root);
  static_cast<void>(writer.AddShape("s", group));
  writer.At(root).parent = group;
  const DescribedModel described(writer);
  EXPECT_EQ(described.model.PathOf(described.model.Parts()[0]).size(), 256U);
}

TEST(Model, VariablesOfTheMesh_AreNoFields) {
  ModelWriter writer;
  const NodeRef mesh = AddPart(writer, "p");
  for (const char* name : {"Node Ids", "Coordinates", "Connectivity", "Polylength", "Element Ids",
                           "Element Indices", "Element IDs"}) {
    writer.AddVariable(mesh, Floats(name, 1, 12));
  }
  writer.AddVariable(mesh, Floats("below", 1, 11));
  writer.AddVariable(mesh, Floats("above", 1, 12));
  writer.AddVariable(mesh, Floats("none", 1, 0xFFFFFFFF));
  const DescribedModel described(writer);
  EXPECT_EQ(FieldTexts(described.model, 0), (Texts{"above@- unknown 1x1", "none@- unknown 1x1"}));
}

TEST(Model, FieldsOfOneNameAndStep_AreTwoAndTheFirstIsFound) {
  ModelWriter writer;
  const NodeRef mesh = AddPart(writer, "p");
  writer.AddVariable(mesh, Floats("R\x1eTime = 1", 2));
  writer.AddVariable(mesh, Floats("R\x1eTime = 1", 3));
  const DescribedModel described(writer);
  const Part& part = described.model.Parts()[0];
  EXPECT_EQ(described.model.FieldsOf(part).size(), 2U);
  EXPECT_EQ(described.model.FindField(part, "R", 0)->count, 2U);
  EXPECT_EQ(described.model.FindField(part, "R", std::nullopt), nullptr);
}

/// A mesh of three nodes and three faces, where only the stored attribute tells.
ModelWriter Doubtful(const char* structure) {
  ModelWriter writer;
  const NodeRef mesh = AddPart(writer, "p");
  writer.AddVariable(mesh, Floats("Coordinates", 9, tevtest::kCoordinates, 3));
  writer.AddVariable(mesh, Uints("Polylength", 3, tevtest::kPolylength));
  const AttributeSet attributes{Attribute::Text("Structure", structure)};
  writer.AddVariable(mesh, Floats("R", 3, 13, 1, attributes));
  writer.AddVariable(mesh, Variable::Link("L", 13, mesh, 2));
  writer.AddVariable(mesh, Variable::Link("L of L", 13, mesh, 3));
  return writer;
}

TEST(Model, LocationInDoubt_IsThatOfTheStoredAttributeOfTheOwner) {
  EXPECT_EQ(FieldTexts(DescribedModel(Doubtful("Element Node")).model, 0),
            (Texts{"R@- element 1x3", "L@- element 1x3", "L of L@- unknown 1x0"}));
  EXPECT_EQ(FieldTexts(DescribedModel(Doubtful("Node")).model, 0)[0], "R@- node 1x3");
  EXPECT_EQ(FieldTexts(DescribedModel(Doubtful("Face")).model, 0)[0], "R@- node 1x3");
}

TEST(Model, MeshOfAStep_IsTakenVariableByVariable) {
  ModelWriter writer;
  const NodeRef mesh = AddPart(writer, "p");
  writer.AddVariable(mesh, Floats("Coordinates", 6, tevtest::kCoordinates, 3));
  writer.AddVariable(mesh, Floats("Coordinates\x1eTime = 1", 12, tevtest::kCoordinates, 3));
  writer.AddVariable(mesh, Uints("Polylength", 5, tevtest::kPolylength));
  writer.AddVariable(mesh, Uints("A", 6, 4));
  writer.AddVariable(mesh, Uints("B", 7, 5));
  writer.AddVariable(mesh, Floats("R\x1eTime = 1", 4));
  writer.AddVariable(mesh, Floats("R\x1eTime = 2", 2));
  writer.AddVariable(mesh, Floats("R\x1eTime = 3", 5));
  writer.AddVariable(mesh, Floats("R\x1eTime = 4", 4));
  const DescribedModel described(writer);
  EXPECT_EQ(FieldTexts(described.model, 0),
            (Texts{"R@Time = 1 node 1x4", "R@Time = 2 node 1x2", "R@Time = 3 element 1x5",
                   "R@Time = 4 unknown 1x4"}));
  const Part& part = described.model.Parts()[0];
  EXPECT_EQ(part.nodes, 2U);
  const MeshVariables moved = described.model.MeshAt(part, 0);
  EXPECT_EQ(moved.coordinates->name, "Coordinates\x1eTime = 1");
  EXPECT_EQ(moved.faces->name, "A");
  EXPECT_EQ(moved.nodeIds, nullptr);
}

TEST(Model, ResultWhoseFieldsDiffer_IsMixed) {
  ModelWriter writer;
  const NodeRef mesh = AddPart(writer, "p");
  writer.AddVariable(mesh, Floats("Coordinates", 6, tevtest::kCoordinates, 3));
  writer.AddVariable(mesh, Floats("R\x1e"
                                  "1",
                                  2));
  writer.AddVariable(mesh, Floats("R\x1e"
                                  "2",
                                  9, 13, 3));
  const DescribedModel described(writer);
  ASSERT_EQ(described.model.Results().size(), 1U);
  EXPECT_EQ(described.model.Results()[0].location, Location::Mixed);
  EXPECT_FALSE(described.model.Results()[0].components.has_value());
}

TEST(Model, PartsOnOneGeometry_HaveTheSameFields) {
  ModelWriter writer;
  const NodeRef mesh = AddPart(writer, "p");
  writer.AddVariable(mesh, Floats("R", 1));
  const NodeRef second = writer.AddShape("q", 2);
  writer.At(second).firstChild = mesh;
  const DescribedModel described(writer);
  const auto& parts = described.model.Parts();
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_EQ(described.model.FieldsOf(parts[0]).data(), described.model.FieldsOf(parts[1]).data());
}

TEST(Model, TitleAndCategory_AreThoseOfTheResults) {
  const auto categoryOf = [](const AttributeSet& attributes) {
    ModelWriter writer;
    const NodeRef mesh = AddPart(writer, "p");
    writer.AddVariable(mesh, Floats("Node Ids", 1, 12, 1, {Attribute::Text("Category", "Ids")}));
    writer.AddVariable(mesh, Floats("R", 1, 13, 1, attributes));
    return DescribedModel(writer).model.Category();
  };
  EXPECT_EQ(categoryOf({}), "Unknown");
  EXPECT_EQ(categoryOf({Attribute::Float("Time", 1)}), "Transient");
  EXPECT_EQ(categoryOf({Attribute::Float("Time", 1), Attribute::Float("Frequency", 1)}),
            "Frequency");
  EXPECT_EQ(categoryOf({Attribute::Uint("Mode", 1), Attribute::Float("Frequency", 1)}), "Modal");
  EXPECT_EQ(categoryOf({Attribute::Uint("Mode", 1), Attribute::Uint("LoadCase", 1)}), "Structural");
  EXPECT_EQ(categoryOf({Attribute::Text("Category", "C"), Attribute::Uint("LoadCase", 1)}), "C");
}

}  // namespace
}  // namespace LbtTev::Analysis
