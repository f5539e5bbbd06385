// Where a report of TevInfo goes, and what it must not overwrite.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "Lbt/Util/Exception.h"
#include "TevInfo/Output.h"
#include "support/Mask.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

using tevtest::RunOptions;
using tevtest::RunResult;
using tevtest::TempDir;

void IgnoreSizeSignal() { std::signal(SIGXFSZ, SIG_IGN); }

constexpr const char* kModelBytes = "model bytes";

/// A directory with a model, in which children write reports.
class OutputOfARun : public testing::Test {
 protected:
  void SetUp() override { directory_.Write("model", kModelBytes); }

  /// Writes "memory;" and "report" as a run does, in a child that stands in the directory. Ends
  /// with 0, or 2 after the text of an exception on standard error.
  RunResult Write(TevInfo::Format format, std::vector<std::string> positional,
                  RunOptions options = {}) {
    options.workingDirectory = directory_.Path().string();
    const CommandLine commandLine{format, std::move(positional)};
    return tevtest::RunForked([&] { return WriteInChild(commandLine); }, options);
  }

  [[nodiscard]] std::string Read(const std::string& name) const { return directory_.Read(name); }

  TempDir directory_;

 private:
  static int WriteInChild(const CommandLine& commandLine) {
    LbtLbf::LbFile model;
    model.OpenFile("model", "rb");
    try {
      Output output(model);
      output.Standard() << "memory;";
      output.OpenReport(commandLine, model);
      output.Report() << "report";
      output.Finish();
    } catch (const Lbt::Util::Exception& exception) {
      std::cerr << exception.what();
      return 2;
    }
    return 0;
  }
};

