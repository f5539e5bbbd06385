// tev diff: pairs of models that differ in one thing.
#include <algorithm>
#include <functional>
#include <limits>

#include "run/TevRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
const std::string kSame = "The models are the same\n";
const std::string kIncomplete = "No difference in what could be compared\n";

class TevDiff : public TevRun {
 protected:
  /// Compares two models; the answer of a run that could do so.
  [[nodiscard]] std::string Diff(const ModelWriter& a, const ModelWriter& b,
                                 std::vector<std::string> options = {}) const {
    Write("a.tev", a);
    Write("b.tev", b);
    options.insert(options.begin(), {"diff", "a.tev", "b.tev"});
    const RunResult run = Run(options);
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(run.status, run.output == kSame ? 0 : 1) << run.output;
    return run.output;
  }
};

/// The geometry of the part below, and the group that it lies under.
constexpr NodeRef kSmallGroup = 2;
constexpr NodeRef kSmallGeometry = 4;

/// A part of three nodes and two faces with one field.
struct Small {
  std::vector<float> nodeIds{11, 12, 13};
  std::vector<float> coordinates{0, 0, 0, 1, 0, 0, 2, 0, 0};
  std::vector<std::uint32_t> faces{0, 1, 1, 2};
  std::vector<float> elementIds{101, 102};
  std::vector<float> values{1, 2, 4};
  std::uint8_t width = 1;
  std::string part = "P";
  std::string result = "R";
  std::string step = "Time = 1";

  [[nodiscard]] ModelWriter Model() const {
    ModelWriter model;
    const NodeRef group = model.AddGroup("Geometry", model.AddGroup("r", 0));
    const NodeRef mesh = model.AddGeometry("g", model.AddShape(part, group));
    model.AddVariable(mesh, Variable::Floats("Node Ids", kIds, 1, nodeIds));
    model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, coordinates));
    model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, faces));
    model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {2, 2}));
    model.AddVariable(mesh, Variable::Floats("Element Ids", kIds, 1, elementIds));
    model.AddVariable(mesh, Variable::Floats(result + '\x1e' + step, 13, width, values));
    return model;
  }
};

TEST_F(TevDiff, OfTheSameModel_IsNothing) {
  EXPECT_EQ(Diff(SmallModel(), SmallModel()), kSame);
  const std::string model = Example("heatsink.tev");
  EXPECT_EQ(Answer({"diff", model, model}), kSame);
}

TEST_F(TevDiff, HowThingsAreStored_DoesNotCount) {
  ModelWriter other = SmallModel();
  other.SetLayoutOfOthers(
      {.split = StreamLayout::Split::BlockPerRecord, .packing = StreamLayout::Packing::Compressed});
  other.ModifierAt(0).applicationName = "another program";
  EXPECT_EQ(Diff(SmallModel(), other), kSame);
}

TEST_F(TevDiff, OneValue_IsNamedWithItsPlace) {
  EXPECT_EQ(Diff(Small().Model(), Small{.values = {1, 2.5F, 4}}.Model()),
            "field \"P\" \"R\" \"Time = 1\": 1 of 3 numbers differ, by 0.5 at most: 2 and 2.5, "
            "component 1 at 12, root mean square 0.288675\n"
            "The models differ: 1 difference\n");
}

TEST_F(TevDiff, OneId_LeavesTuplesWithoutPartner) {
  EXPECT_EQ(Diff(Small().Model(), Small{.nodeIds = {11, 12, 14}}.Model()),
            "mesh \"P\" \"Node Ids\": 1 only in A; 1 only in B\n"
            "mesh \"P\" \"Coordinates\": 1 only in A; 1 only in B\n"
            "mesh \"P\" \"Faces\": 1 differ\n"
            "field \"P\" \"R\" \"Time = 1\": 1 only in A; 1 only in B\n"
            "The models differ: 4 differences\n");
}

TEST_F(TevDiff, IdsThatRepeat_MatchByPlace) {
  EXPECT_EQ(Diff(Small{.nodeIds = {1, 1, 2}}.Model(), Small{.nodeIds = {1, 1, 3}}.Model()),
            "mesh \"P\" \"Node Ids\": 1 of 3 numbers differ, by 1 at most: 2 and 3, component 1 at "
            "[2], root mean square 0.57735\n"
            "The models differ: 1 difference\n");
  EXPECT_EQ(Diff(Small{.nodeIds = {0, 1.5F, 1}}.Model(), Small{.nodeIds = {kNaN, 1, 1}}.Model()),
            kSame);
}

