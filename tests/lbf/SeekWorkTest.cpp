// How much work seeks to and fro can cause: counts of loads, of bytes that are inflated, of memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "CountedIndex.h"
#include "support/ContainerWriter.h"
#include "support/MemoryAllowance.h"

namespace LbtLbf {
namespace {

using tevtest::ByteWriter;
using tevtest::CountedIndex;
using tevtest::Entry;
using tevtest::FailureOf;
using tevtest::IndexOf;
using tevtest::Repeated;
using tevtest::SizeVariables;

constexpr std::size_t kMillion = 1000000;
constexpr std::size_t kMany = 100000;
constexpr std::size_t kSeeks = 1000;

TEST(SeekWork, SeeksToAndFroBetweenTwoCompressedBlocks_InflateOneOfThemTwice) {
  const std::string block = tevtest::Compressed(std::string(kMany, 'x'));
  const auto size = tevtest::Narrow(block.size());
  CountedIndex file(IndexOf(Entry("A", size, true), 2), Repeated(block, 2));
  for (std::size_t i = 0; i < kSeeks; ++i) {
    file.Seek(i % 2 == 0 ? 0 : kMany);
    ASSERT_EQ(file.Read(2), "xx");
  }
  // The second block is never released, since no seek goes beyond it.
  EXPECT_EQ(file.Loads(), 3U);
  EXPECT_EQ(file.Work().loadedFirst, 2 * kMany);
  EXPECT_EQ(file.Work().loadedAgain, kMany);
}

TEST(SeekWork, SeeksRoundManyBlocks_InflateEachTwice) {
  constexpr std::size_t kBlocks = 500;
  constexpr std::size_t kLength = 100000;  // all of them are below the 64 MiB that are kept
  const std::string block = tevtest::Compressed(std::string(kLength, 'x'));
  const auto size = tevtest::Narrow(block.size());
  CountedIndex file(IndexOf(Entry("A", size, true), kBlocks), Repeated(block, kBlocks));
  for (std::size_t i = 0; i < 10 * kBlocks; ++i) {
    file.Seek(i * 7 % kBlocks * kLength);
    ASSERT_EQ(file.Read(1), "x");
  }
  EXPECT_LE(file.Loads(), 2 * kBlocks);
}

// A sanitizer keeps memory of its own, so that an allowance means nothing there.
#if !defined(TEVTEST_SANITIZED)

TEST(SeekWork, BlocksPassedOnce_AreNotKept) {
  constexpr std::size_t kLength = 30000000;
  const std::string block = tevtest::Compressed(std::string(kLength, 'x'));
  const auto size = tevtest::Narrow(block.size());
  constexpr std::size_t kRoomForTwo = 2 * kLength + 10000000;
  EXPECT_EQ(tevtest::DoWithin(kRoomForTwo,
                              [&] {
                                CountedIndex file(IndexOf(Entry("A", size, true), 5),
                                                  Repeated(block, 5));
                                for (std::size_t i = 0; i < 5; ++i)
                                  file.Seek(i * kLength);
                              }),
            tevtest::Allowed::Enough);
}

#endif

// Blocks beyond what is kept in all: only the last two stay.
TEST(SeekWork, LargeBlocksSoughtAgain_AreKeptByTwo) {
  constexpr std::size_t kLength = 40000000;
  const std::string block = tevtest::Compressed(std::string(kLength, 'x'));
  const auto size = tevtest::Narrow(block.size());
  CountedIndex file(IndexOf(Entry("A", size, true), 4), Repeated(block, 4));
  for (int round = 0; round < 2; ++round)
    for (std::size_t i = 0; i < 4; ++i)
      file.Seek(i * kLength);
  ASSERT_EQ(file.Loads(), 7U);
  file.Seek(kLength);  // released before the last one, which is still there
  file.Seek(2 * kLength);
  EXPECT_EQ(file.Loads(), 7U);
  file.Seek(0);
  EXPECT_EQ(file.Loads(), 8U);
}

TEST(SeekWork, BlocksThatAreAllKept_AreInflatedOnceWithinTheLimit) {
  constexpr std::size_t kBlocks = 5;
  const std::string block = tevtest::Compressed(std::string(kMany, 'x'));
  const auto size = tevtest::Narrow(block.size());
  for (const auto& [limit, loads] :
       {std::pair(kBlocks * (kMany + 1000), kBlocks), std::pair(kMany, 2 * kBlocks + 1)}) {
    CountedIndex file(IndexOf(Entry("A", size, true), kBlocks), Repeated(block, kBlocks));
    file.KeepAll(limit);
    for (std::size_t i = 0; i < 3 * kBlocks; ++i) {
      file.Seek(i % kBlocks * kMany);
      ASSERT_EQ(file.Read(1), "x");
    }
    if (limit > kBlocks * kMany) {
      EXPECT_EQ(file.Loads(), loads);
    } else {
      EXPECT_GE(file.Loads(), loads);
    }
  }
}

TEST(KeptContents, ThatAreThereAlready_StayThoseOfTheFirstTime) {
  KeptContents kept;
  for (const char* text : {"first", "second"}) {
    Block block;
    const std::string_view bytes(text);
    std::ranges::copy(bytes, block.RoomFor(static_cast<std::uint32_t>(bytes.size())).begin());
    block.Append(static_cast<std::uint32_t>(bytes.size()));
    kept.Keep(7, std::move(block));
  }
  auto found = kept.Take(7);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->GetSize(), 5U);
  EXPECT_FALSE(kept.Take(7));
}

TEST(SeekWork, RefusedBlock_IsReadOnceAndRefusedEachTime) {
  const std::string block = ByteWriter().U32(1000).Raw("this is no zlib stream").Bytes();
  CountedIndex file(IndexOf(Entry("A", tevtest::Narrow(block.size()), true), 1), block);
  testing::internal::CaptureStderr();
  for (std::size_t i = 0; i < kSeeks; ++i)
    ASSERT_EQ(FailureOf([&] { file.Seek(1); }), tevtest::kPlainException);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            Repeated("Error -3 while uncompressing block \n", kSeeks));
  EXPECT_EQ(file.BlockBytes(), block.size());
}

