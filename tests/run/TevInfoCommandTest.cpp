// tev info: what a model holds.

#include <gtest/gtest.h>

#include <limits>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

using TevInfoCommand = TevRun;

TEST_F(TevInfoCommand, RecordSeparatorsInTheNamesOfPrograms_AreBlanks) {
  ModelWriter model;
  model.AddGroup("root", 0);
  model.AddModifier({.applicationName = "my\x1eprogram",
                     .applicationVersion = "2\x1e.1",
                     .userName = "you\x1eor"});
  Write("a.tev", model);
  EXPECT_NE(Answer({"info", "--jsonl", "a.tev"})
                .find(R"("name": "my program", "version": "2 .1", "user": "you or")"),
            std::string::npos);
  EXPECT_NE(Answer({"info", "a.tev"}).find("  my program 2 .1  you or"), std::string::npos);
}

TEST_F(TevInfoCommand, Text_HasASectionForEachKindOfFact) {
  ModelWriter model = SmallModel();
  model.AddModifier({.applicationName = "third", .date = "soon", .comment = "c\x07"});
  const std::string bytes = model.Build();
  ASSERT_GT(bytes.size(), 1024U);
  dir.Write("a.tev", bytes);
  std::ostringstream size;
  size << static_cast<float>(bytes.size()) / 1024;
  EXPECT_EQ(Answer({"info", "a.tev"}),
            "a.tev\n"
            "  Title     Frame, transient heating\n"
            "  Category  Transient\n"
            "  File      " +
                size.str() + " KB (" + std::to_string(bytes.size()) +
                " bytes), version 1.3\n"
                "  Mesh      10 nodes, 3 elements of 4.33 nodes\n"  // 2 of 4 and 1 of 5
                "  Units     unnamed (0.001 m)\n"
                "\n"
                "  Programs (3)\n"
                "    Role                   Program        User     Date                 Comment\n"
                "    original modification  translate 2.1  analyst  2024-03-04T09:12:44  First "
                "translation\n"
                "                           tidy 0.9       release  2024-03-05T17:30:02\n"
                "    latest translation     third                   soon                 c\\x07\n"
                "\n"
                "  Parts (2)\n"
                "    Id  Name   Nodes  Elements  Nodes/element  Coordinates  Groups\n"
                "     3  Frame      5         2              4  own          Geometry\n"
                "     5  Panel      5         1              5  own          Geometry\n"
                "\n"
                "  Node sets (2)\n"
                "    Name    Members\n"
                "    Fixed         2\n"
                "    Loaded        1\n"
                "\n"
                "  Steps (1)\n"
                "    Step        Subtitle\n"
                "    Time = 0.5\n"
                "\n"
                "  Results (2)\n"
                "    Name          Components  Location\n"
                "    Displacement           3  node\n"
                "    Temperature            1  node\n"
                "\n"
                "  Native files\n"
                "    Of       Path             Format      Size\n"
                "    model    /data/frame.inp  Abaqus INP  1.5 KB\n"
                "    results  /data/frame.odb  ABAQUS ODB  2.25 MB\n"
                "\n"
                "  Attributes of the model\n"
                "    Tolerance: 0.25\n");
}

TEST_F(TevInfoCommand, Steps_ComeInTheOrderOfTheirNumbers) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("g", 0)));
  for (const char* step : {"10", "2", "0.5", "1", "1.5"}) {
    model.AddVariable(mesh,
                      Variable::Floats(std::string("R\x1eTime = ") + step, kScalarResult, 1, {1}));
  }
  Write("a.tev", model);
  EXPECT_NE(
      Answer({"info", "a.tev"})
          .find("    Time = 0.5\n    Time = 1\n    Time = 1.5\n    Time = 2\n    Time = 10\n"),
      std::string::npos);
}

TEST_F(TevInfoCommand, Steps_HaveTheirWholeTextAndTheirSubtitleWhereItChanges) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("g", 0)));
  for (const auto& [step, subtitle] : {std::pair("Time = 1 s, open", "valve A"),
                                       {"Time = 2 s\x1eshut", "valve A"},
                                       {"Time = 3", ""},
                                       {"Zero", "idle"}}) {
    Variable variable = Variable::Floats(std::string("R\x1e") + step, kScalarResult, 1, {1});
    if (*subtitle != '\0') {
      variable.attributes = {Attribute::Text("Subtitle", subtitle)};
    }
    model.AddVariable(mesh, variable);
  }
  Write("a.tev", model);
  EXPECT_NE(Answer({"info", "a.tev"})
                .find("  Steps (4)\n"
                      "    Step              Subtitle\n"
                      "    Time = 1 s, open  valve A\n"
                      "    Time = 2 s shut\n"
                      "    Time = 3          -\n"
                      "    Zero              idle\n"),
            std::string::npos)
      << Answer({"info", "a.tev"});
}

