// The findings of the check, in their order and with their places.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <set>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Check/ModelCheck.h"
#include "Lbt/Util/Exception.h"
#include "support/ByteWriter.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"
#include "support/VariedModels.h"

namespace tevtest {
namespace {

using LbtTev::Check::CheckModel;
using LbtTev::Check::CheckResult;
using LbtTev::Check::Finding;
using LbtTev::Check::Limit;
using LbtTev::Check::Verdict;
using Kind = Finding::Kind;

struct Checked {
  CheckResult result;
  std::vector<Finding> findings;
};

Checked Check(const std::string& bytes, Limit limit = Limit::TenThousand) {
  const TempDir directory;
  Checked checked;
  checked.result = CheckModel(
      directory.Write("m.tev", bytes),
      [&](const Finding& finding) { checked.findings.push_back(finding); }, limit);
  return checked;
}

std::vector<Finding> FindingsOf(const std::string& bytes) {
  return Check(bytes, Limit::None).findings;
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
    // One has a link to a node that does not exist, and one has heavy data before its own.
    const std::string expected =
        model.name == "links-modifiers" ? "it is linked to a node that does not exist\n"
        : model.name == "node-sets"
            ? "there is heavy data that no variable and no node set refers to, from byte 0 of its "
              "stream on\n"
            : "";
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
  EXPECT_THROW(static_cast<void>(CheckModel(directory / "none", [](const Finding&) { FAIL(); })),
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
  // more than 16 MiB and 16 times the block is not loaded, which is room for 32 of them.
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
            "variables share their data so often that the data of 8 was not loaded");
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

TEST(ModelCheck, SoundModel_IsOk) {
  const CheckResult result = Check(SmallModel().Build()).result;
  EXPECT_EQ(result.verdict, Verdict::Ok);
  EXPECT_EQ(result.warnings + result.damages + result.lostBlocks + result.lostVariables, 0U);
}

/// What this process has read from files, in bytes.
std::uint64_t BytesRead() {
  std::ifstream file("/proc/self/io");
  std::string key;
  std::uint64_t value = 0;
  while (file >> key >> value && key != "rchar:") {
  }
  return value;
}

/// How many bytes a check reads.
std::uint64_t BytesReadBy(const std::string& path) {
  static_cast<void>(BytesRead());
  const std::uint64_t none = BytesRead();
  const std::uint64_t before = BytesRead();
  EXPECT_EQ(CheckModel(path, [](const Finding&) {}).verdict, Verdict::Ok);
  return BytesRead() - before - (before - none);
}

TEST(ModelCheck, SoundModel_IsOpenedOnceAndEachBlockIsReadOnce) {
  const TempDir directory;
  ModelWriter split = SmallModel();
  for (const auto stream : {kTree, kLightData, kAttributes, kResources, kHeavyData}) {
    split.SetLayout(stream, {.split = StreamLayout::Split::BlockPerRecord,
                             .packing = StreamLayout::Packing::Compressed});
  }
  for (const std::string& path : {directory.Write("split.tev", split.KeepReadingOn().Build()),
                                  directory.Write("raw.tev", SmallModel().Build()),
                                  std::string(TEVINFO_EXAMPLES_DIR) + "/bracket.tev",
                                  std::string(TEVINFO_EXAMPLES_DIR) + "/heatsink.tev"}) {
    LbtLbf::LbFile file;
    file.OpenFile(path, "rb");
    file.ReadIndex();
    // The whole file once; and of each compressed block, the length to find the others by, which
    // brings what follows it.
    std::uint64_t lengths = 0;
    for (const LbtLbf::IndexItem& item : file.GetIndex().GetItems()) {
      lengths +=
          item.IsCompressed() ? std::min<std::uint64_t>(item.size, LbtLbf::StoredFile::kAhead) : 0;
    }
    const std::uint64_t size = file.GetSize().value_or(0);
    const std::uint64_t read = BytesReadBy(path);
    EXPECT_GE(read, size) << path;
    EXPECT_LE(read, size + lengths) << path;
  }
}

TEST(ModelCheck, BytesThatNothingReads_AreAWarning) {
  const CheckResult result = Check(SmallModel().Build() + "rest").result;
  EXPECT_EQ(result.verdict, Verdict::Warning);
  EXPECT_EQ(result.warnings, 1U);
  EXPECT_EQ(result.damages, 0U);
}

TEST(ModelCheck, LinkToNothing_IsDamageWithAWarningBesideIt) {
  ModelWriter model = SmallModel();
  model.At(kSmallMesh2).lastChild = 99;
  const CheckResult result = Check(model.Build() + "rest").result;
  EXPECT_EQ(result.verdict, Verdict::Damaged);
  EXPECT_EQ(result.warnings, 1U);
  EXPECT_EQ(result.damages, 1U);
}

TEST(ModelCheck, LinkToTheVariableAfterTheLast_IsToNothing) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh2, 6).linkNodeId = kSmallMesh1;
  model.VariableAt(kSmallMesh2, 6).linkVariableIndex = 7;
  const std::vector<Finding> findings = FindingsOf(model.Build());
  ASSERT_EQ(Count(findings, Kind::LinkToNothing), 1U);
  EXPECT_EQ(findings.front().claimed, 7U);
  EXPECT_EQ(findings.front().found, 7U);
}

TEST(ModelCheck, FileThatIsItsHeaderAlone_LacksItsIndexAndNotItsHeader) {
  const std::string header = SmallModel().Build().substr(0, 16);
  EXPECT_EQ(Count(FindingsOf(header), Kind::Header), 0U);
  EXPECT_EQ(Count(FindingsOf(header), Kind::Index), 1U);
  EXPECT_EQ(Count(FindingsOf(header.substr(0, 15)), Kind::Header), 1U);
  EXPECT_EQ(Count(FindingsOf(header.substr(0, 15)), Kind::Index), 0U);
}

TEST(ModelCheck, TreeOfNoRecords_IsWhole) {
  const auto nothing = [](std::uint32_t, auto&) {};
  EXPECT_EQ(Count(FindingsOf(Records(0, nothing)), Kind::UnreadableRecord), 0U);
}

TEST(ModelCheck, EveryKind_HasANameOfItsOwn) {
  std::set<std::string_view> names;
  std::size_t warnings = 0;
  const auto last = static_cast<int>(Kind::NotFinite);
  for (int kind = 0; kind <= last; ++kind) {
    names.insert(NameOf(static_cast<Kind>(kind)));
    warnings += SeverityOf(static_cast<Kind>(kind)) == Finding::Severity::Warning ? 1U : 0U;
  }
  EXPECT_EQ(names.size(), static_cast<std::size_t>(last) + 1);
  // A version that is no number, unused bytes, items that are not whole, numbers that are not
  // finite.
  EXPECT_EQ(warnings, 4U);
}

TEST(ModelCheck, ForeignFiles_AreNoModelsAndLookLikeSomething) {
  const std::string model = SmallModel().Build();
  const std::string rest = model.substr(8);
  using namespace std::string_literals;
  const std::string converted = "a Tev file whose line ends a transfer has converted";
  for (const auto& [bytes, look] : std::vector<std::pair<std::string, std::string>>{
           {"", "an empty file"},
           {"\x1f\x8b\b and more", "a gzip file"},
           {"PK\x03\x04 and more", "a zip file"},
           {"BZh9", "a bzip2 file"},
           {"\xfd"
            "7zXZ\0"s,
            "an xz file"},
           {"\x89LBF\n\x1a\n" + rest, converted},
           {"\x89LBF\r\r\n\x1a\r\n" + rest, converted},
           {"\x89LBF\r\n\x1a\r\n" + rest, converted},
           {"\x89LBF\n\n\x1a\n" + rest, converted},
           {"\x89LBF\r\x1a\r" + rest, converted},
           {"\tLBF\r\n\x1a\n" + rest, "a Tev file that a transfer has cut to seven bits"},
           {"\xc2\x89LBF\r\n\x1a\n" + rest, "a Tev file that was converted to UTF-8"},
           {"\xef\xbf\xbdLBF\r\n\x1a\n" + rest, "a Tev file that was converted to UTF-8"},
           {model.substr(0, 5), "the first bytes of a Tev file"},
           {std::string(600, '\0'), "a file of zeros"},
           {"\xef\xbb\xbf \r\n<!DOCTYPE HTML><p>gone</p>", "HTML"},
           {"<html lang=\"en\">", "HTML"},
           {"mesh, and\tmore\r\n", "text"},
           {"\x01\x02\x03\x04", ""}}) {
    const Checked checked = Check(bytes);
    EXPECT_EQ(checked.result.verdict, Verdict::NotAModel) << look;
    EXPECT_EQ(checked.result.looksLike, look);
    EXPECT_TRUE(checked.findings.empty());
  }
}

TEST(ModelCheck, LostBlock_IsTheCauseOfWhatItTakesAlong) {
  ModelWriter model = SmallModel();
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  model.At(kSmallMesh2).lastChild = 99;
  ContainerWriter writer = model.ToContainer();
  writer.Blocks().at(7).storedBytes = std::string("\x20\0\0\0 no zlib stream", 19);
  const Checked checked = Check(writer.Build().bytes);
  ASSERT_EQ(checked.findings.size(), 3U) << TextsOf(checked.findings);
  EXPECT_EQ(checked.findings[0].cause, std::nullopt);  // its last child
  EXPECT_EQ(checked.findings[1].kind, Kind::UnreadableBlock);
  EXPECT_EQ(checked.findings[1].cause, std::nullopt);
  EXPECT_EQ(checked.findings[2].kind, Kind::UnreadableData);
  EXPECT_EQ(checked.findings[2].cause, 1U);
  EXPECT_EQ(checked.result.lostBlocks, 1U);
  EXPECT_EQ(checked.result.lostVariables, 1U);
}

TEST(ModelCheck, FileCutAtHalf_HasOneCause) {
  for (const char* name : {"bracket.tev", "heatsink.tev"}) {
    const std::string path = std::string(TEVINFO_EXAMPLES_DIR) + "/" + name;
    std::string bytes = TempDir().Read(path);
    bytes.resize(bytes.size() / 2);
    const Checked checked = Check(bytes);
    EXPECT_EQ(checked.result.verdict, Verdict::Damaged);
    EXPECT_EQ(checked.result.lostBlocks, 4U);  // of the six or ten blocks of data that have numbers
    EXPECT_GT(checked.result.lostVariables, 10U);
    EXPECT_EQ(checked.findings.front().kind, Kind::BlockOutsideFile);
    EXPECT_EQ(
        std::ranges::count(checked.findings, std::optional<std::uint64_t>(0), &Finding::cause),
        static_cast<std::ptrdiff_t>(checked.findings.size()) - 1)
        << name;
  }
}

TEST(ModelCheck, FindingsOfOneKind_EndAtTheLimit) {
  // Five links of each record lead to nothing, and one record has an id that repeats.
  constexpr std::uint32_t kCount = 2500;
  const std::string bytes = Records(kCount, [](std::uint32_t, auto& links) {
    links.parent = links.previous = links.next = links.first = links.last = 1U << 20;
  });
  const Checked limited = Check(bytes);
  EXPECT_EQ(Count(limited.findings, Kind::LinkToNothing), 10000U);
  EXPECT_EQ(limited.result.untold.at(Kind::LinkToNothing), 5U * kCount - 10000U);
  EXPECT_EQ(limited.result.untold.size(), 1U);
  EXPECT_EQ(Count(limited.findings, Kind::UnreferencedNode), kCount - 1U);
  const Checked all = Check(bytes, Limit::None);
  EXPECT_EQ(Count(all.findings, Kind::LinkToNothing), 5U * kCount);
  EXPECT_TRUE(all.result.untold.empty());
  EXPECT_EQ(all.result.damages, limited.result.damages);
}

/// A model with one field of three components.
ModelWriter FieldOf(const std::vector<float>& values, const std::string& name = "Speed",
                    std::uint32_t type = kVectorResult) {
  ModelWriter model;
  const NodeRef mesh =
      model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("model", 0)));
  model.AddVariable(mesh, Variable::Floats(name, type, 3, values));
  return model;
}

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(ModelCheck, FieldWithNumbersThatAreNotFinite_IsAWarningWithTheirCountAndFirstPlace) {
  const Checked checked = Check(FieldOf({1, 2, 3, 4, 5, kNan, -kInfinity, 8, 9}).Build());
  EXPECT_EQ(TextsOf(checked.findings),
            "2 numbers are NaN or infinite, the first one component 2 of tuple 1\n");
  EXPECT_EQ(checked.findings.at(0).kind, Kind::NotFinite);
  EXPECT_EQ(checked.findings.at(0).variable->name, "Speed");
  EXPECT_EQ(checked.result.verdict, Verdict::Warning);
  EXPECT_EQ(TextsOf(FindingsOf(FieldOf({kInfinity, 2, 3}).Build())),
            "1 number is NaN or infinite, the first one component 0 of tuple 0\n");
}

