// Reading values of a stream one after another, and looking at what comes next.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "LbfSupport.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Lbf/StreamReader.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/TempDir.h"

namespace LbtLbf {
namespace {

using tevtest::ByteWriter;
using tevtest::ContainerWriter;
using tevtest::FailureOf;
using tevtest::NotEnoughBytes;
using tevtest::TempDir;

class Opened {
 public:
  explicit Opened(const ContainerWriter& writer) {
    file_.OpenFile(directory_.Write("a.tev", writer.Build().bytes), "rb");
  }

  LbFile* operator->() { return &file_; }
  LbFile& operator*() { return file_; }

 private:
  TempDir directory_;
  LbFile file_;
};

struct Values {
  unsigned int number = 1;
  bool flag = false;
  std::string text = "old";
  unsigned long wide = 2;
};

void ReadEach(Opened& file, Values& values) {
  StreamReader(*file, "A").Get(values.number, values.flag, values.text, values.wide);
}

void ExpectRead(const Values& values) {
  EXPECT_EQ(values.number, 7U);
  EXPECT_TRUE(values.flag);
  EXPECT_EQ(values.text, "abc");
  EXPECT_EQ(values.wide, 0x100000000U);
}

TEST(StreamReader, ValuesInOneBlock_FollowOneAnother) {
  Opened file(ContainerWriter().AddRaw(
      "A", ByteWriter().U32(7).U8(1).Text("abc").U64(0x100000000).U8(9).Bytes()));
  Values values;
  ReadEach(file, values);
  ExpectRead(values);
  unsigned char next = 0;
  file->Get("A", next);
  EXPECT_EQ(next, 9);
}

TEST(StreamReader, EachValueInABlockOfItsOwn_IsRead) {
  Opened file(ContainerWriter()
                  .AddRaw("A", ByteWriter().U32(7).Bytes())
                  .AddRaw("A", "")
                  .AddRaw("A", ByteWriter().U8(1).Bytes())
                  .AddRaw("B", "x")
                  .AddRaw("A", ByteWriter().Text("abc").Bytes())
                  .AddRaw("A", ByteWriter().U64(0x100000000).Bytes()));
  Values values;
  ReadEach(file, values);
  ExpectRead(values);
}

TEST(StreamReader, ValueThatABlockCannotHold_FailsBehindThoseBefore) {
  Opened file(ContainerWriter()
                  .AddRaw("A", ByteWriter().U32(7).U8(1).U32(9).Bytes())
                  .AddRaw("A", ByteWriter().Text("abc").Bytes()));
  Values values;
  EXPECT_EQ(FailureOf([&] { ReadEach(file, values); }), NotEnoughBytes());
  EXPECT_EQ(values.number, 7U);
  EXPECT_TRUE(values.flag);
  EXPECT_EQ(values.text, "old");
  EXPECT_EQ(values.wide, 2U);
}

TEST(StreamReader, MissingStream_LeavesAllValuesAlone) {
  Opened file(ContainerWriter().AddRaw("B", "x"));
  Values values;
  ReadEach(file, values);
  EXPECT_EQ(values.number, 1U);
  EXPECT_FALSE(values.flag);
  EXPECT_EQ(values.text, "old");
  EXPECT_EQ(values.wide, 2U);
}

TEST(StreamReader, ListsOfAStreamInSeveralBlocks_StayValidTogether) {
  Opened file(ContainerWriter()
                  .AddCompressed("A", ByteWriter().U32(2).Text("one").Text("two").Bytes())
                  .AddCompressed("A", ByteWriter().U32(1).U32(5).Bytes()));
  std::vector<std::string_view> texts;
  StoredList<unsigned int> numbers;
  StreamReader(*file, "A").Get(texts, numbers);
  EXPECT_EQ(texts, (std::vector<std::string_view>{"one", "two"}));
  ASSERT_EQ(numbers.size(), 1U);
  EXPECT_EQ(numbers[0], 5U);
}

/// What is left of the block that the next read is served from.
std::string_view Ahead(LbFile& file, std::string_view stream) {
  Block* block = file.FindReadingBlock(stream);
  return block == nullptr ? "no block" : block->Peek();
}

TEST(LbFileReadingBlock, BytesOfTheNextRead_AreSeenAndNotTaken) {
  Opened file(ContainerWriter().AddRaw("A", "abc").AddRaw("A", "de"));
  unsigned char taken = 0;
  file->Get("A", taken);  // which reads the index
  EXPECT_EQ(Ahead(*file, "A"), "bc");
  EXPECT_EQ(Ahead(*file, "A"), "bc");
  file->Get("A", taken);
  file->Get("A", taken);
  EXPECT_EQ(taken, 'c');
  EXPECT_EQ(Ahead(*file, "A"), "de");
}

TEST(LbFileReadingBlock, ClosedFileUnreadIndexOrMissingStream_HasNone) {
  LbFile closed;
  EXPECT_EQ(closed.FindReadingBlock("A"), nullptr);
  Opened file(ContainerWriter().AddRaw("A", "abc"));
  EXPECT_EQ(file->FindReadingBlock("A"), nullptr);
  file->ReadIndex();
  EXPECT_EQ(Ahead(*file, "A"), "abc");
  EXPECT_EQ(file->FindReadingBlock("B"), nullptr);
}

TEST(LbFileReadingBlock, StreamThatIsUsedUp_HasItsLastOneWithoutBytes) {
  Opened file(ContainerWriter().AddRaw("A", "a"));
  unsigned char taken = 0;
  file->Get("A", taken);
  EXPECT_EQ(Ahead(*file, "A"), "");
}

}  // namespace
}  // namespace LbtLbf
