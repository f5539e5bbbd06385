// The catalogue of models: "tev scan", "merge", "find", "summary" and "query".

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class TevCatalogue : public TevRun {
 protected:
  /// Models of all sorts in a folder "archive": sound, damaged, cut, and what is none.
  void WriteArchive() const {
    namespace fs = std::filesystem;
    const fs::path archive = fs::path(dir.Path()) / "archive";
    fs::create_directories(archive / "deep");
    fs::copy_file(Example("bracket.tev"), archive / "bracket.tev");
    fs::copy_file(Example("heatsink.tev"), archive / "deep" / "heatsink.tev");
    const std::string small = SmallModel().Build();
    dir.Write("archive/small.tev", small);
    dir.Write("archive/deep/copy.tev", small);
    dir.Write("archive/cut.tev", small.substr(0, small.size() - 1));
    for (std::size_t place = 20; place < small.size(); place += small.size() / 20) {
      std::string flipped = small;
      flipped[place] = static_cast<char>(~flipped[place]);
      dir.Write("archive/deep/flipped" + std::to_string(place) + ".tev", flipped);
    }
    dir.Write("archive/notes.txt", "no model");
  }

  /// What "check_catalogue.py" says against it.
  [[nodiscard]] std::string Faults(const std::string& catalogue,
                                   const std::vector<std::string>& depth) const {
    std::vector<std::string> command{
        "python3", std::string(TEVINFO_SOURCE_DIR) + "/tests/run/check_catalogue.py", TEV_PROGRAM,
        dir / catalogue, dir / "archive"};
    command.insert(command.end(), depth.begin(), depth.end());
    const RunResult run = RunProgram(command);
    return run.status == 0 ? "" : run.output + run.error;
  }

  [[nodiscard]] std::string Query(const std::string& catalogue, const std::string& sql) const {
    return Answer({"query", catalogue, sql, "--csv"});
  }
};

TEST_F(TevCatalogue, Scan_HoldsWhatOtherVerbsTell) {
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "plain.db"}).status, 0);
  EXPECT_EQ(Faults("plain.db", {}), "");
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "all.db", "--stats", "--check"}).status, 0);
  EXPECT_EQ(Faults("all.db", {"--stats", "--check"}), "");
}

TEST_F(TevCatalogue, Shards_MakeTheSameCatalogue) {
  WriteArchive();
  for (const int count : {1, 2, 7}) {
    const std::string whole = std::to_string(count) + ".db";
    std::vector<std::string> merge{"merge", whole};
    for (int i = 0; i < count; ++i) {
      const std::string part = std::to_string(i) + "-of-" + whole;
      const std::string shard = std::to_string(i) + '/' + std::to_string(count);
      EXPECT_EQ(
          Run({"scan", "archive", "--catalogue", part, "--shard", shard, "--stats", "--check"})
              .status,
          0);
      merge.push_back(part);
    }
    EXPECT_EQ(Run(merge).status, 0);
    EXPECT_EQ(Faults(whole, {"--stats", "--check"}), "") << count;
    const std::string all = "SELECT * FROM models ORDER BY id";
    const std::string before = Query(whole, all);
    EXPECT_EQ(Run(merge).status, 0);
    EXPECT_EQ(Query(whole, all), before);
  }
}

TEST_F(TevCatalogue, ShardOfAPath_IsItsHash) {
  // FNV-1a of 64 bits: of "" it is the offset basis, of "a" 0xaf63dc4c8601ec8c.
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "s.db", "--shard", "1/3"}).status, 0);
  EXPECT_FALSE(dir.Has("s.db.part"));
  for (const char* wrong : {"3/3", "1/0", "x/2", "1", "-1/2", "1/2x"}) {
    const RunResult run = Run({"scan", "archive", "--catalogue", "t.db", "--shard", wrong});
    EXPECT_EQ(run.status, 1) << wrong;
    EXPECT_FALSE(dir.Has("t.db"));
  }
}

