// How a run takes its arguments.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

constexpr const char* kLbFile = "include/Lbt/Lbf/LbFile";

class CommandLineRun : public TevInfoRun {
 protected:
  void ExpectUsage(const Outcome& outcome) const {
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output,
              "Usage: " TEVINFO_PROGRAM " [options] <tev_file_path> [output_file_path]\n");
    EXPECT_EQ(outcome.error, Notice());
    EXPECT_EQ(dir.EntryCount(), entriesBefore);
  }

  /// A run that took "path" for the model and could not open it.
  void ExpectNotOpened(const Outcome& outcome, const std::string& path) const {
    ExpectFailed(outcome,
                 Failure("Miscelleneous Error", "Unable to open file \"" + path + "\"", kLbFile));
  }

  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string document = SmallReport().Document(bytes.size());
  const std::size_t entriesBefore = dir.EntryCount();
};

TEST_F(CommandLineRun, NoArguments_PrintTheUsage) { ExpectUsage(Run({})); }

TEST_F(CommandLineRun, OnlyOptions_PrintTheUsage) {
  ExpectUsage(Run({"--ekm-meta-data"}));
  ExpectUsage(Run({"--extract-data", "--help", "--"}));
}

TEST_F(CommandLineRun, Usage_ComesAfterTheNoticeOfTheLog) {
  const int file = ::open((dir / "both").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const Outcome outcome =
      Run({}, {.output = Redirect::ToDescriptor(file), .error = Redirect::ToDescriptor(file)});
  ::close(file);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(dir.Read("both"),
            Notice() + "Usage: " TEVINFO_PROGRAM " [options] <tev_file_path> [output_file_path]\n");
}

TEST_F(CommandLineRun, Usage_LeavesAnEmptyLog) {
  EXPECT_EQ(Run({}).log, "");
  EXPECT_TRUE(dir.Has("log/TevInfo_trace.log"));
}

TEST_F(CommandLineRun, Model_IsReportedOn) { ExpectReport(Run({model}), document); }

TEST_F(CommandLineRun, UnknownLongOptions_AreIgnored) {
  ExpectReport(Run({"--help", "--version", "--ekm-meta-data=1", "--ekm-meta-dat", "--EXTRACT-DATA",
                    model, "--after"}),
               document);
  EXPECT_EQ(dir.EntryCount(), entriesBefore);
}

TEST_F(CommandLineRun, ShortOption_IsTakenForTheModel) {
  ExpectNotOpened(Run({"-v", model}), "-v");
  ExpectNotOpened(Run({"-h"}), "-h");
  EXPECT_EQ(ReadFile(model), bytes);
}

TEST_F(CommandLineRun, OneDashAndAnEmptyArgument_AreTakenForTheModel) {
  ExpectNotOpened(Run({"-"}), "-");
  ExpectNotOpened(Run({""}), "");
}

TEST_F(CommandLineRun, ShortOptionAfterTheModel_IsTakenForTheOutput) {
  ExpectReport(Run({model, "-v"}), "");
  EXPECT_EQ(dir.Read("-v"), document);
}

TEST_F(CommandLineRun, FurtherArguments_AreIgnored) {
  ExpectReport(Run({model, "first.xml", "second.xml", "third.xml"}), "");
  EXPECT_EQ(dir.Read("first.xml"), document);
  EXPECT_EQ(dir.EntryCount(), entriesBefore + 1);
}

TEST_F(CommandLineRun, OptionAfterTheModel_Counts) {
  ExpectReport(Run({model, "--ekm-meta-data"}), "");
  EXPECT_TRUE(dir.Read("ekm-meta-data.xml").starts_with("<ekmMetaData:meta-data xmlns:"));
}

TEST_F(CommandLineRun, TwoDashes_DoNotEndTheOptions) {
  ExpectReport(Run({"--", "--ekm-meta-data", "--", model}), "");
  EXPECT_TRUE(dir.Has("ekm-meta-data.xml"));
}

TEST_F(CommandLineRun, BothFormats_TheLaterOneWins) {
  ExpectReport(Run({"--extract-data", "--ekm-meta-data", model}), "");
  EXPECT_TRUE(dir.Read("ekm-meta-data.xml").starts_with("<ekmMetaData:meta-data xmlns:"));
}

TEST_F(CommandLineRun, BothFormatsTheOtherWayRound_TheLaterOneWins) {
  const Outcome outcome = Run({"--ekm-meta-data", model, "--extract-data"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_FALSE(dir.Has("ekm-meta-data.xml"));
  EXPECT_TRUE(outcome.output.starts_with(kMemoryLine));
  EXPECT_EQ(outcome.output.find("metadata"), std::string::npos);
}

TEST_F(CommandLineRun, EkmForm_IgnoresTheOutputPath) {
  ExpectReport(Run({"--ekm-meta-data", model, "other.xml"}), "");
  EXPECT_TRUE(dir.Has("ekm-meta-data.xml"));
  EXPECT_FALSE(dir.Has("other.xml"));
}

TEST_F(CommandLineRun, DataExtraction_UsesTheOutputPath) {
  ExpectReport(Run({"--extract-data", model, "data.txt"}), "");
  EXPECT_TRUE(dir.Has("data.txt"));
}

}  // namespace
}  // namespace tevtest
