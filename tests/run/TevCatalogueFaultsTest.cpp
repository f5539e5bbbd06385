// What can happen to a scan: nothing is lost, nothing stands twice, and the failure is named.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "run/CatalogueRun.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

/// All that a catalogue holds of files, but for when it came in.
constexpr const char* kAll =
    "SELECT path, bytes, has_stats, has_check, gone, title, category, nodes, part_count, complete, "
    "failure_code, failure_message, (SELECT count(*) FROM parts WHERE model_id = models.id), "
    "(SELECT count(*) FROM results WHERE model_id = models.id), "
    "(SELECT count(*) FROM texts WHERE texts.rowid = models.id) FROM models ORDER BY path";

class TevCatalogueFaults : public CatalogueRun {
 protected:
  TevCatalogueFaults() { WriteArchive(); }

  /// An unchanged archive's catalogue by a run that nothing happened to.
  [[nodiscard]] std::string Reference() const {
    EXPECT_EQ(Scan("reference.db").status, 0);
    return Query("reference.db", kAll);
  }
};

#ifdef FAULT_PRELOAD

constexpr const char* kEnded = "a scan ended while it was reading this file";

class TevCatalogueFaultsByCalls : public TevCatalogueFaults {
 protected:
  [[nodiscard]] RunOptions With(const std::string& fault, long call) const {
    fs::remove(dir / "reached");
    return {.environment = {{"LD_PRELOAD", FAULT_PRELOAD},
                            {"TEVTEST_FAULT", fault},
                            {"TEVTEST_CALL", std::to_string(call)},
                            {"TEVTEST_MARK", dir / "reached"},
                            {"TEVTEST_PATH", dir / "archive/bracket.tev"}}};
  }
};

TEST_F(TevCatalogueFaultsByCalls, KilledScan_NamesTheFileAndGoesOn) {
  const std::string whole = Reference();
  long call = 1;
  for (;; call += 3) {
    SCOPED_TRACE(call);
    fs::remove(dir / "a.db");
    const RunResult killed = Scan("a.db", {}, With("killed", call));
    if (!dir.Has("reached")) {
      break;
    }
    EXPECT_EQ(killed.signal, SIGKILL);
    EXPECT_TRUE(dir.Has("a.db-scan"));
    const RunResult next = Scan("a.db");
    EXPECT_EQ(next.status, 0);
    EXPECT_NE(next.error.find(kEnded), std::string::npos) << next.error;
    EXPECT_FALSE(dir.Has("a.db-scan"));
    EXPECT_EQ(Query("a.db", "SELECT count(*) FROM models WHERE failure_message = '" +
                                std::string(kEnded) + "' AND failure_code = 'io-error'"),
              "count(*)\n1\n");
    // It is not tried again unless it has changed.
    EXPECT_NE(Scan("a.db").output.find(": 0 read, "), std::string::npos);
    const std::string path = Answer(
        {"query", "a.db",
         "SELECT path FROM models WHERE failure_message = '" + std::string(kEnded) + "'", "--csv"});
    const fs::path file = path.substr(5, path.size() - 6);
    fs::last_write_time(file, fs::last_write_time(file) + std::chrono::seconds(1));
    EXPECT_NE(Scan("a.db").output.find(": 1 read, "), std::string::npos);
    EXPECT_EQ(Query("a.db", kAll), whole);
  }
  EXPECT_GT(call, 3);
}

TEST_F(TevCatalogueFaultsByCalls, KilledShard_LeavesNothingToMerge) {
  EXPECT_EQ(Scan("s.db", {"--shard", "0/1"}, With("killed", 2)).signal, SIGKILL);
  EXPECT_FALSE(dir.Has("s.db"));
  EXPECT_TRUE(dir.Has("s.db.part"));
  const RunResult merge = Run({"merge", "all.db", "s.db"});
  EXPECT_EQ(merge.status, 2);
  EXPECT_EQ(merge.error, "tev: all.db: s.db: cannot open: No such file or directory\n");
  EXPECT_FALSE(dir.Has("all.db"));
  EXPECT_EQ(Scan("s.db", {"--shard", "0/1"}).status, 0);
  EXPECT_FALSE(dir.Has("s.db.part"));
  EXPECT_FALSE(dir.Has("s.db.part-wal"));
  EXPECT_EQ(Run({"merge", "all.db", "s.db"}).status, 0);
}

