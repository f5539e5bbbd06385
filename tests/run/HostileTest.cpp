// What small files that ask for far too much cost the programs: processor time, memory and log stay
// within what the file holds and what the run writes, whatever its records refer to.
//
// Not built with a sanitizer or with counters: both cost time and memory of their own.

#if !defined(TEVTEST_SANITIZED) && !defined(TEVTEST_COUNTED)

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/HostileModels.h"
#include "support/HostileRows.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

constexpr double kMebi = 1024 * 1024;
constexpr std::string_view kTooOften = "The model refers to its data too often";

/// One way to run a program on a model.
struct Work {
  std::string name;
  std::vector<std::string> command;
  bool mayTakeTimeForText = false;
  bool mayFindNothing = false;  ///< which is bad usage
  unsigned int models = 1;      ///< that it reads
};

struct Verb {
  std::string_view name;
  bool mayTakeTimeForText = false;
  bool writesJson = true;
};

constexpr std::array<Verb, 8> kVerbs{{{"list"},
                                      {"info"},
                                      {"tree", true},
                                      {"sets"},
                                      {"blocks", true},
                                      {"block", true, false},
                                      {"check"},
                                      {"cdf", true, false}}};

/// The verbs on fields, which have arguments of their own.
constexpr std::array<std::string_view, 5> kVerbsOnFields{"results", "values", "diff", "export",
                                                         "view"};

/// The verbs that read no model but "scan", which is tried with all that it can be asked for.
constexpr std::array<std::string_view, 5> kVerbsOnCatalogues{"scan", "merge", "find", "summary",
                                                             "query"};

/// A kind of hostile file as it is tried here.
struct Case {
  std::string_view row;
  std::string_view refusing{};       ///< the works that end with "reason", each after a blank
  HostileModel (*make)() = nullptr;  ///< else the full size, which may write or inflate much
  std::string_view reason = kTooOften;
};

[[nodiscard]] const HostileRow& RowOf(std::string_view name) {
  const auto& rows = HostileRows();
  return *std::find_if(rows.begin(), rows.end(),
                       [name](const HostileRow& row) { return row.name == name; });
}

class Hostile : public ::testing::TestWithParam<Case> {
 protected:
  /// The file is made in a child, whose memory would else count as that of the runs.
  Hostile() {
    const auto make = GetParam().make == nullptr ? RowOf(GetParam().row).full : GetParam().make;
    const RunResult made = RunForked([&] {
      const HostileModel hostile = make();
      dir.Write("model.tev", hostile.bytes);
      dir.Write("inflated", std::to_string(hostile.inflated));
      dir.Write("last", std::to_string(hostile.blocks - 1));
      return 0;
    });
    EXPECT_EQ(made.status, 0);
    inflated_ = std::stod(dir.Read("inflated"));
  }

  /// The command line of a verb on the file.
  [[nodiscard]] std::vector<std::string> CommandOf(const Verb& verb) const {
    std::vector<std::string> command{TEV_PROGRAM, std::string(verb.name), model};
    if (verb.name == "cdf")
      command.insert(command.end(), {"g", "-"});
    if (verb.name == "block")
      command.push_back(dir.Read("last"));
    return command;
  }

  void Try(const Work& work) const {
    SCOPED_TRACE(work.name);
    RunOptions options{.environment = {{"QUARLO_TEMP_PATH", dir.Path()}},
                       .workingDirectory = dir.Path(),
                       .hooks = {Limit(RLIMIT_CORE, 0)}};
    if (!IsRefusing(work.name))
      options.output = Redirect::Counted();
    const RunResult run = RunProgram(work.command, options);
    ExpectItsEnd(work, run);
    ExpectWithinBounds(work, run);
  }

 private:
  [[nodiscard]] static bool IsRefusing(const std::string& work) {
    return (std::string(GetParam().refusing) + " ").find(" " + work + " ") != std::string::npos;
  }

