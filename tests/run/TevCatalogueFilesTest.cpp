// Files and names that a scan has to be careful with: its own, those of others, and odd ones.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "run/CatalogueRun.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

class TevCatalogueFiles : public CatalogueRun {
 protected:
  TevCatalogueFiles() {
    fs::create_directory(dir / "archive");
    Write("archive/a.tev", SmallModel());
  }
};

TEST_F(TevCatalogueFiles, CatalogueInTheArchive_IsNotOpenedAsAFile) {
  // To close a file that SQLite has open takes its locks away, also where it is opened anew.
  EXPECT_EQ(Scan("archive/c.db").status, 0);
  fs::create_hard_link(dir / "archive/c.db", dir / "archive/other.db");
  fs::create_symlink("c.db", dir / "archive/link.db");
  const RunResult again = Scan("archive/c.db", {"--check"});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.error, "");
  EXPECT_EQ(Files("archive/c.db", "has_check"), "name,has_check\na.tev,1\n");
  const OpenedNames opened(dir / "archive");
  EXPECT_EQ(Scan("archive/c.db", {"--stats"}).status, 0);
  const std::set<std::string> names = opened.Get();
  EXPECT_TRUE(names.contains("a.tev"));
  EXPECT_FALSE(names.contains("other.db"));
}

TEST_F(TevCatalogueFiles, ShardThatSomebodyReads_IsNotTornFromWhatItHolds) {
  EXPECT_EQ(Scan("s.db", {"--shard", "0/1"}).status, 0);
  constexpr std::size_t kWriteVersion = 18;  // in a file of SQLite: 2 with a log beside it
  EXPECT_EQ(dir.Read("s.db").at(kWriteVersion), 1);
  // As a scan that was killed leaves it: with rows in a log beside it.
  EXPECT_EQ(RunProgram({"python3", "-c",
                        "import sqlite3, os, sys\n"
                        "catalogue = sqlite3.connect(sys.argv[1], isolation_level=None)\n"
                        "catalogue.execute('PRAGMA journal_mode = WAL')\n"
                        "catalogue.execute('UPDATE models SET title = 7')\n"
                        "os._exit(0)\n",
                        dir / "s.db"})
                .status,
            0);
  EXPECT_TRUE(dir.Has("s.db-wal"));
  EXPECT_EQ(Scan("s.db", {"--shard", "0/1"}).status, 0);
  EXPECT_EQ(Files("s.db", "title"), "name,title\na.tev,7\n");
  EXPECT_FALSE(dir.Has("s.db-wal") || dir.Has("s.db.part"));
}

