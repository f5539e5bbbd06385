// Variables with the same stored attributes share them.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Lbt/Tev/Attributes.h"
#include "Lbt/Tev/Geometry.h"
#include "ModelOnDisk.h"
#include "support/Attributes.h"
#include "support/ByteWriter.h"
#include "support/ModelWriter.h"

namespace LbtTev {
namespace {

using tevtest::Attribute;
using tevtest::AttributeSet;
using tevtest::kAttributes;
using tevtest::LoadedTree;
using tevtest::ModelOnDisk;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::StreamLayout;
using tevtest::Variable;

const AttributeSet kSet{Attribute::Text("Title", "Gear"), Attribute::Float("Time", 0.5F),
                        Attribute::Uint("LoadCase", 3), Attribute::Double("Tolerance", 1e-9)};

/// One shape after the other, each with a geometry of one variable.
ModelWriter ModelOf(const std::vector<AttributeSet>& sets) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  for (const AttributeSet& set : sets) {
    const NodeRef geometry = model.AddGeometry("mesh", root);
    model.AddVariable(geometry, Variable::Floats("v", 12, 1, {1.0F}, set));
  }
  return model;
}

std::vector<std::string> AttributesOf(const Geometry::VarStruct& variable) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : variable.attributes) {
    texts.push_back(name + "=" + value.GetAttributeString());
  }
  return texts;
}

const Geometry::VarStruct& VariableOf(LoadedTree& loaded, unsigned int id) {
  return loaded.At<Geometry>(id).variables.at(0);
}

TEST(AttributeSets, EqualOnesOfSeveralGeometries_AreSharedAndOthersAreNot) {
  const AttributeSet other{Attribute::Text("Title", "Gear"), Attribute::Float("Time", 0.25F)};
  LoadedTree loaded(ModelOf({kSet, other, kSet, other, {}}));
  const std::vector<std::string> expected{"LoadCase=3", "Time=0.5", "Title=Gear",
                                          "Tolerance=1e-09"};
  EXPECT_EQ(AttributesOf(VariableOf(loaded, 2)), expected);
  EXPECT_EQ(AttributesOf(VariableOf(loaded, 4)), expected);
  EXPECT_EQ(AttributesOf(VariableOf(loaded, 3)),
            (std::vector<std::string>{"Time=0.25", "Title=Gear"}));
  EXPECT_EQ(AttributesOf(VariableOf(loaded, 5)), AttributesOf(VariableOf(loaded, 3)));
  EXPECT_TRUE(VariableOf(loaded, 6).attributes.empty());
  EXPECT_TRUE(VariableOf(loaded, 2).attributes.IsSharedWith(VariableOf(loaded, 4).attributes));
  EXPECT_FALSE(VariableOf(loaded, 2).attributes.IsSharedWith(VariableOf(loaded, 3).attributes));
}

TEST(AttributeSets, SharedOnes_KeepWhatWasMadeOfThem) {
  const AttributeSet vibration{Attribute::Text("Category", "Vibration"),
                               Attribute::Text("Link.Node", "7"), Attribute::Uint("Complex", 1)};
  LoadedTree loaded(ModelOf({vibration, vibration, kSet}));
  for (const unsigned int id : {2U, 3U}) {
    EXPECT_TRUE(VariableOf(loaded, id).isVibration) << id;
    EXPECT_EQ(AttributesOf(VariableOf(loaded, id)), std::vector<std::string>{"Category=Vibration"})
        << id;
    EXPECT_EQ(VariableOf(loaded, id).storageAttributes.size(), 2U) << id;
    EXPECT_TRUE(VariableOf(loaded, id).storageAttributes.at("Link.Node").IsText("7")) << id;
  }
  EXPECT_TRUE(VariableOf(loaded, 4).storageAttributes.empty());
  EXPECT_FALSE(VariableOf(loaded, 4).isVibration);
}

