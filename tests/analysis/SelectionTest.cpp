// What patterns ask for.
#include <gtest/gtest.h>

#include <array>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Util/Exception.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::DescribedModel;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;
using Texts = std::vector<std::string>;

template <class Action>
std::string MessageOf(const Action& action) {
  try {
    action();
  } catch (const Lbt::Util::Exception& exception) {
    EXPECT_EQ(exception.GetType(), Lbt::Util::Exception::ErrorType::ElementNotFound);
    return exception.GetLogMessage();
  }
  return "no failure";
}

TEST(Glob, Matches_TheWholeName) {
  EXPECT_TRUE(FitsGlob("", ""));
  EXPECT_TRUE(FitsGlob("", "*"));
  EXPECT_TRUE(FitsGlob("Stress", "S*ss"));
  EXPECT_TRUE(FitsGlob("Stress", "*s*s*"));
  EXPECT_TRUE(FitsGlob("aXbXc", "a*Xc"));
  EXPECT_TRUE(FitsGlob("S11", "S??"));
  EXPECT_TRUE(FitsGlob("Time = 0.5", "Time = [0-4].*"));
  EXPECT_TRUE(FitsGlob("b", "[!a]"));
  EXPECT_TRUE(FitsGlob("]", "[]]"));
  EXPECT_TRUE(FitsGlob("-", "[a-]"));
  EXPECT_TRUE(FitsGlob("[x", "[x"));
  EXPECT_FALSE(FitsGlob("Stress", "Str"));
  EXPECT_FALSE(FitsGlob("Stress", "tress"));
  EXPECT_FALSE(FitsGlob("", "?"));
  EXPECT_FALSE(FitsGlob("a", "[!a]"));
  EXPECT_FALSE(FitsGlob("stress", "S*"));
}

TEST(Glob, ABracketThatComesFirst_IsOneOfTheSet) {
  EXPECT_TRUE(FitsGlob("b", "[!]a]"));
  EXPECT_FALSE(FitsGlob("a", "[!]a]"));
  EXPECT_FALSE(FitsGlob("]", "[!]a]"));
  EXPECT_TRUE(FitsGlob("]", "[]a]"));
}

TEST(Glob, Characters_AreThoseOfUtf8) {
  EXPECT_TRUE(FitsGlob("Kühl", "K?hl"));
  EXPECT_TRUE(FitsGlob("Kühl", "K[ä-ü]hl"));
  EXPECT_FALSE(FitsGlob("Kühl", "K??hl"));
  EXPECT_TRUE(FitsGlob("\xFF\x80", "?*"));
}

TEST(Glob, ManyStars_TakeNoLongerThanTheProductOfTheLengths) {
  const std::string text(20000, 'a');
  std::string glob;
  for (int i = 0; i < 100; ++i) {
    glob += "a*";
  }
  EXPECT_FALSE(FitsGlob(text, glob + 'b'));
}

/// Parts "A", "B*", "Bar" and "3" with ids 3, 5, 7, 9; results R and S at two steps, T without.
ModelWriter Parts() {
  ModelWriter writer;
  const NodeRef group = writer.AddGroup("Geometry", writer.AddGroup("root", 0));
  for (const char* name : {"A", "B*", "Bar", "3"}) {
    const NodeRef mesh = writer.AddGeometry(name, writer.AddShape(name, group));
    for (const char* variable : {"R\x1eTime = 1", "R\x1eTime = 2", "S\x1eTime = 1", "T"}) {
      writer.AddVariable(mesh, Variable::Floats(variable, 13, 1, {1.0F}));
    }
  }
  return writer;
}

TEST(Selection, Part_IsMeantByNameIdOrGlob) {
  const DescribedModel described(Parts());
  const auto select = [&described](Texts patterns) {
    std::string ids;
    for (const std::size_t part : SelectParts(described.model, patterns)) {
      ids += std::to_string(described.model.Parts()[part].id) + ' ';
    }
    return ids;
  };
  EXPECT_EQ(select({}), "3 5 7 9 ");
  EXPECT_EQ(select({"A"}), "3 ");
  EXPECT_EQ(select({"B*"}), "5 ");
  EXPECT_EQ(select({"B?*"}), "5 7 ");
  EXPECT_EQ(select({"3"}), "3 9 ");
  EXPECT_EQ(select({"7", "A", "[A]"}), "3 7 ");
}

