// Seeking in a stream: what is chosen, released, kept, and what damage does on the way.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "LbfSupport.h"
#include "Lbt/Lbf/Index.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/Hex.h"

namespace LbtLbf {
namespace {

using tevtest::BlockSpec;
using tevtest::ContainerWriter;
using tevtest::FailureOf;
using tevtest::OpenContainer;

/// A compressed block that claims "length" bytes and cannot be inflated.
BlockSpec Damaged(std::uint32_t length) {
  return {.name = "A",
          .compressed = true,
          .storedBytes = tevtest::ByteWriter().U32(length).Raw("this is no zlib stream").Bytes()};
}

/// "abc", "defgh" (compressed), "ij": ten bytes.
ContainerWriter ThreeBlocks() {
  return ContainerWriter().AddRaw("A", "abc").AddCompressed("A", "defgh").AddRaw("A", "ij");
}

std::string SeekFailure(OpenContainer& file, unsigned long offset) {
  return FailureOf([&] { file.Seek("A", offset); });
}

std::string ReadFailure(OpenContainer& file, std::size_t length) {
  return FailureOf([&] { static_cast<void>(file.Read("A", length)); });
}

/// The failure of a seek or a read that zlib refuses; its line on standard error is checked.
template <class Action>
void ExpectDataError(Action action) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(action(), tevtest::kPlainException);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error -3 while uncompressing block \n");
}

TEST(IndexSeek, EveryOffset_IsWhereReadingGoesOn) {
  const std::string content = "abcdefghij";
  for (std::size_t offset = 0; offset < content.size(); ++offset) {
    OpenContainer file(ThreeBlocks());
    file.Seek("A", offset);
    EXPECT_EQ(file.Read("A", 1), content.substr(offset, 1)) << offset;
  }
}

TEST(IndexSeek, AmongBlocksInMemory_FindsTheSameBytes) {
  OpenContainer file(ThreeBlocks());
  for (const std::size_t offset : {9U, 0U, 4U, 2U, 8U, 3U}) {
    file.Seek("A", offset);
    EXPECT_EQ(file.Read("A", 1), std::string("abcdefghij").substr(offset, 1)) << offset;
  }
}

TEST(IndexSeek, ToTheEnd_StandsAtTheEndOfTheLastBlock) {
  OpenContainer file(ThreeBlocks());
  file.Seek("A", 10);
  EXPECT_TRUE(file.IsLoaded(2));
  EXPECT_EQ(file.Block(2).GetPosition(), 2U);
  EXPECT_EQ(file.Index().GetReadingBlockIndex("A", file.Stream()), 2U);
  EXPECT_EQ(ReadFailure(file, 1), tevtest::NotEnoughBytes());
}

TEST(IndexSeek, PastTheEnd_FailsWithInvalidPosition) {
  OpenContainer file(ThreeBlocks());
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(SeekFailure(file, 11), tevtest::InvalidPosition());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Invalid block position\n");
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexSeek, FarPastTheEnd_IsNotCutTo32Bits) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(SeekFailure(file, 0x100000000UL), tevtest::InvalidPosition());
  EXPECT_EQ(SeekFailure(file, 0x10000000AUL), tevtest::InvalidPosition());
  EXPECT_EQ(SeekFailure(file, UINT64_MAX), tevtest::InvalidPosition());
}

TEST(IndexSeek, PassedBlock_IsReleasedAndKeepsItsSize) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.Read("A", 1), "a");
  file.Seek("A", 4);
  EXPECT_FALSE(file.Block(0).HasBuffer());
  EXPECT_FALSE(file.IsLoaded(0));
  EXPECT_EQ(file.Block(0).GetSize(), 3U);
  EXPECT_EQ(file.Block(0).GetPosition(), 3U);
  EXPECT_EQ(file.Block(0).GetCapacity(), 10485760U);
}

TEST(IndexSeek, BackToAReleasedBlock_ReloadsIt) {
  OpenContainer file(ThreeBlocks());
  file.Seek("A", 4);
  file.Seek("A", 0);
  EXPECT_TRUE(file.IsLoaded(0));
  EXPECT_TRUE(file.Block(0).HasBuffer());
  EXPECT_EQ(file.Read("A", 3), "abc");
}

TEST(IndexSeek, WithinALoadedBlock_DoesNotLoadItAgain) {
  OpenContainer file(ThreeBlocks());
  file.Seek("A", 4);
  file.Seek("A", 6);
  file.Seek("A", 3);
  EXPECT_EQ(file.Index().GetCache().LoadCount(), 1U);
  EXPECT_EQ(file.Read("A", 5), "defgh");
}