TEST_F(TevDiff, ReorderedNodesAndElements_AreTheSame) {
  const Small reordered{.nodeIds = {13, 11, 12},
                        .coordinates = {2, 0, 0, 0, 0, 0, 1, 0, 0},
                        .faces = {2, 0, 1, 2},
                        .elementIds = {102, 101},
                        .values = {4, 1, 2}};
  EXPECT_EQ(Diff(Small().Model(), reordered.Model()), kSame);
}

TEST_F(TevDiff, OneNodeOfAFace_IsADifferentFace) {
  EXPECT_EQ(Diff(Small().Model(), Small{.faces = {0, 1, 1, 0}}.Model(), {"--rtol", "1"}),
            "mesh \"P\" \"Faces\": 1 differ\nThe models differ: 1 difference\n");
}

TEST_F(TevDiff, APartRenamed_IsOnlyInEach) {
  EXPECT_EQ(Diff(Small().Model(), Small{.part = "Q"}.Model()),
            "part \"P\": only in A\npart \"Q\": only in B\nThe models differ: 2 differences\n");
}

TEST_F(TevDiff, AMissingStep_IsNamedWithItsFields) {
  EXPECT_EQ(Diff(Small().Model(), Small{.step = "Time = 2"}.Model()),
            "step \"Time = 1\": only in A\n"
            "step \"Time = 2\": only in B\n"
            "field \"P\" \"R\" \"Time = 1\": only in A\n"
            "field \"P\" \"R\" \"Time = 2\": only in B\n"
            "The models differ: 4 differences\n");
}

TEST_F(TevDiff, AStepThatOneLacks_IsOnlyInTheOther) {
  ModelWriter more = Small().Model();
  more.AddVariable(kSmallGeometry, Variable::Floats("R\x1eTime = 2", 13, 1, {1, 2, 3}));
  const auto lines = [](const std::string& side) {
    return "step \"Time = 2\": only in " + side + "\nfield \"P\" \"R\" \"Time = 2\": only in " +
           side + "\nThe models differ: 2 differences\n";
  };
  EXPECT_EQ(Diff(more, Small().Model()), lines("A"));
  EXPECT_EQ(Diff(Small().Model(), more), lines("B"));
  EXPECT_EQ(Diff(Small().Model(), more, {"--step", "Time = 1"}), kSame);
}

TEST_F(TevDiff, OtherNumberOfComponents_IsTold) {
  EXPECT_EQ(Diff(Small().Model(), Small{.values = {1, 1, 2, 2, 4, 4}, .width = 2}.Model()),
            "result \"R\": \"1 node\" and \"2 node\"\n"
            "field \"P\" \"R\" \"Time = 1\": \"1 components\" and \"2 components\"\n"
            "The models differ: 2 differences\n");
}

TEST_F(TevDiff, NaNAndInfinity_AgreeWithThemselvesAlone) {
  const Small odd{.values = {kNaN, kInfinity, -0.0F}};
  EXPECT_EQ(Diff(odd.Model(), Small{.values = {-kNaN, kInfinity, 0.0F}}.Model()), kSame);
  EXPECT_EQ(Diff(odd.Model(), Small{.values = {kNaN, -kInfinity, 0.0F}}.Model(),
                 {"--rtol", "10", "--atol", "1e30"}),
            "field \"P\" \"R\" \"Time = 1\": 1 of 3 numbers differ, by inf at most: inf and -inf, "
            "component 1 at 12, root mean square inf\nThe models differ: 1 difference\n");
  EXPECT_NE(Diff(odd.Model(), Small{.values = {1, kInfinity, 0}}.Model()), kSame);
}

TEST_F(TevDiff, Tolerances_AreMetExactly) {
  const ModelWriter a = Small{.values = {1, 100, 1000}}.Model();
  const ModelWriter b = Small{.values = {1.5F, 100, 1000}}.Model();
  EXPECT_EQ(Diff(a, b, {"--atol", "0.5"}), kSame);
  EXPECT_NE(Diff(a, b, {"--atol", "0.499"}), kSame);
  EXPECT_EQ(Diff(a, b, {"--rtol", "0.3333333333333334"}), kSame);
  EXPECT_NE(Diff(a, b, {"--rtol", "0.333"}), kSame);
  EXPECT_EQ(Diff(a, b, {"--atol", "5e-4*max"}), kSame);
  EXPECT_NE(Diff(a, b, {"--atol", "4e-4*max"}), kSame);
}

