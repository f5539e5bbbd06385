// tev cdf: the export of a geometry.

#include <gtest/gtest.h>

#include <filesystem>

#include "run/TevRun.h"
#include "support/Hex.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class TevCdf : public TevRun {
 protected:
  void ExpectFailure(const std::vector<std::string>& arguments, const std::string& line,
                     int status = 2) const {
    const RunResult run = Run(arguments);
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, line);
  }
};

TEST_F(TevCdf, KnownGeometry_IsWritten) {
  Write("a.tev", SmallModel());
  EXPECT_EQ(Answer({"cdf", "a.tev", "mesh 2", "out.cdf"}), "");
  EXPECT_EQ(dir.Read("out.cdf"),
            "*HEADER,TITLE=\"Test\"\n"
            "*ANALYSIS,NAME=\"Test\"\n"
            "*VERTICES\n"
            "2,0,0\n3,0,0\n3,1,0\n2,1,0\n2.5,0.5,1\n"
            "*FACES\n"
            "0,1,2,3,4\n"
            "*FACESET,NAME=\"mesh 2\"\n"
            "0,\n"
            "*RESULT,NAME=\"Element Ids\"\n"
            "103\n"
            "*RESULT,NAME=\"Displacement\",STEP=0.5\n"
            "1,2,3\n4,5,6\n7,8,9\n10,11,12\n13,14,15\n"
            "*RESULT,NAME=\"Temperature\",STEP=0.5\n"
            "293.25\n294\n295.5\n296\n1.23457e+06\n");
}

TEST_F(TevCdf, DamagedFaces_AreToldAndTheTextIsWrittenAllTheSame) {
  const std::string hint = " (\"tev check\" tells more)\n";
  for (const std::uint32_t length : {3U, 6U}) {
    ModelWriter model = SmallModel();
    model.VariableAt(kSmallMesh2, 3) = Variable::Uints("Polylength", kPolylength, 1, {length});
    Write("a.tev", model);
    ExpectFailure({"cdf", "a.tev", "mesh 2", "out.cdf"},
                  "tev: a.tev: damaged: geometry 6, mesh: The lengths of the faces do not make up "
                  "the list of their nodes" +
                      hint);
    EXPECT_TRUE(dir.Read("out.cdf").starts_with("*HEADER,TITLE=\"Test\"\n"));
    EXPECT_TRUE(dir.Read("out.cdf").ends_with("1.23457e+06\n"));
    EXPECT_EQ(Answer({"cdf", "a.tev", "mesh 1", "one.cdf"}), "");
  }
  ModelWriter model = SmallModel();
  model.AddVariable(kSmallMesh2, Variable::Floats("Coordinates\x1eTime = 0.5", kCoordinates, 3,
                                                  {0, 0, 0, 1, 1, 1}));
  Write("a.tev", model);
  ExpectFailure({"cdf", "a.tev", "mesh 2", "out.cdf"},
                "tev: a.tev: damaged: geometry 6, mesh, step \"Time = 0.5\": A face names a node "
                "that the mesh has not" +
                    hint);
}

TEST_F(TevCdf, UnknownGeometry_ListsTheNamesAndWritesNoFile) {
  Write("a.tev", SmallModel());
  ExpectFailure(
      {"cdf", "a.tev", "mesh", "out.cdf"},
      "tev: a.tev: No geometry fits \"mesh\", did you mean \"mesh 1\"? there are \"mesh 1\", "
      "\"mesh 2\"\n",
      1);
  EXPECT_FALSE(dir.Has("out.cdf"));
}

TEST_F(TevCdf, UnknownGeometry_LeavesAnOutputThatIsThere) {
  Write("a.tev", SmallModel());
  dir.Write("out.cdf", "mine");
  static_cast<void>(Run({"cdf", "a.tev", "mesh", "out.cdf"}));
  EXPECT_EQ(dir.Read("out.cdf"), "mine");
}

TEST_F(TevCdf, ModelWithoutGeometries_SaysSo) {
  ModelWriter model;
  model.AddGroup("root", 0);
  Write("a.tev", model);
  ExpectFailure({"cdf", "a.tev", "m", "out.cdf"},
                "tev: a.tev: No geometry fits \"m\": the model has no geometry\n", 1);
}

TEST_F(TevCdf, OutputThatIsTheModel_IsRefusedByEveryName) {
  const std::string bytes = SmallModel().Build();
  dir.Write("a.tev", bytes);
  std::filesystem::create_hard_link(dir / "a.tev", dir / "hard.tev");
  std::filesystem::create_symlink("a.tev", dir / "soft.tev");
  for (const std::string output : {"a.tev", "./a.tev", "hard.tev", "soft.tev"}) {
    ExpectFailure({"cdf", "a.tev", "mesh 1", output}, "tev: a.tev: " + output + " is this file\n");
    EXPECT_EQ(dir.Read("a.tev"), bytes);
  }
}

