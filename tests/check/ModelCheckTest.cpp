// The findings of the check, in their order and with their places.

#include <gtest/gtest.h>

#include <algorithm>

#include "Lbt/Tev/Check/ModelCheck.h"
#include "Lbt/Util/Exception.h"
#include "support/ByteWriter.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"
#include "support/VariedModels.h"

namespace tevtest {
namespace {

using LbtTev::Check::CheckModel;
using LbtTev::Check::Finding;
using Kind = Finding::Kind;

std::vector<Finding> FindingsOf(const std::string& bytes) {
  const TempDir directory;
  std::vector<Finding> findings;
  CheckModel(directory.Write("m.tev", bytes),
             [&](const Finding& finding) { findings.push_back(finding); });
  return findings;
}

/// How many findings of a kind there are.
std::size_t Count(const std::vector<Finding>& findings, Kind kind) {
  return static_cast<std::size_t>(std::ranges::count(findings, kind, &Finding::kind));
}

std::string TextsOf(const std::vector<Finding>& findings) {
  std::string texts;
  for (const Finding& finding : findings) {
    texts += finding.text + '\n';
  }
  return texts;
}

/// A model of empty tree records: "link" sets the links of the node with an id, from 1 on.
template <class SetLinks>
std::string Records(std::uint32_t count, SetLinks setLinks) {
  struct Links {
    std::uint32_t parent = 0, previous = 0, next = 0, first = 0, last = 0;
  };
  ByteWriter tree;
  tree.U32(count);
  for (std::uint32_t id = 1; id <= count; ++id) {
    Links links;
    setLinks(id, links);
    tree.U32(id).U32(links.parent).U32(links.previous).U32(links.next).U32(links.first);
    tree.U32(links.last).Text("n").Text("").Text("0.1").U64(0);
  }
  return ContainerWriter().AddRaw("Tev Tree", tree.Bytes()).Build().bytes;
}

TEST(ModelCheck, SoundModelsOfAllKinds_GiveNoFinding) {
  for (const VariedModel& model : VariedModels()) {
    // This one has a link to a node that does not exist.
    const std::string expected =
        model.name == "links-modifiers" ? "it is linked to a node that does not exist\n" : "";
    EXPECT_EQ(TextsOf(FindingsOf(model.bytes)), expected) << model.name;
  }
  EXPECT_EQ(TextsOf(FindingsOf(SmallModel().Build())), "");
}

TEST(ModelCheck, SoundModelStoredInAnyWay_GivesNoFinding) {
  using enum StreamLayout::Split;
  using enum StreamLayout::Packing;
  for (const auto split : {OneBlock, BlockPerRecord}) {
    for (const auto packing : {Raw, Compressed, Alternating}) {
      for (const bool empty : {false, true}) {
        ModelWriter model = SmallModel();
        // The list of modifiers stands in one block.
        for (const auto stream : {kTree, kLightData, kAttributes, kResources, kHeavyData}) {
          model.SetLayout(stream, {.split = split, .packing = packing, .emptyBlocks = empty});
        }
        EXPECT_EQ(TextsOf(FindingsOf(model.Build())), "");
        EXPECT_EQ(TextsOf(FindingsOf(model.Interleave().KeepReadingOn().Build())), "");
      }
    }
  }
}

TEST(ModelCheck, RecordsInAnotherOrder_GiveNoFinding) {
  EXPECT_EQ(TextsOf(FindingsOf(SmallModel().SetRecordOrder({7, 6, 5, 4, 3, 2, 1}).Build())), "");
}

TEST(ModelCheck, FileThatCannotBeOpened_Throws) {
  const TempDir directory;
  EXPECT_THROW(CheckModel(directory / "none", [](const Finding&) { FAIL(); }),
               Lbt::Util::Exception);
}

TEST(ModelCheck, DeepTree_IsWalkedWithoutRecursion) {
  constexpr std::uint32_t kCount = 40000;
  const std::string bytes = Records(kCount, [](std::uint32_t id, auto& links) {
    links.parent = id - 1;
    links.first = links.last = id < kCount ? id + 1 : 0;
  });
  EXPECT_EQ(TextsOf(FindingsOf(bytes)), "");
}

TEST(ModelCheck, LongRings_AreEachToldOnce) {
  constexpr std::uint32_t kCount = 40000;
  // All are siblings below the root, and the last one leads back to the first.
  const auto findings = FindingsOf(Records(kCount, [](std::uint32_t id, auto& links) {
    links.parent = id == 1 ? 0 : 1;
    links.first = id == 1 ? 2 : 0;
    links.next = id == 1 ? 0 : id == kCount ? 2 : id + 1;
    links.previous = id <= 2 ? 0 : id - 1;
  }));
  EXPECT_EQ(TextsOf(findings), "its next siblings lead back to itself\n");
}

TEST(ModelCheck, ManyListsThatRunIntoOne_AreEachLeftAtOnce) {
  constexpr std::uint32_t kCount = 40000;
  // Every node has the same first child, which begins a list of all others.
  const auto findings = FindingsOf(Records(kCount, [](std::uint32_t id, auto& links) {
    links.first = 2;
    links.next = id == 1 || id == kCount ? 0 : id + 1;
  }));
  // The first child stands below itself; the others, once it is done, share it.
  EXPECT_EQ(Count(findings, Kind::Cycle), 1U);
  EXPECT_EQ(Count(findings, Kind::SharedChild), kCount - 2U);
  EXPECT_EQ(findings.size(), kCount - 1U);
}

TEST(ModelCheck, DataThatManyVariablesShare_IsLoadedOnceForAll) {
  ModelWriter model;
  const NodeRef mesh =
      model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("model", 0)));
  const std::vector<float> values(1000000, 1.0F);
  model.AddVariable(mesh, Variable::Floats("0", kScalarResult, 1, values));
  for (int i = 1; i < 2000; ++i) {
    Variable same{.name = std::to_string(i)};
    same.byteCount = 4000000;
    same.heavyPosition = 0;
    model.AddVariable(mesh, same);
  }
  EXPECT_EQ(TextsOf(FindingsOf(model.Build())), "");
}

