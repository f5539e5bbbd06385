// Node sets: names, members, and lists that do not fit together.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/NodeSets.h"
#include "ModelOnDisk.h"
#include "support/Records.h"

namespace LbtTev {
namespace {

using tevtest::FailureOf;
using tevtest::kHeavyData;
using tevtest::ModelOnDisk;
using tevtest::NodeSetLists;

using Pairs = std::vector<std::pair<unsigned int, unsigned int>>;

const std::string kTooOften = tevtest::ExpectedException(
    "Out of Bounds", "The model refers to its data too often", "include/Lbt/Tev/ModelStreams");
const std::string kListTooShort = tevtest::ExpectedException(
    "Out of Bounds", "Not enough bytes in the block", "include/Lbt/Tev/NodeSets");

/// Three sets, the middle one without members.
NodeSetLists ThreeSets() {
  return {.sets = {{"Fixed", {{1, 10}, {2, 20}}}, {"None", {}}, {"Loaded", {{3, 30}}}}};
}

void Load(NodeSets& node, ModelOnDisk& disk, unsigned int setCount, unsigned long position = 0) {
  node.setCount = setCount;
  node.heavyDataPosition = position;
  node.LoadDataBlocks(disk.File(), kHeavyData);
}

void Load(NodeSets& node, const NodeSetLists& lists, unsigned int setCount) {
  ModelOnDisk disk({{kHeavyData, lists.Encode()}});
  Load(node, disk, setCount);
}

std::string FailureOfLoading(const NodeSetLists& lists, unsigned int setCount) {
  NodeSets node;
  return FailureOf([&] { Load(node, lists, setCount); });
}

std::vector<std::string> NamesOf(const NodeSets& node) {
  std::vector<std::string> names;
  for (const NodeSets::NodeSet& set : node.sets) {
    names.push_back(set.name);
  }
  return names;
}

using Names = std::vector<std::string>;

TEST(NodeSets, Sets_HaveTheirNamesAndMembersInOrder) {
  NodeSets node;
  Load(node, ThreeSets(), 3);
  EXPECT_EQ(NamesOf(node), (Names{"Fixed", "None", "Loaded"}));
  EXPECT_EQ(node.sets[0].members, (Pairs{{1, 10}, {2, 20}}));
  EXPECT_EQ(node.sets[2].members, (Pairs{{3, 30}}));
}

TEST(NodeSets, ASetWhoseOffsetsAreEqual_HasNoMembers) {
  NodeSets node;
  Load(node, ThreeSets(), 3);
  EXPECT_TRUE(node.sets[1].members.empty());
}

TEST(NodeSets, OfNoSets_StillReadsTheLists) {
  ModelOnDisk disk({{kHeavyData, ThreeSets().Encode() + "\x5A"}});
  NodeSets node;
  Load(node, disk, 0);
  EXPECT_TRUE(node.sets.empty());
  EXPECT_EQ(disk.NextByte(kHeavyData), 0x5AU);
}

TEST(NodeSets, Loading_ReplacesTheSetsThatWereThere) {
  NodeSets node;
  node.sets = {{"old", {{9, 9}}}};
  Load(node, ThreeSets(), 1);
  EXPECT_EQ(NamesOf(node), Names{"Fixed"});
  EXPECT_EQ(node.sets[0].members, (Pairs{{1, 10}, {2, 20}}));
}

TEST(NodeSets, Lists_AreReadFromTheirPosition) {
  ModelOnDisk disk({{kHeavyData, "12345"}, {kHeavyData, "67" + ThreeSets().Encode()}});
  NodeSets node;
  Load(node, disk, 3, 7);
  EXPECT_EQ(NamesOf(node), (Names{"Fixed", "None", "Loaded"}));
}

TEST(NodeSets, Lists_MayLieInOneBlockEach) {
  // Name offsets 4 + 16, names 4 + 15, member offsets 4 + 16, values 4 + 12 bytes each.
  const std::string bytes = ThreeSets().Encode();
  ModelOnDisk disk({{kHeavyData, bytes.substr(0, 20)},
                    {kHeavyData, bytes.substr(20, 19)},
                    {kHeavyData, bytes.substr(39, 20)},
                    {kHeavyData, bytes.substr(59, 16)},
                    {kHeavyData, bytes.substr(75)}});
  NodeSets node;
  Load(node, disk, 3);
  EXPECT_EQ(NamesOf(node), (Names{"Fixed", "None", "Loaded"}));
  EXPECT_EQ(node.sets[2].members, (Pairs{{3, 30}}));
}

TEST(NodeSets, AListCutByABlock_FailsWithNotEnoughBytes) {
  const std::string bytes = ThreeSets().Encode();
  ModelOnDisk disk({{kHeavyData, bytes.substr(0, 16)}, {kHeavyData, bytes.substr(16)}});
  NodeSets node;
  EXPECT_EQ(FailureOf([&] { Load(node, disk, 3); }), tevtest::kNotEnoughBytes);
}

TEST(NodeSets, AMemberOffsetThatDecreases_GivesNoMembers) {
  NodeSetLists lists = ThreeSets();
  lists.memberOffsets = {0, 2, 1, 2};
  NodeSets node;
  Load(node, lists, 3);
  EXPECT_EQ(node.sets[0].members, (Pairs{{1, 10}, {2, 20}}));
  EXPECT_TRUE(node.sets[1].members.empty());
  EXPECT_EQ(node.sets[2].members, (Pairs{{2, 20}}));
}

TEST(NodeSets, ANameOffsetThatDecreases_TakesTheRestOfTheNames) {
  NodeSetLists lists = ThreeSets();
  lists.nameOffsets = {5, 0, 4, 9};
  NodeSets node;
  Load(node, lists, 3);
  EXPECT_EQ(NamesOf(node), (Names{"NoneLoaded", "Fixe", "dNone"}));
}

TEST(NodeSets, ANameThatEndsPastAllNames_TakesTheRest) {
  NodeSetLists lists = ThreeSets();
  lists.nameOffsets = {0, 5, 9, 1000};
  NodeSets node;
  Load(node, lists, 3);
  EXPECT_EQ(NamesOf(node), (Names{"Fixed", "None", "Loaded"}));
}

TEST(NodeSets, ANameThatStartsAtTheEndOfAllNames_IsEmpty) {
  NodeSetLists lists = ThreeSets();
  lists.nameOffsets = {15, 15, 16, 20};
  NodeSets node;
  Load(node, lists, 1);
  EXPECT_EQ(NamesOf(node), Names{""});
}

TEST(NodeSets, ANameThatStartsPastAllNames_FailsAsSubstringsDo) {
  NodeSetLists lists = ThreeSets();
  lists.nameOffsets = {0, 5, 16, 20};
  NodeSets node;
  try {
    Load(node, lists, 3);
    FAIL() << "no failure";
  } catch (const std::out_of_range& failure) {
    EXPECT_STREQ(failure.what(),
                 "basic_string::substr: __pos (which is 16) > this->size() (which is 15)");
  }
}

TEST(NodeSets, WithFewerOffsetsThanSetsNeed_FailWithNotEnoughBytes) {
  EXPECT_EQ(FailureOfLoading(ThreeSets(), 4), kListTooShort);
  NodeSetLists lists = ThreeSets();
  lists.memberOffsets = {0, 2, 2};
  EXPECT_EQ(FailureOfLoading(lists, 3), kListTooShort);
  EXPECT_EQ(FailureOfLoading(lists, 4000000000U), kListTooShort);
}

TEST(NodeSets, WithFewerValuesThanOffsetsNeed_FailWithNotEnoughBytes) {
  NodeSetLists lists = ThreeSets();
  lists.firstValues = {1, 2};
  EXPECT_EQ(FailureOfLoading(lists, 3), kListTooShort);
  lists = ThreeSets();
  lists.secondValues = {10, 20};
  EXPECT_EQ(FailureOfLoading(lists, 3), kListTooShort);
  lists = ThreeSets();
  lists.memberOffsets = {0, 2, 2, 4000000000U};
  EXPECT_EQ(FailureOfLoading(lists, 3), kListTooShort);
}

TEST(NodeSets, ThatOverlapBeyondAllBounds_FailInsteadOfFillingTheMemory) {
  // 65,536 sets that claim 65,536 members each, and as many names.
  constexpr unsigned int kMany = 65536;
  std::vector<unsigned int> offsets(2 * kMany + 1);
  for (std::size_t i = 1; i < offsets.size(); i += 2) {
    offsets[i] = kMany;
  }
  NodeSetLists lists;
  lists.allNames = std::string(kMany, 'n');
  lists.nameOffsets = std::vector<unsigned int>(offsets.size());
  lists.memberOffsets = offsets;
  lists.firstValues = lists.secondValues = std::vector<unsigned int>(kMany);
  EXPECT_EQ(FailureOfLoading(lists, 2 * kMany), kTooOften);
  lists.nameOffsets = offsets;
  lists.memberOffsets = std::vector<unsigned int>(offsets.size());
  EXPECT_EQ(FailureOfLoading(lists, 2 * kMany), kTooOften);
}

/// Three values of each kind for sets with the given member offsets.
NodeSetLists ThreeMembers(std::vector<unsigned int> memberOffsets) {
  NodeSetLists lists = ThreeSets();
  lists.memberOffsets = std::move(memberOffsets);
  return lists;
}

TEST(NodeSets, ThatOverlap_AreLoadedAsTheyAre) {
  NodeSets node;
  Load(node, ThreeMembers({1, 3, 0, 1}), 3);
  EXPECT_EQ(node.sets[0].members, (Pairs{{2, 20}, {3, 30}}));
  EXPECT_TRUE(node.sets[1].members.empty());
  EXPECT_EQ(node.sets[2].members, (Pairs{{1, 10}}));
  Load(node, ThreeMembers({0, 2, 0, 2}), 3);
  EXPECT_EQ(node.sets[0].members, (Pairs{{1, 10}, {2, 20}}));
  EXPECT_TRUE(node.sets[1].members.empty());
  EXPECT_EQ(node.sets[2].members, (Pairs{{1, 10}, {2, 20}}));
  Load(node, ThreeMembers({0, 3, 0, 3}), 3);
  EXPECT_EQ(node.sets[2].members, node.sets[0].members);
}

/// Offsets that give every second of "sets" sets all of "count" elements.
std::vector<unsigned int> AllInEverySecond(std::size_t sets, unsigned int count) {
  std::vector<unsigned int> offsets(sets + 1);
  for (std::size_t i = 1; i < offsets.size(); i += 2) {
    offsets[i] = count;
  }
  return offsets;
}

TEST(NodeSets, ThatOverlap_MayCopySixteenTimesTheStreamAnd16Mebibytes) {
  constexpr unsigned int kMembers = 8192;
  // One set takes 64 KiB of members; the stream holds them once, and the offsets.
  const auto lists = [](std::size_t sets) {
    NodeSetLists made;
    made.allNames = "";
    made.nameOffsets = std::vector<unsigned int>(sets + 1);
    made.memberOffsets = AllInEverySecond(sets, kMembers);
    made.firstValues = made.secondValues = std::vector<unsigned int>(kMembers);
    return made;
  };
  NodeSets node;
  Load(node, lists(2 * 256), 2 * 256);  // 16 MiB in all
  EXPECT_EQ(node.sets.size(), 512U);
  EXPECT_EQ(node.sets[510].members.size(), kMembers);
  EXPECT_EQ(FailureOfLoading(lists(2 * 290), 2 * 290), kTooOften);
}

TEST(NodeSets, WhoseMembersRunOut_FailWithNotEnoughBytes) {
  NodeSetLists lists = ThreeMembers({0, 2, 1, 2});
  NodeSets node;
  Load(node, lists, 3);
  EXPECT_EQ(node.sets[2].members, (Pairs{{2, 20}}));
  EXPECT_EQ(FailureOfLoading(ThreeMembers({0, 2, 0, 4}), 3), kListTooShort);
  EXPECT_EQ(FailureOfLoading(ThreeMembers({4, 5, 5, 5}), 3), kListTooShort);
}

TEST(NodeSets, WhoseNamesRepeatOneAnother_MayHoldMoreThanAllNames) {
  NodeSetLists lists = ThreeSets();
  lists.nameOffsets = {0, 15, 0, 15};
  NodeSets node;
  Load(node, lists, 3);
  EXPECT_EQ(NamesOf(node), (Names{"FixedNoneLoaded", "", "FixedNoneLoaded"}));
}

TEST(NodeSets, PastTheEndOfTheirStream_FailWithInvalidPosition) {
  ModelOnDisk disk({{kHeavyData, "1234"}});
  NodeSets node;
  EXPECT_EQ(FailureOf([&] { Load(node, disk, 1, 5); }), tevtest::kInvalidPosition);
  EXPECT_EQ(FailureOf([&] { Load(node, disk, 1, 0xFFFFFFFFFFFFFFFF); }), tevtest::kInvalidPosition);
}

TEST(NodeSets, AtTheEndOfTheirStream_FailWithNotEnoughBytes) {
  ModelOnDisk disk({{kHeavyData, "1234"}});
  NodeSets node;
  EXPECT_EQ(FailureOf([&] { Load(node, disk, 1, 4); }), tevtest::kNotEnoughBytes);
}

TEST(NodeSets, WithoutHeavyData_FailByTheirPosition) {
  ModelOnDisk disk({{"Other", "x"}});
  NodeSets node;
  EXPECT_EQ(FailureOf([&] { Load(node, disk, 0, 0); }), tevtest::kNotEnoughBytes);
  ModelOnDisk fresh({{"Other", "x"}});
  EXPECT_EQ(FailureOf([&] { Load(node, fresh, 0, 1); }), tevtest::kInvalidPosition);
}

}  // namespace
}  // namespace LbtTev