TEST_F(TevDiff, NumbersNearZero_NeedAnAbsoluteTolerance) {
  const ModelWriter a = Small{.values = {1e-20F, 5, 10}}.Model();
  const ModelWriter b = Small{.values = {-3e-20F, 5, 10}}.Model();
  EXPECT_NE(Diff(a, b, {"--rtol", "1e-3"}), kSame);
  EXPECT_EQ(Diff(a, b, {"--rtol", "1e-3", "--atol", "1e-12*max"}), kSame);
}

TEST_F(TevDiff, MovedCoordinates_ObeyTheTolerances) {
  const ModelWriter moved = Small{.coordinates = {0, 0, 0, 1, 0, 0, 2.25F, 0, 0}}.Model();
  EXPECT_EQ(Diff(Small().Model(), moved),
            "mesh \"P\" \"Coordinates\": 1 of 9 numbers differ, by 0.25 at most: 2 and 2.25, "
            "component 1 at 13, root mean square 0.0833333\nThe models differ: 1 difference\n");
  EXPECT_EQ(Diff(Small().Model(), moved, {"--atol", "0.25"}), kSame);
}

TEST_F(TevDiff, Selection_ComparesOnlyWhatItAsksFor) {
  ModelWriter other = SmallModel();
  other.VariableAt(kSmallMesh2, 5) = Variable::Floats("Displacement\x1eTime = 0.5", kVectorResult,
                                                      3, std::vector<float>(15, 0.0F));
  EXPECT_NE(Diff(SmallModel(), other), kSame);
  EXPECT_EQ(Diff(SmallModel(), other, {"--part", "Frame"}), kSame);
  EXPECT_EQ(Diff(SmallModel(), other, {"--result", "Temperature"}), kSame);
  const RunResult run = Run({"diff", "a.tev", "b.tev", "--result", "Temprature"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_NE(run.error.find("did you mean \"Temperature\"?"), std::string::npos);
}

TEST_F(TevDiff, Selection_LeavesOutResultsAndStepsThatOnlyOthersHave) {
  const auto twoParts = [](const std::string& field, const std::string& step) {
    ModelWriter model = Small().Model();
    const NodeRef mesh = model.AddGeometry("h", model.AddShape("Q", kSmallGroup));
    model.AddVariable(mesh, Variable::Floats("Coordinates\x1e" + step, kCoordinates, 3, {0, 0, 0}));
    model.AddVariable(mesh, Variable::Floats(field, 13, 1, {1}));
    return model;
  };
  const ModelWriter a = twoParts("R\x1eTime = 1", "Time = 5");
  const ModelWriter other = twoParts("S\x1eTime = 2", "Time = 5");
  EXPECT_EQ(Diff(a, other, {"--part", "P"}), kSame);
  EXPECT_EQ(Diff(a, other, {"--result", "S", "--part", "P"}), kSame);
  EXPECT_EQ(Diff(a, other, {"--part", "Q"}),
            "step \"Time = 1\": only in A\n"
            "step \"Time = 2\": only in B\n"
            "result \"R\": only in A\n"
            "result \"S\": only in B\n"
            "field \"Q\" \"R\" \"Time = 1\": only in A\n"
            "field \"Q\" \"S\" \"Time = 2\": only in B\n"
            "The models differ: 6 differences\n");
  EXPECT_EQ(Diff(a, other, {"--step", "Time = 1"}),
            "result \"R\": \"1 mixed\" and \"1 node\"\n"
            "field \"Q\" \"R\" \"Time = 1\": only in A\n"
            "The models differ: 2 differences\n");
  const ModelWriter moved = twoParts("R\x1eTime = 1", "Time = 6");
  EXPECT_EQ(Diff(a, moved, {"--result", "R"}), kSame);
  EXPECT_TRUE(Diff(a, moved, {"--part", "Q"})
                  .starts_with("step \"Time = 5\": only in A\nstep \"Time = 6\": only in B\n"));
}

TEST_F(TevDiff, AnIdThatNamesAPartInOneModel_ChoosesItsPair) {
  const auto model = [](bool isOtherFirst, float last) {
    ModelWriter writer;
    const NodeRef group = writer.AddGroup("r", 0);
    if (isOtherFirst) {
      writer.AddShape("Other", group);
    }
    const NodeRef mesh = writer.AddGeometry("g", writer.AddShape("P", group));
    writer.AddVariable(mesh, Variable::Floats("R", 13, 1, {1, last}));
    return writer;
  };
  // The part is shape 2 in one model, and shape 3 in the other.
  EXPECT_EQ(Diff(model(true, 2), model(false, 2), {"--part", "3"}), kSame);
  const std::string answer = Diff(model(true, 2), model(false, 3), {"--part", "3"});
  EXPECT_TRUE(answer.starts_with("field \"P\" \"R\": 1 of 2 numbers differ")) << answer;
  EXPECT_TRUE(answer.ends_with("The models differ: 1 difference\n")) << answer;
}

TEST_F(TevDiff, ThreadsThatAreNoNumberFromOneOn_AreBadUsage) {
  for (const auto& [jobs, fault] :
       {std::pair("0", "there is no work for 0 threads"), {"x", "\"x\" is no whole number"}}) {
    const RunResult run = Run({"diff", "a.tev", "b.tev", "-j", jobs});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, "tev: --jobs: " + std::string(fault) + " (see tev diff --help)\n");
  }
}

TEST_F(TevDiff, ADamagedBlock_IsNamedAndTheOthersAreCompared) {
  ModelWriter damaged = SmallModel();
  damaged.VariableAt(kSmallMesh1, 5).heavyPosition = 1U << 30U;
  ModelWriter other = damaged;
  other.VariableAt(kSmallMesh1, 5).heavyPosition.reset();
  other.VariableAt(kSmallMesh1, 6).elements = ElementBytes(std::vector<float>{1, 2, 3, 4, 5});
  Write("a.tev", other);
  Write("b.tev", damaged);
  const RunResult run = Run({"diff", "a.tev", "b.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(
      run.error.find(
          "tev: b.tev: damaged: part \"Frame\", result \"Displacement\", step \"Time = 0.5\": "
          "Invalid block position"),
      std::string::npos)
      << run.error;
  EXPECT_NE(run.output.find("field \"Frame\" \"Temperature\" \"Time = 0.5\": 5 of 5"),
            std::string::npos)
      << run.output;
}

TEST_F(TevDiff, ABlockThatZlibRefusesInOne_IsNamedWithItsModel) {
  ModelWriter model = SmallModel();
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  Write("sound.tev", model);
  ContainerWriter container = model.ToContainer();
  std::size_t heavy = 0;
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == kHeavyData && heavy++ == 5) {  // the displacement of the first part
      block.storedBytes = Compressed(block.payload);
      block.storedBytes->at(10) ^= 0x7F;
    }
  }
  dir.Write("damaged.tev", container.Build().bytes);
  for (const auto& [a, b] : {std::pair("sound.tev", "damaged.tev"),
                             {"damaged.tev", "sound.tev"},
                             {"damaged.tev", "damaged.tev"}}) {
    for (const char* jobs : {"1", "2"}) {
      const RunResult run = Run({"diff", a, b, "-j", jobs});
      EXPECT_EQ(run.status, 2);
      EXPECT_NE(
          run.error.find(
              "tev: damaged.tev: damaged: part \"Frame\", result \"Displacement\", step \"Time = "
              "0.5\": zlib refuses the data of block "),
          std::string::npos)
          << run.error;
      EXPECT_EQ(run.output, kIncomplete);
    }
  }
  const RunResult json = Run({"diff", "--json", "sound.tev", "damaged.tev"});
  EXPECT_NE(json.output.find("\"verdict\": \"incomplete\""), std::string::npos) << json.output;
  EXPECT_EQ(Check(json.output, "schema", Schema("diff")), "");
}