TEST_F(TevInfoCommand, PartWithoutAGeometry_IsToldAsMissing) {
  ModelWriter model;
  model.AddShape("Lonely", model.AddGroup("root", 0));
  Write("a.tev", model);
  const RunResult run = Run({"info", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_TRUE(run.output.starts_with(
      "a.tev\n  INCOMPLETE: the geometry of part 2 (Lonely)\n  Category  Unknown\n"))
      << run.output;
  EXPECT_EQ(run.error,
            "tev: a.tev: damaged: the geometry of part 2 (Lonely) (\"tev check\" tells more)\n");
  EXPECT_EQ(Check(Run({"info", "--json", "a.tev"}).output, "schema", Schema("info")), "");
}

TEST_F(TevInfoCommand, FileThatEndsBeforeItsNodeSets_GivesWhatIsThere) {
  const Container whole = SmallModel().ToContainer().Build();
  const std::size_t end = whole.Block(kHeavyData).offset + 8;
  dir.Write("a.tev", whole.bytes.substr(0, end));
  const std::string cut = "the file ends " + std::to_string(whole.bytes.size() - end) +
                          " bytes early, in block 5 (Heavy Data)";
  for (const char* verb : {"info", "tree", "sets"}) {
    const RunResult run = Run({verb, "a.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.error.starts_with("tev: a.tev: damaged: " + cut + ", and 1 more")) << run.error;
    const std::string json = Run({verb, "--json", "a.tev"}).output;
    EXPECT_EQ(Check(json, "schema", Schema(verb)), "");
    EXPECT_NE(json.find("\"complete\": false,\n"), std::string::npos);
    EXPECT_NE(json.find("\"code\": \"damaged\",\n"), std::string::npos);
  }
  const std::string info = Run({"info", "a.tev"}).output;
  EXPECT_TRUE(info.starts_with("a.tev\n  INCOMPLETE: " + cut +
                               "\n  INCOMPLETE: the node sets of node 7 (Sets): "))
      << info;
  for (const char* fact : {"Frame, transient heating", "translate 2.1", "Panel", "Displacement",
                           "/data/frame.odb", "Tolerance"}) {
    EXPECT_NE(info.find(fact), std::string::npos) << fact;
  }
  EXPECT_EQ(info.find("Node sets ("), std::string::npos);
  const RunResult list = Run({"list", "--csv", "a.tev"});
  EXPECT_NE(list.output.find("a.tev,damaged,false," + std::to_string(end) + ","), std::string::npos)
      << list.output;
}

TEST_F(TevInfoCommand, LostEndThatTheVerbDoesNotNeed_IsToldAllTheSame) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("g", 0)));
  model.AddVariable(mesh, Variable::Floats("R", kScalarResult, 1, {1, 2, 3}));
  const std::string bytes = model.Build();
  dir.Write("a.tev", bytes.substr(0, bytes.size() - 4));
  for (const char* verb : {"info", "tree", "list", "blocks", "sets"}) {
    const RunResult run = Run({verb, "a.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.error.find("damaged: the file ends 4 bytes early, in block "), std::string::npos)
        << run.error;
  }
}

TEST_F(TevInfoCommand, Stats_CountElementsByTheirNodes) {
  ModelWriter model;
  const NodeRef group = model.AddGroup("Geometry", 0);
  const NodeRef mixed = model.AddGeometry("mesh", model.AddShape("Mixed", group));
  model.AddVariable(mixed, Variable::Uints("Connectivity", kConnectivity, 1,
                                           {0, 1, 2, 0, 1, 2, 3, 1, 2, 3, 0, 2, 3}));
  model.AddVariable(mixed, Variable::Uints("Polylength", kPolylength, 1, {3, 4, 3, 3}));
  model.AddGeometry("points", model.AddShape("Points", group));
  Write("a.tev", model);
  EXPECT_NE(Answer({"info", "a.tev"}).find("  Mesh      - nodes, - elements of 3.25 nodes\n"),
            std::string::npos);
  const std::string counted = Answer({"info", "--stats", "a.tev"});
  EXPECT_EQ(counted.substr(counted.find("  Mesh")),
            "  Mesh      - nodes, - elements: 3 of 3, 1 of 4 nodes\n"
            "\n"
            "  Parts (2)\n"
            "    Id  Name    Nodes  Elements  Elements by nodes  Coordinates  Groups\n"
            "     2  Mixed       0         4  3 of 3, 1 of 4     own\n"
            "     4  Points      0         0  -                  own\n");
}

TEST_F(TevInfoCommand, StatsOfLengthsThatDoNotFit_AreMissing) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("P", model.AddGroup("root", 0)));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {4}));
  Write("a.tev", model);
  EXPECT_NE(Answer({"info", "a.tev"}).find("  3  own"), std::string::npos) << "by byte counts";
  const RunResult run = Run({"info", "--stats", "a.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_TRUE(
      run.output.starts_with("a.tev\n  INCOMPLETE: the elements of part 2 (P): The lengths of the "
                             "faces do not make up the "
                             "list of their nodes\n"))
      << run.output;
  const std::string json = Run({"info", "--stats", "--json", "a.tev"}).output;
  EXPECT_EQ(Check(json, "schema", Schema("info")), "");
  EXPECT_NE(json.find("\"elementsByNodes\": null,"), std::string::npos) << json;
}

