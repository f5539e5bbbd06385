// The answers of "tev check" on several files, in both forms.

#include <gtest/gtest.h>

#include "run/TevCheckRun.h"
#include "support/Hex.h"

namespace tevtest {
namespace {

class TevCheckFiles : public TevCheckRun {
 protected:
  [[nodiscard]] static ModelWriter Dangling(const std::string& name = "mesh 2") {
    ModelWriter model = SmallModel();
    model.At(kSmallMesh2).name = name;
    model.At(kSmallMesh2).lastChild = 99;
    return model;
  }

  /// Where that node is, whatever its name.
  [[nodiscard]] static std::string Place() {
    const ModelWriter model = Dangling();
    return BlockText(kTreeBlock, kTree, model, model.RecordStart(kTree, kSmallMesh2 - 1)) +
           ", node 6";
  }
};

TEST_F(TevCheckFiles, LinesOfAllFiles_FormOneList) {
  Write("a.tev", Dangling());
  Write("b.tev", SmallModel());
  Write("c.tev", Dangling("other"));
  const RunResult run = Run({"check", "a.tev", "b.tev", "c.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "");
  const std::string rest = ": its last child is a node that does not exist (claimed 99)\n";
  EXPECT_EQ(run.output,
            "a.tev: " + Place() + " (mesh 2)" + rest + "c.tev: " + Place() + " (other)" + rest);
}

TEST_F(TevCheckFiles, FileThatCannotBeOpened_IsNamedOnStandardErrorAndTheOthersAreChecked) {
  Write("b.tev", Dangling());
  const RunResult run = Run({"check", "x", "b.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: x: cannot open: No such file or directory\n");
  EXPECT_TRUE(run.output.starts_with("b.tev: " + Place() + " ")) << run.output;
}

TEST_F(TevCheckFiles, NamesFromTheModel_CannotReachTheTerminal) {
  const std::string found = Check(Dangling("\x1b[2J\nx.tev: \xff"));
  EXPECT_EQ(found, "m.tev: " + Place() +
                       " (\\x1b[2J\\x0ax.tev: \\xff): its last child is a node that does not "
                       "exist (claimed 99)\n");
}

TEST_F(TevCheckFiles, Json_OfSoundFilesHasNoFindings) {
  Write("a.tev", SmallModel());
  const std::string answer = Answer({"check", "--json", "a.tev"});
  EXPECT_EQ(answer,
            "{\n"
            "  \"format\": \"tev.check/1\",\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"file\": \"a.tev\",\n"
            "      \"failure\": null,\n"
            "      \"complete\": true,\n"
            "      \"missing\": [],\n"
            "      \"findings\": []\n"
            "    }\n"
            "  ]\n"
            "}\n");
  EXPECT_EQ(TevRun::Check(answer, "schema", Schema("check")), "");
}

TEST_F(TevCheckFiles, Json_HasAllThatIsKnownOfAFinding) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 4).heavyPosition = 0;
  model.VariableAt(kSmallMesh1, 4).byteCount = 4000;
  Write("a.tev", model);
  const std::size_t block = model.ToContainer().Build().Block(kHeavyData).offset;
  const RunResult run = Run({"check", "--json", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "");
  const std::string length = std::to_string(model.StreamBytes(kHeavyData).size());
  EXPECT_NE(run.output.find("        {\n"
                            "          \"kind\": \"unreadable-data\",\n"
                            "          \"text\": \"the data cannot be loaded: Not enough bytes in "
                            "the block\",\n"
                            "          \"block\": {\n"
                            "            \"number\": 5,\n"
                            "            \"stream\": \"Heavy Data\"\n"
                            "          },\n"
                            "          \"node\": {\n"
                            "            \"id\": 4,\n"
                            "            \"name\": \"mesh 1\"\n"
                            "          },\n"
                            "          \"variable\": {\n"
                            "            \"index\": 4,\n"
                            "            \"name\": \"Element Ids\"\n"
                            "          },\n"
                            "          \"offset\": " +
                            std::to_string(block) +
                            ",\n"
                            "          \"claimed\": 4000,\n"
                            "          \"found\": " +
                            length + "\n        }\n"),
            std::string::npos)
      << run.output;
  EXPECT_EQ(TevRun::Check(run.output, "schema", Schema("check")), "");
}

TEST_F(TevCheckFiles, Json_HasNullForWhatIsNotKnown) {
  dir.Write("a.tev",
            ContainerWriter().AddRaw("Tev Tree", "").SetIndexTrailing("12345").Build().bytes);
  const RunResult run = Run({"check", "--json", "a.tev", "x"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.output.find("          \"node\": null,\n"
                            "          \"variable\": null,\n"),
            std::string::npos)
      << run.output;
  EXPECT_EQ(TevRun::Check(run.output, "schema", Schema("check")), "");
}

TEST_F(TevCheckFiles, JsonOfManyKinds_FitsTheSchema) {
  Write("a.tev", Dangling("\xff\n"));
  dir.Write("b.tev", SmallModel().ToContainer().SetIndexTrailing("12345").Build().bytes);
  dir.Write("c.tev", SmallModel().ToContainer().SetIndexCount(90).Build().bytes);
  ContainerWriter writer;
  writer.Add(
      {.name = "Resources", .compressed = true, .storedBytes = Hex("04000000 'no zlib stream'")});
  writer.Add({.name = "B", .payload = "1234", .compressed = true, .recordedLength = 5});
  dir.Write("d.tev", writer.Build().bytes);
  ModelWriter rings = SmallModel();
  rings.At(kSmallMesh2).firstChild = kSmallGeometryGroup;
  rings.At(kSmallMesh1).id = kSmallShape2;
  Write("e.tev", rings);
  const std::string answer =
      Run({"check", "--json", "a.tev", "b.tev", "c.tev", "d.tev", "e.tev"}).output;
  for (const char* kind : {"link-to-nothing", "unused-bytes", "index", "unreadable-block",
                           "recorded-length", "missing-tree", "repeated-id", "cycle"}) {
    EXPECT_NE(answer.find("\"kind\": \"" + std::string(kind) + "\""), std::string::npos) << kind;
  }
  EXPECT_EQ(TevRun::Check(answer, "schema", Schema("check")), "");
}

TEST_F(TevCheckFiles, NoModel_IsBadUsage) {
  const RunResult run = Run({"check"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error, "tev: PATH is required (see tev check --help)\n");
}

TEST_F(TevCheckFiles, Help_ShowsHowToCallIt) {
  EXPECT_NE(Answer({"--help"}).find("\n  check "), std::string::npos);
  EXPECT_NE(Answer({"check", "--help"}).find("Usage: tev check [OPTIONS] PATH...\n"),
            std::string::npos);
}

TEST_F(TevCheckFiles, AnyRun_WritesNoTraceLog) {
  Write("m.tev", Dangling());
  RunOptions options;
  options.environment = {{"QUARLO_TEMP_PATH", dir.MakeDirectory("log")}};
  const RunResult run = Run({"check", "m.tev"}, options);
  EXPECT_EQ(run.error, "");
  EXPECT_FALSE(dir.Has("log/TevInfo_trace.log"));
}

TEST_F(TevCheckFiles, AnyRun_LeavesTheModelAsItIs) {
  const std::string bytes = Dangling().Build();
  EXPECT_NE(Check(bytes), "");
  EXPECT_EQ(dir.Read("m.tev"), bytes);
  EXPECT_EQ(dir.EntryCount(), 1U);
}

}  // namespace
}  // namespace tevtest