TEST_F(TevCatalogue, UnchangedFiles_AreNotOpenedAgain) {
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "a.db"}).status, 0);
  const std::string before = Query("a.db", "SELECT id, scanned_ns, gone FROM models");
  const RunResult again = Run({"scan", "archive", "--catalogue", "a.db"});
  EXPECT_NE(again.output.find(": 0 read, "), std::string::npos) << again.output;
  EXPECT_EQ(again.error, "");
  EXPECT_EQ(Query("a.db", "SELECT id, scanned_ns, gone FROM models"), before);
}

TEST_F(TevCatalogue, VanishedFiles_AreMarkedUnderTheGivenPathsAlone) {
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "a.db"}).status, 0);
  std::filesystem::remove(dir / "archive/small.tev");
  std::filesystem::remove(dir / "archive/deep/copy.tev");
  EXPECT_EQ(Run({"scan", "archive/deep", "--catalogue", "a.db"}).status, 0);
  const std::string gone =
      "SELECT replace(path, rtrim(path, replace(path, '/', '')), '') AS name "
      "FROM models WHERE gone ORDER BY name";
  EXPECT_EQ(Query("a.db", gone), "name\ncopy.tev\n");
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "a.db"}).status, 0);
  EXPECT_EQ(Query("a.db", gone), "name\ncopy.tev\nsmall.tev\n");
  Write("archive/small.tev", SmallModel());
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "a.db"}).status, 0);
  EXPECT_EQ(Query("a.db", gone), "name\ncopy.tev\n");
}

TEST_F(TevCatalogue, PartCutShort_LeavesWhatThereWas) {
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "a.db"}).status, 0);
  EXPECT_EQ(Run({"merge", "m.db", "a.db"}).status, 0);
  const std::string before = Query("m.db", "SELECT * FROM models");
  std::filesystem::resize_file(dir / "a.db", std::filesystem::file_size(dir / "a.db") / 2);
  const RunResult run = Run({"merge", "m.db", "a.db"});
  EXPECT_EQ(run.status, 2);
  EXPECT_TRUE(run.error.starts_with("tev: m.db: a.db: damaged: ")) << run.error;
  EXPECT_EQ(Query("m.db", "SELECT * FROM models"), before);
}

TEST_F(TevCatalogue, Question_IsWordsAndNoSyntax) {
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "a.db", "--hash"}).status, 0);
  for (const char* odd : {"\"", "a\"b", "NEAR(", "x AND", "*", "title:x", "-", "^a", "{}"}) {
    const RunResult run = Run({"find", "a.db", "--csv", "--", odd});
    EXPECT_EQ(run.error, "") << odd;
    EXPECT_EQ(run.status, 0) << odd;
  }
  const std::string found = Answer({"find", "a.db", "aluminium STEEL", "--jsonl"});
  EXPECT_NE(found.find("/archive/bracket.tev\""), std::string::npos);
  EXPECT_EQ(found.find("heatsink"), std::string::npos);
  EXPECT_EQ(Answer({"find", "a.db", "alumin"}).find("bracket"), std::string::npos);
  EXPECT_NE(Answer({"find", "a.db", "alumin*"}).find("bracket"), std::string::npos);
  const std::string twice = Answer({"find", "a.db", "--duplicates", "--csv"});
  EXPECT_NE(twice.find("/small.tev,"), std::string::npos) << twice;
  EXPECT_NE(twice.find("/deep/copy.tev,"), std::string::npos) << twice;
}

TEST_F(TevCatalogue, LimitsWithoutStatistics_AreBadUsage) {
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive", "--catalogue", "a.db"}).status, 0);
  const RunResult run = Run({"find", "a.db", "--result", "Stress", "--above", "1"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error, "tev: nothing was scanned with --stats\n");
}

TEST_F(TevCatalogue, OtherFiles_AreNoCatalogues) {
  Write("m.tev", SmallModel());
  for (const char* verb : {"find", "summary"}) {
    const RunResult run = Run({verb, "m.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, "tev: m.tev: no catalogue: it is no file of SQLite\n");
  }
  EXPECT_EQ(Run({"query", "m.tev", "SELECT 1"}).status, 2);
  EXPECT_EQ(Run({"summary", "missing.db"}).error,
            "tev: missing.db: cannot open: No such file or directory\n");
  EXPECT_FALSE(dir.Has("missing.db"));
}

}  // namespace
}  // namespace tevtest