TEST_F(OutputOfARun, NoPath_GoesToStandardOutput) {
  for (const auto format : {TevInfo::NativeMetaData, TevInfo::ExtractData}) {
    const RunResult result = Write(format, {"model"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "memory;report");
  }
  EXPECT_EQ(directory_.EntryCount(), 1U);
}

TEST_F(OutputOfARun, Path_TakesTheReportOnly) {
  directory_.Write("out", "a much longer earlier report");
  for (const auto format : {TevInfo::NativeMetaData, TevInfo::ExtractData}) {
    const RunResult result = Write(format, {"model", "out", "more"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "memory;");
    EXPECT_EQ(Read("out"), "report");
  }
  EXPECT_FALSE(directory_.Has("more"));
}

TEST_F(OutputOfARun, EkmDocument_AlwaysGoesToItsOwnFile) {
  EXPECT_EQ(Write(TevInfo::EkmMetaData, {"model"}).output, "memory;");
  EXPECT_EQ(Read("ekm-meta-data.xml"), "report");
  EXPECT_EQ(Write(TevInfo::EkmMetaData, {"model", "out"}).output, "memory;");
  EXPECT_FALSE(directory_.Has("out"));
}

TEST_F(OutputOfARun, PathThatCannotBeOpened_FallsBackToStandardOutputSilently) {
  for (const char* path : {"missing/out", "", ".", "model/out"}) {
    const RunResult result = Write(TevInfo::NativeMetaData, {"model", path});
    EXPECT_EQ(result.status, 0) << path;
    EXPECT_EQ(result.output, "memory;report") << path;
    EXPECT_EQ(result.error, "") << path;
  }
}

/// Two reports at the same time under the EKM name, put in place one after the other.
TEST_F(OutputOfARun, EkmDocumentsAtTheSameTime_LeaveOneOfThemWhole) {
  const std::string longer(100000, 'l');
  for (const bool isLongerLast : {false, true}) {
    const RunResult result = tevtest::RunForked(
        [&] {
          LbtLbf::LbFile model;
          model.OpenFile("model", "rb");
          const CommandLine commandLine{TevInfo::EkmMetaData, {"model"}};
          Output first(model);
          Output second(model);
          first.OpenReport(commandLine, model);
          second.OpenReport(commandLine, model);
          first.Report() << (isLongerLast ? "short" : longer);
          second.Report() << (isLongerLast ? longer : "short");
          first.Finish();
          second.Finish();
          return 0;
        },
        {.workingDirectory = directory_.Path().string()});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(Read("ekm-meta-data.xml") == (isLongerLast ? longer : "short"));
    EXPECT_EQ(directory_.EntryCount(), 2U);
  }
}

TEST_F(OutputOfARun, EkmDocumentThatCannotBeWritten_LeavesTheFormerOne) {
  directory_.Write("ekm-meta-data.xml", "former");
  const RunResult result = Write(TevInfo::EkmMetaData, {"model"},
                                 {.hooks = {tevtest::Limit(RLIMIT_FSIZE, 3), IgnoreSizeSignal}});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(Read("ekm-meta-data.xml"), "former");
  EXPECT_EQ(directory_.EntryCount(), 2U);
}

TEST_F(OutputOfARun, EkmDocument_KeepsThePermissionsOfTheFormerOne) {
  const std::filesystem::path path = directory_.Write("ekm-meta-data.xml", "former");
  using std::filesystem::perms;
  std::filesystem::permissions(path, perms::owner_read | perms::owner_write | perms::group_write);
  EXPECT_EQ(Write(TevInfo::EkmMetaData, {"model"}).status, 0);
  EXPECT_EQ(Read("ekm-meta-data.xml"), "report");
  EXPECT_EQ(std::filesystem::status(path).permissions(),
            perms::owner_read | perms::owner_write | perms::group_write);
}

TEST_F(OutputOfARun, EkmDocumentOfSeveralNames_IsWrittenUnderAll) {
  const std::string other = directory_.Write("other", "a much longer former report");
  std::filesystem::create_hard_link(other, directory_ / "ekm-meta-data.xml");
  EXPECT_EQ(Write(TevInfo::EkmMetaData, {"model"}).status, 0);
  EXPECT_EQ(Read("ekm-meta-data.xml"), "report");
  EXPECT_EQ(Read("other"), "report");
  std::filesystem::remove(directory_ / "ekm-meta-data.xml");
  std::filesystem::create_symlink("other", directory_ / "ekm-meta-data.xml");
  directory_.Write("other", "a much longer former report");
  EXPECT_EQ(Write(TevInfo::EkmMetaData, {"model"}).status, 0);
  EXPECT_EQ(Read("other"), "report");
  EXPECT_TRUE(std::filesystem::is_symlink(directory_ / "ekm-meta-data.xml"));
}

TEST_F(OutputOfARun, EkmDocumentThatCannotTakeItsName_IsCopied) {
  const RunResult result = tevtest::RunForked(
      [&] {
        LbtLbf::LbFile model;
        model.OpenFile("model", "rb");
        Output output(model);
        output.OpenReport({TevInfo::EkmMetaData, {"model"}}, model);
        output.Report() << "report";
        // What would be its name for a moment is taken.
        std::filesystem::create_directory("ekm-meta-data.xml." + std::to_string(getpid()) + ".new");
        output.Finish();
        return 0;
      },
      {.workingDirectory = directory_.Path().string()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(Read("ekm-meta-data.xml"), "report");
}

TEST_F(OutputOfARun, EkmFileThatCannotBeOpened_FallsBackToStandardOutput) {
  directory_.MakeDirectory("ekm-meta-data.xml");
  const RunResult result = Write(TevInfo::EkmMetaData, {"model", "out"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "memory;report");
  EXPECT_FALSE(directory_.Has("out"));
}

TEST_F(OutputOfARun, ModelByAnyName_CannotBeTheReport) {
  std::filesystem::create_hard_link(directory_ / "model", directory_ / "hard");
  std::filesystem::create_symlink("model", directory_ / "soft");
  for (const char* path : {"model", "./model", "hard", "soft"}) {
    const RunResult result = Write(TevInfo::NativeMetaData, {"model", path});
    EXPECT_EQ(result.status, 0) << path;
    EXPECT_EQ(result.output, "memory;report") << path;
    EXPECT_EQ(Read("model"), kModelBytes) << path;
  }
}

TEST_F(OutputOfARun, ModelUnderTheEkmName_IsKept) {
  std::filesystem::create_symlink("model", directory_ / "ekm-meta-data.xml");
  EXPECT_EQ(Write(TevInfo::EkmMetaData, {"model"}).output, "memory;report");
  EXPECT_EQ(Read("model"), kModelBytes);
}

/// Expects the one failure of a report that was not written whole.
void ExpectWriteError(const RunResult& result) {
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(tevtest::MaskException(result.error),
            tevtest::ExpectedException("Write Error", "Unable to write the report",
                                       "include/Lbt/Tev/TevInfo/TevInfo"));
}

TEST_F(OutputOfARun, FullStandardOutput_IsAWriteError) {
  ExpectWriteError(
      Write(TevInfo::NativeMetaData, {"model"}, {.output = tevtest::Redirect::To("/dev/full")}));
}

TEST_F(OutputOfARun, FullReportFile_IsAWriteError) {
  const RunResult result = Write(TevInfo::NativeMetaData, {"model", "/dev/full"});
  ExpectWriteError(result);
  EXPECT_EQ(result.output, "memory;");
}

TEST_F(OutputOfARun, LostMemoryLine_IsAWriteErrorAfterTheWholeReport) {
  ExpectWriteError(Write(TevInfo::NativeMetaData, {"model", "out"},
                         {.output = tevtest::Redirect::To("/dev/full")}));
  EXPECT_EQ(Read("out"), "report");
}

}  // namespace
