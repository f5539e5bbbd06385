// Which file failed and why, and the forms of answers on several files.

#include <gtest/gtest.h>

#include "run/TevRun.h"
#include "support/Hex.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

using TevFiles = TevRun;

constexpr const char* kHint = " (\"tev check\" tells more)\n";

TEST_F(TevFiles, MissingFile_IsNamedAndTheOthersAreDone) {
  Write("a.tev", SmallModel());
  Write("b.tev", SmallModel());
  const RunResult run = Run({"blocks", "a.tev", "missing.tev", "b.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: missing.tev: cannot open: No such file or directory\n");
  EXPECT_EQ(run.output, Answer({"blocks", "a.tev", "b.tev"}));
}

TEST_F(TevFiles, EachFileThatFails_IsNamedWithItsReason) {
  dir.Write("text.tev", "no model");
  dir.Write("empty.tev", "");
  dir.Write("new.tev", ContainerWriter().SetVersion("1.4").Build().bytes);
  dir.Write("odd.tev", ContainerWriter().SetVersion("-1.0").Build().bytes);
  dir.Write("gzip.tev", Hex("1f8b 0800 0000 0000"));
  dir.Write("other.tev", Hex("0102 0304"));
  dir.Write("cut.tev", Hex("89 'LBF' 0d0a1a0a '1.3' 00"));
  const RunResult run = Run({"info", "text.tev", "empty.tev", "gzip.tev", "other.tev", "new.tev",
                             "odd.tev", "cut.tev", "/dev/null"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error,
            "tev: text.tev: not a Tev file: it looks like text\n"
            "tev: empty.tev: not a Tev file: it looks like an empty file\n"
            "tev: gzip.tev: not a Tev file: it looks like a gzip file\n"
            "tev: other.tev: not a Tev file\n"
            "tev: new.tev: version 1.4 is newer than this program; versions up to 1.3 can be read\n"
            "tev: odd.tev: \"-1.0\" is no version of a Tev file; versions up to 1.3 can be read\n"
            "tev: cut.tev: damaged: the file ends before its header does" +
                std::string(kHint) + "tev: /dev/null: is no regular file\n");
}

TEST_F(TevFiles, BlockThatZlibRefuses_IsNamedByNumberAndStream) {
  ContainerWriter container = SmallModel().ToContainer();
  std::size_t number = 0;
  while (container.Blocks().at(number).name != kLightData) {
    ++number;
  }
  container.Blocks()[number].storedBytes = Hex("10000000 'no zlib stream'");
  container.Blocks()[number].compressed = true;
  dir.Write("a.tev", container.Build().bytes);
  const RunResult run = Run({"tree", "a.tev"});
  const std::string block =
      "zlib refuses the data of block " + std::to_string(number) + " (Light Data)";
  EXPECT_EQ(run.status, 2);
  EXPECT_TRUE(run.output.starts_with("a.tev\n  INCOMPLETE: the data of node 1 (model): " + block))
      << run.output;
  EXPECT_NE(run.output.find("Frame"), std::string::npos) << "its name is in the tree records";
  EXPECT_TRUE(run.error.starts_with("tev: a.tev: damaged: the data of node 1 (model): " + block))
      << run.error;
}

TEST_F(TevFiles, RecordSeparatorInTheNameOfADamagedNode_IsABlank) {
  ModelWriter model;
  model.AddGroup("ro\x1eot", 0);
  ContainerWriter container = model.ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == kLightData) {
      block.storedBytes = Hex("10000000 'no zlib stream'");
      block.compressed = true;
    }
  }
  dir.Write("a.tev", container.Build().bytes);
  const RunResult run = Run({"info", "--jsonl", "a.tev"});
  EXPECT_NE(run.output.find("\"missing\": [\"the data of node 1 (ro ot): "), std::string::npos)
      << run.output;
}

TEST_F(TevFiles, NoFolderForTemporaryFiles_IsAnErrorOfTheSystem) {
  Write("a.tev", SmallModel());
  const RunResult run =
      RunProgram({"sh", "-c", "cat a.tev | \"$0\" info --jsonl -", TEV_PROGRAM},
                 {.environment = {{"TMPDIR", "/nonexistent"}}, .workingDirectory = dir.Path()});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.output.find("\"failure\": {\"code\": \"io-error\", \"message\": \"cannot make a "
                            "temporary file: No such file or directory\"}"),
            std::string::npos)
      << run.output << run.error;
}

TEST_F(TevFiles, SizeOfANativeFileWithoutAPath_StaysAmongTheAttributes) {
  ModelWriter model;
  model.AddGroup("root", 0, {Attribute::Text("Model File Size", "1.5 KB")});
  Write("a.tev", model);
  const std::string answer = Answer({"info", "--jsonl", "a.tev"});
  EXPECT_NE(answer.find(R"("attributes": [{"name": "Model File Size", "type": "text", )"
                        R"("value": "1.5 KB"}])"),
            std::string::npos)
      << answer;
  EXPECT_NE(Answer({"info", "a.tev"}).find("    Model File Size: 1.5 KB\n"), std::string::npos);
}

