// tev view, by pages of small models that have what the examples lack.

#include <cmath>
#include <string>
#include <vector>

#include "run/PageRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

/// Adds a part with a geometry.
NodeRef AddPart(ModelWriter& model, NodeRef root, const std::string& name) {
  return model.AddGeometry(name, model.AddShape(name, root));
}

/// The corners of a cube of edge 1, its first edge so many times as long.
std::vector<float> Corners(float length = 1) {
  return {0, 0, 0, length, 0, 0, length, 1, 0, 0, 1, 0,
          0, 0, 1, length, 0, 1, length, 1, 1, 0, 1, 1};
}

/// One cube, between the corners of its coordinates; "step" is as names of variables have it.
void AddCube(ModelWriter& model, NodeRef mesh, const std::string& step = "") {
  model.AddVariable(
      mesh, Variable::Uints("Connectivity" + step, kConnectivity, 1, {0, 1, 2, 3, 4, 5, 6, 7}));
  model.AddVariable(mesh, Variable::Uints("Polylength" + step, kPolylength, 1, {8}));
}

void AddCorners(ModelWriter& model, NodeRef mesh, const std::string& step = "", float length = 1) {
  model.AddVariable(mesh, Variable::Floats("Coordinates" + step, kCoordinates, 3, Corners(length)));
}

const std::string kFirst = "\x1eTime = 1";
const std::string kSecond = "\x1eTime = 2";

void AddScalar(ModelWriter& model, NodeRef mesh, const std::string& name,
               const std::vector<float>& values) {
  model.AddVariable(mesh, Variable::Floats(name, kScalarResult, 1, values));
}

/// Each of 3 x 3 x 3 cubes has its place as its number, that in the middle 100; ids begin at 101.
ModelWriter Cubes() {
  constexpr unsigned int kSide = 4;
  std::vector<float> coordinates;
  for (unsigned int i = 0; i < kSide * kSide * kSide; ++i) {
    for (const unsigned int at : {i % kSide, i / kSide % kSide, i / kSide / kSide}) {
      coordinates.push_back(static_cast<float>(at));
    }
  }
  std::vector<std::uint32_t> nodes;
  std::vector<float> ids;
  std::vector<float> values;
  for (unsigned int element = 0; element < 27; ++element) {
    const unsigned int a = element % 3 + kSide * (element / 3 % 3 + kSide * (element / 9));
    const unsigned int b = a + kSide * kSide;
    nodes.insert(nodes.end(),
                 {a, a + 1, a + kSide + 1, a + kSide, b, b + 1, b + kSide + 1, b + kSide});
    ids.push_back(static_cast<float>(101 + element));
    values.push_back(element == 13 ? 100 : static_cast<float>(element));
  }
  ModelWriter model;
  const NodeRef mesh = AddPart(model, model.AddGroup("model", 0), "Cubes");
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, coordinates));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, nodes));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1,
                                          std::vector<std::uint32_t>(values.size(), 8)));
  model.AddVariable(mesh, Variable::Floats("Element Ids", kIds, 1, ids));
  AddScalar(model, mesh, "Damage" + kFirst, values);
  return model;
}

/// A cube that is four times as long at the second step.
ModelWriter Growth() {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, model.AddGroup("model", 0), "Bar");
  AddCube(model, mesh);
  for (const auto& [step, length] : {std::pair(kFirst, 1.0F), std::pair(kSecond, 4.0F)}) {
    AddCorners(model, mesh, step, length);
    AddScalar(model, mesh, "T" + step, {1, 2, 3, 4, 5, 6, 9, 8});
  }
  return model;
}

/// Two parts of one mesh, with numbers of their own.
ModelWriter Shared() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  const NodeRef first = AddPart(model, root, "First");
  AddCorners(model, first);
  AddCube(model, first);
  AddScalar(model, first, "T" + kFirst, {1, 2, 3, 4, 5, 6, 7, 8});
  const NodeRef second = AddPart(model, root, "Second");
  model.AddVariable(second, Variable::Link("Coordinates", kCoordinates, first, 0));
  model.AddVariable(second, Variable::Link("Connectivity", kConnectivity, first, 1));
  model.AddVariable(second, Variable::Link("Polylength", kPolylength, first, 2));
  AddScalar(model, second, "T" + kFirst, {11, 12, 13, 14, 15, 16, 17, 18});
  return model;
}

/// Results without a number, of one step and of none; a part without a mesh at the first step, and
/// one without any.
ModelWriter Odd() {
  ModelWriter model;
  const NodeRef root = model.AddGroup("model", 0);
  const NodeRef cube = AddPart(model, root, "Cube");
  AddCorners(model, cube);
  AddCube(model, cube);
  AddScalar(model, cube, "Nothing" + kFirst, std::vector<float>(8, NAN));
  AddScalar(model, cube, "Half" + kFirst, {1, NAN, INFINITY, 4, 1, NAN, -INFINITY, 4});
  AddScalar(model, cube, "Always", {1, 2, 3, 4, 5, 6, 7, 8});
  model.AddVariable(cube, Variable::Floats("Displacement" + kFirst, kVectorResult, 3,
                                           std::vector<float>(24, NAN)));
  const NodeRef later = AddPart(model, root, "Later");
  AddCorners(model, later, kSecond, 0.5F);
  AddCube(model, later, kSecond);
  AddScalar(model, later, "Later" + kFirst, {1, 2, 3, 4, 5, 6, 7, 8});
  AddScalar(model, later, "Later" + kSecond, {1, 2, 3, 4, 5, 6, 7, 8});
  AddScalar(model, AddPart(model, root, "Never"), "Half" + kFirst, {1, 2});
  return model;
}