/// A block of two bytes, empty ones, and another one of two bytes.
CountedIndex EmptyOnesBetween(const std::string& empty, std::size_t count) {
  const auto size = tevtest::Narrow(empty.size());
  return {ByteWriter().U32(tevtest::Narrow(count + 2)).Bytes() + Entry("A", 2, false) +
              Repeated(Entry("A", size, !empty.empty()), count) + Entry("A", 2, false),
          "ab" + Repeated(empty, count) + "cd"};
}

TEST(SeekWork, EmptyCompressedBlocksReadOverAgainAndAgain_AreEachLoadedOnce) {
  const std::string empty = tevtest::Compressed("");
  CountedIndex file = EmptyOnesBetween(empty, kMany);
  for (std::size_t i = 0; i < kSeeks; ++i) {
    file.Seek(2);
    file.Seek(0);
    ASSERT_EQ(file.Read(2), "ab");
    ASSERT_EQ(file.Read(2), "cd");
  }
  EXPECT_LE(file.Loads(), kMany + 4);
  EXPECT_EQ(file.Work().loadedFirst, 4U);
}

// What is counted is processor time, since a step over a block that stores nothing shows nowhere
// else: 1,000 times 1,000,000 of them would take seconds.
TEST(SeekWork, EmptyRawBlocksReadOverAgainAndAgain_AreSteppedOverOnce) {
  CountedIndex file = EmptyOnesBetween("", kMillion);
  const std::clock_t start = std::clock();
  for (std::size_t i = 0; i < kSeeks; ++i) {
    file.Seek(2);
    file.Seek(0);
    ASSERT_EQ(file.Read(2), "ab");
    ASSERT_EQ(file.Read(2), "cd");
  }
  EXPECT_LT(std::clock() - start, 2 * CLOCKS_PER_SEC);
  EXPECT_LE(file.Loads(), 4U);
}

TEST(SeekWork, PositionAfterManySuspects_IsFoundWithoutAWalkEachTime) {
  const std::string empty = tevtest::Compressed("");
  CountedIndex file = EmptyOnesBetween(empty, kMany);
  file.Seek(3);
  const std::clock_t start = std::clock();
  for (std::size_t i = 0; i < kMany; ++i)
    ASSERT_EQ(file.Position(), 3U);
  EXPECT_LT(std::clock() - start, 2 * CLOCKS_PER_SEC);
  EXPECT_EQ(file.Loads(), 1U);
}

TEST(SeekWork, SmallBlocks_TakeTheMemoryThatTheyHold) {
  constexpr std::size_t kBlocks = 160000;
  constexpr std::size_t kMemory = std::size_t{64} * 1024 * 1024;
  const auto readAll = [] {
    SizeVariables::Unset(SizeVariables::kDefaultSize);
    CountedIndex file(IndexOf(Entry("A", 4, false), kBlocks), std::string(4 * kBlocks, 'x'));
    SizeVariables::Set(SizeVariables::kDefaultSize, "10485760");
    for (std::size_t i = 0; i < kBlocks; ++i)
      static_cast<void>(file.Read(4));
  };
  EXPECT_EQ(tevtest::DoWithin(kMemory, readAll), tevtest::Allowed::Enough);
}

TEST(SeekWork, SeeksThatKeepFailing_RememberEachBlockOnce) {
  const std::string block = ByteWriter().U32(10).Raw("xx").Bytes();
  CountedIndex file(ByteWriter().U32(2).Bytes() + Entry("A", 6, true) + Entry("A", 2, false),
                    block + "ab");
  testing::internal::CaptureStderr();
  const std::clock_t start = std::clock();
  for (std::size_t i = 0; i < kMany; ++i)
    ASSERT_EQ(FailureOf([&] { file.Seek(1); }), tevtest::kPlainException);
  EXPECT_LT(std::clock() - start, 5 * CLOCKS_PER_SEC);
  static_cast<void>(testing::internal::GetCapturedStderr());
  file.Seek(10);
  EXPECT_EQ(file.Read(2), "ab");
}

}  // namespace
}  // namespace LbtLbf
