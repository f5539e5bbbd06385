// The answers of "tev sets" and "tev block", which are about one model.

#include <gtest/gtest.h>

#include "run/TevRun.h"
#include "support/Hex.h"
#include "support/HostileModels.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

using TevSets = TevRun;
using TevBlock = TevRun;

TEST_F(TevSets, WithoutAName_AllSetsAreListed) {
  Write("a.tev", SmallModel());
  EXPECT_EQ(Answer({"sets", "a.tev"}),
            "a.tev\n"
            "  Members  Name\n"
            "        2  Fixed\n"
            "        1  Loaded\n");
}

TEST_F(TevSets, ModelWithoutAny_SaysSo) {
  ModelWriter model;
  model.AddGroup("root", 0);
  Write("a.tev", model);
  EXPECT_EQ(Answer({"sets", "a.tev"}), "a.tev\n  No node sets\n");
  ContainerWriter container = SmallModel().ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == kHeavyData) {
      block.storedBytes = Hex("10000000 'no zlib stream'");
      block.compressed = true;
    }
  }
  dir.Write("a.tev", container.Build().bytes);
  EXPECT_TRUE(Run({"sets", "a.tev"}).output.ends_with("\n  No node sets that can be read\n"));
}

TEST_F(TevSets, Name_GivesTheIdsOnePerLine) {
  Write("a.tev", SmallModel());
  EXPECT_EQ(Answer({"sets", "a.tev", "Fixed"}), "1\n2\n");
  EXPECT_EQ(Answer({"sets", "a.tev", "*"}), "1\n2\n5\n");
}

TEST_F(TevSets, ExactName_WinsOverTheSameTextAsAPattern) {
  ModelWriter model;
  model.AddNodeSets("sets", model.AddGroup("g", 0), {{"a*", {{7, 0}}}, {"ab", {{8, 0}}}});
  Write("a.tev", model);
  EXPECT_EQ(Answer({"sets", "a.tev", "a*"}), "7\n");
  EXPECT_EQ(Answer({"sets", "a.tev", "a?"}), "7\n8\n");
}

TEST_F(TevSets, UnknownName_IsBadUsageThatSaysWhatThereIs) {
  Write("a.tev", SmallModel());
  const RunResult run = Run({"sets", "a.tev", "Fixd", "-o", "out"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error,
            "tev: a.tev: No node set fits \"Fixd\", did you mean \"Fixed\"? there are \"Fixed\", "
            "\"Loaded\"\n");
  EXPECT_FALSE(dir.Has("out"));
}

TEST_F(TevSets, EmptyName_IsThatOfASet) {
  Write("a.tev", SmallModel());
  const RunResult run = Run({"sets", "a.tev", ""});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error, "tev: a.tev: No node set fits \"\": there are \"Fixed\", \"Loaded\"\n");
  dir.Write("b.tev", OverlappingNodeSets(3, 2).bytes);
  EXPECT_EQ(Answer({"sets", "b.tev", ""}), "1\n1\n1\n1\n");
}

// Offsets of 0, 2, 0 and 2 over two members.
TEST_F(TevSets, ThatShareTheirMembers_HaveThemEach) {
  const std::string model = dir.Write("a.tev", OverlappingNodeSets(3, 2).bytes);
  EXPECT_EQ(Answer({"sets", "a.tev"}),
            "a.tev\n"
            "  Members  Name\n"
            "        2  \"\"\n"
            "        0  \"\"\n"
            "        2  \"\"\n");
  const RunResult report =
      RunProgram({TEVINFO_PROGRAM, model}, {.environment = {{"QUARLO_TEMP_PATH", dir.Path()}}});
  EXPECT_EQ(report.status, 0);
}

TEST_F(TevSets, Json_FitsTheSchemaWithAndWithoutIds) {
  Write("a.tev", SmallModel());
  const std::string all = Answer({"sets", "--jsonl", "a.tev"});
  EXPECT_TRUE(
      all.ends_with("\"nodeSets\": [{\"name\": \"Fixed\", \"members\": 2}, {\"name\": "
                    "\"Loaded\", \"members\": 1}]}\n"))
      << all;
  EXPECT_EQ(Check(all, "lines", Schema("sets")), "");
  const std::string one = Answer({"sets", "--jsonl", "a.tev", "Fixed"});
  EXPECT_TRUE(one.ends_with("[{\"name\": \"Fixed\", \"members\": 2, \"ids\": [1, 2]}]}\n")) << one;
  EXPECT_EQ(Check(one, "lines", Schema("sets")), "");
}

TEST_F(TevBlock, Contents_AreThoseOfTheBlock) {
  const std::string text(100000, 'x');
  ContainerWriter writer;
  writer.AddRaw("Tev Tree", "1\n").AddCompressed("Resources", text);
  dir.Write("a.tev", writer.Build().bytes);
  EXPECT_EQ(Answer({"block", "a.tev", "0"}), "1\n");
  EXPECT_EQ(Answer({"block", "a.tev", "1"}), text);
  EXPECT_EQ(Answer({"block", "a.tev", "1", "--raw", "-o", "out"}), "");
  EXPECT_EQ(dir.Read("out"), Compressed(text));
}

TEST_F(TevBlock, NumberThatIsNoBlock_IsBadUsage) {
  dir.Write("a.tev", ContainerWriter().AddRaw("Tev Tree", "1").Build().bytes);
  const RunResult run = Run({"block", "a.tev", "1"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error, "tev: a.tev: there is no block 1; there are 1, from 0 on\n");
}

TEST_F(TevBlock, BlockThatZlibRefuses_CanBeHadRaw) {
  const std::string stored = Hex("10000000 'no zlib stream'");
  ContainerWriter writer;
  writer.Add({.name = "Tev Tree", .compressed = true, .storedBytes = stored});
  dir.Write("a.tev", writer.Build().bytes);
  const RunResult run = Run({"block", "a.tev", "0"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error,
            "tev: a.tev: damaged: zlib refuses the data of block 0 (Tev Tree) (\"tev check\" tells "
            "more)\n");
  EXPECT_EQ(Answer({"block", "--raw", "a.tev", "0"}), stored);
}

TEST_F(TevBlock, BlockOfAContainerOfSomethingElse_IsWrittenAndFails) {
  dir.Write("a.tev", ContainerWriter().AddRaw("Pictures", "1234").Build().bytes);
  const RunResult run = Run({"block", "a.tev", "0"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "1234");
  EXPECT_EQ(run.error,
            "tev: a.tev: damaged: its index has no stream of a model (\"tev check\" tells more)\n");
}

TEST_F(TevBlock, BlockThatTheFileCuts_GivesWhatIsThere) {
  ContainerWriter writer;
  writer.AddRaw("A", "123456");
  const Container whole = writer.Build();
  dir.Write("a.tev", whole.bytes.substr(0, whole.bytes.size() - 2));
  const RunResult run = Run({"block", "a.tev", "0"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "1234");
}

}  // namespace
}  // namespace tevtest
