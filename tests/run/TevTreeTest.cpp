// The answers of "tev tree".

#include <gtest/gtest.h>

#include <sstream>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class TevTree : public TevRun {
 protected:
  [[nodiscard]] std::string Draw(const ModelWriter& model,
                                 std::vector<std::string> arguments = {"tree", "-v"}) const {
    Write("a.tev", model);
    arguments.emplace_back("a.tev");
    return Answer(std::move(arguments));
  }
};

/// The material of the writer's records, to its shininess.
constexpr const char* kMaterial =
    "- material: diffuse 0.5 0.5 0.5 1, specular 0.25 0.25 0.25 1, emissive 0 0 0, ambient 0.125 "
    "0.125 0.125, shininess ";

/// "text" with the transform, which all groups of the writer have, below the line of each group.
std::string WithTransforms(const std::string& text) {
  std::istringstream stream(text);
  std::string all;
  for (std::string line; std::getline(stream, line);) {
    all += line + '\n';
    if (line.find(" Group \"") != std::string::npos) {
      all += std::string(line.find_first_not_of(' ') + 2, ' ') +
             "- transform: translation 0 0 0, rotation 0 0 1 0, scale 1 1 1\n";
    }
  }
  return all;
}

/// The lines of the attributes of a result in the small model.
std::string ResultAttributeLines(const std::string& contents) {
  const std::string indent = "            - ";
  return indent + "attribute \"Label\" = " + contents.substr(0, 1) + "\n" + indent +
         "attribute \"Time\" = 0.5\n" + indent +
         "attribute \"Title\" = Frame, transient heating\n" + indent +
         "stored attribute \"Contents\" = " + contents + "\n" + indent +
         "stored attribute \"Structure\" = Node\n";
}

/// Those of its root.
constexpr const char* kRootAttributeLines =
    "    - attribute \"Model File\" = /data/frame.inp\n"
    "    - attribute \"Model File Size\" = 1.5 KB\n"
    "    - attribute \"Number of Elements in the Model\" = 3\n"
    "    - attribute \"Number of Nodes in the Model\" = 10\n"
    "    - attribute \"Results File\" = /data/frame.odb\n"
    "    - attribute \"Results File Size\" = 2.25 MB\n"
    "    - attribute \"Tolerance\" = 0.25\n"
    "    - attribute \"Unit Scale\" = 0.001\n";

/// The first lines of the small model, drawn in full.
std::string RootLines() {
  return WithTransforms("  1 Group \"model\" version 0.4\n") + kRootAttributeLines;
}

TEST_F(TevTree, SmallModel_IsDrawnWithItsMeshesResultsAndSharing) {
  Write("a.tev", SmallModel());
  EXPECT_EQ(
      Answer({"tree", "a.tev"}),
      "a.tev\n"
      "  model\n"
      "  \u251c\u2500 Geometry\n"
      "  \u2502  \u251c\u2500 Frame  5 nodes, 2 elements of 4 nodes; Displacement, "
      "Temperature: 1 step\n"
      "  \u2502  \u2514\u2500 Panel  5 nodes, 1 element of 5 nodes; Displacement, Temperature: "
      "1 step\n"
      "  \u2502        shares 1 variable with Frame\n"
      "  \u2514\u2500 Sets  2 node sets: Fixed 2, Loaded 1\n");
}

