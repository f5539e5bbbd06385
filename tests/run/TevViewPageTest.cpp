// tev view, by its pages as a browser shows them, without a display, and by what they are like as
// files.

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "run/AnalysisRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class TevViewPage : public TevRun {
 protected:
  /// Writes a page without a word, and returns its path.
  [[nodiscard]] std::string PageOf(const std::string& model,
                                   const std::vector<std::string>& options = {}) const {
    const std::string page = (dir.Path() / "page.html").string();
    std::vector<std::string> arguments{"view", model, "-o", page};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(Answer(arguments), "");
    return page;
  }

  /// What the script finds wrong; "" where it finds nothing.
  [[nodiscard]] std::string Check(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"/usr/bin/python3", std::string(TEVINFO_SOURCE_DIR) +
                                                                 "/tests/run/check_page.py"});
    const RunResult run = RunProgram(arguments, {.environment = {{"PYTHONDONTWRITEBYTECODE", "1"}},
                                                 .workingDirectory = dir.Path()});
    return run.status == 0 ? "" : "status " + std::to_string(run.status) + run.output + run.error;
  }

  [[nodiscard]] static std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

TEST_F(TevViewPage, ModelOfOneStep_IsShownAsItIs) {
  const std::string model = Example("bracket.tev");
  const std::string page = PageOf(model);
  EXPECT_LT(Contents(page).size(), 1200000U);
  EXPECT_EQ(Check({"frame", page}), "");
  EXPECT_EQ(Check({"silhouette", TEV_PROGRAM, model, page}), "");
  EXPECT_EQ(Check({"marks", TEV_PROGRAM, model, page}), "");
  EXPECT_EQ(Check({"pick", TEV_PROGRAM, model, page, "Displacement", "iso"}), "");
  EXPECT_EQ(Check({"changes", page, "deformed=on", "scale=50", "edges=on", "cividis=on"}), "");
}

TEST_F(TevViewPage, ModelOfManySteps_IsShownAtEach) {
  const std::string model = Example("heatsink.tev");
  const std::string page = PageOf(model);
  EXPECT_LT(Contents(page).size(), 1200000U);
  EXPECT_EQ(Check({"marks", TEV_PROGRAM, model, page}), "");
  EXPECT_EQ(Check({"values", TEV_PROGRAM, model, page, "Heat Flux", "2"}), "");
  EXPECT_EQ(Check({"changes", page, "step=0", "cividis=on", "range=step", "range-max=200"}), "");
}

TEST_F(TevViewPage, Readers_AreServedOnAnyScreenByKeysAndOnPaper) {
  EXPECT_EQ(Check({"people", PageOf(Example("heatsink.tev"))}), "");
}

TEST_F(TevViewPage, ExactPage_HasTheMarksOfTheStatistics) {
  const std::string model = Example("bracket.tev");
  EXPECT_EQ(Check({"marks", TEV_PROGRAM, model, PageOf(model, {"--exact"})}), "");
}

TEST_F(TevViewPage, LimitOfSize_LeavesStepsOutEvenly) {
  const std::string model = Example("heatsink.tev");
  const std::string page = PageOf(model, {"--max-size", "700000"});
  EXPECT_LE(Contents(page).size(), 700000U);
  EXPECT_GT(Contents(page).size(), 600000U);
  EXPECT_EQ(Check({"steps", TEV_PROGRAM, model, page}), "");
}

TEST_F(TevViewPage, LimitThatNoStepFits_IsBadUsage) {
  const RunResult run =
      Run({"view", Example("heatsink.tev"), "-o", "page.html", "--max-size", "1000"});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.error.find("--max-size"), std::string::npos) << run.error;
  EXPECT_EQ(Contents((dir.Path() / "page.html").string()), "");
}

TEST_F(TevViewPage, SameModel_IsTheSamePage) {
  const std::string first = Contents(PageOf(Example("bracket.tev"), {"-j", "1"}));
  EXPECT_TRUE(first == Contents(PageOf(Example("bracket.tev"), {"-j", "3"})));
}

TEST_F(TevViewPage, HostileNames_AreText) {
  const std::string name =
      "</script></title><img src=x onerror=\"window.owned=1\"><script>window.owned=1</script>&lt;";
  ModelWriter model = SmallModel();
  model.At(kSmallShape1).name = name;
  model.At(kSmallNodeSets) = {.type = model.At(kSmallNodeSets).type,
                              .version = model.At(kSmallNodeSets).version,
                              .name = name,
                              .under = kSmallRoot,
                              .content = NodeSetsContent{.lists = {.sets = {{name, {{1, 4}}}}}}};
  for (const NodeRef mesh : {kSmallMesh1, kSmallMesh2}) {
    for (const std::size_t result : {std::size_t{5}, std::size_t{6}}) {
      model.VariableAt(mesh, result).name = name + "\x1e" + name;
      model.VariableAt(mesh, result).attributes = {Attribute::Text("Title", name),
                                                   Attribute::Text("Contents", name),
                                                   Attribute::Text("Structure", "Node")};
    }
  }
  Write("names.tev", model);
  EXPECT_EQ(Check({"names", PageOf("names.tev"), name}), "");
}

TEST_F(TevViewPage, ModelWithoutAnyMesh_HasItsFacts) {
  ModelWriter model;
  model.AddGroup("model", 0);
  Write("empty.tev", model);
  EXPECT_EQ(Check({"frame", PageOf("empty.tev")}), "");
}

TEST_F(TevViewPage, DamagedMesh_IsLeftOutAndTold) {
  ModelWriter model = SmallModel();
  // There is no node 9.
  model.VariableAt(kSmallMesh1, 2) =
      Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 9, 1, 2, 3, 4});
  Write("damaged.tev", model);
  const RunResult run = Run({"view", "damaged.tev", "-o", "page.html"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(Check({"frame", (dir.Path() / "page.html").string()}), "");
}

}  // namespace
}  // namespace tevtest
