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

TEST_F(TevResults, Csv_IsARowForEachComponentWithExactNumbers) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"results", "--csv", "m.tev", "--part", "5", "--result", "Disp*"}),
            "file,part,result,step,location,components,count\n"
            "m.tev,5,Displacement,Time = 0.5,node,3,5\n");
  EXPECT_EQ(
      Answer({"results", "--csv", "--stats", "m.tev", "--part", "3", "--result", "Temperature"}),
      "file,part,result,step,location,components,count,counted,notFinite,component,min,minAt,"
      "minIndex,max,maxAt,maxIndex,mean,rms\n"
      "m.tev,3,Temperature,Time = 0.5,node,1,5,5,0,1,293.25,1,0,1234567,5,4,247149.15,"
      "552115.2098714203\n");
}

TEST_F(TevResults, PatternThatFitsNothing_IsBadUsage) {
  Write("m.tev", SmallModel());
  const RunResult run = Run({"results", "m.tev", "--result", "Temprature"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_NE(run.error.find("did you mean \"Temperature\"?"), std::string::npos) << run.error;
}

}  // namespace
}  // namespace tevtest
