// The entries that sum a model up.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/TevInfo/Entries.h"
#include "Lbt/Tev/TevInfo/Given.h"
#include "report/OpenedModel.h"
#include "support/ModelWriter.h"

namespace tevtest {
namespace {

using LbtTev::Report::GroupListing;
using LbtTev::Report::ModelFacts;
using LbtTev::Report::ResultAttributeList;
using LbtUtil::AttributeMap;

std::string Entry(const std::string& name, const std::string& value) {
  return "        <attribute name=\"" + name + "\" value=\"" + value + "\"/>\n";
}

/// The five counts of a model without parts.
const std::string kNoCounts = Entry("Number of Parts", "0") + Entry("Number of Cut-sections", "0") +
                              Entry("Number of Iso-surfaces", "0") +
                              Entry("Number of Iso-volumes", "0") +
                              Entry("Number of Flow-lines", "0");

std::string SummaryOf(const GroupListing& groups, const ResultAttributeList& results,
                      TevInfo::Format format = TevInfo::NativeMetaData) {
  TevInfo info;
  info.setFormat(format);
  addMiscAttributes(info, groups, results);
  return info.metadata;
}

/// The category of the summary of these results.
std::string CategoryOf(const ResultAttributeList& results) {
  const std::string summary = SummaryOf({}, results);
  const std::string start = "name=\"Category\" value=\"";
  const std::size_t first = summary.find(start) + start.size();
  return summary.substr(first, summary.find("\"/>", first) - first);
}

TEST(GetNameListAsString, Names_AreJoinedInTheirOrder) {
  EXPECT_EQ(GetNameListAsString({}), "");
  EXPECT_EQ(GetNameListAsString({"b"}), "b");
  EXPECT_EQ(GetNameListAsString({"b", "a", "b"}), "b, a, b");
  EXPECT_EQ(GetNameListAsString({"", "", "c"}), ", , c");
}

TEST(WriteModifierInfo, Texts_StandInTheirOrderWithTheSuffix) {
  TevInfo info;
  info.setFormat(TevInfo::NativeMetaData);
  const LbtTev::ModifierInfo modifier{.unstored = "x",
                                      .applicationName = "name \"q\"",
                                      .applicationVersion = "1",
                                      .tevVersion = "2",
                                      .date = "3",
                                      .unreported = "y",
                                      .userName = "4",
                                      .comment = "5 & <6>"};
  WriteModifierInfo(info, modifier, " (S)");
  EXPECT_EQ(info.metadata, Entry("Application name (S)", "name \"q\"") +
                               Entry("Application version (S)", "1") +
                               Entry("Tev version (S)", "2") + Entry("User name (S)", "4") +
                               Entry("Date (S)", "3") + Entry("Comment (S)", "5 & <6>"));
}

TEST(WriteModifierInfo, EmptyTexts_GiveNoEntries) {
  TevInfo info;
  info.setFormat(TevInfo::NativeMetaData);
  WriteModifierInfo(info, {}, " (S)");
  EXPECT_EQ(info.metadata, "");
  LbtTev::ModifierInfo modifier;
  modifier.userName = "u";
  WriteModifierInfo(info, modifier, "");
  EXPECT_EQ(info.metadata, Entry("User name", "u"));
}

TEST(WriteModifierInfo, Ekm_ConvertsLabelAndSuffix) {
  TevInfo info;
  info.setFormat(TevInfo::EkmMetaData);
  LbtTev::ModifierInfo modifier;
  modifier.applicationName = "A B";
  WriteModifierInfo(info, modifier, " (Latest Translation)");
  EXPECT_EQ(info.metadata,
            "        <data name=\"applicationname(LatestTranslation)\" value=\"A B\"/>\n");
}

TEST(AddMiscAttributes, Nothing_HasTheCategoryAndTheCounts) {
  EXPECT_EQ(SummaryOf({}, {}), Entry("Category", "Unknown") + kNoCounts);
}

TEST(AddMiscAttributes, Everything_StandsInItsOrder) {
  const GroupListing groups{{"Geometry", {"P", "A", "P"}}, {"Cut-Sections", {"c"}},
                            {"Iso-Surfaces", {"i", "i"}},  {"Iso-Volumes", {"v", "v", "v"}},
                            {"Flow Lines", {"f"}},         {"Other", {"o"}}};
  const ResultAttributeList results{{{"Result Name", "R"},
                                     {"Instance Name", "I"},
                                     {"Title", "T"},
                                     {"Category", "C"},
                                     {"Frequency", 2.5F},
                                     {"Time", 1U},
                                     {"Mode", 1U},
                                     {"Label", "L"},
                                     {"Subtitle", "S"},
                                     {"LoadCase", 1U}}};
  EXPECT_EQ(SummaryOf(groups, results),
            Entry("Title", "T") + Entry("Category", "C") + Entry("Number of Parts", "3") +
                Entry("Number of Cut-sections", "1") + Entry("Number of Iso-surfaces", "2") +
                Entry("Number of Iso-volumes", "3") + Entry("Number of Flow-lines", "1") +
                Entry("Number of Results", "1") + Entry("Number of Instances", "1") +
                Entry("Parts", "P, A, P") + Entry("Results", "R") + Entry("Instances", "I") +
                Entry("Time Steps", "1") + Entry("Frequencies", "2.5"));
}

TEST(AddMiscAttributes, Ekm_ConvertsTheKeys) {
  EXPECT_EQ(SummaryOf({{"Geometry", {"My Part"}}}, {{{"Time", 1U}}}, TevInfo::EkmMetaData),
            "        <data name=\"category\" value=\"Transient\"/>\n"
            "        <data name=\"numberofParts\" value=\"1\"/>\n"
            "        <data name=\"numberofCut-sections\" value=\"0\"/>\n"
            "        <data name=\"numberofIso-surfaces\" value=\"0\"/>\n"
            "        <data name=\"numberofIso-volumes\" value=\"0\"/>\n"
            "        <data name=\"numberofFlow-lines\" value=\"0\"/>\n"
            "        <data name=\"parts\" value=\"My Part\"/>\n"
            "        <data name=\"timeSteps\" value=\"1\"/>\n");
}

TEST(AddMiscAttributes, PartsListingThatIsEmpty_IsStillWritten) {
  EXPECT_EQ(SummaryOf({{"Geometry", {}}}, {}),
            Entry("Category", "Unknown") + kNoCounts + Entry("Parts", ""));
}

TEST(AddMiscAttributes, Texts_AreSortedByBytesAndWrittenOnce) {
  const ResultAttributeList results{{{"Result Name", "b"}, {"Title", "z"}},
                                    {{"Result Name", "a"}, {"Title", "y"}},
                                    {{"Result Name", "\xc3\xa4"}, {"Title", "y"}},
                                    {{"Result Name", "B"}},
                                    {{"Result Name", "b"}},
                                    {{"Result Name", "a b"}}};
  EXPECT_EQ(SummaryOf({}, results), Entry("Title", "y") + Entry("Category", "Unknown") + kNoCounts +
                                        Entry("Number of Results", "5") +
                                        Entry("Results", "B, a, a b, b, \xc3\xa4"));
}

TEST(AddMiscAttributes, EmptyTexts_CountButAreNotListedAlone) {
  EXPECT_EQ(
      SummaryOf({}, {{{"Result Name", ""}, {"Instance Name", ""}, {"Title", ""}, {"Time", ""}}}),
      Entry("Title", "") + Entry("Category", "Transient") + kNoCounts +
          Entry("Number of Results", "1") + Entry("Number of Instances", "1"));
  EXPECT_EQ(SummaryOf({}, {{{"Result Name", ""}}, {{"Result Name", "a"}}}),
            Entry("Category", "Unknown") + kNoCounts + Entry("Number of Results", "2") +
                Entry("Results", ", a"));
}

TEST(AddMiscAttributes, SeparatorsInInstanceNames_AreBlanks) {
  EXPECT_EQ(SummaryOf({}, {{{"Instance Name", "Time = 1\x1eTop\x1e"}},
                           {{"Instance Name", "Time = 1 Top "}},
                           {{"Result Name", "a\x1e"}}}),
            Entry("Category", "Unknown") + kNoCounts + Entry("Number of Results", "1") +
                Entry("Number of Instances", "1") + Entry("Results", "a\x1e") +
                Entry("Instances", "Time = 1 Top "));
}

TEST(AddMiscAttributes, ValuesOfEveryKind_AreShownAsText) {
  const ResultAttributeList results{{{"Time", 10U}, {"Frequency", 1234567.0F}},
                                    {{"Time", 0.1F}, {"Frequency", 1.0 / 3.0}},
                                    {{"Time", "1e0"}, {"Frequency", 4294967295U}},
                                    {{"Time", 2.0}, {"Frequency", -0.0F}}};
  EXPECT_EQ(SummaryOf({}, results),
            Entry("Category", "Frequency") + kNoCounts + Entry("Time Steps", "0.1, 10, 1e0, 2") +
                Entry("Frequencies", "-0, 0.333333, 1.23457e+06, 4294967295"));
}

TEST(Category, FirstRuleThatMatches_Wins) {
  AttributeMap attributes;
  EXPECT_EQ(CategoryOf({attributes}), "Unknown");
  attributes["Time"] = 1.0F;
  EXPECT_EQ(CategoryOf({attributes}), "Transient");
  attributes["Frequency"] = 1.0F;
  EXPECT_EQ(CategoryOf({attributes}), "Frequency");
  attributes["Mode"] = 1U;
  EXPECT_EQ(CategoryOf({attributes}), "Modal");
  attributes["LoadCase"] = 1U;
  EXPECT_EQ(CategoryOf({attributes}), "Structural");
  attributes["Category"] = "Thermal";
  EXPECT_EQ(CategoryOf({attributes}), "Thermal");
}

TEST(Category, EmptyTexts_CountLikeAnyOther) {
  EXPECT_EQ(CategoryOf({{{"Category", ""}, {"Mode", 1U}}}), "");
  EXPECT_EQ(CategoryOf({{{"LoadCase", ""}, {"Mode", 1U}}}), "Structural");
  EXPECT_EQ(CategoryOf({{{"Mode", ""}, {"Time", 1U}}}), "Modal");
}

TEST(Category, Several_TheSmallestTextCountsWhereverItStands) {
  EXPECT_EQ(CategoryOf({{{"Category", "b"}}, {{"Category", "B"}}, {{"Category", 7U}}}), "7");
  EXPECT_EQ(CategoryOf({{{"Category", "A"}}, {{"Category", "b"}}, {{"Category", "B"}}}), "A");
  EXPECT_EQ(CategoryOf({{{"Category", "b"}}, {{"Category", "A"}}, {{"Category", "B"}}}), "A");
}

TEST(Title, Several_TheSmallestTextCountsWhereverItStands) {
  const std::string rest = Entry("Category", "Unknown") + kNoCounts;
  EXPECT_EQ(SummaryOf({}, {{{"Title", "a"}}, {{"Title", "c"}}, {{"Title", "b"}}}),
            Entry("Title", "a") + rest);
  EXPECT_EQ(SummaryOf({}, {{{"Title", "c"}}, {{"Title", "a"}}, {{"Title", "b"}}}),
            Entry("Title", "a") + rest);
  EXPECT_EQ(SummaryOf({}, {{{"Title", "c"}}, {{"Title", "b"}}, {{"Title", "a"}}}),
            Entry("Title", "a") + rest);
}

TEST(Category, RulesLookAtAllResults) {
  EXPECT_EQ(CategoryOf({{{"Time", 1U}}, {{"Mode", 1U}}}), "Modal");
  EXPECT_EQ(CategoryOf({{{"Label", "L"}, {"Subtitle", "S"}}}), "Unknown");
}

/// Both ways from a model to its summary, through the lists of the given functions and through the
/// facts, must come to the same.
class SummaryOfAModel : public ::testing::Test {
 protected:
  SummaryOfAModel()
      : group(model.AddGroup("Geometry", model.AddGroup("root", 0))),
        mesh(model.AddGeometry("mesh", model.AddShape("Frame", group))) {}

