// The trace log: where it goes, what it holds, and what it never overwrites.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/ByteWriter.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDiscarded = "Unable to set log file.Log information will be discorded.\n";
constexpr const char* kNotFoundLog = "Index : # @ Element Not Found\n";

class TraceLog : public TevInfoRun {
 protected:
  [[nodiscard]] Outcome RunWithLogIn(const std::optional<std::string>& directory) const {
    return Run({model}, {.environment = {{"QUARLO_TEMP_PATH", directory}}});
  }

  /// A run whose records go nowhere, which it says.
  void ExpectDiscarded(const Outcome& outcome) const {
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, kDiscarded);
    EXPECT_EQ(outcome.output, std::string(kMemoryLine) + document);
  }

  /// A run on the small model that logs to a file of its own and ends well.
  void ExpectGoodLog(const Outcome& outcome) const { EXPECT_EQ(outcome.log, goodLog); }

  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string document = SmallReport().Document(bytes.size());
  const std::string goodLog =
      std::string(kIndexLog) + std::string(kLinksLog) + std::string(kClosingLog);
};

TEST_F(TraceLog, GoodRun_IsTracedFromTheIndexToTheClosing) { ExpectGoodLog(Run({model})); }

// The limit would cut the files of coverage counters as well.
#if !defined(TEVTEST_COUNTED)

TEST_F(TraceLog, LogThatMayNotGrow_EndsNoRun) {
  const Outcome outcome = Run({model}, {.hooks = {tevtest::Limit(RLIMIT_FSIZE, 0)}});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, std::string(kMemoryLine) + document);
  EXPECT_EQ(outcome.log, "");
}

#endif

TEST_F(TraceLog, EveryRun_StartsAFreshLog) {
  WriteFile(LogPath(), std::string(100000, 'x') + "\n");
  ExpectGoodLog(Run({model}));
  ExpectGoodLog(Run({model}));
}

TEST_F(TraceLog, DirectoryOfTheEnvironment_IsShownAsItIsWritten) {
  const Outcome slash = RunWithLogIn(logDirectory + "/");
  EXPECT_EQ(slash.error, "Writing log to \"" + logDirectory + "//TevInfo_trace.log\"\n");
  ExpectGoodLog(slash);
  const Outcome relative = RunWithLogIn("log");
  EXPECT_EQ(relative.error, "Writing log to \"log/TevInfo_trace.log\"\n");
  ExpectGoodLog(relative);
}

/// Whether a run of this user can write its log to "path".
bool IsOpenToUs(const fs::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0)
    return true;
  return S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_uid == ::geteuid();
}

// The one test that leaves its scratch directory, for a log that every run there writes anew. It
// tries again where such a run of somebody else came between.
TEST_F(TraceLog, EmptyOrUnsetVariable_SendsTheLogToTheCommonDirectory) {
  const fs::path common = "/tmp/TevInfo_trace.log";
  const std::string record = " @ Unable to open file \"" + (dir / "none.tev") + "\"\n";
  for (const std::optional<std::string>& value : {std::optional<std::string>(""), {}}) {
    bool isFound = !IsOpenToUs(common);
    for (int attempt = 0; attempt == 0 || (!isFound && attempt < 10); ++attempt) {
      const Outcome outcome =
          Run({dir / "none.tev"}, {.environment = {{"QUARLO_TEMP_PATH", value}}});
      EXPECT_TRUE(outcome.error.starts_with("Writing log to \"/tmp/TevInfo_trace.log\"\n"));
      isFound = isFound || ReadFile(common).find(record) != std::string::npos;
    }
    EXPECT_TRUE(isFound);
  }
}

TEST_F(TraceLog, DirectoryThatIsMissing_DiscardsTheRecords) {
  ExpectDiscarded(RunWithLogIn(dir / "none"));
  EXPECT_FALSE(dir.Has("none"));
}

TEST_F(TraceLog, FileInPlaceOfTheDirectory_DiscardsTheRecords) {
  ExpectDiscarded(RunWithLogIn(model));
  EXPECT_EQ(ReadFile(model), bytes);
}

TEST_F(TraceLog, DirectoryWithoutPermission_DiscardsTheRecords) {
  const std::string closed = dir.MakeDirectory("closed");
  ::chmod(closed.c_str(), 0555);
  ExpectDiscarded(RunUnprivileged({model}, {.environment = {{"QUARLO_TEMP_PATH", closed}}}));
  EXPECT_TRUE(fs::is_empty(closed));
}

TEST_F(TraceLog, DirectoryWithoutPermission_IsSaidBeforeTheUsage) {
  const Outcome outcome = Run({}, {.environment = {{"QUARLO_TEMP_PATH", dir / "none"}}});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.error, kDiscarded);
}

TEST_F(TraceLog, LogThatIsReadOnly_LosesTheRecordsSilently) {
  WriteFile(LogPath(), "former\n");
  ::chmod(LogPath().c_str(), 0444);
  ExpectReport(RunUnprivileged({model}), document);
  EXPECT_EQ(ReadFile(LogPath()), "former\n");
}

TEST_F(TraceLog, SymbolicLink_IsNotFollowed) {
  dir.Write("precious", "text");
  fs::create_symlink(dir / "precious", LogPath());
  ExpectReport(Run({model}), document);
  EXPECT_EQ(dir.Read("precious"), "text");
}

TEST_F(TraceLog, SymbolicLinkToNothing_CreatesNothing) {
  fs::create_symlink(dir / "nothing", LogPath());
  ExpectReport(Run({model}), document);
  EXPECT_FALSE(dir.Has("nothing"));
}

TEST_F(TraceLog, HardLink_IsNotWrittenTo) {
  dir.Write("precious", "text");
  fs::create_hard_link(dir / "precious", LogPath());
  ExpectReport(Run({model}), document);
  EXPECT_EQ(dir.Read("precious"), "text");
}