TEST(IndexSeek, Backwards_KeepsTheCursorsFurtherOn) {
  OpenContainer file(ThreeBlocks());
  file.Seek("A", 4);
  EXPECT_EQ(file.Read("A", 2), "ef");
  file.Seek("A", 1);
  EXPECT_EQ(file.Read("A", 2), "bc");
  EXPECT_EQ(file.Read("A", 2), "gh");
}

TEST(IndexSeek, ReleasedBlocks_CountAsReadAfterASeekBack) {
  OpenContainer file(ThreeBlocks());
  file.Seek("A", 8);
  file.Seek("A", 0);
  EXPECT_EQ(file.Read("A", 3), "abc");
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexSeek, PassedBlock_IsNotInflated) {
  OpenContainer file(ThreeBlocks());
  file.Seek("A", 8);
  EXPECT_EQ(file.Index().GetCache().LoadCount(), 1U);
  EXPECT_EQ(file.Block(1).GetSize(), 5U);
  EXPECT_EQ(file.Block(1).GetPosition(), 5U);
  EXPECT_FALSE(file.Block(1).HasBuffer());
  EXPECT_FALSE(file.IsLoaded(1));
}

TEST(IndexSeek, OverADamagedBlock_RaisesNothing) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").Add(Damaged(5)).AddRaw("A", "ij"));
  file.Seek("A", 9);
  EXPECT_EQ(file.Read("A", 1), "j");
}

TEST(IndexSeek, ReadAfterPassingADamagedBlock_GoesOnAfterIt) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").Add(Damaged(5)).AddRaw("A", "ij"));
  file.Seek("A", 8);
  file.Seek("A", 0);
  EXPECT_EQ(file.Read("A", 3), "abc");
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexSeek, IntoADamagedBlock_FailsEachTime) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").Add(Damaged(5)).AddRaw("A", "ij"));
  ExpectDataError([&] { return SeekFailure(file, 5); });
  ExpectDataError([&] { return SeekFailure(file, 3); });
  file.Seek("A", 8);
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexSeek, DamagedBlockWithoutALength_ShowsWhenReadingComesToIt) {
  OpenContainer file(ContainerWriter().Add(Damaged(0)).AddRaw("A", "ij"));
  file.Seek("A", 1);
  ExpectDataError([&] { return ReadFailure(file, 1); });
}

TEST(IndexSeek, SeekThatFailsFurtherOn_LeavesTheDamagedBlockPassed) {
  OpenContainer file(ContainerWriter()
                         .Add(Damaged(5))
                         .AddRaw("A", "abc")
                         .Add({.name = "A", .compressed = true, .storedBytes = "xyz"})
                         .AddRaw("A", "ij"));
  ExpectDataError([&] { return SeekFailure(file, 1); });
  EXPECT_EQ(SeekFailure(file, 20), tevtest::NotEnoughBytes());
  EXPECT_EQ(file.Block(0).GetSize(), 5U);
  EXPECT_EQ(file.Block(0).GetPosition(), 5U);
  EXPECT_EQ(file.Block(1).GetPosition(), 3U);
}

TEST(IndexSeek, OverACompressedBlockWithoutItsLengthField_Fails) {
  OpenContainer file(ContainerWriter()
                         .Add({.name = "A", .compressed = true, .storedBytes = "abc"})
                         .AddRaw("A", "ij"));
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(SeekFailure(file, 4), tevtest::NotEnoughBytes());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Not enough bytes in the block\n");
}

TEST(IndexSeek, OverALengthBeyondTheEndOfTheFile_Fails) {
  ContainerWriter writer = ContainerWriter().AddCompressed("A", "abc").AddRaw("A", "de");
  const std::size_t start = writer.Build().Block("A").offset;
  OpenContainer file(writer.TruncateTo(start + 2));
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(SeekFailure(file, 4), tevtest::UnableToRead());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Unable to read from file\n");
}

TEST(IndexSeek, OverARawBlockBeyondTheEndOfTheFile_ShowsAtTheTarget) {
  ContainerWriter writer = ContainerWriter().AddRaw("A", "abc").AddRaw("A", "de");
  const std::size_t start = writer.Build().Block("A").offset;
  OpenContainer file(writer.TruncateTo(start + 2));
  EXPECT_EQ(SeekFailure(file, 4), tevtest::UnableToRead());
}

TEST(IndexSeek, RecordedLengthAboveTheContent_CountsUntilTheBlockIsRead) {
  OpenContainer file(
      ContainerWriter()
          .Add({.name = "A", .payload = "abc", .compressed = true, .recordedLength = 10})
          .AddRaw("A", "ij"));
  file.Seek("A", 10);
  EXPECT_EQ(file.Read("A", 1), "i");
  file.Seek("A", 4);
  EXPECT_EQ(file.Read("A", 1), "j");
  EXPECT_EQ(SeekFailure(file, 6), tevtest::InvalidPosition());
}

