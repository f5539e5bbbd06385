// Checks the helpers that run programs, mask their output and keep scratch files.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/Mask.h"
#include "support/MemoryAllowance.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

using std::chrono::milliseconds;

RunResult Shell(const std::string& script, const RunOptions& options = {}) {
  return RunProgram({"/bin/sh", "-c", script}, options);
}

TEST(RunProgram, StatusAndBothOutputs_AreReported) {
  const RunResult result = Shell("echo out; echo err >&2; exit 3");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.output, "out\n");
  EXPECT_EQ(result.error, "err\n");
  EXPECT_FALSE(result.hung);
}

TEST(RunProgram, Signal_IsReportedInPlaceOfAStatus) {
  const RunResult result = Shell("kill -ABRT $$");
  EXPECT_EQ(result.status, -1);
  EXPECT_EQ(result.signal, SIGABRT);
}

TEST(RunProgram, MuchOutputOnBothChannels_IsReadWhole) {
  const RunResult result = Shell("head -c 300000 /dev/zero >&2; head -c 400000 /dev/zero");
  EXPECT_EQ(result.output.size(), 400000U);
  EXPECT_EQ(result.error.size(), 300000U);
}

TEST(RunProgram, CountedOutput_IsOnlyCounted) {
  const RunResult counted = Shell("printf 12345; echo x >&2", {.output = Redirect::Counted()});
  EXPECT_EQ(counted.output, "");
  EXPECT_EQ(counted.outputSize, 5U);
  EXPECT_EQ(counted.error, "x\n");
  EXPECT_EQ(Shell("printf 12345").outputSize, 5U);
}

TEST(RunProgram, ProgramThatHangs_IsKilledWithItsChildren) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  const RunResult result =
      Shell("(sleep 20; echo survived); true",
            {.output = Redirect::ToDescriptor(ends[1]), .hang = milliseconds(200)});
  ::close(ends[1]);
  EXPECT_TRUE(result.hung);
  EXPECT_EQ(result.signal, SIGKILL);
  char first = ' ';
  EXPECT_EQ(::read(ends[0], &first, 1), 0);
  ::close(ends[0]);
}

TEST(RunProgram, ProgramThatWorksForever_IsEndedByItsProcessorTime) {
  const RunResult result =
      Shell("trap '' XCPU; while :; do :; done", {.processorTime = std::chrono::seconds(1)});
  EXPECT_EQ(result.signal, SIGKILL);
  EXPECT_FALSE(result.hung);
  EXPECT_GE(result.processorTime, std::chrono::seconds(1));
}

TEST(RunProgram, ProgramThatWaits_UsesNoProcessorTime) {
  const RunResult result = Shell("sleep 1.2", {.processorTime = std::chrono::seconds(1)});
  EXPECT_EQ(result.status, 0);
  EXPECT_LT(result.processorTime, std::chrono::seconds(1));
}

TEST(RunProgram, MissingProgram_Throws) {
  EXPECT_THROW(static_cast<void>(RunProgram({"/nonexistent/program"})), std::runtime_error);
}

TEST(RunProgram, EnvironmentAndDirectory_AreTheChildsOnly) {
  const TempDir dir;
  ::setenv("TEVTEST_GONE", "1", 1);
  const RunResult result =
      Shell("echo \"$TEVTEST_NEW ${TEVTEST_GONE-unset}\"; pwd",
            {.environment = {{"TEVTEST_NEW", "new"}, {"TEVTEST_GONE", std::nullopt}},
             .workingDirectory = dir.Path().string()});
  EXPECT_EQ(result.output, "new unset\n" + std::filesystem::canonical(dir.Path()).string() + "\n");
  EXPECT_EQ(std::getenv("TEVTEST_NEW"), nullptr);
  EXPECT_STREQ(std::getenv("TEVTEST_GONE"), "1");
  ::unsetenv("TEVTEST_GONE");
}

TEST(RunProgram, ClosedDescriptors_AreNotOpenInTheChild) {
  const std::string script = "for d in 0 1 2; do test -e /proc/self/fd/$d && exit 1; done; exit 7";
  const RunResult closed = RunProgram(
      {"/bin/sh", "-c", script},
      {.input = Redirect::Closed(), .output = Redirect::Closed(), .error = Redirect::Closed()});
  EXPECT_EQ(closed.status, 7);
  EXPECT_EQ(RunProgram({"/bin/sh", "-c", script}).status, 1);
}

TEST(RunProgram, OtherDescriptors_AreNotInherited) {
  const int leaking = ::fcntl(STDERR_FILENO, F_DUPFD, 50);
  ASSERT_GE(leaking, 50);
  const std::string script = "test -e /proc/self/fd/" + std::to_string(leaking);
  EXPECT_EQ(Shell(script).status, 1);
  ::close(leaking);
}