TEST_F(TraceLog, PipeAndDirectory_LoseTheRecordsSilently) {
  ASSERT_EQ(::mkfifo(LogPath().c_str(), 0600), 0);
  ExpectReport(Run({model}), document);
  fs::remove(LogPath());
  fs::create_directory(LogPath());
  ExpectReport(Run({model}), document);
}

TEST_F(TraceLog, ModelInPlaceOfTheLog_IsReportedOnAndLeftAsItIs) {
  WriteFile(LogPath(), bytes);
  const auto written = fs::last_write_time(LogPath());
  ExpectReport(Run({LogPath()}), document);
  EXPECT_EQ(ReadFile(LogPath()), bytes);
  EXPECT_EQ(fs::last_write_time(LogPath()), written);
}

class TraceLogOf : public TraceLog {
 protected:
  [[nodiscard]] std::string LogOf(const std::string& modelBytes) const {
    return Run({dir.Write("other.tev", modelBytes)}).log;
  }

  /// The log of a run that got past the index and found that many streams missing.
  [[nodiscard]] static std::string WithMissing(int streams) {
    std::string log(kIndexLog);
    for (int i = 0; i < streams; ++i)
      log += kNotFoundLog;
    return log.append(kLinksLog).append(kClosingLog);
  }
};

TEST_F(TraceLogOf, ModelWithoutModifiers_OneStreamIsNotFound) {
  EXPECT_EQ(LogOf(SmallModel().LeaveOut(kGlobalInformation).Build()), WithMissing(1));
}

TEST_F(TraceLogOf, ModelWithoutMaterials_OneStreamIsNotFoundOnceForAllShapes) {
  EXPECT_EQ(LogOf(SmallModel().LeaveOut(kResources).Build()), WithMissing(1));
}

TEST_F(TraceLogOf, ModelWithoutAttributes_OneStreamIsNotFoundOnceForAllLists) {
  ModelWriter changed;
  changed.AddGroup("model", 0);
  changed.SetModifierCount(0);
  EXPECT_EQ(LogOf(changed.LeaveOut(kAttributes).Build()), WithMissing(1));
}

TEST_F(TraceLogOf, ModelWithoutMaterialsAndAttributes_HasALineForEachStream) {
  EXPECT_EQ(LogOf(SmallModel().LeaveOut(kResources).LeaveOut(kAttributes).Build()), WithMissing(2));
}

TEST_F(TraceLogOf, ContainerWithoutAModel_HasNeitherModifiersNorATree) {
  EXPECT_EQ(LogOf(ContainerWriter().AddRaw("Other", "text").Build().bytes), WithMissing(2));
}

TEST_F(TraceLogOf, IndexWithoutEntries_IsReadAgainForEachStream) {
  const std::string once = std::string(kIndexLog) + kNotFoundLog;
  EXPECT_EQ(LogOf(ContainerWriter().Build().bytes),
            once + once + std::string(kLinksLog) + std::string(kClosingLog));
}

TEST_F(TraceLogOf, MissingFile_IsLoggedAndNothingIsClosed) {
  EXPECT_EQ(Run({"none.tev"}).log,
            "LbFile : # @ Unable to open file \"none.tev\"\nLbFile : # @ Closing file ...\n");
}

TEST_F(TraceLogOf, FileOfAnotherKind_IsLoggedAtItsFixedLine) {
  dir.Write("text.tev", "some text\n");
  EXPECT_EQ(Run({"text.tev"}).log,
            "Tree : 729 @ text.tev is not a Tev file\n" + std::string(kClosingLog));
}

TEST_F(TraceLogOf, NewerVersion_IsLoggedWithAllItsLines) {
  EXPECT_EQ(LogOf(ContainerWriter().SetVersion("1.4").Build().bytes),
            "LbFile : # @ This file is of tev file version 14.\n"
            "This version of Quarlo only supports tev file version upto 13.\n\n" +
                std::string(kClosingLog));
}

TEST_F(TraceLogOf, IndexThatIsCut_EndsTheTraceThere) {
  EXPECT_EQ(LogOf(bytes.substr(0, 20)),
            "LbFile : # @ Reading index positions ... \nIndex : # @ Reading index block ... \n"
            "Block : # @ Unable to read from file\n" +
                std::string(kClosingLog));
}

TEST_F(TraceLogOf, RecordThatIsTooLong_IsLoggedAtItsFixedLine) {
  ModelWriter changed = SmallModel();
  changed.At(kSmallShape1).Shape().material->envelope.recordSize = 20;
  EXPECT_EQ(LogOf(changed.Build()), std::string(kIndexLog) +
                                        "BlockVersionedIo : 184 @ Unknown Version\n" +
                                        std::string(kClosingLog));
}

TEST_F(TraceLogOf, BlockThatZlibRefuses_LeavesNoRecord) {
  const std::string garbage = ByteWriter().U32(4).Raw("garbage").Bytes();
  EXPECT_EQ(LogOf(ContainerWriter()
                      .Add({.name = "Tev Tree", .compressed = true, .storedBytes = garbage})
                      .Build()
                      .bytes),
            std::string(kIndexLog) + kNotFoundLog + std::string(kClosingLog));
}

TEST_F(TraceLogOf, ShapeWithoutAGeometry_IsLoggedAfterTheLinks) {
  ModelWriter changed = SmallModel();
  changed.At(kSmallShape2).firstChild = 999;
  EXPECT_EQ(LogOf(changed.Build()), std::string(kIndexLog) + std::string(kLinksLog) +
                                        "AdtTree : # @ Element Not Found\n" +
                                        std::string(kClosingLog));
}

}  // namespace
}  // namespace tevtest
