// Which block of a stream a read is served from.

#include <gtest/gtest.h>

#include <string>

#include "LbfSupport.h"
#include "Lbt/Lbf/Index.h"
#include "support/ContainerWriter.h"
#include "support/Hex.h"

namespace LbtLbf {
namespace {

using tevtest::BlockSpec;
using tevtest::ContainerWriter;
using tevtest::FailureOf;
using tevtest::OpenContainer;

BlockSpec Damaged(const std::string& name) {
  return {.name = name,
          .compressed = true,
          .storedBytes = tevtest::Hex("05000000 'this is no zlib stream'")};
}

ContainerWriter ThreeBlocks() {
  return ContainerWriter().AddRaw("A", "abc").AddCompressed("A", "defgh").AddRaw("A", "ij");
}

unsigned long Chosen(OpenContainer& file, const std::string& name) {
  return file.Index().GetReadingBlockIndex(name, file.Stream());
}

std::string ChoiceFailure(OpenContainer& file, const std::string& name) {
  return FailureOf([&] { static_cast<void>(Chosen(file, name)); });
}

std::string ChoiceInMemoryFailure(OpenContainer& file, const std::string& name) {
  return FailureOf([&] { static_cast<void>(file.Index().GetReadingBlockIndex(name)); });
}

TEST(IndexRead, StreamOfSeveralBlocks_IsReadThroughThemAll) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.Read("A", 2), "ab");
  EXPECT_EQ(file.Read("A", 1), "c");
  EXPECT_EQ(file.Read("A", 5), "defgh");
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexRead, ReadOverABoundary_FailsWithNothingConsumed) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.Read("A", 2), "ab");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read("A", 2)); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(file.Read("A", 1), "c");
  EXPECT_EQ(file.Read("A", 1), "d");
}

TEST(IndexRead, PastTheLastBlock_Fails) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc"));
  EXPECT_EQ(file.Read("A", 3), "abc");
  EXPECT_EQ(Chosen(file, "A"), 0U);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read("A", 1)); }), tevtest::NotEnoughBytes());
}

TEST(IndexRead, OfNoBytes_ChoosesAndLoadsABlock) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.Read("A", 0), "");
  EXPECT_TRUE(file.IsLoaded(0));
  EXPECT_FALSE(file.IsLoaded(1));
}

TEST(IndexRead, Block_IsLoadedWhenTheOneBeforeIsUsedUp) {
  OpenContainer file(ThreeBlocks());
  static_cast<void>(file.Read("A", 3));
  EXPECT_FALSE(file.IsLoaded(1));
  EXPECT_EQ(Chosen(file, "A"), 1U);
  EXPECT_TRUE(file.IsLoaded(1));
  EXPECT_EQ(file.Block(1).GetSize(), 5U);
}

TEST(IndexRead, ConsumedBlocks_StayInMemory) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.ReadEach("A", {3, 5}), "abcdefgh");
  EXPECT_TRUE(file.Block(0).HasBuffer());
  EXPECT_TRUE(file.IsLoaded(0));
}

TEST(IndexRead, EachBlock_IsLoadedOnce) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.ReadEach("A", {3, 5, 1, 1}), "abcdefghij");
  EXPECT_EQ(file.Index().GetCache().LoadCount(), 3U);
}

TEST(IndexRead, Streams_DoNotDisturbEachOther) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").AddRaw("B", "12").AddRaw("A", "de"));
  EXPECT_EQ(file.Read("A", 2), "ab");
  EXPECT_EQ(file.Read("B", 1), "1");
  EXPECT_EQ(file.Read("A", 1), "c");
  EXPECT_EQ(file.Read("A", 2), "de");
  EXPECT_EQ(file.Read("B", 1), "2");
}

TEST(IndexRead, EmptyBlocks_AreSteppedOver) {
  OpenContainer file(ContainerWriter()
                         .AddRaw("A", "")
                         .AddCompressed("A", "")
                         .AddRaw("A", "abc")
                         .AddRaw("A", "")
                         .AddRaw("A", "de"));
  EXPECT_EQ(file.Read("A", 3), "abc");
  EXPECT_EQ(file.Read("A", 2), "de");
}

TEST(IndexRead, EmptyLastBlock_IsChosenAndServesNothing) {
  OpenContainer file(ContainerWriter().AddRaw("A", "a").AddRaw("A", ""));
  EXPECT_EQ(file.Read("A", 1), "a");
  EXPECT_EQ(Chosen(file, "A"), 1U);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read("A", 1)); }), tevtest::NotEnoughBytes());
}

TEST(IndexRead, OnlyAnEmptyBlock_ServesNothing) {
  OpenContainer file(ContainerWriter().AddRaw("A", "").AddCompressed("B", ""));
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read("A", 4)); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read("B", 4)); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(file.Read("A", 0), "");
}

TEST(IndexRead, UnknownName_IsNotFound) {
  OpenContainer file(ThreeBlocks());
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(ChoiceFailure(file, "B"), tevtest::NotFound());
  EXPECT_EQ(ChoiceInMemoryFailure(file, "B"), tevtest::NotFound());
  EXPECT_EQ(tevtest::TakeErrorLog(),
            "Index : # @ Element Not Found\nIndex : # @ Element Not Found\n");
}

TEST(IndexRead, Get_OfAnUnknownName_IsAbsorbedButLogged) {
  OpenContainer file(ThreeBlocks());
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(file.Read("B", 3), "???");
  EXPECT_EQ(tevtest::TakeErrorLog(), "Index : # @ Element Not Found\n");
  char bytes[] = "??";
  file.Index().Get("B", bytes, 2);
  EXPECT_STREQ(bytes, "??");
  EXPECT_EQ(tevtest::TakeErrorLog(), "Index : # @ Element Not Found\n");
}

