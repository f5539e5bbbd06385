// The data dump of whole runs: of models of real size against the numbers that they were made from,
// and of models whose data is damaged.

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "run/TevInfoRun.h"
#include "support/ContainerWriter.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

/// Whether there is a Python to compare with.
bool HasPython() {
  try {
    return RunProgram({"python3", "--version"}).status == 0;
  } catch (const std::runtime_error&) {
    return false;
  }
}

std::string ExamplePath(const std::string& name) {
  return std::string(TEVINFO_EXAMPLES_DIR) + "/" + name;
}

// ------------------------------------------------------------------ real models

class DumpOfExample : public TevInfoRun, public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    if (!HasPython()) {
      FAIL() << "python3 is missing";
    }
    ExpectReport(Run({"--extract-data", model, "dump.txt"}), "");
  }

  /// Compares a file of the scratch directory, value by value, with what the model was made from.
  [[nodiscard]] RunResult Compare(const std::string& dump) const {
    return RunProgram({"python3", std::string(TEVINFO_SOURCE_DIR) + "/tests/run/compare_dump.py",
                       ExamplePath(std::string(GetParam()) + ".truth.json.gz"), dir / dump});
  }

  const std::string model = ExamplePath(std::string(GetParam()) + ".tev");
};

TEST_P(DumpOfExample, HasEveryValueThatTheModelWasMadeFrom) {
  const RunResult comparison = Compare("dump.txt");
  EXPECT_EQ(comparison.status, 0) << comparison.output << comparison.error;
  EXPECT_NE(comparison.output, "");
}

TEST_P(DumpOfExample, OnStandardOutput_IsTheSameAfterTheMemoryLine) {
  const Outcome outcome = Run({"--extract-data", model});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, Notice());
  EXPECT_TRUE(outcome.output == std::string(kMemoryLine) + dir.Read("dump.txt"));
}

/// One digit of the last value, or the last line feed: the comparison takes the whole text.
TEST_P(DumpOfExample, Comparison_SeesASingleCharacter) {
  std::string dump = dir.Read("dump.txt");
  const std::size_t digit = dump.find_last_of("0123456789");
  ASSERT_NE(digit, std::string::npos);
  dir.Write("short.txt", dump.substr(0, dump.size() - 1));
  dump[digit] = dump[digit] == '9' ? '0' : '9';
  dir.Write("altered.txt", dump);
  EXPECT_EQ(Compare("altered.txt").status, 1);
  EXPECT_EQ(Compare("short.txt").status, 1);
}

INSTANTIATE_TEST_SUITE_P(Examples, DumpOfExample, ::testing::Values("bracket", "heatsink"),
                         [](const auto& example) { return std::string(example.param); });

// ------------------------------------------------------------------ small models

class DumpRun : public TevInfoRun {
 protected:
  /// Runs the dump of a model in a file.
  [[nodiscard]] Outcome Dump(const std::string& bytes) const {
    return Run({"--extract-data", dir.Write("model.tev", bytes)});
  }

  /// A dump that ends well after "message" on standard error.
  void ExpectDump(const Outcome& outcome, std::string_view message, std::string_view dump) const {
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, Notice() + std::string(message));
    EXPECT_EQ(outcome.output, std::string(kMemoryLine) + std::string(dump));
  }
};

TEST_F(DumpRun, TwoGeometriesOfOnePart_ArePrintedAsOneGroup) {
  ExpectDump(Dump(SmallModel().Build()), "",
             "Analysis : \n"
             "    model\n"
             "\n"
             "Element Sets : \n"
             "    mesh 1\n"
             "\n"
             "Results : \n"
             "    Displacement    3\n"
             "    Element Ids    0\n"
             "    Temperature    1\n"
             "\n"
             "Instances : \n"
             "    \n"
             "    Time = 0.5\n"
             "\n"
             "    Coordinates : \n"
             "             6             2             0             0\n"
             "             7             3             0             0\n"
             "             8             3             1             0\n"
             "             9             2             1             0\n"
             "            10           2.5           0.5             1\n"
             "\n"
             "    Connectivity : \n"
             "         5           0           1           2           3           4\n"
             "\n"
             "Data : \n"
             "    Results: Element Ids, Element Ids, Node Ids, Node Ids\n"
             "    Values : \n"
             "             1             6\n"
             "             2             7\n"
             "             3             8\n"
             "             4             9\n"
             "             5            10\n"
             "\n"
             "Data : \n"
             "    Instance : Time = 0.5\n"
             "    Results: Displacement, Temperature, Displacement, Node Ids, Node Ids\n"
             "    Values : \n"
             "             0             0             0        293.25             1"
             "             2             3             1             6\n"
             "         0.125             0             0           294             4"
             "             5             6             2             7\n"
             "             0         -0.25             0         295.5             7"
             "             8             9             3             8\n"
             "             0             0           0.5           296            10"
             "            11            12             4             9\n"
             "           1.5          -2.5         1e-06    1.23457e+06            13"
             "            14            15             5            10\n"
             "\n");
}

