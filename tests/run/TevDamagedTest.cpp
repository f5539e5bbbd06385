// All verbs of tev on files that are damaged, foreign, or no files at all.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <sstream>

#include "run/TevRun.h"
#include "support/Hex.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

/// The verbs that answer in JSON on any number of files.
constexpr std::array<const char*, 7> kFileVerbs{"list",   "info",  "tree",   "sets",
                                                "blocks", "check", "results"};

/// A command line of each verb that has an answer on SmallModel.
std::vector<Arguments> CommandsOn(const std::string& model) {
  std::vector<Arguments> commands;
  for (const char* verb : kFileVerbs) {
    commands.push_back({verb, model});
  }
  commands.push_back({"sets", model, "Fixed"});
  commands.push_back({"block", model, "0"});
  commands.push_back({"cdf", model, "mesh 1", "-"});
  commands.push_back({"values", model, "--part", "Frame", "--result", "Temperature"});
  commands.push_back({"diff", model, "whole.tev"});
  return commands;
}

class TevDamaged : public TevRun {
 protected:
  TevDamaged() { dir.Write("whole.tev", whole.bytes); }

  /// The JSON answer of a verb on one file.
  [[nodiscard]] RunResult RunJson(const std::string& verb, const std::string& file) const {
    return Run({verb, "--jsonl", file});
  }

  const Container whole = SmallModel().ToContainer().AddRaw("Notes", "last").Build();
};

std::string CodeIn(const std::string& line) {
  const std::string start = "\"failure\": {\"code\": \"";
  const std::size_t at = line.find(start);
  return at == std::string::npos
             ? "none"
             : line.substr(at + start.size(),
                           line.find('"', at + start.size()) - at - start.size());
}

TEST_F(TevDamaged, WholeFile_IsAnsweredByAll) {
  for (const Arguments& command : CommandsOn("whole.tev")) {
    EXPECT_EQ(Run(command).status, 0) << command[0];
  }
}

TEST_F(TevDamaged, FileThatEndsEarly_IsIncompleteForEveryVerb) {
  // Nothing but the last byte of a block is lost that none of them reads.
  dir.Write("cut.tev", whole.bytes.substr(0, whole.bytes.size() - 1));
  for (const Arguments& command : CommandsOn("cut.tev")) {
    const RunResult run = Run(command);
    EXPECT_EQ(run.status, 2) << command[0];
    if (command[0] != "check") {
      EXPECT_NE(run.error.find("tev: cut.tev: damaged: the file ends 1 byte early, in block 6 "
                               "(Notes)"),
                std::string::npos)
          << command[0] << run.error;
    }
    EXPECT_NE(run.output, "") << command[0] << " has an answer all the same";
  }
  for (const char* verb : {"list", "info", "tree", "sets", "blocks", "results"}) {
    EXPECT_NE(Run({verb, "cut.tev"}).output.find("INCOMPLETE: "), std::string::npos) << verb;
  }
  for (const char* verb : kFileVerbs) {
    const RunResult run = RunJson(verb, "cut.tev");
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.output.find("\"complete\": false, \"missing\": [\""), std::string::npos)
        << verb << run.output;
    EXPECT_EQ(CodeIn(run.output), "damaged") << verb;
    EXPECT_EQ(Check(run.output, "lines", Schema(verb)), "") << verb;
  }
}

TEST_F(TevDamaged, RealModelCutAtHalf_GivesAllFactsThatAreThere) {
  for (const std::string name : {"bracket.tev", "heatsink.tev"}) {
    const std::string bytes = ReadFile(Example(name));
    const std::string sound = Answer({"info", Example(name)});
    dir.Write("half.tev", bytes.substr(0, bytes.size() / 2));
    const RunResult run = Run({"info", "half.tev"});
    EXPECT_EQ(run.status, 2);
    // All but the size of the file: records, attributes and light data come before the half.
    const std::size_t mesh = run.output.find("  Mesh ");
    ASSERT_NE(mesh, std::string::npos) << run.output;
    EXPECT_EQ(run.output.substr(mesh), sound.substr(sound.find("  Mesh ")));
    EXPECT_NE(run.output.find("half.tev\n  INCOMPLETE: the file ends "), std::string::npos);
    const std::string tree = Run({"tree", "half.tev"}).output;
    const std::string soundTree = Answer({"tree", Example(name)});
    EXPECT_TRUE(tree.ends_with(soundTree.substr(soundTree.find('\n')))) << tree;
  }
}