  void AddResult(std::string_view name, AttributeSet attributes = {}) {
    model.AddVariable(mesh, Variable::Floats(name, kScalarResult, 1, {1}, std::move(attributes)));
  }

  void ExpectSummary(const std::string& expected) const {
    OpenedModel opened(model);
    GroupListing groups;
    ResultAttributeList results;
    TevInfo fromLists;
    TevInfo fromFacts;
    fromLists.setFormat(TevInfo::NativeMetaData);
    fromFacts.setFormat(TevInfo::NativeMetaData);
    extractPartsAndResults(opened.tree, fromLists, groups, results);
    addMiscAttributes(fromLists, groups, results);
    const ModelFacts facts = LbtTev::Report::GatherModelFacts(opened.tree);
    LbtTev::Report::AddSummary(fromFacts, facts.summary);
    EXPECT_TRUE(facts.failures.empty());
    EXPECT_EQ(fromLists.metadata, expected);
    EXPECT_EQ(fromFacts.metadata, expected);
  }

  ModelWriter model;

  const NodeRef group;
  const NodeRef mesh;
  const std::string counts =
      Entry("Number of Parts", "1") + kNoCounts.substr(kNoCounts.find('\n') + 1);
};

TEST_F(SummaryOfAModel, SameResultOnSeveralGeometries_CountsOnce) {
  AddResult("Stress\x1eTop");
  AddResult("Stress\x1eTop");
  AddResult(
      "Stress\x1e"
      "Bottom\x1eInner");
  AddResult("Strain\x1e");
  ExpectSummary(Entry("Category", "Unknown") + counts + Entry("Number of Results", "2") +
                Entry("Number of Instances", "2") + Entry("Parts", "Frame") +
                Entry("Results", "Strain, Stress") + Entry("Instances", "Bottom Inner, Top"));
}

TEST_F(SummaryOfAModel, AttributesCalledLikeTheNames_AreHiddenByThem) {
  AddResult("Stress\x1eTop",
            {Attribute::Text("Result Name", "hidden"), Attribute::Text("Instance Name", "hidden")});
  AddResult("Strain", {Attribute::Text("Result Name", "hidden"),
                       Attribute::Text("Instance Name", "else\x1ewhere")});
  ExpectSummary(Entry("Category", "Unknown") + counts + Entry("Number of Results", "2") +
                Entry("Number of Instances", "2") + Entry("Parts", "Frame") +
                Entry("Results", "Strain, Stress") + Entry("Instances", "Top, else where"));
}

TEST_F(SummaryOfAModel, AttributesOfAllResults_AreSummedUp) {
  AddResult("a", {Attribute::Text("Title", "t2"), Attribute::Float("Time", 10)});
  AddResult("b", {Attribute::Text("Title", "t1"), Attribute::Double("Time", 2.5),
                  Attribute::Uint("Mode", 1)});
  AddResult("c", {Attribute::Uint("Frequency", 50), Attribute::Text("Contents", "dropped")});
  ExpectSummary(Entry("Title", "t1") + Entry("Category", "Modal") + counts +
                Entry("Number of Results", "3") + Entry("Parts", "Frame") +
                Entry("Results", "a, b, c") + Entry("Time Steps", "10, 2.5") +
                Entry("Frequencies", "50"));
}

TEST_F(SummaryOfAModel, SameAttributesAfterAVariableWithAnInstance_TellTheirInstance) {
  const AttributeSet attributes{Attribute::Text("Instance Name", "of the set")};
  AddResult("a\x1eTop", attributes);
  AddResult("b", attributes);
  AddResult("c\x1eTop", attributes);
  ExpectSummary(Entry("Category", "Unknown") + counts + Entry("Number of Results", "3") +
                Entry("Number of Instances", "2") + Entry("Parts", "Frame") +
                Entry("Results", "a, b, c") + Entry("Instances", "Top, of the set"));
}

TEST_F(SummaryOfAModel, GeometryOfSeveralShapes_CountsOnceWhereverItsOwnShapeComes) {
  AddResult("a\x1eTop", {Attribute::Text("Title", "t")});
  const NodeRef before = model.AddShape("Other", group);
  const NodeRef late = model.AddGeometry("late", model.AddShape("Own", group));
  model.AddVariable(late, Variable::Floats("b", kScalarResult, 1, {1}));
  model.At(before).firstChild = late;
  model.At(model.AddShape("Third", group)).firstChild = late;
  model.At(model.AddShape("Fourth", group)).firstChild = mesh;
  ExpectSummary(Entry("Title", "t") + Entry("Category", "Unknown") + Entry("Number of Parts", "5") +
                kNoCounts.substr(kNoCounts.find('\n') + 1) + Entry("Number of Results", "2") +
                Entry("Number of Instances", "1") +
                Entry("Parts", "Frame, Other, Own, Third, Fourth") + Entry("Results", "a, b") +
                Entry("Instances", "Top"));
}

TEST_F(SummaryOfAModel, LongNames_AreTheSameAfter256Characters) {
  AddResult(std::string(256, 'r') + "1\x1e" + std::string(256, 'i') + "1");
  AddResult(std::string(256, 'r') + "2\x1e" + std::string(256, 'i') + "2");
  ExpectSummary(Entry("Category", "Unknown") + counts + Entry("Number of Results", "1") +
                Entry("Number of Instances", "1") + Entry("Parts", "Frame") +
                Entry("Results", std::string(256, 'r')) +
                Entry("Instances", std::string(256, 'i')));
}

TEST_F(SummaryOfAModel, MeshVariables_GiveNoResultsAndNoAttributes) {
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 0},
                                           {Attribute::Text("Title", "none")}));
  model.AddVariable(mesh,
                    Variable::Floats("Node Ids", kIds, 1, {1}, {Attribute::Float("Time", 1)}));
  ExpectSummary(Entry("Category", "Unknown") + counts + Entry("Parts", "Frame"));
}

}  // namespace
}  // namespace tevtest
