// Absurd counts and lengths, and claims on the same bytes, under a limit of memory that no true
// model of that size needs.
//
// Not built with the address sanitizer: it reserves terabytes of address space for itself, so that
// no limit can be set.

#if !defined(TEVTEST_SANITIZED)

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "run/DamagedModels.h"
#include "run/SmallReport.h"
#include "run/TevCheckRun.h"
#include "run/TevInfoRun.h"
#include "support/ByteWriter.h"
#include "support/ModelWriter.h"
#include "support/SmallModel.h"
#include "support/Variable.h"

namespace tevtest {
namespace {

constexpr rlim_t kLimit = rlim_t{192} * 1024 * 1024;

class MemoryLimit : public TevInfoRun, public ::testing::WithParamInterface<DamagedModel> {};

TEST_P(MemoryLimit, Fault_EndsTheRunWithItsText) {
  const std::string path = dir.Write("damaged.tev", GetParam().bytes);
  ExpectFailed(Run({path}, {.hooks = {Limit(RLIMIT_AS, kLimit)}}), GetParam().failure);
}

INSTANTIATE_TEST_SUITE_P(Faults, MemoryLimit, ::testing::ValuesIn(DamagedModels()),
                         [](const auto& model) { return model.param.name; });

class MemoryLimitOfAGoodModel : public TevInfoRun {};

TEST_F(MemoryLimitOfAGoodModel, RecordedLengths_TakeNoMemory) {
  ContainerWriter container = SmallModel().ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    block.compressed = true;
    block.recordedLength = 0xFFFFFFFF;
  }
  const std::string bytes = container.Build().bytes;
  ExpectReport(Run({dir.Write("model.tev", bytes)}, {.hooks = {Limit(RLIMIT_AS, kLimit)}}),
               SmallReport().Document(bytes.size()));
}

TEST_F(MemoryLimitOfAGoodModel, HeavyDataOfAVariable_IsNotReadForTheReport) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 1).byteCount = 0xFFFFFFFC;
  const std::string bytes = model.Build();
  const std::string path = dir.Write("model.tev", bytes);
  const RunOptions limited{.hooks = {Limit(RLIMIT_AS, kLimit)}};
  ExpectReport(Run({path}, limited), SmallReport().Document(bytes.size()));

  const Outcome outcome = Run({"--extract-data", path}, limited);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, Notice() + Failure("Out of Bounds", "Not enough bytes in the block",
                                              "include/Lbt/Lbf/Block"));
}

// Each block has a buffer of 10 MiB, of which only the pages that are filled may cost memory, also
// where a tree is so large that its own memory is asked for in larger pages.
TEST_F(MemoryLimitOfAGoodModel, ManySmallBlocksAfterALargeTree_CostWhatTheyHold) {
  constexpr std::uint32_t kTogether = 2100;
  constexpr std::uint32_t kApart = 300;
  const auto record = [](std::uint32_t id) {
    ByteWriter bytes;
    bytes.U32(id);
    for (int link = 0; link < 5; ++link) {
      bytes.U32(0);
    }
    return bytes.Text("").Text("").Text("").U64(0).Bytes();
  };
  std::string first = ByteWriter().U32(kTogether + kApart).Bytes();
  for (std::uint32_t id = 1; id <= kTogether; ++id) {
    first += record(id);
  }
  ContainerWriter container;
  container.AddRaw("Tev Tree", first);
  for (std::uint32_t id = 1; id <= kApart; ++id) {
    container.AddRaw("Tev Tree", record(kTogether + id));
  }
  const std::string path = dir.Write("model.tev", container.Build().bytes);
  const RunResult run =
      RunProgram({TEVINFO_PROGRAM, path}, {.environment = {{"QUARLO_TEMP_PATH", logDirectory}}});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.output.find(NativeEntry("Category", "Unknown")), std::string::npos);
  EXPECT_LT(run.peakKiB, 64 * 1024);
}

class MemoryLimitOfACheck : public TevCheckRun {
 protected:
  /// 40,000 tree records of 47 bytes, each with five links to nothing.
  [[nodiscard]] static std::string DeadLinks() {
    constexpr std::uint32_t kCount = 40000;
    ByteWriter tree;
    tree.U32(kCount);
    for (std::uint32_t id = 1; id <= kCount; ++id) {
      tree.U32(id);
      for (std::uint32_t link = 1; link <= 5; ++link) {
        tree.U32(kCount + link);
      }
      tree.Text("").Text("").Text("0.1").U64(0);
    }
    return ContainerWriter().AddCompressed("Tev Tree", tree.Bytes()).Build().bytes;
  }

