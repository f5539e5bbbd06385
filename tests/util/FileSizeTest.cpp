// Sizes of files as text.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "Lbt/Util/FileAccess.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

using LbtUtil::FileSizeText;
using LbtUtil::GetFileSize;
using tevtest::TempDir;

struct Size {
  std::int64_t bytes;
  const char* text;
};

constexpr Size kSizes[] = {
    {0, "0 B"},
    {1, "1 B"},
    {1023, "1023 B"},
    {1024, "1024 B"},
    {1025, "1.00098 KB"},
    {1536, "1.5 KB"},
    {2048, "2 KB"},
    {1048575, "1024 KB"},
    {1048576, "1024 KB"},
    {1048577, "1 MB"},
    {1572864, "1.5 MB"},
    {13107200, "12.5 MB"},
    {1073741824, "1024 MB"},
    {5368709120, "5120 MB"},
    {1099511627776, "1.04858e+06 MB"},
};

TEST(FileSize, FileSizeText_HasBinaryUnitsWithExclusiveLimits) {
  for (const Size& size : kSizes) {
    EXPECT_EQ(FileSizeText(size.bytes), size.text) << size.bytes;
  }
}

// In double precision they would read 32903 and 8492.73.
TEST(FileSize, FileSizeText_IsComputedInSinglePrecision) {
  EXPECT_EQ(FileSizeText(34501244807), "32902.9 MB");
  EXPECT_EQ(FileSizeText(8905278088), "8492.74 MB");
}

TEST(FileSize, GetFileSize_OfAFile_IsTheTextForItsSize) {
  const TempDir directory;
  const std::string path = directory.Write("model", "");
  for (const Size& size : {kSizes[0], kSizes[3], kSizes[4], kSizes[5], kSizes[8], kSizes[11]}) {
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(size.bytes));
    EXPECT_EQ(GetFileSize(path.c_str()), size.text);
  }
}

TEST(FileSize, GetFileSize_OfALargeFile_NeedsMoreThan32Bits) {
  const TempDir directory;
  const std::string path = directory.Write("sparse", "");
  std::filesystem::resize_file(path, 5368709120U);
  EXPECT_EQ(GetFileSize(path.c_str()), "5120 MB");
}

TEST(FileSize, GetFileSize_OfALink_IsThatOfItsTarget) {
  const TempDir directory;
  directory.Write("model", std::string(1536, 'x'));
  std::filesystem::create_symlink("model", directory / "link");
  EXPECT_EQ(GetFileSize((directory / "link").c_str()), "1.5 KB");
}

TEST(FileSize, GetFileSize_WithoutAStatus_IsTheSystemsErrorText) {
  const TempDir directory;
  const std::string file = directory.Write("file", "x");
  std::filesystem::create_symlink("loop", directory / "loop");
  EXPECT_EQ(GetFileSize((directory / "missing").c_str()), "No such file or directory");
  EXPECT_EQ(GetFileSize(""), "No such file or directory");
  EXPECT_EQ(GetFileSize((file + "/below").c_str()), "Not a directory");
  EXPECT_EQ(GetFileSize((directory / "loop").c_str()), "Too many levels of symbolic links");
  EXPECT_EQ(GetFileSize((directory / std::string(256, 'n')).c_str()), "File name too long");
}

TEST(FileSize, GetFileSize_InAClosedDirectory_IsPermissionDenied) {
  const TempDir directory;
  const std::string path = directory.Write("model", "x");
  std::filesystem::permissions(directory.Path(), std::filesystem::perms::none);
  const auto result = tevtest::RunForked(
      [&path] { return GetFileSize(path.c_str()) == "Permission denied" ? 0 : 1; },
      {.hooks = {tevtest::RunAsUnprivileged}});
  EXPECT_EQ(result.status, 0);
}

}  // namespace