// The first block is recorded with more than it holds, so a first look ends in it.
TEST(IndexSeek, PositionThatACorrectedLengthMoves_IsFoundByTheCorrectedOnes) {
  for (const std::uint32_t recorded : {1000U, 5U}) {
    OpenContainer file(
        ContainerWriter()
            .Add({.name = "A", .payload = "abc", .compressed = true, .recordedLength = recorded})
            .Add({.name = "A", .payload = "de", .compressed = true, .recordedLength = 70})
            .AddRaw("A", "fghij"));
    static_cast<void>(tevtest::TakeErrorLog());
    file.Seek("A", 4);
    EXPECT_EQ(file.Read("A", 1), "e");
    file.Seek("A", 7);
    EXPECT_EQ(file.Read("A", 1), "h");
    EXPECT_EQ(tevtest::TakeErrorLog(), "");
    EXPECT_EQ(SeekFailure(file, 11), tevtest::InvalidPosition());
  }
}

TEST(IndexSeek, RecordedLengthAboveTheContent_AllowsItsEnd) {
  OpenContainer file(
      ContainerWriter()
          .Add({.name = "A", .payload = "abc", .compressed = true, .recordedLength = 10})
          .AddRaw("A", "ij"));
  file.Seek("A", 3);
  EXPECT_EQ(file.Block(0).GetPosition(), 3U);
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexSeek, EmptyBlocks_AreSteppedOver) {
  OpenContainer file(
      ContainerWriter().AddRaw("A", "").AddCompressed("A", "").AddRaw("A", "abc").AddRaw("A", ""));
  file.Seek("A", 0);
  EXPECT_EQ(file.Read("A", 3), "abc");
  file.Seek("A", 3);
  EXPECT_EQ(file.Index().GetReadingBlockIndex("A", file.Stream()), 3U);
  EXPECT_EQ(SeekFailure(file, 4), tevtest::InvalidPosition());
}

TEST(IndexSeek, MissingName_GetsAnEmptyBlock) {
  OpenContainer file(ThreeBlocks());
  file.Seek("B", 0);
  ASSERT_EQ(file.Index().GetItems().size(), 4U);
  EXPECT_EQ(file.Index().GetItems()[3].name, "B");
  EXPECT_EQ(FailureOf([&] { file.Seek("B", 1); }), tevtest::InvalidPosition());
  EXPECT_EQ(file.Index().GetItems().size(), 4U);
}

TEST(IndexSeek, MissingNameAtALargerOffset_FailsButGetsItsBlock) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(FailureOf([&] { file.Seek("B", 7); }), tevtest::InvalidPosition());
  EXPECT_EQ(file.Index().GetItems().size(), 4U);
}

TEST(IndexSeek, CreatedBlock_IsTheLastTarget) {
  OpenContainer file(ThreeBlocks());
  file.Index().CreateBlock("A");
  file.Seek("A", 10);
  EXPECT_EQ(file.Index().GetReadingBlockIndex("A", file.Stream()), 3U);
  EXPECT_FALSE(file.Block(2).HasBuffer());
  EXPECT_EQ(SeekFailure(file, 11), tevtest::InvalidPosition());
}

TEST(IndexSeek, OneStream_LeavesTheOthersAlone) {
  OpenContainer file(
      ContainerWriter().AddRaw("A", "abc").AddRaw("B", "12").AddRaw("A", "de").AddRaw("B", "34"));
  EXPECT_EQ(file.Read("B", 1), "1");
  file.Seek("A", 4);
  EXPECT_TRUE(file.Block(1).HasBuffer());
  EXPECT_EQ(file.Read("B", 1), "2");
  EXPECT_EQ(file.Read("A", 1), "e");
}

TEST(IndexSeek, VeryManyBlocks_LoadTheirTargetsOnly) {
  constexpr std::size_t kBlocks = 20000;
  ContainerWriter writer;
  for (std::size_t i = 0; i < kBlocks; ++i) {
    writer.AddRaw("A", std::string(1, static_cast<char>('a' + i % 26)));
  }
  const tevtest::SizeVariables variables;
  tevtest::SizeVariables::Set(tevtest::SizeVariables::kDefaultSize, "16");
  OpenContainer file(writer);
  for (std::size_t i = 0; i < kBlocks; ++i) {
    const std::size_t offset = i % 2 == 0 ? i : kBlocks - i;
    file.Seek("A", offset);
    ASSERT_EQ(file.Read("A", 1), std::string(1, static_cast<char>('a' + offset % 26)));
  }
  EXPECT_LE(file.Index().GetCache().LoadCount(), kBlocks + 1);
}

}  // namespace
}  // namespace LbtLbf
