// tev results: overview, statistics, and their forms.
#include "run/AnalysisRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class TevResults : public TevRun {
 protected:
  /// The small model with the displacement of its first mesh in a damaged block.
  void WriteDamaged() const {
    ModelWriter model = SmallModel();
    model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                                 .packing = StreamLayout::Packing::Compressed});
    ContainerWriter container = model.ToContainer();
    std::size_t heavy = 0;
    for (BlockSpec& block : container.Blocks()) {
      if (block.name == kHeavyData && heavy++ == 5) {
        block.storedBytes = Compressed(block.payload);
        block.storedBytes->at(10) ^= 0x7F;
      }
    }
    dir.Write("damaged.tev", container.Build().bytes);
  }
};

TEST_F(TevResults, StatisticsOfTheRealModels_AreThoseOfTheirTruth) {
  for (const char* model : {"bracket", "heatsink"}) {
    const std::string answer =
        Answer({"results", "--stats", "--json", Example(std::string(model) + ".tev")});
    EXPECT_EQ(CheckTruth(dir, answer, {"stats", TruthOf(model)}), "") << model;
    EXPECT_EQ(Check(answer, "schema", Schema("results")), "") << model;
  }
}

TEST_F(TevResults, WithoutStats_IsATableOfStepsAgainstResults) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"results", "m.tev"}),
            "m.tev\n"
            "  Step        Displacement  Temperature\n"
            "  Time = 0.5  node 3 x2     node 1 x2\n");
}

TEST_F(TevResults, WithStats_IsARowForEachComponent) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"results", "--stats", "--part", "Frame", "m.tev"}),
            "m.tev\n"
            "  Part   Result        Step        Location  Component     Min  At          Max  At   "
            "   Mean       RMS  Not finite\n"
            "  Frame  Displacement  Time = 0.5  node      magnitude       0   1      2.91548   5  "
            "0.758095   1.32877\n"
            "  Frame  Displacement  Time = 0.5  node      1               0   1          1.5   5   "
            "  0.325  0.673146\n"
            "  Frame  Displacement  Time = 0.5  node      2            -2.5   5            0   1   "
            "  -0.55   1.12361\n"
            "  Frame  Displacement  Time = 0.5  node      3               0   1          0.5   4   "
            "    0.1  0.223607\n"
            "  Frame  Temperature   Time = 0.5  node      1          293.25   1  1.23457e+06   5   "
            " 247149    552115\n");
}

TEST_F(TevResults, WithoutStats_ReadsNoValues) {
  WriteDamaged();
  const RunResult run = Run({"results", "--jsonl", "damaged.tev"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.error, "");
  EXPECT_EQ(run.output.find("statistics"), std::string::npos);
  EXPECT_EQ(Check(run.output, "lines", Schema("results")), "");
}

TEST_F(TevResults, DamagedField_IsNamedAndTheOthersAreAnswered) {
  WriteDamaged();
  const RunResult run = Run({"results", "--stats", "--json", "damaged.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.error.find("part \"Frame\", result \"Displacement\", step \"Time = 0.5\": zlib "
                           "refuses the data of block "),
            std::string::npos)
      << run.error;
  EXPECT_NE(run.output.find("\"complete\": false"), std::string::npos);
  EXPECT_NE(run.output.find("\"statistics\": null"), std::string::npos);
  EXPECT_NE(run.output.find("\"counted\": 5"), std::string::npos);
  EXPECT_EQ(Check(run.output, "schema", Schema("results")), "");
}

TEST_F(TevResults, FieldWhoseIdsAreDamaged_IsAnsweredWithoutThem) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 0).heavyPosition = 1U << 30U;
  Write("m.tev", model);
  const RunResult run = Run({"results", "--stats", "--csv", "--result", "Temperature", "m.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(
      run.error,
      "tev: m.tev: damaged: part \"Frame\", result \"Temperature\", step \"Time = 0.5\": "
      "Invalid block position, at byte 1073741824 of Heavy Data (\"tev check\" tells more)\n");
  EXPECT_NE(
      run.output.find(
          "\nm.tev,damaged,false,3,Temperature,Time = 0.5,node,1,5,5,0,1,293.25,,0,1234567,,4,"),
      std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find(
                "\nm.tev,,true,5,Temperature,Time = 0.5,node,1,5,5,0,1,293.25,6,0,1234567,10,"),
            std::string::npos)
      << run.output;
  const RunResult json = Run({"results", "--stats", "--json", "m.tev"});
  EXPECT_EQ(json.status, 2);
  EXPECT_EQ(json.output.find("\"statistics\": null"), std::string::npos);
  EXPECT_NE(json.output.find("\"minAt\": null"), std::string::npos);
  EXPECT_NE(json.output.find("\"message\": \"Invalid block position, at byte 1073741824"),
            std::string::npos);
  EXPECT_EQ(Check(json.output, "schema", Schema("results")), "");
}

