// What of two models is compared, and what belongs together.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/Pairing.h"
#include "Lbt/Util/Exception.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::DescribedModel;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;
using Texts = std::vector<std::string>;
using Places = std::vector<std::size_t>;
using PlacePairs = std::vector<std::pair<std::size_t, std::size_t>>;

/// Parts by the names of their group and their own, each with these variables.
ModelWriter PartsOf(const std::vector<std::pair<std::string, std::string>>& parts,
                    const Texts& variables = {}) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  for (const auto& [group, name] : parts) {
    const NodeRef mesh = model.AddGeometry("g", model.AddShape(name, model.AddGroup(group, root)));
    for (const std::string& variable : variables) {
      model.AddVariable(mesh, Variable::Floats(variable, 13, 1, {1.0F}));
    }
  }
  return model;
}

Pairs<std::size_t> PairPartsOf(const Model& a, const Model& b, const Selection& selection = {}) {
  const auto [chosenInA, chosenInB] = Choose(a, b, selection);
  return PairParts(a, chosenInA, b, chosenInB);
}

TEST(PairParts, OfOnePathAndName_BelongTogetherWhateverTheirOrder) {
  const DescribedModel a(PartsOf({{"G", "P"}, {"G", "Q"}, {"H", "P"}}));
  const DescribedModel b(PartsOf({{"H", "P"}, {"G", "R"}, {"G", "P"}}));
  const auto pairs = PairPartsOf(a.model, b.model);
  EXPECT_EQ(pairs.both, (PlacePairs{{0, 2}, {2, 0}}));
  EXPECT_EQ(pairs.onlyInA, Places{1});
  EXPECT_EQ(pairs.onlyInB, Places{1});
}

TEST(PairParts, OfARepeatedName_ArePairedInTheirOrder) {
  const DescribedModel a(PartsOf({{"G", "P"}, {"G", "P"}, {"G", "P"}}));
  const DescribedModel b(PartsOf({{"G", "P"}, {"G", "P"}}));
  EXPECT_EQ(PairPartsOf(a.model, b.model).both, (PlacePairs{{0, 0}, {1, 1}}));
  EXPECT_EQ(PairPartsOf(a.model, b.model).onlyInA, Places{2});
  // Those that nobody asks for are counted all the same: the second is the second.
  const std::string second = std::to_string(a.model.Parts()[1].id);
  ASSERT_EQ(second, std::to_string(b.model.Parts()[1].id));
  EXPECT_EQ(PairPartsOf(a.model, b.model, {.parts = {second}}).both, (PlacePairs{{1, 1}}));
}

TEST(PairParts, WhereGroupsRunInACircle_AreFoundAllTheSame) {
  ModelWriter circle;
  const NodeRef outer = circle.AddGroup("G", 0);
  const NodeRef inner = circle.AddGroup("H", outer);
  circle.AddGeometry("g", circle.AddShape("P", inner));
  circle.At(outer).parent = inner;
  const DescribedModel a(circle);
  const DescribedModel b(circle);
  EXPECT_EQ(PairPartsOf(a.model, b.model).both, (PlacePairs{{0, 0}}));
}

TEST(CommonSteps, AreThoseOfAThenThoseOfBAlone) {
  const DescribedModel a(PartsOf({{"G", "P"}}, {"R\x1eTime = 2", "R\x1eTime = 1"}));
  const DescribedModel b(PartsOf({{"G", "P"}}, {"R\x1eTime = 2", "R\x1eTime = 3"}));
  const CommonSteps steps(a.model, b.model);
  ASSERT_EQ(steps.Count(), 4U);
  EXPECT_EQ(steps.TextOf(CommonSteps::kNone), std::nullopt);
  EXPECT_EQ(steps.TextOf(1), "Time = 1");
  EXPECT_EQ(steps.TextOf(3), "Time = 3");
  EXPECT_EQ(steps.OfA(std::nullopt), CommonSteps::kNone);
  EXPECT_EQ(steps.OfA(1), steps.OfB(0));
  EXPECT_EQ(steps.InA(2), 1U);
  EXPECT_EQ(steps.InB(2), 0U);
  EXPECT_EQ(steps.InB(1), std::nullopt);
  EXPECT_EQ(steps.InA(3), std::nullopt);
}

