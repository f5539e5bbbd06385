// Reading geometry records: the layouts of all versions.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Geometry.h"
#include "ModelOnDisk.h"
#include "support/ByteWriter.h"

namespace LbtTev {
namespace {

using tevtest::Attribute;
using tevtest::ByteWriter;
using tevtest::FailureOf;
using tevtest::kAttributes;
using tevtest::kHeavyData;
using tevtest::kLightData;
using tevtest::LoadedTree;
using tevtest::ModelOnDisk;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;

using Type = Geometry::VariableType;

constexpr unsigned int kMesh = 1;

/// A geometry, id 1, of these variables. Heavy data starts at byte 5 of its stream.
ModelWriter Model(const std::string& version, const std::vector<Variable>& variables) {
  ModelWriter model;
  model.SetPrefix(kHeavyData, "12345");
  const NodeRef mesh = model.AddGeometry("mesh", 0, version);
  for (const Variable& variable : variables) {
    model.AddVariable(mesh, variable);
  }
  return model;
}

/// A variable that uses every field; three items of two components.
Variable Full() {
  Variable variable =
      Variable::Uints("v", 0x105, 2, {1, 2, 3, 4, 5, 6},
                      {Attribute::Text("Label", "full"), Attribute::Text("Category", "Vibration"),
                       Attribute::Text("Contents", "Displacement")});
  variable.flags = {1, 0, 2};
  variable.values = {1.5F, -2.5F};
  variable.furtherFlag = 1;
  return variable;
}

Geometry::VarStruct& Only(LoadedTree& loaded) {
  auto& variables = loaded.At<Geometry>(kMesh).variables;
  EXPECT_EQ(variables.size(), 1U);
  return variables.at(0);
}

std::vector<unsigned int> Numbers(const Geometry::VarStruct& variable) {
  std::vector<unsigned int> numbers;
  variable.array.loader->LoadTo(numbers);
  return numbers;
}

void ExpectFlagsAndValues(const NumericArray& array) {
  EXPECT_TRUE(array.firstFlag);
  EXPECT_FALSE(array.secondFlag);
  EXPECT_EQ(array.firstValue, 1.5F);
  EXPECT_EQ(array.secondValue, -2.5F);
  EXPECT_TRUE(array.thirdFlag);
}

void ExpectNoFlagsAndValues(const NumericArray& array) {
  EXPECT_FALSE(array.firstFlag || array.secondFlag || array.thirdFlag);
  EXPECT_EQ(array.firstValue, 0.0F);
  EXPECT_EQ(array.secondValue, 0.0F);
}

void ExpectSize(const NumericArray& array) {
  EXPECT_EQ(array.byteSize, 24U);
  EXPECT_TRUE(array.hasData);
  EXPECT_EQ(array.GetWidth(), 2);
  EXPECT_EQ(array.GetNumElements(), 6U);
  EXPECT_EQ(array.dataType, 0U);
}

void ExpectAttributes(const Geometry::VarStruct& variable) {
  EXPECT_EQ(variable.attributes.size(), 2U);
  EXPECT_TRUE(variable.attributes.at("Label").IsText("full"));
  EXPECT_TRUE(variable.attributes.at("Category").IsText("Vibration"));
  EXPECT_TRUE(variable.isVibration);
}

const std::vector<unsigned int> kNumbers{1, 2, 3, 4, 5, 6};

TEST(GeometryReader, AVariableOfVersions06And07_HasItsFieldsAndALoaderForShuffledData) {
  for (const char* version : {"0.6", "0.7"}) {
    SCOPED_TRACE(version);
    LoadedTree loaded(Model(version, {Full()}));
    const Geometry::VarStruct& variable = Only(loaded);
    EXPECT_EQ(variable.name, "v");
    EXPECT_EQ(variable.variableType, Type::Connectivity5);
    EXPECT_FALSE(variable.isLinked);
    ExpectSize(variable.array);
    ExpectFlagsAndValues(variable.array);
    ExpectAttributes(variable);
    EXPECT_EQ(variable.array.storedBytes, nullptr);
    EXPECT_EQ(loaded.At<Geometry>(kMesh).heavyDataPositions,
              (std::map<std::string, unsigned long>{{"v", 5}}));
    EXPECT_TRUE(variable.array.loader->IsShuffled());
    EXPECT_EQ(Numbers(variable), kNumbers);
  }
}

TEST(GeometryReader, VariablesOfOneName_HaveTheLastPlaceInTheirLoadersAndTheirOwnBeside) {
  Variable other = Full();
  other.heavyPosition = 9;
  for (const char* version : {"0.6", "0.7"}) {
    LoadedTree loaded(Model(version, {Full(), other}));
    const auto& variables = loaded.At<Geometry>(kMesh).variables;
    for (const Geometry::VarStruct& variable : variables) {
      EXPECT_EQ(variable.array.loader->GetPosition(), 9U);
    }
    EXPECT_EQ(variables.at(0).array.OwnLoader().GetPosition(), 5U);
    EXPECT_EQ(variables.at(1).array.OwnLoader().GetPosition(), 9U);
  }
}

TEST(GeometryReader, AVariableOfVersion05_HasItsBytesAndNoLoader) {
  LoadedTree loaded(Model("0.5", {Full()}));
  const Geometry::VarStruct& variable = Only(loaded);
  EXPECT_EQ(variable.variableType, Type::Connectivity5);
  ExpectSize(variable.array);
  ExpectFlagsAndValues(variable.array);
  ExpectAttributes(variable);
  EXPECT_EQ(variable.array.loader, nullptr);
  EXPECT_TRUE(loaded.At<Geometry>(kMesh).heavyDataPositions.empty());
  const std::string bytes(variable.array.storedBytes->begin(), variable.array.storedBytes->end());
  EXPECT_EQ(bytes, tevtest::ElementBytes(kNumbers));
}

TEST(GeometryReader, AVariableOfVersion05PastTheHeavyData_FailsWithInvalidPosition) {
  Variable variable = Full();
  variable.heavyPosition = 30;  // 5 and 24 bytes are there
  EXPECT_EQ(FailureOf([&] { LoadedTree(Model("0.5", {variable})); }), tevtest::kInvalidPosition);
  variable.heavyPosition = 6;
  EXPECT_EQ(FailureOf([&] { LoadedTree(Model("0.5", {variable})); }), tevtest::kNotEnoughBytes);
}

TEST(GeometryReader, PositionsOfVersion07_AreOf64Bits) {
  Variable variable = Full();
  variable.heavyPosition = 0x100000005;
  LoadedTree loaded(Model("0.7", {variable}));
  EXPECT_EQ(loaded.At<Geometry>(kMesh).heavyDataPositions.at("v"), 0x100000005U);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(Numbers(Only(loaded))); }),
            tevtest::kInvalidPosition);
}

