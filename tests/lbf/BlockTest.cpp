// A block: its buffer, its cursor, and the bounds of every read.

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

#include "LbfSupport.h"
#include "Lbt/Lbf/Block.h"
#include "support/ByteWriter.h"

namespace LbtLbf {
namespace {

using tevtest::BlockOf;
using tevtest::FailureOf;
using tevtest::OpenBytes;

std::string Taken(Block& block, unsigned int length) {
  std::string bytes(length, '?');
  block.Get(bytes.data(), length);
  return bytes;
}

TEST(Block, AtFirst_IsEmptyWithoutABuffer) {
  const Block block;
  EXPECT_FALSE(block.HasBuffer());
  EXPECT_EQ(block.GetCapacity(), 0U);
  EXPECT_EQ(block.GetSize(), 0U);
  EXPECT_EQ(block.GetPosition(), 0U);
}

TEST(Block, Read_FillsTheBlockAndLeavesTheCursor) {
  const OpenBytes file("abcdef");
  Block block;
  block.Read(file.Stream(), 4);
  EXPECT_EQ(block.GetSize(), 4U);
  EXPECT_EQ(block.GetPosition(), 0U);
  EXPECT_EQ(Taken(block, 4), "abcd");
}

TEST(Block, Read_StartsAtTheStreamsOffset) {
  const OpenBytes file("abcdef");
  std::fseek(file.Stream(), 2, SEEK_SET);
  Block block;
  block.Read(file.Stream(), 3);
  EXPECT_EQ(Taken(block, 3), "cde");
  EXPECT_EQ(std::ftell(file.Stream()), 5);
}

TEST(Block, Read_PutsBytesAtTheCursor) {
  const OpenBytes file("abcdef");
  Block block;
  block.Read(file.Stream(), 3);
  block.SetPosition(3);
  block.Read(file.Stream(), 2);
  EXPECT_EQ(block.GetSize(), 5U);
  EXPECT_EQ(block.GetPosition(), 3U);
  block.SetPosition(0);
  EXPECT_EQ(Taken(block, 5), "abcde");
}

TEST(Block, ReadOfManyPagesInTheMiddleOfOne_HasTheBytesOfTheFile) {
  std::string bytes(std::size_t{9} * 1024 * 1024 + 123, 'x');
  for (std::size_t i = 0; i < bytes.size(); i += 1000) {
    bytes[i] = static_cast<char>(i);
  }
  const OpenBytes file(bytes);
  Block block = BlockOf("12345");
  block.SetPosition(5);
  block.Read(file.Stream(), tevtest::Narrow(bytes.size()));
  block.SetPosition(0);
  EXPECT_EQ(block.GetText(5), "12345");
  EXPECT_EQ(block.GetText(tevtest::Narrow(bytes.size())), bytes);
}

TEST(Block, Read_OverBytesThatAreThere_KeepsTheLargerSize) {
  const OpenBytes file("abcdef");
  Block block;
  block.Read(file.Stream(), 4);
  block.Read(file.Stream(), 2);
  EXPECT_EQ(block.GetSize(), 4U);
  EXPECT_EQ(Taken(block, 4), "efcd");
}

TEST(Block, Read_OfNoBytes_TouchesNothing) {
  const tevtest::SizeVariables variables;
  tevtest::SizeVariables::Set(tevtest::SizeVariables::kDefaultSize, "77");
  const OpenBytes file("abc");
  Block block;
  block.Read(file.Stream(), 0);
  EXPECT_FALSE(block.HasBuffer());
  EXPECT_EQ(block.GetCapacity(), 0U);
  EXPECT_EQ(Block::GetDefaultSize(), 10485760U);
  EXPECT_EQ(std::ftell(file.Stream()), 0);
}

TEST(Block, Read_OfTheLastByte_IsNoEndOfFile) {
  const OpenBytes file("abc");
  Block block;
  block.Read(file.Stream(), 3);
  EXPECT_EQ(Taken(block, 3), "abc");
}

TEST(Block, Read_PastTheEndOfTheFile_FailsWithTheSizeUnchanged) {
  const OpenBytes file("abc");
  Block block;
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { block.Read(file.Stream(), 4); }), tevtest::UnableToRead());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Unable to read from file\n");
  EXPECT_EQ(block.GetSize(), 0U);
  EXPECT_EQ(block.GetPosition(), 0U);
  EXPECT_EQ(block.GetCapacity(), 10485760U);
}

