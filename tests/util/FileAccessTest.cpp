// Which file a descriptor stands for, and standard ones that are closed.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "Lbt/Util/FileAccess.h"
#include "support/Process.h"
#include "support/TempDir.h"
#include "util/OpenFile.h"

namespace {

using Lbt::Util::Descriptor;
using Lbt::Util::IdentityOf;
using Lbt::Util::IsRegularFile;
using tevtest::OpenFile;
using tevtest::Redirect;
using tevtest::RunOptions;
using tevtest::TempDir;

TEST(FileAccess, IdentityOf_EveryNameOfAFile_IsTheSame) {
  const TempDir directory;
  const OpenFile file(directory.Write("file", "x"));
  directory.MakeDirectory("sub");
  std::filesystem::create_hard_link(directory / "file", directory / "hard");
  std::filesystem::create_symlink("file", directory / "soft");
  ASSERT_TRUE(IdentityOf(file.Get()));
  for (const char* name : {"file", "hard", "soft", "./file", "sub/../file"}) {
    EXPECT_EQ(IdentityOf(OpenFile(directory / name).Get()), IdentityOf(file.Get())) << name;
  }
}

TEST(FileAccess, IdentityOf_FilesWithTheSameContent_Differs) {
  const TempDir directory;
  const OpenFile one(directory.Write("one", "x"));
  const OpenFile two(directory.Write("two", "x"));
  EXPECT_NE(IdentityOf(one.Get()), IdentityOf(two.Get()));
}

TEST(FileAccess, IdentityOf_ClosedDescriptor_IsNone) { EXPECT_FALSE(IdentityOf(-1)); }

TEST(Descriptor, AtItsEnd_IsClosedUnlessItWasHandedOn) {
  const TempDir directory;
  int closed = -1;
  int kept = -1;
  {
    Descriptor first(open(directory.Write("one", "x").c_str(), O_RDONLY | O_CLOEXEC));
    Descriptor second(open(directory.Write("two", "x").c_str(), O_RDONLY | O_CLOEXEC));
    closed = first.Get();
    kept = second.HandOn();
    EXPECT_FALSE(second.IsOpen());
    Descriptor moved(std::move(first));
    EXPECT_EQ(moved.Get(), closed);
    EXPECT_TRUE(tevtest::IsOpen(closed));
  }
  EXPECT_FALSE(tevtest::IsOpen(closed));
  EXPECT_TRUE(tevtest::IsOpen(kept));
  close(kept);
}

TEST(Descriptor, AtFirst_IsNone) { EXPECT_FALSE(Descriptor().IsOpen()); }

TEST(FileAccess, IsRegularFile_AFile_IsOne) {
  const TempDir directory;
  EXPECT_TRUE(IsRegularFile(OpenFile(directory.Write("file", "x")).Get()));
  EXPECT_TRUE(IsRegularFile(OpenFile(directory.Write("empty", "")).Get()));
}

TEST(FileAccess, IsRegularFile_AnythingElse_IsNone) {
  const TempDir directory;
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_FALSE(IsRegularFile(OpenFile(directory.Path()).Get()));
  EXPECT_FALSE(IsRegularFile(OpenFile("/dev/null").Get()));
  EXPECT_FALSE(IsRegularFile(OpenFile("/dev/full").Get()));
  EXPECT_FALSE(IsRegularFile(ends[0]));
  EXPECT_FALSE(IsRegularFile(-1));
  close(ends[0]);
  close(ends[1]);
}

/// Whether "descriptor" is "/dev/null", can be read and cannot be written to.
bool IsFilled(int descriptor) {
  char byte = 'x';
  return IdentityOf(descriptor) == IdentityOf(OpenFile("/dev/null").Get()) &&
         read(descriptor, &byte, 1) == 0 && write(descriptor, &byte, 1) == -1 && errno == EBADF;
}

/// Fills in a child with the given redirections and ends with one bit for each standard descriptor
/// that was filled, and bit 3 if a file opened next takes the number of one of them.
int FilledIn(const RunOptions& options) {
  const auto body = [] {
    Lbt::Util::FillStandardDescriptors();
    const int next = open("/dev/zero", O_RDONLY);
    int bits = next <= STDERR_FILENO ? 8 : 0;
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
      bits |= IsFilled(descriptor) ? 1 << descriptor : 0;
    }
    return bits;
  };
  return tevtest::RunForked(body, options).status;
}

TEST(FileAccess, FillStandardDescriptors_Closed_AreFilledEachAndTogether) {
  const Redirect none = Redirect::Closed();
  const Redirect zero = Redirect::To("/dev/zero");
  EXPECT_EQ(FilledIn({.input = none}), 1);
  EXPECT_EQ(FilledIn({.input = zero, .output = none}), 2);
  EXPECT_EQ(FilledIn({.input = zero, .error = none}), 4);
  EXPECT_EQ(FilledIn({.input = none, .error = none}), 5);
  EXPECT_EQ(FilledIn({.input = none, .output = none, .error = none}), 7);
}

TEST(FileAccess, FillStandardDescriptors_Open_AreLeftAlone) {
  const auto result = tevtest::RunForked([] {
    const int next = dup(STDIN_FILENO);
    close(next);
    Lbt::Util::FillStandardDescriptors();
    const bool written = write(STDOUT_FILENO, "out", 3) == 3 && write(STDERR_FILENO, "err", 3) == 3;
    return written && next == dup(STDIN_FILENO) ? 0 : 1;
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "out");
  EXPECT_EQ(result.error, "err");
  EXPECT_EQ(FilledIn({.input = Redirect::To("/dev/zero")}), 0);
}

}  // namespace
