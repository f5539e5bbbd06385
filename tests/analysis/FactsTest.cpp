// What models tell of themselves apart from meshes and results.
#include <gtest/gtest.h>

#include "DescribedModel.h"
#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/RootFacts.h"
#include "support/SmallModel.h"

namespace LbtTev::Analysis {
namespace {

using tevtest::DescribedModel;

TEST(IsoDate, DatesOfPrograms_AreRead) {
  EXPECT_EQ(IsoDate("Mon Mar  4 09:12:44 2024"), "2024-03-04T09:12:44");
  EXPECT_EQ(IsoDate("Mon Mar  4 09:12:44 2024\n"), "2024-03-04T09:12:44");
  EXPECT_EQ(IsoDate("2024-02-29 23:59:00"), "2024-02-29T23:59:00");
  EXPECT_EQ(IsoDate("2024-02-29T23:59:00Z"), "2024-02-29T23:59:00Z");
  EXPECT_EQ(IsoDate("2024-02-29"), "2024-02-29");
}

TEST(IsoDate, OtherTexts_AreNone) {
  for (const char* text :
       {"", "yesterday", "03/04/2024", "2023-02-29", "2024-13-01", "2024-03-04 25:00:00",
        "2024-03-04 and more", "24-03-04", "5-3-4", "0999-12-31", "Mon Mar  4 09:12:44 124"}) {
    EXPECT_FALSE(IsoDate(text).has_value()) << text;
  }
}

TEST(Facts, Bracket_TellsUnitsAndPrograms) {
  const DescribedModel bracket("bracket.tev");
  EXPECT_EQ(UnitsOf(bracket.tree).length, "mm");
  EXPECT_EQ(UnitsOf(bracket.tree).scale, static_cast<double>(0.001F));
  const std::vector<Program> programs = ProgramsOf(bracket.tree);
  ASSERT_EQ(programs.size(), 2U);
  EXPECT_EQ(programs[0].role, "original modification");
  EXPECT_EQ(programs[0].record->applicationName, "frdtranslate");
  EXPECT_EQ(programs[0].dateIso, "2024-03-04T09:12:44");
  EXPECT_EQ(programs[1].role, "latest translation");
}

TEST(Facts, ModelWithoutARoot_HasNone) {
  const DescribedModel empty((tevtest::ModelWriter()));
  EXPECT_TRUE(RootAttributesOf(empty.tree).empty());
  EXPECT_FALSE(UnitsOf(empty.tree).length.has_value());
  EXPECT_TRUE(ProgramsOf(empty.tree).empty());
  EXPECT_TRUE(NodeSetsOf(empty.tree).empty());
}

TEST(Facts, NodeSets_AreInTheirOrder) {
  const DescribedModel small(tevtest::SmallModel());
  const auto sets = NodeSetsOf(small.tree);
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0]->name, "Fixed");
  EXPECT_EQ(sets[0]->members.size(), 2U);
  EXPECT_EQ(sets[1]->name, "Loaded");
}

TEST(Program, OnlyOne_IsTheLatestTranslation) {
  Tree tree;
  tree.modifierInfos.resize(1);
  EXPECT_EQ(ProgramsOf(tree)[0].role, "latest translation");
  tree.modifierInfos.resize(3);
  EXPECT_EQ(ProgramsOf(tree)[0].role, "original modification");
  EXPECT_EQ(ProgramsOf(tree)[1].role, "");
}

}  // namespace
}  // namespace LbtTev::Analysis
