// tev view, by its pages as a browser shows them, without a display, and by what they are like as
// files.

#include <string>

#include "run/PageRun.h"

namespace tevtest {
namespace {

using TevViewPage = PageRun;

TEST_F(TevViewPage, ModelOfOneStep_IsShownAsItIs) {
  const std::string model = Example("bracket.tev");
  const std::string page = PageOf(model);
  EXPECT_LT(Contents(page).size(), 1200000U);
  EXPECT_EQ(Check({{"frame", page},
                   {"shape", TEV_PROGRAM, model, page, "300"},
                   {"marks", TEV_PROGRAM, model, page},
                   {"pick", TEV_PROGRAM, model, page, "Displacement", "iso"},
                   {"camera", page},
                   {"without_webgl", page}}),
            "");
}

TEST_F(TevViewPage, ModelOfManySteps_IsShownAtEach) {
  const std::string model = Example("heatsink.tev");
  const std::string page = PageOf(model);
  EXPECT_LT(Contents(page).size(), 1200000U);
  const std::string small = PageOf(model, {"--max-size", "700000"}, "small.html");
  EXPECT_LE(Contents(small).size(), 700000U);
  EXPECT_GT(Contents(small).size(), 600000U);
  EXPECT_TRUE(Contents(PageOf(model, {"--max-size", std::to_string(Contents(page).size())},
                              "limited.html")) == Contents(page));
  const std::string exact = PageOf(model, {"--exact"}, "exact.html");
  EXPECT_EQ(
      Check({{"marks", TEV_PROGRAM, model, page},
             {"values", TEV_PROGRAM, model, page, "Heat Flux", "2"},
             {"values", TEV_PROGRAM, model, exact, "Heat Flux", "2", "exact"},
             {"legend", TEV_PROGRAM, model, page, "Heat Flux", "3"},
             {"changes", page, "step=0", "cividis=on", "edges=on", "range=step", "range-max=200"},
             {"play", small},
             {"steps", TEV_PROGRAM, model, small}}),
      "");
}

TEST_F(TevViewPage, Readers_AreServedOnAnyScreenByKeysAndOnPaper) {
  const std::string page = PageOf(Example("heatsink.tev"));
  EXPECT_EQ(Check({{"media", page}, {"keys", page}}), "");
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

}  // namespace
}  // namespace tevtest