TEST(GeometryReader, TypesOfNewVersions_KeepTheirLowByteUnlessThereIsNone) {
  for (const char* version : {"0.5", "0.6", "0.7"}) {
    LoadedTree loaded(Model(
        version,
        {Variable::Uints("a", 0x00000105, 1, {1}), Variable::Uints("b", 0xFFFFFFFF, 1, {1}),
         Variable::Uints("c", 0xFFFFFF0D, 1, {1}), Variable::Uints("d", 0x0000FF00, 1, {1})}));
    const auto& variables = loaded.At<Geometry>(kMesh).variables;
    EXPECT_EQ(variables[0].variableType, static_cast<Type>(5));
    EXPECT_EQ(variables[1].variableType, static_cast<Type>(0xFFFFFFFF));
    EXPECT_EQ(variables[2].variableType, static_cast<Type>(13));
    EXPECT_EQ(variables[3].variableType, static_cast<Type>(0));
  }
}

TEST(GeometryReader, TypesOfOldVersions_AreKeptWhole) {
  for (const char* version : {"0.0a", "0.1", "0.2", "0.3", "0.4"}) {
    LoadedTree loaded(Model(version, {Variable::Uints("a", 0x00000105, 1, {1}),
                                      Variable::Uints("b", 0xFFFFFFFF, 1, {1})}));
    const auto& variables = loaded.At<Geometry>(kMesh).variables;
    EXPECT_EQ(variables[0].variableType, static_cast<Type>(0x105));
    EXPECT_EQ(variables[1].variableType, static_cast<Type>(0xFFFFFFFF));
  }
}

