// Files that are read by position: what a read gives, and how many calls of the system it takes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CountedReads.h"
#include "Lbt/Lbf/StoredFile.h"
#include "support/TempDir.h"

namespace LbtLbf {
namespace {

using tevtest::CountedReads;
using tevtest::TempDir;

/// Bytes of which no two stretches are the same.
std::string Varied(std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; bytes.size() < size; ++i)
    bytes += std::to_string(i) + ' ';
  bytes.resize(size);
  return bytes;
}

/// What a read gives; "refused" where it gives nothing.
std::string BytesOf(const StoredFile& file, std::uint64_t position, std::size_t length) {
  std::vector<unsigned char> bytes(length, '?');
  const std::optional<std::size_t> count = file.Read(position, bytes);
  return count ? std::string(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(*count))
               : "refused";
}

class StoredFileTest : public testing::Test {
 protected:
  [[nodiscard]] StoredFile Open(const std::string& bytes) const {
    return StoredFile(directory_.Write("file", bytes));
  }

  TempDir directory_;
};

TEST_F(StoredFileTest, AtFirst_IsNotOpenAndReadsNothing) {
  const StoredFile file;
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.IsRegular());
  EXPECT_EQ(file.Size(), std::nullopt);
  EXPECT_EQ(BytesOf(file, 0, 1), "refused");
}

TEST_F(StoredFileTest, MissingFile_IsNotOpenForTheSystemsReason) {
  errno = 0;
  const StoredFile file(directory_ / "none");
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(file.IsOpen());
}

TEST_F(StoredFileTest, ReadsOfAllLengthsAtAllPlaces_GiveTheBytesOfTheFile) {
  const std::string bytes = Varied(5 * StoredFile::kAhead + 77);
  const StoredFile file = Open(bytes);
  constexpr std::size_t kAhead = StoredFile::kAhead;
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{4000}, kAhead - 1,
                                   kAhead, kAhead + 1, 2 * kAhead + 5, bytes.size()}) {
    for (std::size_t position = 0; position < bytes.size() + 3000; position += 2999)
      ASSERT_EQ(BytesOf(file, position, length),
                position < bytes.size() ? bytes.substr(position, length) : "")
          << position << " " << length;
  }
}

TEST_F(StoredFileTest, ReadPastTheEnd_IsShortAndNoRefusal) {
  const StoredFile file = Open("abcdef");
  EXPECT_EQ(BytesOf(file, 4, 9), "ef");
  EXPECT_EQ(BytesOf(file, 6, 1), "");
  EXPECT_EQ(BytesOf(file, 100, 1), "");
  EXPECT_FALSE(file.HasRefused());
}

TEST_F(StoredFileTest, PositionThatNoFileHas_IsPastTheEnd) {
  const StoredFile file = Open("abcdef");
  EXPECT_EQ(BytesOf(file, std::numeric_limits<std::uint64_t>::max(), 1), "");
  EXPECT_FALSE(file.HasRefused());
}

TEST_F(StoredFileTest, FileShorterThanARead_IsOneCallInAll) {
  const StoredFile file = Open("abcdef");
  const CountedReads counted;
  EXPECT_EQ(BytesOf(file, 0, 512), "abcdef");
  EXPECT_EQ(BytesOf(file, 0, 8), "abcdef");
  EXPECT_EQ(BytesOf(file, 4, 8), "ef");
  EXPECT_EQ(counted.Reads(), 1);
}

TEST_F(StoredFileTest, Folder_IsOpenAndRefusesReads) {
  const StoredFile file(directory_.Path().string());
  EXPECT_TRUE(file.IsOpen());
  EXPECT_TRUE(file.IsFolder());
  EXPECT_FALSE(file.IsRegular());
  EXPECT_EQ(BytesOf(file, 0, 1), "refused");
  EXPECT_EQ(errno, EISDIR);
  EXPECT_TRUE(file.HasRefused());
}