TEST_F(TevDamaged, NameThatMayBeInTheLostPart_IsDamageAndNoBadUsage) {
  // The tree is lost, and with it all names.
  ContainerWriter container = SmallModel().ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == kTree) {
      block.storedBytes = Hex("10000000 'no zlib stream'");
      block.compressed = true;
    }
  }
  dir.Write("a.tev", container.Build().bytes);
  for (const Arguments& command : {Arguments{"sets", "a.tev", "Fixed"},
                                   {"cdf", "a.tev", "mesh 1", "out"},
                                   {"values", "a.tev", "--result", "Temperature", "-o", "out"},
                                   {"export", "a.tev", "--result", "Temperature", "-o", "out.vtu"},
                                   {"results", "a.tev", "--result", "Temperature", "-o", "out"}}) {
    const RunResult run = Run(command);
    EXPECT_EQ(run.status, 2) << command[0];
    EXPECT_NE(run.error.find("tev: a.tev: damaged: No "), std::string::npos) << run.error;
    EXPECT_NE(run.error.find("; the tree: "), std::string::npos) << run.error;
    EXPECT_FALSE(dir.Has("out") || dir.Has("out.vtu")) << command[0];
  }
}

TEST_F(TevDamaged, FilesThatAreNoModels_HaveTheSameCodeForEveryVerb) {
  const std::string bytes = whole.bytes;
  std::string converted = bytes;
  converted.erase(converted.find('\r'), 1);
  dir.Write("empty", "");
  dir.Write("gzip", Hex("1f8b 0800 0000 0000"));
  dir.Write("html", "<!DOCTYPE html>");
  dir.Write("converted", converted);
  dir.Write("short", bytes.substr(0, 7));
  dir.Write("signature", bytes.substr(0, 8));
  dir.Write("new", ContainerWriter().SetVersion("1.4").Build().bytes);
  dir.Write("unknown", ContainerWriter().AddRaw("A", "1").Build().bytes);
  ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
  const Arguments files{"empty", "gzip",    "html", "converted", "short",  "signature",
                        "new",   "unknown", "pipe", "/dev/null", "missing"};
  const Arguments codes{
      "not-a-model",         "not-a-model", "not-a-model", "not-a-model", "not-a-model", "damaged",
      "unsupported-version", "damaged",     "not-a-file",  "not-a-file",  "not-found"};
  for (const std::string verb : kFileVerbs) {
    std::string all;
    for (std::size_t i = 0; i < files.size(); ++i) {
      const RunResult run = RunJson(verb, files[i]);
      EXPECT_EQ(run.status, 2) << verb << ' ' << files[i];
      EXPECT_EQ(CodeIn(run.output), codes[i]) << verb << ' ' << files[i];
      all += run.output;
    }
    EXPECT_EQ(Check(all, "lines", Schema(verb)), "") << verb;
  }
}

/// A model in which one letter of a stream's name is another, as the index has it.
std::string WithMisnamed(std::string bytes, std::string_view stream) {
  bytes[bytes.find(stream) + stream.size() - 1] ^= 0x1d;
  return bytes;
}

TEST_F(TevDamaged, TreeOfAnotherName_IsNoEmptyModelForAnyVerb) {
  dir.Write("a.tev", WithMisnamed(whole.bytes, "Tev Tree"));
  for (const Arguments& command : CommandsOn("a.tev")) {
    const RunResult run = Run(command);
    EXPECT_EQ(run.status, 2) << command[0];
    EXPECT_NE((run.error + run.output).find("there is no stream \"Tev Tree\""), std::string::npos)
        << command[0] << run.error;
  }
  for (const std::string verb : kFileVerbs) {
    const RunResult run = RunJson(verb, "a.tev");
    EXPECT_EQ(CodeIn(run.output), "damaged") << verb;
    EXPECT_EQ(Check(run.output, "lines", Schema(verb)), "") << verb;
  }
}