TEST_F(TevTree, SmallModel_IsDrawnWhole) {
  const std::string material = std::string("      ") + kMaterial;
  const std::string linked = "linked to variable 6 of node 4\n";
  EXPECT_EQ(
      Draw(SmallModel()),
      "a.tev\n" + RootLines() + WithTransforms("    2 Group \"Geometry\" version 0.4\n") +
          "      3 Shape \"Frame\" version 0.2\n"
          "  " +
          material +
          "32, factor 0.75, flag true\n"
          "        4 Geometry \"mesh 1\" version 0.7\n"
          "          - variable 0 \"Node Ids\": type 12, 1 component, 5 values, 20 bytes\n"
          "          - variable 1 \"Coordinates\": type 1, 3 components, 15 values, 60 bytes\n"
          "          - variable 2 \"Connectivity\": type 4, 1 component, 8 values, 32 bytes\n"
          "          - variable 3 \"Polylength\": type 9, 1 component, 2 values, 8 bytes\n"
          "          - variable 4 \"Element Ids\": type 12, 1 component, 2 values, 8 bytes\n"
          "          - variable 5 \"Displacement Time = 0.5\": type 14, 3 components, 15 "
          "values, 60 bytes\n" +
          ResultAttributeLines("Displacement") +
          "          - variable 6 \"Temperature Time = 0.5\": type 13, 1 component, 5 "
          "values, 20 bytes\n" +
          ResultAttributeLines("Temperature") +
          "      5 Shape \"Panel\" version 0.2\n"
          "  " +
          material +
          "8, factor 0.75, flag true\n"
          "        6 Geometry \"mesh 2\" version 0.7\n"
          "          - variable 0 \"Node Ids\": type 12, 1 component, 5 values, 20 bytes\n"
          "          - variable 1 \"Coordinates\": type 1, 3 components, 15 values, 60 bytes\n"
          "          - variable 2 \"Connectivity\": type 4, 1 component, 5 values, 20 bytes\n"
          "          - variable 3 \"Polylength\": type 9, 1 component, 1 value, 4 bytes\n"
          "          - variable 4 \"Element Ids\": type 12, 1 component, 1 value, 4 bytes\n"
          "          - variable 5 \"Displacement Time = 0.5\": type 14, 3 components, 15 "
          "values, 60 bytes\n" +
          ResultAttributeLines("Displacement") +
          "          - variable 6 \"Temperature Time = 0.5\": type 13, 1 component, 5 "
          "values, 20 "
          "bytes, " +
          linked +
          "    7 NodeSets \"Sets\" version 0.1\n"
          "      - node set \"Fixed\": 2 members\n"
          "      - node set \"Loaded\": 1 member\n");
}

TEST_F(TevTree, Attributes_AreToldOnRequest) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0,
                                      {Attribute::Uint("n", 7), Attribute::Text("t",
                                                                                "a\x1b"
                                                                                "b")},
                                      "0.3");
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", root));
  model.AddVariable(mesh, Variable::Floats("v", kScalarResult, 1, {1},
                                           {Attribute::Float("Time", 0.5F),
                                            Attribute::Text("Structure", "by hand")}));
  EXPECT_EQ(Draw(model, {"tree", "--verbose"}),
            "a.tev\n" + WithTransforms("  1 Group \"root\" version 0.3\n") +
                "    - attribute \"n\" = 7\n"
                "    - attribute \"t\" = a\\x1bb\n"
                "    2 Shape \"part\" version 0.2\n"
                "      " +
                std::string(kMaterial) +
                "8, factor 0.75, flag true\n"
                "      3 Geometry \"mesh\" version 0.7\n"
                "        - variable 0 \"v\": type 13, 1 component, 1 value, 4 bytes\n"
                "          - attribute \"Time\" = 0.5\n"
                "          - stored attribute \"Structure\" = by hand\n");
}

TEST_F(TevTree, Depth_LeavesOutWhatLiesDeeper) {
  EXPECT_EQ(Draw(SmallModel(), {"tree", "-v", "--depth", "1"}),
            "a.tev\n" + RootLines() + WithTransforms("    2 Group \"Geometry\" version 0.4\n") +
                "    7 NodeSets \"Sets\" version 0.1\n"
                "      - node set \"Fixed\": 2 members\n"
                "      - node set \"Loaded\": 1 member\n");
  EXPECT_EQ(Draw(SmallModel(), {"tree", "-v", "--depth=0"}), "a.tev\n" + RootLines());
  EXPECT_EQ(Draw(SmallModel(), {"tree", "--depth=0"}), "a.tev\n  model\n");
}

TEST_F(TevTree, ShapeWithoutAMaterialRecord_HasTheDefaultMaterial) {
  ModelWriter model;
  model.AddGeometry("mesh", model.AddShape("old", 0, "0.1"));
  EXPECT_EQ(Draw(model),
            "a.tev\n"
            "  1 Shape \"old\" version 0.1\n"
            "    - material: diffuse 0.8 0.8 0.8 1, specular 0 0 0 1, emissive 0 0 0, ambient 0.16 "
            "0.16 0.16, shininess 0, factor 0.2, flag true\n"
            "    2 Geometry \"mesh\" version 0.7\n");
}

