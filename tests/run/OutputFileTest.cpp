// Where a report goes, and that it never goes into the model.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <string>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

class OutputFile : public TevInfoRun {
 protected:
  OutputFile() { fs::last_write_time(model, written); }

  void ExpectModelUntouched() const {
    EXPECT_EQ(ReadFile(model), bytes);
    EXPECT_EQ(fs::last_write_time(model), written);
  }

  const std::string bytes = SmallModel().Build();
  const std::string model = dir.Write("small.tev", bytes);
  const std::string document = SmallReport().Document(bytes.size());
  // Far from now and in whole seconds, so that any change shows.
  const fs::file_time_type written =
      std::chrono::floor<std::chrono::seconds>(fs::last_write_time(model)) - std::chrono::hours(48);
};

TEST_F(OutputFile, NewFile_HoldsTheDocumentAlone) {
  ExpectReport(Run({model, "report.xml"}), "");
  EXPECT_EQ(dir.Read("report.xml"), document);
}

TEST_F(OutputFile, FormerContents_AreReplaced) {
  dir.Write("report.xml", std::string(100000, 'x'));
  ExpectReport(Run({model, "report.xml"}), "");
  EXPECT_EQ(dir.Read("report.xml"), document);
}

TEST_F(OutputFile, FormerContentsOfTheEkmFile_AreReplaced) {
  dir.Write("ekm-meta-data.xml", std::string(100000, 'x'));
  ExpectReport(Run({"--ekm-meta-data", model}), "");
  const std::string text = dir.Read("ekm-meta-data.xml");
  EXPECT_TRUE(text.starts_with("<ekmMetaData:meta-data "));
  EXPECT_TRUE(text.ends_with("</ekmMetaData:meta-data>\n"));
}

TEST_F(OutputFile, DirectoryThatIsMissing_SendsTheReportToStandardOutput) {
  ExpectReport(Run({model, "none/report.xml"}), document);
  EXPECT_FALSE(dir.Has("none"));
}

TEST_F(OutputFile, DirectoryAndEmptyPath_SendTheReportToStandardOutput) {
  ExpectReport(Run({model, dir.MakeDirectory("folder")}), document);
  ExpectReport(Run({model, ""}), document);
}

TEST_F(OutputFile, EkmFileThatIsADirectory_SendsTheReportToStandardOutput) {
  dir.MakeDirectory("ekm-meta-data.xml");
  const Outcome outcome = Run({"--ekm-meta-data", model});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.output.starts_with(std::string(kMemoryLine) + "<ekmMetaData:meta-data "));
}

TEST_F(OutputFile, FileWithoutPermission_SendsTheReportToStandardOutput) {
  const std::string locked = dir.Write("locked.xml", "kept");
  ::chmod(locked.c_str(), 0444);
  ExpectReport(RunUnprivileged({model, locked}), document);
  EXPECT_EQ(dir.Read("locked.xml"), "kept");
}

TEST_F(OutputFile, PipeWithoutAReader_SendsTheReportToStandardOutput) {
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
  ExpectReport(Run({model, "pipe"}), document);
}