TEST(GeometryReader, ALinkedVariable_HasItsLinkAndNoAttributes) {
  for (const char* version : {"0.5", "0.6", "0.7"}) {
    SCOPED_TRACE(version);
    Variable link = Variable::Link("l", 13, 7, 3, Full().attributes);
    link.linked = 2;  // any byte but 0 links
    LoadedTree loaded(Model(version, {link, Full()}));
    const auto& variables = loaded.At<Geometry>(kMesh).variables;
    ASSERT_EQ(variables.size(), 2U);
    EXPECT_TRUE(variables[0].isLinked);
    EXPECT_EQ(variables[0].linkNodeId, 7U);
    EXPECT_EQ(variables[0].linkVariableIndex, 3U);
    EXPECT_TRUE(variables[0].attributes.empty());
    EXPECT_TRUE(variables[0].isVibration);
    EXPECT_EQ(variables[0].array.byteSize, 0U);
    EXPECT_FALSE(variables[0].array.hasData);
    EXPECT_EQ(variables[0].array.GetWidth(), 1);
    EXPECT_EQ(variables[0].array.loader, nullptr);
    EXPECT_FALSE(variables[1].isLinked);
    ExpectAttributes(variables[1]);
  }
}

TEST(GeometryReader, EachVariable_StartsFromDefaults) {
  LoadedTree loaded(Model("0.7", {Full(), Variable::Uints("", 13, 1, {})}));
  const Geometry::VarStruct& second = loaded.At<Geometry>(kMesh).variables.at(1);
  EXPECT_EQ(second.name, "");
  EXPECT_EQ(second.array.byteSize, 0U);
  EXPECT_FALSE(second.array.hasData);
  ExpectNoFlagsAndValues(second.array);
  EXPECT_TRUE(second.attributes.empty());
  EXPECT_FALSE(second.isVibration);
}

TEST(GeometryReader, TwoVariablesOfOneName_BothHaveTheLastPosition) {
  LoadedTree loaded(Model(
      "0.7", {Variable::Uints("same", 13, 1, {1, 2}), Variable::Uints("same", 4, 1, {3, 4})}));
  const auto& variables = loaded.At<Geometry>(kMesh).variables;
  EXPECT_EQ(Numbers(variables[0]), (std::vector<unsigned int>{3, 4}));
  EXPECT_EQ(Numbers(variables[1]), (std::vector<unsigned int>{3, 4}));
}

TEST(GeometryReader, AVariableOfEachOldVersion_HasTheFieldsOfItsVersion) {
  for (const std::string version : {"0.0a", "0.1", "0.2", "0.3", "0.4", "0.8", "0.05", "1.3", ""}) {
    SCOPED_TRACE(version);
    // Two of them: the second one shows that the first one was read to its end.
    Variable second = Variable::Uints("w", 9, 1, {7});
    LoadedTree loaded(Model(version, {Full(), second}));
    const Geometry& geometry = loaded.At<Geometry>(kMesh);
    ASSERT_EQ(geometry.variables.size(), 2U);
    const Geometry::VarStruct& variable = geometry.variables[0];
    EXPECT_EQ(variable.name, "v");
    ExpectSize(variable.array);
    if (version == "0.0a" || version == "0.1") {
      ExpectNoFlagsAndValues(variable.array);
    } else {
      ExpectFlagsAndValues(variable.array);
    }
    if (version == "0.0a" || version == "0.1" || version == "0.2" || version == "0.3") {
      EXPECT_TRUE(variable.attributes.empty());
    } else {
      ExpectAttributes(variable);
    }
    EXPECT_FALSE(variable.array.loader->IsShuffled());
    EXPECT_EQ(variable.array.loader->GetPosition(), 5U);
    EXPECT_EQ(Numbers(variable), kNumbers);
    EXPECT_EQ(geometry.variables[1].name, "w");
    EXPECT_EQ(Numbers(geometry.variables[1]), std::vector<unsigned int>{7});
    EXPECT_TRUE(geometry.heavyDataPositions.empty());
  }
}

