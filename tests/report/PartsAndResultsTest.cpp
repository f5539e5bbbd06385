// Parts and results that are gathered from a tree.

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "Lbt/Tev/TevInfo/Given.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "report/OpenedModel.h"
#include "support/Mask.h"
#include "support/ModelWriter.h"

namespace tevtest {
namespace {

using LbtTev::Report::GeometryAssertion;
using LbtTev::Report::GroupListing;
using LbtTev::Report::ResultAttributeList;

/// What extractPartsAndResults leaves.
struct Gathered {
  explicit Gathered(const ModelWriter& model, TevInfo::Format format = TevInfo::NativeMetaData) {
    OpenedModel opened(model);
    info.setFormat(format);
    ::testing::internal::CaptureStderr();
    extractPartsAndResults(opened.tree, info, groups, results);
    error = MaskException(::testing::internal::GetCapturedStderr());
  }

  /// The text of an attribute of one result; "none" where it has none.
  [[nodiscard]] std::string Text(std::size_t result, const std::string& attribute) const {
    const auto found = results.at(result).find(attribute);
    return found == results.at(result).end() ? "none" : found->second.GetAttributeString();
  }

  [[nodiscard]] std::vector<std::string> ResultNames() const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < results.size(); ++i)
      names.push_back(Text(i, "Result Name"));
    return names;
  }

  TevInfo info;
  GroupListing groups;
  ResultAttributeList results;
  std::string error;
};

const std::string kNotFound =
    ExpectedFailure("Element Not Found", "Element Not Found", "include/Lbt/Adt/AdtTree");

/// A shape with a geometry of one variable under "parent".
NodeRef AddPart(ModelWriter& model, std::string_view name, NodeRef parent) {
  const NodeRef shape = model.AddShape(name, parent);
  const NodeRef mesh = model.AddGeometry(std::string(name) + " mesh", shape);
  model.AddVariable(mesh, Variable::Floats("Stress", kScalarResult, 1, {1.5F}));
  return shape;
}

/// The listing of one shape "S" below groups of the given names, from the top; and the part name,
/// as its data set shows it.
struct Placed {
  explicit Placed(const std::vector<std::string>& groupNames) {
    ModelWriter model;
    NodeRef parent = 0;
    for (const std::string& name : groupNames)
      parent = model.AddGroup(name, parent);
    AddPart(model, "S", parent);
    const Gathered gathered(model, TevInfo::ExtractData);
    EXPECT_EQ(gathered.error, "");
    listing = gathered.groups;
    part = gathered.info.datasets.at(0).group;
  }

  GroupListing listing;
  std::string part;
};

TEST(Listing, DirectlyUnderGeometry_BelongsToThePartAbove) {
  const Placed placed({"root", "Frame", "Geometry"});
  EXPECT_EQ(placed.listing, (GroupListing{{"Geometry", {"S"}}}));
  EXPECT_EQ(placed.part, "Frame");
}

TEST(Listing, OneLevelBelowGeometry_CountsThereToo) {
  const Placed placed({"root", "Frame", "Geometry", "Solids"});
  EXPECT_EQ(placed.listing, (GroupListing{{"Geometry", {"S"}}, {"Solids", {"S"}}}));
  EXPECT_EQ(placed.part, "Frame");
}

TEST(Listing, TwoLevelsBelowGeometry_DoesNotCountThere) {
  const Placed placed({"root", "Geometry", "Solids", "Inner"});
  EXPECT_EQ(placed.listing, (GroupListing{{"Inner", {"S"}}}));
  EXPECT_EQ(placed.part, "Solids");
}

TEST(Listing, OtherKindsOfGroups_ListTheirOwnShapes) {
  for (const char* kind : {"Cut-Sections", "Iso-Surfaces", "Iso-Volumes", "Flow Lines", "Other"}) {
    const Placed placed({"root", "Frame", kind});
    EXPECT_EQ(placed.listing, (GroupListing{{kind, {"S"}}}));
    EXPECT_EQ(placed.part, "Frame");
  }
}