TEST_F(TevDamaged, TreeOfAnotherName_LeavesWhatIsWhole) {
  dir.Write("a.tev", WithMisnamed(whole.bytes, "Tev Tree"));
  const std::string lost = "INCOMPLETE: there is no stream \"Tev Tree\"\n";
  const std::string info = Run({"info", "a.tev"}).output;
  EXPECT_TRUE(info.starts_with("a.tev\n  " + lost + "  Category  -\n  File ")) << info;
  EXPECT_NE(info.find("(" + std::to_string(whole.bytes.size()) + " bytes), version 1.3\n"),
            std::string::npos)
      << info;
  EXPECT_NE(info.find("  Programs (2)\n"), std::string::npos) << info;
  EXPECT_NE(info.find("translate 2.1"), std::string::npos) << info;
  const std::string json = RunJson("info", "a.tev").output;
  EXPECT_NE(json.find("\"name\": \"translate\""), std::string::npos) << json;
  EXPECT_NE(json.find("\"category\": null"), std::string::npos) << json;
  const std::string list = RunJson("list", "a.tev").output;
  EXPECT_NE(list.find("\"bytes\": " + std::to_string(whole.bytes.size()) +
                      R"(, "title": null, "category": null, "nodes": null, "elements": null, )"
                      R"("partCount": null, "resultCount": null, "stepRange": null})"),
            std::string::npos)
      << list;
  EXPECT_NE(Run({"list", "a.tev"}).output.find("\na.tev  INCOMPLETE      -  "), std::string::npos);
  EXPECT_NE(Run({"sets", "a.tev"}).output.find("  No node sets that can be read\n"),
            std::string::npos);
  EXPECT_NE(Run({"tree", "a.tev"}).output.find("  " + lost), std::string::npos);
}

TEST_F(TevDamaged, StreamOfAnotherName_IsMissingForEveryVerb) {
  for (const std::string verb : kFileVerbs) {
    std::string all;
    for (const std::string stream :
         {"Attributes", "Heavy Data", "Global Information", "Resources", "Light Data"}) {
      dir.Write("a.tev", WithMisnamed(whole.bytes, stream));
      const RunResult run = RunJson(verb, "a.tev");
      EXPECT_EQ(run.status, 2) << verb << stream;
      EXPECT_NE(run.output.find("\"complete\": false, \"missing\": [\""), std::string::npos)
          << verb << run.output;
      EXPECT_NE(run.output.find("there is no stream \\\"" + stream + "\\\""), std::string::npos)
          << verb << run.output;
      all += run.output;
    }
    EXPECT_EQ(Check(all, "lines", Schema(verb)), "") << verb;
  }
}

