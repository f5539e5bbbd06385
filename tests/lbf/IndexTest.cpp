// Reading an index: its entries, where their blocks lie, the second index, and what damage does.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "LbfSupport.h"
#include "Lbt/Lbf/Index.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/Hex.h"

namespace LbtLbf {
namespace {

using tevtest::Container;
using tevtest::ContainerWriter;
using tevtest::FailureOf;
using tevtest::OpenBytes;
using tevtest::OpenContainer;
using tevtest::SizeVariables;

using Entries = std::vector<std::uint64_t>;

std::vector<std::string> NamesOf(const Index& index) {
  std::vector<std::string> names;
  for (const IndexItem& item : index.GetItems()) {
    names.push_back(item.name);
  }
  return names;
}

/// Reads the index of "bytes" that is "size" bytes long; how that failed.
std::string ReadingFailure(Index& index, std::string_view bytes, unsigned long size) {
  const OpenBytes file(bytes);
  std::fseek(file.Stream(), 16, SEEK_SET);
  return FailureOf([&] { index.ReadIndexBufferFromFileStream(file.Stream(), size); });
}

TEST(NumberedBlock, InMessages_IsNamedByNumberAndStream) {
  const NumberedBlock block{3, "Heavy Data"};
  EXPECT_EQ(TextOf(block), "block 3 (Heavy Data)");
  EXPECT_EQ(RefusalText(block), "zlib refuses the data of block 3 (Heavy Data)");
}

TEST(Index, Entries_StandInFileOrderWithTheirFields) {
  OpenContainer file(
      ContainerWriter()
          .Add({.name = "A", .payload = "abc", .sequence = 9, .options = 4})
          .Add(
              {.name = "B", .payload = "hello", .compressed = true, .extraCompressionBits = 0x80}));
  const auto& items = file.Index().GetItems();
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].name, "A");
  EXPECT_EQ(items[0].sequence, 9U);
  EXPECT_EQ(items[0].size, 3U);
  EXPECT_EQ(items[0].compression, 0U);
  EXPECT_EQ(items[0].options, 4U);
  EXPECT_EQ(items[0].loaded, 0U);
  EXPECT_EQ(items[1].compression, 0x81U);
  EXPECT_EQ(file.Index().GetCache().Blocks().size(), 2U);
  EXPECT_FALSE(file.Block(0).HasBuffer());
}

TEST(Index, PositionAndSizeOfTheIndex_AreRecorded) {
  const Container container = ContainerWriter().AddRaw("A", "abc").Build();
  OpenContainer file(container);
  EXPECT_EQ(file.Index().GetIndexPosition(), 16U);
  EXPECT_EQ(file.Index().GetIndexSize(), container.indexSize);
}

TEST(Index, Blocks_FollowTheIndexWithoutGaps) {
  const Container container = ContainerWriter()
                                  .AddRaw("A", "abc")
                                  .AddCompressed("B", "hello")
                                  .AddRaw("C", "")
                                  .AddRaw("A", "xyz")
                                  .Build();
  OpenContainer file(container);
  for (std::size_t i = 0; i < container.blocks.size(); ++i) {
    EXPECT_EQ(file.Index().GetItems()[i].position, container.blocks[i].offset) << i;
  }
}

TEST(Index, TrailingBytesInTheIndex_AreSkipped) {
  const Container container =
      ContainerWriter().AddRaw("A", "abc").SetIndexTrailing("padding").Build();
  OpenContainer file(container);
  EXPECT_EQ(file.Index().GetItems()[0].position, 16 + container.indexSize);
  EXPECT_EQ(file.Read("A", 3), "abc");
}

TEST(Index, Name_IsCutAtNul) {
  OpenContainer file(ContainerWriter().AddRaw(std::string("A\0B", 3), "abc").AddRaw("A", "def"));
  EXPECT_EQ(NamesOf(file.Index()), (std::vector<std::string>{"A", "A"}));
  EXPECT_EQ(file.Index().GetBlockSizeLimiter("A").blocks, (Entries{0, 1}));
}

TEST(Index, EmptyName_IsAStreamLikeAnyOther) {
  OpenContainer file(ContainerWriter().AddRaw("", "abc"));
  EXPECT_EQ(file.Read("", 3), "abc");
}

TEST(Index, EntriesOfOneName_FormOneStream) {
  OpenContainer file(ContainerWriter().AddRaw("A", "1").AddRaw("B", "2").AddRaw("A", "3"));
  EXPECT_EQ(file.Index().GetBlockSizeLimiter("A").blocks, (Entries{0, 2}));
  EXPECT_EQ(file.Index().GetBlockSizeLimiter("B").blocks, (Entries{1}));
  EXPECT_EQ(file.Index().FirstEntries(), (std::vector<std::size_t>{0, 1}));
}

