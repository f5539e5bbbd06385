// Loading a file under a node of a tree that is there.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/NodeSets.h"
#include "Lbt/Tev/Tree.h"
#include "ModelOnDisk.h"
#include "TraceText.h"
#include "support/SmallModel.h"

namespace LbtTev {
namespace {

using tevtest::FailureOf;
using tevtest::LinksOf;
using tevtest::LoadedTree;
using tevtest::ModelOnDisk;
using tevtest::ModelWriter;
using tevtest::NodeRef;
using tevtest::Variable;

using Ids = std::vector<unsigned int>;
using BlockMap = std::map<unsigned int, unsigned int>;

/// Root, id 1, with the children 2 and 3.
ModelWriter Host() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("host", 0);
  model.AddGroup("host 2", root);
  model.AddGroup("host 3", root);
  return model;
}

/// Root, id 1, with the children 2 and 4; 3 is the child of 2.
ModelWriter Guest() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("guest", 0);
  const NodeRef child = model.AddGroup("guest 2", root);
  model.AddGroup("guest 3", child);
  model.AddGroup("guest 4", root);
  return model;
}

/// A model loaded into "tree" below "parentId"; its file stays open.
struct Graft {
  Graft(Tree& tree, const ModelWriter& model, unsigned int parentId) : disk(model.Build()) {
    tree.LoadTree(disk.File(), blockMap, parentId, true);
  }

  ModelOnDisk disk;
  BlockMap blockMap;
};

std::string FailureOfGrafting(Tree& tree, const ModelWriter& model, unsigned int parentId) {
  return FailureOf([&] { Graft(tree, model, parentId); });
}

std::string NameAt(const Tree& tree, unsigned int id) { return tree.GetReqNode(id).data->name; }

TEST(TreeGraft, UnderTheBareRoot_BecomesItsOnlyChild) {
  Tree tree;
  const Graft graft(tree, Guest(), 1);
  EXPECT_EQ(LinksOf(tree, 1), (Ids{0, 0, 0, 2, 2}));
  EXPECT_EQ(tree.GetReqNode(1).data, nullptr);
  EXPECT_EQ(LinksOf(tree, 2), (Ids{1, 0, 0, 3, 5}));
  EXPECT_EQ(LinksOf(tree, 3), (Ids{2, 0, 5, 4, 4}));
  EXPECT_EQ(LinksOf(tree, 4), (Ids{3, 0, 0, 0, 0}));
  EXPECT_EQ(LinksOf(tree, 5), (Ids{2, 3, 0, 0, 0}));
  EXPECT_EQ(NameAt(tree, 2), "guest");
  EXPECT_EQ(NameAt(tree, 5), "guest 4");
  EXPECT_EQ(graft.blockMap, (BlockMap{{2, 1}, {3, 2}, {4, 3}, {5, 4}}));
  EXPECT_EQ(tree.GetNextId(), 6U);
  EXPECT_EQ(tree.GetCurrentId(), 2U);
}

TEST(TreeGraft, UnderANodeWithChildren_BecomesItsLastChild) {
  LoadedTree host(Host());
  const Graft graft(host.tree, Guest(), 1);
  EXPECT_EQ(LinksOf(host.tree, 1), (Ids{0, 0, 0, 2, 4}));
  EXPECT_EQ(LinksOf(host.tree, 3), (Ids{1, 2, 4, 0, 0}));
  EXPECT_EQ(LinksOf(host.tree, 4), (Ids{1, 3, 0, 5, 7}));
  EXPECT_EQ(LinksOf(host.tree, 7), (Ids{4, 5, 0, 0, 0}));
  EXPECT_EQ(NameAt(host.tree, 1), "host");
  EXPECT_EQ(NameAt(host.tree, 4), "guest");
  EXPECT_EQ(graft.blockMap, (BlockMap{{4, 1}, {5, 2}, {6, 3}, {7, 4}}));
  EXPECT_EQ(host.tree.GetNextId(), 8U);
}

TEST(TreeGraft, UnderAChild_LeavesTheRootAlone) {
  LoadedTree host(Host());
  const Graft graft(host.tree, Guest(), 2);
  EXPECT_EQ(LinksOf(host.tree, 1), (Ids{0, 0, 0, 2, 3}));
  EXPECT_EQ(LinksOf(host.tree, 2), (Ids{1, 0, 3, 4, 4}));
  EXPECT_EQ(LinksOf(host.tree, 4), (Ids{2, 0, 0, 5, 7}));
}

