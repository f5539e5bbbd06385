// Values of every type as they are decoded from a block.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "LbfSupport.h"
#include "Lbt/Lbf/CopyFromBlock.h"
#include "support/ByteWriter.h"
#include "support/Hex.h"

namespace LbtLbf {
namespace {

using tevtest::BlockOf;
using tevtest::ByteWriter;
using tevtest::FailureOf;
using tevtest::Hex;
using tevtest::NotEnoughBytes;

/// Reads one value from a block of "bytes" into "value"; the bytes that it took.
template <class T>
std::uint32_t ReadInto(T& value, const std::string& bytes) {
  Block block = BlockOf(bytes);
  CopyFromBlock(block, value);
  return block.GetPosition();
}

/// The same for a read that fails by lack of bytes.
template <class T>
std::uint32_t FailInto(T& value, const std::string& bytes) {
  Block block = BlockOf(bytes);
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, value); }), NotEnoughBytes());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Not enough bytes in the block\n");
  return block.GetPosition();
}

TEST(CopyFromBlock, Numbers_AreLittleEndianAndUnaligned) {
  Block block = BlockOf(Hex("fe 04030201 0807060504030201 0000c03f 00000000000004c0"));
  EXPECT_EQ(NumberFromBlock<std::uint8_t>(block), 0xFEU);
  EXPECT_EQ(NumberFromBlock<std::uint32_t>(block), 0x01020304U);
  EXPECT_EQ(NumberFromBlock<std::uint64_t>(block), 0x0102030405060708U);
  EXPECT_EQ(NumberFromBlock<float>(block), 1.5F);
  EXPECT_EQ(NumberFromBlock<double>(block), -2.5);
  EXPECT_TRUE(block.IsConsumed());
}

TEST(CopyFromBlock, Number_WithoutAllItsBytes_FailsWithNothingConsumed) {
  std::uint32_t value = 7;
  EXPECT_EQ(FailInto(value, Hex("010203")), 0U);
  EXPECT_EQ(value, 7U);
}

TEST(CopyFromBlock, SpecialFloats_KeepTheirBits) {
  float value = 0;
  ReadInto(value, Hex("0000807f"));
  EXPECT_EQ(value, std::numeric_limits<float>::infinity());
  ReadInto(value, Hex("00000080"));
  EXPECT_EQ(std::bit_cast<std::uint32_t>(value), 0x80000000U);
  ReadInto(value, Hex("0000c0ff"));
  EXPECT_TRUE(std::isnan(value));
}

TEST(CopyFromBlock, Bool_IsTrueForAnyOtherByteThanZero) {
  bool value = false;
  EXPECT_EQ(ReadInto(value, Hex("02")), 1U);
  EXPECT_TRUE(value);
  ReadInto(value, Hex("00"));
  EXPECT_FALSE(value);
  ReadInto(value, Hex("ff"));
  EXPECT_TRUE(value);
}

TEST(CopyFromBlock, String_IsItsBytes) {
  std::string text = "before";
  EXPECT_EQ(ReadInto(text, Hex("03000000 'abc' 'rest'")), 7U);
  EXPECT_EQ(text, "abc");
}

TEST(CopyFromBlock, StringOfLengthZero_LeavesTheDestination) {
  std::string text = "abc";
  EXPECT_EQ(ReadInto(text, Hex("00000000")), 4U);
  EXPECT_EQ(text, "abc");
}

TEST(CopyFromBlock, StringWithNul_IsCutThereAndConsumedWhole) {
  std::string text;
  EXPECT_EQ(ReadInto(text, Hex("05000000 'a' 00 'bcd'")), 9U);
  EXPECT_EQ(text, "a");
}

TEST(CopyFromBlock, StringThatStartsWithNul_IsEmpty) {
  std::string text = "abc";
  EXPECT_EQ(ReadInto(text, Hex("02000000 00 'b'")), 6U);
  EXPECT_EQ(text, "");
}

TEST(CopyFromBlock, StringWithoutAllItsBytes_FailsWithTheLengthConsumed) {
  std::string text = "abc";
  EXPECT_EQ(FailInto(text, Hex("04000000 'xyz'")), 4U);
  EXPECT_EQ(text, "abc");
}

TEST(CopyFromBlock, StringOfAbsurdLength_Fails) {
  std::string text = "abc";
  EXPECT_EQ(FailInto(text, Hex("ffffffff 'xyz'")), 4U);
  EXPECT_EQ(text, "abc");
}

TEST(CopyFromBlock, StringWithoutItsWholeLength_FailsWithNothingConsumed) {
  std::string text = "abc";
  EXPECT_EQ(FailInto(text, Hex("040000")), 0U);
  EXPECT_EQ(text, "abc");
}