TEST_F(TevFiles, SecondIndexThatZlibRefuses_IsNamedToo) {
  ContainerWriter container;
  container.AddRaw("A", "1").AddRaw("B", "2");
  container.ContinueAfter({.after = 1,
                           .block = {.name = "\vIndex Block 1",
                                     .compressed = true,
                                     .storedBytes = Hex("10000000 'no zlib stream'")}});
  dir.Write("a.tev", container.Build().bytes);
  const RunResult run = Run({"blocks", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error,
            "tev: a.tev: damaged: zlib refuses the data of block 1 (\\x0bIndex Block 1)" +
                std::string(kHint));
}

TEST_F(TevFiles, IndexThatCannotBeRead_IsToldWithItsPlace) {
  const Container whole = ContainerWriter().AddRaw("A", "1").Build();
  dir.Write("cut", whole.bytes.substr(0, whole.indexOffset + whole.indexSize - 3));
  dir.Write("few", ContainerWriter().AddRaw("A", "1").SetIndexCount(2).Build().bytes);
  ContainerWriter second;
  second.AddRaw("A", "1").ContinueAfter({.after = 1, .count = 2});
  dir.Write("second", second.Build().bytes);
  const std::string reason = ": Not enough bytes in the block" + std::string(kHint);
  for (const char* verb : {"info", "blocks"}) {
    EXPECT_EQ(
        Run({verb, "cut"}).error,
        "tev: cut: damaged: the index at byte 16: the file ends 3 bytes before the index does" +
            std::string(kHint));
    EXPECT_EQ(Run({verb, "few"}).error, "tev: few: damaged: the index at byte 16" + reason);
    EXPECT_EQ(Run({verb, "second"}).error,
              "tev: second: damaged: the index in block 1 (\\x0bIndex Block 1)" + reason);
  }
}

TEST_F(TevFiles, RecordSeparatorInTheNameOfAStream_IsABlank) {
  ContainerWriter container;
  container.AddRaw(
      "a\x1e"
      "b",
      "1234");
  container.AddRaw(
      "a\x1e"
      "b",
      "5678");
  const std::string bytes = container.Build().bytes;
  dir.Write("a.tev", bytes.substr(0, bytes.size() - 1));
  for (const char* verb : {"blocks", "check"}) {
    for (const char* form : {"--jsonl", "--json", "--progress"}) {
      const RunResult run = Run({verb, form, "a.tev"});
      const std::string all = run.output + run.error;
      EXPECT_NE(all.find("a b"), std::string::npos) << all;
      EXPECT_EQ(all.find("a\\x1e"), std::string::npos) << all;
      EXPECT_EQ(all.find("a\\u001e"), std::string::npos) << all;
    }
  }
}

TEST_F(TevFiles, RunThatFindsNothing_LeavesItsOutputFile) {
  Write("a.tev", SmallModel());
  dir.Write("out", "mine");
  for (const char* form : {"--json", "--jsonl", "--csv", "--no-progress"}) {
    const RunResult run = Run({"results", form, "--result", "No", "a.tev", "a.tev", "-o", "out"});
    EXPECT_EQ(run.status, 1) << form;
    EXPECT_EQ(dir.Read("out"), "mine") << form;
    EXPECT_EQ(Run({"results", form, "--result", "No", "a.tev", "a.tev"}).output, "") << form;
  }
}

TEST_F(TevFiles, OutputThatCannotBeOpened_EndsTheRunOnSeveralFiles) {
  Write("a.tev", SmallModel());
  for (const char* form : {"--json", "--jsonl", "--no-progress"}) {
    const RunResult run = Run({"info", form, "a.tev", "a.tev", "-o", "no/such"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, "tev: no/such: cannot open: No such file or directory\n");
  }
}

TEST_F(TevFiles, FilesThatHaveNothing_ComeOutInPlaceOfTheJsonAnswer) {
  Write("a.tev", SmallModel());
  ModelWriter empty;
  empty.AddGroup("root", 0);
  Write("none.tev", empty);
  const std::vector<std::string> files{"none.tev", "none.tev", "a.tev", "none.tev"};
  for (const std::string form : {"json", "jsonl"}) {
    std::vector<std::string> command{"results", "--" + form, "--result", "Temperature"};
    command.insert(command.end(), files.begin(), files.end());
    const RunResult run = Run(command);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(Check(run.output, form == "json" ? "schema" : "lines", Schema("results")), "");
    std::size_t at = 0;
    for (const std::string& file : files) {
      at = run.output.find("\"file\": \"" + file + "\"", at + 1);
      EXPECT_NE(at, std::string::npos) << run.output;
    }
  }
}

TEST_F(TevFiles, ClosedCopiesOfTheSchemas_TakeNoKeyMoreInAnyObject) {
  for (const char* verb : {"list", "info", "tree", "results", "diff", "sets", "check", "blocks"}) {
    EXPECT_EQ(Check("", "closed", Schema(verb)), "") << verb;
  }
}

TEST_F(TevFiles, ControlCharactersInAPath_DoNotReachTheTerminal) {
  const std::string name = "a\x1b[31m\n.tev";
  Write(name, SmallModel());
  EXPECT_TRUE(Answer({"blocks", name}).starts_with("a\\x1b[31m\\x0a.tev\n"));
}

TEST_F(TevFiles, Json_HasOneShapeForOneFileForManyAndForNone) {
  dir.Write("a.tev", ContainerWriter().AddRaw("Tev Tree", "").Build().bytes);
  const std::string object =
      "    {\n"
      "      \"file\": \"a.tev\",\n"
      "      \"failure\": null,\n"
      "      \"complete\": true,\n"
      "      \"missing\": [],\n"
      "      \"bytes\": 39,\n"
      "      \"version\": \"1.3\",\n"
      "      \"index\": {\n"
      "        \"offset\": 16,\n"
      "        \"bytes\": 23\n"
      "      },\n"
      "      \"blocks\": [\n"
      "        {\n"
      "          \"number\": 0,\n"
      "          \"stream\": \"Tev Tree\",\n"
      "          \"storedBytes\": 0,\n"
      "          \"inflatedBytes\": 0,\n"
      "          \"ratio\": null,\n"
      "          \"offset\": 39,\n"
      "          \"compression\": \"none\"\n"
      "        }\n"
      "      ],\n"
      "      \"streams\": [\n"
      "        {\n"
      "          \"stream\": \"Tev Tree\",\n"
      "          \"blocks\": 1,\n"
      "          \"storedBytes\": 0,\n"
      "          \"inflatedBytes\": 0,\n"
      "          \"ratio\": null\n"
      "        }\n"
      "      ],\n"
      "      \"totals\": {\n"
      "        \"blocks\": 1,\n"
      "        \"storedBytes\": 0,\n"
      "        \"inflatedBytes\": 0,\n"
      "        \"ratio\": null\n"
      "      }\n"
      "    }";
  const std::string start = "{\n  \"format\": \"tev.blocks/1\",\n  \"files\": [";
  const std::string end = "\n  ]\n}\n";
  EXPECT_EQ(Answer({"blocks", "--json", "a.tev"}), start + "\n" + object + end);
  EXPECT_EQ(Answer({"blocks", "--json", "a.tev", "a.tev"}),
            start + "\n" + object + ",\n" + object + end);
  EXPECT_EQ(Run({"blocks", "--json", "x"}).output,
            start +
                "\n    {\n"
                "      \"file\": \"x\",\n"
                "      \"failure\": {\n"
                "        \"code\": \"not-found\",\n"
                "        \"message\": \"cannot open: No such file or directory\"\n"
                "      },\n"
                "      \"complete\": false,\n"
                "      \"missing\": []\n"
                "    }" +
                end);
}

TEST_F(TevFiles, JsonLines_HaveALineForEachFileInOrder) {
  dir.Write("a.tev", ContainerWriter().AddRaw("Tev Tree", "").Build().bytes);
  const std::string facts =
      R"(, "bytes": 39, "version": "1.3", "index": {"offset": 16, "bytes": 23}, )"
      R"("blocks": [{"number": 0, "stream": "Tev Tree", "storedBytes": 0, "inflatedBytes": 0, )"
      R"("ratio": null, "offset": 39, "compression": "none"}], )"
      R"("streams": [{"stream": "Tev Tree", "blocks": 1, "storedBytes": 0, "inflatedBytes": 0, )"
      R"("ratio": null}], )"
      R"("totals": {"blocks": 1, "storedBytes": 0, "inflatedBytes": 0, "ratio": null}})"
      "\n";
  const std::string start = "{\"format\": \"tev.blocks/1\", \"file\": ";
  const RunResult run = Run({"blocks", "--jsonl", "a.tev", "x", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: x: cannot open: No such file or directory\n");
  const std::string good =
      start + "\"a.tev\", \"failure\": null, \"complete\": true, \"missing\": []" + facts;
  EXPECT_EQ(run.output, good + start +
                            "\"x\", \"failure\": {\"code\": \"not-found\", \"message\": "
                            "\"cannot open: No such file or directory\"}, \"complete\": false, "
                            "\"missing\": []}\n" +
                            good);
  EXPECT_EQ(Check(run.output, "lines", Schema("blocks")), "");
}

}  // namespace
}  // namespace tevtest