TEST_F(TevDamaged, LostLightData_MakesNoZeros) {
  ContainerWriter container = SmallModel().ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    block.compressed = true;
  }
  Container flipped = container.Build();
  const BlockPlace& light = flipped.Block(kLightData);
  flipped.bytes[light.offset + light.storedSize / 2] ^= 0x55;
  dir.Write("a.tev", flipped.bytes);
  const std::string lost =
      R"("nodes": null, "elements": null, "nodesPerElement": null, "sharesWith": null})";
  for (const std::string verb : {"info", "results"}) {
    const RunResult run = RunJson(verb, "a.tev");
    EXPECT_EQ(run.status, 2);
    const std::string parts = run.output.substr(run.output.find("\"parts\": "));
    const std::size_t first = parts.find(lost);
    ASSERT_NE(first, std::string::npos) << parts;
    EXPECT_NE(parts.find(lost, first + 1), std::string::npos) << parts;
    EXPECT_EQ(Check(run.output, "lines", Schema(verb)), "") << verb;
  }
  const std::string counted = Run({"info", "--jsonl", "--stats", "a.tev"}).output;
  EXPECT_NE(counted.find("\"elementsByNodes\": null"), std::string::npos) << counted;
  EXPECT_EQ(counted.find("\"elementsByNodes\": []"), std::string::npos) << counted;
  const std::string tree = RunJson("tree", "a.tev").output;
  EXPECT_NE(tree.find("\"variables\": null"), std::string::npos) << tree;
  EXPECT_EQ(tree.find("\"variables\": []"), std::string::npos) << tree;
  EXPECT_EQ(Check(tree, "lines", Schema("tree")), "");
  const std::string list = RunJson("list", "a.tev").output;
  EXPECT_NE(list.find("\"category\": null"), std::string::npos) << list;
  EXPECT_NE(list.find("\"partCount\": 2, \"resultCount\": null, \"stepRange\": null}"),
            std::string::npos)
      << list;
  EXPECT_TRUE(Run({"list", "--csv", "a.tev"}).output.ends_with(",2,,,,,\n"));
  EXPECT_EQ(Check(list, "lines", Schema("list")), "");
  EXPECT_NE(Run({"tree", "a.tev"}).output.find("Panel  - nodes, - elements\n"), std::string::npos);
  const std::string info = Run({"info", "a.tev"}).output;
  EXPECT_NE(info.find("  Category  -\n"), std::string::npos) << info;
  EXPECT_EQ(info.find(" own "), std::string::npos) << info;
}

TEST_F(TevDamaged, LightDataOfAnotherName_MakesNoZeros) {
  dir.Write("a.tev", WithMisnamed(whole.bytes, "Light Data"));
  const std::string list = RunJson("list", "a.tev").output;
  EXPECT_NE(list.find("\"resultCount\": null, \"stepRange\": null}"), std::string::npos) << list;
  const std::string info = RunJson("info", "a.tev").output;
  EXPECT_EQ(info.find("\"nodes\": 0"), std::string::npos) << info;
}

TEST_F(TevDamaged, NumberOfRecordsBelow0_IsNoEmptyModelForAnyVerb) {
  ModelWriter model = SmallModel();
  model.ReplaceStream(kTree, Hex("feffffff") + model.StreamBytes(kTree).substr(4));
  dir.Write("a.tev", model.Build());
  for (const Arguments& command : CommandsOn("a.tev")) {
    if (command[0] != "blocks" && command[0] != "block") {
      EXPECT_EQ(Run(command).status, 2) << command[0];
    }
  }
  for (const char* verb : {"list", "info", "tree", "sets", "results"}) {
    const RunResult run = RunJson(verb, "a.tev");
    EXPECT_NE(run.output.find("\"complete\": false, \"missing\": [\"the tree: the number of its "
                              "records is -2\"]"),
              std::string::npos)
        << run.output;
    EXPECT_EQ(CodeIn(run.output), "damaged") << verb;
    EXPECT_EQ(Check(run.output, "lines", Schema(verb)), "") << verb;
  }
  EXPECT_NE(RunJson("list", "a.tev")
                .output.find("\"partCount\": null, \"resultCount\": null, \"stepRange\": null"),
            std::string::npos);
}

/// SmallModel, but the second shape names another node, or none, as its only child.
ModelWriter WithLostPart(NodeRef child) {
  ModelWriter model = SmallModel();
  model.At(kSmallShape2).firstChild = child;
  model.At(kSmallShape2).lastChild = child;
  return model;
}