TEST_F(TevDiff, ACutModel_IsNamedWhicheverItIs) {
  const std::string bytes = SmallModel().Build();
  dir.Write("sound.tev", bytes);
  dir.Write("cut.tev", std::string_view(bytes).substr(0, bytes.size() - 1));
  const RunResult ofB = Run({"diff", "sound.tev", "cut.tev"});
  EXPECT_EQ(ofB.status, 2);
  EXPECT_TRUE(ofB.error.starts_with("tev: cut.tev: damaged: the file ends 1 bytes early"))
      << ofB.error;
  EXPECT_EQ(ofB.output.find(kSame), std::string::npos) << ofB.output;
  const RunResult ofA = Run({"diff", "cut.tev", "sound.tev"});
  EXPECT_EQ(ofA.status, 2);
  EXPECT_TRUE(ofA.error.starts_with("tev: cut.tev: damaged: the file ends 1 bytes early"))
      << ofA.error;
}

TEST_F(TevDiff, ModelThatFails_IsNamedInTextAndInJson) {
  const std::string bytes = SmallModel().Build();
  Write("sound.tev", SmallModel());
  dir.Write("cut.tev", bytes.substr(0, bytes.size() - 1));
  dir.Write("text.tev", "no model");
  const std::string cut = "the file ends 1 bytes early, in block 5 (Heavy Data)";
  const auto file = [](const std::string& name) { return R"(, "file": ")" + name + "\"}"; };
  for (const auto& [b, reason, isCut] :
       {std::tuple(std::string("missing.tev"),
                   std::string("cannot open: No such file or directory"), false),
        {"text.tev", "not a Tev file: it looks like text", false},
        {"cut.tev", cut, true}}) {
    const std::string error = "tev: " + b + ": " + (isCut ? "damaged: " : "") + reason;
    const std::string message = "\"message\": \"";
    EXPECT_TRUE(Run({"diff", "sound.tev", b}).error.starts_with(error));
    EXPECT_TRUE(Run({"diff", b, "sound.tev"}).error.starts_with(error));
    const std::string ofB = Run({"diff", "--jsonl", "sound.tev", b}).output;
    EXPECT_NE(ofB.find(message + b + ": " + reason), std::string::npos) << ofB;
    EXPECT_NE(ofB.find(file(b)), std::string::npos) << ofB;
    const std::string ofA = Run({"diff", "--jsonl", b, "sound.tev"}).output;
    EXPECT_NE(ofA.find(message + reason), std::string::npos) << ofA;
    EXPECT_NE(ofA.find(file(b)), std::string::npos) << ofA;
    EXPECT_EQ(Check(ofA + ofB, "lines", Schema("diff")), "");
  }
  EXPECT_NE(Run({"diff", "--jsonl", "sound.tev", "cut.tev"})
                .output.find("\"missing\": [\"cut.tev: the file ends"),
            std::string::npos);
}

