// Damages a dozen small models in every systematic way and runs everything that the programs do on
// each of the results, in this process. Only a slice of them unless TEVINFO_SWEEP says "all".

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <string>
#include <string_view>

#include "Mutants.h"
#include "Outcomes.h"
#include "Scratch.h"
#include "support/Process.h"
#include "support/VariedModels.h"

namespace {

constexpr std::size_t kSlice = 23;

class Sweep : public testing::TestWithParam<tevtest::VariedModel> {
 protected:
  /// Tries all mutants and prints what came of them.
  void Run() {
    const ScratchFile file;
    std::size_t count = 0;
    {
      const Silence silence;
      count = ForEachMutant(GetParam().bytes, Stride(kSlice), [&](const std::string& mutant) {
        file.Write(mutant);
        TryEverything(file.Path(), outcomes_);
      });
    }
    std::cout << GetParam().name << ": " << count << " files\n";
    for (const auto& [end, number] : outcomes_) {
      std::cout << "  " << end << ": " << number << '\n';
    }
    constexpr std::size_t kWorks = 11;
    const std::size_t sum =
        std::accumulate(outcomes_.begin(), outcomes_.end(), std::size_t{0},
                        [](std::size_t total, const auto& end) { return total + end.second; });
    EXPECT_EQ(sum, count * kWorks) << "some work has no outcome";
    EXPECT_GT(count, GetParam().bytes.size() * 10 / Stride(kSlice))
        << "fewer files than there are ways";
  }

  [[nodiscard]] std::size_t CountOf(std::string_view part) const {
    return std::accumulate(outcomes_.begin(), outcomes_.end(), std::size_t{0},
                           [part](std::size_t total, const auto& end) {
                             return total +
                                    (end.first.find(part) == std::string::npos ? 0 : end.second);
                           });
  }

  Outcomes outcomes_;
};

TEST_P(Sweep, EveryDamage_EndsInANamedWay) {
  // Buffers of just the size that they need let the sanitizer see every read beyond one.
  setenv("PRAMO_DEFAULT_TEV_BLOCK_SIZE", "0", 1);
  Run();
  EXPECT_EQ(CountOf("not allowed"), 0U);
  EXPECT_EQ(CountOf("bad alloc"), 0U);
  EXPECT_EQ(CountOf("Memory Allocation Error"), 0U);
  EXPECT_GT(CountOf("done"), 0U);
  EXPECT_GT(CountOf("tev blocks: failed"), 0U);
}

// A sanitizer reserves address space of its own, so that a limit on it means nothing there.
#if !defined(TEVTEST_SANITIZED)

TEST_P(Sweep, EveryDamage_StaysWithinTheMemoryOfItsContents) {
  // No model of the sweep inflates to more than this.
  constexpr std::size_t kInflated = 16384;
  constexpr std::size_t kLimit = std::size_t{256} * 1024 * 1024 + 10 * kInflated;
  unsetenv("PRAMO_DEFAULT_TEV_BLOCK_SIZE");  // the growth step that users have
  const auto result = tevtest::RunForked(
      [this] {
        Run();
        return CountOf("bad alloc") + CountOf("Memory Allocation Error") == 0 &&
                       CountOf("not allowed") == 0 && !HasFailure()
                   ? 0
                   : 1;
      },
      {.hooks = {tevtest::Limit(RLIMIT_AS, kLimit)},
       .processorTime = std::chrono::minutes(20),
       .hang = std::chrono::hours(2)});
  EXPECT_EQ(result.status, 0) << result.output << result.error;
}

#endif

INSTANTIATE_TEST_SUITE_P(VariedModels, Sweep, testing::ValuesIn(tevtest::VariedModels()),
                         [](const auto& model) {
                           std::string name = model.param.name;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
