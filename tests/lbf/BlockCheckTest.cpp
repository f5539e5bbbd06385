// What is told of a block that is inflated to be checked.

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

#include "Lbt/Lbf/ContainerListing.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/MemoryAllowance.h"
#include "support/TempDir.h"

namespace tevtest {
namespace {

using LbtLbf::BlockCheck;

/// Checks the only block of a container.
BlockCheck CheckOfFile(const std::string& bytes) {
  const TempDir directory;
  LbtLbf::LbFile file;
  file.OpenFile(directory.Write("a.tev", bytes), "rb");
  file.ReadIndex();
  return LbtLbf::CheckBlock(file, file.GetIndex().GetItems().at(0));
}

BlockCheck CheckOf(const BlockSpec& block) {
  return CheckOfFile(ContainerWriter().Add(block).Build().bytes);
}

/// What zlib itself makes of a stored block, all at once.
struct Inflated {
  explicit Inflated(const std::string& stored, std::uint32_t recorded) : length(recorded) {
    std::string room(recorded + 1U, '\0');
    code = uncompress(reinterpret_cast<Bytef*>(room.data()), &length,
                      reinterpret_cast<const Bytef*>(stored.data() + 4),
                      static_cast<uLong>(stored.size() - 4));
  }

  uLongf length;
  int code;
};

/// Bytes that deflate to about half their number.
std::string Noise(std::size_t size) {
  std::mt19937 random(1);
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    byte = static_cast<char>(random() % 16);
  }
  return bytes;
}

void ExpectAsZlib(const std::string& stored, std::uint32_t recorded) {
  const Inflated expected(stored, recorded);
  const BlockCheck check =
      CheckOf({.name = "A",
               .compressed = true,
               .storedBytes = ByteWriter().U32(recorded).Bytes() + stored.substr(4)});
  EXPECT_EQ(check.zlibCode, expected.code) << stored.size() << " bytes for " << recorded;
  EXPECT_EQ(check.recordedLength, recorded);
  if (expected.code == 0) {
    EXPECT_EQ(check.length, expected.length);
    EXPECT_FALSE(check.isCut);
  }
}

TEST(BlockCheck, RawBlock_HasItsStoredLength) {
  const BlockCheck check = CheckOf({.name = "A", .payload = "12345"});
  EXPECT_EQ(check.sizeInFile, 5U);
  EXPECT_EQ(check.recordedLength, 5U);
  EXPECT_EQ(check.length, 5U);
  EXPECT_EQ(check.zlibCode, 0);
}

TEST(BlockCheck, BlockOfManyPieces_ComesOutWhole) {
  for (const std::size_t size : {65535U, 65536U, 65537U, 1000000U}) {
    const BlockCheck check = CheckOf({.name = "A", .payload = Noise(size), .compressed = true});
    EXPECT_EQ(check.length, size);
    EXPECT_EQ(check.zlibCode, 0);
  }
}

TEST(BlockCheck, RecordedLengths_GiveWhatZlibGives) {
  const std::string payload = Noise(70000);
  for (const std::uint32_t recorded : {0U, 1U, 65536U, 69999U, 70000U, 70001U, 4000000U}) {
    ExpectAsZlib(Compressed(payload), recorded);
  }
  for (const std::uint32_t recorded : {0U, 1U, 2U}) {
    ExpectAsZlib(Compressed(""), recorded);
    ExpectAsZlib(Compressed("1"), recorded);
  }
}

TEST(BlockCheck, EveryFlippedByteOfASmallStream_GivesWhatZlibGives) {
  const std::string whole = Compressed("some data, some more data, and some data again");
  for (std::size_t i = 4; i < whole.size(); ++i) {
    for (const int bit : {1, 16, 128}) {
      std::string stored = whole;
      stored[i] = static_cast<char>(stored[i] ^ bit);
      ExpectAsZlib(stored, 46);
    }
  }
}

TEST(BlockCheck, EveryCutOfASmallStream_GivesWhatZlibGivesAndIsCut) {
  const std::string whole = Compressed("some data, some more data, and some data again");
  for (std::size_t size = 4; size < whole.size(); ++size) {
    ExpectAsZlib(whole.substr(0, size), 46);
    EXPECT_TRUE(
        CheckOf({.name = "A", .compressed = true, .storedBytes = whole.substr(0, size)}).isCut);
  }
}

TEST(BlockCheck, BlockThatTheFileDoesNotHoldWhole_IsNotInflated) {
  ContainerWriter writer;
  writer.AddCompressed("A", "some data");
  const std::size_t offset = writer.Build().Block("A").offset;
  const BlockCheck check = CheckOfFile(writer.TruncateTo(offset + 6).Build().bytes);
  EXPECT_EQ(check.sizeInFile, 6U);
  EXPECT_EQ(check.recordedLength, 9U);
  EXPECT_EQ(check.length, 0U);
}

TEST(BlockCheck, CompressedBlockWithoutALengthField_HasNoRecordedLength) {
  const BlockCheck check = CheckOf({.name = "A", .compressed = true, .storedBytes = "123"});
  EXPECT_FALSE(check.recordedLength.has_value());
}

#if !defined(TEVTEST_SANITIZED)

TEST(BlockCheck, CompressedBlockWithoutMemoryToInflateIt_FailsForTheLackOfIt) {
  const TempDir directory;
  LbtLbf::LbFile file;
  file.OpenFile(
      directory.Write("a.tev", ContainerWriter().AddCompressed("A", "some data").Build().bytes),
      "rb");
  file.ReadIndex();
  const auto check = [&] {
    static_cast<void>(LbtLbf::CheckBlock(file, file.GetIndex().GetItems().at(0)));
  };
  constexpr std::size_t kLeastOfZlib = 4096;
  constexpr std::size_t kPieces = std::size_t{512} * 1024;
  EXPECT_EQ(DoWithin(kPieces, check), Allowed::Enough);
  EXPECT_EQ(DoWithin(0,
                     [&] {
                       TakeAllPiecesFrom(kLeastOfZlib);
                       check();
                     }),
            Allowed::TooLittle);
}

#endif

}  // namespace
}  // namespace tevtest
