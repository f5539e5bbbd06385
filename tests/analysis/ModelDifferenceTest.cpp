// What a comparison of two models tells of that could not be compared.
#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/ModelDifference.h"
#include "Lbt/Util/Exception.h"
#include "support/SmallModel.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::DescribedModel;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;

std::vector<FailedComparison> FailuresOf(const ModelWriter& a, const ModelWriter& b) {
  const DescribedModel describedA(a);
  const DescribedModel describedB(b);
  std::vector<FailedComparison> failures;
  const DifferenceSink sink{
      .differs = [](const ModelDifference&) {},
      .failed = [&](const FailedComparison& failed) { failures.push_back(failed); }};
  CompareModels(describedA.model, describedB.model, {}, {}, sink);
  return failures;
}

std::string TextOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const Lbt::Util::Exception& exception) {
    return exception.GetLogMessage();
  }
}

TEST(CompareModels, AMeshThatCannotBeRead_IsNamedAsOne) {
  const ModelWriter sound = tevtest::SmallModel();
  ModelWriter damaged = tevtest::SmallModel();
  damaged.VariableAt(tevtest::kSmallMesh1, 2).heavyPosition = 1U << 30U;
  for (const bool isInA : {true, false}) {
    const auto failures = FailuresOf(isInA ? damaged : sound, isInA ? sound : damaged);
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0].isInA, isInA);
    EXPECT_EQ(failures[0].part, 0U);
    EXPECT_EQ(failures[0].result, "mesh");
    EXPECT_FALSE(failures[0].step.has_value());
    EXPECT_TRUE(TextOf(failures[0].failure).starts_with("Invalid block position"));
  }
}

TEST(CompareModels, AMeshThatDiffers_IsToldWithItsPartAndItsArray) {
  ModelWriter moved = tevtest::SmallModel();
  moved.VariableAt(tevtest::kSmallMesh1, 1).elements =
      tevtest::ElementBytes(std::vector<float>(15, 7.0F));
  const DescribedModel a(tevtest::SmallModel());
  const DescribedModel b(moved);
  std::vector<ModelDifference> differences;
  const DifferenceSink sink{
      .differs = [&](const ModelDifference& difference) { differences.push_back(difference); },
      .failed = [](const FailedComparison&) { ADD_FAILURE(); }};
  CompareModels(a.model, b.model, {}, {}, sink);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0].kind, ModelDifference::Kind::Mesh);
  EXPECT_EQ(differences[0].partInA, 0U);
  EXPECT_EQ(differences[0].partInB, 0U);
  EXPECT_EQ(differences[0].result, "Coordinates");
  ASSERT_TRUE(differences[0].numbers.has_value());
  EXPECT_EQ(differences[0].numbers->beyond, 15U);
}

TEST(CompareModels, OfChosenParts_StepsAreThoseOfTheirMeshes) {
  const auto movedAt = [](const std::string& step) {
    ModelWriter model;
    const NodeRef group = model.AddGroup("r", 0);
    model.AddGeometry("g", model.AddShape("P", group));
    model.AddVariable(
        model.AddGeometry("g", model.AddShape("Q", group)),
        Variable::Floats("Coordinates\x1e" + step, tevtest::kCoordinates, 3, {0, 0, 0}));
    return model;
  };
  const DescribedModel a(movedAt("Time = 5"));
  const DescribedModel b(movedAt("Time = 6"));
  for (const auto& [part, expected] : {std::pair("Q", 2), {"P", 0}}) {
    int steps = 0;
    const DifferenceSink sink{.differs =
                                  [&](const ModelDifference& difference) {
                                    steps += difference.kind == ModelDifference::Kind::Step ? 1 : 0;
                                  },
                              .failed = [](const FailedComparison&) { ADD_FAILURE(); }};
    CompareModels(a.model, b.model, {.parts = {part}}, {}, sink);
    EXPECT_EQ(steps, expected) << part;
  }
}

/// Kinds and sides of what differs, where something of B is lost.
std::string RowsWithLost(const ModelWriter& a, const ModelWriter& b, const LostData& lostOfB) {
  const DescribedModel describedA(a);
  const DescribedModel describedB(b);
  std::string rows;
  const DifferenceSink sink{.differs =
                                [&](const ModelDifference& difference) {
                                  rows += TextOf(difference.kind);
                                  rows += difference.side == ModelDifference::Side::OnlyInA ? " A, "
                                          : difference.side == ModelDifference::Side::OnlyInB
                                              ? " B, "
                                              : ", ";
                                },
                            .failed = [](const FailedComparison&) { ADD_FAILURE(); }};
  CompareModels(describedA.model, describedB.model, {}, {}, sink, false, {{}, lostOfB});
  return rows;
}