  /// How often "text" stands in what a run prints that ends with status 2.
  [[nodiscard]] std::size_t Count(const std::vector<std::string>& arguments,
                                  std::string_view text) const {
    const RunResult run = Run(arguments, {.hooks = {Limit(RLIMIT_AS, kLimit / 3)}});
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.error.ends_with(" damaged\n")) << run.error;
    std::size_t count = 0;
    for (auto at = run.output.find(text); at != std::string::npos;
         at = run.output.find(text, at + text.size())) {
      ++count;
    }
    return count;
  }
};

TEST_F(MemoryLimitOfACheck, VeryManyFindings_TakeLittleMemory) {
  dir.Write("m.tev", DeadLinks());
  EXPECT_EQ(Count({"check", "m.tev"}, " is a node that does not exist (claimed 4000"), 10000U);
  EXPECT_EQ(Count({"check", "--all", "m.tev"}, " is a node that does not exist (claimed 4000"),
            200000U);
  EXPECT_EQ(Count({"check", "--all", "--json", "m.tev", "m.tev"}, "\"link-to-nothing\""), 400000U);
}

TEST_F(MemoryLimitOfACheck, VeryManyBlocks_AreListedAsTheyAreMade) {
  ContainerWriter writer;
  for (int i = 0; i < 100000; ++i) {
    writer.AddRaw("Tev Tree", "");
  }
  dir.Write("m.tev", writer.Build().bytes);
  const RunResult run =
      Run({"blocks", "--json", "m.tev", "m.tev"}, {.hooks = {Limit(RLIMIT_AS, kLimit / 3)}});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.error, "");
  EXPECT_NE(run.output.rfind("\"number\": 99999,"), std::string::npos);
}

// Several variables may claim the same bytes: their values stand in memory once.
class SharedBytes : public TevInfoRun {
 protected:
  /// A model whose variables all claim the whole of one block, which compresses to almost nothing.
  [[nodiscard]] std::string Model(std::string_view name) const {
    ModelWriter model;
    const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("S", model.AddGroup("Part", 0)));
    for (std::size_t i = 0; i < kVariables; ++i) {
      Variable variable = Variable::Floats(name, kScalarResult, 1, {});
      variable.heavyBytes = i == 0 ? std::string(kBlock, '\0') : std::string();
      variable.heavyPosition = 0;
      variable.byteCount = kBlock;
      model.AddVariable(mesh, variable);
    }
    model.SetLayout(kHeavyData, {.packing = StreamLayout::Packing::Compressed});
    return dir.Write("model.tev", model.Build());
  }

  /// Whether the data sets are gathered with so much memory for the program's own data.
  [[nodiscard]] bool IsGathered(const std::string& model, std::size_t memory) const {
    const Outcome outcome =
        Run({"--extract-data", model}, {.environment = {{"PRAMO_DEFAULT_TEV_BLOCK_SIZE", "0"}},
                                        .hooks = {Limit(RLIMIT_DATA, memory)}});
    EXPECT_EQ(outcome.signal, 0);
    if (outcome.error == Notice())
      return outcome.status == 0;
    EXPECT_TRUE(outcome.error.ends_with("Exception: std::bad_alloc\n")) << outcome.error;
    return false;
  }

  static constexpr std::uint32_t kBlock = 4 * 1024 * 1024;
  static constexpr std::size_t kVariables = 16;
};

TEST_F(SharedBytes, DumpOfThem_TakesTheMemoryOfOne) {
  const std::string model = Model("Heat");
  EXPECT_TRUE(IsGathered(model, 4 * kBlock));
  EXPECT_FALSE(IsGathered(model, 2 * kBlock));
}

TEST_F(SharedBytes, ElementIndices_TakeItTwice) {
  const std::string model = Model("Element Indices");
  EXPECT_TRUE(IsGathered(model, 5 * kBlock));
  EXPECT_FALSE(IsGathered(model, 3 * kBlock));
}

}  // namespace
}  // namespace tevtest

#endif
