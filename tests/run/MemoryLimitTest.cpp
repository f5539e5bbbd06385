// Absurd counts and lengths under a limit of memory that no true model of that size needs.
//
// Not built with the address sanitizer: it reserves terabytes of address space for itself, so that
// no limit can be set.

#if !defined(TEVTEST_SANITIZED)

#include <gtest/gtest.h>

#include <string>

#include "run/DamagedModels.h"
#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

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

}  // namespace
}  // namespace tevtest

#endif