template <class T>
class NumberVector : public testing::Test {
 protected:
  static std::string Stored(std::uint32_t count, const std::vector<T>& elements) {
    ByteWriter writer;
    writer.U32(count);
    for (const T element : elements) {
      Append(writer, element);
    }
    return writer.Bytes();
  }

 private:
  static void Append(ByteWriter& writer, unsigned char value) { writer.U8(value); }
  static void Append(ByteWriter& writer, unsigned int value) { writer.U32(value); }
  static void Append(ByteWriter& writer, float value) { writer.F32(value); }
  static void Append(ByteWriter& writer, double value) { writer.F64(value); }
};

using NumberTypes = testing::Types<unsigned char, unsigned int, float, double>;
TYPED_TEST_SUITE(NumberVector, NumberTypes);

TYPED_TEST(NumberVector, Elements_FollowTheCount) {
  std::vector<TypeParam> values{9, 9, 9, 9, 9};
  const std::string bytes = this->Stored(3, {1, 2, 200});
  EXPECT_EQ(ReadInto(values, bytes + "rest"), bytes.size());
  EXPECT_EQ(values, (std::vector<TypeParam>{1, 2, 200}));
}

TYPED_TEST(NumberVector, CountOfZero_EmptiesTheVector) {
  std::vector<TypeParam> values{9, 9};
  EXPECT_EQ(ReadInto(values, this->Stored(0, {})), 4U);
  EXPECT_TRUE(values.empty());
}

TYPED_TEST(NumberVector, ThatRunsOut_KeepsItsLengthAndWhatFits) {
  std::vector<TypeParam> values;
  const std::string bytes = this->Stored(3, {1, 2});
  EXPECT_EQ(FailInto(values, bytes), bytes.size());
  EXPECT_EQ(values, (std::vector<TypeParam>{1, 2, 0}));
}

TYPED_TEST(NumberVector, ThatRunsOut_LeavesOldValuesWhereThereWereAny) {
  std::vector<TypeParam> values{7, 8, 9, 10};
  FailInto(values, this->Stored(3, {1, 2}));
  EXPECT_EQ(values, (std::vector<TypeParam>{1, 2, 9}));
}

TYPED_TEST(NumberVector, CountUpToTheBlocksSize_IsTheLengthKept) {
  std::vector<TypeParam> values;
  const std::string bytes = this->Stored(0, {1, 2});
  const auto count = static_cast<std::uint32_t>(bytes.size());
  FailInto(values, this->Stored(count, {1, 2}));
  ASSERT_EQ(values.size(), count);
  EXPECT_EQ(values[1], TypeParam{2});
  EXPECT_EQ(values[2], TypeParam{0});
}

TYPED_TEST(NumberVector, CountBeyondTheBlocksSize_IsCutToTheElementsReadAndOne) {
  std::vector<TypeParam> values{7, 8, 9, 10};
  const std::string bytes = this->Stored(0, {1, 2});
  const auto count = static_cast<std::uint32_t>(bytes.size()) + 1;
  EXPECT_EQ(FailInto(values, this->Stored(count, {1, 2})), bytes.size());
  EXPECT_EQ(values, (std::vector<TypeParam>{1, 2, 9}));
}

TYPED_TEST(NumberVector, AbsurdCount_TakesNoMemory) {
  std::vector<TypeParam> values;
  FailInto(values, this->Stored(4294967295U, {1, 2}));
  EXPECT_EQ(values, (std::vector<TypeParam>{1, 2, 0}));
  EXPECT_LE(values.capacity(), 100U);
}

TYPED_TEST(NumberVector, WithoutItsWholeCount_FailsWithNothingChanged) {
  std::vector<TypeParam> values{7};
  EXPECT_EQ(FailInto(values, Hex("0100")), 0U);
  EXPECT_EQ(values, (std::vector<TypeParam>{7}));
}

TEST(CopyFromBlock, VectorWithPartOfAnElementLeft_DoesNotConsumeThePart) {
  std::vector<unsigned int> values;
  EXPECT_EQ(FailInto(values, Hex("03000000 01000000 02000000 0300")), 12U);
  EXPECT_EQ(values, (std::vector<unsigned int>{1, 2, 0}));
}

TEST(CopyFromBlock, Vector_ThatStartsAfterOtherValues_CountsWithTheWholeBlock) {
  std::vector<unsigned char> values;
  Block block = BlockOf(Hex("'abcd' 08000000 01"));
  block.SetPosition(4);
  EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, values); }), NotEnoughBytes());
  EXPECT_EQ(values, (std::vector<unsigned char>{1, 0, 0, 0, 0, 0, 0, 0}));
}

using Texts = std::vector<std::string>;

