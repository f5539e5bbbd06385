// A stream that was found once: where it stands, how long it is, and what its loads have cost.

#include <gtest/gtest.h>

#include <string>

#include "LbfSupport.h"
#include "Lbt/Lbf/LbFile.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/TempDir.h"

namespace LbtLbf {
namespace {

using tevtest::ByteWriter;
using tevtest::ContainerWriter;
using tevtest::FailureOf;

class Opened {
 public:
  explicit Opened(const ContainerWriter& writer) {
    file_.OpenFile(directory_.Write("a.tev", writer.Build().bytes), "rb");
  }

  LbFile* operator->() { return &file_; }

  NamedStream& Stream(std::string_view name) { return *file_.FindStream(name); }
  std::uint64_t Position() { return file_.GetPosition(Stream("A")); }
  std::uint64_t Length() { return file_.ReadRecordedLength(Stream("A")); }
  void Read(unsigned int length) { static_cast<void>(file_.GetBytes("A", length)); }

 private:
  tevtest::TempDir directory_;
  LbFile file_;
};

/// "abc", "defgh" (compressed), "ij": ten bytes.
ContainerWriter ThreeBlocks() {
  return ContainerWriter().AddRaw("A", "abc").AddCompressed("A", "defgh").AddRaw("A", "ij");
}

std::string Damaged(std::uint32_t length) {
  return ByteWriter().U32(length).Raw("this is no zlib stream").Bytes();
}

TEST(FoundStream, UnknownName_IsNoneAndLogsNothing) {
  Opened file(ThreeBlocks());
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(file->FindStream("B"), nullptr);
  EXPECT_EQ(tevtest::TakeErrorLog(), "");
  EXPECT_NE(file->FindStream("A"), nullptr);
}

TEST(FoundStream, Byte_HasTheBlockThatHoldsIt) {
  Opened file(ContainerWriter(ThreeBlocks()).AddRaw("B", "k").AddRaw("A", "lm"));
  const std::string blocks = "000111112244";
  for (std::uint64_t position = 0; position < blocks.size(); ++position) {
    EXPECT_EQ(file->FindBlockAt("A", position), blocks[position] - '0') << position;
  }
  EXPECT_EQ(file->FindBlockAt("A", blocks.size()), std::nullopt);
  EXPECT_EQ(file->FindBlockAt("A", std::uint64_t{1} << 40U), std::nullopt);
  EXPECT_EQ(file->FindBlockAt("C", 0), std::nullopt);
  EXPECT_EQ(file->FindBlockAt("A", 0), 0U) << "also after a look further on";
}

TEST(FoundStream, ByteAfterALengthThatCannotBeRead_HasNoBlock) {
  ContainerWriter writer = ThreeBlocks();
  const tevtest::Container whole = writer.Build();
  Opened file(writer.TruncateTo(whole.Block("A", 1).offset + 2));
  EXPECT_EQ(file->FindBlockAt("A", 2), 0U);
  EXPECT_EQ(file->FindBlockAt("A", 9), std::nullopt);
}

TEST(FoundStream, RefusedBlock_IsToldOnStandardErrorUnlessThatIsLeftOut) {
  Opened file(ContainerWriter().Add({.name = "A", .compressed = true, .storedBytes = Damaged(10)}));
  for (const auto& [line, text] :
       {std::pair(RefusalLine::Written, "Error -3 while uncompressing block \n"),
        {RefusalLine::LeftOut, ""}}) {
    file->GetIndex().SetRefusalLine(line);
    testing::internal::CaptureStderr();
    EXPECT_EQ(FailureOf([&] { file.Read(1); }), tevtest::kPlainException);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), text);
  }
}

