// The machine's own faults that no other test of a run has: what goes away during a run, runs in
// each other's way, nothing left to open files with. Whatever happens, the model stays as it is.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/Mask.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

class Faults : public TevInfoRun {
 protected:
  Faults() { fs::last_write_time(model, written); }

  void ExpectModelUntouched() const {
    EXPECT_EQ(ReadFile(model), bytes);
    EXPECT_EQ(fs::last_write_time(model), written);
  }

  /// One run among several at once: leaves the log alone, which another one may just be emptying.
  [[nodiscard]] RunResult RunBeside(const std::vector<std::string>& arguments,
                                    RunOptions options = {}) const {
    std::vector<std::string> command{TEVINFO_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    options.environment = {{"QUARLO_TEMP_PATH", logDirectory}};
    options.workingDirectory = dir.Path().string();
    return RunProgram(command, options);
  }

  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string document = SmallReport().Document(bytes.size());
  // Far from now and in whole seconds, so that any change shows.
  const fs::file_time_type written =
      std::chrono::floor<std::chrono::seconds>(fs::last_write_time(model)) - std::chrono::hours(48);
};

TEST_F(Faults, OfStandardStreams_LeaveTheModelAsItIs) {
  for (const Redirect& stream : {Redirect::Closed(), Redirect::To("/dev/full")}) {
    EXPECT_EQ(Run({model}, {.output = stream}).status, 2);
    EXPECT_EQ(Run({model}, {.output = stream, .error = stream}).status, 2);
    EXPECT_EQ(Run({model, model}, {.output = stream}).status, 2);
    EXPECT_EQ(
        Run({"--extract-data", model}, {.input = Redirect::Closed(), .output = stream}).status, 2);
  }
  EXPECT_EQ(Run({model, "/dev/full"}).status, 2);
  ExpectModelUntouched();
}

TEST_F(Faults, OutputDirectoryWithoutPermission_SendsTheReportToStandardOutput) {
  const std::string closed = dir.MakeDirectory("closed");
  ::chmod(closed.c_str(), 0555);
  ExpectReport(RunUnprivileged({model, closed + "/report.xml"}), document);
  EXPECT_TRUE(fs::is_empty(closed));
  ExpectModelUntouched();
}

TEST_F(Faults, WorkingDirectoryWithoutPermission_SendsTheEkmReportToStandardOutput) {
  ::chmod(model.c_str(), 0644);
  const Outcome first = RunUnprivileged({"--ekm-meta-data", model});
  EXPECT_EQ(first.output, kMemoryLine);
  const std::string ekmDocument = dir.Read("ekm-meta-data.xml");
  fs::remove(dir / "ekm-meta-data.xml");

  RunOptions options;
  options.hooks.emplace_back([this] { ::chmod(dir.Path().c_str(), 0555); });
  const Outcome outcome = RunUnprivileged({"--ekm-meta-data", model}, options);
  ::chmod(dir.Path().c_str(), 0755);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, std::string(kMemoryLine) + ekmDocument);
  EXPECT_FALSE(dir.Has("ekm-meta-data.xml"));
  ExpectModelUntouched();
}

TEST_F(Faults, LogThatIsALinkToTheModel_LeavesTheModelAsItIs) {
  fs::create_symlink(model, LogPath());
  ExpectReport(Run({model}), document);
  ExpectReport(Run({LogPath()}), document);
  ExpectModelUntouched();

  fs::remove(LogPath());
  fs::create_hard_link(model, LogPath());
  ExpectReport(Run({model}), document);
  ExpectReport(Run({LogPath()}), document);
  ExpectModelUntouched();
}

TEST_F(Faults, LogInTheModelsPlaceAndOutput_LeaveTheModelAsItIs) {
  fs::create_hard_link(model, LogPath());
  ExpectReport(Run({model, LogPath()}), document);
  ExpectModelUntouched();
}

// A sanitizer checks pointers through a pipe: without descriptors it takes sound objects for
// broken ones.
#if !defined(TEVTEST_SANITIZED)

// What is left of the descriptors decides how far a run gets. One is the least with which the
// loader can start the program.
class NoDescriptorsLeft : public Faults {
 protected:
  /// Runs with that many descriptors beside the three standard ones.
  [[nodiscard]] Outcome RunWith(rlim_t spare, const std::vector<std::string>& arguments) const {
    return Run(arguments, {.hooks = {Limit(RLIMIT_NOFILE, 3 + spare)}});
  }
};

// Coverage counters need a descriptor at the end of a run: this run has none.
#if !defined(TEVTEST_COUNTED)

TEST_F(NoDescriptorsLeft, ForTheModel_ItCannotBeOpened) {
  const Outcome outcome = RunWith(1, {model, "report.xml"});
  ExpectFailed(outcome, Failure("Miscelleneous Error", "Unable to open file \"" + model + "\"",
                                "include/Lbt/Lbf/LbFile"));
  EXPECT_EQ(outcome.log,
            "LbFile : # @ Unable to open file \"" + model + "\"\nLbFile : # @ Closing file ...\n");
  EXPECT_FALSE(dir.Has("report.xml"));
  ExpectModelUntouched();
}