TEST(Listing, OneLevelBelowAnotherKind_ListsOnlyTheGroupItself) {
  const Placed placed({"root", "Frame", "Cut-Sections", "X"});
  EXPECT_EQ(placed.listing, (GroupListing{{"X", {"S"}}}));
  EXPECT_EQ(placed.part, "Cut-Sections");
}

TEST(Listing, GeometryInGeometry_CountsOnce) {
  const Placed placed({"root", "Geometry", "Geometry"});
  EXPECT_EQ(placed.listing, (GroupListing{{"Geometry", {"S"}}}));
  EXPECT_EQ(placed.part, "Geometry");
}

TEST(Listing, GeometryAtTheTop_IsThePartItself) {
  const Placed placed({"Geometry"});
  EXPECT_EQ(placed.listing, (GroupListing{{"Geometry", {"S"}}}));
  EXPECT_EQ(placed.part, "Geometry");
}

TEST(Listing, OneLevelBelowGeometryAtTheTop_DoesNotCountThere) {
  const Placed placed({"Geometry", "Solids"});
  EXPECT_EQ(placed.listing, (GroupListing{{"Solids", {"S"}}}));
  EXPECT_EQ(placed.part, "Geometry");
}

TEST(Listing, NoGroupAboveTheParent_KeepsTheParentsName) {
  const Placed placed({"Solids"});
  EXPECT_EQ(placed.listing, (GroupListing{{"Solids", {"S"}}}));
  EXPECT_EQ(placed.part, "Solids");
}

TEST(Listing, NamesAreCaseSensitive) {
  const Placed placed({"root", "Frame", "geometry"});
  EXPECT_EQ(placed.listing, (GroupListing{{"geometry", {"S"}}}));
}

TEST(Listing, ShapesStandInOrderOfTheirIdsAndAsOftenAsTheyOccur) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  const NodeRef first = model.AddGroup("Geometry", root);
  const NodeRef second = model.AddGroup("Geometry", root);
  AddPart(model, "Z", second);
  AddPart(model, "A", first);
  AddPart(model, "Z", first);
  EXPECT_EQ(Gathered(model).groups, (GroupListing{{"Geometry", {"Z", "A", "Z"}}}));
}

TEST(Listing, ShapeWithoutAParent_IsListedNowhere) {
  ModelWriter model;
  model.AddGroup("root", 0);
  AddPart(model, "Free", 0);
  model.At(AddPart(model, "Lost", 1)).parent = 999;
  const Gathered gathered(model, TevInfo::ExtractData);
  EXPECT_EQ(gathered.error, "");
  EXPECT_TRUE(gathered.groups.empty());
  ASSERT_EQ(gathered.info.datasets.size(), 2U);
  EXPECT_EQ(gathered.info.datasets[0].group, "");
  EXPECT_EQ(gathered.info.datasets[1].group, "");
}

TEST(Listing, ParentThatIsNoGroup_LeavesTheGroupAboveIt) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  const NodeRef geometry = model.AddGroup("Geometry", root);
  const NodeRef probe = model.AddFuture("Probe", "p", geometry, "");
  AddPart(model, "S", probe);
  AddPart(model, "T", model.AddEmpty("nothing", root));
  const Gathered gathered(model, TevInfo::ExtractData);
  EXPECT_EQ(gathered.error, "");
  EXPECT_EQ(gathered.groups, (GroupListing{{"Geometry", {"S"}}}));
  ASSERT_EQ(gathered.info.datasets.size(), 2U);
  EXPECT_EQ(gathered.info.datasets[0].group, "root");
  EXPECT_EQ(gathered.info.datasets[1].group, "root");
}

TEST(Listing, ParentsThatRunInACircle_AreFollowedNoFurther) {
  ModelWriter model;
  const NodeRef group = model.AddGroup("Geometry", 0);
  model.At(group).parent = group;
  AddPart(model, "S", group);
  EXPECT_EQ(Gathered(model).groups, (GroupListing{{"Geometry", {"S"}}}));
}