TEST(ModelCheck, DataThatOverlapsAllTooOften_IsNotAllLoaded) {
  // Each variable has nearly all of a block of 1,000,000 bytes, and each another part of it:
  // more than 16 MiB and four times the block is not loaded, which is for 20 of them.
  ModelWriter model;
  const NodeRef mesh =
      model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("model", 0)));
  model.SetPrefix(kHeavyData, std::string(1000000, '\0'));
  for (std::uint32_t i = 0; i < 40; ++i) {
    Variable part{.name = std::to_string(i)};
    part.byteCount = 999000;
    part.heavyPosition = 4 * i;
    model.AddVariable(mesh, part);
  }
  const auto findings = FindingsOf(model.Build());
  ASSERT_EQ(findings.size(), 1U) << TextsOf(findings);
  EXPECT_EQ(findings[0].kind, Kind::OverlappingData);
  EXPECT_EQ(findings[0].text,
            "variables share their data so often that the data of 20 was not loaded");
  EXPECT_EQ(findings[0].claimed, 40U * 999000U);
  EXPECT_EQ(findings[0].found, 1000000U);
}

TEST(ModelCheck, VariablesInABadBlock_AreToldWithoutInflatingItForEach) {
  // 20 MB of zeros with a wrong check sum, claimed by each of 2000 variables in part.
  ModelWriter model;
  const NodeRef mesh =
      model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("model", 0)));
  for (std::uint32_t i = 0; i < 2000; ++i) {
    Variable part{.name = std::to_string(i)};
    part.byteCount = 4;
    part.heavyPosition = 4 * i;
    model.AddVariable(mesh, part);
  }
  model.SetPrefix(kHeavyData, std::string(20000000, '\0'));
  model.SetLayout(kHeavyData, {.packing = StreamLayout::Packing::Compressed});
  ContainerWriter writer = model.ToContainer();
  BlockSpec& heavy = writer.Blocks().back();
  heavy.storedBytes = Compressed(heavy.payload);
  heavy.storedBytes->back() = static_cast<char>(heavy.storedBytes->back() ^ 1);
  const auto findings = FindingsOf(writer.Build().bytes);
  EXPECT_EQ(Count(findings, Kind::UnreadableBlock), 1U);
  EXPECT_EQ(Count(findings, Kind::UnreadableData), 2000U);
}

}  // namespace
}  // namespace tevtest