  static void ExpectItsEnd(const Work& work, const RunResult& run) {
    if (work.name == "scan") {  // whatever it finds is a row of the catalogue
      EXPECT_EQ(run.status, 0) << run.error;
      return;
    }
    const bool isTold = (run.output + run.error).find(GetParam().reason) != std::string::npos;
    EXPECT_EQ(isTold, IsRefusing(work.name)) << run.error;
    EXPECT_TRUE(GetParam().reason == kTooOften || run.error.find(kTooOften) == std::string::npos);
    EXPECT_EQ(run.signal, 0);
    // What is met while a dump is gathered is told and leaves the status alone. A check may find
    // damage, and an export may find no geometry or no time in a step.
    const bool isGathering = work.name == "dump" && !IsRefusing("report");
    if (work.mayFindNothing) {
      EXPECT_EQ(run.status == 2, IsRefusing(work.name)) << run.error;
    } else if (work.name != "check" && work.name != "cdf") {
      EXPECT_EQ(run.status, IsRefusing(work.name) && !isGathering ? 2 : 0) << run.error;
    }
  }

 private:
  void ExpectWithinBounds(const Work& work, const RunResult& run) const {
    constexpr double kSecondsForMebibyte = 0.01;
    constexpr double kBusy = 4;  // a processor that others share does less in its time
    const double text = static_cast<double>(run.outputSize) / kMebi;
    const double seconds = std::chrono::duration<double>(run.processorTime).count();
    EXPECT_LE(seconds, kBusy * (2 * work.models +
                                (work.mayTakeTimeForText ? kSecondsForMebibyte * text : 0)));
    EXPECT_LE(static_cast<double>(run.peakKiB) * 1024, 256 * kMebi + work.models * 20 * inflated_);
    const std::string log = dir / "TevInfo_trace.log";
    const bool hasLog = std::filesystem::exists(log);
    EXPECT_LE(hasLog ? static_cast<double>(std::filesystem::file_size(log)) : 0, kMebi);
  }

  double inflated_ = 0;

 protected:
  const TempDir dir;
  const std::string model = dir / "model.tev";
};

TEST_P(Hostile, Report_StaysWithinWhatTheFileHolds) {
  Try({"report", {TEVINFO_PROGRAM, model}});
  Try({"ekm", {TEVINFO_PROGRAM, "--ekm-meta-data", model}});
}

TEST_P(Hostile, Dump_StaysWithinWhatTheFileHolds) {
  Try({"dump", {TEVINFO_PROGRAM, "--extract-data", model}, true});
}

TEST_P(Hostile, Verbs_StayWithinWhatTheFileHolds) {
  for (const Verb& verb : kVerbs) {
    const std::string name(verb.name);
    std::vector<std::string> command = CommandOf(verb);
    Try({name, command, verb.mayTakeTimeForText});
    if (verb.writesJson) {
      command.insert(command.begin() + 2, "--json");
      Try({name, command, verb.mayTakeTimeForText});
    }
  }
}

TEST_P(Hostile, VerbsOnFields_StayWithinWhatTheFileHolds) {
  Try({"results", {TEV_PROGRAM, "results", model}, true});
  Try({"json-results", {TEV_PROGRAM, "results", "--json", model}, true});
  Try({"csv-results", {TEV_PROGRAM, "results", "--csv", model}, true});
  Try({"stats", {TEV_PROGRAM, "results", "--stats", model}, true});
  Try({"json-stats", {TEV_PROGRAM, "results", "--stats", "--json", model}, true});
  Try({"values", {TEV_PROGRAM, "values", model}, true, true});
  Try({"mesh", {TEV_PROGRAM, "values", "--mesh", model}, true, true});
  Try({"diff", {TEV_PROGRAM, "diff", model, model}, true, false, 2});
  Try({"json-diff", {TEV_PROGRAM, "diff", "--json", model, model}, true, false, 2});
  Try({"export", {TEV_PROGRAM, "export", model, "-o", dir / "out.xdmf"}, false, true});
  Try({"page", {TEV_PROGRAM, "view", model, "-o", dir / "out.html"}});
  Try({"picture", {TEV_PROGRAM, "view", model, "-o", dir / "out.png"}, false, true});
  Try({"scan",
       {TEV_PROGRAM, "scan", model, "--catalogue", dir / "a.db", "--stats", "--check", "--hash"},
       false,
       false,
       3});
}