TEST(GeometryReader, AnOldVariablePastTheHeavyData_FailsWhileLoading) {
  Variable variable = Full();
  variable.heavyPosition = 30;
  EXPECT_EQ(FailureOf([&] { LoadedTree(Model("0.4", {variable})); }), tevtest::kInvalidPosition);
}

TEST(GeometryReader, ANewVariablePastTheHeavyData_FailsOnlyWhenItsNumbersAreWanted) {
  Variable variable = Full();
  variable.heavyPosition = 30;
  LoadedTree loaded(Model("0.6", {variable}));
  EXPECT_EQ(FailureOf([&] { static_cast<void>(Numbers(Only(loaded))); }),
            tevtest::kInvalidPosition);
}

TEST(GeometryReader, WithoutVariables_IsEmpty) {
  for (const char* version : {"0.1", "0.4", "0.5", "0.7"}) {
    LoadedTree loaded(Model(version, {}));
    EXPECT_TRUE(loaded.At<Geometry>(kMesh).variables.empty());
  }
}

TEST(GeometryReader, WithoutLightData_IsEmpty) {
  ModelOnDisk disk({{"Other", "x"}});
  for (const char* version : {"0.1", "0.4", "0.5", "0.7"}) {
    Geometry geometry;
    geometry.ReadVc(disk.File(), kLightData, kHeavyData, kAttributes, version, 0);
    EXPECT_TRUE(geometry.variables.empty());
  }
}

TEST(GeometryReader, WithMoreVariablesThanAreStored_FailsWithNotEnoughBytes) {
  for (const char* version : {"0.1", "0.4", "0.7"}) {
    ModelWriter model = Model(version, {Full()});
    model.At(kMesh).Geometry().count = 0xFFFFFFFF;
    EXPECT_EQ(FailureOf([&] { LoadedTree{model}; }), tevtest::kNotEnoughBytes) << version;
  }
}

TEST(GeometryReader, LightDataCutAnywhere_FailsWithNotEnoughBytes) {
  for (const char* version : {"0.4", "0.6", "0.7"}) {
    ModelWriter model = Model(version, {Full()});
    const std::string light = model.StreamBytes(kLightData);
    for (std::size_t size = 1; size < light.size(); ++size) {
      ModelWriter cut = model;
      cut.ReplaceStream(kLightData, light.substr(0, size));
      EXPECT_EQ(FailureOf([&] { LoadedTree{cut}; }), tevtest::kNotEnoughBytes)
          << version << " cut to " << size;
    }
  }
}

TEST(GeometryReader, TheOldReader_CanBeUsedByItself) {
  const std::string light = ByteWriter()
                                .U32(1)
                                .Text("v")
                                .U32(0x105)
                                .U32(4)
                                .U8(3)
                                .U8(0)
                                .U8(0)
                                .F32(0)
                                .F32(0)
                                .U8(0)
                                .U8(0)
                                .U32(1)
                                .Bytes();
  ModelOnDisk disk({{kLightData, light}, {kHeavyData, "12345"}});
  Geometry geometry;
  geometry.ReadVc_l05(disk.File(), kLightData, kHeavyData, kAttributes, "0.3");
  ASSERT_EQ(geometry.variables.size(), 1U);
  EXPECT_EQ(geometry.variables[0].variableType, static_cast<Type>(0x105));
  EXPECT_EQ(geometry.variables[0].array.GetWidth(), 3);
  EXPECT_EQ(geometry.variables[0].array.loader->GetPosition(), 1U);
}

}  // namespace
}  // namespace LbtTev