/// A part with numbers at three steps, enough of them to be left out, and a mesh at the second.
ModelWriter Gaps() {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, model.AddGroup("model", 0), "Cube");
  AddCorners(model, mesh, kSecond);
  AddCube(model, mesh, kSecond);
  int next = 0;
  for (const std::string& step : {kFirst, kSecond, std::string("\x1eTime = 3")}) {
    AddScalar(model, mesh, "T" + step, {1, 2, 3, 4, 5, 6, 7, 8});
    for (int result = 0; result < 20; ++result) {
      std::vector<float> values;
      for (int node = 0; node < 8; ++node) {
        values.push_back(static_cast<float>((next += 7919) % 1000));
      }
      AddScalar(model, mesh, "Other " + std::to_string(result) + step, values);
    }
  }
  return model;
}

ModelWriter WithoutSteps() {
  ModelWriter model;
  const NodeRef mesh = AddPart(model, model.AddGroup("model", 0), "Cube");
  AddCorners(model, mesh);
  AddCube(model, mesh);
  AddScalar(model, mesh, "T", {1, 2, 3, 4, 5, 6, 7, 8});
  return model;
}

ModelWriter WithoutMesh() {
  ModelWriter model;
  model.AddGroup("model", 0);
  return model;
}

/// Its title, and a name of a part, of results and of a set are all this one.
ModelWriter Named(const std::string& name) {
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
  return model;
}

/// Points and lines along axes, with numbers from 0 to 1.
ModelWriter Thin() {
  ModelWriter model;
  const NodeRef group = model.AddGroup("Geometry", model.AddGroup("model", 0));
  const NodeRef points = model.AddGeometry("points", model.AddShape("Points", group));
  model.AddVariable(points,
                    Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 0, 1, 1, 0, 2, 0, 0}));
  model.AddVariable(points, Variable::Floats("Heat", 13, 1, {0, 0.5F, 1}));
  const NodeRef lines = model.AddGeometry("lines", model.AddShape("Lines", group));
  model.AddVariable(lines,
                    Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 1, 2, 0, 1, 2, 0, 3}));
  model.AddVariable(lines, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 1, 2}));
  model.AddVariable(lines, Variable::Uints("Polylength", kPolylength, 1, {2, 2}));
  model.AddVariable(lines, Variable::Floats("Heat", 13, 1, {0, 1, 1}));
  return model;
}

class TevViewModels : public PageRun {
 protected:
  [[nodiscard]] std::string PageOfModel(const std::string& name, const ModelWriter& model) const {
    Write(name + ".tev", model);
    return PageOf(name + ".tev", {}, name + ".html");
  }

  /// A page that is too small for all steps, but not for two of them.
  [[nodiscard]] std::string PageOfGaps() const {
    Write("gaps.tev", Gaps());
    // What is too small for all steps by what changes between them may hold each by itself.
    std::string page = PageOf("gaps.tev", {}, "gaps.html");
    for (int times = 0; times < 2; ++times) {
      page = PageOf("gaps.tev", {"--max-size", std::to_string(Contents(page).size() - 1)},
                    "gaps.html");
    }
    return page;
  }

  /// The mesh of one part names a node that does not exist.
  [[nodiscard]] std::string PageOfDamaged() const {
    ModelWriter model = SmallModel();
    model.VariableAt(kSmallMesh1, 2) =
        Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 9, 1, 2, 3, 4});
    Write("damaged.tev", model);
    EXPECT_EQ(Run({"view", "damaged.tev", "-o", "damaged.html"}).status, 2);
    return (dir.Path() / "damaged.html").string();
  }
};

TEST_F(TevViewModels, ModelsOfEachKind_AreShownAsTheyAre) {
  EXPECT_EQ(Check({{"elements", PageOfModel("elements", Cubes())},
                   {"growth", PageOfModel("growth", Growth())},
                   {"thin", PageOfModel("thin", Thin())},
                   {"shared", PageOfModel("shared", Shared())}}),
            "");
}

TEST_F(TevViewModels, ModelsThatLackSomething_AreShownWithoutIt) {
  const std::string name =
      "</script></title><img src=x onerror=\"window.owned=1\"><script>window.owned=1</script>&lt;";
  EXPECT_EQ(Check({{"odd", PageOfModel("odd", Odd())},
                   {"gaps", PageOfGaps()},
                   {"stepless", PageOfModel("stepless", WithoutSteps())},
                   {"frame", PageOfModel("empty", WithoutMesh())},
                   {"damaged", PageOfDamaged()},
                   {"names", PageOfModel("names", Named(name)), name}}),
            "");
}

TEST_F(TevViewModels, MissingBrowser_IsTold) {
  const RunResult run =
      RunProgram({"/usr/bin/python3", std::string(TEVINFO_SOURCE_DIR) + "/tests/run/check_page.py",
                  "frame", "x"},
                 {.environment = {{"PATH", "/nowhere"}, {"PYTHONDONTWRITEBYTECODE", "1"}}});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.output.find("chromium is missing"), std::string::npos) << run.output << run.error;
}

}  // namespace
}  // namespace tevtest
