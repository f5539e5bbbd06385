// Opening an output: never the model, never for ever.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>

#include "Lbt/Util/FileAccess.h"
#include "support/Process.h"
#include "support/TempDir.h"
#include "util/OpenFile.h"

namespace {

namespace fs = std::filesystem;
using Lbt::Util::FileIdentity;
using tevtest::OpenFile;
using tevtest::TempDir;

constexpr std::optional<FileIdentity> kNothing;

/// Opens "path" for replacing and writes "text" there; false if it cannot be opened.
bool Replace(const std::string& path, const std::string& text,
             std::optional<FileIdentity> spared = kNothing) {
  const std::optional<int> opened = Lbt::Util::OpenForReplacing(path, spared);
  if (!opened) {
    return false;
  }
  const OpenFile file(*opened);
  return write(file.Get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

FileIdentity IdentityOfFile(const std::string& path) {
  return Lbt::Util::IdentityOf(OpenFile(path).Get()).value();
}

TEST(OpenForReplacing, MissingFile_IsCreated) {
  const TempDir directory;
  EXPECT_TRUE(Replace(directory / "new", "text"));
  EXPECT_EQ(directory.Read("new"), "text");
}

TEST(OpenForReplacing, NewFile_HasTheRightsThatTheMaskLeaves) {
  const TempDir directory;
  const std::string path = directory / "new";
  const auto result = tevtest::RunForked([&path] {
    umask(007);
    return Replace(path, "x") ? 0 : 1;
  });
  ASSERT_EQ(result.status, 0);
  EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0660));
}

TEST(OpenForReplacing, FileThatCannotBeEmptied_IsLeftAlone) {
  const OpenFile sealed(memfd_create("sealed", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  ASSERT_EQ(write(sealed.Get(), "text", 4), 4);
  ASSERT_EQ(fcntl(sealed.Get(), F_ADD_SEALS, F_SEAL_SHRINK), 0);
  EXPECT_FALSE(Replace("/proc/self/fd/" + std::to_string(sealed.Get()), "x"));
  EXPECT_EQ(lseek(sealed.Get(), 0, SEEK_END), 4);
}

TEST(OpenForReplacing, ExistingFile_IsEmptied) {
  const TempDir directory;
  const std::string path = directory.Write("old", "a much longer text");
  EXPECT_TRUE(Replace(path, "short"));
  EXPECT_EQ(directory.Read("old"), "short");
}

TEST(OpenForReplacing, ExistingFileThatIsNotTheSparedOne_IsEmptied) {
  const TempDir directory;
  const std::string model = directory.Write("model", "model");
  const std::string path = directory.Write("old", "a much longer text");
  EXPECT_TRUE(Replace(path, "short", IdentityOfFile(model)));
  EXPECT_EQ(directory.Read("old"), "short");
  EXPECT_EQ(directory.Read("model"), "model");
}

TEST(OpenForReplacing, SparedFileByAnyName_IsRefusedAndKept) {
  const TempDir directory;
  const std::string model = directory.Write("model", "model bytes");
  directory.MakeDirectory("sub");
  fs::create_hard_link(model, directory / "hard");
  fs::create_symlink("model", directory / "soft");
  fs::create_symlink("soft", directory / "softer");
  for (const char* name : {"model", "hard", "soft", "softer", "sub/../model"}) {
    EXPECT_FALSE(Replace(directory / name, "text", IdentityOfFile(model))) << name;
    EXPECT_EQ(directory.Read("model"), "model bytes") << name;
  }
}

TEST(OpenForReplacing, SymbolicLink_IsFollowed) {
  const TempDir directory;
  directory.Write("target", "a much longer text");
  fs::create_symlink("target", directory / "link");
  fs::create_symlink("new target", directory / "dangling");
  EXPECT_TRUE(Replace(directory / "link", "one"));
  EXPECT_TRUE(Replace(directory / "dangling", "two"));
  EXPECT_EQ(directory.Read("target"), "one");
  EXPECT_EQ(directory.Read("new target"), "two");
}

TEST(OpenForReplacing, HardLink_IsWrittenInPlace) {
  const TempDir directory;
  directory.Write("one", "a much longer text");
  fs::create_hard_link(directory / "one", directory / "other");
  EXPECT_TRUE(Replace(directory / "other", "text"));
  EXPECT_EQ(directory.Read("one"), "text");
}

TEST(OpenForReplacing, WhatCannotBeAFile_IsNone) {
  const TempDir directory;
  const std::string file = directory.Write("file", "kept");
  EXPECT_FALSE(Replace("", "x"));
  EXPECT_FALSE(Replace(directory.Path().string(), "x"));
  EXPECT_FALSE(Replace(directory / "missing/new", "x"));
  EXPECT_FALSE(Replace(file + "/new", "x"));
  EXPECT_EQ(directory.EntryCount(), 1U);
  EXPECT_EQ(directory.Read("file"), "kept");
}

TEST(OpenForReplacing, WithoutTheRight_IsNone) {
  const TempDir directory;
  directory.OpenToAll(false);
  const std::string file = directory.Write("file", "kept");
  fs::permissions(file, static_cast<fs::perms>(0444));
  fs::permissions(directory.Path(), static_cast<fs::perms>(0555));
  const auto result = tevtest::RunForked(
      [&] { return (Replace(file, "x") ? 1 : 0) + (Replace(directory / "new", "x") ? 2 : 0); },
      {.hooks = {tevtest::RunAsUnprivileged}});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(directory.Read("file"), "kept");
}

TEST(OpenForReplacing, Device_IsOpened) {
  EXPECT_TRUE(Replace("/dev/null", "x"));
  const std::optional<int> full = Lbt::Util::OpenForReplacing("/dev/full", kNothing);
  ASSERT_TRUE(full);
  EXPECT_EQ(write(OpenFile(*full).Get(), "x", 1), -1);
}

TEST(OpenForReplacing, LongerFile_IsEmptied) {
  const TempDir directory;
  directory.Write("old", "long text");
  EXPECT_TRUE(Replace(directory / "old", ""));
  EXPECT_EQ(directory.Read("old"), "");
}

TEST(OpenForReplacing, FileThatTakesTheNumberZero_IsOpened) {
  const TempDir directory;
  const auto result = tevtest::RunForked([&] { return Replace(directory / "new", "text") ? 0 : 1; },
                                         {.input = tevtest::Redirect::Closed()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(directory.Read("new"), "text");
}

TEST(OpenForReplacing, PipeThatNobodyReads_IsNoneAtOnce) {
  const TempDir directory;
  const std::string path = directory / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const auto result = tevtest::RunForked([&path] { return Replace(path, "x") ? 1 : 0; });
  EXPECT_FALSE(result.hung);
  EXPECT_EQ(result.status, 0);
}

TEST(OpenForReplacing, PipeWithAReader_TakesTheText) {
  const TempDir directory;
  const std::string path = directory / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const OpenFile reader(path, O_RDONLY | O_NONBLOCK);
  ASSERT_TRUE(Replace(path, "text"));
  char text[8] = {};
  EXPECT_EQ(read(reader.Get(), text, sizeof text), 4);
  EXPECT_STREQ(text, "text");
}

TEST(OpenForReplacing, PipeWithASlowReader_IsWaitedFor) {
  const TempDir directory;
  const std::string path = directory / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const OpenFile reader(path, O_RDONLY | O_NONBLOCK);
  ASSERT_EQ(fcntl(reader.Get(), F_SETFL, 0), 0);
  const std::optional<int> opened = Lbt::Util::OpenForReplacing(path, kNothing);
  ASSERT_TRUE(opened);

  const std::string text(std::size_t{1} << 20U, 'x');  // more than a pipe holds
  ssize_t written = 0;
  std::thread writer([&] {
    written = write(*opened, text.data(), text.size());
    close(*opened);
  });
  std::size_t count = 0;
  char piece[4096];
  while (const ssize_t got = read(reader.Get(), piece, sizeof piece)) {
    ASSERT_GT(got, 0);
    count += static_cast<std::size_t>(got);
  }
  writer.join();
  EXPECT_EQ(written, static_cast<ssize_t>(text.size()));
  EXPECT_EQ(count, text.size());
}

}  // namespace