TEST_F(TevCdf, OutputThatCannotBeOpened_IsAnError) {
  Write("a.tev", SmallModel());
  ExpectFailure({"cdf", "a.tev", "mesh 1", "no/such/out.cdf"},
                "tev: no/such/out.cdf: cannot open: No such file or directory\n");
}

TEST_F(TevCdf, OutputByEitherName_IsTheSame) {
  Write("a.tev", SmallModel());
  EXPECT_EQ(Answer({"cdf", "a.tev", "mesh 1", "-o", "one"}), "");
  EXPECT_EQ(Answer({"cdf", "a.tev", "mesh 1", "two"}), "");
  EXPECT_EQ(dir.Read("one"), dir.Read("two"));
}

TEST_F(TevCdf, OutputByBothNamesOrByNone_IsBadUsageAndNothingIsWritten) {
  Write("a.tev", SmallModel());
  ExpectFailure({"cdf", "a.tev", "mesh 1", "one", "-o", "two"},
                "tev: OUTPUT excludes --output (see tev cdf --help)\n", 1);
  ExpectFailure({"cdf", "a.tev", "mesh 1"}, "tev: OUTPUT is required (see tev cdf --help)\n", 1);
  EXPECT_FALSE(dir.Has("one"));
  EXPECT_FALSE(dir.Has("two"));
}

TEST_F(TevCdf, FullDisk_IsAnError) {
  Write("a.tev", SmallModel());
  ExpectFailure({"cdf", "a.tev", "mesh 1", "/dev/full"},
                "tev: /dev/full: cannot write the answer: No space left on device\n");
}

TEST_F(TevCdf, MissingModel_IsAnError) {
  ExpectFailure({"cdf", "x.tev", "mesh 1", "out.cdf"},
                "tev: x.tev: cannot open: No such file or directory\n");
  EXPECT_FALSE(dir.Has("out.cdf"));
}

TEST_F(TevCdf, InstanceNameWithoutAStep_BreaksOffThere) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 5).name =
      "Displacement\x1e"
      "first";
  Write("a.tev", model);
  ExpectFailure(
      {"cdf", "a.tev", "mesh 1", "out.cdf"},
      "tev: a.tev: damaged: the export broke off in geometry 4, variable 5 "
      "\"Displacement first\": its instance name has no \" = \" before a step (\"tev check\" "
      "tells more)\n");
  EXPECT_TRUE(dir.Read("out.cdf").ends_with("*RESULT,NAME=\"Displacement\""));
}

TEST_F(TevCdf, NumbersThatCannotBeRead_BreakOffThere) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 1).byteCount = 1000000;
  Write("a.tev", model);
  const std::string start = std::to_string(model.RecordStart(kHeavyData, 1));
  ExpectFailure(
      {"cdf", "a.tev", "mesh 1", "out.cdf"},
      "tev: a.tev: damaged: the export broke off in geometry 4, variable 1 \"Coordinates\": Not "
      "enough bytes in the block, at byte " +
          start + " of Heavy Data, in block 5 (\"tev check\" tells more)\n");
}

// The numbers of the faces are whole, and their lengths are not.
TEST_F(TevCdf, LengthsOfFacesThatCannotBeRead_AreWhereTheyAre) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 3).heavyPosition = 1U << 30U;
  Write("a.tev", model);
  ExpectFailure({"cdf", "a.tev", "mesh 1", "out.cdf"},
                "tev: a.tev: damaged: the export broke off in geometry 4, variable 2 "
                "\"Connectivity\": Invalid block position, at byte 1073741824 of Heavy Data "
                "(\"tev check\" tells more)\n");
}

TEST_F(TevCdf, BlockThatZlibRefuses_IsNamed) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("mesh", model.AddShape("s", model.AddGroup("g", 0)));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {1, 2, 3}));
  ContainerWriter container = model.ToContainer();
  std::size_t number = 0;
  while (container.Blocks().at(number).name != kHeavyData) {
    ++number;
  }
  container.Blocks()[number].storedBytes = Hex("10000000 'no zlib stream'");
  container.Blocks()[number].compressed = true;
  dir.Write("a.tev", container.Build().bytes);
  ExpectFailure(
      {"cdf", "a.tev", "mesh", "out.cdf"},
      "tev: a.tev: damaged: the export broke off in geometry 3, variable 0 \"Coordinates\": zlib "
      "refuses the data of block " +
          std::to_string(number) +
          " (Heavy Data), at byte 0 of Heavy Data (\"tev check\" tells more)\n");
}

}  // namespace
}  // namespace tevtest
