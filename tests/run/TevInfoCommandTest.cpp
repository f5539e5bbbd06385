// tev info: what a model holds.

#include <gtest/gtest.h>

#include <limits>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

using TevInfoCommand = TevRun;

TEST_F(TevInfoCommand, Text_HasTheFactsOfTheReportAndAllModifiers) {
  ModelWriter model = SmallModel();
  model.AddModifier({.applicationName = "third", .comment = "c\x07"});
  const std::string bytes = model.Build();
  ASSERT_GT(bytes.size(), 1024U);
  dir.Write("a.tev", bytes);
  std::ostringstream size;
  size << static_cast<float>(bytes.size()) / 1024;
  EXPECT_EQ(Answer({"info", "a.tev"}),
            "a.tev\n"
            "  Tev Version: 1.3\n"
            "  Tev File Size: " +
                size.str() + " KB (" + std::to_string(bytes.size()) +
                " bytes)\n"
                "  Model File: /data/frame.inp\n"
                "  Model File Type: Abaqus INP\n"
                "  Native Model File Size: 1.5 KB\n"
                "  Results File: /data/frame.odb\n"
                "  Results File Type: ABAQUS ODB\n"
                "  Native Results File Size: 2.25 MB\n"
                "  Number of Nodes: 10\n"
                "  Number of Elements: 3\n"
                "  Title: Frame, transient heating\n"
                "  Category: Transient\n"
                "  Number of Parts: 2\n"
                "  Number of Cut-sections: 0\n"
                "  Number of Iso-surfaces: 0\n"
                "  Number of Iso-volumes: 0\n"
                "  Number of Flow-lines: 0\n"
                "  Number of Results: 3\n"
                "  Number of Instances: 1\n"
                "  Parts: Frame, Panel\n"
                "  Results: Displacement, Element Ids, Temperature\n"
                "  Instances: Time = 0.5\n"
                "  Time Steps: 0.5\n"
                "  Modifier 1 of 3\n"
                "    Application name: translate\n"
                "    Application version: 2.1\n"
                "    Tev version: 1.3\n"
                "    User name: analyst\n"
                "    Date: Mon Mar  4 09:12:44 2024\n"
                "    Comment: First translation\n"
                "  Modifier 2 of 3\n"
                "    Application name: tidy\n"
                "    Application version: 0.9\n"
                "    Tev version: 1.3\n"
                "    User name: release\n"
                "    Date: Tue Mar  5 17:30:02 2024\n"
                "  Modifier 3 of 3\n"
                "    Application name: third\n"
                "    Comment: c\\x07\n"
                "  Root attributes\n"
                "    Model File: /data/frame.inp\n"
                "    Model File Size: 1.5 KB\n"
                "    Number of Elements in the Model: 3\n"
                "    Number of Nodes in the Model: 10\n"
                "    Results File: /data/frame.odb\n"
                "    Results File Size: 2.25 MB\n"
                "    Tolerance: 0.25\n"
                "    Unit Scale: 0.001\n");
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
  }
}

TEST_F(TevInfoCommand, Json_HasTheExactSizeOfTheFile) {
  const std::string bytes = SmallModel().Build();
  dir.Write("a.tev", bytes);
  EXPECT_NE(
      Answer({"info", "--json", "a.tev"}).find("\"bytes\": " + std::to_string(bytes.size()) + ","),
      std::string::npos);
}

TEST_F(TevInfoCommand, FileWithoutAModel_FitsTheSchema) {
  dir.Write("a.tev", ContainerWriter().Build().bytes);
  const std::string answer = Answer({"info", "--json", "a.tev"});
  EXPECT_EQ(Check(answer, "schema", Schema("info")), "");
  EXPECT_NE(answer.find("\"numberOfNodes\": null,"), std::string::npos);
  EXPECT_NE(answer.find("\"category\": \"Unknown\","), std::string::npos);
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
  EXPECT_TRUE(has("a", "float", "0.1")) << answer;
  EXPECT_TRUE(has("b", "float", "null")) << answer;
  EXPECT_TRUE(has("c", "double", "null")) << answer;
  EXPECT_TRUE(has("d\xef\xbf\xbd", "text", "\"q\\\" \\\\ \\u0001 \xc3\xbc \xef\xbf\xbd\""))
      << answer;
  EXPECT_TRUE(has("e", "unsigned integer", "4294967295")) << answer;
}

}  // namespace
}  // namespace tevtest