TEST(FoundStream, RefusedSecondIndex_IsLeftOutAsWell) {
  ContainerWriter writer = ContainerWriter().AddRaw("A", "1");
  writer.Add({.name = "\vIndex Block 1", .compressed = true, .storedBytes = Damaged(10)});
  Opened file(writer);
  file->GetIndex().SetRefusalLine(RefusalLine::LeftOut);
  testing::internal::CaptureStderr();
  EXPECT_EQ(FailureOf([&] { file->ReadIndex(); }), tevtest::kPlainException);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(FoundStream, Name_IsLookedForInTheIndexOfTheFile) {
  Opened file(ThreeBlocks());
  EXPECT_NE(file->FindStream("A"), nullptr);
  EXPECT_EQ(file->GetIndex().GetItems().size(), 3U);
}

TEST(FoundStream, ClosedFile_ServesWhatIsInMemory) {
  Opened file(ThreeBlocks());
  file.Read(1);
  file->CloseFile();
  NamedStream& stream = file.Stream("A");
  EXPECT_EQ(file->GetReadingBlock(stream).GetText(2), "bc");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(file->GetReadingBlock(stream)); }),
            tevtest::NotFound());
}

TEST(FoundStream, Block_IsThatOfTheNextRead) {
  Opened file(ThreeBlocks());
  NamedStream& stream = file.Stream("A");
  file->SetBlockPosition(stream, 4);
  EXPECT_EQ(file->GetReadingBlock(stream).GetText(4), "efgh");
  EXPECT_EQ(file->GetReadingBlock(stream).GetText(2), "ij");
}

TEST(FoundStream, Position_CountsFromTheStartOfTheStream) {
  Opened file(ThreeBlocks());
  EXPECT_EQ(file.Position(), 0U);
  for (const unsigned int length : {1U, 2U, 4U, 1U, 1U, 1U}) {
    const std::uint64_t before = file.Position();
    file.Read(length);
    EXPECT_EQ(file.Position(), before + length);
  }
  EXPECT_EQ(file.Position(), 10U);
}

TEST(FoundStream, PositionAfterASeek_IsItsOffset) {
  for (std::uint64_t offset = 0; offset <= 10; ++offset) {
    Opened file(ThreeBlocks());
    NamedStream& stream = file.Stream("A");
    file->SetBlockPosition(stream, offset);
    EXPECT_EQ(file.Position(), offset);
    file->SetBlockPosition(stream, 10 - offset);
    EXPECT_EQ(file.Position(), 10 - offset);
  }
}

TEST(FoundStream, PositionAfterASeekOverAnEmptyCompressedBlock_IsItsOffset) {
  Opened file(ContainerWriter()
                  .AddRaw("A", "abc")
                  .AddCompressed("A", "")
                  .AddRaw("A", "")
                  .AddRaw("A", "de"));
  file->SetBlockPosition(file.Stream("A"), 4);
  EXPECT_EQ(file.Position(), 4U);
}

// From the third block back to the first, reading goes on from the first to the third.
TEST(FoundStream, PositionAfterAReleasedBlock_IsWhereReadingGoesOn) {
  Opened file(ThreeBlocks());
  NamedStream& stream = file.Stream("A");
  file->SetBlockPosition(stream, 8);
  file->SetBlockPosition(stream, 0);
  file.Read(3);
  EXPECT_EQ(file.Position(), 8U);
  EXPECT_EQ(file->GetReadingBlock(stream).GetText(2), "ij");
}

TEST(FoundStream, Position_LoadsNothing) {
  Opened file(ThreeBlocks());
  file.Read(3);
  EXPECT_EQ(file.Position(), 3U);
  EXPECT_EQ(file.Stream("A").Work().loads, 1U);
}

TEST(FoundStream, RecordedLength_IsTheSumOfAllBlocksAndInflatesNothing) {
  Opened file(ThreeBlocks().AddRaw("B", "no part of it"));
  EXPECT_EQ(file.Length(), 10U);
  EXPECT_EQ(file.Stream("A").Work().loads, 0U);
}

TEST(FoundStream, RecordedLength_CountsNoMoreThanDeflateCanMake) {
  Opened file(ContainerWriter().Add(
      {.name = "A", .compressed = true, .storedBytes = Damaged(4294967295U)}));
  EXPECT_EQ(file.Length(), 22U * 1032 + 64);
}

TEST(FoundStream, RecordedLength_CountsWhatTheFileHolds) {
  const std::size_t start = ThreeBlocks().Build().Block("A").offset;
  Opened inTheFirst(ThreeBlocks().TruncateTo(start + 2));
  EXPECT_EQ(inTheFirst.Length(), 2U);
  Opened inTheLengthField(ThreeBlocks().TruncateTo(start + 6));
  EXPECT_EQ(inTheLengthField.Length(), 3U);
}