TEST_F(TevCatalogueFiles, FilesOfOthers_StayAsTheyAre) {
  const std::string model = SmallModel().Build();
  dir.Write("m.tev", model);
  const std::vector<std::vector<std::string>> scans{
      {"scan", "archive", "--catalogue", "m.tev", "--shard", "0/2"},
      {"scan", "archive", "--catalogue", "m.tev"},
      {"merge", "m.tev", "archive/a.tev"}};
  for (const std::vector<std::string>& command : scans) {
    EXPECT_EQ(Run(command).status, 2);
    EXPECT_EQ(dir.Read("m.tev"), model);
    EXPECT_FALSE(dir.Has("m.tev.part"));
    EXPECT_FALSE(dir.Has("m.tev-scan"));
  }
  EXPECT_EQ(Scan("c.db").status, 0);
  const std::string catalogue = dir.Read("c.db");
  for (const char* verb : {"find", "summary"}) {
    const RunResult run = Run({verb, "c.db", "-o", "c.db"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(dir.Read("c.db"), catalogue);
  }
  dir.Write("n.db-scan", "important");
  EXPECT_EQ(Scan("n.db").error, "tev: n.db: " + (dir / "n.db-scan") + " is no note of a scan\n");
  EXPECT_EQ(dir.Read("n.db-scan"), "important");
  EXPECT_EQ(Run({"scan", "--files0-from", "missing", "--catalogue", "n.db"}).status, 2);
  EXPECT_FALSE(dir.Has("n.db"));
}

TEST_F(TevCatalogueFiles, UnfinishedShardBesideAWholeOne_IsLeftToSomebody) {
  EXPECT_EQ(Scan("p.db", {"--stats"}).status, 0);
  EXPECT_EQ(Scan("p.db.part").status, 0);
  const RunResult run = Scan("p.db", {"--shard", "0/2"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error,
            "tev: p.db: there is " + (dir / "p.db.part") + ", too: one of them has to go\n");
  EXPECT_EQ(Files("p.db", "has_stats"), "name,has_stats\na.tev,1\n");
}

TEST_F(TevCatalogueFiles, OddNames_AreNamesOfFiles) {
  for (const char* name : {":memory:", "file:u.db?mode=memory"}) {
    EXPECT_EQ(Scan(name).status, 0);
    EXPECT_TRUE(dir.Has(name)) << name;
    EXPECT_EQ(Files(name, "part_count"), "name,part_count\na.tev,2\n");
  }
  const RunResult run = Scan("");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: : the name is empty\n");
}

TEST_F(TevCatalogueFiles, AnswerThatCannotBeWritten_IsNamed) {
  EXPECT_EQ(Scan("c.db").status, 0);
  const std::vector<std::vector<std::string>> commands{
      {"scan", "archive", "--catalogue", "c.db"}, {"merge", "d.db", "c.db"}, {"find", "c.db"}};
  for (const std::vector<std::string>& command : commands) {
    const RunResult run = Run(command, {.output = Redirect::To("/dev/full")});
    EXPECT_EQ(run.status, 2) << command[0];
    EXPECT_EQ(run.error,
              "tev: standard output: cannot write the answer: No space left on device\n");
  }
}

TEST_F(TevCatalogueFiles, LinksThatLeadNowhere_AreFailuresThatEndNoScan) {
  dir.Write("archive/a.txt", "no model");
  fs::create_symlink("nowhere", dir / "archive/b");
  fs::create_symlink("loop", dir / "archive/loop");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Scan("c.db").status, 0);
    EXPECT_EQ(Files("c.db", "failure_code, gone"),
              "name,failure_code,gone\na.tev,,0\nb,not-found,0\nloop,not-found,0\n");
  }
  // What was a model is one no more: it has vanished, and nothing else has.
  dir.Write("archive/a.tev", "no model");
  EXPECT_EQ(Scan("c.db").status, 0);
  EXPECT_EQ(Files("c.db", "failure_code, gone"),
            "name,failure_code,gone\na.tev,,1\nb,not-found,0\nloop,not-found,0\n");
}

TEST_F(TevCatalogueFiles, FoldersFromAList_AreLookedThroughForWhatHasVanished) {
  dir.Write("names", "archive");
  const std::vector<std::string> scan{"scan", "--files0-from", "names", "--catalogue", "c.db"};
  EXPECT_EQ(Run(scan).status, 0);
  fs::remove(dir / "archive/a.tev");
  EXPECT_EQ(Run(scan).status, 0);
  EXPECT_EQ(Files("c.db", "gone"), "name,gone\na.tev,1\n");
}

TEST_F(TevCatalogueFiles, StandardInputInAList_LeavesTheOthersTheirRows) {
  dir.Write("names", std::string("archive/a.tev") + '\0' + "-" + '\0' + Example("bracket.tev"));
  const RunResult run = Run({"scan", "--files0-from", "names", "--catalogue", "c.db"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: -: has no path that could be kept\n");
  EXPECT_EQ(Files("c.db", "failure_code"), "name,failure_code\na.tev,\nbracket.tev,\n");
}

TEST_F(TevCatalogueFiles, CatalogueByAnotherName_IsTheSame) {
  EXPECT_EQ(Scan("c.db").status, 0);
  fs::create_symlink("c.db", dir / "link.db");
  EXPECT_EQ(Scan("link.db", {"--shard", "0/1"}).status, 0);
  EXPECT_TRUE(fs::is_symlink(dir / "link.db"));
  EXPECT_FALSE(fs::is_symlink(dir / "c.db"));
  const RunResult merge = Run({"merge", "c.db", "link.db"});
  EXPECT_EQ(merge.status, 2);
  EXPECT_EQ(merge.error, "tev: c.db: link.db: is the catalogue to write to\n");
}

TEST_F(TevCatalogueFiles, ColumnsMoreThanTheProgramKnows_AreLeftAlone) {
  EXPECT_EQ(Scan("c.db").status, 0);
  EXPECT_EQ(RunProgram({"python3", "-c",
                        "import sqlite3, sys\n"
                        "with sqlite3.connect(sys.argv[1]) as catalogue:\n"
                        "  for table in ('models', 'parts', 'steps', 'results'):\n"
                        "    catalogue.execute(f'ALTER TABLE {table} ADD COLUMN more')\n",
                        dir / "c.db"})
                .status,
            0);
  Write("archive/b.tev", SmallModel());
  EXPECT_EQ(Scan("c.db", {"--check"}).status, 0);
  EXPECT_EQ(Run({"merge", "d.db", "c.db"}).status, 0);
  EXPECT_EQ(Faults("d.db", {"--check"}), "");
}

TEST_F(TevCatalogueFiles, LimitsAndNames_AreLookedAt) {
  EXPECT_EQ(Scan("c.db", {"--stats"}).status, 0);
  for (const char* limit : {"", "nan", "inf", "1x"}) {
    EXPECT_EQ(Run({"find", "c.db", "--result", "Temperature", "--above", limit}).status, 1);
  }
  const RunResult run = Run({"find", "c.db", "--result", "nothing"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error,
            "tev: no name of results fits \"nothing\": there are \"Displacement\", "
            "\"Temperature\"\n");
  // A model that has vanished was the only one with statistics.
  fs::remove(dir / "archive/a.tev");
  EXPECT_EQ(Scan("c.db").status, 0);
  EXPECT_EQ(Run({"find", "c.db", "--result", "Temperature", "--above", "1"}).error,
            "tev: nothing was scanned with --stats\n");
}

}  // namespace
}  // namespace tevtest