TEST(RunProgram, FilesAndDescriptors_TakeTheOutput) {
  const TempDir dir;
  const std::string in = dir.Write("in", "text");
  const int out = ::open((dir / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const RunResult result = Shell("cat; echo err >&2", {.input = Redirect::To(in),
                                                       .output = Redirect::ToDescriptor(out),
                                                       .error = Redirect::To(dir / "err")});
  ::close(out);
  EXPECT_EQ(dir.Read("out"), "text");
  EXPECT_EQ(dir.Read("err"), "err\n");
  EXPECT_EQ(result.output + result.error, "");
}

TEST(RunProgram, FullDeviceAndBrokenPipe_FailTheWrite) {
  const std::vector<std::string> cat{"cat", "/proc/self/status"};
  EXPECT_EQ(RunProgram(cat, {.output = Redirect::To("/dev/full")}).status, 1);
  EXPECT_EQ(RunProgram(cat, {.output = Redirect::BrokenPipe()}).signal, SIGPIPE);
}

TEST(RunProgram, RunAsUnprivileged_IsNotRootAnyMore) {
  const RunResult result =
      Shell("id -u; id -G; grep CapEff /proc/self/status", {.hooks = {RunAsUnprivileged}});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.substr(0, 2), "0\n");
  EXPECT_NE(result.output.find("CapEff:\t0000000000000000\n"), std::string::npos);
}

TEST(RunProgram, Limit_HoldsInTheChild) {
  EXPECT_EQ(Shell("ulimit -n", {.hooks = {Limit(RLIMIT_NOFILE, 17)}}).output, "17\n");
}

TEST(RunProgram, HookThatFails_FailsTheCall) {
  const ChildHook hook = [] { throw std::runtime_error("no way"); };
  EXPECT_THROW(static_cast<void>(Shell("true", {.hooks = {hook}})), std::runtime_error);
}

TEST(RunForked, Body_RunsInAChildOfItsOwn) {
  int value = 1;
  const RunResult result = RunForked([&value] { return value = 5; });
  EXPECT_EQ(result.status, 5);
  EXPECT_EQ(value, 1);
}

#if !defined(TEVTEST_SANITIZED)

TEST(DoWithin, Memory_IsCountedAlsoWhereItIsGivenBack) {
  constexpr std::size_t kSize = 16 << 20;
  const auto work = [] {
    const std::vector<char> taken(kSize, 'x');
    if (taken.back() != 'x')
      throw std::logic_error("nothing was taken");
  };
  EXPECT_EQ(DoWithin(kSize + kSize / 4, work), Allowed::Enough);
  EXPECT_EQ(DoWithin(kSize / 2, work), Allowed::TooLittle);
}

TEST(DoWithin, WorkThatFailsOtherwise_Throws) {
  const auto work = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(static_cast<void>(DoWithin(1 << 20, work)), std::runtime_error);
}

#endif

TEST(TempDir, EndOfLife_RemovesEverything) {
  std::filesystem::path path;
  {
    const TempDir dir;
    path = dir.Path();
    WriteFile(dir.MakeDirectory("a/b") + "/c", std::string("x\0y", 3));
    EXPECT_EQ(dir.Read("a/b/c"), std::string("x\0y", 3));
    EXPECT_TRUE(dir.Has("a"));
    EXPECT_EQ(dir.EntryCount(), 1U);
    std::filesystem::permissions(path, std::filesystem::perms::none);
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TempDir, OpenToAll_SetsTheMode) {
  const TempDir dir;
  struct stat status {};
  dir.OpenToAll(false);
  ASSERT_EQ(::stat(dir.Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0755U);
  dir.OpenToAll(true);
  ASSERT_EQ(::stat(dir.Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0777U);
}

TEST(Files, ThatCannotBeReadOrWritten_Throw) {
  EXPECT_THROW(static_cast<void>(ReadFile("/nonexistent/file")), std::runtime_error);
  EXPECT_THROW(WriteFile("/nonexistent/file", "x"), std::runtime_error);
  EXPECT_THROW(WriteFile("/dev/full", "x"), std::runtime_error);
}

TEST(Mask, PeakMemory_MasksOnlyTheNumber) {
  EXPECT_EQ(MaskPeakMemory("Peak Memory Usage: 123 Mb\n<a>"), "Peak Memory Usage: # Mb\n<a>");
  for (const char* other : {"Peak Memory Usage: 1.5 Mb", "Peak Memory Usage:  Mb",
                            "Peak Memory Usage: 1 MB", " Peak Memory Usage: 1 Mb"}) {
    EXPECT_EQ(MaskPeakMemory(other), other);
  }
}

TEST(Mask, Exception_MasksTimeAndLine) {
  const std::string text =
      "Exception \"Read Error\" raised. \nDescription : d \n       File : f \n       Line : 12 \n"
      "     Method : <unknown> \n       Time : Mon Mar  4 09:12:44 2024\n \n";
  EXPECT_EQ(MaskException(text), ExpectedException("Read Error", "d", "f"));
  EXPECT_EQ(MaskException(text, LineNumber::Kept), ExpectedException("Read Error", "d", "f", "12"));
  EXPECT_EQ(MaskException("Exception: " + text + "\n"), ExpectedFailure("Read Error", "d", "f"));
}

TEST(Mask, ExceptionWithoutATime_IsLeftAlone) {
  for (const char* other : {"       Time : yesterday\n", "       Time : \n",
                            "       Time : Mon Mar  4 09:12:44 2024 \n", "       Line : x \n"}) {
    EXPECT_EQ(MaskException(other), other);
  }
}

TEST(Mask, Log_MasksTheLineNumberOfEachRecord) {
  EXPECT_EQ(MaskLog("LbFile : 12 @ Reading : 5 @ x\nplain\nTree : x @ y\n"),
            "LbFile : # @ Reading : 5 @ x\nplain\nTree : x @ y\n");
}

}  // namespace
}  // namespace tevtest