TEST_F(TevTree, UnknownKindsAndEntriesWithoutANode_AreDrawn) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  model.AddFuture("Probe", "p", root, "bytes");
  model.AddEmpty("e", root);
  const std::string version = model.At(2).version;
  EXPECT_EQ(Draw(model), WithTransforms("a.tev\n"
                                        "  1 Group \"root\" version 0.4\n"
                                        "    2 FutureNode (Probe) \"p\" version " +
                                        version +
                                        "\n"
                                        "    3 (no node)\n"));
}

TEST_F(TevTree, FileWithoutAStreamOfAModel_IsNoEmptyModel) {
  dir.Write("a.tev", ContainerWriter().AddRaw("Tev Treee", "1234").Build().bytes);
  for (const char* verb : {"tree", "info", "list", "sets"}) {
    const RunResult run = Run({verb, "--jsonl", "a.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(
        run.error,
        "tev: a.tev: damaged: its index has no stream of a model (\"tev check\" tells more)\n");
    EXPECT_EQ(Check(run.output, "lines", Schema(verb)), "");
  }
}

/// A group "root" with groups below it, which tests link anew.
ModelWriter Groups(int count) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  for (int i = 1; i < count; ++i) {
    model.AddGroup(std::string(1, static_cast<char>('a' + i - 1)), root);
  }
  return model;
}

TEST_F(TevTree, NodesThatNoParentReaches_ComeLastWithWhatLiesBelowThem) {
  ModelWriter model = Groups(5);
  // The root keeps the first; the last has the third below it, the second stands alone.
  model.At(2).nextSibling = 0;
  model.At(3).nextSibling = 0;
  model.At(4).nextSibling = 0;
  model.At(5).firstChild = 4;
  EXPECT_EQ(Draw(model), WithTransforms("a.tev\n"
                                        "  1 Group \"root\" version 0.4\n"
                                        "    2 Group \"a\" version 0.4\n"
                                        "  Nodes that no parent reaches:\n"
                                        "  3 Group \"b\" version 0.4\n"
                                        "  5 Group \"d\" version 0.4\n"
                                        "    4 Group \"c\" version 0.4\n"));
}

TEST_F(TevTree, RingOfSiblings_IsDrawnOnce) {
  ModelWriter model = Groups(4);
  model.At(4).nextSibling = 2;
  EXPECT_EQ(Draw(model), Draw(Groups(4)));
}

TEST_F(TevTree, ChildThatIsItsOwnAncestor_IsDrawnOnce) {
  ModelWriter model = Groups(3);
  model.At(3).firstChild = 1;
  EXPECT_EQ(Draw(model), Draw(Groups(3)));
}

TEST_F(TevTree, RingApartFromTheRoot_IsDrawnOnce) {
  ModelWriter model = Groups(3);
  model.At(1).firstChild = 0;
  model.At(2).firstChild = 3;
  model.At(2).nextSibling = 0;
  model.At(3).firstChild = 2;
  EXPECT_EQ(Draw(model), WithTransforms("a.tev\n"
                                        "  1 Group \"root\" version 0.4\n"
                                        "  Nodes that no parent reaches:\n"
                                        "  2 Group \"a\" version 0.4\n"
                                        "    3 Group \"b\" version 0.4\n"));
}

TEST_F(TevTree, ChildOfTwoParents_IsDrawnUnderTheFirst) {
  ModelWriter model = Groups(4);
  model.At(3).nextSibling = 0;
  model.At(2).firstChild = 4;
  model.At(3).firstChild = 4;
  EXPECT_EQ(Draw(model), WithTransforms("a.tev\n"
                                        "  1 Group \"root\" version 0.4\n"
                                        "    2 Group \"a\" version 0.4\n"
                                        "      4 Group \"c\" version 0.4\n"
                                        "    3 Group \"b\" version 0.4\n"));
}

/// Groups, each the only child of the one before.
ModelWriter Chain(std::uint32_t length) {
  ModelWriter model;
  NodeRef last = 0;
  for (std::uint32_t i = 0; i < length; ++i) {
    last = model.AddGroup("g", last, {}, "0.1");
  }
  return model;
}

