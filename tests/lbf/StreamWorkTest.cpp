// How much work hostile indexes and seeks can cause: counts of loads, of jumps in the file and of
// bytes that are read from it.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <new>
#include <string>

#include "CountedIndex.h"
#include "support/ContainerWriter.h"
#include "support/Mask.h"
#include "support/MemoryAllowance.h"

namespace LbtLbf {
namespace {

using tevtest::ByteWriter;
using tevtest::CountedIndex;
using tevtest::Entry;
using tevtest::FailureOf;
using tevtest::IndexOf;
using tevtest::Repeated;

constexpr std::size_t kMillion = 1000000;
constexpr std::size_t kMany = 100000;
constexpr std::size_t kSeeks = 1000;
constexpr std::size_t kLengthField = 4;

TEST(StreamWork, AMillionEmptyBlocksOfOneName_AreNeverLoaded) {
  CountedIndex file(IndexOf(Entry("A", 0, false), kMillion), "");
  ASSERT_EQ(file.Entries(), kMillion);
  for (std::size_t i = 0; i < kSeeks; ++i)
    file.Seek(0);
  EXPECT_EQ(FailureOf([&] { file.Seek(1); }), tevtest::InvalidPosition());
  for (std::size_t i = 0; i < kSeeks; ++i)
    EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read(1)); }), tevtest::NotEnoughBytes());
  // The last block alone is a target, empty as it is.
  EXPECT_LE(file.Loads(), 2 * kSeeks + 2);
  EXPECT_EQ(file.BlockBytes(), 0U);
}

TEST(StreamWork, ManyEmptyCompressedBlocks_AreEachLoadedOnce) {
  const std::string block = tevtest::Compressed("");
  const auto size = tevtest::Narrow(block.size());
  CountedIndex file(IndexOf(Entry("A", size, true), kMany), Repeated(block, kMany));
  for (std::size_t i = 0; i < kSeeks; ++i) {
    file.Seek(0);
    EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read(1)); }), tevtest::NotEnoughBytes());
  }
  EXPECT_LE(file.Loads(), kMany + 2 * kSeeks);
  EXPECT_LE(file.Jumps(), kMany + file.Loads());
  EXPECT_LE(file.BlockBytes(), kMany * kLengthField + file.Loads() * size);
}

TEST(StreamWork, OneByteBlocksSoughtBackwards_AreEachLoadedOnce) {
  CountedIndex file(IndexOf(Entry("A", 1, false), kMany), std::string(kMany, 'x'));
  for (std::size_t offset = kMany; offset-- > 0;) {
    file.Seek(offset);
    ASSERT_EQ(file.Read(1), "x");
  }
  EXPECT_LE(file.Loads(), 2 * kMany);
  EXPECT_LE(file.Jumps(), file.Loads());
  EXPECT_LE(file.BlockBytes(), file.Loads());
}

TEST(StreamWork, CompressedOneByteBlocksSoughtBackwards_HaveTheirLengthReadOnce) {
  const std::string block = tevtest::Compressed("x");
  const auto size = tevtest::Narrow(block.size());
  CountedIndex file(IndexOf(Entry("A", size, true), kMany), Repeated(block, kMany));
  for (std::size_t offset = kMany; offset-- > 0;) {
    file.Seek(offset);
    ASSERT_EQ(file.Read(1), "x");
  }
  EXPECT_LE(file.Loads(), 2 * kMany);
  EXPECT_LE(file.Jumps(), kMany + file.Loads());
  EXPECT_LE(file.BlockBytes(), kMany * kLengthField + file.Loads() * size);
}

TEST(StreamWork, SeeksToAndFro_LoadAtMostABlockEach) {
  CountedIndex file(IndexOf(Entry("A", 1, false), kMany), std::string(kMany, 'x'));
  for (std::size_t i = 0; i < kMany; ++i)
    file.Seek(i % 2 == 0 ? 0 : kMany - 1);
  EXPECT_LE(file.Loads(), 2 * kMany);
  EXPECT_LE(file.Jumps(), file.Loads());
  EXPECT_LE(file.BlockBytes(), file.Loads());
}

