// Opening the log: only what is a log, or may become one.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "Lbt/Util/FileAccess.h"
#include "support/ContainerWriter.h"
#include "support/Process.h"
#include "support/TempDir.h"
#include "util/OpenFile.h"

namespace {

namespace fs = std::filesystem;
using tevtest::OpenFile;
using tevtest::TempDir;

constexpr const char* kOldLog = "LbFile : 12 @ a record of the last run\n";

/// Opens "path" as a log and writes "new" there; false if it is refused.
bool WriteLog(const std::string& path) {
  const std::optional<int> opened = Lbt::Util::OpenLog(path);
  return opened && write(OpenFile(*opened).Get(), "new", 3) == 3;
}

/// Ends with 1 if the log is taken; a hang is no status at all.
int StatusOfLog(const std::string& path, tevtest::RunOptions options = {}) {
  return tevtest::RunForked([&path] { return WriteLog(path) ? 1 : 0; }, options).status;
}

TEST(OpenLog, MissingFile_IsCreated) {
  const TempDir directory;
  EXPECT_TRUE(WriteLog(directory / "log"));
  EXPECT_EQ(directory.Read("log"), "new");
}

TEST(OpenLog, EarlierLog_IsEmptied) {
  const TempDir directory;
  EXPECT_TRUE(WriteLog(directory.Write("log", kOldLog)));
  EXPECT_EQ(directory.Read("log"), "new");
}

TEST(OpenLog, EmptyFileAndShortText_AreTaken) {
  const TempDir directory;
  for (const char* old : {"", "a", "\n", "~ \t~\n", "1234567", "12345678\xff"}) {
    EXPECT_TRUE(WriteLog(directory.Write("log", old))) << old;
    EXPECT_EQ(directory.Read("log"), "new") << old;
  }
}

TEST(OpenLog, ModelUnderTheLogsName_IsRefusedAndKept) {
  const TempDir directory;
  const std::string model = tevtest::ContainerWriter().AddRaw("Light Data", "1").Build().bytes;
  EXPECT_FALSE(WriteLog(directory.Write("log", model)));
  EXPECT_EQ(directory.Read("log"), model);
}

TEST(OpenLog, BeginningOfAModelsSignature_IsTaken) {
  const TempDir directory;
  for (const std::string& old :
       {std::string("\x89"), std::string("\x89LBF\r\n\x1a"),
        std::string("\x89LBF\r\n\x1a\r and more"), " " + std::string(tevtest::kSignature)}) {
    EXPECT_TRUE(WriteLog(directory.Write("log", old))) << old.size();
    EXPECT_EQ(directory.Read("log"), "new");
  }
}

TEST(OpenLog, WholeSignature_IsRefusedAndKept) {
  const TempDir directory;
  const std::string signature(tevtest::kSignature);
  for (const std::string& old : {signature, signature + "1.3"}) {
    EXPECT_FALSE(WriteLog(directory.Write("log", old)));
    EXPECT_EQ(directory.Read("log"), old);
  }
}

TEST(OpenLog, FileThatMayBeWrittenButNotRead_IsWritten) {
  const TempDir directory;
  const std::string log = directory.Write("log", kOldLog);
  fs::permissions(log, static_cast<fs::perms>(0222));
  fs::permissions(directory.Path(), static_cast<fs::perms>(0755));
  EXPECT_EQ(StatusOfLog(log, {.hooks = {tevtest::RunAsUnprivileged}}), 1);
  fs::permissions(log, static_cast<fs::perms>(0644));
  EXPECT_EQ(directory.Read("log"), "new");
}

TEST(OpenLog, LogThatACrashLeftBehind_IsTakenAndEmptied) {
  const tevtest::TempDir directory;
  for (const std::string& old : {std::string(16, '\0'), std::string("\r\n"), std::string("\xc3")}) {
    EXPECT_TRUE(WriteLog(directory.Write("log", old)));
  }
}

TEST(OpenLog, SymbolicLink_IsNotFollowed) {
  const TempDir directory;
  directory.Write("target", kOldLog);
  fs::create_symlink("target", directory / "log");
  EXPECT_FALSE(WriteLog(directory / "log"));
  EXPECT_EQ(directory.Read("target"), kOldLog);
}

TEST(OpenLog, DanglingLink_CreatesNothing) {
  const TempDir directory;
  fs::create_symlink("target", directory / "log");
  EXPECT_FALSE(WriteLog(directory / "log"));
  EXPECT_FALSE(directory.Has("target"));
}

TEST(OpenLog, LinkInTheDirectorysPath_IsFollowed) {
  const TempDir directory;
  directory.MakeDirectory("real");
  fs::create_directory_symlink("real", directory / "linked");
  EXPECT_TRUE(WriteLog(directory / "linked/log"));
  EXPECT_EQ(directory.Read("real/log"), "new");
}

TEST(OpenLog, FileWithASecondName_IsRefusedAndKept) {
  const TempDir directory;
  directory.Write("mine", kOldLog);
  fs::create_hard_link(directory / "mine", directory / "log");
  EXPECT_FALSE(WriteLog(directory / "log"));
  EXPECT_EQ(directory.Read("mine"), kOldLog);
}

TEST(OpenLog, Pipe_IsRefusedWithAndWithoutAReader) {
  const TempDir directory;
  const std::string path = directory / "log";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(StatusOfLog(path), 0);
  const OpenFile reader(path, O_RDONLY | O_NONBLOCK);
  EXPECT_EQ(StatusOfLog(path), 0);
  char byte = 0;
  EXPECT_EQ(read(reader.Get(), &byte, 1), 0) << "something was written";
}

TEST(OpenLog, DirectoryAndDevice_AreRefused) {
  const TempDir directory;
  EXPECT_FALSE(WriteLog(directory.MakeDirectory("log")));
  EXPECT_FALSE(WriteLog("/dev/null"));
  EXPECT_FALSE(WriteLog("/dev/full"));
}

TEST(OpenLog, MissingDirectory_IsRefused) {
  const TempDir directory;
  EXPECT_FALSE(WriteLog(directory / "missing/log"));
  EXPECT_FALSE(WriteLog(""));
  EXPECT_EQ(directory.EntryCount(), 0U);
}

TEST(OpenLog, WithoutTheRight_IsRefused) {
  const TempDir directory;
  const std::string log = directory.Write("log", kOldLog);
  fs::permissions(log, static_cast<fs::perms>(0444));
  fs::permissions(directory.Path(), static_cast<fs::perms>(0555));
  EXPECT_EQ(StatusOfLog(log, {.hooks = {tevtest::RunAsUnprivileged}}), 0);
  EXPECT_EQ(StatusOfLog(directory / "new", {.hooks = {tevtest::RunAsUnprivileged}}), 0);
  EXPECT_EQ(directory.Read("log"), kOldLog);
  EXPECT_FALSE(directory.Has("new"));
}

}  // namespace