TEST_F(TevDiff, EachLostField_HasALineUpToTen) {
  const auto model = [](std::size_t lost) {
    ModelWriter writer = Small().Model();
    for (std::size_t i = 0; i < lost; ++i) {
      Variable variable = Variable::Floats("Lost\x1eTime = " + std::to_string(i), 13, 1, {1, 2, 3});
      variable.heavyPosition = 1U << 30U;
      writer.AddVariable(kSmallGeometry, variable);
    }
    return writer;
  };
  const auto line = [](int step) {
    return "tev: two.tev: damaged: part \"P\", result \"Lost\", step \"Time = " +
           std::to_string(step) + "\": Invalid block position, at byte 1073741824 of Heavy Data";
  };
  const std::string hint = " (\"tev check\" tells more)\n";
  Write("two.tev", model(2));
  const std::string ofFile = line(0) + '\n' + line(1) + hint;
  EXPECT_EQ(Run({"diff", "two.tev", "two.tev"}).error, ofFile);
  EXPECT_EQ(Run({"values", "two.tev"}).error, ofFile);
  EXPECT_EQ(Run({"results", "--stats", "--csv", "two.tev"}).error, ofFile);
  Write("many.tev", model(13));
  const std::string error = Run({"diff", "many.tev", "many.tev"}).error;
  EXPECT_EQ(std::ranges::count(error, '\n'), 11);
  EXPECT_TRUE(error.ends_with("\ntev: many.tev: damaged: and 3 more" + hint)) << error;
}