TEST_F(TevCatalogueFaultsByCalls, FullDisk_IsNamedAndTheNextScanGoesOn) {
  const std::string whole = Reference();
  long call = 1;
  for (;; call += 3) {
    SCOPED_TRACE(call);
    fs::remove(dir / "a.db");
    const RunResult full = Scan("a.db", {}, With("disk-full", call));
    if (!dir.Has("reached")) {
      EXPECT_EQ(full.status, 0);
      break;
    }
    if (full.status != 0) {  // else it was a write that may as well stay undone
      EXPECT_EQ(full.status, 2);
      EXPECT_EQ(full.output, "");
      EXPECT_TRUE(
          full.error.ends_with("tev: a.db: database or disk is full\n") ||
          full.error.ends_with("tev: a.db: cannot read or write: No space left on device\n"))
          << full.error;
    }
    EXPECT_EQ(Scan("a.db").status, 0);
    EXPECT_EQ(Query("a.db", kAll), whole);
    if (HasFailure()) {
      break;
    }
  }
  EXPECT_GT(call, 5);
}

TEST_F(TevCatalogueFaultsByCalls, ReadThatIsRefused_IsTriedAgain) {
  fs::remove(dir / "archive/notes.txt");  // what cannot be read may be a model, and has a row
  EXPECT_EQ(Scan("reference.db", {"--stats", "--hash", "--check"}).status, 0);
  const std::string all = std::string(kAll).replace(
      7, 4, "digest, (SELECT group_concat(text) FROM findings WHERE model_id = models.id), path");
  const std::string whole = Query("reference.db", all);
  long call = 1;
  for (;; call += 5) {
    SCOPED_TRACE(call);
    fs::remove(dir / "a.db");
    const RunResult refused =
        Scan("a.db", {"--stats", "--hash", "--check"}, With("read-error", call));
    if (!dir.Has("reached")) {
      break;
    }
    EXPECT_EQ(refused.status, 0) << refused.error;
    const RunResult next = Scan("a.db", {"--stats", "--hash", "--check"});
    EXPECT_EQ(next.status, 0);
    EXPECT_EQ(Query("a.db", all), whole) << refused.error;
  }
  EXPECT_GT(call, 5);
}

TEST_F(TevCatalogueFaultsByCalls, FileThatChanges_IsAFailureUntilItStops) {
  const RunResult run = Scan("a.db", {}, With("touched", 1));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Files("a.db", "failure_code, failure_message, bytes", "path LIKE '%/bracket.tev'"),
            "name,failure_code,failure_message,bytes\n"
            "bracket.tev,io-error,it changes while it is scanned,\n");
  EXPECT_NE(Scan("a.db").output.find(": 1 read, "), std::string::npos);
  EXPECT_EQ(Query("a.db", kAll), Reference());
}

#endif

#if !defined(TEVTEST_SANITIZED)

TEST_F(TevCatalogueFaults, FileThatNeedsTooMuchMemory_IsAFailureOfItsOwn) {
  constexpr std::size_t kNumbers = std::size_t{64} << 20U;
  ModelWriter large = SmallModel();
  Variable& heavy = large.VariableAt(kSmallMesh1, 5);
  heavy.width = 1;
  large.SetLayout(kHeavyData, {.packing = StreamLayout::Packing::Compressed});
  heavy.byteCount = 4 * kNumbers;
  ContainerWriter container = large.ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == kHeavyData) {
      block.level = 1;
      block.payload.resize(4 * kNumbers + block.payload.size());
    }
  }
  dir.Write("archive/large.tev", container.Build().bytes);
  constexpr rlim_t kLimit = rlim_t{224} << 20U;
  const RunResult run = Scan("a.db", {"--stats"}, {.hooks = {Limit(RLIMIT_AS, kLimit)}});
  EXPECT_EQ(run.status, 0) << run.error;
  EXPECT_EQ(Files("a.db", "failure_code", "failure_code = 'out-of-memory'"),
            "name,failure_code\nlarge.tev,out-of-memory\n");
  // With more memory it may fare better, so it is tried again.
  EXPECT_NE(Scan("a.db", {"--stats"}).output.find(": 1 read, "), std::string::npos);
  EXPECT_EQ(Files("a.db", "failure_code", "failure_code = 'out-of-memory'"), "name,failure_code\n");
}