TEST(Index, StreamLimit_ComesFromTheEnvironmentWhenTheIndexIsRead) {
  const SizeVariables variables;
  SizeVariables::Set(SizeVariables::kMaxSize, "1000");
  OpenContainer file(ContainerWriter().AddRaw("A", "1").AddRaw("B", "2"));
  SizeVariables::Unset(SizeVariables::kMaxSize);
  EXPECT_EQ(file.Index().GetBlockSizeLimiter("A").maxBlockSize, 1000U);
  EXPECT_EQ(file.Index().GetBlockSizeLimiter("B").maxBlockSize, 1000U);
}

TEST(Index, BlockThatACallerHoldsAndGoesBackIn_IsReadFromAgain) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").AddRaw("A", "de").AddRaw("A", "fg"));
  Block& held = file.Index().GetReadingBlock("A", file.Stream());
  EXPECT_EQ(file.ReadEach("A", {3, 2, 1}), "abcdef");
  held.SetPosition(1);
  EXPECT_EQ(file.ReadEach("A", {2, 1}), "bcg");
  EXPECT_EQ(file.Index().GetPosition(*file.Index().FindStream("A")), 7U);
}

TEST(Index, BlockThatACallerHolds_StaysWhereItIsWhenAnotherOneIsCreated) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc"));
  Block& held = file.Index().GetReadingBlock("A", file.Stream());
  for (int i = 0; i < 1000; ++i) {
    file.Index().CreateBlock("B");
  }
  EXPECT_EQ(held.GetText(3), "abc");
}

TEST(Index, ReadAnewWithFewerEntries_KnowsNothingOfTheOldOnes) {
  OpenContainer file(ContainerWriter()
                         .AddRaw("A", "abc")
                         .AddRaw("B", "de")
                         .ContinueAfter({.after = 2})
                         .AddRaw("C", "fg"));
  EXPECT_EQ(file.Read("C", 1), "f");
  ASSERT_TRUE(file.Index().LastLoaded().has_value());
  ASSERT_TRUE(file.Index().GetContinuation().has_value());
  const tevtest::Container other = ContainerWriter().AddRaw("A", "x").Build();
  const tevtest::OpenBytes bytes(other);
  std::fseek(bytes.Stream(), static_cast<long>(other.indexOffset), SEEK_SET);
  file.Index().ReadIndexBufferFromFileStream(bytes.Stream(), other.indexSize);
  EXPECT_FALSE(file.Index().LastLoaded().has_value());
  EXPECT_FALSE(file.Index().GetContinuation().has_value());
  EXPECT_FALSE(file.Index().RefusedBlock().has_value());
  EXPECT_EQ(file.Index().GetContinuationUnusedBytes(), 0U);
}

TEST(Index, StreamWhoseBlocksACallerTookAway_IsNotFound) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc"));
  file.Index().GetBlockSizeLimiter("A").blocks.clear();
  EXPECT_EQ(
      FailureOf([&] { static_cast<void>(file.Index().GetReadingBlockIndex("A", file.Stream())); }),
      tevtest::NotFound());
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Index().GetReadingBlockIndex("A")); }),
            tevtest::NotFound());
  EXPECT_EQ(FailureOf([&] { file.Seek("A", 0); }), tevtest::NotFound());
}

TEST(Index, GetBlockSizeLimiter_OfAnUnknownName_IsNotFound) {
  OpenContainer file(ContainerWriter().AddRaw("A", "1"));
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file.Index().GetBlockSizeLimiter("B")); }),
            tevtest::NotFound());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Index : # @ Element Not Found\n");
}

TEST(Index, Reading_IsTracedAtBothEnds) {
  static_cast<void>(tevtest::TakeLog());
  const OpenContainer file(ContainerWriter().AddRaw("A", "1"));
  EXPECT_EQ(tevtest::TakeLog(),
            "Index : # @ Reading index block ... \nIndex : # @ Index block read. \n");
}

TEST(Index, OfCountZero_HasNoEntries) {
  OpenContainer file{ContainerWriter()};
  EXPECT_TRUE(file.Index().IsEmpty());
  EXPECT_TRUE(file.Index().FirstEntries().empty());
}

