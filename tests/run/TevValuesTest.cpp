// tev values: numbers of fields and meshes, exactly.
#include <limits>

#include "run/AnalysisRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class TevValues : public TevRun {
 protected:
  void ExpectBadUsage(const std::vector<std::string>& arguments, const std::string& told) const {
    const RunResult run = Run(arguments);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_NE(run.error.find(told), std::string::npos) << run.error;
  }
};

TEST_F(TevValues, OfAllFieldsOfTheRealModels_AreTheSameBitForBit) {
  for (const std::string model : {"bracket", "heatsink"}) {
    EXPECT_EQ(CheckTruth(dir, "", {"values", TruthOf(model), TEV_PROGRAM, Example(model + ".tev")}),
              "")
        << model;
  }
}

TEST_F(TevValues, MeshAsNpy_IsTwoFiles) {
  const std::string output = dir / "mesh.npy";
  EXPECT_EQ(Answer({"values", Example("heatsink.tev"), "--part", "9", "--mesh", "--format", "npy",
                    "-o", output}),
            "");
  EXPECT_EQ(CheckTruth(dir, "",
                       {"mesh", TruthOf("heatsink"), "9", dir / "mesh.offsets.npy",
                        dir / "mesh.indices.npy"}),
            "");
}

TEST_F(TevValues, MeshAsCsv_IsAFaceARow) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"values", "m.tev", "--mesh"}),
            "part,step,index,id,n1,n2,n3,n4,n5\n"
            "3,,0,101,0,1,2,3\n"
            "3,,1,102,1,2,3,4\n"
            "5,,0,103,0,1,2,3,4\n");
}

TEST_F(TevValues, MeshAtAStepWithoutFacesOfItsOwn_IsTheOneWithoutAStep) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"values", "m.tev", "--mesh", "--step", "Time = 0.5"}),
            "part,step,index,id,n1,n2,n3,n4,n5\n"
            "3,Time = 0.5,0,101,0,1,2,3\n"
            "3,Time = 0.5,1,102,1,2,3,4\n"
            "5,Time = 0.5,0,103,0,1,2,3,4\n");
}

TEST_F(TevValues, CoordinatesAtAStepWithoutTheirOwn_AreThoseWithoutAStep) {
  ModelWriter model;
  const NodeRef root = model.AddGroup("root", 0);
  const std::string moved = "Coordinates\x1eTime = 2";
  const NodeRef both = model.AddGeometry("b", model.AddShape("Both", root));
  model.AddVariable(both, Variable::Floats("Coordinates", 1, 1, {1, 2}));
  model.AddVariable(both, Variable::Floats(moved, 1, 1, {3, 4}));
  const NodeRef one = model.AddGeometry("o", model.AddShape("Moved", root));
  model.AddVariable(one, Variable::Floats(moved, 1, 1, {5}));
  const NodeRef still = model.AddGeometry("s", model.AddShape("Still", root));
  model.AddVariable(still, Variable::Floats("Coordinates", 1, 1, {6}));
  const std::string other = "R\x1eTime = 1";
  model.AddVariable(still, Variable::Floats(other, 13, 1, {7}));
  Write("m.tev", model);
  const auto answer = [&](const std::vector<std::string>& steps) {
    std::vector<std::string> arguments{"values", "m.tev", "--result", "Coordinates"};
    for (const std::string& step : steps) {
      arguments.insert(arguments.end(), {"--step", step});
    }
    return Answer(arguments);
  };
  const std::string head = "part,result,step,index,id,v1\n";
  EXPECT_EQ(answer({"Time = 1"}), head +
                                      "2,Coordinates,Time = 1,0,,1\n"
                                      "2,Coordinates,Time = 1,1,,2\n"
                                      "6,Coordinates,Time = 1,0,,6\n");
  EXPECT_EQ(answer({"Time = 2", ""}), head +
                                          "2,Coordinates,,0,,1\n"
                                          "2,Coordinates,,1,,2\n"
                                          "2,Coordinates,Time = 2,0,,3\n"
                                          "2,Coordinates,Time = 2,1,,4\n"
                                          "4,Coordinates,Time = 2,0,,5\n"
                                          "6,Coordinates,,0,,6\n"
                                          "6,Coordinates,Time = 2,0,,6\n");
  EXPECT_EQ(answer({}), head +
                            "2,Coordinates,,0,,1\n"
                            "2,Coordinates,,1,,2\n"
                            "2,Coordinates,Time = 2,0,,3\n"
                            "2,Coordinates,Time = 2,1,,4\n"
                            "4,Coordinates,Time = 2,0,,5\n"
                            "6,Coordinates,,0,,6\n");
}