TEST(Selection, Fields_AreThoseOfAllThree) {
  const DescribedModel described(Parts());
  const auto select = [&described](const Selection& selection) {
    Texts found;
    for (const FieldOfPart& each : SelectFields(described.model, selection)) {
      const Field& field = *each.field;
      found.push_back(std::to_string(each.part) + std::string(field.result) +
                      (field.step ? std::to_string(*field.step) : "-"));
    }
    return found;
  };
  EXPECT_EQ(select({}).size(), 16U);
  EXPECT_EQ(select({.parts = {"A"}}), (Texts{"0R0", "0R1", "0S0", "0T-"}));
  EXPECT_EQ(select({.parts = {"A", "Bar"}, .steps = {""}}), (Texts{"0T-", "2T-"}));
  EXPECT_EQ(select({.parts = {"A"}, .results = {"[RS]"}, .steps = {"Time = 1"}}),
            (Texts{"0R0", "0S0"}));
  EXPECT_EQ(select({.results = {"T"}, .steps = {"Time*"}}), Texts{});
}

TEST(Selection, PatternThatFitsNothing_SaysWhatThereIs) {
  const DescribedModel described(Parts());
  const Texts nothing{"Bat"};
  EXPECT_EQ(MessageOf([&] { static_cast<void>(SelectParts(described.model, nothing)); }),
            "No part fits \"Bat\", did you mean \"Bar\"? there are \"A\", \"B*\", \"Bar\", \"3\"");
  const Texts far{"Velocity"};
  EXPECT_EQ(MessageOf([&] { static_cast<void>(SelectResults(described.model, far)); }),
            "No result fits \"Velocity\": there are \"R\", \"S\", \"T\"");
  const Texts step{"Time = 3"};
  EXPECT_EQ(MessageOf([&] { static_cast<void>(SelectedSteps(described.model, step)); }),
            "No step fits \"Time = 3\", did you mean \"Time = 1\"? there are \"Time = 1\", \"Time "
            "= 2\"");
}

TEST(Selection, NearestName_BeginsWithItOrTakesTheFewestChangesInAnyCase) {
  constexpr std::array<std::string_view, 5> kNames{"Stress Error", "von Mises Stress", "Stress",
                                                   "Displacement", "Str"};
  EXPECT_EQ(NearestName("stress", kNames), "Stress");
  EXPECT_EQ(NearestName("STRE", kNames), "Stress") << "the shortest that begins so";
  EXPECT_EQ(NearestName("Disp", kNames), "Displacement");
  EXPECT_EQ(NearestName("Stress E", kNames), "Stress Error");
  EXPECT_EQ(NearestName("DISPLCAEMENT", kNames), "Displacement");
  EXPECT_EQ(NearestName("Temperature", kNames), "");
  EXPECT_EQ(NearestName("", kNames), "");
}

TEST(Selection, TheEmptyStepThatFitsNothing_SaysWhatThereIs) {
  ModelWriter writer;
  const NodeRef mesh = writer.AddGeometry("g", writer.AddShape("A", writer.AddGroup("root", 0)));
  writer.AddVariable(mesh, Variable::Floats("R\x1eTime = 1", 13, 1, {1.0F}));
  const std::string message = "No step fits \"\": there are \"Time = 1\"";
  const Texts none{""};
  const DescribedModel described(writer);
  EXPECT_EQ(MessageOf([&] { static_cast<void>(SelectedSteps(described.model, none)); }), message);
  writer.AddVariable(mesh, Variable::Floats("Coordinates", tevtest::kCoordinates, 3, {1, 2, 3}));
  const DescribedModel withMesh(writer);
  EXPECT_TRUE(SelectedSteps(withMesh.model, none).Has(std::nullopt));
  EXPECT_EQ(MessageOf([&] { static_cast<void>(SelectFields(withMesh.model, {.steps = none})); }),
            message);
}

TEST(Selection, MeshVariable_IsMeantByItsNameAlone) {
  const DescribedModel described(Parts());
  constexpr std::array<std::string_view, 1> kFurther{"Coordinates"};
  const auto select = [&](Texts patterns) {
    return SelectResults(described.model, patterns, kFurther);
  };
  EXPECT_EQ(select({"Coordinates"}), std::vector<std::string_view>{"Coordinates"});
  EXPECT_EQ(select({"*"}), (std::vector<std::string_view>{"R", "S", "T"}));
  EXPECT_EQ(MessageOf([&] { static_cast<void>(select({"Coord*"})); }).substr(0, 24),
            "No result fits \"Coord*\":");
}

TEST(Selection, ModelWithoutParts_SaysSo) {
  const DescribedModel described((ModelWriter()));
  const Texts any{"*"};
  EXPECT_EQ(MessageOf([&] { static_cast<void>(SelectParts(described.model, any)); }),
            "No part fits \"*\": the model has no part");
}

}  // namespace
}  // namespace LbtTev::Analysis
