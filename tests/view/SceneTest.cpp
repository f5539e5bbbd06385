// What is loaded of a model to be shown, and the ranges of its numbers.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/View/Scene.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"

namespace LbtTev::View {
namespace {

using Analysis::Location;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;
using Point = std::array<double, 3>;

/// A model on disk, and what a shot of it comes to.
class Shown {
 public:
  explicit Shown(const ModelWriter& writer) : tree_(dir_.Write("m.tev", writer.Build())) {}

  Scene Take(const std::string& result, Component component, std::vector<std::size_t> parts,
             bool isRangeOfStep = false) {
    Shot shot{.parts = std::move(parts), .component = component, .isRangeOfStep = isRangeOfStep};
    if (!result.empty()) {
      shot.result = result;
    }
    shot.step = LastStep(model, shot.parts, shot.result);
    EXPECT_EQ(shot.cells.Set("auto"), "");
    return GatherScene(
        model, shot,
        {.meshFailed =
             [this](std::size_t part, const std::exception_ptr& failure) {
               EXPECT_NE(failure, nullptr);
               failed.push_back("mesh " + std::to_string(part));
             },
         .fieldFailed =
             [this](const Analysis::FieldOfPart& field, const std::exception_ptr& failure) {
               EXPECT_NE(failure, nullptr);
               failed.push_back("field " + std::to_string(field.part));
             }});
  }

 private:
  struct OpenedTree : Tree {
    explicit OpenedTree(const std::string& path) { OpenModel(*this, path); }
  };

  tevtest::TempDir dir_;
  OpenedTree tree_;