TEST_F(StoredFileTest, PipeThatNobodyWritesTo_IsOpenedWithoutWaiting) {
  const std::string path = directory_ / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const StoredFile file(path);
  EXPECT_TRUE(file.IsOpen());
  EXPECT_FALSE(file.IsRegular());
  EXPECT_EQ(file.BytesFrom(7), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(BytesOf(file, 0, 1), "refused");
}

TEST_F(StoredFileTest, SizeAndIdentity_AreThoseOfTheFile) {
  const StoredFile file = Open("abcdef");
  EXPECT_EQ(file.Size(), 6U);
  EXPECT_EQ(file.BytesFrom(2), 4U);
  EXPECT_EQ(file.BytesFrom(6), 0U);
  EXPECT_EQ(file.BytesFrom(7), 0U);
  EXPECT_TRUE(file.Identity().has_value());
  EXPECT_EQ(file.Identity(), Lbt::Util::IdentityOf(directory_ / "file"));
}

TEST_F(StoredFileTest, FileThatIsMadeShorter_HasTheSizeThatAReadFinds) {
  const std::string bytes = Varied(40000);
  const StoredFile file = Open(bytes);
  EXPECT_EQ(BytesOf(file, 0, 3), bytes.substr(0, 3));
  std::filesystem::resize_file(directory_ / "file", 20000);
  EXPECT_EQ(file.Size(), bytes.size());
  EXPECT_EQ(BytesOf(file, 19000, bytes.size() - 19000), bytes.substr(19000, 1000));
  EXPECT_EQ(file.Size(), 20000U);
  EXPECT_FALSE(file.HasRefused());
}

TEST_F(StoredFileTest, MovedFile_GoesOnWithWhatWasRead) {
  const CountedReads counted;
  StoredFile first = Open("abcdef");
  EXPECT_EQ(BytesOf(first, 0, 2), "ab");
  const StoredFile second(std::move(first));
  EXPECT_EQ(BytesOf(second, 2, 4), "cdef");
  EXPECT_EQ(counted.Reads(), 1);
}

TEST_F(StoredFileTest, FileThatIsAssigned_ClosesTheOneBefore) {
  StoredFile file = Open("abc");
  file = StoredFile(directory_.Write("other", "xyz"));
  EXPECT_EQ(BytesOf(file, 0, 3), "xyz");
  file = StoredFile();
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(BytesOf(file, 0, 3), "refused");
}

TEST_F(StoredFileTest, ShortReadsThatLieTogether_AreOneCallInAll) {
  const std::string bytes = Varied(StoredFile::kAhead / 2);
  const StoredFile file = Open(bytes);
  const CountedReads counted;
  for (std::size_t position = 0; position < bytes.size(); position += 7)
    ASSERT_EQ(BytesOf(file, position, 7), bytes.substr(position, 7));
  EXPECT_EQ(counted.Reads(), 1);
  EXPECT_EQ(counted.Bytes(), static_cast<long>(bytes.size()));
}

TEST_F(StoredFileTest, ShortReadsOfALargeFile_AreACallForEachStretch) {
  const std::string bytes = Varied(8 * StoredFile::kAhead);
  const StoredFile file = Open(bytes);
  const CountedReads counted;
  for (std::size_t position = 0; position < bytes.size(); position += 64)
    ASSERT_EQ(BytesOf(file, position, 64), bytes.substr(position, 64));
  EXPECT_EQ(counted.Reads(), 8);
  EXPECT_EQ(counted.Bytes(), static_cast<long>(bytes.size()));
}

TEST_F(StoredFileTest, LongRead_IsOneCallForWhatHasNotBeenRead) {
  const std::string bytes = Varied(6 * StoredFile::kAhead);
  const StoredFile file = Open(bytes);
  const CountedReads counted;
  EXPECT_EQ(BytesOf(file, 10, 20), bytes.substr(10, 20));
  EXPECT_EQ(BytesOf(file, 30, 4 * StoredFile::kAhead), bytes.substr(30, 4 * StoredFile::kAhead));
  EXPECT_EQ(counted.Reads(), 2);
  EXPECT_EQ(counted.Bytes(), static_cast<long>(20 + 4 * StoredFile::kAhead));
}

TEST_F(StoredFileTest, Stream_IsReadFromAnyPositionAndStandsAfterIt) {
  directory_.Write("file", "abcdef");
  std::FILE* stream = std::fopen((directory_ / "file").c_str(), "rb");
  ASSERT_NE(stream, nullptr);
  const StoredFile file = stream;
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Size(), 6U);
  EXPECT_EQ(BytesOf(file, 3, 2), "de");
  EXPECT_EQ(std::ftell(stream), 5);
  EXPECT_EQ(BytesOf(file, 0, 9), "abcdef");
  EXPECT_FALSE(file.HasRefused());
  std::fclose(stream);
}

TEST_F(StoredFileTest, NoStream_IsNoFile) {
  std::FILE* stream = nullptr;
  EXPECT_FALSE(StoredFile(stream).IsOpen());
}

}  // namespace
}  // namespace LbtLbf
