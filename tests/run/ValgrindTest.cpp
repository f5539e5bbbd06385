// Runs under memcheck: no invalid access, nothing uninitialised, nothing lost.
//
// Not built with the address sanitizer, which cannot run under memcheck and looks for the same
// faults itself in every other test.

#if !defined(TEVTEST_SANITIZED)

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/Process.h"
#include "support/SmallModel.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

class Valgrind : public ::testing::Test {
 protected:
  /// A run that must end with "status" and of which memcheck must find nothing to say.
  void ExpectClean(const std::vector<std::string>& arguments, int status) const {
    SCOPED_TRACE(::testing::PrintToString(arguments));
    std::vector<std::string> command{"valgrind",
                                     "--quiet",
                                     "--error-exitcode=99",
                                     "--track-fds=no",
                                     "--leak-check=full",
                                     "--show-leak-kinds=definite,indirect,possible",
                                     "--errors-for-leak-kinds=definite,indirect,possible",
                                     "--log-file=" + (dir / "findings"),
                                     TEVINFO_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const RunResult result =
        RunProgram(command, {.environment = {{"QUARLO_TEMP_PATH", dir.Path().string()}},
                             .workingDirectory = dir.Path().string(),
                             .processorTime = std::chrono::minutes(4)});
    EXPECT_EQ(result.status, status) << result.error;
    EXPECT_EQ(dir.Read("findings"), "");
  }

  [[nodiscard]] std::string Write(const ContainerWriter& container) const {
    return dir.Write("model.tev", container.Build().bytes);
  }

  const TempDir dir;
};

TEST_F(Valgrind, GoodRuns_AreClean) {
  const std::string model = Write(SmallModel().ToContainer());
  ExpectClean({model}, 0);
  ExpectClean({"--ekm-meta-data", model}, 0);
  ExpectClean({"--extract-data", model, "data.txt"}, 0);
}

TEST_F(Valgrind, RealModel_IsClean) {
  ExpectClean({TEVINFO_EXAMPLES_DIR "/heatsink.tev", "report.xml"}, 0);
}

TEST_F(Valgrind, FailingRuns_AreClean) {
  ExpectClean({}, 1);
  ExpectClean({"none.tev"}, 2);
  ExpectClean({dir.Write("text.tev", "some text\n")}, 2);
  const std::string bytes = SmallModel().Build();
  ExpectClean({dir.Write("cut.tev", bytes.substr(0, bytes.size() - 1))}, 2);
  ExpectClean({dir.Write("model.tev", bytes), "/dev/full"}, 2);
}

TEST_F(Valgrind, CorruptBlock_IsClean) {
  ContainerWriter container = SmallModel().ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    block.compressed = true;
    if (block.name == kHeavyData)
      block.storedBytes = std::string("\x64\0\0\0\x78\x9c", 6) + "no zlib stream";
  }
  ExpectClean({Write(container)}, 2);
}

TEST_F(Valgrind, FailureWhileGathering_IsClean) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 5).heavyPosition = 1000000;
  ExpectClean({"--extract-data", Write(model.ToContainer())}, 0);
}

}  // namespace
}  // namespace tevtest

#endif