TEST(StreamWork, SeeksPastTheEnd_LoadTheLastBlockOnly) {
  CountedIndex file(IndexOf(Entry("A", 1, false), kMany), std::string(kMany, 'x'));
  for (std::size_t i = 0; i < kSeeks; ++i)
    EXPECT_EQ(FailureOf([&] { file.Seek(kMany + 1); }), tevtest::InvalidPosition());
  EXPECT_LE(file.Loads(), kSeeks);
  EXPECT_LE(file.Jumps(), kSeeks);
  EXPECT_LE(file.BlockBytes(), kSeeks);
}

TEST(StreamWork, ContinuationOfAMillionEntries_IsReadAtOnce) {
  const std::string second = IndexOf(Entry("A", 0, false), kMillion);
  const auto size = tevtest::Narrow(second.size());
  CountedIndex file(IndexOf(Entry("\vIndex Block 1", size, false), 1), second);
  EXPECT_EQ(file.Entries(), kMillion + 1);
  file.Seek(0);
  EXPECT_EQ(FailureOf([&] { file.Seek(1); }), tevtest::InvalidPosition());
  EXPECT_EQ(file.BlockBytes(), second.size());
  EXPECT_LE(file.Loads(), 2U);
}

TEST(StreamWork, CompressedContinuationOfAMillionEntries_IsReadAtOnce) {
  const std::string second = tevtest::Compressed(IndexOf(Entry("A", 0, false), kMillion));
  const auto size = tevtest::Narrow(second.size());
  CountedIndex file(IndexOf(Entry("\vIndex Block 1", size, true), 1), second);
  EXPECT_EQ(file.Entries(), kMillion + 1);
  // Its length is looked at before.
  EXPECT_EQ(file.BlockBytes(), kLengthField + second.size());
}

// A stream of three blocks that claim 4 GiB less a byte each, and of one with two bytes.
class LengthsNear4GiB : public ::testing::Test {
 protected:
  static constexpr std::uint64_t kMost = 0xFFFFFFFF;

  static std::string IndexBytes() {
    return ByteWriter().U32(4).Bytes() + Repeated(Entry("A", 4, true), 3) + Entry("A", 2, false);
  }

  CountedIndex file{IndexBytes(), Repeated(ByteWriter().U32(0xFFFFFFFF).Bytes(), 3) + "ij"};
};

TEST_F(LengthsNear4GiB, AreAddedUpWithoutWrapping) {
  file.Seek(3 * kMost);
  EXPECT_EQ(file.Read(2), "ij");
  file.Seek(3 * kMost + 1);
  EXPECT_EQ(file.Read(1), "j");
  EXPECT_EQ(FailureOf([&] { file.Seek(3 * kMost + 3); }), tevtest::InvalidPosition());
  EXPECT_EQ(FailureOf([&] { file.Seek(~0UL); }), tevtest::InvalidPosition());
}

// The length field alone is no zlib stream.
TEST_F(LengthsNear4GiB, SoughtInto_AreInflatedAndRefused) {
  constexpr std::uint64_t kPage = 4096;
  for (const std::uint64_t offset : {kMost - kPage, kMost - 1, kMost, kMost + 1, 2 * kMost - 1}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(FailureOf([&] { file.Seek(offset); }), tevtest::kPlainException) << offset;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error -3 while uncompressing block \n");
  }
}

TEST(StreamWork, StoredSizesNear4GiB_MoveTheBlocksAfterThemOutOfTheFile) {
  CountedIndex file(ByteWriter().U32(3).Bytes() + Repeated(Entry("B", 0xFFFFFFFF, false), 2) +
                        Entry("A", 2, false),
                    "xxij");
  // 2 * (2^32 - 1) + 2 is 2^33: cut to 32 bits, the block would lie at the start.
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read(2)); }), tevtest::UnableToRead());
}