TEST(PairFields, OfOneResultAndStep_BelongTogether) {
  const DescribedModel a(PartsOf({{"G", "P"}}, {"R\x1e"
                                                "2",
                                                "R", "R", "S",
                                                "R\x1e"
                                                "1"}));
  const DescribedModel b(PartsOf({{"G", "P"}}, {"T",
                                                "R\x1e"
                                                "1",
                                                "R\x1e"
                                                "2",
                                                "R"}));
  const auto fieldsOf = [](const Model& model) { return SelectFields(model, {}); };
  const auto ofA = fieldsOf(a.model);
  const auto ofB = fieldsOf(b.model);
  const auto pairs = PairFields(ofA, ofB, CommonSteps(a.model, b.model));
  const auto placeIn = [](const std::vector<FieldOfPart>& fields, const FieldOfPart& each) {
    return each.field - fields.front().field;
  };
  std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>> both;
  for (const auto& [inA, inB] : pairs.both) {
    both.emplace_back(placeIn(ofA, inA), placeIn(ofB, inB));
  }
  EXPECT_EQ(both, (std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>>{{0, 2}, {1, 3}, {4, 1}}));
  ASSERT_EQ(pairs.onlyInA.size(), 2U);
  EXPECT_EQ(placeIn(ofA, pairs.onlyInA[0]), 2);  // the second of its name
  EXPECT_EQ(placeIn(ofA, pairs.onlyInA[1]), 3);
  ASSERT_EQ(pairs.onlyInB.size(), 1U);
  EXPECT_EQ(placeIn(ofB, pairs.onlyInB[0]), 0);
}

TEST(Choose, APattern_NeedFitOnlyOneOfTheModels) {
  const DescribedModel a(PartsOf({{"G", "P"}}, {"R\x1eTime = 1", "T"}));
  const DescribedModel b(PartsOf({{"G", "Q"}}, {"S\x1eTime = 2", "T"}));
  const auto [inA, inB] =
      Choose(a.model, b.model, {.parts = {"P", "Q"}, .results = {"R", "T"}, .steps = {"Time = 2"}});
  EXPECT_EQ(inA.parts, Places{0});
  EXPECT_EQ(inB.parts, Places{0});
  EXPECT_EQ(inA.results, (std::set<std::string_view>{"R", "T"}));
  EXPECT_EQ(inB.results, (std::set<std::string_view>{"T"}));
  EXPECT_EQ(inA.steps, std::vector<bool>{false});
  EXPECT_EQ(inB.steps, std::vector<bool>{true});
  EXPECT_FALSE(inA.HasStep(std::nullopt));
  EXPECT_THROW(static_cast<void>(Choose(a.model, b.model, {.parts = {"X"}})), Lbt::Util::Exception);
}

TEST(Choose, ANameInEitherModel_IsNoGlobInTheOther) {
  const DescribedModel a(PartsOf({{"G", "P[1]"}}, {"R [M]\x1eTime = [1]", "S"}));
  const DescribedModel b(PartsOf({{"G", "P1"}}, {"R M\x1eTime = 1", "S"}));
  const Selection names{.parts = {"P[1]"}, .results = {"R [M]"}, .steps = {"Time = [1]"}};
  const auto [inA, inB] = Choose(a.model, b.model, names);
  EXPECT_EQ(inA.parts, Places{0});
  EXPECT_EQ(inB.parts, Places{});
  EXPECT_EQ(inA.results, (std::set<std::string_view>{"R [M]"}));
  EXPECT_EQ(inB.results, (std::set<std::string_view>{}));
  EXPECT_EQ(inA.steps, std::vector<bool>{true});
  EXPECT_EQ(inB.steps, std::vector<bool>{false});
  const auto [first, second] = Choose(b.model, a.model, names);
  EXPECT_TRUE(first.parts.empty() && first.results.empty());
  EXPECT_EQ(second.parts, Places{0});
  const auto globs = Choose(b.model, b.model, names).first;
  EXPECT_EQ(globs.parts, Places{0});
  EXPECT_EQ(globs.results, (std::set<std::string_view>{"R M"}));
  // An id is meant in both, whatever is named so.
  const DescribedModel named(PartsOf({{"G", "P"}, {"G", "3"}}));
  EXPECT_EQ(Choose(named.model, b.model, {.parts = {"3"}}).second.parts, Places{0});
}

TEST(Choose, TheEmptyStep_IsThatOfFieldsWithoutOne) {
  const DescribedModel a(PartsOf({{"G", "P"}}, {"R\x1eTime = 1", "T"}));
  const auto chosen = Choose(a.model, a.model, {.steps = {""}}).first;
  EXPECT_TRUE(chosen.HasStep(std::nullopt));
  EXPECT_FALSE(chosen.HasStep(0));
  const auto all = Choose(a.model, a.model, {}).first;
  EXPECT_TRUE(all.HasStep(std::nullopt));
  EXPECT_TRUE(all.HasStep(0));
}

}  // namespace
}  // namespace LbtTev::Analysis