TEST(FoundStream, RecordedLengthWithACreatedBlock_IsThatOfTheFilesBlocks) {
  Opened file(ThreeBlocks());
  EXPECT_EQ(file.Length(), 10U);
  file->GetIndex().CreateBlock("A");
  EXPECT_EQ(file.Length(), 10U);
}

TEST(FoundStream, Work_TellsFirstLoadsFromFurtherOnes) {
  Opened file(ThreeBlocks());
  NamedStream& stream = file.Stream("A");
  file->SetBlockPosition(stream, 9);
  EXPECT_EQ(stream.Work().loadedFirst, 2U);
  file->SetBlockPosition(stream, 0);
  EXPECT_EQ(stream.Work().loadedFirst, 5U);
  EXPECT_EQ(stream.Work().loadedAgain, 0U);
  file->GetIndex().ReadBufferFromFileStream(0, tevtest::OpenBytes(ThreeBlocks().Build()).Stream());
  EXPECT_EQ(stream.Work().loadedFirst, 5U);
  EXPECT_EQ(stream.Work().loadedAgain, 3U);
  EXPECT_EQ(stream.Work().loads, 3U);
}

/// A file whose second block zlib refuses.
ContainerWriter RefusedSecond() {
  return ContainerWriter()
      .AddRaw("A", "abc")
      .Add({.name = "B", .compressed = true, .storedBytes = Damaged(5)})
      .Add({.name = "C", .compressed = true, .storedBytes = "xyz"});
}

class RefusedBlockOfAnIndex : public ::testing::Test {
 protected:
  std::string Read(std::string_view name) {
    testing::internal::CaptureStderr();
    const std::string failure = FailureOf([&] { static_cast<void>(file_->GetBytes(name, 1)); });
    static_cast<void>(testing::internal::GetCapturedStderr());
    return failure;
  }
  std::string Name() {
    const auto block = file_->GetIndex().RefusedBlock();
    return block ? std::to_string(block->number) + block->stream : "none";
  }

  Opened file_{RefusedSecond()};
};

TEST_F(RefusedBlockOfAnIndex, AfterARefusal_HasItsNumberAndStream) {
  EXPECT_EQ(Read("B"), tevtest::kPlainException);
  EXPECT_EQ(Name(), "1B");
}

TEST_F(RefusedBlockOfAnIndex, BeforeAnyLoad_IsNone) { EXPECT_EQ(Name(), "none"); }

TEST_F(RefusedBlockOfAnIndex, AfterANextLoad_IsNone) {
  EXPECT_EQ(Read("B"), tevtest::kPlainException);
  EXPECT_EQ(Read("A"), "");
  EXPECT_EQ(Name(), "none");
}

TEST_F(RefusedBlockOfAnIndex, AfterALoadThatFailsOtherwise_IsNone) {
  EXPECT_EQ(Read("B"), tevtest::kPlainException);
  EXPECT_EQ(Read("C"), tevtest::NotEnoughBytes());
  EXPECT_EQ(Name(), "none");
}

TEST_F(RefusedBlockOfAnIndex, AfterASeekInMemory_IsNone) {
  EXPECT_EQ(Read("A"), "");
  EXPECT_EQ(Read("B"), tevtest::kPlainException);
  file_->SetBlockPosition("A", 1);
  EXPECT_EQ(Name(), "none");
}

TEST(RefusedBlock, SecondIndex_IsToldWithItsNumber) {
  LbFile file;
  const tevtest::TempDir directory;
  file.OpenFile(
      directory.Write(
          "a.tev",
          ContainerWriter()
              .AddRaw("A", "abc")
              .Add({.name = "\vIndex Block 1", .compressed = true, .storedBytes = Damaged(5)})
              .Build()
              .bytes),
      "rb");
  testing::internal::CaptureStderr();
  EXPECT_EQ(FailureOf([&] { file.ReadIndex(); }), tevtest::kPlainException);
  static_cast<void>(testing::internal::GetCapturedStderr());
  ASSERT_TRUE(file.GetIndex().RefusedBlock().has_value());
  EXPECT_EQ(file.GetIndex().RefusedBlock()->number, 1U);
}

}  // namespace
}  // namespace LbtLbf
