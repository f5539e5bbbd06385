// The door to a model's bytes: values one after another, seeks, and streams that are missing.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "Lbt/Tev/ModelStreams.h"
#include "ModelOnDisk.h"
#include "TraceText.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"

namespace LbtTev {
namespace {

using tevtest::ByteWriter;
using tevtest::ContainerWriter;
using tevtest::FailureOf;
using tevtest::kNotEnoughBytes;
using tevtest::ModelOnDisk;

constexpr const char* kNotFoundLine = "Index : # @ Element Not Found\n";

struct Values {
  unsigned int number = 1;
  bool flag = false;
  std::string text = "old";
  unsigned long wide = 2;
};

void Read(ModelStream& stream, Values& values) {
  stream.Get(values.number, values.flag, values.text, values.wide);
}

void ExpectRead(const Values& values) {
  EXPECT_EQ(values.number, 7U);
  EXPECT_TRUE(values.flag);
  EXPECT_EQ(values.text, "abc");
  EXPECT_EQ(values.wide, 0x100000000U);
}

void ExpectOld(const Values& values) {
  EXPECT_EQ(values.number, 1U);
  EXPECT_FALSE(values.flag);
  EXPECT_EQ(values.text, "old");
  EXPECT_EQ(values.wide, 2U);
}

unsigned int NextByte(ModelStream& stream) {
  unsigned char byte = 0;
  stream.Get(byte);
  return byte;
}

TEST(ModelStream, ValuesInOneBlock_FollowOneAnother) {
  ModelOnDisk disk({{"A", ByteWriter().U32(7).U8(1).Text("abc").U64(0x100000000).U8(9).Bytes()}});
  ModelStream stream(disk.File(), "A");
  Values values;
  Read(stream, values);
  ExpectRead(values);
  EXPECT_EQ(disk.NextByte("A"), 9U);
}

TEST(ModelStream, EachValueInABlockOfItsOwn_IsRead) {
  ModelOnDisk disk({{"A", ByteWriter().U32(7).Bytes()},
                    {"A", ""},
                    {"A", ByteWriter().U8(1).Bytes()},
                    {"B", "x"},
                    {"A", ByteWriter().Text("abc").Bytes()},
                    {"A", ByteWriter().U64(0x100000000).Bytes()}});
  ModelStream stream(disk.File(), "A");
  Values values;
  Read(stream, values);
  ExpectRead(values);
}

TEST(ModelStream, ValueThatABlockCannotHold_FailsAfterThoseBefore) {
  ModelOnDisk disk(
      {{"A", ByteWriter().U32(7).U8(1).U32(9).Bytes()}, {"A", ByteWriter().Text("abc").Bytes()}});
  ModelStream stream(disk.File(), "A");
  Values values;
  EXPECT_EQ(FailureOf([&] { Read(stream, values); }), kNotEnoughBytes);
  EXPECT_EQ(values.number, 7U);
  EXPECT_TRUE(values.flag);
  EXPECT_EQ(values.text, "old");
  EXPECT_EQ(values.wide, 2U);
}

TEST(ModelStream, ThatIsMissing_LeavesAllValuesAloneAndIsLoggedOnce) {
  ModelOnDisk disk({{"B", "x"}});
  ModelStream stream(disk.File(), "A");
  const tevtest::TraceText trace;
  Values values;
  std::array<float, 2> floats{1, 2};
  for (int i = 0; i < 3; ++i) {
    Read(stream, values);
    stream.GetFloats(floats);
    EXPECT_TRUE(stream.GetBytes(4).empty());
    EXPECT_EQ(stream.FindBlock(), nullptr);
  }
  ExpectOld(values);
  EXPECT_EQ(floats, (std::array<float, 2>{1, 2}));
  EXPECT_EQ(tevtest::MaskLog(trace.Lines()), kNotFoundLine);
}

TEST(ModelStream, ThatIsMissing_IsThereWithoutBytesAfterASeek) {
  ModelOnDisk disk({{"B", "x"}});
  ModelStream stream(disk.File(), "A");
  EXPECT_TRUE(stream.GetBytes(4).empty());
  EXPECT_EQ(FailureOf([&] { stream.Seek(1); }), tevtest::kInvalidPosition);
  stream.Seek(0);
  Values values;
  EXPECT_EQ(FailureOf([&] { Read(stream, values); }), kNotEnoughBytes);
  ExpectOld(values);
}

TEST(ModelStream, OfAFileWhoseIndexHasNotBeenRead_ReadsItFirst) {
  const tevtest::TempDir directory;
  LbtLbf::LbFile file;
  file.OpenFile(directory.Write("a.tev", ContainerWriter().AddRaw("A", "z").Build().bytes), "rb");
  ModelStream stream(file, "A");
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('z'));
}

TEST(ModelStream, ListsInSeveralBlocks_StayValidTogether) {
  const tevtest::TempDir directory;
  LbtLbf::LbFile file;
  const ContainerWriter writer =
      ContainerWriter()
          .AddCompressed("A", ByteWriter().U32(2).Text("one").Text("two").Bytes())
          .AddCompressed("A", ByteWriter().U32(1).U32(5).Bytes());
  file.OpenFile(directory.Write("a.tev", writer.Build().bytes), "rb");
  ModelStream stream(file, "A");
  std::vector<std::string_view> texts;
  LbtLbf::StoredList<unsigned int> numbers;
  stream.Get(texts, numbers);
  EXPECT_EQ(texts, (std::vector<std::string_view>{"one", "two"}));
  ASSERT_EQ(numbers.size(), 1U);
  EXPECT_EQ(numbers[0], 5U);
}

TEST(ModelStream, AfterASeek_ReadsFromThere) {
  ModelOnDisk disk({{"A", "abc"}, {"A", "de"}});
  ModelStream stream(disk.File(), "A");
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('a'));
  stream.Seek(4);
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('e'));
  stream.Seek(1);
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('b'));
}