/// A model with one geometry of the given variables.
ModelWriter ModelOf(const std::vector<Variable>& variables) {
  ModelWriter model;
  const NodeRef shape = model.AddShape("S", model.AddGroup("Geometry", model.AddGroup("root", 0)));
  const NodeRef mesh = model.AddGeometry("mesh", shape);
  for (const Variable& variable : variables)
    model.AddVariable(mesh, variable);
  return model;
}

Variable Scalar(std::string_view name, std::uint32_t type = kScalarResult,
                AttributeSet attributes = {}) {
  return Variable::Floats(name, type, 1, {1}, std::move(attributes));
}

TEST(Results, TypesAboveEleven_AreResults) {
  EXPECT_EQ(Gathered(ModelOf({Scalar("a", 11), Scalar("b", 12), Scalar("c", 13), Scalar("d", 0),
                              Scalar("e", 255), Scalar("f", 0xFFFFFFFF)}))
                .ResultNames(),
            (std::vector<std::string>{"b", "c", "e", "f"}));
}

TEST(Results, NodeIdsAndElementIDs_AreNone) {
  EXPECT_EQ(Gathered(ModelOf({Scalar("Node Ids"), Scalar("Element IDs"), Scalar("Node Ids\x1ex"),
                              Scalar("Element IDs\x1e", 200), Scalar("Element Ids"),
                              Scalar("node Ids"), Scalar("Node Ids ")}))
                .ResultNames(),
            (std::vector<std::string>{"Element Ids", "node Ids", "Node Ids "}));
}

TEST(Results, NameAndInstance_AreAddedToTheAttributes) {
  const Gathered gathered(
      ModelOf({Scalar("Stress\x1eTime = 1\x1eTop", kScalarResult,
                      {Attribute::Text("Title", "T"), Attribute::Uint("Mode", 3),
                       Attribute::Float("Time", 0.1F), Attribute::Double("Frequency", 1e-7)})}));
  ASSERT_EQ(gathered.results.size(), 1U);
  EXPECT_EQ(gathered.results[0].size(), 6U);
  EXPECT_EQ(gathered.Text(0, "Result Name"), "Stress");
  EXPECT_EQ(gathered.Text(0, "Instance Name"), "Time = 1\x1eTop");
  EXPECT_EQ(gathered.Text(0, "Title"), "T");
  EXPECT_EQ(gathered.Text(0, "Mode"), "3");
  EXPECT_EQ(gathered.Text(0, "Time"), "0.1");
  EXPECT_EQ(gathered.Text(0, "Frequency"), "1e-07");
}

TEST(Results, TextsOfASecondList_TakeThePlaceOfThoseOfTheFirst) {
  // The same names with longer, shorter and fewer texts than the set before has.
  const Gathered gathered(ModelOf(
      {Scalar("a", kScalarResult,
              {Attribute::Text("Title", "first title"), Attribute::Text("Label", "first label")}),
       Scalar("b", kScalarResult, {Attribute::Text("Title", "2"), Attribute::Text("Label", "l2")}),
       Scalar("c", kScalarResult, {Attribute::Text("Label", "label of the third")})}));
  EXPECT_EQ(gathered.Text(0, "Title"), "first title");
  EXPECT_EQ(gathered.Text(0, "Label"), "first label");
  EXPECT_EQ(gathered.Text(1, "Title"), "2");
  EXPECT_EQ(gathered.Text(1, "Label"), "l2");
  EXPECT_EQ(gathered.Text(2, "Title"), "none");
  EXPECT_EQ(gathered.Text(2, "Label"), "label of the third");
}

TEST(Results, SeparatorAtTheEnd_GivesNoInstanceName) {
  const Gathered gathered(ModelOf({Scalar("Stress\x1e"), Scalar("Strain")}));
  EXPECT_EQ(gathered.Text(0, "Result Name"), "Stress");
  EXPECT_EQ(gathered.Text(0, "Instance Name"), "none");
  EXPECT_EQ(gathered.Text(1, "Instance Name"), "none");
}

