#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {

/// The small model with so much between them that the header, the index and the block of each of
/// its six streams take a read of the system each.
inline std::string SpacedModel() {
  constexpr std::size_t kGap = std::size_t{16} * 1024;
  ContainerWriter container = SmallModel().ToContainer();
  container.SetIndexTrailing(std::string(kGap, '\0'));
  std::vector<BlockSpec> blocks;
  for (BlockSpec& block : container.Blocks()) {
    blocks.push_back({.name = "Gap", .payload = std::string(kGap, ' ')});
    blocks.push_back(std::move(block));
  }
  container.Blocks() = std::move(blocks);
  return container.Build().bytes;
}

inline constexpr long kReadsOfSpacedModel = 1 + 1 + 6;

/// Runs in which one call of the system or of the C library fails: see preload/Faults.cpp.
class FailingCalls : public TevInfoRun {
 protected:
  FailingCalls() {
    for (const std::string& path : {model, spaced})
      std::filesystem::last_write_time(path, written);
  }

  ~FailingCalls() override {
    EXPECT_EQ(ReadFile(model), bytes);
    EXPECT_EQ(ReadFile(spaced), spacedBytes);
    for (const std::string& path : {model, spaced})
      EXPECT_EQ(std::filesystem::last_write_time(path), written);
  }

  /// How a run whose call "number" fails is started.
  [[nodiscard]] RunOptions Failing(std::string_view fault, long number) const {
    std::filesystem::remove(dir / "reached");
    return {.environment = {{"LD_PRELOAD", FAULT_PRELOAD},
                            {"TEVTEST_FAULT", std::string(fault)},
                            {"TEVTEST_CALL", std::to_string(number)},
                            {"TEVTEST_MARK", dir / "reached"}}};
  }

  /// Runs TevInfo again and again, each time with a later call failing, until a run has no such
  /// call. Every run must have ended by itself and pass "check". Returns the number of calls.
  long ForEachCall(std::string_view fault, const std::vector<std::string>& arguments,
                   const std::function<void(const Outcome&, long call)>& check) const {
    long call = 1;
    for (;; ++call) {
      SCOPED_TRACE(std::string(fault) + " " + std::to_string(call));
      const Outcome outcome = Run(arguments, Failing(fault, call));
      if (!dir.Has("reached"))
        break;
      EXPECT_EQ(outcome.signal, 0);
      EXPECT_FALSE(outcome.hung);
      check(outcome, call);
      if (HasFailure())
        break;
    }
    return call - 1;
  }

  [[nodiscard]] bool IsFull(const Outcome& outcome, std::string_view answer) const {
    return outcome.status == 0 && outcome.error == Notice() &&
           outcome.output == std::string(kMemoryLine) + std::string(answer);
  }

  /// What a dump of the model is.
  [[nodiscard]] std::string Dump() const {
    return Run({"--extract-data", model}).output.substr(kMemoryLine.size());
  }

  [[nodiscard]] std::string ReadError(std::string_view file) const {
    return Notice() + Failure("Read Error", "Unable to read from file", file);
  }

  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string document = SmallReport().Document(bytes.size());
  const std::string spacedBytes = SpacedModel();
  const std::string spaced = dir.Write("spaced.tev", spacedBytes);
  /// Far from now and in whole seconds, so that any change shows.
  const std::filesystem::file_time_type written =
      std::chrono::floor<std::chrono::seconds>(std::filesystem::last_write_time(model)) -
      std::chrono::hours(48);
};

}  // namespace tevtest
