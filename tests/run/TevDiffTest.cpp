// tev diff: pairs of models that differ in one thing.
#include <algorithm>
#include <functional>
#include <limits>

#include "run/DiffRun.h"

namespace tevtest {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST_F(TevDiff, OfTheSameModel_IsNothing) {
  EXPECT_EQ(Diff(SmallModel(), SmallModel()), kSame);
  const std::string model = Example("heatsink.tev");
  EXPECT_EQ(Answer({"diff", model, model}), kSame);
}

TEST_F(TevDiff, OfAPipeThatIsNamedTwice_IsNothing) {
  Write("a.tev", SmallModel());
  const RunResult run = RunProgram({"sh", "-c", "cat a.tev | \"$0\" diff - -", TEV_PROGRAM},
                                   {.workingDirectory = dir.Path()});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.error, "");
  EXPECT_EQ(run.output, kSame);
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
            "field \"P\" \"R\" \"Time = 1\": \"1 component\" and \"2 components\"\n"
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
      writer.AddGeometry("o", writer.AddShape("Other", group));
    }
    const NodeRef mesh = writer.AddGeometry("g", writer.AddShape("P", group));
    writer.AddVariable(mesh, Variable::Floats("R", 13, 1, {1, last}));
    return writer;
  };
  // The part is shape 2 in one model, and shape 4 in the other.
  EXPECT_EQ(Diff(model(true, 2), model(false, 2), {"--part", "4"}), kSame);
  const std::string answer = Diff(model(true, 2), model(false, 3), {"--part", "4"});
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

TEST_F(TevDiff, FacesWithoutAStepOfAMeshThatMoves_AreCompared) {
  const auto moving = [](std::vector<std::uint32_t> face) {
    ModelWriter model;
    const NodeRef mesh = model.AddGeometry("m", model.AddShape("P", model.AddGroup("root", 0)));
    for (const std::string step : {"Time = 1", "Time = 2"}) {
      model.AddVariable(mesh, Variable::Floats("Coordinates\x1e" + step, kCoordinates, 3,
                                               {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}));
    }
    model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, face));
    model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {3}));
    return model;
  };
  EXPECT_EQ(Diff(moving({0, 1, 2}), moving({0, 1, 2})), kSame);
  const std::string at = "mesh \"P\" \"Faces\"";
  EXPECT_EQ(Diff(moving({0, 1, 2}), moving({0, 1, 3})),
            at + ": 1 differ\n" + at + " \"Time = 1\": 1 differ\n" + at +
                " \"Time = 2\": 1 differ\nThe models differ: 3 differences\n");
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

TEST_F(TevDiff, Counts_AreComparedAsNumbers) {
  const auto counting = [](const Attribute& count) {
    ModelWriter model = Small().Model();
    model.At(1).Group().attributes = {count};
    return model;
  };
  const std::string name = "Number of Nodes in the Model";
  const auto number = [&](double count) { return counting(Attribute::Double(name, count)); };
  EXPECT_EQ(Diff(number(12345678), number(12345679)),
            "nodes: \"12345678\" and \"12345679\"\nThe models differ: 1 difference\n");
  EXPECT_EQ(Diff(number(12345678), counting(Attribute::Uint(name, 12345678))), kSame);
  EXPECT_EQ(Diff(number(kNaN), number(kNaN)), kSame);
  EXPECT_EQ(Diff(number(0.5), counting(Attribute::Text(name, "many"))),
            "nodes: \"0.5\" and \"many\"\nThe models differ: 1 difference\n");
}

TEST_F(TevDiff, AMeshVariableThatOneLacks_IsOnlyInTheOther) {
  ModelWriter without = Small().Model();
  without.VariableAt(kSmallGeometry, 1).name = "Other";
  without.VariableAt(kSmallGeometry, 1).type = 0;
  ModelWriter with = Small().Model();
  // Without faces, which could not do without coordinates.
  for (ModelWriter* model : {&with, &without}) {
    for (const std::uint32_t faces : {2U, 3U, 4U}) {
      model->VariableAt(kSmallGeometry, faces).name = "Other";
      model->VariableAt(kSmallGeometry, faces).type = 0;
    }
  }
  const std::string rows = Diff(with, without);
  EXPECT_NE(rows.find("mesh \"P\" \"Coordinates\": 3 only in A\n"), std::string::npos) << rows;
  EXPECT_NE(Diff(without, with).find("mesh \"P\" \"Coordinates\": 3 only in B\n"),
            std::string::npos);
}