#endif

TEST_F(NoDescriptorsLeft, ForTheOutput_TheReportGoesToStandardOutput) {
  const Outcome outcome = RunWith(2, {model, "report.xml"});
  ExpectReport(outcome, document);
  EXPECT_EQ(outcome.log,
            std::string(kIndexLog) + std::string(kLinksLog) + std::string(kClosingLog));
  EXPECT_FALSE(dir.Has("report.xml"));
  ExpectModelUntouched();
}

TEST_F(NoDescriptorsLeft, ButOneForEachFile_TheRunIsWhole) {
  ExpectReport(RunWith(3, {model, "report.xml"}), "");
  EXPECT_EQ(dir.Read("report.xml"), document);
  ExpectModelUntouched();
}

TEST_F(NoDescriptorsLeft, ButOneForTheModel_TheCompanionAnswersInFull) {
  const RunResult whole = RunProgram({TEV_PROGRAM, "info", model});
  const RunResult scarce =
      RunProgram({TEV_PROGRAM, "info", model}, {.hooks = {Limit(RLIMIT_NOFILE, 3 + 1)}});
  EXPECT_EQ(scarce.status, 0);
  EXPECT_EQ(scarce.error, "");
  EXPECT_EQ(scarce.output, whole.output);
  ExpectModelUntouched();
}

#endif

/// Both ends of a pipe.
class Pipe {
 public:
  Pipe() {
    if (::pipe2(ends_.data(), O_CLOEXEC) != 0)
      throw std::runtime_error("cannot make a pipe");
  }
  ~Pipe() {
    ::close(ends_[0]);
    CloseWriter();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  [[nodiscard]] int Writer() const { return ends_[1]; }

  void CloseWriter() {
    if (ends_[1] >= 0)
      ::close(ends_[1]);
    ends_[1] = -1;
  }

  [[nodiscard]] bool WaitForBytes() const {
    constexpr int kForever = -1;  // a run that ends without any ends the wait, too
    pollfd wanted{ends_[0], POLLIN, 0};
    return ::poll(&wanted, 1, kForever) == 1 && (wanted.revents & POLLIN) != 0;
  }

  /// Everything up to the end that the last writer makes.
  [[nodiscard]] std::string ReadAll() const {
    std::string all;
    std::array<char, 4096> part{};
    for (ssize_t count = 1; count > 0;) {
      count = ::read(ends_[0], part.data(), part.size());
      all.append(part.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return all;
  }

 private:
  std::array<int, 2> ends_{-1, -1};
};

/// A run on a model whose report is longer than a pipe is wide, held up in the middle of writing
/// it: "meanwhile" happens, then the rest is read.
class HeldUp : public Faults {
 protected:
  void ExpectWholeReport(const std::function<void()>& meanwhile) const {
    constexpr std::size_t kMoreThanAPipe = 300000;
    ModelWriter changed = SmallModel();
    changed.ModifierAt(0).comment = std::string(kMoreThanAPipe, 'c');
    const std::string longBytes = changed.Build();
    const std::string longModel = dir.Write("long.tev", longBytes);
    Pipe pipe;
    RunResult result;
    std::thread run([&] {
      result = RunBeside({longModel}, {.output = Redirect::ToDescriptor(pipe.Writer())});
      pipe.CloseWriter();
    });
    EXPECT_TRUE(pipe.WaitForBytes());
    meanwhile();
    const std::string output = MaskPeakMemory(pipe.ReadAll());
    run.join();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, Notice());
    EXPECT_TRUE(output.starts_with(std::string(kMemoryLine) + "<lbt:metadata "));
    EXPECT_NE(output.find(std::string(kMoreThanAPipe, 'c')), std::string::npos);
    EXPECT_TRUE(output.ends_with("</lbt:metadata>\n"));
  }
};

TEST_F(HeldUp, LogDirectoryThatIsRemoved_LosesTheLogOnly) {
  ExpectWholeReport([this] { fs::remove_all(logDirectory); });
  EXPECT_FALSE(fs::exists(logDirectory));
}

TEST_F(HeldUp, LogDirectoryThatIsClosed_LosesNothing) {
  ExpectWholeReport([this] { ::chmod(logDirectory.c_str(), 0555); });
  EXPECT_TRUE(ReadFile(LogPath()).ends_with("File closed.\n"));
}

TEST_F(HeldUp, ModelThatIsEmptiedOrRemoved_HasBeenReadByThen) {
  ExpectWholeReport([this] { dir.Write("long.tev", ""); });
  ExpectWholeReport([this] { fs::remove(dir / "long.tev"); });
}

/// The lines of a log, each once, with its free line number masked.
std::set<std::string> LinesOf(const std::string& log) {
  std::set<std::string> lines;
  std::istringstream stream(MaskLog(log));
  for (std::string line; std::getline(stream, line);)
    lines.insert(line);
  return lines;
}

TEST_F(Faults, ThirtyRunsAtOnce_AllReportAndShareTheLogLineByLine) {
  constexpr std::size_t kRuns = 30;
  static_cast<void>(Run({model}));
  const std::set<std::string> known = LinesOf(ReadFile(LogPath()));
  std::vector<RunResult> results(kRuns);
  std::vector<std::thread> threads;
  for (RunResult& result : results)
    threads.emplace_back([this, &result] { result = RunBeside({model}); });
  for (std::thread& thread : threads)
    thread.join();
  for (const RunResult& result : results) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, Notice());
    EXPECT_EQ(MaskPeakMemory(result.output), std::string(kMemoryLine) + document);
  }
  for (const std::string& line : LinesOf(ReadFile(LogPath())))
    EXPECT_EQ(known.count(line), 1U) << line;
  ExpectModelUntouched();
  EXPECT_EQ(Run({model}).log,
            std::string(kIndexLog) + std::string(kLinksLog) + std::string(kClosingLog));
}

