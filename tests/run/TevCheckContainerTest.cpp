// What "tev check" says on damaged containers. The models in them are sound.

#include <gtest/gtest.h>

#include "run/TevCheckRun.h"
#include "support/Hex.h"

namespace tevtest {
namespace {

class TevCheckContainer : public TevCheckRun {
 protected:
  /// A sound model with one more block, of which no record is read: the seventh.
  [[nodiscard]] std::string CheckWith(const BlockSpec& block) const {
    ContainerWriter writer = SmallModel().ToContainer();
    const Container container = writer.Add(block).Build();
    const std::string text = Check(container.bytes);
    const std::string start =
        "  " + BlockText(6, "Resources", container.Block("Resources", 1).offset);
    EXPECT_TRUE(text.starts_with(start)) << text << start;
    return text.substr(std::min(text.size(), start.size()));
  }
};

TEST_F(TevCheckContainer, SoundFiles_AreNotMentioned) {
  Write("a.tev", SmallModel());
  ExpectSound({"a.tev", Example("bracket.tev"), Example("heatsink.tev")});
}

TEST_F(TevCheckContainer, OtherFiles_AreNoTevFilesAndToldByTheirLook) {
  for (const auto& [bytes, look] : std::vector<std::pair<std::string, std::string>>{
           {"", "looks like an empty file"},
           {"some text, and more of it", "looks like text"},
           {"<!DOCTYPE html>", "looks like HTML"},
           {"\x1f\x8b\x08", "looks like a gzip file"},
           {SmallModel().Build().erase(4, 1),  // as a transfer in text mode leaves it
            "looks like a Tev file whose line ends a transfer has converted"},
           {"\x01\x02", "does not begin with the signature of one"}}) {
    dir.Write("m.tev", bytes);
    const RunResult run = Run({"check", "m.tev"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.output, "m.tev: NOT A TEV FILE: it " + look + "\n");
    EXPECT_EQ(run.error, "tev: 1 file: 1 not a Tev file\n");
  }
}

TEST_F(TevCheckContainer, NewerVersion_CannotBeChecked) {
  Write("m.tev", SmallModel().SetFileVersion("1.4"));
  const RunResult run = Run({"check", "m.tev"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output,
            "m.tev: UNREADABLE: version 1.4 is newer than this program; versions up to 1.3 can be "
            "read\n");
  EXPECT_EQ(run.error, "tev: 1 file: 1 unreadable\n");
}

TEST_F(TevCheckContainer, FileCutWithinTheHeader_TellsHowMuchIsThere) {
  const std::string bytes = SmallModel().Build();
  for (const std::size_t size : {8U, 11U, 12U, 15U}) {
    EXPECT_EQ(Check(bytes.substr(0, size)),
              "  the file ends before its header does (claimed 16, found " + std::to_string(size) +
                  ")\n");
  }
}

TEST_F(TevCheckContainer, FileCutWithinTheIndex_TellsHowMuchIsThere) {
  ContainerWriter writer = SmallModel().ToContainer();
  const std::size_t size = writer.Build().indexSize;
  EXPECT_EQ(Check(writer.TruncateTo(16 + 10).Build().bytes),
            "  byte 16: the index cannot be read: Unable to read from file (claimed " +
                std::to_string(size) + ", found 10)\n");
}

TEST_F(TevCheckContainer, IndexWithTooFewEntries_CannotBeRead) {
  EXPECT_EQ(Check(SmallModel().ToContainer().SetIndexCount(9).Build().bytes),
            "  byte 16: the index cannot be read: Not enough bytes in the block\n");
}

TEST_F(TevCheckContainer, RefusedSecondIndex_IsNamed) {
  ContainerWriter writer = SmallModel().ToContainer();
  writer.Add({.name = "\vIndex Block 1", .compressed = true, .storedBytes = Hex("04000000 'no'")});
  EXPECT_EQ(Check(writer.Build().bytes),
            "  block 6 (\\x0bIndex Block 1): the index cannot be read: zlib refuses the data "
            "of block 6 (\\x0bIndex Block 1)\n");
}

TEST_F(TevCheckContainer, FileCutWithinABlock_TellsHowMuchIsThere) {
  ContainerWriter writer = SmallModel().ToContainer();
  writer.AddRaw("Resources", "1234567890").AddRaw("Resources", "12345");
  const Container whole = writer.Build();
  const std::size_t spare = whole.Block("Resources", 1).offset;
  EXPECT_EQ(Check(writer.TruncateTo(spare + 4).Build().bytes),
            "  " + BlockText(6, "Resources", spare) +
                ": the file ends before the block does (claimed 10, found 4)\n"
                "    " +
                BlockText(7, "Resources", spare + 10) +
                ": the file ends before the block does (claimed 5, found 0)\n");
}

TEST_F(TevCheckContainer, FileCutAnywhereAfterItsIndex_HasOneCauseForAllThatIsLost) {
  constexpr std::size_t kCuts = 20;
  for (const auto split : {StreamLayout::Split::OneBlock, StreamLayout::Split::BlockPerRecord}) {
    for (const auto packing : {StreamLayout::Packing::Raw, StreamLayout::Packing::Compressed}) {
      const Container whole = SmallModel()
                                  .SetLayoutOfOthers({.split = split, .packing = packing})
                                  .ToContainer()
                                  .Build();
      const std::size_t start = whole.indexOffset + whole.indexSize;
      const std::size_t step = (whole.bytes.size() - start) / kCuts;
      for (std::size_t end = start; end < whole.bytes.size(); end += step) {
        dir.Write("m.tev", whole.bytes.substr(0, end));
        const RunResult run = Run({"check", "m.tev"});
        EXPECT_EQ(run.status, 2);
        // The verdict, the cause, and most often how many findings follow from it.
        EXPECT_TRUE(run.output.starts_with("m.tev: DAMAGED: ")) << run.output;
        EXPECT_NE(run.output.find(": the file ends before the block does"), std::string::npos);
        std::size_t causes = 0;
        for (std::size_t at = 0; (at = run.output.find("\n  ", at)) != std::string::npos; ++at) {
          causes += run.output.compare(at, 5, "\n    ") == 0 ? 0U : 1U;
        }
        EXPECT_EQ(causes, 1U) << end << ' ' << run.output;
      }
    }
  }
}

TEST_F(TevCheckContainer, CompressedBlockWithoutALengthField_IsTooShort) {
  EXPECT_EQ(CheckWith({.name = "Resources", .compressed = true, .storedBytes = "123"}),
            ": the block is too short for a compressed one\n");
}

TEST_F(TevCheckContainer, FlippedBitOfACheckSum_IsRefused) {
  std::string stored = Compressed("some data that is to be kept");
  stored.back() = static_cast<char>(stored.back() ^ 1);
  EXPECT_EQ(CheckWith({.name = "Resources", .compressed = true, .storedBytes = stored}),
            ": zlib refuses the data (code -3)\n");
}

TEST_F(TevCheckContainer, ZlibStreamThatIsCut_IsRefused) {
  // Without the last byte of its check sum all data is there, which has a code of its own.
  std::string stored = Compressed("some data that is to be kept");
  stored.pop_back();
  EXPECT_EQ(CheckWith({.name = "Resources", .compressed = true, .storedBytes = stored}),
            ": the block ends before its zlib stream does (code -5)\n");
  stored.resize(stored.size() - 10);
  EXPECT_EQ(CheckWith({.name = "Resources", .compressed = true, .storedBytes = stored}),
            ": the block ends before its zlib stream does (code -3)\n");
}

TEST_F(TevCheckContainer, RecordedLengthThatIsTooSmall_IsRefused) {
  EXPECT_EQ(CheckWith({.name = "Resources",
                       .payload = std::string(100, 'x'),
                       .compressed = true,
                       .recordedLength = 99}),
            ": zlib finds more data than the block's recorded length (code -5) (claimed 99)\n");
}

TEST_F(TevCheckContainer, RecordedLengthThatIsTooLarge_IsTold) {
  EXPECT_EQ(CheckWith({.name = "Resources",
                       .payload = std::string(100, 'x'),
                       .compressed = true,
                       .recordedLength = 101}),
            ": the recorded length is above what comes out (claimed 101, found 100)\n");
}

TEST_F(TevCheckContainer, BytesAfterTheEntries_AreUnused) {
  ContainerWriter writer = SmallModel().ToContainer();
  const std::size_t size = writer.Build().indexSize;
  EXPECT_EQ(Check(writer.SetIndexTrailing("12345").Build().bytes),
            "  byte " + std::to_string(16 + size) +
                ": the index has bytes after its last entry (claimed " + std::to_string(size + 5) +
                ", found " + std::to_string(size) + ")\n");
}

TEST_F(TevCheckContainer, BytesAfterTheEntriesOfASecondIndex_AreUnused) {
  // Its entry for "Resources": count, then 11 bytes and the name.
  constexpr std::size_t kSize = 4 + 11 + 9;
  for (const bool isCompressed : {false, true}) {
    ContainerWriter writer = SmallModel().ToContainer();
    writer.AddRaw("Resources", "");
    writer.ContinueAfter({.after = 6,
                          .block = {.name = "\vIndex Block 1", .compressed = isCompressed},
                          .trailing = "123"});
    const Container container = writer.Build();
    const std::size_t offset = container.continuations.at(0).offset + (isCompressed ? 0 : kSize);
    EXPECT_EQ(Check(container.bytes),
              "  " + BlockText(6, "\\x0bIndex Block 1", offset) +
                  ": the index has bytes after its last entry (claimed 27, found 24)\n");
  }
}

TEST_F(TevCheckContainer, StreamOfANameThatNobodyReads_IsToldOnce) {
  ContainerWriter writer = SmallModel().ToContainer();
  for (BlockSpec& block : writer.Blocks()) {
    if (block.name == kAttributes) {
      block.name = "Attributer";
    }
  }
  writer.AddRaw("Attributer", "123");
  const Container container = writer.Build();
  EXPECT_EQ(Check(container.bytes),
            "  " + BlockText(kAttributesBlock, "Attributer", container.Block("Attributer").offset) +
                ": nothing reads a stream of this name\n"
                "  there is no stream \"Attributes\", and one of a name that nothing reads\n");
}

TEST_F(TevCheckContainer, BytesAfterTheLastBlock_AreUnused) {
  const std::string bytes = SmallModel().Build();
  EXPECT_EQ(Check(bytes + "1234567"), "  byte " + std::to_string(bytes.size()) +
                                          ": nothing reads the 7 bytes after the last block\n");
  const std::string empty = ContainerWriter().Build().bytes;
  EXPECT_TRUE(Check(empty + "1")
                  .starts_with("  byte " + std::to_string(empty.size()) +
                               ": nothing reads the 1 byte after the last block\n"));
}

TEST_F(TevCheckContainer, SeveralBadBlocks_AreAllTold) {
  ContainerWriter writer = SmallModel().ToContainer();
  for (int i = 0; i < 2; ++i) {
    writer.Add(
        {.name = "Resources", .compressed = true, .storedBytes = Hex("04000000 'no stream'")});
  }
  const Container container = writer.Build();
  EXPECT_EQ(Check(container.bytes),
            "  " + BlockText(6, "Resources", container.Block("Resources", 1).offset) +
                ": zlib refuses the data (code -3)\n  " +
                BlockText(7, "Resources", container.Block("Resources", 2).offset) +
                ": zlib refuses the data (code -3)\n");
}

TEST_F(TevCheckContainer, NoTreeStream_IsAnEmptyModel) {
  const Container misnamed = ContainerWriter().AddRaw("Tev Tref", "1").Build();
  EXPECT_EQ(Check(misnamed.bytes),
            "  " + BlockText(0, "Tev Tref", misnamed.Block("Tev Tref").offset) +
                ": nothing reads a stream of this name\n"
                "  there is no stream \"Tev Tree\", so the model is empty\n");
  EXPECT_EQ(Check(ContainerWriter().Build().bytes),
            "  there is no stream \"Tev Tree\", so the model is empty\n");
}

}  // namespace
}  // namespace tevtest