TEST(Results, AttributesOfTheSameNames_AreReplacedByTheVariablesName) {
  const AttributeSet attributes{Attribute::Uint("Result Name", 1),
                                Attribute::Uint("Instance Name", 2)};
  const Gathered gathered(ModelOf({Scalar("Stress\x1eTop", kScalarResult, attributes),
                                   Scalar("Strain", kScalarResult, attributes)}));
  EXPECT_EQ(gathered.Text(0, "Result Name"), "Stress");
  EXPECT_EQ(gathered.Text(0, "Instance Name"), "Top");
  EXPECT_EQ(gathered.Text(1, "Result Name"), "Strain");
  EXPECT_EQ(gathered.Text(1, "Instance Name"), "2");
}

TEST(Results, LongNames_KeepTheirFirst256Characters) {
  const std::string result(300, 'r');
  const std::string instance(257, 'i');
  const Gathered gathered(ModelOf({Scalar(result + "\x1e" + instance)}));
  EXPECT_EQ(gathered.Text(0, "Result Name"), result.substr(0, 256));
  EXPECT_EQ(gathered.Text(0, "Instance Name"), instance.substr(0, 256));
}

TEST(Results, LinkedVariable_IsAResultWithoutAttributes) {
  ModelWriter model = ModelOf({Scalar("Stress", kScalarResult, {Attribute::Text("Title", "T")})});
  const NodeRef shape = model.AddShape("T", 1);
  const NodeRef mesh = model.AddGeometry("other", shape);
  model.AddVariable(mesh, Variable::Link("Stress\x1eTop", kScalarResult, 4, 0,
                                         {Attribute::Text("Title", "lost")}));
  const Gathered gathered(model);
  ASSERT_EQ(gathered.results.size(), 2U);
  EXPECT_EQ(gathered.Text(0, "Title"), "T");
  EXPECT_EQ(gathered.Text(1, "Title"), "none");
  EXPECT_EQ(gathered.Text(1, "Instance Name"), "Top");
}

TEST(ExtractPartsAndResults, WithoutDataExtraction_LoadsNoData) {
  for (const auto format : {TevInfo::NativeMetaData, TevInfo::EkmMetaData}) {
    EXPECT_TRUE(Gathered(ModelOf({Scalar("a")}), format).info.datasets.empty());
  }
}

TEST(ExtractPartsAndResults, ShapeWithoutAGeometry_EndsTheWalkAndKeepsWhatCameBefore) {
  for (const std::uint32_t child : {0U, 999U}) {
    SCOPED_TRACE(child);
    ModelWriter model;
    const NodeRef group = model.AddGroup("Geometry", model.AddGroup("root", 0));
    AddPart(model, "A", group);
    model.At(AddPart(model, "B", group)).firstChild = child;
    AddPart(model, "C", group);
    const Gathered gathered(model, TevInfo::ExtractData);
    EXPECT_EQ(gathered.error, kNotFound);
    EXPECT_EQ(gathered.groups, (GroupListing{{"Geometry", {"A", "B"}}}));
    EXPECT_EQ(gathered.results.size(), 1U);
    EXPECT_EQ(gathered.info.datasets.size(), 1U);
  }
}

TEST(ExtractPartsAndResults, FirstChildThatIsNoGeometry_IsAnAssertionAndNoException) {
  static_assert(!std::is_base_of_v<std::exception, GeometryAssertion>);
  EXPECT_STREQ(GeometryAssertion::kExpression, "0 != pTevGeometry");
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  const NodeRef shape = AddPart(model, "A", root);
  for (const NodeRef child :
       {root, shape, model.AddEmpty("nothing", root), model.AddFuture("Probe", "p", root, "")}) {
    model.At(shape).firstChild = child;
    EXPECT_THROW(Gathered{model}, GeometryAssertion);
    ::testing::internal::GetCapturedStderr();
  }
}

