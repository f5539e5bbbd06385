// The trace log is set up where it may be written, and announced.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>

#include "Lbt/Log/Manager.h"
#include "Lbt/Log/Raise.h"
#include "support/ContainerWriter.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using Lbt::Log::Manager;
using tevtest::RunOptions;
using tevtest::RunResult;
using tevtest::TempDir;

constexpr const char* kRefused = "Unable to set log file.Log information will be discorded.\n";
constexpr const char* kRecord = "LbFile : 12 @ text\n";

/// Sets the log file in a child and logs one record there. Ends with the number of loggers.
RunResult SetAndLog(std::optional<std::string> directory, RunOptions options = {}) {
  options.environment["QUARLO_TEMP_PATH"] = std::move(directory);
  return tevtest::RunForked(
      [] {
        SetLogFile();
        Lbt::Log::Trace("text", "include/Lbt/Lbf/LbFile", 12);
        const Manager& manager = Lbt::Util::SingletonHolder<Manager>::getInstance();
        return static_cast<int>(manager.Loggers().size());
      },
      options);
}

std::string Notice(const std::string& path) { return "Writing log to \"" + path + "\"\n"; }

/// Expects that the log goes to nowhere and that this is said.
void ExpectRefusal(const RunResult& result) {
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, kRefused);
  EXPECT_EQ(result.output, "");
}

TEST(SetLogFile, NamedDirectory_TakesTheLog) {
  const TempDir directory;
  const RunResult result = SetAndLog(directory.Path().string());
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, Notice(directory / "TevInfo_trace.log"));
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(directory.Read("TevInfo_trace.log"), kRecord);
}

TEST(SetLogFile, DirectoryWithASlashAtItsEnd_GetsAnother) {
  const TempDir directory;
  const std::string named = directory.Path().string() + "/";
  EXPECT_EQ(SetAndLog(named).error, Notice(named + "/TevInfo_trace.log"));
  EXPECT_EQ(directory.Read("TevInfo_trace.log"), kRecord);
}

TEST(SetLogFile, RelativeDirectory_IsThatOfTheProcess) {
  const TempDir directory;
  directory.MakeDirectory("logs");
  const RunResult result = SetAndLog("logs", {.workingDirectory = directory.Path().string()});
  EXPECT_EQ(result.error, Notice("logs/TevInfo_trace.log"));
  EXPECT_EQ(directory.Read("logs/TevInfo_trace.log"), kRecord);
}

TEST(SetLogFile, NoDirectoryNamed_IsTmp) {
  for (const auto& named : {std::optional<std::string>(), std::optional<std::string>("")}) {
    const RunResult result = SetAndLog(named);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, Notice("/tmp/TevInfo_trace.log"));
  }
}

TEST(SetLogFile, LogOfTheLastRun_IsEmptied) {
  const TempDir directory;
  directory.Write("TevInfo_trace.log", std::string(1000, 'x'));
  SetAndLog(directory.Path().string());
  EXPECT_EQ(directory.Read("TevInfo_trace.log"), kRecord);
}

TEST(SetLogFile, DirectoryThatCannotBeWrittenTo_IsRefused) {
  const TempDir directory;
  fs::permissions(directory.Path(), static_cast<fs::perms>(0555));
  ExpectRefusal(SetAndLog(directory.Path().string(), {.hooks = {tevtest::RunAsUnprivileged}}));
  EXPECT_EQ(directory.EntryCount(), 0U);
}

TEST(SetLogFile, DirectoryThatAnybodyMayWriteTo_TakesTheLogOfAnyUser) {
  const TempDir directory;
  directory.OpenToAll(true);
  const RunResult result =
      SetAndLog(directory.Path().string(), {.hooks = {tevtest::RunAsUnprivileged}});
  EXPECT_EQ(result.error, Notice(directory / "TevInfo_trace.log"));
  EXPECT_EQ(directory.Read("TevInfo_trace.log"), kRecord);
}

TEST(SetLogFile, WhatIsNoDirectory_IsRefused) {
  const TempDir directory;
  ExpectRefusal(SetAndLog(directory / "missing"));
  ExpectRefusal(SetAndLog(directory.Write("file", "kept")));
  EXPECT_EQ(directory.EntryCount(), 1U);
  EXPECT_EQ(directory.Read("file"), "kept");
}

TEST(SetLogFile, Refusal_RegistersTheNullPublisher) {
  const auto result = tevtest::RunForked(
      [] {
        SetLogFile();
        Manager& manager = Lbt::Util::SingletonHolder<Manager>::getInstance();
        return manager.Publishers().indices.contains("log to null") &&
                       manager.Publishers().list.size() == 1
                   ? 0
                   : 1;
      },
      {.environment = {{"QUARLO_TEMP_PATH", "/nonexistent"}}});
  EXPECT_EQ(result.status, 0);
}

/// Expects that a log that is refused under its name is announced as ever and lost silently.
void ExpectLost(const TempDir& directory) {
  const RunResult result = SetAndLog(directory.Path().string());
  EXPECT_FALSE(result.hung);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, Notice(directory / "TevInfo_trace.log"));
}

TEST(SetLogFile, LinkUnderTheLogsName_LosesTheLogAndKeepsTheTarget) {
  const TempDir directory;
  directory.Write("precious", "text");
  fs::create_symlink("precious", directory / "TevInfo_trace.log");
  ExpectLost(directory);
  EXPECT_EQ(directory.Read("precious"), "text");
}

TEST(SetLogFile, ModelUnderTheLogsName_LosesTheLogAndKeepsTheModel) {
  const TempDir directory;
  const std::string model = tevtest::ContainerWriter().AddRaw("Light Data", "1").Build().bytes;
  directory.Write("TevInfo_trace.log", model);
  ExpectLost(directory);
  EXPECT_EQ(directory.Read("TevInfo_trace.log"), model);
}

TEST(SetLogFile, PipeUnderTheLogsName_LosesTheLogWithoutWaiting) {
  const TempDir directory;
  ASSERT_EQ(mkfifo((directory / "TevInfo_trace.log").c_str(), 0600), 0);
  ExpectLost(directory);
}

TEST(SetLogFile, DirectoryUnderTheLogsName_LosesTheLog) {
  const TempDir directory;
  directory.MakeDirectory("TevInfo_trace.log");
  ExpectLost(directory);
}

}  // namespace