TEST(AttributeSets, OfVariablesWithAndWithoutAnInstance_AreSharedAlike) {
  ModelWriter model;
  const NodeRef geometry = model.AddGeometry("mesh", model.AddGroup("root", 0));
  for (const char* name : {"Stress",
                           "Stress\x1e"
                           "Step 1",
                           "Stress\x1e"
                           "Step 2"}) {
    model.AddVariable(geometry, Variable::Floats(name, 13, 1, {1.0F}, kSet));
  }
  LoadedTree loaded(model);
  const auto& variables = loaded.At<Geometry>(2).variables;
  ASSERT_EQ(variables.size(), 3U);
  for (const Geometry::VarStruct& variable : variables) {
    EXPECT_EQ(variable.attributes.size(), 4U) << variable.name;
    EXPECT_TRUE(variable.attributes.IsSharedWith(variables[0].attributes)) << variable.name;
  }
}

TEST(AttributeSets, LinkedVariableWithASharedSet_HasNoneAndTheOthersKeepTheirs) {
  ModelWriter model = ModelOf({kSet});
  const NodeRef geometry = model.AddGeometry("links", 1);
  model.AddVariable(geometry, Variable::Link("l", 12, 2, 0, kSet));
  model.AddVariable(geometry, Variable::Floats("v", 12, 1, {1.0F}, kSet));
  LoadedTree loaded(model);
  const auto& variables = loaded.At<Geometry>(3).variables;
  EXPECT_TRUE(variables.at(0).attributes.empty());
  EXPECT_TRUE(variables.at(0).storageAttributes.empty());
  EXPECT_EQ(variables.at(1).attributes.size(), 4U);
  EXPECT_EQ(VariableOf(loaded, 2).attributes.size(), 4U);
}

TEST(AttributeSets, OneAfterALongerOne_HoldsNothingOfIt) {
  LoadedTree loaded(ModelOf({kSet, {Attribute::Text("Title", "Wheel")}}));
  EXPECT_EQ(AttributesOf(VariableOf(loaded, 3)), std::vector<std::string>{"Title=Wheel"});
}

// Sharing has limits in number and length, which nobody may notice by what is read.
TEST(AttributeSets, VeryManyAndVeryLongOnes_AreThoseThatAreStored) {
  std::vector<std::vector<std::string>> expected;
  std::vector<AttributeSet> sets;
  const auto add = [&](const std::string& title, std::size_t length) {
    const std::string filler(length, 'x');
    sets.push_back({Attribute::Text("A", filler), Attribute::Text("B", filler),
                    Attribute::Text("C", filler), Attribute::Text("D", filler),
                    Attribute::Text("Title", title)});
    expected.push_back(
        {"A=" + filler, "B=" + filler, "C=" + filler, "D=" + filler, "Title=" + title});
  };
  for (int i = 0; i < 1500; ++i) {
    add(std::to_string(i % 700), 1);
  }
  for (const std::size_t length : {200U, 225U, 250U, 200U, 225U, 250U}) {
    add("long", length);
  }
  for (int i = 0; i < 1500; ++i) {
    add(std::to_string(i % 7), 2);
  }
  LoadedTree loaded(ModelOf(sets));
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(AttributesOf(VariableOf(loaded, static_cast<unsigned int>(i) + 2)), expected[i]);
  }
}

TEST(AttributeSets, CutBetweenBlocksAnywhere_AreTheSame) {
  const std::vector<AttributeSet> sets{kSet, kSet, kSet};
  // Where lists end: a value lies in one block.
  const std::vector<std::string> names{"Title", "Time", "LoadCase", "Tolerance"};
  const std::size_t first = tevtest::ByteWriter().Texts(names).Bytes().size();
  const std::size_t second = first + 8;  // four type codes
  for (const std::size_t cut : {first, second, second + 8}) {
    SCOPED_TRACE(cut);
    ModelWriter model = ModelOf(sets);
    const std::size_t setSize = kSet.Encode().size();
    const std::size_t rootSet = AttributeSet().Encode().size();
    StreamLayout layout{.split = StreamLayout::Split::AtCuts};
    layout.cuts = {rootSet + cut, rootSet + setSize, rootSet + setSize + cut};
    LoadedTree loaded(model.SetLayout(kAttributes, layout));
    for (const unsigned int id : {2U, 3U, 4U}) {
      EXPECT_EQ(VariableOf(loaded, id).attributes.size(), 4U) << id;
      EXPECT_EQ(VariableOf(loaded, id).attributes.at("LoadCase").GetAttributeString(), "3");
    }
  }
}

}  // namespace
}  // namespace LbtTev
