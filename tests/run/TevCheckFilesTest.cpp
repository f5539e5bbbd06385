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

TEST_F(TevCheckFiles, EveryFile_HasItsVerdictAndItsFindings) {
  Write("a.tev", Dangling());
  Write("b.tev", SmallModel());
  Write("c.tev", Dangling("other"));
  dir.Write("d.tev", SmallModel().Build() + "12");
  dir.Write("e.tev", "no model");
  const RunResult run = Run({"check", "-v", "a.tev", "b.tev", "c.tev", "d.tev", "e.tev", "x"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error,
            "tev: 6 files: 1 OK, 1 with warnings, 2 damaged, 1 not a Tev file, 1 unreadable\n");
  const std::string rest = ": its last child is a node that does not exist (claimed 99)\n";
  EXPECT_EQ(run.output, "a.tev: DAMAGED: 1 fault\n  " + Place() + " (mesh 2)" + rest +
                            "b.tev: OK\n"
                            "c.tev: DAMAGED: 1 fault\n  " +
                            Place() + " (other)" + rest +
                            "d.tev: WARNING: 1 warning\n"
                            "  byte " +
                            std::to_string(SmallModel().Build().size()) +
                            ": nothing reads the 2 bytes after the last block\n"
                            "e.tev: NOT A TEV FILE: it looks like text\n"
                            "x: UNREADABLE: cannot open: No such file or directory\n");
}

TEST_F(TevCheckFiles, Warnings_DoNotFail) {
  dir.Write("a.tev", SmallModel().Build() + "12");
  Write("b.tev", SmallModel());
  const RunResult run = Run({"check", "a.tev", "b.tev"});
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.output.starts_with("a.tev: WARNING: 1 warning\n  byte ")) << run.output;
  EXPECT_EQ(run.error, "tev: 2 files: 1 OK, 1 with warnings\n");
}

TEST_F(TevCheckFiles, Folder_IsWalked) {
  dir.MakeDirectory("d");
  Write("d/a", SmallModel());
  Write("d/b", Dangling());
  dir.Write("d/c", "text");
  const RunResult run = Run({"check", "d"});
  EXPECT_EQ(run.status, 2);
  EXPECT_TRUE(run.output.starts_with("d/b: DAMAGED: ")) << run.output;
  EXPECT_EQ(run.error, "tev: 2 files: 1 OK, 1 damaged\n");
}

TEST_F(TevCheckFiles, FindingsThatFollow_AreCountedUnderTheirCauseOrListed) {
  const std::string whole = dir.Read(Example("heatsink.tev"));
  dir.Write("m.tev", whole.substr(0, whole.size() / 2));
  const std::string cause =
      "  block 12 (Heavy Data) at byte 403854: the file ends before the block does (claimed "
      "321816, "
      "found 156880)\n";
  // Three further blocks; 23 variables of one part, 3 of the other, all 6 of each iso-surface.
  const std::string verdict = "m.tev: DAMAGED: 4 blocks and 44 variables are lost\n";
  EXPECT_EQ(Run({"check", "m.tev"}).output,
            verdict + cause + "    47 findings follow from this (--all lists them)\n");
  const std::string all = Run({"check", "--all", "m.tev"}).output;
  EXPECT_TRUE(all.starts_with(verdict + cause + "    block 13 (Heavy Data) at byte 725670: "))
      << all;
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 2 + 47);
  EXPECT_NE(all.find("\n    block unknown (Heavy Data), node 5 (FINS), variable 35 "),
            std::string::npos)
      << all;
}

TEST_F(TevCheckFiles, FindingsAboveTheLimit_AreCounted) {
  ModelWriter model = SmallModel();
  for (int i = 0; i < 10005; ++i) {
    model.At(model.AddEmpty("", kSmallRoot)).lastChild = 99999;
  }
  Write("m.tev", model);
  const std::string last = ": its last child is a node that does not exist (claimed 99999)\n";
  const std::string some = Run({"check", "m.tev"}).output;
  EXPECT_TRUE(some.starts_with("m.tev: DAMAGED: 10005 faults\n"));
  EXPECT_TRUE(some.ends_with(last + "  5 more of the kind link-to-nothing (--all lists them)\n"));
  EXPECT_EQ(std::count(some.begin(), some.end(), '\n'), 10002);
  const std::string all = Run({"check", "--all", "m.tev"}).output;
  EXPECT_TRUE(all.ends_with(last));
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 10006);
  const std::string json = Run({"check", "--json", "m.tev"}).output;
  EXPECT_NE(json.find("\"more\": {\n        \"link-to-nothing\": 5\n      }"), std::string::npos);
  EXPECT_EQ(TevRun::Check(json, "schema", Schema("check")), "");
}