/// Compares two models, the ids of whose nodes are in opposite orders.
class HostilePair : public ::testing::Test {
 protected:
  [[nodiscard]] RunResult Compare(const IdsOfSteps& a, const IdsOfSteps& b) const {
    const RunResult made = RunForked([&] {
      dir.Write("a.tev", IdsInTurn(a).bytes);
      dir.Write("b.tev", IdsInTurn(b).bytes);
      return 0;
    });
    EXPECT_EQ(made.status, 0);
    RunResult run = RunProgram({TEV_PROGRAM, "diff", dir / "a.tev", dir / "b.tev"});
    EXPECT_LE(std::chrono::duration<double>(run.processorTime).count(), 4);
    EXPECT_LE(run.peakKiB, 256 * 1024);
    return run;
  }

  const TempDir dir;
};

TEST_F(HostilePair, IdsInFewOrders_AreMatchedOnceEach) {
  const RunResult run = Compare({.steps = 1500, .nodes = 3000},
                                {.steps = 1500, .nodes = 3000, .places = 2, .areDescending = true});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.error, "");
}

TEST_F(HostilePair, IdsInManyOrders_AreTooMuch) {
  const RunResult run =
      Compare({.steps = 1560, .nodes = 2000, .places = 40},
              {.steps = 1560, .nodes = 2000, .places = 39, .areDescending = true});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.error.find(kTooOften), std::string::npos) << run.error;
}

/// Shows one mesh and the same few numbers again and again.
class HostileView : public ::testing::Test {
 protected:
  void ExpectSmall(std::size_t shapes, std::size_t steps) const {
    constexpr std::size_t kNodes = 400000;
    const RunResult made = RunForked([&] {
      dir.Write("model.tev", ResultsOnOneMesh(shapes, steps, kNodes).bytes);
      return 0;
    });
    EXPECT_EQ(made.status, 0);
    for (const char* name : {"out.html", "out.png"}) {
      SCOPED_TRACE(name);
      const RunResult run = RunProgram({TEV_PROGRAM, "view", dir / "model.tev", "-o", dir / name});
      EXPECT_EQ(run.status, 0) << run.error;
      EXPECT_LE(std::chrono::duration<double>(run.processorTime).count(), 8);
      EXPECT_LE(run.peakKiB, 512 * 1024);
    }
  }

  const TempDir dir;
};

TEST_F(HostileView, ManyStepsOfTheSameNumbers_AreKeptOnce) { ExpectSmall(1, 2000); }

TEST_F(HostileView, ManyPartsOfOneMesh_AreDrawnOnce) { ExpectSmall(2000, 1); }

TEST(HostileVerbs, EveryVerb_IsTried) {
  const std::string help = RunProgram({TEV_PROGRAM, "help"}).output;
  std::istringstream lines(help.substr(help.find("Verbs:\n")));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && !line.empty()) {
    const std::string name = line.substr(2, line.find(' ', 2) - 2);
    const bool isOnFields =
        std::find(kVerbsOnFields.begin(), kVerbsOnFields.end(), name) != kVerbsOnFields.end();
    const bool isOnCatalogues = std::find(kVerbsOnCatalogues.begin(), kVerbsOnCatalogues.end(),
                                          name) != kVerbsOnCatalogues.end();
    EXPECT_TRUE(isOnFields || isOnCatalogues ||
                std::any_of(kVerbs.begin(), kVerbs.end(),
                            [&name](const Verb& verb) { return verb.name == name; }))
        << name;
  }
}

constexpr std::string_view kAllVerbs =
    " list info tree sets check cdf results json-results csv-results stats json-stats values mesh"
    " diff json-diff export page picture blocks block";