TEST(Block, Read_AtTheEndOfTheFile_Fails) {
  const OpenBytes file("abc");
  std::fseek(file.Stream(), 10, SEEK_SET);
  Block block;
  EXPECT_EQ(FailureOf([&] { block.Read(file.Stream(), 1); }), tevtest::UnableToRead());
}

TEST(Block, Read_OfMoreThanTheFileHolds_TakesNoMemoryForIt) {
  const OpenBytes file("abc");
  Block block;
  EXPECT_EQ(FailureOf([&] { block.Read(file.Stream(), 4000000000U); }), tevtest::UnableToRead());
  EXPECT_EQ(block.GetCapacity(), 10485760U);
}

TEST(Block, Read_ThatFailsBeforeTheEndOfTheFile_FailsAlike) {
  // A directory opens, and every read of it is an error.
  const tevtest::TempDir directory;
  std::FILE* stream = std::fopen(directory.Path().c_str(), "rb");
  ASSERT_NE(stream, nullptr);
  Block block;
  EXPECT_EQ(FailureOf([&] { block.Read(stream, 1); }), tevtest::UnableToRead());
  EXPECT_EQ(block.GetSize(), 0U);
  std::fclose(stream);
}

TEST(Block, Get_CopiesAndMovesTheCursor) {
  Block block = BlockOf("abcdef");
  EXPECT_EQ(Taken(block, 2), "ab");
  EXPECT_EQ(block.GetPosition(), 2U);
  EXPECT_EQ(block.GetRemaining(), 4U);
  EXPECT_EQ(Taken(block, 4), "cdef");
  EXPECT_TRUE(block.IsConsumed());
}