TEST_F(TevResults, FieldsOfOneNameAndStep_AreTwoInStoredOrder) {
  Write("m.tev", FieldsOfOneName({3, 4}));
  const std::string row = "m.tev,,true,2,R,Time = 1,unknown,1,2,2,0,1,";
  const std::string answer = Answer({"results", "--stats", "--csv", "m.tev"});
  EXPECT_EQ(answer.substr(answer.find('\n') + 1), row + "1,,0,2,,1,1.5,1.5811388300841898\n" + row +
                                                      "3,,0,4,,1,3.5,3.5355339059327378\n");
}

TEST_F(TevResults, FieldWithoutComponents_HasARowToo) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("Z\x1eTime = 1", 13, 0, {1, 2}));
  Write("m.tev", model);
  const std::string table = Answer({"results", "--stats", "--csv", "m.tev"});
  EXPECT_NE(table.find("\nm.tev,,true,2,Z,Time = 1,"), std::string::npos) << table;
  const std::string text = Answer({"results", "--stats", "m.tev"});
  EXPECT_NE(text.find("\n  P     Z       Time = 1  "), std::string::npos) << text;
}

#ifdef FAULT_PRELOAD  // a sanitizer takes memory for itself

constexpr std::uint32_t kManyNumbers = 2U << 20U;
constexpr std::uint32_t kFieldBytes = 4 * kManyNumbers;

/// Of many steps the fields, and after them what they need: faces and ids. All zeros, deflated at a
/// level: with another one no block is stored in the same bytes.
std::string MeshAfterManyFields(int level) {
  constexpr std::uint32_t kSteps = 24;
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  const auto add = [&](Variable variable, std::uint32_t bytes, std::uint64_t position) {
    variable.byteCount = bytes;
    variable.heavyPosition = position;
    model.AddVariable(mesh, variable);
  };
  const std::uint64_t end = std::uint64_t{kSteps} * kFieldBytes;
  for (std::uint32_t i = 0; i < kSteps; ++i) {
    add(Variable::Floats("R\x1eTime = " + std::to_string(i), 13, 1, {}), kFieldBytes,
        std::uint64_t{i} * kFieldBytes);
  }
  add(Variable::Floats("Node Ids", kIds, 1, {}), kFieldBytes, end);
  add(Variable::Floats("Coordinates", kCoordinates, 1, {}), kFieldBytes, end);
  add(Variable::Uints("Connectivity", kConnectivity, 1, {}), 8, end + kFieldBytes);
  add(Variable::Uints("Polylength", kPolylength, 1, {}), 4, end + kFieldBytes + 8);
  ContainerWriter container = model.ToContainer();
  const std::string zeros = Compressed(std::string(kFieldBytes, '\0'), level);
  for (std::uint32_t i = 0; i <= kSteps; ++i) {
    container.Add({.name = std::string(kHeavyData), .compressed = true, .storedBytes = zeros});
  }
  container.AddRaw(kHeavyData, ElementBytes(std::vector<std::uint32_t>{0, 0, 2}));
  return container.Build().bytes;
}

