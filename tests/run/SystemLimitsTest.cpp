// What the system allows a run: little stack, a report that is a link or in a folder that is
// closed.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "run/TevInfoRun.h"
#include "support/Mask.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLong = 300000;

/// The small model with a comment that makes its report longer than any pipe.
std::string LongModel() {
  ModelWriter model = SmallModel();
  model.ModifierAt(0).comment = std::string(kLong, 'c');
  return model.Build();
}

class SystemLimits : public TevInfoRun {
 protected:
  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string longModel = dir.Write("long.tev", LongModel());
};

class EkmRuns : public SystemLimits {
 protected:
  [[nodiscard]] std::string Report(const std::string& path) const {
    EXPECT_EQ(Run({"--ekm-meta-data", path}).status, 0);
    return dir.Read(kOutput);
  }

  static constexpr std::string_view kOutput = "ekm-meta-data.xml";
};

TEST_F(EkmRuns, ReportThatIsALink_IsWrittenThroughIt) {
  const std::string report = Report(longModel);
  fs::remove(dir / kOutput);
  fs::create_symlink(dir.Write("target.xml", "old"), dir / kOutput);
  EXPECT_EQ(Report(longModel), report);
  EXPECT_TRUE(fs::is_symlink(dir / kOutput));
  EXPECT_EQ(dir.Read("target.xml"), report);
}

TEST_F(EkmRuns, ReportInAFolderThatIsClosed_IsWrittenAllTheSame) {
  const std::string report = Report(longModel);
  ::chmod(dir.Write(kOutput, "old").c_str(), 0666);
  ::chmod(longModel.c_str(), 0644);
  RunOptions options;
  options.hooks.emplace_back([this] { ::chmod(dir.Path().c_str(), 0555); });
  const Outcome outcome = RunUnprivileged({"--ekm-meta-data", longModel}, options);
  ::chmod(dir.Path().c_str(), 0755);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, kMemoryLine);
  EXPECT_EQ(dir.Read(kOutput), report);
}

// A sanitizer needs more stack for itself.
#if !defined(TEVTEST_SANITIZED)

class LittleStack : public SystemLimits {
 protected:
  void ExpectSame(std::vector<std::string> command, const std::string& path) const {
    constexpr rlim_t kStack = rlim_t{128} * 1024;
    command.push_back(path);
    RunOptions options{.environment = {{"QUARLO_TEMP_PATH", logDirectory}},
                       .workingDirectory = dir.Path()};
    const RunResult whole = RunProgram(command, options);
    options.hooks = {Limit(RLIMIT_STACK, kStack)};
    const RunResult run = RunProgram(command, options);
    EXPECT_EQ(run.signal, 0) << command[0] << ' ' << command[1] << ' ' << path;
    EXPECT_EQ(run.status, whole.status);
    EXPECT_EQ(MaskPeakMemory(run.output), MaskPeakMemory(whole.output));
  }

  /// Two sound models, one that is cut and one that is no model.
  [[nodiscard]] std::vector<std::string> Paths() const {
    const std::string examples = TEVINFO_EXAMPLES_DIR;
    return {examples + "/bracket.tev", examples + "/heatsink.tev",
            dir.Write("cut.tev", bytes.substr(0, bytes.size() / 2)), dir.Write("none", "text")};
  }
};

TEST_F(LittleStack, OfEveryReport_IsEnough) {
  for (const std::string& path : Paths()) {
    ExpectSame({TEVINFO_PROGRAM, "--none"}, path);
    ExpectSame({TEVINFO_PROGRAM, "--ekm-meta-data"}, path);
    ExpectSame({TEVINFO_PROGRAM, "--extract-data"}, path);
  }
}

TEST_F(LittleStack, OfEveryVerb_IsEnough) {
  for (const std::string& path : Paths()) {
    for (const char* verb : {"info", "tree", "blocks", "check"}) {
      ExpectSame({TEV_PROGRAM, verb}, path);
      ExpectSame({TEV_PROGRAM, verb, "--json"}, path);
    }
  }
}

#endif

}  // namespace
}  // namespace tevtest