TEST(Index, Continuation_IsFollowedAndStaysInTheList) {
  const Container container =
      ContainerWriter().AddRaw("A", "abc").AddRaw("A", "def").ContinueAfter({.after = 1}).Build();
  OpenContainer file(container);
  EXPECT_EQ(NamesOf(file.Index()), (std::vector<std::string>{"A", "\vIndex Block 1", "A"}));
  EXPECT_EQ(file.Index().GetItems()[1].position, container.continuations[0].offset);
  EXPECT_EQ(file.Index().GetItems()[2].position, container.blocks[1].offset);
  EXPECT_EQ(file.ReadEach("A", {3, 3}), "abcdef");
}

TEST(Index, Continuation_MayBeCompressed) {
  OpenContainer file(
      ContainerWriter()
          .AddRaw("A", "abc")
          .AddRaw("B", "def")
          .ContinueAfter({.after = 1, .block = {.name = "\vIndex Block 1", .compressed = true}}));
  EXPECT_EQ(file.Index().GetItems().size(), 3U);
  EXPECT_EQ(file.Read("B", 3), "def");
}

TEST(Index, Continuation_NeedsOnlyThePrefix) {
  OpenContainer file(ContainerWriter()
                         .AddRaw("A", "abc")
                         .ContinueAfter({.after = 0, .block = {.name = "\vIndex Block "}}));
  EXPECT_EQ(file.Read("A", 3), "abc");
}

TEST(Index, ContinuationWithTrailingBytes_IsSteppedOverWhole) {
  OpenContainer file(
      ContainerWriter().AddRaw("A", "abc").ContinueAfter({.after = 0, .trailing = "padding"}));
  EXPECT_EQ(file.Read("A", 3), "abc");
}

TEST(Index, ContinuationOfNoEntries_AddsNone) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").ContinueAfter({.after = 1}));
  EXPECT_EQ(file.Index().GetItems().size(), 2U);
  EXPECT_EQ(file.Read("A", 3), "abc");
}

TEST(Index, NameWithoutTheVerticalTab_IsAnOrdinaryBlock) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").AddRaw("Index Block 1", "text"));
  EXPECT_EQ(file.Index().GetItems().size(), 2U);
  EXPECT_EQ(file.Read("Index Block 1", 4), "text");
}

TEST(Index, NameWithoutTheLastBlankOfThePrefix_IsAnOrdinaryBlock) {
  OpenContainer file(ContainerWriter().AddRaw("\vIndex Block", "text"));
  EXPECT_EQ(file.Read("\vIndex Block", 4), "text");
}

TEST(Index, ContinuationThatIsNotTheLastEntry_IsAnOrdinaryBlock) {
  OpenContainer file(ContainerWriter().AddRaw("\vIndex Block 1", "text").AddRaw("A", "abc"));
  EXPECT_EQ(file.Index().GetItems().size(), 2U);
  EXPECT_EQ(file.Read("\vIndex Block 1", 4), "text");
}

TEST(Index, Continuation_IsNotFollowedTwice) {
  OpenContainer file(ContainerWriter()
                         .AddRaw("A", "abc")
                         .AddRaw("B", "def")
                         .ContinueAfter({.after = 0})
                         .ContinueAfter({.after = 1, .block = {.name = "\vIndex Block 2"}}));
  EXPECT_EQ(NamesOf(file.Index()),
            (std::vector<std::string>{"\vIndex Block 1", "A", "\vIndex Block 2"}));
  EXPECT_EQ(file.Read("A", 3), "abc");
  EXPECT_EQ(
      FailureOf([&] { static_cast<void>(file.Index().GetReadingBlockIndex("B", file.Stream())); }),
      tevtest::NotFound());
}

TEST(Index, CutAnywhere_FailsAndLeavesTheIndexEmpty) {
  const Container container = ContainerWriter().AddRaw("A", "abc").AddRaw("B", "de").Build();
  for (unsigned long size = 0; size < container.indexSize; ++size) {
    Index index;
    EXPECT_EQ(ReadingFailure(index, container.bytes, size), tevtest::NotEnoughBytes()) << size;
    EXPECT_TRUE(index.IsEmpty());
    EXPECT_TRUE(index.FirstEntries().empty());
  }
}

TEST(Index, LongerThanTheFile_FailsAndLeavesTheIndexEmpty) {
  const Container container = ContainerWriter().AddRaw("A", "abc").Build();
  Index index;
  EXPECT_EQ(ReadingFailure(index, container.bytes, container.bytes.size() - 15),
            tevtest::UnableToRead());
  EXPECT_TRUE(index.IsEmpty());
  EXPECT_EQ(ReadingFailure(index, container.bytes, 4294967295U), tevtest::UnableToRead());
  EXPECT_TRUE(index.IsEmpty());
}