TEST(ModelStream, AfterAnotherReaderOfTheStreamHasMoved_ReadsFromWhereThatStands) {
  ModelOnDisk disk({{"A", "abcdef"}, {"A", "ghi"}});
  ModelStream stream(disk.File(), "A");
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('a'));
  EXPECT_EQ(disk.NextByte("A"), static_cast<unsigned int>('b'));
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('c'));
  disk.File().SetBlockPosition("A", 7);
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('h'));
  disk.File().SetBlockPosition("A", 0);
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('a'));
}

TEST(ModelStream, AfterBlocksHaveMovedInMemory_ReadsOn) {
  ModelOnDisk disk({{"A", "abc"}});
  ModelStream stream(disk.File(), "A");
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('a'));
  for (int i = 0; i < 100; ++i) {
    disk.File().SetBlockPosition("new " + std::to_string(i), 0);
  }
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('b'));
}

TEST(ModelStream, AfterTheIndexWasReadAnew_StartsAgain) {
  ModelOnDisk disk({{"A", "abc"}});
  ModelStream stream(disk.File(), "A");
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('a'));
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('b'));
  disk.File().ReadIndex();
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('a'));
  disk.File().ReadIndex();
  stream.Seek(2);
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('c'));
}

TEST(ModelStream, OfAClosedFile_ReadsWhatIsInMemoryAndThenFailsByTypedReadsOnly) {
  ModelOnDisk disk({{"A", "abc"}, {"A", "d"}});
  ModelStream stream(disk.File(), "A");
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('a'));
  disk.File().CloseFile();
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('b'));
  EXPECT_EQ(NextByte(stream), static_cast<unsigned int>('c'));
  EXPECT_EQ(FailureOf([&] { NextByte(stream); }),
            tevtest::ExpectedException("Element Not Found", "Element Not Found",
                                       "include/Lbt/Lbf/Index"));
  EXPECT_TRUE(stream.GetBytes(1).empty());
  EXPECT_EQ(stream.FindBlock(), nullptr);
}

TEST(ModelStreams, AreThoseOfTheModelLayer) {
  ModelOnDisk disk({{"Tev Tree", "t"},
                    {"Light Data", "l"},
                    {"Heavy Data", "h"},
                    {"Attributes", "a"},
                    {"Resources", "r"},
                    {"Global Information", "g"}});
  ModelStreams streams(disk.File());
  std::string read;
  for (ModelStream* stream : {&streams.tree, &streams.light, streams.heavy.get(),
                              &streams.attributes, &streams.resources, &streams.global}) {
    read += static_cast<char>(NextByte(*stream));
  }
  EXPECT_EQ(read, "tlharg");
}

/// Versions of which "part" holds, of all that any record has, in this order.
std::string VersionsWith(RecordPart part) {
  std::string versions;
  for (const char* version : {"", "0.0a", "0.1", "0.1a", "0.1b", "0.2", "0.3", "0.4", "0.5", "0.6",
                              "0.7", "0.70", "1.3"}) {
    versions += Holds(version, part) ? std::string(1, '"') + version + '"' : "";
  }
  return versions;
}

TEST(RecordParts, AreHeldByTheirVersions) {
  EXPECT_EQ(VersionsWith(RecordPart::RecordSize),
            R"("""0.0a""0.3""0.4""0.5""0.6""0.7""0.70""1.3")");
  EXPECT_EQ(VersionsWith(RecordPart::MaterialFactor),
            R"("""0.0a""0.1a""0.1b""0.2""0.3""0.4""0.5""0.6""0.7""0.70""1.3")");
  EXPECT_EQ(VersionsWith(RecordPart::MaterialFlag),
            R"("""0.0a""0.1a""0.1b""0.3""0.4""0.5""0.6""0.7""0.70""1.3")");
  for (const RecordPart part :
       {RecordPart::ShapeMaterial, RecordPart::GroupTransform, RecordPart::GeometryFlags}) {
    EXPECT_EQ(VersionsWith(part), R"("""0.1a""0.1b""0.2""0.3""0.4""0.5""0.6""0.7""0.70""1.3")");
  }
  for (const RecordPart part : {RecordPart::GroupAttributes, RecordPart::GeometryFurtherFlag}) {
    EXPECT_EQ(VersionsWith(part), R"("""0.1a""0.1b""0.3""0.4""0.5""0.6""0.7""0.70""1.3")");
  }
  for (const RecordPart part : {RecordPart::GroupByte, RecordPart::GeometryAttributes}) {
    EXPECT_EQ(VersionsWith(part), R"("""0.1a""0.1b""0.4""0.5""0.6""0.7""0.70""1.3")");
  }
  EXPECT_EQ(VersionsWith(RecordPart::GeometryLinks), R"("0.5""0.6""0.7")");
  EXPECT_EQ(VersionsWith(RecordPart::GeometryDataAtOnce), R"("0.5")");
  EXPECT_EQ(VersionsWith(RecordPart::GeometryWidePositions), R"("0.7")");
}

}  // namespace
}  // namespace LbtTev
