// No run changes a model, whatever its arguments are.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "run/UnchangedModels.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

const TempDir& Directory() {
  static const TempDir directory;
  return directory;
}

TEST(UnchangedModels, OnlyModels_Count) {
  Directory().Write("model.tev", SmallModel().Build());
  Directory().Write("text", "no model");
  const UnchangedModels models({"tev", "--json", "text", "model.tev", "none.tev", "."},
                               Directory().Path());
  EXPECT_EQ(models.Count(), 1U);
}

TEST(UnchangedModels, OtherBytes_AreAFailure) {
  Directory().Write("model.tev", SmallModel().Build());
  const auto change = [] {
    const UnchangedModels models({"model.tev"}, Directory().Path());
    const auto written = fs::last_write_time(Directory() / "model.tev");
    Directory().Write("model.tev", SmallModel().Build() + "x");
    fs::last_write_time(Directory() / "model.tev", written);
  };
  EXPECT_NONFATAL_FAILURE(change(), "other bytes");
}

TEST(UnchangedModels, OtherTime_IsAFailure) {
  Directory().Write("model.tev", SmallModel().Build());
  const auto touch = [] {
    const UnchangedModels models({"model.tev"}, Directory().Path());
    const fs::path path = Directory() / "model.tev";
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(1));
  };
  EXPECT_NONFATAL_FAILURE(touch(), "model.tev");
}

}  // namespace
}  // namespace tevtest