TEST_F(OutputFile, PipeWithAReader_TakesTheReport) {
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
  const int reader = ::open((dir / "pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  ExpectReport(Run({model, "pipe"}), "");
  std::array<char, 65536> read{};
  const ssize_t count = ::read(reader, read.data(), read.size());
  ::close(reader);
  ASSERT_GE(count, 0);
  EXPECT_EQ(std::string(read.data(), static_cast<std::size_t>(count)), document);
}

TEST_F(OutputFile, ModelItself_CountsAsAFileThatCannotBeOpened) {
  ExpectReport(Run({model, model}), document);
  ExpectModelUntouched();
}

TEST_F(OutputFile, ModelUnderAnotherSpelling_IsNotWrittenTo) {
  ExpectReport(Run({model, "small.tev"}), document);
  ExpectReport(Run({model, logDirectory + "/..//./small.tev"}), document);
  ExpectModelUntouched();
}

TEST_F(OutputFile, HardLinkToTheModel_IsNotWrittenTo) {
  fs::create_hard_link(model, dir / "hard.xml");
  ExpectReport(Run({model, "hard.xml"}), document);
  ExpectReport(Run({"hard.xml", model}), document);
  ExpectModelUntouched();
}

TEST_F(OutputFile, SymbolicLinkToTheModel_IsNotWrittenTo) {
  fs::create_symlink("small.tev", dir / "soft.xml");
  ExpectReport(Run({model, "soft.xml"}), document);
  ExpectReport(Run({"soft.xml", "soft.xml"}), document);
  ExpectModelUntouched();
}

TEST_F(OutputFile, EkmFileThatIsALinkToTheModel_IsNotWrittenTo) {
  for (const bool hard : {true, false}) {
    fs::remove(dir / "ekm-meta-data.xml");
    if (hard)
      fs::create_hard_link(model, dir / "ekm-meta-data.xml");
    else
      fs::create_symlink(model, dir / "ekm-meta-data.xml");
    const Outcome outcome = Run({"--ekm-meta-data", model});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.starts_with(std::string(kMemoryLine) + "<ekmMetaData:meta-data "));
    EXPECT_TRUE(outcome.output.ends_with("</ekmMetaData:meta-data>\n"));
    ExpectModelUntouched();
  }
}

TEST_F(OutputFile, ModelCalledLikeTheEkmFile_IsNotWrittenTo) {
  dir.Write("ekm-meta-data.xml", bytes);
  EXPECT_EQ(Run({"--ekm-meta-data", "ekm-meta-data.xml"}).status, 0);
  EXPECT_EQ(dir.Read("ekm-meta-data.xml"), bytes);
}

TEST_F(OutputFile, DataExtractionIntoTheModel_IsNotWrittenToEither) {
  const Outcome outcome = Run({"--extract-data", model, model});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.output.starts_with(kMemoryLine));
  ExpectModelUntouched();
}

TEST_F(OutputFile, OwnLog_CountsAsAFileThatCannotBeOpened) {
  const Outcome usual = Run({model});
  fs::create_symlink(LogPath(), dir / "soft.xml");
  for (const std::string& path :
       {LogPath(), std::string("log/../log/TevInfo_trace.log"), std::string("soft.xml")}) {
    const Outcome outcome = Run({model, path});
    ExpectReport(outcome, document);
    EXPECT_EQ(outcome.log, usual.log) << path;
  }
  fs::create_symlink(LogPath(), dir / "ekm-meta-data.xml");
  const Outcome ekm = Run({"--ekm-meta-data", model});
  EXPECT_EQ(ekm.status, 0);
  EXPECT_TRUE(ekm.output.ends_with("</ekmMetaData:meta-data>\n"));
  EXPECT_EQ(ekm.log, usual.log);
}

TEST_F(OutputFile, FormerLog_IsNotTheRunsOwn) {
  dir.Write("TevInfo_trace.log", "of another run");
  ExpectReport(Run({model, "TevInfo_trace.log"}), "");
  EXPECT_EQ(dir.Read("TevInfo_trace.log"), document);
}

TEST_F(OutputFile, LinkToAnotherFile_IsFollowed) {
  dir.Write("other.xml", "former");
  fs::create_symlink("other.xml", dir / "soft.xml");
  ExpectReport(Run({model, "soft.xml"}), "");
  EXPECT_EQ(dir.Read("other.xml"), document);
  EXPECT_TRUE(fs::is_symlink(dir / "soft.xml"));
}

TEST_F(OutputFile, RunThatFails_LeavesTheOutputAlone) {
  dir.Write("report.xml", "former");
  EXPECT_EQ(Run({"none.tev", "report.xml"}).status, 2);
  EXPECT_EQ(dir.Read("report.xml"), "former");
  EXPECT_EQ(Run({"none.tev", "new.xml"}).status, 2);
  EXPECT_FALSE(dir.Has("new.xml"));
}

}  // namespace
}  // namespace tevtest
