// What the system allows a run: little stack, a report that is a link, in a folder that is closed,
// wanted by two runs or the log of its own, standard output that would block.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <future>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "run/TevInfoRun.h"
#include "support/HostileModels.h"
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

// The first round has no file to begin with, the others have that of the round before.
TEST_F(EkmRuns, TwoAtATime_LeaveTheReportOfOne) {
  const std::set<std::string> reports{Report(model), Report(longModel)};
  fs::remove(dir / kOutput);
  for (int round = 0; round < 10; ++round) {
    auto other = std::async(std::launch::async, [this] {
      return RunProgram(
          {TEVINFO_PROGRAM, "--ekm-meta-data", model},
          {.environment = {{"QUARLO_TEMP_PATH", dir.Path()}}, .workingDirectory = dir.Path()});
    });
    const std::string report = Report(longModel);
    EXPECT_TRUE(reports.contains(report)) << report.size();
    EXPECT_EQ(other.get().status, 0);
    EXPECT_TRUE(reports.contains(dir.Read(kOutput)));
  }
}

class OwnLog : public SystemLimits {};

TEST_F(OwnLog, AsTheOutput_IsLeftToTheLog) {
  fs::create_symlink(LogPath(), dir / "link.log");
  const std::string report = Run({model}).output;
  for (const std::string& path :
       {LogPath(), logDirectory + "/.././log/TevInfo_trace.log", dir / "link.log"}) {
    const Outcome outcome = Run({model, path});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, report);
    EXPECT_EQ(outcome.error, Notice());
    EXPECT_EQ(outcome.log,
              std::string(kIndexLog) + std::string(kLinksLog) + std::string(kClosingLog));
  }
}

/// A pipe whose writers are told when it is full instead of being kept waiting.
class ImpatientPipe {
 public:
  ImpatientPipe() {
    EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC | O_NONBLOCK), 0);
    EXPECT_EQ(::fcntl(ends_[1], F_SETPIPE_SZ, kSize), kSize);
  }
  ~ImpatientPipe() {
    ::close(ends_[0]);
    ::close(ends_[1]);
  }
  ImpatientPipe(const ImpatientPipe&) = delete;
  ImpatientPipe& operator=(const ImpatientPipe&) = delete;

  [[nodiscard]] Redirect Stream() const { return Redirect::ToDescriptor(ends_[1]); }

  /// What a run writes, none of which is read before the pipe is full.
  template <class Run>
  [[nodiscard]] std::string ReadLate(const std::future<Run>& run) const {
    while (!IsFull() && !HasEnded(run)) {
    }
    EXPECT_TRUE(IsFull());
    std::string text;
    for (bool isOver = false; !isOver;) {
      isOver = HasEnded(run);  // looked at before the last bytes are
      text += ReadAll();
    }
    return text;
  }

 private:
  static constexpr int kSize = 4096;

  [[nodiscard]] bool IsFull() const {
    pollfd writer{.fd = ends_[1], .events = POLLOUT, .revents = 0};
    return ::poll(&writer, 1, 0) == 0;
  }

  template <class Run>
  [[nodiscard]] static bool HasEnded(const std::future<Run>& run) {
    return run.wait_for(std::chrono::milliseconds(1)) == std::future_status::ready;
  }

  [[nodiscard]] std::string ReadAll() const {
    std::array<char, kSize> piece{};
    std::string text;
    for (ssize_t count = 0; (count = ::read(ends_[0], piece.data(), piece.size())) > 0;)
      text.append(piece.data(), static_cast<std::size_t>(count));
    return text;
  }

  std::array<int, 2> ends_{};
};

class StandardOutputThatWouldBlock : public SystemLimits {
 protected:
  /// "run" runs a program with options.
  template <class Run>
  static void ExpectWaitedFor(const Run& run) {
    const auto whole = run(RunOptions());
    EXPECT_EQ(whole.status, 0);
    EXPECT_GT(whole.output.size(), kLong);
    const ImpatientPipe pipe;
    auto late =
        std::async(std::launch::async, [&] { return run(RunOptions{.output = pipe.Stream()}); });
    EXPECT_EQ(MaskPeakMemory(pipe.ReadLate(late)), MaskPeakMemory(whole.output));
    const auto outcome = late.get();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, whole.error);
  }

  void ExpectReportWaitedFor(const std::vector<std::string>& arguments) const {
    ExpectWaitedFor([&](const RunOptions& options) { return Run(arguments, options); });
  }

  static void ExpectAnswerWaitedFor(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TEV_PROGRAM);
    ExpectWaitedFor([&](const RunOptions& options) { return RunProgram(arguments, options); });
  }

  const HostileModel large = ShapesOfOneTable(1, 2, 100000);
  const std::string table = dir.Write("table.tev", large.bytes);
};