TEST_F(TevDamaged, PartWithoutItsGeometry_IsMissingForEveryVerbThatReadsTheTree) {
  constexpr NodeRef kNoNode = 99;
  for (const NodeRef child : {NodeRef{0}, kNoNode, kSmallNodeSets}) {
    Write("a.tev", WithLostPart(child));
    for (const Arguments& command : CommandsOn("a.tev")) {
      const bool readsBlocks = command[0] == "blocks" || command[0] == "block";
      const RunResult run = Run(command);
      EXPECT_EQ(run.status, readsBlocks ? 0 : 2) << command[0] << child;
      const std::string lost = command[0] == "check" ? "a.tev: DAMAGED: 1 part is lost\n"
                                                     : "the geometry of part 5 (Panel)";
      EXPECT_EQ((run.error + run.output).find(lost) != std::string::npos, !readsBlocks)
          << command[0] << child << run.output << run.error;
    }
    for (const std::string verb : {"list", "info", "tree", "sets", "check", "results"}) {
      const RunResult run = RunJson(verb, "a.tev");
      EXPECT_EQ(CodeIn(run.output), "damaged") << verb;
      EXPECT_NE(
          run.output.find(std::string("\"complete\": false, \"missing\": [\"") +
                          (verb == "check" ? "1 part" : "the geometry of part 5 (Panel)") + "\"]"),
          std::string::npos)
          << verb << run.output;
      EXPECT_EQ(Check(run.output, "lines", Schema(verb)), "") << verb;
    }
  }
}

TEST_F(TevDamaged, FieldOfALostPart_IsDamageAndNoBadUsage) {
  Write("a.tev", WithLostPart(0));
  const RunResult run = Run({"values", "a.tev", "--part", "5", "--result", "Temperature"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.error,
            "tev: a.tev: damaged: no field fits all that is asked for; the geometry of part 5 "
            "(Panel) (\"tev check\" tells more)\n");
}

TEST_F(TevDamaged, LostPartOfEitherModel_WinsOverTheDifference) {
  Write("a.tev", WithLostPart(0));
  for (const auto& [a, b] : {std::pair("a.tev", "whole.tev"), {"whole.tev", "a.tev"}}) {
    const RunResult run = Run({"diff", a, b});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error,
              "tev: a.tev: damaged: the geometry of part 5 (Panel) (\"tev check\" tells more)\n");
  }
}

TEST_F(TevDamaged, LostPartsBeyondThoseTold_AreCounted) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  for (int i = 0; i < 150; ++i) {
    model.AddShape("s", root);
  }
  Write("a.tev", model);
  const RunResult run = Run({"tree", "a.tev"});
  EXPECT_NE(run.output.find("  INCOMPLETE: the geometry of part 101 (s)\n"
                            "  INCOMPLETE: 50 more losses\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.error.find("damaged: the geometry of part 2 (s), and 149 more ("),
            std::string::npos)
      << run.error;
}

TEST_F(TevDamaged, LossesBeyondThoseTold_AreCounted) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  constexpr std::size_t kNodes = 150;
  for (std::size_t i = 0; i < kNodes; ++i) {
    model.AddGroup("g", root);
  }
  ContainerWriter container = model.ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == kLightData) {
      block.payload.resize(1);
    }
  }
  dir.Write("a.tev", container.Build().bytes);
  const RunResult run = Run({"info", "a.tev"});
  EXPECT_NE(run.error.find(", and " + std::to_string(kNodes) + " more ("), std::string::npos)
      << run.error;
}

TEST_F(TevDamaged, StreamThatAModelLacks_IsNotMissingWithoutAnUnknownOne) {
  ContainerWriter container = SmallModel().ToContainer();
  std::erase_if(container.Blocks(),
                [](const BlockSpec& block) { return block.name == "Global Information"; });
  dir.Write("a.tev", container.Build().bytes);
  for (const std::string verb : kFileVerbs) {
    EXPECT_EQ(RunJson(verb, "a.tev").status, 0) << verb;
  }
}

TEST_F(TevDamaged, Folder_IsNoModelForVerbsOnOne) {
  dir.MakeDirectory("d");
  for (const Arguments& command : {Arguments{"sets", "d"},
                                   {"block", "d", "0"},
                                   {"cdf", "d", "mesh", "out"},
                                   {"values", "d"},
                                   {"diff", "d", "whole.tev"}}) {
    const RunResult run = Run(command);
    EXPECT_EQ(run.status, 2) << command[0];
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "tev: d: is a folder\n");
  }
  EXPECT_EQ(RunJson("sets", "d").output.find("not-a-file"),
            std::string("{\"format\": \"tev.sets/1\", \"file\": \"d\", \"failure\": {\"code\": \"")
                .size());
}