/// A part that has a field which others do not have, and perhaps a field that is a link to another
/// part; "count" is that of the nodes in the model.
ModelWriter WithField(const std::string& result, std::uint32_t count, NodeRef linkedTo = 0) {
  ModelWriter model;
  const NodeRef root =
      model.AddGroup("r", 0, {tevtest::Attribute::Uint("Number of Nodes in the Model", count)});
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", root));
  model.AddVariable(mesh, Variable::Floats(result + "\x1eTime = 1", 13, 1, {1, 2}));
  if (linkedTo != 0) {
    model.AddVariable(mesh, Variable::Link("L", 13, linkedTo, 0));
  }
  return model;
}

TEST(CompareModels, WhatMayBeAmongTheLost_IsNotMissing) {
  constexpr NodeRef kMesh = 3;
  const ModelWriter a = WithField("R", 5);
  const ModelWriter b = WithField("S", 6);
  ModelWriter sameStep = WithField("R", 5);
  sameStep.VariableAt(kMesh, 0).name = "R\x1eTime = 2";
  EXPECT_EQ(RowsWithLost(a, sameStep, {}), "step A, step B, field A, field B, ");
  EXPECT_EQ(RowsWithLost(a, b, {}), "nodes, result A, result B, field A, field B, ");
  // B has what was read of it all the same, and A lacks that.
  EXPECT_EQ(RowsWithLost(a, b, {.lightOf = {kMesh}}), "nodes, result B, ");
  EXPECT_EQ(RowsWithLost(a, sameStep, {.lightOf = {}, .isLightOfAll = true}), "step B, ");
  EXPECT_EQ(RowsWithLost(a, b, {.lightOf = {}, .hasRecords = true}),
            "nodes, result B, field A, field B, ");
  ModelWriter renamed = WithField("R", 5);
  renamed.At(2).name = "Q";
  EXPECT_EQ(RowsWithLost(a, renamed, {}), "part A, part B, ");
  EXPECT_EQ(RowsWithLost(a, renamed, {.lightOf = {}, .hasRecords = true}), "part B, ");
}

TEST(CompareModels, FactsThatRestOnLostAttributes_AreNotCompared) {
  const ModelWriter a = WithField("R", 5);
  ModelWriter without = WithField("R", 5);
  without.At(1).Group().attributes = {};
  without.VariableAt(3, 0).attributes = {tevtest::Attribute::Text("Title", "T")};
  EXPECT_EQ(RowsWithLost(a, without, {}), "title, nodes, ");
  EXPECT_EQ(RowsWithLost(a, without, {.lightOf = {}, .hasAttributes = true}), "");
  EXPECT_EQ(RowsWithLost(a, WithField("R", 6), {.lightOf = {}, .hasAttributes = true}), "nodes, ")
      << "both have it";
}

TEST(CompareModels, ALinkToALostPart_MakesAPartIncomparable) {
  constexpr NodeRef kLostGeometry = 9;
  const ModelWriter a = WithField("R", 5, 3);
  const ModelWriter b = WithField("R", 5, kLostGeometry);
  EXPECT_EQ(RowsWithLost(a, b, {}), "field, ");
  EXPECT_EQ(RowsWithLost(a, b, {.lightOf = {kLostGeometry}}), "");
}

constexpr std::uint32_t kNumbers = 1U << 18U;
constexpr std::uint32_t kFields = 40;

/// Fields that are all the same array.
ModelWriter OfOneArray() {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("R0", 13, 1, std::vector<float>(kNumbers)));
  for (std::uint32_t i = 1; i < kFields; ++i) {
    Variable field = Variable::Floats("R" + std::to_string(i), 13, 1, {});
    field.byteCount = 4 * kNumbers;
    field.heavyPosition = 0;
    model.AddVariable(mesh, field);
  }
  return model;
}

/// The same fields, each from another place on, in a stream that is long enough for it.
ModelWriter OfManyArrays() {
  ModelWriter model = OfOneArray();
  constexpr NodeRef mesh = 3;
  model.AddVariable(mesh, Variable::Floats("Pad", 13, 1, std::vector<float>(5 * kNumbers)));
  for (std::uint32_t i = 1; i < kFields; ++i) {
    model.VariableAt(mesh, i).heavyPosition = 4 * i;
  }
  return model;
}

TEST(CompareModels, WhatIsComparedTooOften_IsToldOfTheModelThatHasIt) {
  for (const bool isInA : {true, false}) {
    const auto failures =
        isInA ? FailuresOf(OfOneArray(), OfManyArrays()) : FailuresOf(OfManyArrays(), OfOneArray());
    EXPECT_GT(failures.size(), 5U);
    EXPECT_LT(failures.size(), 20U);
    for (const FailedComparison& failed : failures) {
      EXPECT_EQ(failed.isInA, isInA);
      EXPECT_TRUE(TextOf(failed.failure).starts_with("The model refers to its data too often"));
    }
  }
}

}  // namespace
}  // namespace LbtTev::Analysis
