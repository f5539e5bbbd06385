// The tree whose entries are found by id.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Lbt/Adt/AdtTree.h"
#include "support/Mask.h"

namespace {

using Node = LbtAdt::TreeNode<int>;

/// A tree of numbers that lets a test do what a loader does.
class NumberTree : public LbtAdt::Tree<int> {
 public:
  using Tree::AppendChild;
  using Tree::Insert;
};

const std::string kNotFound =
    tevtest::ExpectedException("Element Not Found", "Element Not Found", "include/Lbt/Adt/AdtTree");

template <class Action>
std::string FailureOf(Action action) {
  try {
    action();
  } catch (const Lbt::Util::Exception& exception) {
    return tevtest::MaskException(exception.what());
  }
  return "no failure";
}

std::vector<unsigned int> IdsOf(const NumberTree& tree) {
  std::vector<unsigned int> ids;
  for (const auto& [id, node] : tree.GetNodes()) {
    ids.push_back(id);
  }
  return ids;
}

std::vector<unsigned int> LinksOf(const Node& node) {
  return {node.parent, node.previousSibling, node.nextSibling, node.firstChild, node.lastChild};
}

using Ids = std::vector<unsigned int>;

TEST(AdtTree, NewTree_HoldsTheRootWithoutLinksAndData) {
  const NumberTree tree;
  EXPECT_EQ(IdsOf(tree), Ids{1});
  const Node& root = tree.GetReqNode(1);
  EXPECT_EQ(root.id, 1U);
  EXPECT_EQ(LinksOf(root), (Ids{0, 0, 0, 0, 0}));
  EXPECT_EQ(root.data, 0);
  EXPECT_EQ(tree.GetNextId(), 2U);
}

TEST(AdtTree, GetCurrentNode_BeforeAnyIsSet_FailsWithElementNotFound) {
  NumberTree tree;
  EXPECT_EQ(tree.GetCurrentId(), 0U);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(tree.GetCurrentNode()); }), kNotFound);
}

TEST(AdtTree, GetCurrentNode_IsTheNodeOfTheCurrentId) {
  NumberTree tree;
  tree.Insert({5, 1, 0, 0, 0, 0, 50});
  tree.SetCurrentId(5);
  EXPECT_EQ(tree.GetCurrentNode().data, 50);
  tree.GetCurrentNode().data = 51;
  EXPECT_EQ(tree.GetReqNode(5).data, 51);
}

TEST(AdtTree, GetReqNode_OfAnAbsentId_FailsWithElementNotFound) {
  const NumberTree tree;
  EXPECT_EQ(FailureOf([&] { static_cast<void>(tree.GetReqNode(2)); }), kNotFound);
  EXPECT_EQ(tree.FindNode(2), nullptr);
}

TEST(AdtTree, Id0_IsMetByWalkingButFoundByNoLookup) {
  NumberTree tree;
  tree.Insert({0, 0, 0, 0, 0, 0, 7});
  EXPECT_EQ(IdsOf(tree), (Ids{0, 1}));
  EXPECT_EQ(tree.GetNextId(), 2U);
  EXPECT_EQ(tree.FindNode(0), nullptr);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(tree.GetReqNode(0)); }), kNotFound);
}

TEST(AdtTree, SetCurrentId_FromTheNextIdOn_FailsAndKeepsTheOldOne) {
  NumberTree tree;
  tree.SetCurrentId(1);
  EXPECT_EQ(FailureOf([&] { tree.SetCurrentId(2); }), kNotFound);
  EXPECT_EQ(FailureOf([&] { tree.SetCurrentId(4000000000U); }), kNotFound);
  EXPECT_EQ(tree.GetCurrentId(), 1U);
}

TEST(AdtTree, SetCurrentId_OfAGapBelowTheNextId_FailsOnlyWhenTheNodeIsWanted) {
  NumberTree tree;
  tree.Insert({9, 0, 0, 0, 0, 0, 0});
  tree.SetCurrentId(4);
  EXPECT_EQ(tree.GetCurrentId(), 4U);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(tree.GetCurrentNode()); }), kNotFound);
}