/// Runs beside a thread that changes the model again and again. Its size was looked up before it
/// was opened, so the entry for it may be that of another moment.
class ChangingModel : public Faults {
 protected:
  /// Calls "change" in a thread of its own until "runs" are done, and gives each outcome to
  /// "check".
  template <class Change, class Check>
  void Race(std::size_t runs, Change change, Check check) const {
    std::atomic<bool> isDone = false;
    std::thread changer([&] {
      while (!isDone)
        change();
    });
    for (std::size_t i = 0; i < runs; ++i) {
      RunResult result = RunBeside({model});
      result.output = WithoutSize(MaskPeakMemory(result.output));
      result.error = MaskException(result.error);
      check(result);
    }
    isDone = true;
    changer.join();
  }

  [[nodiscard]] static std::string WithoutSize(std::string text) {
    const std::size_t start = text.find("        <attribute name=\"Tev File Size\"");
    if (start != std::string::npos)
      text.erase(start, text.find('\n', start) + 1 - start);
    return text;
  }

  static constexpr std::size_t kRaces = 150;
};

TEST_F(ChangingModel, CutAndWrittenAgain_IsReportedInFullOrCannotBeRead) {
  const std::string whole = std::string(kMemoryLine) + WithoutSize(document);
  const std::string unreadable =
      Notice() + Failure("Read Error", "Unable to read from file", "include/Lbt/Lbf/Block");
  const int file = ::open(model.c_str(), O_WRONLY | O_CLOEXEC);
  ASSERT_GE(file, 0);
  // The header stays: what a file without it is has tests of its own.
  const std::array<std::size_t, 4> sizes{16, 200, bytes.size() / 2, bytes.size() - 1};
  const auto change = [&] {
    for (const std::size_t size : sizes) {
      const std::string_view rest = std::string_view(bytes).substr(size);
      EXPECT_EQ(::ftruncate(file, static_cast<off_t>(size)), 0);
      std::this_thread::sleep_for(std::chrono::microseconds(500));
      EXPECT_EQ(::pwrite(file, rest.data(), rest.size(), static_cast<off_t>(size)),
                static_cast<ssize_t>(rest.size()));
      std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
  };
  Race(kRaces, change, [&](const RunResult& result) {
    if (result.status == 0) {
      EXPECT_EQ(result.output, whole);
      EXPECT_EQ(result.error, Notice());
    } else {
      EXPECT_EQ(result.status, 2);
      EXPECT_EQ(result.output, "");
      EXPECT_EQ(result.error, unreadable);
    }
  });
  ::close(file);
  EXPECT_EQ(ReadFile(model), bytes);
}

TEST_F(ChangingModel, ReplacedByAnother_IsReportedAsTheOneOrTheOther) {
  ModelWriter other = SmallModel();
  other.At(kSmallShape1).name = "Girder";
  const std::string otherBytes = other.Build();
  SmallReport otherReport;
  std::string& summary = otherReport.summary;
  summary.replace(summary.find("Frame, Panel"), 5, "Girder");
  const std::set<std::string> documents{
      std::string(kMemoryLine) + WithoutSize(document),
      std::string(kMemoryLine) + WithoutSize(otherReport.Document(otherBytes.size()))};
  const auto change = [&] {
    for (const std::string& next : {otherBytes, bytes})
      fs::rename(dir.Write("next.tev", next), model);
  };
  Race(kRaces, change, [&](const RunResult& result) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, Notice());
    EXPECT_EQ(documents.count(result.output), 1U) << result.output;
  });
  EXPECT_EQ(ReadFile(model), bytes);
}

}  // namespace
}  // namespace tevtest