TEST_F(TevDiff, AMovedMesh_IsComparedAtItsStep) {
  const auto moved = [](float place) {
    ModelWriter model = Small().Model();
    model.AddVariable(kSmallGeometry, Variable::Floats("Coordinates\x1eTime = 2", kCoordinates, 3,
                                                       {0, 0, 0, 1, 0, 0, place, 0, 0}));
    return model;
  };
  EXPECT_EQ(Diff(moved(2), moved(2)), kSame);
  EXPECT_EQ(
      Diff(moved(2), moved(3)),
      "mesh \"P\" \"Coordinates\" \"Time = 2\": 1 of 9 numbers differ, by 1 at most: 2 and 3, "
      "component 1 at 13, root mean square 0.333333\nThe models differ: 1 difference\n");
}

TEST_F(TevDiff, ALinkedArray_IsComparedWithTheNumbersThatItNames) {
  const auto twoParts = [](bool isLinked, float last) {
    ModelWriter model = Small().Model();
    const NodeRef mesh = model.AddGeometry("h", model.AddShape("Q", kSmallGroup));
    model.AddVariable(mesh, isLinked ? Variable::Link("R\x1eTime = 1", 13, kSmallGeometry, 5)
                                     : Variable::Floats("R\x1eTime = 1", 13, 1, {1, 2, last}));
    return model;
  };
  EXPECT_EQ(Diff(twoParts(true, 0), twoParts(false, 4)), kSame);
  EXPECT_EQ(Diff(twoParts(false, 5), twoParts(true, 0)),
            "field \"Q\" \"R\" \"Time = 1\": 1 of 3 numbers differ, by 1 at most: 5 and 4, "
            "component 1 at [2], root mean square 0.57735\nThe models differ: 1 difference\n");
}

TEST_F(TevDiff, AFieldOfElements_IsMatchedByTheirIds) {
  const auto ofElements = [](std::vector<std::uint32_t> faces, std::vector<float> ids,
                             std::vector<float> values) {
    return Small{
        .faces = std::move(faces), .elementIds = std::move(ids), .values = std::move(values)}
        .Model();
  };
  const ModelWriter a = ofElements({0, 1, 1, 2}, {101, 102}, {5, 7});
  EXPECT_EQ(Diff(a, ofElements({1, 2, 0, 1}, {102, 101}, {7, 5})), kSame);
  EXPECT_EQ(
      Diff(a, ofElements({1, 2, 0, 1}, {102, 101}, {7, 6})),
      "field \"P\" \"R\" \"Time = 1\": 1 of 2 numbers differ, by 1 at most: 5 and 6, component "
      "1 at 101, root mean square 0.707107\nThe models differ: 1 difference\n");
}

TEST_F(TevDiff, OtherNumbersOfNodesAndElements_AreTold) {
  EXPECT_EQ(Diff(Small().Model(), Small{.values = {1, 2}}.Model()),
            "result \"R\": \"1 node\" and \"1 element\"\n"
            "field \"P\" \"R\" \"Time = 1\": 1 only in A\n"
            "The models differ: 2 differences\n");
}

/// Two nodes and two faces, so that only the stored attribute tells to which a field belongs; that
/// of a second part is linked to it.
ModelWriter InDoubt(const char* structure, std::vector<float> elementIds,
                    std::vector<float> values) {
  ModelWriter model = Small{.nodeIds = {11, 12},
                            .coordinates = {0, 0, 0, 1, 0, 0},
                            .faces = {0, 1, 0, 1},
                            .elementIds = std::move(elementIds),
                            .values = std::move(values)}
                          .Model();
  model.VariableAt(kSmallGeometry, 5).attributes = {Attribute::Text("Structure", structure)};
  const NodeRef mesh = model.AddGeometry("h", model.AddShape("Q", kSmallGroup));
  for (std::uint32_t i = 0; i < 6; ++i) {
    const Variable& target = model.VariableAt(kSmallGeometry, i);
    model.AddVariable(mesh, Variable::Link(target.name, target.type, kSmallGeometry, i));
  }
  return model;
}

TEST_F(TevDiff, LocationInDoubt_IsThatOfTheStoredAttribute) {
  const ModelWriter ofElements = InDoubt("Elements", {101, 102}, {5, 7});
  EXPECT_EQ(Diff(ofElements, InDoubt("Element", {102, 101}, {7, 5})), kSame);
  EXPECT_EQ(Diff(InDoubt("Nodes", {101, 102}, {5, 7}), InDoubt("Node", {102, 101}, {5, 7})), kSame);
  EXPECT_EQ(Diff(ofElements, InDoubt("", {101, 102}, {5, 7})),
            "result \"R\": \"1 element\" and \"1 node\"\nThe models differ: 1 difference\n");
  const auto line = [](const std::string& part) {
    return "field \"" + part +
           "\" \"R\" \"Time = 1\": 1 of 2 numbers differ, by 2 at most: 7 and 9, component 1 at "
           "102, "
           "root mean square 1.41421\n";
  };
  EXPECT_EQ(Diff(ofElements, InDoubt("Element", {102, 101}, {9, 5})),
            line("P") + line("Q") + "The models differ: 2 differences\n");
}

