// The rules of includes find what breaks them.

#include <gtest/gtest.h>

#include "IncludeRules.h"

namespace layout {
namespace {

std::vector<std::string> FaultsIn(std::string_view path, std::string_view text) {
  std::vector<std::string> faults;
  for (const Violation& violation : CheckIncludes(path, text)) {
    faults.push_back(Describe(violation));
  }
  return faults;
}

using Faults = std::vector<std::string>;

TEST(IncludeRules, IncludeOfAHigherLayer_IsNamedWithFileAndLine) {
  EXPECT_EQ(
      FaultsIn("src/Lbt/Util/ToString.cpp", "#include <string>\n\n#include \"Lbt/Log/Raise.h\"\n"),
      Faults{"src/Lbt/Util/ToString.cpp:3: layer util includes \"Lbt/Log/Raise.h\" of "
             "layer log"});
}

TEST(IncludeRules, EveryStepUpTheOrder_IsFound) {
  const std::vector<std::string> folders{"Lbt/Util", "Lbt/Log", "Lbt/Lbf",
                                         "Lbt/Adt",  "Lbt/Tev", "Lbt/Tev/TevInfo"};
  for (std::size_t from = 0; from < folders.size(); ++from) {
    for (std::size_t to = 0; to < folders.size(); ++to) {
      const std::string text = "#include \"" + folders[to] + "/X.h\"";
      const std::size_t expected = to > from ? 1 : 0;
      EXPECT_EQ(FaultsIn("include/" + folders[from] + "/Y.h", text).size(), expected) << text;
      EXPECT_EQ(FaultsIn("src/" + folders[from] + "/Y.cpp", text).size(), expected) << text;
    }
  }
}

TEST(IncludeRules, RoomsThatStandSideBySide_DoNotSeeEachOther) {
  const std::vector<std::string> rooms{"TevInfo", "Check", "Analysis"};
  for (const std::string& room : rooms) {
    for (const std::string& other : rooms) {
      const std::string text = "#include \"Lbt/Tev/" + other + "/X.h\"";
      EXPECT_EQ(FaultsIn("src/Lbt/Tev/" + room + "/Y.cpp", text).size(), room == other ? 0U : 1U)
          << room << ": " << text;
    }
    EXPECT_EQ(FaultsIn("src/Lbt/Tev/" + room + "/Y.cpp", "#include \"Lbt/Tev/Tree.h\""), Faults{});
    EXPECT_EQ(FaultsIn("src/Lbt/Tev/Tree.cpp", "#include \"Lbt/Tev/" + room + "/X.h\"").size(), 1U);
    EXPECT_EQ(FaultsIn("app/tev/Y.cpp", "#include \"Lbt/Tev/" + room + "/X.h\""), Faults{});
  }
}

TEST(IncludeRules, ExchangeAndView_SeeTheAnalysisAndNoOtherRoom) {
  for (const std::string upper : {"Exchange", "View"}) {
    const std::string other = upper == "View" ? "Exchange" : "View";
    for (const std::string& room :
         {std::string("TevInfo"), std::string("Check"), std::string("Analysis"), other}) {
      const auto faults = [](const std::string& of, const std::string& included) {
        return FaultsIn("src/Lbt/Tev/" + of + "/Y.cpp", "#include \"Lbt/Tev/" + included + "/X.h\"")
            .size();
      };
      EXPECT_EQ(faults(upper, room), room == "Analysis" ? 0U : 1U) << upper << ' ' << room;
      EXPECT_EQ(faults(room, upper), 1U) << upper << ' ' << room;
    }
  }
}

TEST(IncludeRules, IncludeOfTheProgramInTheLibrary_IsFound) {
  EXPECT_EQ(FaultsIn("src/Lbt/Tev/TevInfo/Summary.cpp", "#include \"TevInfo/RunDriver.h\"\n"),
            Faults{"src/Lbt/Tev/TevInfo/Summary.cpp:1: layer report includes "
                   "\"TevInfo/RunDriver.h\" of layer app"});
}

TEST(IncludeRules, ProgramIncludingAllLayers_IsAllowed) {
  EXPECT_EQ(FaultsIn("app/TevInfo/RunDriver.cpp",
                     "#include \"TevInfo/RunDriver.h\"\n#include \"Lbt/Tev/TevInfo/Summary.h\"\n"
                     "#include \"Lbt/Util/Exception.h\"\n#include <zlib.h>\n"),
            Faults{});
}

TEST(IncludeRules, TestIncludingMoreThanItsLayer_IsFound) {
  EXPECT_EQ(
      FaultsIn("tests/lbf/BlockTest.cpp",
               "#include \"support/ByteWriter.h\"\n#include \"Lbt/Lbf/Block.h\"\n"
               "#include \"Lbt/Tev/Tree.h\"\n"),
      Faults{"tests/lbf/BlockTest.cpp:3: layer lbf includes \"Lbt/Tev/Tree.h\" of layer tev"});
}

TEST(IncludeRules, ProductCodeInTheHelpersOfTheTests_IsFound) {
  EXPECT_EQ(FaultsIn("tests/support/ByteWriter.cpp", "#include \"Lbt/Util/StoredNumbers.h\"\n"),
            Faults{"tests/support/ByteWriter.cpp:1: layer none includes "
                   "\"Lbt/Util/StoredNumbers.h\" of layer util"});
}

TEST(IncludeRules, HelpersOfTheTestsInTheProduct_AreFound) {
  EXPECT_EQ(FaultsIn("src/Lbt/Lbf/Block.cpp", "#include \"support/ByteWriter.h\"\n"),
            Faults{"src/Lbt/Lbf/Block.cpp:1: \"support/ByteWriter.h\" is for tests only"});
}

TEST(IncludeRules, FuzzersAndBenchmarks_MayUseTheLibraryAndTheHelpersOfTheTests) {
  const std::string text =
      "#include \"Target.h\"\n#include \"Lbt/Tev/TevInfo/Summary.h\"\n"
      "#include \"support/ModelWriter.h\"\n";
  EXPECT_EQ(FaultsIn("fuzz/Target.cpp", text), Faults{});
  EXPECT_EQ(FaultsIn("bench/Inflate.cpp", text), Faults{});
}

TEST(IncludeRules, FuzzersAndBenchmarksOnAProgramOrOnTheTestFramework_AreFound) {
  EXPECT_EQ(FaultsIn("fuzz/targets/dump.cpp", "#include \"TevInfo/RunDriver.h\"\n"),
            Faults{"fuzz/targets/dump.cpp:1: layer library includes \"TevInfo/RunDriver.h\" of "
                   "layer app"});
  EXPECT_EQ(FaultsIn("bench/Start.cpp", "#include <gtest/gtest.h>\n"),
            Faults{"bench/Start.cpp:1: \"gtest/gtest.h\" is for tests only"});
}

TEST(IncludeRules, PathsAroundTheIncludeRoots_AreFound) {
  EXPECT_EQ(
      FaultsIn("src/Lbt/Util/ToString.cpp", "#include \"../Log/Raise.h\"\n"),
      Faults{"src/Lbt/Util/ToString.cpp:1: \"../Log/Raise.h\" goes around the include roots"});
  EXPECT_EQ(FaultsIn("src/Lbt/Util/ToString.cpp", "#include \"Lbt/Util/../Log/Raise.h\"\n").size(),
            1U);
}

TEST(IncludeRules, UnusualSpelling_IsReadAsTheCompilerReadsIt) {
  EXPECT_EQ(
      FaultsIn("src/Lbt/Util/ToString.cpp", "  #\tinclude<Lbt/Log/Raise.h> // why\r\n").size(), 1U);
  EXPECT_EQ(FaultsIn("src/Lbt/Util/ToString.cpp", "// #include \"Lbt/Log/Raise.h\"").size(), 0U);
}

TEST(IncludeRules, UnknownFolders_AreFound) {
  EXPECT_EQ(FaultsIn("src/Lbt/Net/Socket.cpp", ""),
            Faults{"src/Lbt/Net/Socket.cpp:0: is in no layer"});
  EXPECT_EQ(FaultsIn("app/TevInfo/main.cpp", "#include \"Lbt/Net/Socket.h\"\n"),
            Faults{"app/TevInfo/main.cpp:1: \"Lbt/Net/Socket.h\" is in no layer"});
}

}  // namespace
}  // namespace layout