TEST(ExtractPartsAndResults, FurtherChildren_AreNotLookedAt) {
  ModelWriter model = ModelOf({Scalar("a")});
  const NodeRef second = model.AddGeometry("second", 3);
  model.AddVariable(second, Scalar("b"));
  EXPECT_EQ(Gathered(model).ResultNames(), std::vector<std::string>{"a"});
}

TEST(ExtractPartsAndResults, GeometryOfTwoShapes_CountsForEach) {
  ModelWriter model = ModelOf({Scalar("a"), Scalar("b")});
  model.At(model.AddShape("T", 2)).firstChild = 4;
  const Gathered gathered(model, TevInfo::ExtractData);
  EXPECT_EQ(gathered.ResultNames(), (std::vector<std::string>{"a", "b", "a", "b"}));
  EXPECT_EQ(gathered.groups, (GroupListing{{"Geometry", {"S", "T"}}}));
  EXPECT_EQ(gathered.info.datasets.size(), 4U);
}

TEST(ExtractPartsAndResults, ListsWithSomethingInThem_AreAppendedTo) {
  OpenedModel first(ModelOf({Scalar("a", kScalarResult, {Attribute::Text("Title", "old text")})}));
  OpenedModel second(ModelOf({Scalar("b", kScalarResult, {Attribute::Text("Title", "new")})}));
  TevInfo info;
  info.setFormat(TevInfo::ExtractData);
  GroupListing groups;
  ResultAttributeList results;
  extractPartsAndResults(first.tree, info, groups, results);
  extractPartsAndResults(second.tree, info, groups, results);
  EXPECT_EQ(groups, (GroupListing{{"Geometry", {"S", "S"}}}));
  EXPECT_EQ(info.datasets.size(), 2U);
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(results[0].at("Title").GetAttributeString(), "old text");
  EXPECT_EQ(results[1].at("Title").GetAttributeString(), "new");
}

TEST(ExtractPartsAndResults, ModelWithoutShapes_GivesNothing) {
  ModelWriter model;
  model.AddGeometry("alone", model.AddGroup("Geometry", 0));
  const Gathered gathered(model, TevInfo::ExtractData);
  EXPECT_EQ(gathered.error, "");
  EXPECT_TRUE(gathered.groups.empty());
  EXPECT_TRUE(gathered.results.empty());
  EXPECT_TRUE(gathered.info.datasets.empty());
}

TEST(ExtractRootNodeAttributes, RootGroup_GivesItsAttributes) {
  ModelWriter model;
  model.AddGroup("root", 0, {Attribute::Text("a", "1"), Attribute::Uint("b", 2)});
  OpenedModel opened(model);
  LbtUtil::AttributeMap attributes{{"a", "former"}, {"c", "kept"}};
  extractRootNodeAttributes(opened.tree, attributes);
  ASSERT_EQ(attributes.size(), 3U);
  EXPECT_EQ(attributes.at("a").GetAttributeString(), "1");
  EXPECT_EQ(attributes.at("b").GetAttributeString(), "2");
  EXPECT_EQ(attributes.at("c").GetAttributeString(), "kept");
}

TEST(ExtractRootNodeAttributes, RootWithAnotherId_IsNotTheRoot) {
  ModelWriter model;
  model.At(model.AddGroup("root", 0, {Attribute::Text("a", "1")})).id = 5;
  OpenedModel opened(model);
  LbtUtil::AttributeMap attributes;
  extractRootNodeAttributes(opened.tree, attributes);
  EXPECT_TRUE(attributes.empty());
}

TEST(ExtractRootNodeAttributes, RootThatIsNoGroup_GivesNoneAndNoMessage) {
  ModelWriter probe;
  probe.AddFuture("Probe", "p", 0, "");
  OpenedModel opened(probe);
  LbtTev::Tree empty;
  LbtUtil::AttributeMap attributes;
  ::testing::internal::CaptureStderr();
  extractRootNodeAttributes(opened.tree, attributes);
  extractRootNodeAttributes(empty, attributes);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(attributes.empty());
}

}  // namespace
}  // namespace tevtest