TEST_F(TevValues, FacesWithoutAStepOfAMeshThatMoves_AreThoseOfItsFirstPoints) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("m", model.AddShape("Part", model.AddGroup("root", 0)));
  for (const std::string step : {"Time = 1", "Time = 2"}) {
    model.AddVariable(mesh, Variable::Floats("Coordinates\x1e" + step, kCoordinates, 3,
                                             {0, 0, 0, 1, 0, 0, 0, 1, 0}));
  }
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {3}));
  Write("m.tev", model);
  EXPECT_EQ(Answer({"values", "m.tev", "--mesh"}), "part,step,index,id,n1,n2,n3\n2,,0,,0,1,2\n");
}

TEST_F(TevValues, FacesAtAStepWithoutCoordinates_AreDamagedForAllVerbs) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("m", model.AddShape("Part", model.AddGroup("root", 0)));
  model.AddVariable(mesh, Variable::Floats("Coordinates\x1eTime = 1", kCoordinates, 3,
                                           {0, 0, 0, 1, 0, 0, 0, 1, 0}));
  model.AddVariable(mesh, Variable::Uints("Connectivity\x1eTime = 2", kConnectivity, 1, {0, 1, 2}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {3}));
  Write("m.tev", model);
  const std::vector<std::vector<std::string>> commands{
      {"values", "m.tev", "--mesh"}, {"diff", "m.tev", "m.tev"}, {"check", "m.tev"}};
  for (const std::vector<std::string>& command : commands) {
    EXPECT_EQ(Run(command).status, 2) << command[0];
  }
}

TEST_F(TevValues, Csv_IsOneTableOfAllThatFits) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"values", "m.tev", "--result", "Temp*", "--part", "Panel"}),
            "part,result,step,index,id,v1\n"
            "5,Temperature,Time = 0.5,0,6,293.25\n"
            "5,Temperature,Time = 0.5,1,7,294\n"
            "5,Temperature,Time = 0.5,2,8,295.5\n"
            "5,Temperature,Time = 0.5,3,9,296\n"
            "5,Temperature,Time = 0.5,4,10,1234567\n");
  const std::string both = Answer({"values", "m.tev", "--result", "Displacement"});
  EXPECT_EQ(both.substr(0, 39), "part,result,step,index,id,v1,v2,v3\n3,Di");
  EXPECT_NE(both.find("5,Displacement,Time = 0.5,4,10,13,14,15\n"), std::string::npos);
}

TEST_F(TevValues, FieldsOfOneNameAndStep_AreTwoInStoredOrder) {
  Write("m.tev", FieldsOfOneName({3, 4}));
  EXPECT_EQ(Answer({"values", "m.tev"}),
            "part,result,step,index,id,v1\n2,R,Time = 1,0,,1\n2,R,Time = 1,1,,2\n"
            "2,R,Time = 1,0,,3\n2,R,Time = 1,1,,4\n");
}

TEST_F(TevValues, DamagedFieldOfTwoOfOneName_IsToldWithItsOwnPlace) {
  ModelWriter model = FieldsOfOneName({3, 4});
  model.VariableAt(3, 0).heavyPosition = 1U << 30U;
  Write("m.tev", model);
  const RunResult run = Run({"values", "m.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.error.find("Invalid block position, at byte 1073741824 of Heavy Data"),
            std::string::npos)
      << run.error;
  EXPECT_EQ(run.output, "part,result,step,index,id,v1\n2,R,Time = 1,0,,3\n2,R,Time = 1,1,,4\n");
}

TEST_F(TevValues, FieldWhoseIdsAreDamaged_IsWrittenWithoutThem) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh2, 4).heavyPosition = 1U << 30U;
  model.VariableAt(kSmallMesh1, 0).heavyPosition = 1U << 30U;
  Write("m.tev", model);
  const RunResult fields = Run({"values", "m.tev", "--part", "Frame", "--result", "Temperature"});
  EXPECT_EQ(fields.status, 2);
  EXPECT_NE(
      fields.error.find("part \"Frame\", result \"Temperature\", step \"Time = 0.5\": Invalid "
                        "block position"),
      std::string::npos)
      << fields.error;
  EXPECT_NE(fields.output.find("\n3,Temperature,Time = 0.5,0,,293.25\n"), std::string::npos);
  const RunResult faces = Run({"values", "m.tev", "--mesh"});
  EXPECT_EQ(faces.status, 2);
  EXPECT_NE(faces.error.find("part \"Panel\", mesh: Invalid block position"), std::string::npos)
      << faces.error;
  EXPECT_EQ(faces.output,
            "part,step,index,id,n1,n2,n3,n4,n5\n"
            "3,,0,101,0,1,2,3\n"
            "3,,1,102,1,2,3,4\n"
            "5,,0,,0,1,2,3,4\n");
}