TEST(CopyFromBlock, Strings_FollowTheirCount) {
  Texts texts{"old", "old", "old"};
  const std::string bytes = ByteWriter().Texts(Texts{"abc", "de"}).Bytes();
  EXPECT_EQ(ReadInto(texts, bytes + "rest"), bytes.size());
  EXPECT_EQ(texts, (Texts{"abc", "de"}));
}

TEST(CopyFromBlock, CountOfZeroStrings_EmptiesTheVector) {
  Texts texts{"old"};
  EXPECT_EQ(ReadInto(texts, Hex("00000000")), 4U);
  EXPECT_TRUE(texts.empty());
}

TEST(CopyFromBlock, ElementOfLengthZero_KeepsWhatWasThere) {
  Texts texts{"one", "two"};
  ReadInto(texts, ByteWriter().Texts(Texts{"", "x", ""}).Bytes());
  EXPECT_EQ(texts, (Texts{"one", "x", ""}));
}

TEST(CopyFromBlock, ElementWithNul_IsCutThere) {
  Texts texts;
  ReadInto(texts, ByteWriter().Texts(Texts{std::string("a\0b", 3), "c"}).Bytes());
  EXPECT_EQ(texts, (Texts{"a", "c"}));
}

TEST(CopyFromBlock, StringsThatRunOut_KeepTheirLengthAndWhatFits) {
  Texts texts{"old", "old", "two", "three", "four"};
  const std::string bytes = ByteWriter().U32(4).Text("a").Text("b").Bytes();
  EXPECT_EQ(FailInto(texts, bytes), bytes.size());
  EXPECT_EQ(texts, (Texts{"a", "b", "two", "three"}));
}

TEST(CopyFromBlock, StringsWhoseLastLacksBytes_ConsumeItsLength) {
  Texts texts;
  EXPECT_EQ(FailInto(texts, ByteWriter().U32(2).Text("a").U32(9).Raw("b").Bytes()), 13U);
  EXPECT_EQ(texts, (Texts{"a", ""}));
}

TEST(CopyFromBlock, AbsurdCountOfStrings_IsCutToTheElementsReadAndOne) {
  Texts texts{"old", "old", "two", "three"};
  FailInto(texts, ByteWriter().U32(4294967295U).Text("a").Text("b").Bytes());
  EXPECT_EQ(texts, (Texts{"a", "b", "two"}));
  Texts fresh;
  FailInto(fresh, ByteWriter().U32(4294967295U).Text("a").Text("b").Bytes());
  EXPECT_EQ(fresh, (Texts{"a", "b", ""}));
  EXPECT_LE(fresh.capacity(), 100U);
}

std::string StoredItem() { return Hex("07 03000000 'abc' 10000000 03 ff"); }

TEST(CopyFromBlock, IndexItems_HaveTheirStoredFieldsAndElseZeros) {
  std::vector<IndexItem> items;
  const std::string bytes = Hex("02000000") + StoredItem() + Hex("08 00000000 00000000 00 01");
  EXPECT_EQ(ReadInto(items, bytes), bytes.size());
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].sequence, 7U);
  EXPECT_EQ(items[0].name, "abc");
  EXPECT_EQ(items[0].size, 16U);
  EXPECT_EQ(items[0].compression, 3U);
  EXPECT_EQ(items[0].options, 255U);
  EXPECT_EQ(items[0].position, 0U);
  EXPECT_EQ(items[0].reservedFlag, 0U);
  EXPECT_EQ(items[0].loaded, 0U);
  EXPECT_EQ(items[0].reservedWord, 0U);
  EXPECT_EQ(items[1].sequence, 8U);
  EXPECT_EQ(items[1].name, "");
  EXPECT_EQ(items[1].options, 1U);
}

TEST(CopyFromBlock, IndexItem_IsCompressedByItsLowestBitOnly) {
  EXPECT_FALSE(IndexItem().IsCompressed());
  IndexItem item;
  item.compression = 0xFE;
  EXPECT_FALSE(item.IsCompressed());
  item.compression = 0xFF;
  EXPECT_TRUE(item.IsCompressed());
}

TEST(CopyFromBlock, CountOfZeroIndexItems_EmptiesTheVector) {
  std::vector<IndexItem> items(2);
  ReadInto(items, Hex("00000000"));
  EXPECT_TRUE(items.empty());
}

TEST(CopyFromBlock, IndexItemsCutAnywhere_FailWithTheVectorUnchanged) {
  const std::string bytes = Hex("02000000") + StoredItem() + StoredItem();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    std::vector<IndexItem> items(3);
    FailInto(items, bytes.substr(0, length));
    EXPECT_EQ(items.size(), 3U) << length;
  }
}

TEST(CopyFromBlock, AbsurdCountOfIndexItems_Fails) {
  std::vector<IndexItem> items;
  FailInto(items, Hex("ffffffff") + StoredItem());
  EXPECT_TRUE(items.empty());
}

}  // namespace
}  // namespace LbtLbf