TEST(ModelCheck, VariablesOfOneName_AreEachCheckedWithTheirOwnNumbers) {
  ModelWriter model = FieldOf({1, 2, kNan});
  model.AddVariable(3, Variable::Floats("Speed", kVectorResult, 3, {1, 2, 3}));
  const auto findings = FindingsOf(model.Build());
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].kind, Kind::NotFinite);
  EXPECT_EQ(findings[0].variable->number, 0U);
  model.VariableAt(3, 0).heavyPosition = 4000;
  const auto lost = FindingsOf(model.Build());
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].kind, Kind::UnreadableData);
  EXPECT_EQ(lost[0].variable->number, 0U);
}

TEST(ModelCheck, CoordinatesThatAreNotFinite_AreAWarning) {
  EXPECT_EQ(Check(FieldOf({1, kNan, 3}, "Coordinates", kCoordinates).Build()).result.verdict,
            Verdict::Warning);
}

TEST(ModelCheck, IdsAndIndicesWhoseBitsAreThoseOfNan_AreSound) {
  for (const char* name : {"Node Ids", "Element Ids", "Element IDs", "Element Indices"}) {
    EXPECT_EQ(TextsOf(FindingsOf(FieldOf({1, kNan, 3}, name).Build())), "") << name;
  }
  const auto findings = FindingsOf(FieldOf({1, kNan, 3}, "Connectivity", kConnectivity).Build());
  EXPECT_EQ(Count(findings, Kind::NotFinite), 0U);  // that they are no nodes is another matter
}

TEST(ModelCheck, LinkedFieldThatIsNotFinite_IsToldOnce) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 6) =
      Variable::Floats("Temperature\x1eTime = 0.5", kScalarResult, 1, {1, 2, kNan, 4, 5});
  const Checked checked = Check(model.Build());
  ASSERT_EQ(checked.findings.size(), 1U) << TextsOf(checked.findings);
  EXPECT_EQ(checked.findings[0].node->number, kSmallMesh1);
}

}  // namespace
}  // namespace tevtest