TEST_F(TevDamaged, FileThatMayNotBeRead_IsToldWithTheReason) {
  dir.OpenToAll(false);
  fs::permissions(dir / "whole.tev", fs::perms::none);
  for (const Arguments& command : CommandsOn("whole.tev")) {
    const RunResult run = Run(command, {.hooks = {RunAsUnprivileged}});
    EXPECT_EQ(run.status, 2) << command[0];
    EXPECT_NE((run.error + run.output)
                  .find("whole.tev: " + std::string(command[0] == "check" ? "UNREADABLE: " : "") +
                        "cannot open: Permission denied\n"),
              std::string::npos)
        << command[0] << run.error << run.output;
  }
}

TEST_F(TevDamaged, FlippedByteInABlock_IsToldByThoseWhoReadIt) {
  const std::string bytes = ReadFile(Example("bracket.tev"));
  const std::string listing = Answer({"blocks", "--jsonl", Example("bracket.tev")});
  std::istringstream rest(listing.substr(listing.find("\"blocks\": [")));
  std::size_t number = 0;
  for (std::string item; std::getline(rest, item, '}') && item.find("\"number\"") != item.npos;) {
    const auto numberAfter = [&item](const std::string& key) {
      return std::stoul(item.substr(item.find("\"" + key + "\": ") + key.size() + 4));
    };
    std::string flipped = bytes;
    flipped[numberAfter("offset") + numberAfter("storedBytes") / 2] ^= 0x55;
    dir.Write("a.tev", flipped);
    const bool isHeavy = item.find("Heavy Data") != std::string::npos;
    const std::string name = "block " + std::to_string(number) + " (";
    for (const char* verb : {"list", "info", "tree", "results"}) {
      const RunResult run = Run({verb, "a.tev"});
      EXPECT_EQ(run.status, isHeavy ? 0 : 2) << verb << number;
      EXPECT_EQ(run.error.find(name) != std::string::npos, !isHeavy) << verb << run.error;
    }
    const RunResult check = Run({"check", "a.tev"});
    EXPECT_EQ(check.status, 2) << number;
    EXPECT_NE(check.output.find("  " + name), std::string::npos) << check.output;
    const RunResult block = Run({"block", "a.tev", std::to_string(number)});
    EXPECT_EQ(block.status, 2) << number;
    EXPECT_NE(block.error.find(name), std::string::npos) << block.error;
    ++number;
  }
  EXPECT_EQ(number, 10U);
}

TEST_F(TevDamaged, PatternThatFitsInOneFileOfSeveral_HidesNoAnswer) {
  ModelWriter other;
  const NodeRef mesh = other.AddGeometry("mesh", other.AddShape("part", other.AddGroup("g", 0)));
  other.AddVariable(mesh, Variable::Floats("Mass", kScalarResult, 1, {1}));
  Write("other.tev", other);
  const std::string line = "tev: other.tev: No result fits \"Temp*\": there are \"Mass\"\n";
  const RunResult run = Run({"results", "--result", "Temp*", "other.tev", "whole.tev"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, Answer({"results", "--result", "Temp*", "whole.tev"}));
  EXPECT_EQ(run.error, line);
  const RunResult lines =
      Run({"results", "--jsonl", "--result", "Temp*", "other.tev", "whole.tev"});
  EXPECT_TRUE(lines.output.starts_with(
      "{\"format\": \"tev.results/1\", \"file\": \"other.tev\", \"failure\": null, \"complete\": "
      "true, \"missing\": [], \"noMatch\": \"No result fits \\\"Temp*\\\": "))
      << lines.output;
  EXPECT_EQ(Check(lines.output, "lines", Schema("results")), "");
  const RunResult none = Run({"results", "--result", "Temp*", "other.tev", "other.tev"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.output, "");
  EXPECT_EQ(none.error, line + line);
}

}  // namespace
}  // namespace tevtest
