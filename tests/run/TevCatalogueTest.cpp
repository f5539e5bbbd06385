// The catalogue of models: "tev scan", "merge", "find", "summary" and "query".

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "run/CatalogueRun.h"

namespace tevtest {
namespace {

using TevCatalogue = CatalogueRun;

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

/// FNV-1a of 64 bits.
std::uint64_t HashOf(const std::string& text) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char character : text) {
    hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3;
  }
  return hash;
}

TEST_F(TevCatalogue, ShardOfAPath_IsItsHash) {
  ASSERT_EQ(HashOf("a"), 0xaf63dc4c8601ec8c);  // as it is published
  WriteArchive();
  EXPECT_EQ(Scan("all.db").status, 0);
  const std::string all = Query("all.db", "SELECT path FROM models ORDER BY path");
  for (const std::uint64_t number : {0U, 1U, 2U}) {
    const std::string shard = std::to_string(number) + "/3";
    EXPECT_EQ(Scan("s.db", {"--shard", shard}).status, 0);
    EXPECT_FALSE(dir.Has("s.db.part"));
    std::istringstream lines(all);
    std::string expected;
    for (std::string line; std::getline(lines, line);) {
      expected += line == "path" || HashOf(line) % 3 == number ? line + '\n' : "";
    }
    EXPECT_EQ(Query("s.db", "SELECT path FROM models ORDER BY path"), expected);
    std::filesystem::remove(dir / "s.db");
  }
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
  const OpenedNames opened(dir / "archive");
  const RunResult again = Run({"scan", "archive", "--catalogue", "a.db"});
  // What is no model is not known, and so looked at each time.
  EXPECT_EQ(opened.Get(), std::set<std::string>{"notes.txt"});
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

TEST_F(TevCatalogue, Paths_AreAbsoluteWithTheirLinks) {
  WriteArchive();
  std::filesystem::create_directory_symlink("archive", dir / "linked");
  dir.Write("names", std::string("archive/../archive/./small.tev") + '\0' + "linked//bracket.tev");
  EXPECT_EQ(
      Run({"scan", "linked/deep/copy.tev", "--files0-from", "names", "--catalogue", "a.db"}).status,
      0);
  const std::string here = dir.Path();
  EXPECT_EQ(Query("a.db", "SELECT path FROM models ORDER BY path"),
            "path\n" + here + "/archive/small.tev\n" + here + "/linked/bracket.tev\n" + here +
                "/linked/deep/copy.tev\n");
}

TEST_F(TevCatalogue, PathOfAnyBytes_IsKeptAndFoundAgain) {
  const std::string name = "b\xff\n\"d.tev";
  std::filesystem::create_directory(dir / "archive");
  Write("archive/" + name, SmallModel());
  EXPECT_EQ(Scan("a.db").status, 0);
  EXPECT_NE(Scan("a.db").output.find(": 0 read, 1 unchanged"), std::string::npos);
  EXPECT_EQ(Answer({"find", "a.db", "--csv"}).find('\xff'), std::string::npos);
  const std::string bytes = Query("a.db", "SELECT hex(CAST(path AS BLOB)) AS bytes FROM models");
  EXPECT_TRUE(bytes.ends_with("62FF0A22642E746576\n")) << bytes;
}

TEST_F(TevCatalogue, NamedFileThatVanishes_KeepsItsRow) {
  WriteArchive();
  EXPECT_EQ(Run({"scan", "archive/small.tev", "--catalogue", "a.db"}).status, 0);
  std::filesystem::remove(dir / "archive/small.tev");
  const RunResult run =
      Run({"scan", "archive/small.tev", "archive/never.tev", "--catalogue", "a.db"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(Files("a.db", "gone, part_count, failure_code"),
            "name,gone,part_count,failure_code\nnever.tev,0,,not-found\nsmall.tev,1,2,\n");
}

TEST_F(TevCatalogue, StandardInput_HasNoPath) {
  for (const char* path : {"-", "/dev/stdin", "/dev/fd/0"}) {
    const RunResult run = Run({"scan", path, "--catalogue", "a.db"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error, std::string("tev: ") + path + ": has no path that could be kept\n");
    EXPECT_FALSE(dir.Has("a.db"));
  }
}

TEST_F(TevCatalogue, WhatIsAskedForLater_IsAddedToWhatThereIs) {
  WriteArchive();
  EXPECT_EQ(Scan("a.db", {"--stats"}).status, 0);
  EXPECT_EQ(Scan("a.db", {"--check"}).status, 0);
  EXPECT_EQ(Faults("a.db", {"--stats", "--check"}), "");
  EXPECT_NE(Scan("a.db", {"--check", "--stats"}).output.find(": 0 read, "), std::string::npos);
}

TEST_F(TevCatalogue, FileThatHasChanged_LosesWhatIsNotAskedForAgain) {
  WriteArchive();
  EXPECT_EQ(Scan("a.db", {"--stats", "--hash"}).status, 0);
  ModelWriter changed = SmallModel();
  changed.At(kSmallShape1).name = "Mast";
  Write("archive/small.tev", changed);
  EXPECT_EQ(Scan("a.db").status, 0);
  EXPECT_EQ(Files("a.db",
                  "has_stats, has_hash, digest, (SELECT count(*) FROM extremes WHERE model_id = "
                  "models.id) AS extremes, (SELECT group_concat(name) FROM parts WHERE model_id = "
                  "models.id) AS parts",
                  "path LIKE '%/small.tev'"),
            "name,has_stats,has_hash,digest,extremes,parts\nsmall.tev,0,0,,0,\"Mast,Panel\"\n");
  EXPECT_EQ(Answer({"find", "a.db", "Mast", "--csv"}).find("copy.tev"), std::string::npos);
}

/// The same model, stored in other ways.
std::vector<ModelWriter> SmallModelsStoredOtherwise() {
  using Packing = StreamLayout::Packing;
  ModelWriter raw = SmallModel();
  raw.SetLayoutOfOthers({.packing = Packing::Raw});
  ModelWriter packed = SmallModel();
  packed.SetLayoutOfOthers({.split = StreamLayout::Split::BlockPerRecord,
                            .packing = Packing::Alternating,
                            .emptyBlocks = true});
  packed.Interleave();
  ModelWriter moved = SmallModel();
  moved.SetPrefix(kHeavyData, "nothing");
  moved.SetFileVersion("0.6");
  ModelWriter retitled = SmallModel();
  retitled.At(kSmallRoot).Group().attributes = {Attribute::Text("Title", "Another")};
  ModelWriter unlinked = SmallModel();
  unlinked.VariableAt(kSmallMesh2, 6) = unlinked.VariableAt(kSmallMesh1, 6);
  return {raw, packed, moved, retitled, unlinked};
}

/// Models that differ from the small one in what they say.
std::vector<ModelWriter> ModelsLikeTheSmallOne() {
  ModelWriter number = SmallModel();
  number.VariableAt(kSmallMesh1, 6).elements[8] ^= 1;
  ModelWriter part = SmallModel();
  part.At(kSmallShape1).name = "Mast";
  ModelWriter step = SmallModel();
  step.VariableAt(kSmallMesh1, 6).name += '5';
  ModelWriter moved = SmallModel();
  moved.VariableAt(kSmallMesh1, 1).elements[0] ^= 1;
  return {number, part, step, moved};
}

TEST_F(TevCatalogue, Digest_IsThatOfWhatModelsSay) {
  std::filesystem::create_directory(dir / "archive");
  Write("archive/a.tev", SmallModel());
  int number = 0;
  for (const ModelWriter& model : SmallModelsStoredOtherwise()) {
    Write("archive/same" + std::to_string(number++) + ".tev", model);
  }
  for (const ModelWriter& model : ModelsLikeTheSmallOne()) {
    Write("archive/other" + std::to_string(number++) + ".tev", model);
  }
  EXPECT_EQ(Scan("a.db", {"--hash"}).status, 0);
  EXPECT_EQ(
      Query("a.db",
            "SELECT count(*) AS models, count(DISTINCT digest) AS digests, min(length(digest)) "
            "AS length, sum(digest = (SELECT digest FROM models WHERE path LIKE '%/a.tev')) AS "
            "same FROM models"),
      "models,digests,length,same\n10,5,64,6\n");
  EXPECT_EQ(Query("a.db",
                  "SELECT count(*) AS same FROM models WHERE path LIKE '%/same%' AND digest = "
                  "(SELECT digest FROM models WHERE path LIKE '%/a.tev')"),
            "same\n5\n");
}

}  // namespace
}  // namespace tevtest
