// Several runs of TevInfo in one process.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "TevInfo/RunDriver.h"
#include "support/Mask.h"
#include "support/ModelWriter.h"
#include "support/Process.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"

namespace {

using tevtest::ModelWriter;
using tevtest::RunResult;

class RunsInOneProcess : public testing::Test {
 protected:
  RunsInOneProcess() {
    directory_.Write("small.tev", tevtest::SmallModel().Build());
    ModelWriter other;
    other.AddShape("Frame", other.AddGroup("Geometry", other.AddGroup("model", 0)));
    directory_.Write("other.tev", other.Build());
    directory_.Write("text.tev", "no model");
  }

  /// Runs on one model after another, in one process; the status is that of the last.
  RunResult Run(const std::vector<std::string>& models) {
    RunResult result = tevtest::RunForked(
        [&] {
          int status = 0;
          for (std::string model : models) {
            std::string program = "TevInfo";
            std::vector<char*> arguments{program.data(), model.data(), nullptr};
            status = RunTevInfo(2, arguments.data());
          }
          return status;
        },
        {.environment = {{"QUARLO_TEMP_PATH", directory_.Path().string()}},
         .workingDirectory = directory_.Path().string()});
    result.output = tevtest::MaskPeakMemory(result.output);
    result.error = tevtest::MaskException(result.error);
    return result;
  }

  tevtest::TempDir directory_;
};

TEST_F(RunsInOneProcess, EachReportsItsOwnModel) {
  const RunResult small = Run({"small.tev"});
  const RunResult other = Run({"other.tev"});
  ASSERT_NE(small.output, other.output);
  const RunResult all = Run({"small.tev", "other.tev", "small.tev"});
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.output, small.output + other.output + small.output);
  EXPECT_EQ(all.error, small.error + other.error + small.error);
}

TEST_F(RunsInOneProcess, OneThatFails_LeavesTheNextAlone) {
  const RunResult failed = Run({"text.tev"});
  EXPECT_EQ(failed.status, 2);
  const RunResult small = Run({"small.tev"});
  const RunResult both = Run({"text.tev", "small.tev"});
  EXPECT_EQ(both.status, 0);
  EXPECT_EQ(both.output, small.output);
  EXPECT_EQ(both.error, failed.error + small.error);
}

TEST_F(RunsInOneProcess, EachWritesItsTraceOnce) {
  constexpr const char* kLog = "TevInfo_trace.log";
  static_cast<void>(Run({"text.tev"}));
  const std::string ofOne = directory_.Read(kLog);
  ASSERT_NE(ofOne, "");
  static_cast<void>(Run({"text.tev", "text.tev", "text.tev"}));
  EXPECT_EQ(directory_.Read(kLog), ofOne + ofOne + ofOne);
}

}  // namespace