TEST(Index, ThatFailsAfterAGoodOne_IsEmpty) {
  const Container container = ContainerWriter().AddRaw("A", "abc").Build();
  OpenContainer file(container);
  ASSERT_FALSE(file.Index().IsEmpty());
  EXPECT_EQ(ReadingFailure(file.Index(), container.bytes, 5), tevtest::NotEnoughBytes());
  EXPECT_TRUE(file.Index().IsEmpty());
  EXPECT_TRUE(file.Index().FirstEntries().empty());
}

TEST(Index, ReadAgain_HasEachEntryOnce) {
  const Container container = ContainerWriter().AddRaw("A", "abc").Build();
  OpenContainer file(container);
  EXPECT_EQ(ReadingFailure(file.Index(), container.bytes, container.indexSize), "");
  EXPECT_EQ(file.Index().GetItems().size(), 1U);
  EXPECT_EQ(file.Index().GetBlockSizeLimiter("A").blocks, (Entries{0}));
}

struct DamagedContinuation {
  std::string_view what;
  tevtest::Continuation continuation;
  std::string failure;
  std::string_view message = {};
};

TEST(Index, DamagedContinuation_FailsAndLeavesTheIndexEmpty) {
  const std::string name = "\vIndex Block 1";
  const std::vector<DamagedContinuation> cases{
      {"more entries claimed", {.count = 2}, tevtest::NotEnoughBytes()},
      {"no whole count", {.block = {.name = name, .storedBytes = "ab"}}, tevtest::NotEnoughBytes()},
      {"beyond the file", {.block = {.name = name, .storedSize = 5000}}, tevtest::UnableToRead()},
      {"no length field",
       {.block = {.name = name, .compressed = true, .storedBytes = "abc"}},
       tevtest::NotEnoughBytes()},
      {"no zlib stream",
       {.block = {.name = name,
                  .compressed = true,
                  .storedBytes = tevtest::Hex("04000000 'abcdefgh'")}},
       std::string(tevtest::kPlainException),
       "Error -3 while uncompressing block \n"},
  };
  for (const DamagedContinuation& damaged : cases) {
    const Container container =
        ContainerWriter().AddRaw("A", "abc").ContinueAfter(damaged.continuation).Build();
    Index index;
    testing::internal::CaptureStderr();
    EXPECT_EQ(ReadingFailure(index, container.bytes, container.indexSize), damaged.failure)
        << damaged.what;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), damaged.message) << damaged.what;
    EXPECT_TRUE(index.IsEmpty()) << damaged.what;
  }
}

TEST(Index, CreateBlock_AppendsAnEmptyEntryToTheStream) {
  OpenContainer file(ContainerWriter().AddRaw("A", "abc").AddRaw("B", "de"));
  EXPECT_EQ(file.Index().CreateBlock("A"), 2U);
  EXPECT_EQ(file.Index().GetBlockSizeLimiter("A").blocks, (Entries{0, 2}));
  EXPECT_EQ(file.Index().GetCache().Blocks().size(), 3U);
  const IndexItem& item = file.Index().GetItems()[2];
  EXPECT_EQ(item.name, "A");
  EXPECT_EQ(item.sequence, 0U);
  EXPECT_EQ(item.size, 0U);
  EXPECT_EQ(item.compression, 0U);
  EXPECT_EQ(item.options, 0U);
  EXPECT_EQ(item.loaded, 0U);
}

TEST(Index, CreateBlock_CountsItsOwnSequenceAndWraps) {
  Index index;
  for (unsigned long entry = 0; entry < 257; ++entry) {
    EXPECT_EQ(index.CreateBlock("A"), entry);
  }
  EXPECT_EQ(index.GetItems()[1].sequence, 1U);
  EXPECT_EQ(index.GetItems()[255].sequence, 255U);
  EXPECT_EQ(index.GetItems()[256].sequence, 0U);
}

TEST(Index, CreateBlock_TakesTheLimitForANewStreamOnly) {
  const SizeVariables variables;
  Index index;
  index.CreateBlock("A");
  SizeVariables::Set(SizeVariables::kMaxSize, "1000");
  index.CreateBlock("A");
  index.CreateBlock("B");
  EXPECT_EQ(index.GetBlockSizeLimiter("A").maxBlockSize, 209715200U);
  EXPECT_EQ(index.GetBlockSizeLimiter("B").maxBlockSize, 1000U);
}

}  // namespace
}  // namespace LbtLbf