TEST_F(TevValues, NumbersThatAreNotFinite_HaveTheirSpelling) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("a,\"b\"", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("R", 13, 1,
                                           {std::numeric_limits<float>::quiet_NaN(), kInfinity,
                                            -kInfinity, -0.0F, 1e-45F, 0.1F}));
  Write("m.tev", model);
  EXPECT_EQ(Answer({"values", "m.tev"}),
            "part,result,step,index,id,v1\n2,R,,0,,nan\n2,R,,1,,inf\n2,R,,2,,-inf\n2,R,,3,,-0\n"
            "2,R,,4,,1e-45\n2,R,,5,,0.1\n");
}

TEST_F(TevValues, NamesOfOddBytes_AreInCsvAsTheyAreInJson) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("s", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("R\xff\x1eLoad\x1e\xe2\x82, 2", 13, 1, {1}));
  Write("m.tev", model);
  const std::string bad = "\xef\xbf\xbd";
  const std::string cells = ",R" + bad + ",\"Load " + bad + ", 2\",";
  EXPECT_EQ(Answer({"values", "m.tev"}), "part,result,step,index,id,v1\n2" + cells + "0,,1\n");
  EXPECT_NE(Answer({"results", "--csv", "m.tev"}).find("m.tev,,true,2" + cells), std::string::npos);
  const std::string json = Answer({"results", "--jsonl", "m.tev"});
  EXPECT_NE(json.find("\"result\": \"R" + bad + "\", \"step\": \"Load " + bad + ", 2\""),
            std::string::npos)
      << json;
}

TEST_F(TevValues, WhatCannotBeOneTable_IsBadUsage) {
  Write("m.tev", SmallModel());
  ExpectBadUsage({"values", "m.tev"}, "different numbers of components");
  ExpectBadUsage({"values", "m.tev", "--format", "npy", "--result", "Temperature"},
                 "npy holds one field, and 2 fit");
  ExpectBadUsage({"values", "m.tev", "--result", "Temperature", "--step", ""},
                 "no field fits all that is asked for");
  ExpectBadUsage({"values", "m.tev", "--part", "Frme"}, "did you mean \"Frame\"?");
  ExpectBadUsage({"values", "m.tev", "--mesh", "--result", "T"},
                 "--mesh has no results (see tev values --help)");
  ExpectBadUsage({"values", "m.tev", "--mesh", "--format", "npy"}, "name them by -o");
}

TEST_F(TevValues, DamagedField_IsNamedAndTheOthersAreWritten) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 5).heavyPosition = 1U << 30U;
  Write("m.tev", model);
  const RunResult run = Run({"values", "m.tev", "--result", "Displacement"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.error.find("part \"Frame\", result \"Displacement\", step \"Time = 0.5\": Invalid "
                           "block position"),
            std::string::npos)
      << run.error;
  EXPECT_NE(run.output.find("5,Displacement,Time = 0.5,4,10,13,14,15\n"), std::string::npos);
  EXPECT_EQ(run.output.find("\n3,"), std::string::npos);
}

TEST_F(TevValues, NpyOfAFieldWhoseIdsAreDamaged_IsWhole) {
  ModelWriter model = SmallModel();
  Write("sound.tev", model);
  model.VariableAt(kSmallMesh1, 0).heavyPosition = 1U << 30U;
  Write("damaged.tev", model);
  const auto npyOf = [&](const std::string& name) {
    return Answer(
        {"values", name, "--part", "Frame", "--result", "Temperature", "--format", "npy"});
  };
  EXPECT_EQ(npyOf("damaged.tev"), npyOf("sound.tev"));
}

}  // namespace
}  // namespace tevtest
