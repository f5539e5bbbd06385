// Variables of a geometry and the attributes that they keep.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Geometry.h"
#include "ModelOnDisk.h"
#include "TraceText.h"

namespace LbtTev {
namespace {

using LbtUtil::AttributeMap;
using tevtest::FailureOf;
using tevtest::kHeavyData;
using tevtest::LineNumber;
using tevtest::ModelOnDisk;

using Type = Geometry::VariableType;
using Names = std::vector<std::string>;

const std::string kMissingPosition = tevtest::ExpectedException(
    "Element Not Found", "Element Not Found", "include/Lbt/Tev/Geometry", "738");

Names NamesOf(const AttributeMap& attributes) {
  Names names;
  for (const auto& [name, value] : attributes) {
    names.push_back(name);
  }
  return names;
}

bool IsVibration(const AttributeMap& attributes) {
  Geometry::VarStruct variable;
  variable.isVibration = true;
  Geometry::ProcessAttributes(variable, attributes);
  return variable.isVibration;
}

/// A geometry with one variable of each type from 1 to 14, named for it and with a
/// stored position of ten times the type.
Geometry& FillWithTypes(Geometry& geometry) {
  for (unsigned int type = 1; type <= 14; ++type) {
    const std::string name = std::to_string(type);
    geometry.Add(name, static_cast<Type>(type), NumericArray(), {});
    geometry.heavyDataPositions[name] = 10UL * type;
  }
  return geometry;
}

std::map<std::string, unsigned long> PositionsOfLoaders(const Geometry& geometry) {
  std::map<std::string, unsigned long> positions;
  for (const Geometry::VarStruct& variable : geometry.variables) {
    if (variable.array.loader != nullptr) {
      EXPECT_TRUE(variable.array.loader->IsShuffled()) << variable.name;
      positions[variable.name] = variable.array.loader->GetPosition();
    }
  }
  return positions;
}

using Positions = std::map<std::string, unsigned long>;

TEST(Geometry, ANewOne_IsEmpty) {
  const Geometry geometry;
  EXPECT_TRUE(geometry.variables.empty());
  EXPECT_TRUE(geometry.heavyDataPositions.empty());
}

TEST(Geometry, Add_AppendsAndReturnsTheIndex) {
  Geometry geometry;
  NumericArray array;
  array.byteSize = 12;
  array.width = 3;
  EXPECT_EQ(geometry.Add("first", Type::Coordinates, array, {{"Category", "Vibration"}}), 0U);
  EXPECT_EQ(geometry.Add("second", Type::Connectivity4, NumericArray(), {}), 1U);
  ASSERT_EQ(geometry.variables.size(), 2U);
  const Geometry::VarStruct& first = geometry.variables[0];
  EXPECT_EQ(first.name, "first");
  EXPECT_EQ(first.variableType, Type::Coordinates);
  EXPECT_EQ(first.array.byteSize, 12U);
  EXPECT_EQ(first.array.width, 3);
  EXPECT_TRUE(first.isVibration);
  EXPECT_EQ(NamesOf(first.attributes), Names{"Category"});
  EXPECT_FALSE(first.isLinked);
  EXPECT_EQ(geometry.variables[1].name, "second");
  EXPECT_FALSE(geometry.variables[1].isVibration);
}

TEST(Geometry, ProcessAttributes_TakesOnlyTheTextVibrationForVibration) {
  EXPECT_TRUE(IsVibration({{"Category", "Vibration"}}));
  EXPECT_FALSE(IsVibration({}));
  EXPECT_FALSE(IsVibration({{"Category", "vibration"}}));
  EXPECT_FALSE(IsVibration({{"Category", "Vibration "}}));
  EXPECT_FALSE(IsVibration({{"Category", 1U}}));
  EXPECT_FALSE(IsVibration({{"category", "Vibration"}}));
}

TEST(Geometry, ProcessAttributes_LeavesOutWhatDescribesTheStorage) {
  Geometry::VarStruct variable;
  AttributeMap attributes;
  for (const char* name :
       {"Complex", "Contents", "DataSource", "DataType", "Structure", "Link.", "Link.Node",
        "Category", "Label", "Link", "Linked", "link.x", "Contents2", "complex", "A Link.", ""}) {
    attributes[name] = 1U;
  }
  Geometry::ProcessAttributes(variable, attributes);
  EXPECT_EQ(NamesOf(variable.attributes), (Names{"", "A Link.", "Category", "Contents2", "Label",
                                                 "Link", "Linked", "complex", "link.x"}));
  EXPECT_EQ(
      NamesOf(variable.storageAttributes),
      (Names{"Complex", "Contents", "DataSource", "DataType", "Link.", "Link.Node", "Structure"}));
}

TEST(Geometry, ProcessAttributes_KeepsTheValuesOfWhatDescribesTheStorage) {
  Geometry::VarStruct variable;
  variable.storageAttributes = {{"Contents", "kept"}, {"Structure", "old"}};
  Geometry::ProcessAttributes(variable, {{"Structure", "Element"}, {"Title", "x"}});
  EXPECT_EQ(NamesOf(variable.storageAttributes), (Names{"Contents", "Structure"}));
  EXPECT_TRUE(variable.storageAttributes.at("Structure").IsText("Element"));
  EXPECT_TRUE(variable.storageAttributes.at("Contents").IsText("kept"));
}

TEST(Geometry, ProcessAttributes_OverwritesAndKeepsOthers) {
  Geometry::VarStruct variable;
  variable.attributes = {{"kept", "old"}, {"both", "old"}};
  Geometry::ProcessAttributes(variable, {{"both", 2.5}});
  EXPECT_EQ(NamesOf(variable.attributes), (Names{"both", "kept"}));
  EXPECT_EQ(variable.attributes.at("both").GetAttributeString(), "2.5");
  EXPECT_EQ(variable.attributes.at("both").GetKind(), LbtUtil::AttributeValue::Kind::Double);
}

TEST(Geometry, LoadConnectivityBlocks_MakesTheLoadersOfTypes4And5And6And9) {
  ModelOnDisk disk({{kHeavyData, "x"}});
  Geometry geometry;
  FillWithTypes(geometry).LoadConnectivityBlocks(disk.File(), "Heavy Data");
  EXPECT_EQ(PositionsOfLoaders(geometry), (Positions{{"4", 40}, {"5", 50}, {"6", 60}, {"9", 90}}));
}

TEST(Geometry, LoadOtherBlocks_MakesTheLoadersOfAllOtherTypes) {
  ModelOnDisk disk({{kHeavyData, "x"}});
  Geometry geometry;
  FillWithTypes(geometry).LoadOtherBlocks(disk.File(), "Heavy Data");
  EXPECT_EQ(PositionsOfLoaders(geometry), (Positions{{"1", 10},
                                                     {"2", 20},
                                                     {"3", 30},
                                                     {"7", 70},
                                                     {"8", 80},
                                                     {"10", 100},
                                                     {"11", 110},
                                                     {"12", 120},
                                                     {"13", 130},
                                                     {"14", 140}}));
}

TEST(Geometry, LoadOtherBlocks_TakesAVariableWithoutTypeForAnother) {
  ModelOnDisk disk({{kHeavyData, "x"}});
  Geometry geometry;
  geometry.Add("none", static_cast<Type>(0xFFFFFFFF), NumericArray(), {});
  geometry.heavyDataPositions["none"] = 8;
  geometry.LoadOtherBlocks(disk.File(), "Heavy Data");
  EXPECT_EQ(PositionsOfLoaders(geometry), (Positions{{"none", 8}}));
}

TEST(Geometry, LoadBlocks_PassOverLinkedVariables) {
  ModelOnDisk disk({{kHeavyData, "x"}});
  Geometry geometry;
  FillWithTypes(geometry);
  for (Geometry::VarStruct& variable : geometry.variables) {
    variable.isLinked = true;
  }
  geometry.LoadConnectivityBlocks(disk.File(), "Heavy Data");
  geometry.LoadOtherBlocks(disk.File(), "Heavy Data");
  EXPECT_EQ(PositionsOfLoaders(geometry), Positions{});
}

TEST(Geometry, LoadBlocks_WithoutAnyPosition_DoNothing) {
  ModelOnDisk disk({{kHeavyData, "x"}});
  Geometry geometry;
  FillWithTypes(geometry).heavyDataPositions.clear();
  geometry.LoadConnectivityBlocks(disk.File(), "Heavy Data");
  geometry.LoadOtherBlocks(disk.File(), "Heavy Data");
  EXPECT_EQ(PositionsOfLoaders(geometry), Positions{});
}

TEST(Geometry, LoadConnectivityBlocks_OfAVariableWithoutPosition_LogsAndFails) {
  ModelOnDisk disk({{kHeavyData, "x"}});
  Geometry geometry;
  FillWithTypes(geometry).heavyDataPositions.erase("5");
  const tevtest::TraceText trace;
  EXPECT_EQ(FailureOf([&] { geometry.LoadConnectivityBlocks(disk.File(), "Heavy Data"); },
                      LineNumber::Kept),
            kMissingPosition);
  EXPECT_EQ(trace.Lines(), "Geometry : 738 @ Element Not Found\n");
  EXPECT_EQ(PositionsOfLoaders(geometry), (Positions{{"4", 40}}));
}

TEST(Geometry, LoadOtherBlocks_OfAVariableWithoutPosition_LogsAndFails) {
  ModelOnDisk disk({{kHeavyData, "x"}});
  Geometry geometry;
  FillWithTypes(geometry).heavyDataPositions.erase("2");
  geometry.LoadConnectivityBlocks(disk.File(), "Heavy Data");
  const tevtest::TraceText trace;
  EXPECT_EQ(
      FailureOf([&] { geometry.LoadOtherBlocks(disk.File(), "Heavy Data"); }, LineNumber::Kept),
      kMissingPosition);
  EXPECT_EQ(trace.Lines(), "Geometry : 738 @ Element Not Found\n");
}

}  // namespace
}  // namespace LbtTev