// Four blocks, and two fields.
TEST_F(TevResults, MeshAfterManyFields_TakesTheMemoryOfTwoFields) {
  dir.Write("m.tev", MeshAfterManyFields(6));
  dir.Write("other.tev", MeshAfterManyFields(1));
  constexpr long kMostKiB = (6 * kFieldBytes + (32U << 20U)) / 1024;
  for (const char* jobs : {"1", "2", "3"}) {
    const RunResult run = Run({"results", "--stats", "--csv", "-j", jobs, "m.tev"});
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_NE(run.output.find("Time = 23,node,1,2097152,1,0,1,0,0,0,0,0,0,0,0\n"),
              std::string::npos)
        << run.output;
    EXPECT_LT(run.peakKiB, kMostKiB) << jobs;
    const RunResult diff = Run({"diff", "-j", jobs, "m.tev", "other.tev"});
    EXPECT_EQ(diff.output, "The models are the same\n") << diff.error;
    EXPECT_LT(diff.peakKiB, kMostKiB) << jobs;
  }
}

#endif

TEST_F(TevResults, Csv_IsARowForEachComponentWithExactNumbers) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"results", "--csv", "m.tev", "--part", "5", "--result", "Disp*"}),
            "file,failure,complete,part,result,step,location,components,count\n"
            "m.tev,,true,5,Displacement,Time = 0.5,node,3,5\n");
  EXPECT_EQ(
      Answer({"results", "--csv", "--stats", "m.tev", "--part", "3", "--result", "Temperature"}),
      "file,failure,complete,part,result,step,location,components,count,counted,notFinite,"
      "component,min,minAt,"
      "minIndex,max,maxAt,maxIndex,mean,rms\n"
      "m.tev,,true,3,Temperature,Time = 0.5,node,1,5,5,0,1,293.25,1,0,1234567,5,4,247149.15,"
      "552115.2098714203\n");
}

TEST_F(TevResults, WhatCannotBeRead_HasItsRowsInCsv) {
  WriteDamaged();
  const std::string heading =
      "file,failure,complete,part,result,step,location,components,count,counted,notFinite,"
      "component,min,minAt,minIndex,max,maxAt,maxIndex,mean,rms\n";
  const RunResult run =
      Run({"results", "--stats", "--csv", "--part", "Frame", "missing.tev", "damaged.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output,
            heading +
                "missing.tev,not-found,false,,,,,,,,,,,,,,,,,\n"
                "damaged.tev,damaged,false,3,Displacement,Time = 0.5,node,3,5,,,,,,,,,,,\n"
                "damaged.tev,,true,3,Temperature,Time = 0.5,node,1,5,5,0,1,293.25,1,0,1234567,5,4,"
                "247149.15,552115.2098714203\n");
}

TEST_F(TevResults, FileOfWhichSomethingIsMissing_HasItsFailureInEachRowOfCsv) {
  const std::string bytes = SmallModel().ToContainer().AddRaw("Notes", "last").Build().bytes;
  dir.Write("cut.tev", bytes.substr(0, bytes.size() - 1));
  const RunResult run = Run({"results", "--csv", "--result", "Displacement", "cut.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output,
            "file,failure,complete,part,result,step,location,components,count\n"
            "cut.tev,damaged,false,3,Displacement,Time = 0.5,node,3,5\n"
            "cut.tev,damaged,false,5,Displacement,Time = 0.5,node,3,5\n");
}

TEST_F(TevResults, PatternThatFitsNothing_IsBadUsage) {
  Write("m.tev", SmallModel());
  const RunResult run = Run({"results", "m.tev", "--result", "Temprature"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_NE(run.error.find("did you mean \"Temperature\"?"), std::string::npos) << run.error;
  const RunResult none = Run({"results", "m.tev", "--step", ""});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.output, "");
  EXPECT_NE(none.error.find("No step fits \"\": there are \"Time = 0.5\""), std::string::npos)
      << none.error;
}

TEST_F(TevResults, ModelWithoutAny_SaysSo) {
  ModelWriter model;
  model.AddGroup("root", 0);
  Write("a.tev", model);
  EXPECT_EQ(Answer({"results", "a.tev"}), "a.tev\n  No results\n");
  EXPECT_EQ(Answer({"results", "--stats", "a.tev"}), "a.tev\n  No results\n");
}

}  // namespace
}  // namespace tevtest