TEST(AdtTree, Insert_KeepsTheNextIdOneAboveTheLargest) {
  NumberTree tree;
  tree.Insert({7, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(tree.GetNextId(), 8U);
  tree.Insert({3, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(tree.GetNextId(), 8U);
  tree.Insert({8, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(tree.GetNextId(), 9U);
  EXPECT_EQ(IdsOf(tree), (Ids{1, 3, 7, 8}));
}

TEST(AdtTree, Insert_OfARepeatedId_ReplacesTheEntryAndGivesItsDataBack) {
  NumberTree tree;
  EXPECT_EQ(tree.Insert({4, 1, 2, 3, 5, 6, 40}), 0);
  EXPECT_EQ(tree.Insert({4, 2, 0, 0, 0, 0, 41}), 40);
  EXPECT_EQ(tree.GetReqNode(4).data, 41);
  EXPECT_EQ(LinksOf(tree.GetReqNode(4)), (Ids{2, 0, 0, 0, 0}));
  EXPECT_EQ(IdsOf(tree), (Ids{1, 4}));
}

TEST(AdtTree, GetFirstChild_IsFoundNextToItsParentAndElsewhere) {
  NumberTree tree;
  tree.Insert({2, 1, 0, 0, 3, 3, 20});
  tree.Insert({3, 2, 0, 0, 0, 0, 30});
  tree.Insert({4, 1, 0, 0, 2, 2, 40});
  EXPECT_EQ(tree.GetFirstChild(tree.GetNodes().find(2)).data, 30);
  EXPECT_EQ(tree.GetFirstChild(tree.GetNodes().find(4)).data, 20);
}

TEST(AdtTree, GetFirstChild_OfNoneOrOfOneThatIsMissing_IsNotFound) {
  NumberTree tree;
  tree.Insert({0, 0, 0, 0, 0, 0, 0});
  tree.Insert({2, 1, 0, 0, 7, 7, 20});
  const auto& nodes = tree.GetNodes();
  EXPECT_EQ(FailureOf([&] { static_cast<void>(tree.GetFirstChild(nodes.find(1))); }), kNotFound);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(tree.GetFirstChild(nodes.find(2))); }), kNotFound);
}

TEST(AdtTree, AppendChild_ToAChildlessNode_IsItsFirstAndLastChild) {
  NumberTree tree;
  const Node& child = tree.AppendChild(1);
  EXPECT_EQ(child.id, 2U);
  EXPECT_EQ(LinksOf(child), (Ids{1, 0, 0, 0, 0}));
  EXPECT_EQ(LinksOf(tree.GetReqNode(1)), (Ids{0, 0, 0, 2, 2}));
  EXPECT_EQ(tree.GetCurrentId(), 2U);
  EXPECT_EQ(tree.GetNextId(), 3U);
}

TEST(AdtTree, AppendChild_AfterOthers_FollowsTheLastOfThem) {
  NumberTree tree;
  tree.AppendChild(1);
  tree.AppendChild(1);
  EXPECT_EQ(LinksOf(tree.GetReqNode(1)), (Ids{0, 0, 0, 2, 3}));
  EXPECT_EQ(LinksOf(tree.GetReqNode(2)), (Ids{1, 0, 3, 0, 0}));
  EXPECT_EQ(LinksOf(tree.GetReqNode(3)), (Ids{1, 2, 0, 0, 0}));
  EXPECT_EQ(tree.GetCurrentId(), 3U);
}

TEST(AdtTree, AppendChild_ToAnAbsentNode_FailsBeforeAnIdIsTaken) {
  NumberTree tree;
  tree.Insert({9, 0, 0, 0, 0, 0, 0});
  for (const unsigned int parent : {0U, 5U, 10U}) {
    EXPECT_EQ(FailureOf([&] { tree.AppendChild(parent); }), kNotFound) << parent;
  }
  EXPECT_EQ(tree.GetNextId(), 10U);
  EXPECT_EQ(IdsOf(tree), (Ids{1, 9}));
}

TEST(AdtTree, AppendChild_AfterALastChildThatIsMissing_FailsAndChangesNoEntry) {
  NumberTree tree;
  tree.Insert({1, 0, 0, 0, 6, 6, 0});
  EXPECT_EQ(FailureOf([&] { tree.AppendChild(1); }), kNotFound);
  EXPECT_EQ(LinksOf(tree.GetReqNode(1)), (Ids{0, 0, 0, 6, 6}));
  EXPECT_EQ(IdsOf(tree), Ids{1});
  EXPECT_EQ(tree.GetNextId(), 2U);
}

}  // namespace