TEST(TreeGraft, OneAfterAnother_ShiftsByWhatIsThere) {
  Tree tree;
  const Graft first(tree, Guest(), 1);
  const Graft second(tree, Guest(), 1);
  EXPECT_EQ(LinksOf(tree, 1), (Ids{0, 0, 0, 2, 6}));
  EXPECT_EQ(LinksOf(tree, 2), (Ids{1, 0, 6, 3, 5}));
  EXPECT_EQ(LinksOf(tree, 6), (Ids{1, 2, 0, 7, 9}));
  EXPECT_EQ(second.blockMap, (BlockMap{{6, 1}, {7, 2}, {8, 3}, {9, 4}}));
  EXPECT_EQ(tree.GetNextId(), 10U);
}

TEST(TreeGraft, TheFirstRecord_KeepsOnlyItsLinksForwardAndDown) {
  ModelWriter guest = Guest();
  guest.At(1).parent = 9;
  guest.At(1).previousSibling = 8;
  guest.At(1).nextSibling = 7;
  LoadedTree host(Host());
  const Graft graft(host.tree, guest, 1);
  EXPECT_EQ(LinksOf(host.tree, 4), (Ids{1, 3, 10, 5, 7}));
}

TEST(TreeGraft, TheFirstRecord_TakesTheNextIdWhateverItsOwn) {
  ModelWriter guest;
  guest.AddGroup("guest", 0);
  guest.At(1).id = 50;
  LoadedTree host(Host());
  const Graft graft(host.tree, guest, 1);
  EXPECT_EQ(NameAt(host.tree, 4), "guest");
  EXPECT_EQ(graft.blockMap, (BlockMap{{53, 50}}));
  EXPECT_EQ(host.tree.FindNode(53), nullptr);
  EXPECT_EQ(host.tree.GetNextId(), 5U);
}

TEST(TreeGraft, LaterRecordsWithoutParent_NameTheGraftedOnesParent) {
  ModelWriter guest = Guest();
  guest.At(3).parent = 0;
  LoadedTree host(Host());
  const Graft graft(host.tree, guest, 2);
  EXPECT_EQ(LinksOf(host.tree, 6), (Ids{2, 0, 0, 0, 0}));
}

TEST(TreeGraft, NodeSetsAsFirstRecordUnderTheBareRoot_AreReadWhateverTheirOwnId) {
  ModelWriter guest;
  guest.AddNodeSets("sets", 0, {{"Fixed", {{1, 1}}}});
  guest.At(1).id = 50;
  Tree tree;
  const Graft graft(tree, guest, 1);
  const auto& sets = dynamic_cast<const NodeSets&>(*tree.GetReqNode(2).data).sets;
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(sets[0].name, "Fixed");
}

TEST(TreeGraft, LinksOf0_StayNone) {
  ModelWriter guest;
  guest.AddGroup("guest", 0);
  guest.AddGroup("alone", 0);
  LoadedTree host(Host());
  const Graft graft(host.tree, guest, 1);
  EXPECT_EQ(LinksOf(host.tree, 4), (Ids{1, 3, 0, 0, 0}));
  EXPECT_EQ(LinksOf(host.tree, 5), (Ids{1, 0, 0, 0, 0}));
}

TEST(TreeGraft, UnderAnIdThatWasNeverGiven_LogsAndFailsAtTheFirstRecord) {
  LoadedTree host(Host());
  const tevtest::TraceText trace;
  for (const unsigned int parent : {4U, 5U, 0xFFFFFFFFU}) {
    EXPECT_EQ(FailureOfGrafting(host.tree, Guest(), parent), tevtest::kMissingEntry) << parent;
  }
  EXPECT_NE(tevtest::MaskLog(trace.Lines()).find("AdtTree : # @ Element Not Found\n"),
            std::string::npos);
  EXPECT_EQ(host.tree.GetNodes().size(), 3U);
  EXPECT_EQ(host.tree.GetNextId(), 4U);
}

TEST(TreeGraft, OfAFileWithoutRecords_NeedsNoParent) {
  LoadedTree host(Host());
  EXPECT_EQ(FailureOfGrafting(host.tree, ModelWriter(), 99), "no failure");
  EXPECT_EQ(host.tree.GetNodes().size(), 3U);
}