TEST_F(TevCheckFiles, NamesFromTheModel_CannotReachTheTerminal) {
  const std::string found = Check(Dangling("\x1b[2J\nx.tev: \xff"));
  EXPECT_EQ(found, "  " + Place() +
                       " (\\x1b[2J\\x0ax.tev: \\xff): its last child is a node that does not "
                       "exist (claimed 99)\n");
}

TEST_F(TevCheckFiles, Json_OfSoundFilesHasNoFindings) {
  Write("a.tev", SmallModel());
  const RunResult run = Run({"check", "--json", "a.tev"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output,
            "{\n"
            "  \"format\": \"tev.check/1\",\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"file\": \"a.tev\",\n"
            "      \"failure\": null,\n"
            "      \"complete\": true,\n"
            "      \"missing\": [],\n"
            "      \"findings\": [],\n"
            "      \"more\": {},\n"
            "      \"verdict\": \"ok\"\n"
            "    }\n"
            "  ]\n"
            "}\n");
  EXPECT_EQ(TevRun::Check(run.output, "schema", Schema("check")), "");
}

TEST_F(TevCheckFiles, Json_HasAllThatIsKnownOfAFinding) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 4).heavyPosition = 0;
  model.VariableAt(kSmallMesh1, 4).byteCount = 4000;
  Write("a.tev", model);
  const std::size_t block = model.ToContainer().Build().Block(kHeavyData).offset;
  const RunResult run = Run({"check", "--json", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: 1 file: 1 damaged\n");
  const std::string length = std::to_string(model.StreamBytes(kHeavyData).size());
  EXPECT_EQ(run.output,
            "{\n"
            "  \"format\": \"tev.check/1\",\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"file\": \"a.tev\",\n"
            "      \"failure\": {\n"
            "        \"code\": \"damaged\",\n"
            "        \"message\": \"1 variable is lost\"\n"
            "      },\n"
            "      \"complete\": false,\n"
            "      \"missing\": [\n"
            "        \"1 variable\"\n"
            "      ],\n"
            "      \"findings\": [\n"
            "        {\n"
            "          \"severity\": \"damage\",\n"
            "          \"kind\": \"unreadable-data\",\n"
            "          \"block\": 5,\n"
            "          \"stream\": \"Heavy Data\",\n"
            "          \"offset\": " +
                std::to_string(block) +
                ",\n"
                "          \"node\": {\n"
                "            \"id\": 4,\n"
                "            \"name\": \"mesh 1\"\n"
                "          },\n"
                "          \"variable\": {\n"
                "            \"index\": 4,\n"
                "            \"name\": \"Element Ids\"\n"
                "          },\n"
                "          \"text\": \"the data cannot be loaded: Not enough bytes in the "
                "block\",\n"
                "          \"claimed\": 4000,\n"
                "          \"found\": " +
                length +
                ",\n"
                "          \"cause\": null\n"
                "        }\n"
                "      ],\n"
                "      \"more\": {},\n"
                "      \"verdict\": \"damaged\"\n"
                "    }\n"
                "  ]\n"
                "}\n");
  EXPECT_EQ(TevRun::Check(run.output, "schema", Schema("check")), "");
}

TEST_F(TevCheckFiles, JsonLines_AreOneForEachFileInOrder) {
  Write("a.tev", SmallModel());
  dir.Write("b.tev", "text");
  const RunResult run = Run({"check", "--jsonl", "a.tev", "b.tev", "x"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output,
            "{\"format\": \"tev.check/1\", \"file\": \"a.tev\", \"failure\": null, "
            "\"complete\": true, \"missing\": [], \"findings\": [], \"more\": {}, "
            "\"verdict\": \"ok\"}\n"
            "{\"format\": \"tev.check/1\", \"file\": \"b.tev\", \"failure\": {\"code\": "
            "\"not-a-model\", \"message\": \"it looks like text\"}, \"complete\": false, "
            "\"missing\": [\"the whole model\"], \"findings\": [], \"more\": {}, "
            "\"verdict\": \"not-a-model\"}\n"
            "{\"format\": \"tev.check/1\", \"file\": \"x\", \"failure\": {\"code\": "
            "\"not-found\", \"message\": \"cannot open: No such file or directory\"}, "
            "\"complete\": false, \"missing\": [\"the whole model\"], \"findings\": [], "
            "\"more\": {}, \"verdict\": \"unreadable\"}\n");
  EXPECT_EQ(TevRun::Check(run.output, "lines", Schema("check")), "");
}

TEST_F(TevCheckFiles, Json_HasNullForWhatIsNotKnown) {
  dir.Write("a.tev",
            ContainerWriter().AddRaw("Tev Tree", "").SetIndexTrailing("12345").Build().bytes);
  const RunResult run = Run({"check", "--json", "a.tev", "x"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.output.find("          \"block\": null,\n"
                            "          \"stream\": null,\n"),
            std::string::npos)
      << run.output;
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
  EXPECT_EQ(run.status, 2);
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