#endif

TEST_F(TevCatalogueFaults, SecondScan_SaysSoAndEnds) {
  const int held = open((dir / "a.db-scan").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(flock(held, LOCK_EX), 0);
  const RunResult second = Scan("a.db");
  EXPECT_EQ(second.status, 2);
  EXPECT_EQ(second.error, "tev: a.db: another scan is writing to it\n");
  EXPECT_EQ(Run({"merge", "a.db", "reference.db"}).status, 2);
  close(held);
  EXPECT_EQ(Scan("a.db").status, 0);
}

TEST_F(TevCatalogueFaults, FolderThatCannotBeListed_TellsNothingOfWhatIsInIt) {
  dir.OpenToAll(true);
  const std::vector<ChildHook> user{RunAsUnprivileged};
  EXPECT_EQ(Scan("a.db", {"--shard", "0/2"}, {.hooks = user}).status, 0);
  EXPECT_EQ(Scan("b.db", {"--shard", "1/2"}, {.hooks = user}).status, 0);
  fs::permissions(dir / "archive/deep", fs::perms::none);
  EXPECT_EQ(Scan("a.db", {"--shard", "0/2"}, {.hooks = user}).status, 0);
  EXPECT_EQ(Scan("b.db", {"--shard", "1/2"}, {.hooks = user}).status, 0);
  fs::permissions(dir / "archive/deep", fs::perms::owner_all);
  EXPECT_EQ(Run({"merge", "all.db", "a.db", "b.db"}).status, 0);
  EXPECT_EQ(Files("all.db", "gone", "gone"), "name,gone\n");
  EXPECT_EQ(Files("all.db", "failure_code", "failure_code = 'permission-denied'"),
            "name,failure_code\ndeep,permission-denied\n");
  // It is listed again, and is no failure any more.
  EXPECT_EQ(Scan("all.db").status, 0);
  EXPECT_EQ(Files("all.db", "failure_code", "failure_code = 'permission-denied' AND NOT gone"),
            "name,failure_code\n");
}

TEST_F(TevCatalogueFaults, CatalogueOfAnotherUser_CanBeAsked) {
  EXPECT_EQ(Scan("a.db").status, 0);
  dir.OpenToAll(false);
  const RunResult run = Run({"find", "a.db", "bracket", "--csv"}, {.hooks = {RunAsUnprivileged}});
  EXPECT_EQ(run.status, 0) << run.error;
  EXPECT_NE(run.output.find("/archive/bracket.tev,"), std::string::npos) << run.output;
}

TEST_F(TevCatalogueFaults, CatalogueOfAnotherVersion_IsRefused) {
  EXPECT_EQ(RunProgram({"python3", "-c",
                        "import sqlite3, sys\n"
                        "with sqlite3.connect(sys.argv[1]) as catalogue:\n"
                        "  catalogue.execute('CREATE TABLE catalogue(schema_version, "
                        "program_version)')\n"
                        "  catalogue.execute('INSERT INTO catalogue VALUES (2, 3)')\n"
                        "with sqlite3.connect(sys.argv[2]) as other:\n"
                        "  other.execute('CREATE TABLE things(id)')\n",
                        dir / "a.db", dir / "b.db"})
                .status,
            0);
  for (const RunResult& run :
       {Scan("a.db"), Run({"find", "a.db"}), Run({"merge", "c.db", "a.db"})}) {
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.error.ends_with("a catalogue of version 2, and this program has 1\n"))
        << run.error;
  }
  EXPECT_EQ(Scan("b.db").error, "tev: b.db: no catalogue: it has other tables\n");
}

}  // namespace
}  // namespace tevtest
