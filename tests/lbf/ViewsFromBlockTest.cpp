// Lists and texts that are read without a copy.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
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

template <class T>
std::vector<T> ElementsOf(const StoredList<T>& list) {
  std::vector<T> elements;
  for (std::size_t i = 0; i < list.size(); ++i) {
    elements.push_back(list[i]);
  }
  return elements;
}

TEST(StoredList, BytesAfterTheLastWholeElement_DoNotCount) {
  const std::string bytes = Hex("0100000002000000ffffff");
  Block block = BlockOf(bytes);
  const StoredList<std::uint32_t> list(block.Get(11));
  EXPECT_EQ(ElementsOf(list), (std::vector<std::uint32_t>{1, 2}));
}

TEST(StoredList, EveryNumberType_IsReadAsItsVectorIs) {
  const std::vector<std::uint8_t> storedBytes{7, 255};
  const std::vector<std::uint32_t> storedNumbers{1, 4294967295U};
  const std::vector<float> storedFloats{0.5F, -2.5F};
  const std::vector<double> storedDoubles{1e300};
  Block block = BlockOf("?" + ByteWriter()
                                  .U8s(storedBytes)
                                  .U32s(storedNumbers)
                                  .F32s(storedFloats)
                                  .F64s(storedDoubles)
                                  .Bytes());
  block.SetPosition(1);
  StoredList<unsigned char> bytes;
  StoredList<unsigned int> numbers;
  StoredList<float> floats;
  StoredList<double> doubles;
  CopyFromBlock(block, bytes);
  CopyFromBlock(block, numbers);
  CopyFromBlock(block, floats);
  CopyFromBlock(block, doubles);
  EXPECT_EQ(ElementsOf(bytes), storedBytes);
  EXPECT_EQ(ElementsOf(numbers), storedNumbers);
  EXPECT_EQ(ElementsOf(floats), storedFloats);
  EXPECT_EQ(ElementsOf(doubles), storedDoubles);
  EXPECT_TRUE(block.IsConsumed());
}

TEST(StoredList, CountBeyondTheBlock_TakesWhatFitsAndFails) {
  for (const char* count : {"03000000", "ffffffff"}) {
    SCOPED_TRACE(count);
    Block block = BlockOf(Hex(count) + Hex("01000000 02000000 03"));
    StoredList<unsigned int> list;
    EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, list); }), NotEnoughBytes());
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(block.GetPosition(), 12U);
  }
}

TEST(TextViews, AreCutAtTheirFirstNul) {
  Block block =
      BlockOf(ByteWriter().U32(3).Text("").Text(std::string_view("ab\0cd", 5)).Text("e").Bytes());
  std::vector<std::string_view> texts{"old"};
  CopyFromBlock(block, texts);
  EXPECT_EQ(texts, (std::vector<std::string_view>{"", "ab", "e"}));
  EXPECT_TRUE(block.IsConsumed());
}

TEST(TextViews, CountBeyondTheBlock_KeepsWhatWasReadAndFails) {
  Block block = BlockOf(ByteWriter().U32(0xFFFFFFFF).Text("ab").Text("c").U8(9).Bytes());
  std::vector<std::string_view> texts;
  EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, texts); }), NotEnoughBytes());
  EXPECT_EQ(texts, (std::vector<std::string_view>{"ab", "c"}));
  EXPECT_LT(texts.capacity(), 16U);
}

TEST(TextViews, TextBeyondTheBlock_Fails) {
  Block block = BlockOf(ByteWriter().U32(1).U32(5).Raw("abcd").Bytes());
  std::vector<std::string_view> texts;
  EXPECT_EQ(FailureOf([&] { CopyFromBlock(block, texts); }), NotEnoughBytes());
}

}  // namespace
}  // namespace LbtLbf