TEST(StreamWork, StoredSizesNear4GiB_AddUpAsTheLengthOfTheirStream) {
  CountedIndex file(ByteWriter().U32(3).Bytes() + Repeated(Entry("A", 0xFFFFFFFF, false), 2) +
                        Entry("A", 2, false),
                    "xxij");
  EXPECT_EQ(FailureOf([&] { file.Seek(0x1FFFFFFFEUL); }), tevtest::UnableToRead());
  EXPECT_EQ(file.Loads(), 1U);  // the target; what was passed is missing, too
}

/// A file whose second index has so many empty entries, each stored in about a hundredth of a byte.
tevtest::Container ManyEmptyEntries(std::size_t count) {
  std::string entries = tevtest::ByteWriter().U32(tevtest::Narrow(count)).Bytes();
  const std::string entry(11, '\0');
  entries.reserve(entries.size() + count * entry.size());
  for (std::size_t i = 0; i < count; ++i) {
    entries += entry;
  }
  return tevtest::ContainerWriter()
      .Add({.name = "\vIndex Block 1", .payload = entries, .compressed = true})
      .Build();
}

constexpr std::size_t kEntriesOfAnyFile = 1048576;

TEST(IndexOfManyEntries, AsManyAsTheFileHasBytesAndAMillion_AreRead) {
  const tevtest::Container container = ManyEmptyEntries(kEntriesOfAnyFile);
  tevtest::OpenContainer file(container);
  EXPECT_EQ(file.Index().GetItems().size(), kEntriesOfAnyFile + 1);
}

TEST(IndexOfManyEntries, MoreThanTheFileCanHold_AreOutOfBounds) {
  const tevtest::Container container = ManyEmptyEntries(4 * kEntriesOfAnyFile);
  ASSERT_LT(container.bytes.size(), kEntriesOfAnyFile);
  const tevtest::OpenBytes file(container);
  std::fseek(file.Stream(), static_cast<long>(container.indexOffset), SEEK_SET);
  Index index;
  EXPECT_EQ(
      FailureOf([&] { index.ReadIndexBufferFromFileStream(file.Stream(), container.indexSize); }),
      tevtest::ExpectedException("Out of Bounds",
                                 "The index has more entries than the file can hold",
                                 tevtest::kIndexHeader));
  EXPECT_TRUE(index.IsEmpty());
}

// A sanitizer has an allocator of its own.
#if !defined(TEVTEST_SANITIZED)

TEST(IndexOfManyEntries, MoreThanTheFileCanHold_AreRefusedBeforeTheyAreInflated) {
  const tevtest::Container container = ManyEmptyEntries(4 * kEntriesOfAnyFile);
  const tevtest::OpenBytes file(container);
  const auto read = [&] {
    std::fseek(file.Stream(), static_cast<long>(container.indexOffset), SEEK_SET);
    Index index;
    const std::string failure =
        FailureOf([&] { index.ReadIndexBufferFromFileStream(file.Stream(), container.indexSize); });
    if (failure.find("more entries") == std::string::npos) {
      throw std::bad_alloc();
    }
  };
  constexpr std::size_t kSmall = std::size_t{1} << 20U;
  EXPECT_EQ(tevtest::DoWithin(kSmall, read), tevtest::Allowed::Enough);
}

TEST(IndexOfManyEntries, EachOfAStreamOfItsOwn_TakesLittleMemory) {
  constexpr std::size_t kTimes = 20;
  ByteWriter entries;
  entries.U32(tevtest::Narrow(kMany));
  for (std::size_t i = 0; i < kMany; ++i) {
    const std::string digits = std::to_string(kMillion + i);
    entries.Raw(Entry(digits.substr(1), 0, false));
  }
  const std::string index = entries.Bytes();
  const tevtest::OpenBytes file(index);
  const auto read = [&] {
    Index found;
    found.ReadIndexBufferFromFileStream(file.Stream(), index.size());
    if (found.FindStream("012345") == nullptr || found.GetItems().size() != kMany) {
      throw std::bad_alloc();
    }
  };
  EXPECT_EQ(tevtest::DoWithin(kTimes * index.size(), read), tevtest::Allowed::Enough);
}

#endif

}  // namespace
}  // namespace LbtLbf
