// tev view: pictures as files, what is told, and what is refused.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class TevView : public TevRun {
 protected:
  [[nodiscard]] std::string File(const std::string& name) const {
    std::ifstream file(dir.Path() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  /// Draws without a word; the bytes of the picture.
  [[nodiscard]] std::string Draw(const std::string& model,
                                 const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments{"view", model, "-o", "p.png"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(Answer(arguments), "");
    return File("p.png");
  }

  void ExpectRefused(const std::vector<std::string>& options, const std::string& told) const {
    std::vector<std::string> arguments{"view", "m.tev", "-o", "p.png"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const RunResult run = Run(arguments);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error, "tev: " + told + '\n');
    EXPECT_EQ(File("p.png"), "");
  }
};

/// The beginning of a PNG, with its width and its height.
std::string PngHead(unsigned char width, unsigned char height) {
  std::string head("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\0\0\0\0\0", 24);
  head[19] = static_cast<char>(width);
  head[23] = static_cast<char>(height);
  return head;
}

TEST_F(TevView, OfExamples_DiffersByWhatIsAskedFor) {
  std::set<std::string> pictures;
  const std::vector<std::vector<std::string>> each{{},
                                                   {"--result", "Temperature"},
                                                   {"--step", "Time = 5"},
                                                   {"--component", "2"},
                                                   {"--part", "FINS"},
                                                   {"--colours", "cividis"},
                                                   {"--cells", "4=quad"},
                                                   {"--range", "step"},
                                                   {"--range", "-1e3:25"},
                                                   {"--view", "+x"},
                                                   {"--view", "-x"},
                                                   {"--view", "+y"},
                                                   {"--view", "-y"},
                                                   {"--view", "+z"},
                                                   {"--view", "-z"}};
  for (std::vector<std::string> options : each) {
    options.insert(options.end(), {"--size", "120x100"});  // too small for texts
    const std::string png = Draw(Example("heatsink.tev"), options);
    EXPECT_EQ(png.substr(0, 24), PngHead(120, 100));
    pictures.insert(png);
  }
  EXPECT_EQ(pictures.size(), each.size());
  EXPECT_EQ(Draw(Example("heatsink.tev"), {"--size", "120x100"}),
            Draw(Example("heatsink.tev"),
                 {"--size", "120x100", "--view", "iso", "--step", "Time = 10", "--result",
                  "Heat Flux", "--component", "magnitude", "--cells", "auto", "--range", "all"}));
}

TEST_F(TevView, OfModelWithoutResults_IsDrawn) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  const NodeRef geometries = model.AddGroup("Geometry", root);
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("Part", geometries));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 0, 1, 0, 0}));
  Write("m.tev", model);
  EXPECT_EQ(Draw("m.tev", {"--size", "100x90"}).substr(0, 24), PngHead(100, 90));
}

TEST_F(TevView, OfWhatDoesNotFit_IsRefused) {
  Write("m.tev", SmallModel());
  ExpectRefused({"--size", "16385x10"},
                "--size: 16385 pixels are more than 16384 (see tev view --help)");
  ExpectRefused({"--size", "8192x8193"},
                "--size: 8192x8193: 67117056 pixels are more than 67108864 (see tev view --help)");
  for (const std::string size : {"", "10", "10x", "x10", "0x10", "10x10x10", "-1x10", "1e3x10"}) {
    ExpectRefused({"--size", size},
                  "--size: \"" + size + "\" is no size like 1200x900 (see tev view --help)");
  }
  ExpectRefused({"--view", "top"},
                "--view: \"top\" is none of iso, +x, -x, +y, -y, +z and -z (see tev view --help)");
  ExpectRefused({"--colours", "jet"},
                "--colours: \"jet\" is neither viridis nor cividis (see tev view --help)");
  for (const std::string range : {"", "x", "1:", ":1", "5:1", "nan:1", "0:inf", "1:2:3"}) {
    ExpectRefused({"--range", range}, "--range: \"" + range +
                                          "\" is none of all, step and MIN:MAX (see tev view "
                                          "--help)");
  }
  ExpectRefused({"--component", "0"},
                "--component: \"0\" is neither magnitude nor a number from 1 on (see tev view "
                "--help)");
  ExpectRefused({"--result", "*"},
                "m.tev: a picture shows one result, and 2 fit: choose one by --result");
  ExpectRefused({"--result", "Temperature", "--component", "2"},
                "m.tev: result \"Temperature\" has 1 component, and no component 2");
}

TEST_F(TevView, OfAStepThatTheResultLacks_IsRefused) {
  const std::string model = Example("heatsink.tev");
  const RunResult run = Run({"view", model, "--step", "", "-o", "p.png"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error, "tev: " + model + ": no field fits all that is asked for\n");
  EXPECT_EQ(File("p.png"), "");
}

TEST_F(TevView, ToAnotherKindOfFile_IsRefused) {
  const RunResult run = Run({"view", Example("bracket.tev"), "-o", "p.jpg"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error, "tev: p.jpg: a view ends in .html or .png\n");
}

TEST_F(TevView, OfDamagedModel_Fails) {
  dir.Write("m.tev", SmallModel().Build().substr(0, 60));
  const RunResult run = Run({"view", "m.tev", "-o", "p.png"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.error, "");
  EXPECT_EQ(File("p.png"), "");
}

TEST_F(TevView, OfModelWithADamagedMesh_ShowsTheRestAndFails) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 2) =
      Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 77, 1, 2, 3, 4});
  Write("m.tev", model);
  const RunResult run = Run({"view", "m.tev", "-o", "p.png", "--size", "100x90"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.error.find("part \"Frame\", mesh"), std::string::npos) << run.error;
  EXPECT_EQ(File("p.png").substr(0, 24), PngHead(100, 90));
  dir.Write("p.png", "older");
  EXPECT_EQ(Run({"view", "m.tev", "-o", "p.png", "--part", "Frame"}).status, 2);
  EXPECT_EQ(File("p.png"), "older");
}

TEST_F(TevView, OfPartWithoutAMesh_IsRefused) {
  ModelWriter model = SmallModel();
  model.AddGeometry("empty", model.AddShape("Empty", kSmallGeometryGroup));
  Write("m.tev", model);
  ExpectRefused({"--part", "Empty"}, "m.tev: no part that is asked for has a mesh");
  EXPECT_EQ(Draw("m.tev", {"--size", "100x90"}).substr(0, 24), PngHead(100, 90));
}

TEST_F(TevView, IntoTheModel_IsRefused) {
  dir.Write("m.png", SmallModel().Build());
  EXPECT_EQ(Run({"view", "m.png", "-o", "m.png"}).status, 2);
  EXPECT_EQ(File("m.png"), SmallModel().Build());
}

TEST_F(TevView, OfHostileNames_IsDrawn) {
  ModelWriter model = SmallModel();
  model.At(kSmallShape1).name = "</script><img onerror=alert(1)>\xff\x1b[31m";
  Write("m.tev", model);
  EXPECT_EQ(Draw("m.tev", {"--size", "200x170"}).substr(0, 24), PngHead(200, 170));
}

}  // namespace
}  // namespace tevtest
