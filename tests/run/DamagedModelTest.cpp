// Models that are damaged: where it ends the run, and where the report goes on without.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <string>

#include "run/DamagedModels.h"
#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/ByteWriter.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class DamagedModelRun : public TevInfoRun, public ::testing::WithParamInterface<DamagedModel> {};

TEST_P(DamagedModelRun, Fault_EndsTheRunWithItsText) {
  const std::string path = dir.Write("damaged.tev", GetParam().bytes);
  for (const char* option : {"--", "--ekm-meta-data", "--extract-data"}) {
    ExpectFailed(Run({option, path, "report"}), GetParam().failure);
  }
  EXPECT_FALSE(dir.Has("report"));
  EXPECT_FALSE(dir.Has("ekm-meta-data.xml"));
}

INSTANTIATE_TEST_SUITE_P(Faults, DamagedModelRun, ::testing::ValuesIn(DamagedModels()),
                         [](const auto& model) { return model.param.name; });

class GatheringRun : public TevInfoRun {
 protected:
  [[nodiscard]] std::string Write(const ModelWriter& changed) const {
    return dir.Write("model.tev", changed.Build());
  }

  /// A run that wrote the report after "text" on standard error.
  void ExpectReportAfter(const Outcome& outcome, const std::string& text,
                         const std::string& document) const {
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, Notice() + text);
    EXPECT_EQ(outcome.output, std::string(kMemoryLine) + document);
  }

  ModelWriter model = SmallModel();
  SmallReport report;
  const std::string notFound =
      Failure("Element Not Found", "Element Not Found", "include/Lbt/Adt/AdtTree");
};

TEST_F(GatheringRun, LaterShapeWithoutAGeometry_KeepsWhatCameBefore) {
  model.At(kSmallShape2).firstChild = 999;
  const std::string path = Write(model);
  ExpectReportAfter(Run({path}), notFound, report.Document(ReadFile(path).size()));
}

TEST_F(GatheringRun, FirstShapeWithoutAGeometry_EndsTheWalkThere) {
  model.At(kSmallShape1).firstChild = 0;
  report.summary = NativeEntry("Category", "Unknown") + NativeEntry("Number of Parts", "1") +
                   NativeEntry("Number of Cut-sections", "0") +
                   NativeEntry("Number of Iso-surfaces", "0") +
                   NativeEntry("Number of Iso-volumes", "0") +
                   NativeEntry("Number of Flow-lines", "0") + NativeEntry("Parts", "Frame");
  const std::string path = Write(model);
  ExpectReportAfter(Run({path}), notFound, report.Document(ReadFile(path).size()));
}

TEST_F(GatheringRun, FailureWhileGathering_DoesNotKeepTheReportFromItsFile) {
  model.At(kSmallShape2).firstChild = 999;
  const std::string path = Write(model);
  ExpectReportAfter(Run({path, "report.xml"}), notFound, "");
  EXPECT_EQ(dir.Read("report.xml"), report.Document(ReadFile(path).size()));
}

TEST_F(GatheringRun, CorruptHeavyBlock_IsMetOnlyByTheDataExtraction) {
  model.SetLayout(kHeavyData, {.split = StreamLayout::Split::BlockPerRecord,
                               .packing = StreamLayout::Packing::Compressed});
  ContainerWriter container = model.ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    if (block.name != kHeavyData)
      continue;
    block.storedBytes = Compressed(block.payload);  // its length stays true
    block.storedBytes->back() = static_cast<char>(block.storedBytes->back() ^ 1);
    break;
  }
  const std::string bytes = container.Build().bytes;
  const std::string path = dir.Write("model.tev", bytes);
  ExpectReport(Run({path}), report.Document(bytes.size()));

  const Outcome outcome = Run({"--extract-data", path});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error,
            Notice() + "Error -3 while uncompressing block \nException: std::exception\n");
  EXPECT_TRUE(outcome.output.starts_with(kMemoryLine));
  EXPECT_EQ(outcome.output.find("metadata"), std::string::npos);
}

TEST_F(GatheringRun, VariablePastItsStream_IsMetOnlyByTheDataExtraction) {
  model.VariableAt(kSmallMesh1, 1).heavyPosition = 1000000;
  const std::string path = Write(model);
  ExpectReport(Run({path}), report.Document(ReadFile(path).size()));

  const Outcome outcome = Run({"--extract-data", path, "data.txt"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error,
            Notice() + Failure("Out of Bounds", "Invalid block position", "include/Lbt/Lbf/Block"));
  EXPECT_EQ(outcome.output, kMemoryLine);
  EXPECT_TRUE(dir.Has("data.txt"));
}

TEST_F(GatheringRun, NoRecords_AreAnEmptyModel) {
  for (const std::uint32_t count : {0U, 0xFFFFFFFFU, 0x80000000U}) {
    SCOPED_TRACE(count);
    const std::string bytes =
        ContainerWriter().AddRaw(kTree, ByteWriter().U32(count).Bytes()).Build().bytes;
    ExpectReport(Run({dir.Write("empty.tev", bytes)}),
                 NativeDocument(EmptyModelEntries(std::to_string(bytes.size()) + " B")));
  }
}

TEST_F(GatheringRun, RecordedLengthAboveTheContents_IsNoFaultWhereItIsRead) {
  ContainerWriter container = model.ToContainer();
  for (BlockSpec& block : container.Blocks()) {
    block.compressed = true;
    block.recordedLength = 0xFFFFFFFF;
  }
  const std::string bytes = container.Build().bytes;
  ExpectReport(Run({dir.Write("model.tev", bytes)}), report.Document(bytes.size()));
}

class AssertionRun : public GatheringRun {
 protected:
  void ExpectAssertion(const std::vector<std::string>& arguments) const {
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.signal, SIGABRT);
    EXPECT_EQ(outcome.output, "");
    EXPECT_TRUE(outcome.error.starts_with(Notice()));
    EXPECT_TRUE(outcome.error.ends_with("Assertion `0 != pTevGeometry' failed.\n"));
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 2);
  }
};

TEST_F(AssertionRun, FirstChildThatIsNoGeometry_EndsTheRunByAbort) {
  for (const NodeRef child : {kSmallRoot, kSmallShape1, kSmallNodeSets}) {
    SCOPED_TRACE(child);
    model.At(kSmallShape2).firstChild = child;
    const std::string path = Write(model);
    ExpectAssertion({path, "report.xml"});
    ExpectAssertion({"--ekm-meta-data", path});
    ExpectAssertion({"--extract-data", path, "report.xml"});
  }
  EXPECT_FALSE(dir.Has("report.xml"));
  EXPECT_FALSE(dir.Has("ekm-meta-data.xml"));
}

TEST_F(AssertionRun, FirstChildWithoutANode_EndsTheRunByAbort) {
  model.At(kSmallShape2).firstChild = model.AddEmpty("nothing", kSmallRoot);
  ExpectAssertion({Write(model)});
}

}  // namespace
}  // namespace tevtest