TEST(IndexRead, Get_TakesTheLow32BitsOfTheLength) {
  OpenContainer file(ThreeBlocks());
  char bytes[] = "????";
  file.Index().Get("A", bytes, 0x100000002UL, file.Stream());
  EXPECT_STREQ(bytes, "ab??");
  file.Index().Get("A", bytes, 0x100000001UL);
  EXPECT_STREQ(bytes, "cb??");
}

TEST(IndexRead, InMemory_NeverLoadedBlock_IsNotFound) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(ChoiceInMemoryFailure(file, "A"), tevtest::NotFound());
}

TEST(IndexRead, InMemory_FirstBlockWithBytesLeft_IsChosen) {
  OpenContainer file(ThreeBlocks());
  file.Index().ReadBufferFromFileStream(1, file.Stream());
  EXPECT_EQ(file.Index().GetReadingBlockIndex("A"), 1U);
  file.Index().ReadBufferFromFileStream(0, file.Stream());
  EXPECT_EQ(file.Index().GetReadingBlockIndex("A"), 0U);
  char bytes[] = "???";
  file.Index().Get("A", bytes, 3);
  EXPECT_STREQ(bytes, "abc");
  EXPECT_EQ(file.Index().GetReadingBlockIndex("A"), 1U);
}

TEST(IndexRead, InMemory_WithEverythingConsumed_IsNotFoundAndAbsorbed) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc"));
  static_cast<void>(file.Read("A", 3));
  EXPECT_EQ(ChoiceInMemoryFailure(file, "A"), tevtest::NotFound());
  char bytes[] = "?";
  file.Index().Get("A", bytes, 1);
  EXPECT_STREQ(bytes, "?");
}

TEST(IndexRead, GetReadingBlock_IsTheBlockOfTheChoice) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(&file.Index().GetReadingBlock("A", file.Stream()), &file.Block(0));
  EXPECT_EQ(&file.Index().GetReadingBlock("A"), &file.Block(0));
}

TEST(IndexRead, Reload_PutsTheCursorBack) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.ReadEach("A", {3, 5}), "abcdefgh");
  file.Index().ReadBufferFromFileStream(1, file.Stream());
  EXPECT_TRUE(file.IsLoaded(1));
  EXPECT_EQ(file.Block(1).GetPosition(), 0U);
  EXPECT_EQ(file.Read("A", 5), "defgh");
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexRead, CursorMovedByHand_IsWhereReadingGoesOn) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.ReadEach("A", {3, 5}), "abcdefgh");
  file.Index().GetBlock(0).SetPosition(1);
  EXPECT_EQ(file.Read("A", 2), "bc");
  EXPECT_EQ(file.Read("A", 2), "ij");
}

TEST(IndexRead, CreatedBlock_ComesAfterTheFilesBlocks) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").AddRaw("B", "de"));
  file.Index().CreateBlock("A");
  EXPECT_EQ(file.Read("A", 3), "abc");
  EXPECT_EQ(Chosen(file, "A"), 2U);
}

TEST(IndexRead, CreatedBlockOfANewName_ServesNothing) {
  OpenContainer file(ThreeBlocks());
  EXPECT_EQ(file.Index().CreateBlock("B"), 3U);
  EXPECT_EQ(Chosen(file, "B"), 3U);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Read("B", 1)); }), tevtest::NotEnoughBytes());
}

TEST(IndexRead, DamagedBlock_FailsEachTimeItIsReached) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").Add(Damaged("A")).AddRaw("A", "de"));
  EXPECT_EQ(file.Read("A", 3), "abc");
  for (int attempt = 0; attempt < 2; ++attempt) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ChoiceFailure(file, "A"), tevtest::kPlainException);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error -3 while uncompressing block \n");
    EXPECT_FALSE(file.IsLoaded(1));
    EXPECT_EQ(file.Block(1).GetSize(), 0U);
  }
}

TEST(IndexRead, CompressedBlockWithoutItsLengthField_FailsWithNotEnoughBytes) {
  OpenContainer file(ContainerWriter()
                         .Add({.name = "A", .compressed = true, .storedBytes = "abc"})
                         .Add({.name = "B", .compressed = true, .storedBytes = ""}));
  EXPECT_EQ(ChoiceFailure(file, "A"), tevtest::NotEnoughBytes());
  EXPECT_EQ(ChoiceFailure(file, "B"), tevtest::NotEnoughBytes());
}

TEST(IndexRead, BlockBeyondTheEndOfTheFile_CannotBeRead) {
  OpenContainer file(
      ContainerWriter().AddRaw("A", "abc").Add({.name = "A", .payload = "de", .storedSize = 3}));
  EXPECT_EQ(file.Read("A", 3), "abc");
  EXPECT_EQ(ChoiceFailure(file, "A"), tevtest::UnableToRead());
  EXPECT_EQ(file.Block(1).GetSize(), 0U);
  EXPECT_FALSE(file.IsLoaded(1));
}

TEST(IndexRead, AbsurdStoredSize_TakesNoMemory) {
  OpenContainer file(
      ContainerWriter().Add({.name = "A", .payload = "de", .storedSize = 4294967295U}));
  EXPECT_EQ(ChoiceFailure(file, "A"), tevtest::UnableToRead());
  EXPECT_EQ(file.Block(0).GetCapacity(), 10485760U);
}

}  // namespace
}  // namespace LbtLbf