TEST_F(TevInfoCommand, SeveralFiles_HaveASectionEach) {
  Write("a.tev", SmallModel());
  Write("b.tev", SmallModel());
  EXPECT_EQ(Answer({"info", "a.tev", "b.tev"}),
            Answer({"info", "a.tev"}) + "\n" + Answer({"info", "b.tev"}));
}

TEST_F(TevInfoCommand, Examples_FitTheSchemaAndWhatTheyWereMadeFrom) {
  for (const std::string name : {"bracket", "heatsink"}) {
    const std::string answer = Answer({"info", "--json", Example(name + ".tev")});
    EXPECT_EQ(Check(answer, "schema", Schema("info")), "");
    EXPECT_EQ(Check(answer, "info", Example(name + ".truth.json.gz")), "");
    const std::string counted = Answer({"info", "--json", "--stats", Example(name + ".tev")});
    EXPECT_EQ(Check(counted, "schema", Schema("info")), "");
    EXPECT_EQ(Check(counted, "stats", Example(name + ".truth.json.gz")), "");
  }
}

TEST_F(TevInfoCommand, Json_HasTheExactSizeOfTheFile) {
  const std::string bytes = SmallModel().Build();
  dir.Write("a.tev", bytes);
  EXPECT_NE(
      Answer({"info", "--json", "a.tev"}).find("\"bytes\": " + std::to_string(bytes.size()) + ","),
      std::string::npos);
}

TEST_F(TevInfoCommand, AttributesInJson_HaveTypesAndEscapedTexts) {
  ModelWriter model;
  model.AddGroup(
      "root", 0,
      {Attribute::Float("a", 0.1F), Attribute::Float("b", std::numeric_limits<float>::quiet_NaN()),
       Attribute::Double("c", std::numeric_limits<double>::infinity()),
       Attribute::Text("d\xff", "q\" \\ \x01 \xc3\xbc \xc3"), Attribute::Uint("e", 4294967295U)});
  Write("a.tev", model);
  const std::string answer = Answer({"info", "--json", "a.tev"});
  EXPECT_EQ(Check(answer, "schema", Schema("info")), "");
  const auto has = [&answer](const std::string& name, const std::string& type,
                             const std::string& value) {
    const std::string indent = "          ";
    return answer.find("{\n" + indent + "\"name\": \"" + name + "\",\n" + indent + "\"type\": \"" +
                       type + "\",\n" + indent + "\"value\": " + value + "\n") != std::string::npos;
  };
  EXPECT_TRUE(has("a", "float", "0.10000000149011612")) << answer;
  EXPECT_TRUE(has("b", "float", "null")) << answer;
  EXPECT_TRUE(has("c", "double", "null")) << answer;
  EXPECT_TRUE(has("d\xef\xbf\xbd", "text", "\"q\\\" \\\\ \\u0001 \xc3\xbc \xef\xbf\xbd\""))
      << answer;
  EXPECT_TRUE(has("e", "unsigned integer", "4294967295")) << answer;
}

}  // namespace
}  // namespace tevtest