TEST(Block, Get_OfFourBytesWithThreeLeft_FailsWithNothingChanged) {
  Block block = BlockOf("abcd");
  block.SetPosition(1);
  std::string destination = "????";
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { block.Get(destination.data(), 4); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Not enough bytes in the block\n");
  EXPECT_EQ(destination, "????");
  EXPECT_EQ(block.GetPosition(), 1U);
}

TEST(Block, Get_OfNoBytes_DoesNothingAnywhere) {
  Block block = BlockOf("a");
  block.SetPosition(1);
  block.Get(nullptr, 0);
  EXPECT_EQ(block.GetPosition(), 1U);
  Block empty;
  empty.Get(nullptr, 0);
  EXPECT_EQ(empty.GetPosition(), 0U);
}

TEST(Block, Get_FromAnEmptyBlock_Fails) {
  Block block;
  char byte = '?';
  EXPECT_EQ(FailureOf([&] { block.Get(&byte, 1); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(byte, '?');
}

TEST(Block, Get_WhoseEndWrapsIn32Bits_Fails) {
  Block block = BlockOf("abcdef");
  block.SetPosition(4);
  std::string destination = "????";
  EXPECT_EQ(FailureOf([&] { block.Get(destination.data(), UINT_MAX - 1); }),
            tevtest::NotEnoughBytes());
  EXPECT_EQ(destination, "????");
  EXPECT_EQ(block.GetPosition(), 4U);
}

TEST(Block, GetWithoutACopy_HasTheSameBounds) {
  Block block = BlockOf("abcd");
  const auto bytes = block.Get(std::uint32_t{3});
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "abc");
  EXPECT_EQ(block.GetPosition(), 3U);
  EXPECT_EQ(FailureOf([&] { static_cast<void>(block.Get(std::uint32_t{2})); }),
            tevtest::NotEnoughBytes());
  EXPECT_EQ(block.GetPosition(), 3U);
}

TEST(Block, GetText_HasTheSameBytesAndBounds) {
  const OpenBytes file("abcdef");
  Block block;
  block.Read(file.Stream(), 6);
  EXPECT_EQ(block.GetText(2), "ab");
  EXPECT_EQ(block.GetText(0), "");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(block.GetText(5)); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(block.GetText(4), "cdef");
}

TEST(Block, Peek_SeesWhatIsLeftAndTakesNothing) {
  const OpenBytes file("abcdef");
  Block block;
  EXPECT_EQ(block.Peek(), "");
  block.Read(file.Stream(), 6);
  EXPECT_EQ(Taken(block, 4), "abcd");
  EXPECT_EQ(block.Peek(), "ef");
  EXPECT_EQ(block.Peek(), "ef");
  EXPECT_EQ(Taken(block, 2), "ef");
  EXPECT_EQ(block.Peek(), "");
  block.Release();
  EXPECT_EQ(block.Peek(), "");
}

TEST(Block, SetPosition_ToTheSize_Succeeds) {
  Block block = BlockOf("abc");
  block.SetPosition(3);
  EXPECT_EQ(block.GetPosition(), 3U);
  EXPECT_TRUE(block.IsConsumed());
}

TEST(Block, SetPosition_OnePastTheSize_FailsWithInvalidPosition) {
  Block block = BlockOf("abc");
  block.SetPosition(1);
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { block.SetPosition(4); }), tevtest::InvalidPosition());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Invalid block position\n");
  EXPECT_EQ(block.GetPosition(), 1U);
}

TEST(Block, SetPosition_Beyond32Bits_IsNotCutBeforeTheCheck) {
  Block block = BlockOf("abc");
  EXPECT_EQ(FailureOf([&] { block.SetPosition(0x100000001UL); }), tevtest::InvalidPosition());
}

TEST(Block, Release_KeepsSizeAndCapacityAndLeavesTheCursorAtTheEnd) {
  Block block = BlockOf("abc");
  block.Release();
  EXPECT_FALSE(block.HasBuffer());
  EXPECT_EQ(block.GetSize(), 3U);
  EXPECT_EQ(block.GetPosition(), 3U);
  EXPECT_EQ(block.GetCapacity(), 10485760U);
}

TEST(Block, Get_FromAReleasedBlock_FailsWhereverTheCursorIs) {
  Block block = BlockOf("abc");
  block.Release();
  block.SetPosition(0);
  char byte = '?';
  EXPECT_EQ(FailureOf([&] { block.Get(&byte, 1); }), tevtest::NotEnoughBytes());
  EXPECT_EQ(byte, '?');
}

TEST(Block, Pass_LeavesWhatReadingAndReleasingLeaves) {
  Block released = BlockOf("abc");
  released.Release();
  Block passed;
  passed.Pass(3);
  EXPECT_FALSE(passed.HasBuffer());
  EXPECT_EQ(passed.GetSize(), released.GetSize());
  EXPECT_EQ(passed.GetPosition(), released.GetPosition());
  EXPECT_EQ(passed.GetCapacity(), released.GetCapacity());
}

TEST(Block, Pass_OfALongBlock_RemembersItsLength) {
  Block block;
  block.Pass(20000000);
  EXPECT_EQ(block.GetSize(), 20000000U);
  EXPECT_EQ(block.GetCapacity(), 20000000U);
}

TEST(Block, Moved_TakesTheBytesAlong) {
  Block from = BlockOf("abc");
  Block to = std::move(from);
  EXPECT_EQ(Taken(to, 3), "abc");
  Block assigned = BlockOf("xyz");
  to.SetPosition(0);
  assigned = std::move(to);
  EXPECT_EQ(Taken(assigned, 3), "abc");
}

}  // namespace
}  // namespace LbtLbf