TEST_F(TevDiff, ASharedArray_DiffersInEachPartThatHasIt) {
  const auto shared = [](float last) {
    ModelWriter model = Small{.values = {1, 2, last}}.Model();
    const NodeRef mesh = model.AddGeometry("h", model.AddShape("Q", kSmallGroup));
    for (const std::uint32_t i : {0U, 1U, 5U}) {
      const Variable& target = model.VariableAt(kSmallGeometry, i);
      model.AddVariable(mesh, Variable::Link(target.name, target.type, kSmallGeometry, i));
    }
    model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {2, 0}));
    model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {2}));
    return model;
  };
  const std::string text =
      "\" \"R\" \"Time = 1\": 1 of 3 numbers differ, by 1 at most: 4 and 5, component 1 at 13, "
      "root "
      "mean square 0.57735\n";
  EXPECT_EQ(Diff(shared(4), shared(5)),
            "field \"P" + text + "field \"Q" + text + "The models differ: 2 differences\n");
}

TEST_F(TevDiff, FieldsOfOneNameAndStep_AreComparedOneByOne) {
  const auto twins = [](std::initializer_list<float> first, std::initializer_list<float> second) {
    ModelWriter model = Small().Model();
    for (const auto& values : {first, second}) {
      model.AddVariable(kSmallGeometry, Variable::Floats("T\x1eTime = 1", 13, 1, values));
    }
    return model;
  };
  EXPECT_EQ(Diff(twins({1, 2, 3}, {4, 5, 6}), twins({1, 2, 3}, {4, 5, 6})), kSame);
  EXPECT_EQ(
      Diff(twins({1, 2, 3}, {4, 5, 6}), twins({1, 2, 4}, {4, 5, 6})),
      "field \"P\" \"T\" \"Time = 1\": 1 of 3 numbers differ, by 1 at most: 3 and 4, component "
      "1 at 13, root mean square 0.57735\nThe models differ: 1 difference\n");
}

TEST_F(TevDiff, Quiet_TellsByTheStatusAlone) {
  Write("a.tev", Small().Model());
  Write("b.tev", Small{.values = {1, 2, 5}}.Model());
  const RunResult different = Run({"diff", "-q", "a.tev", "b.tev"});
  EXPECT_EQ(different.status, 1);
  EXPECT_EQ(different.output + different.error, "");
  const RunResult same = Run({"diff", "-q", "a.tev", "a.tev"});
  EXPECT_EQ(same.status, 0);
  EXPECT_EQ(same.output + same.error, "");
  EXPECT_EQ(Run({"diff", "-q", "a.tev", "missing.tev"}).status, 2);
  for (const char* form : {"--json", "--jsonl"}) {
    const RunResult both = Run({"diff", "-q", form, "a.tev", "a.tev"});
    EXPECT_EQ(both.status, 2);
    EXPECT_EQ(both.output, "");
  }
  EXPECT_EQ(Run({"diff", "a.tev"}).status, 2);
  EXPECT_EQ(Run({"diff", "a.tev", "b.tev", "--rtol", "x"}).status, 2);
  EXPECT_EQ(Run({"diff", "a.tev", "b.tev", "--atol", "-1"}).status, 2);
}

TEST_F(TevDiff, Json_FitsItsSchema) {
  Write("a.tev", SmallModel());
  Write("b.tev", Small().Model());
  const RunResult run = Run({"diff", "--json", "a.tev", "b.tev"});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.output.find("\"verdict\": \"different\""), std::string::npos);
  EXPECT_EQ(Check(run.output, "schema", Schema("diff")), "");
  const RunResult failed = Run({"diff", "--jsonl", "a.tev", "missing.tev"});
  EXPECT_EQ(failed.status, 2);
  EXPECT_EQ(Check(failed.output, "lines", Schema("diff")), "");
}

}  // namespace
}  // namespace tevtest