TEST_F(TevDiff, AMeshAtAStepThatTheOtherModelLacks_IsOnlyInOne) {
  ModelWriter moved = Small().Model();
  moved.AddVariable(kSmallGeometry, Variable::Floats("Coordinates\x1eTime = 2", kCoordinates, 3,
                                                     {0, 0, 0, 1, 0, 0, 9, 0, 0}));
  const auto lines = [](const std::string& side) {
    return "step \"Time = 2\": only in " + side + "\nmesh \"P\" \"Time = 2\": only in " + side +
           "\nThe models differ: 2 differences\n";
  };
  EXPECT_EQ(Diff(moved, Small().Model()), lines("A"));
  EXPECT_EQ(Diff(Small().Model(), moved), lines("B"));
}

TEST_F(TevDiff, LocationsExchangedBetweenParts_AreToldOfTheFields) {
  const auto twoParts = [](const char* first, const char* second) {
    ModelWriter model = InDoubt(first, {101, 102}, {5, 7});
    Variable& field = model.VariableAt(6, 5);
    field =
        Variable::Floats(field.name, field.type, 1, {5, 7}, {Attribute::Text("Structure", second)});
    return model;
  };
  EXPECT_EQ(Diff(twoParts("Nodes", "Elements"), twoParts("Elements", "Nodes")),
            "field \"P\" \"R\" \"Time = 1\": \"node\" and \"element\"\n"
            "field \"Q\" \"R\" \"Time = 1\": \"element\" and \"node\"\n"
            "The models differ: 2 differences\n");
}

/// Two parts of one name in two groups; the geometry of the second comes second, too.
ModelWriter Namesakes(float last, bool hasMore = false) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("r", 0);
  if (hasMore) {
    model.AddGroup("More", root);
  }
  for (const char* group : {"G", "H"}) {
    const NodeRef mesh = model.AddGeometry("g", model.AddShape("Arm", model.AddGroup(group, root)));
    model.AddVariable(mesh, Variable::Floats("R", 13, 1, {1, 2}));
  }
  model.VariableAt(hasMore ? 8 : 7, 0) = Variable::Floats("R", 13, 1, {1, last});
  return model;
}

TEST_F(TevDiff, PartsOfOneName_AreToldApartByTheirIds) {
  const std::string differ =
      " \"R\": 1 of 2 numbers differ, by 3 at most: 2 and 5, component 1 at [1], root mean square "
      "2.12132\nThe models differ: 1 difference\n";
  EXPECT_EQ(Diff(Namesakes(2), Namesakes(5)), "field \"Arm\" (id 6)" + differ);
  EXPECT_EQ(Diff(Namesakes(2), Namesakes(5, true)), "field \"Arm\" (id 6 and 7)" + differ);
  const RunResult json = Run({"diff", "--jsonl", "a.tev", "b.tev"});
  EXPECT_NE(
      json.output.find(R"("part": "Arm", "partIdInA": 6, "partIdInB": 7, "path": ["r", "H"])"),
      std::string::npos)
      << json.output;
  EXPECT_EQ(Check(json.output, "lines", Schema("diff")), "");
  ModelWriter fewer = Namesakes(2);
  fewer.At(6).name = "Leg";
  EXPECT_EQ(Diff(Namesakes(2), fewer),
            "part \"Arm\" (id 6): only in A\npart \"Leg\": only in B\n"
            "The models differ: 2 differences\n");
}

TEST_F(TevDiff, ADamagedPartOfSeveralOfOneName_IsNamedWithItsId) {
  ModelWriter damaged = Namesakes(2);
  damaged.VariableAt(7, 0).heavyPosition = 1U << 30U;
  Write("a.tev", Namesakes(2));
  Write("b.tev", damaged);
  const std::string start =
      "tev: b.tev: damaged: part \"Arm\" (id 6), result \"R\": Invalid block position";
  EXPECT_TRUE(Run({"diff", "a.tev", "b.tev"}).error.starts_with(start));
  const RunResult results = Run({"results", "--stats", "b.tev"});
  EXPECT_TRUE(results.error.starts_with(start)) << results.error;
  EXPECT_NE(results.output.find("\n  Arm (id 6)  R "), std::string::npos) << results.output;
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