 public:
  Analysis::Model model{tree_};
  std::vector<std::string> failed;
};

TEST(Scene, OfNumbersOfNodes_HasTheirRangeAndPlaces) {
  Shown shown(tevtest::SmallModel());
  const Scene scene = shown.Take("Temperature", 0, {0, 1});
  EXPECT_TRUE(shown.failed.empty());
  ASSERT_EQ(scene.parts.size(), 2U);
  EXPECT_EQ(scene.parts[0].skin.skin->Faces(), 6U);  // of two tetrahedra
  EXPECT_EQ(scene.parts[1].skin.skin->Faces(), 5U);  // of a pyramid
  EXPECT_EQ(scene.parts[0].location, Location::Node);
  EXPECT_EQ(*scene.parts[0].values, (std::vector<float>{293.25F, 294, 295.5F, 296, 1234567}));
  ASSERT_TRUE(scene.range);
  EXPECT_EQ(scene.range->min.extreme.value, 293.25);
  EXPECT_EQ(scene.range->min.extreme.id, 1);
  EXPECT_EQ(scene.range->max.extreme.value, 1234567);
  EXPECT_EQ(scene.range->max.extreme.id, 5);
  EXPECT_EQ(scene.range->max.field.part, 0U);  // both parts have it
  EXPECT_EQ(scene.min->point, (Point{0, 0, 0}));
  EXPECT_EQ(scene.max->point, (Point{1, 1, 1.5}));
}

TEST(Scene, OfMagnitudesAndComponents_HasThem) {
  Shown shown(tevtest::SmallModel());
  const Scene magnitude = shown.Take("Displacement", {}, {0, 1});
  EXPECT_DOUBLE_EQ(magnitude.range->max.extreme.value, std::sqrt(13. * 13 + 14. * 14 + 15. * 15));
  EXPECT_EQ(magnitude.range->max.extreme.id, 10);
  EXPECT_EQ(magnitude.range->max.field.part, 1U);
  EXPECT_EQ(magnitude.max->point, (Point{2.5, 0.5, 1}));
  EXPECT_EQ(magnitude.range->min.extreme.value, 0);
  EXPECT_FLOAT_EQ(magnitude.parts[1].values->at(0), std::sqrt(14.F));
  const Scene second = shown.Take("Displacement", 1, {0});
  EXPECT_EQ(second.range->min.extreme.value, -2.5);
  EXPECT_EQ(second.range->max.extreme.value, 0);
  EXPECT_EQ(*second.parts[0].values, (std::vector<float>{0, 0, -0.25F, 0, -2.5F}));
}

TEST(Scene, OfWhatAPartLacks_HasThePartAlone) {
  Shown shown(tevtest::SmallModel());
  for (const Scene& scene :
       {shown.Take("Displacement", 3, {0, 1}), shown.Take("", {}, {0, 1}),
        shown.Take("Temperature", {}, {0, 1}), shown.Take("Nothing", 0, {0, 1})}) {
    EXPECT_EQ(scene.parts.size(), 2U);
    EXPECT_FALSE(scene.range);
    EXPECT_FALSE(scene.min);
    EXPECT_EQ(scene.parts[0].values, nullptr);
  }
  EXPECT_TRUE(shown.failed.empty());
}

TEST(Scene, OfNumbersOfElements_MarksTheMiddleOfTheirNodes) {
  ModelWriter model = tevtest::SmallModel();
  model.AddVariable(tevtest::kSmallMesh1, Variable::Floats("Volume", 13, 1, {2, 9}));
  Shown shown(model);
  const Scene scene = shown.Take("Volume", 0, {0, 1});
  EXPECT_EQ(scene.parts[0].location, Location::Element);
  EXPECT_EQ(scene.range->max.extreme.id, 102);
  EXPECT_EQ(scene.max->point, (Point{0.5, 0.5, 0.625}));
  EXPECT_EQ(scene.min->point, (Point{0.25, 0.25, 0.25}));
  EXPECT_EQ(scene.parts[1].values, nullptr);
}

TEST(Scene, OfOneStep_HasColoursForAllStepsUnlessItsOwnAreAskedFor) {
  ModelWriter model = tevtest::SmallModel();
  model.AddVariable(tevtest::kSmallMesh2, Variable::Floats("Volume\x1eTime = 3", 13, 1, {1}));
  model.AddVariable(tevtest::kSmallMesh2, Variable::Floats("Volume\x1eTime = 4", 13, 1, {-7}));
  Shown shown(model);
  const Scene scene = shown.Take("Volume", 0, {0, 1});
  EXPECT_EQ(scene.range->min.extreme.value, -7);
  EXPECT_EQ(scene.range->max.extreme.value, 1);
  EXPECT_EQ(scene.max->end.extreme.value, -7);
  const Scene own = shown.Take("Volume", 0, {0, 1}, true);
  EXPECT_EQ(own.range->min.extreme.value, -7);
  EXPECT_EQ(own.range->max.extreme.value, -7);
}

TEST(Scene, OfTwoFieldsOfOneStep_HasTheFirst) {
  ModelWriter model = tevtest::SmallModel();
  model.AddVariable(tevtest::kSmallMesh2, Variable::Floats("Volume\x1eTime = 3", 13, 1, {1}));
  model.AddVariable(tevtest::kSmallMesh2, Variable::Floats("Volume\x1eTime = 3", 13, 1, {1000}));
  Shown shown(model);
  EXPECT_EQ(shown.Take("Volume", 0, {0, 1}).range->max.extreme.value, 1);
}

TEST(Scene, OfNodesThatNoFaceUses_LeavesThemOutOfTheRange) {
  ModelWriter model = tevtest::SmallModel();
  model.VariableAt(tevtest::kSmallMesh1, 2) =
      Variable::Uints("Connectivity", tevtest::kConnectivity, 1, {0, 1, 2, 3});
  model.VariableAt(tevtest::kSmallMesh1, 3) =
      Variable::Uints("Polylength", tevtest::kPolylength, 1, {4});
  Shown shown(model);
  EXPECT_EQ(shown.Take("Temperature", 0, {0}).range->max.extreme.value, 296);
}

TEST(Scene, OfAMeshThatCannotBeRead_HasTheOthers) {
  ModelWriter model = tevtest::SmallModel();
  model.VariableAt(tevtest::kSmallMesh1, 2) =
      Variable::Uints("Connectivity", tevtest::kConnectivity, 1, {0, 1, 2, 77, 1, 2, 3, 4});
  Shown shown(model);
  const Scene scene = shown.Take("Temperature", 0, {0, 1});
  EXPECT_EQ(shown.failed, std::vector<std::string>{"mesh 0"});
  ASSERT_EQ(scene.parts.size(), 1U);
  EXPECT_EQ(scene.parts[0].part, 1U);
  EXPECT_EQ(scene.range->max.extreme.id, 10);
}

TEST(Scene, OfPartWithoutPoints_LacksIt) {
  ModelWriter model = tevtest::SmallModel();
  model.AddGeometry("empty", model.AddShape("Empty", tevtest::kSmallGeometryGroup));
  Shown shown(model);
  EXPECT_EQ(shown.Take("Temperature", 0, {0, 1, 2}).parts.size(), 2U);
  EXPECT_TRUE(shown.Take("Temperature", 0, {2}).parts.empty());
  EXPECT_TRUE(shown.failed.empty());
}

TEST(LastStep, IsTheLastThatThePartsHave) {
  ModelWriter model = tevtest::SmallModel();
  model.AddVariable(tevtest::kSmallMesh2, Variable::Floats("Volume\x1eTime = 3", 13, 1, {1}));
  model.AddVariable(tevtest::kSmallMesh1, Variable::Floats("Error", 13, 1, {1, 2}));
  Shown shown(model);
  EXPECT_EQ(LastStep(shown.model, {0, 1}, "Volume"), 1U);
  EXPECT_EQ(LastStep(shown.model, {0}, "Volume"), std::nullopt);
  EXPECT_EQ(LastStep(shown.model, {0, 1}, "Temperature"), 0U);
  EXPECT_EQ(LastStep(shown.model, {0}, "Error"), std::nullopt);
  EXPECT_EQ(LastStep(shown.model, {0}, std::nullopt), 1U);
}

Analysis::Statistics StatisticsFrom(double min, double max, std::size_t finite = 2) {
  Analysis::Figures figures;
  figures.finite = finite;
  figures.min.value = min;
  figures.max.value = max;
  Analysis::Statistics statistics;
  statistics.components = {figures};
  return statistics;
}

TEST(RangeOfFields, IsThatOfTheFirstOfEqualNumbers) {
  Analysis::Field first;
  Analysis::Field second;
  RangeOfFields range(0);
  range.Add({0, &first}, StatisticsFrom(0, 0, 0));  // nothing is finite
  EXPECT_FALSE(range.Get());
  range.Add({0, &first}, StatisticsFrom(3, 5));
  range.Add({1, &first}, StatisticsFrom(-1, 5));
  range.Add({0, &second}, StatisticsFrom(-1, 8));
  EXPECT_EQ(range.Get()->max.extreme.value, 8);
  EXPECT_EQ(range.Get()->min.extreme.value, -1);
  EXPECT_EQ(range.Get()->min.field.part, 1U);
  EXPECT_EQ(range.Get()->min.field.field, &first);
}

TEST(Component, ThatIsUsual_IsTheMagnitudeOfVectors) {
  EXPECT_EQ(UsualComponent(3), Component());
  EXPECT_EQ(UsualComponent(1), Component(0));
  EXPECT_EQ(UsualComponent(6), Component(0));
  EXPECT_TRUE(HasComponent(3, {}));
  EXPECT_FALSE(HasComponent(6, {}));
  EXPECT_TRUE(HasComponent(6, 5));
  EXPECT_FALSE(HasComponent(6, 6));
  EXPECT_EQ(NameOf(Component()), "magnitude");
  EXPECT_EQ(NameOf(Component(0)), "1");
}

TEST(Magnitude, OfANumberThatIsNotFinite_IsNone) {
  constexpr float kInfinite = std::numeric_limits<float>::infinity();
  const std::vector<float> numbers{3, 4, 12, kInfinite, 0, 0, 0, NAN, 0};
  const std::vector<float> values = ValuesOf(Analysis::FloatTuples(numbers, 3), {});
  EXPECT_EQ(values[0], 13);
  EXPECT_TRUE(std::isnan(values[1]));
  EXPECT_TRUE(std::isnan(values[2]));
  EXPECT_EQ(ValuesOf(Analysis::FloatTuples(numbers, 3), 2), (std::vector<float>{12, 0, 0}));
}

}  // namespace
}  // namespace LbtTev::View