TEST_F(TevTree, VeryDeepModel_IsDrawnWithABoundedIndent) {
  constexpr std::uint32_t kDepth = 50000;
  const std::string drawing = Draw(Chain(kDepth));
  EXPECT_LT(drawing.size(), std::size_t{kDepth} * 300);
  EXPECT_TRUE(drawing.ends_with(
      "\n" + std::string(82, ' ') + "(depth 49999) 50000 Group \"g\" version 0.1\n" +
      std::string(84, ' ') + "- transform: translation 0 0 0, rotation 0 0 1 0, scale 1 1 1\n"));
}

TEST_F(TevTree, DeepModel_GivesFlatJson) {
  const std::string json = Draw(Chain(3000), {"tree", "--json"});
  EXPECT_NE(json.find("\"depth\": 2999,"), std::string::npos);
  EXPECT_EQ(Check(json, "schema", Schema("tree")), "");
}

TEST_F(TevTree, Examples_FitTheSchemaAndWhatTheyWereMadeFrom) {
  for (const std::string name : {"bracket", "heatsink"}) {
    const std::string answer = Answer({"tree", "--json", Example(name + ".tev")});
    EXPECT_EQ(Check(answer, "schema", Schema("tree")), "");
    EXPECT_EQ(Check(answer, "tree", Example(name + ".truth.json.gz")), "");
  }
}

TEST_F(TevTree, OddNodes_FitTheSchema) {
  ModelWriter model = SmallModel();
  model.AddFuture("Probe\xff", "p\xff", kSmallRoot, "bytes");
  model.AddEmpty("e", 0);
  model.At(kSmallShape1).Shape().material->shininess = std::numeric_limits<float>::quiet_NaN();
  Write("a.tev", model);
  const std::string answer = Answer({"tree", "--json", "a.tev"});
  EXPECT_EQ(Check(answer, "schema", Schema("tree")), "");
  EXPECT_NE(answer.find("\"storedType\": \"Probe\xef\xbf\xbd\""), std::string::npos);
  EXPECT_NE(answer.find("\"shininess\": null"), std::string::npos);
  EXPECT_NE(answer.find("\"reached\": false,\n          \"kind\": null,\n"), std::string::npos);
}

TEST_F(TevTree, Storage_TellsBlockOffsetAndBytesOfEachVariable) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("root", 0)));
  model.AddVariable(mesh, Variable::Floats("a", kScalarResult, 1, {1, 2, 3}));
  model.AddVariable(mesh, Variable::Floats("b", kScalarResult, 1, {4, 5}));
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord});
  Write("a.tev", model);
  const Container container = model.ToContainer().Build();
  std::size_t first = 0;
  while (container.blocks.at(first).name != kHeavyData) {
    ++first;
  }
  const std::string text = Answer({"tree", "--storage", "a.tev"});
  EXPECT_NE(text.find("- variable 1 \"b\": type 13, 1 component, 2 values, 8 bytes\n"
                      "          - stored in block " +
                      std::to_string(first + 1) + " from byte 0 on, 8 bytes\n"),
            std::string::npos)
      << text;
  const std::string json = Answer({"tree", "--storage", "--json", "a.tev"});
  EXPECT_EQ(Check(json, "schema", Schema("tree")), "");
  EXPECT_NE(json.find("\"block\": " + std::to_string(first) + ",\n"), std::string::npos);
}

TEST_F(TevTree, StorageOfVariablesOfOneName_IsThatOfEach) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("part", model.AddGroup("root", 0)));
  model.AddVariable(mesh, Variable::Floats("a", kScalarResult, 1, {1, 2, 3}));
  model.AddVariable(mesh, Variable::Floats("a", kScalarResult, 1, {4}));
  Write("a.tev", model);
  const std::string text = Answer({"tree", "--storage", "a.tev"});
  EXPECT_NE(text.find(" from byte 0 on, 12 bytes\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" from byte 12 on, 4 bytes\n"), std::string::npos) << text;
}

TEST_F(TevTree, VeryLongLines_AreCutOnlyOnATerminal) {
  ModelWriter model;
  model.AddGroup(std::string(5000, 'x'), 0);
  Write("a.tev", model);
  EXPECT_EQ(Answer({"tree", "a.tev"}), "a.tev\n  " + std::string(5000, 'x') + "\n");
}

}  // namespace
}  // namespace tevtest