TEST(TreeGraft, UnderAnAbsentIdBelowTheNextOne_FailsBeforeAnIdIsTaken) {
  ModelWriter model = Host();
  model.At(3).id = 30;
  LoadedTree host(model);
  EXPECT_EQ(FailureOfGrafting(host.tree, Guest(), 20), tevtest::kMissingEntry);
  EXPECT_EQ(host.tree.GetNodes().size(), 3U);
  EXPECT_EQ(host.tree.GetNextId(), 31U);
}

TEST(TreeGraft, AfterALastChildThatIsMissing_FailsBeforeAnIdIsTaken) {
  ModelWriter model = Host();
  model.At(1).lastChild = 77;
  LoadedTree host(model);
  EXPECT_EQ(FailureOfGrafting(host.tree, Guest(), 1), tevtest::kMissingEntry);
  EXPECT_EQ(LinksOf(host.tree, 1), (Ids{0, 0, 0, 2, 77}));
  EXPECT_EQ(host.tree.GetNextId(), 4U);
}

/// A mesh, id 2, whose second variable links to the first one of "linkedNode".
ModelWriter Linked(unsigned int linkedNode) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddGroup("root", 0));
  model.AddVariable(mesh, Variable::Uints("own", 13, 1, {7}));
  model.AddVariable(mesh, Variable::Link("link", 13, linkedNode, 0));
  return model;
}

TEST(TreeGraft, LinksBetweenVariables_AreShiftedAsIdsAre) {
  LoadedTree host(Host());
  const Graft graft(host.tree, Linked(2), 1);
  auto& variables = host.At<Geometry>(5).variables;
  EXPECT_EQ(variables[1].linkNodeId, 5U);
  EXPECT_EQ(variables[1].linkVariableIndex, 0U);
  EXPECT_TRUE(variables[1].attributes.empty());
  host.tree.UpdateLinkedBuffers();
  EXPECT_EQ(variables[1].array.loader, variables[0].array.loader);
  EXPECT_NE(variables[1].array.loader, nullptr);
}

TEST(TreeGraft, AVariableLinkedToId0_StaysWithoutTarget) {
  // Shifted, the link would meet the last node that was there before.
  LoadedTree host(Linked(2));
  const Graft graft(host.tree, Linked(0), 1);
  auto& variables = host.At<Geometry>(4).variables;
  EXPECT_EQ(variables[1].linkNodeId, 0U);
  host.tree.UpdateLinkedBuffers();
  EXPECT_EQ(variables[1].array.loader, nullptr);
}

TEST(TreeGraft, ASecondWholeModel_ReplacesTheNodesOfItsIds) {
  LoadedTree loaded(Guest());
  const Graft second(loaded.tree, Host(), 0);
  EXPECT_EQ(NameAt(loaded.tree, 1), "host");
  EXPECT_EQ(NameAt(loaded.tree, 3), "host 3");
  EXPECT_EQ(NameAt(loaded.tree, 4), "guest 4");
  EXPECT_EQ(LinksOf(loaded.tree, 1), (Ids{0, 0, 0, 2, 3}));
  EXPECT_EQ(loaded.tree.GetNextId(), 5U);
}

TEST(TreeGraft, VariablesOfEarlierLoads_KeepTheirLoaders) {
  LoadedTree loaded(tevtest::SmallModel());
  const auto before = loaded.At<Geometry>(4).variables[1].array.loader;
  const Graft graft(loaded.tree, tevtest::SmallModel(), 2);
  EXPECT_EQ(loaded.At<Geometry>(4).variables[1].array.loader, before);
  EXPECT_EQ(loaded.At<NodeSets>(14).sets.size(), 2U);
}

TEST(TreeGraft, NodeSetsOfEarlierLoads_AreReadAgainFromTheNewFile) {
  ModelWriter first;
  first.AddNodeSets("sets", 0, {{"Old", {{1, 1}}}});
  ModelWriter second;
  second.AddNodeSets("sets", 0, {{"New", {{2, 2}}}});
  LoadedTree loaded(first);
  const Graft graft(loaded.tree, second, 1);
  ASSERT_EQ(loaded.At<NodeSets>(1).sets.size(), 1U);
  EXPECT_EQ(loaded.At<NodeSets>(1).sets[0].name, "New");
  EXPECT_EQ(loaded.At<NodeSets>(2).sets[0].name, "New");
}

}  // namespace
}  // namespace LbtTev