constexpr std::string_view kAllThatReadTrees =
    " report ekm dump list info tree sets check cdf results json-results csv-results stats"
    " json-stats values mesh diff json-diff export page picture";
constexpr std::string_view kAll =
    " report ekm dump list info tree sets check cdf results json-results csv-results stats"
    " json-stats values mesh diff json-diff export page picture blocks block";

const std::vector<Case> kCases{
    {.row = "light-data-to-and-fro",
     .make = [] { return LightDataToAndFro(std::size_t{20} << 20U, 70000); }},
    {.row = "old-geometry-to-and-fro"},
    {.row = "geometries-on-one-light-data", .refusing = kAllThatReadTrees},
    {.row = "geometries-without-attributes"},
    {.row = "node-sets-on-one-heavy-data"},
    {.row = "padded-links", .refusing = kAllThatReadTrees},
    {.row = "padded-old-variables", .refusing = kAllThatReadTrees},
    {.row = "padded-node-sets", .refusing = kAllThatReadTrees},
    {.row = "many-node-sets-on-one-heavy-data", .refusing = " info sets page"},
    {.row = "element-indices-that-overlap", .refusing = " dump"},
    {.row = "overlapping-node-sets", .refusing = kAllThatReadTrees},
    {.row = "long-node-set-names", .refusing = kAllThatReadTrees},
    {.row = "read-at-once-on-same-bytes",
     .make = [] { return ReadAtOnceOnSameBytes(100, std::size_t{1} << 20U); }},
    {.row = "variables-on-same-data",
     .make = [] { return VariablesOnSameData(100, std::size_t{4} << 20U); }},
    {.row = "shapes-of-one-geometry",
     .refusing =
         " dump results json-results csv-results stats json-stats values diff json-diff page"
         " picture"},
    {.row = "shapes-of-one-table", .refusing = " dump"},
    // Small, since dump, export and values write them in full. What is worked on again for each
    // step is too much all the same.
    {.row = "meshes-on-same-bytes", .make = [] { return MeshesOnSameBytes(300, 5000); }},
    {.row = "damaged-faces-on-same-bytes",
     .refusing = " cdf stats json-stats mesh diff json-diff export page picture",
     .make = [] { return DamagedFacesOnSameBytes(300, 5000); },
     .reason = "A face names a node that the mesh has not"},
    {.row = "ids-in-turn",
     .make =
         [] {
           return IdsInTurn({1500, 3000});
         }},
    {.row = "faces-of-various-points",
     .refusing = " diff json-diff export page",
     .make = [] { return FacesOfVariousPoints(300, 5000); }},
    {.row = "shapes-of-a-long-name", .refusing = " info json-results json-stats page"},
    {.row = "links-of-a-long-name", .refusing = " dump"},
    {.row = "nested-groups"},
    {.row = "nested-parts"},
    {.row = "empty-raw-blocks"},
    {.row = "empty-compressed-blocks"},
    {.row = "tiny-blocks", .make = [] { return TinyBlocks(100000); }},
    // That these are refused before they are inflated is a matter of the container's tests.
    {.row = "empty-index-entries",
     .refusing = kAll,
     .make = [] { return EmptyIndexEntries(8000000); },
     .reason = "The index has more entries than the file can hold"},
    {.row = "streams-of-short-names",
     .refusing = kAllVerbs,
     .make = [] { return StreamsOfShortNames(50000); },
     .reason = "there is no stream"},
    {.row = "names-of-one-hash"},
};

TEST(HostileCases, EveryRow_IsTried) {
  for (const HostileRow& row : HostileRows()) {
    EXPECT_TRUE(std::any_of(kCases.begin(), kCases.end(), [&row](const Case& tried) {
      return tried.row == row.name;
    })) << row.name;
  }
  EXPECT_EQ(kCases.size(), HostileRows().size());
}

INSTANTIATE_TEST_SUITE_P(Rows, Hostile, ::testing::ValuesIn(kCases), [](const auto& tried) {
  std::string name(tried.param.row);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

}  // namespace
}  // namespace tevtest

#endif