TEST_F(StandardOutputThatWouldBlock, WithAReport_IsWaitedFor) {
  ExpectReportWaitedFor({longModel});
}

TEST_F(StandardOutputThatWouldBlock, WithADump_IsWaitedFor) {
  ExpectReportWaitedFor({"--extract-data", table});
}

TEST_F(StandardOutputThatWouldBlock, WithAnAnswer_IsWaitedFor) {
  ExpectAnswerWaitedFor({"info", longModel});
  ExpectAnswerWaitedFor({"info", "--json", longModel});
}

TEST_F(StandardOutputThatWouldBlock, WithNumbersOrBytes_IsWaitedFor) {
  ExpectAnswerWaitedFor({"values", "--result", "R", table});
  ExpectAnswerWaitedFor({"cdf", table, "g", "-"});
  ExpectAnswerWaitedFor({"block", table, std::to_string(large.blocks - 1)});
}

// A sanitizer needs more stack for itself.
#if !defined(TEVTEST_SANITIZED)

class LittleStack : public SystemLimits {
 protected:
  static constexpr std::size_t kDeep = 5000;

  void ExpectSame(const std::vector<std::string>& command) const {
    constexpr rlim_t kStack = rlim_t{128} * 1024;
    RunOptions options{.environment = {{"QUARLO_TEMP_PATH", logDirectory}},
                       .workingDirectory = dir.Path()};
    const RunResult whole = RunProgram(command, options);
    options.hooks = {Limit(RLIMIT_STACK, kStack)};
    const RunResult run = RunProgram(command, options);
    EXPECT_EQ(run.signal, 0) << ::testing::PrintToString(command);
    EXPECT_EQ(run.status, whole.status);
    EXPECT_EQ(MaskPeakMemory(run.output), MaskPeakMemory(whole.output));
  }

  /// Sound models, two of them deep, one that is cut and one that is no model.
  [[nodiscard]] std::vector<std::string> Paths() const {
    const std::string examples = TEVINFO_EXAMPLES_DIR;
    return {examples + "/bracket.tev",
            examples + "/heatsink.tev",
            dir.Write("groups.tev", NestedGroups(kDeep).bytes),
            dir.Write("parts.tev", NestedParts(kDeep / 2).bytes),
            dir.Write("cut.tev", bytes.substr(0, bytes.size() / 2)),
            dir.Write("none", "text")};
  }
};

TEST_F(LittleStack, OfEveryReport_IsEnough) {
  for (const std::string& path : Paths()) {
    ExpectSame({TEVINFO_PROGRAM, path});
    ExpectSame({TEVINFO_PROGRAM, "--ekm-meta-data", path});
    ExpectSame({TEVINFO_PROGRAM, "--extract-data", path});
  }
}

TEST_F(LittleStack, OfEveryVerb_IsEnough) {
  for (const std::string& path : Paths()) {
    for (const char* verb : {"list", "info", "tree", "blocks", "sets", "check", "results"}) {
      ExpectSame({TEV_PROGRAM, verb, path});
      ExpectSame({TEV_PROGRAM, verb, "--json", path});
    }
    ExpectSame({TEV_PROGRAM, "results", "--stats", path});
    ExpectSame({TEV_PROGRAM, "values", path});
    ExpectSame({TEV_PROGRAM, "values", "--mesh", path});
    ExpectSame({TEV_PROGRAM, "diff", path, path});
    ExpectSame({TEV_PROGRAM, "diff", path, dir / "small.tev"});
    ExpectSame({TEV_PROGRAM, "block", path, "0"});
    for (const char* geometry : {"g", "Arm"}) {
      ExpectSame({TEV_PROGRAM, "cdf", path, geometry, "-"});
    }
  }
}

#endif

}  // namespace
}  // namespace tevtest
