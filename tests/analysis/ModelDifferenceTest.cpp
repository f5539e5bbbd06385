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
    EXPECT_EQ(failures[0].part, "Frame");
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
  EXPECT_EQ(differences[0].part, "Frame");
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