/// A result that is linked to the first data set of its group.
TEST_F(DumpRun, LinkedVariable_AddsTheNameOfItsGeometryAlone) {
  ModelWriter model;
  const NodeRef part = model.AddGroup("Part", 0);
  const NodeRef owner = model.AddGeometry("owner", model.AddShape("a", part));
  const NodeRef user = model.AddGeometry("user", model.AddShape("b", part));
  model.AddVariable(owner, Variable::Floats("Heat", kScalarResult, 1, {7}));
  model.AddVariable(owner, Variable::Floats("Node Ids", kIds, 1, {1}));
  model.AddVariable(user, Variable::Link("Heat", kScalarResult, owner, 0));
  model.AddVariable(user, Variable::Link("Heat", kScalarResult, owner, 9));
  model.AddVariable(user, Variable::Link("Heat", kScalarResult, user, 0));
  ExpectDump(Dump(model.Build()), "",
             "Analysis : \n    Part\n\nElement Sets : \n    owner\n    user\n\n"
             "Results : \n    Heat    1\n\nInstances : \n    \n\n"
             "    Coordinates : \n             1\n\n    Connectivity : \n\n"
             "Data : \n    Results: Heat, Node Ids\n    Values : \n"
             "             7             1\n\n");
}

TEST_F(DumpRun, ModelWithoutShapes_HasNoDump) {
  ModelWriter model;
  model.AddGroup("Part", 0);
  ExpectDump(Dump(model.Build()), "", "");
}

// ------------------------------------------------------------------ damage

/// The small model as far as it is gathered when its sixth variable fails.
constexpr std::string_view kGatheredBefore =
    "Analysis : \n"
    "    model\n"
    "\n"
    "Element Sets : \n"
    "    mesh 1\n"
    "\n"
    "Results : \n"
    "    Element Ids    0\n"
    "\n"
    "Instances : \n"
    "    \n"
    "\n"
    "    Coordinates : \n"
    "             1             0             0             0\n"
    "             2             1             0             0\n"
    "             3             0             1             0\n"
    "             4             0             0             1\n"
    "             5             1             1           1.5\n"
    "\n"
    "    Connectivity : \n"
    "         4           0           1           2           3\n"
    "         4           1           2           3           4\n"
    "\n"
    "Data : \n"
    "    Results: Element Ids, Node Ids\n"
    "    Values : \n"
    "             1\n"
    "             2\n"
    "             3\n"
    "             4\n"
    "             5\n"
    "\n";

constexpr std::size_t kDamaged = 5;

TEST_F(DumpRun, DataOutsideItsStream_EndsTheWalk) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, kDamaged).heavyPosition = 1U << 20U;
  const Outcome outcome = Dump(model.Build());
  ExpectDump(outcome, Failure("Out of Bounds", "Invalid block position", "include/Lbt/Lbf/Block"),
             kGatheredBefore);
}

TEST_F(DumpRun, DataThatRunsOut_EndsTheWalk) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, kDamaged).byteCount = 4000000000U;
  ExpectDump(Dump(model.Build()),
             Failure("Out of Bounds", "Not enough bytes in the block", "include/Lbt/Lbf/Block"),
             kGatheredBefore);
}

/// The blocks of a stream in the order of the index.
std::vector<BlockSpec*> BlocksOf(ContainerWriter& container, std::string_view stream) {
  std::vector<BlockSpec*> blocks;
  for (BlockSpec& block : container.Blocks()) {
    if (block.name == stream) {
      blocks.push_back(&block);
    }
  }
  return blocks;
}

TEST_F(DumpRun, DataThatDoesNotInflate_EndsTheWalk) {
  ModelWriter model = SmallModel();
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  ContainerWriter container = model.ToContainer();
  BlockSpec& block = *BlocksOf(container, kHeavyData).at(kDamaged);
  std::string stored = Compressed(block.payload);
  stored.back() = static_cast<char>(stored.back() ^ 1);
  block.storedBytes = stored;
  ExpectDump(Dump(container.Build().bytes),
             "Error -3 while uncompressing block \nException: std::exception\n", kGatheredBefore);
}

TEST_F(DumpRun, DamageInTheFirstVariable_LeavesNoDump) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 0).heavyPosition = 1U << 20U;
  ExpectDump(Dump(model.Build()),
             Failure("Out of Bounds", "Invalid block position", "include/Lbt/Lbf/Block"), "");
}

TEST_F(DumpRun, DamagedData_DoesNotMatterToOtherReports) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, kDamaged).heavyPosition = 1U << 20U;
  const Outcome outcome = Run({dir.Write("model.tev", model.Build())});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, Notice());
}

}  // namespace
}  // namespace tevtest
