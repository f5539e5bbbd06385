// Compressed blocks become their contents, or fail as zlib does.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "LbfSupport.h"
#include "Lbt/Lbf/Inflation.h"
#include "support/ByteWriter.h"
#include "support/ContainerWriter.h"
#include "support/Hex.h"

namespace LbtLbf {
namespace {

using tevtest::ByteWriter;
using tevtest::Compressed;
using tevtest::Deflate;
using tevtest::FailureOf;
using tevtest::SizeVariables;

constexpr const char* kBufferError = "Error -5 while uncompressing block \n";
constexpr const char* kDataError = "Error -3 while uncompressing block \n";

Block Uncompressed(std::string_view stored) {
  Block block = tevtest::BlockOf(stored);
  BlockZlibUnCompressor()(block);
  return block;
}

std::string Contents(Block block) {
  block.SetPosition(0);
  const auto bytes = block.Get(block.GetSize());
  return {bytes.begin(), bytes.end()};
}

std::string Recorded(std::uint32_t length, std::string_view zlibStream) {
  return ByteWriter().U32(length).Raw(zlibStream).Bytes();
}

/// What decompressing writes on standard error where it fails by a plain exception and leaves the
/// block empty; else what is different.
std::string Refusal(std::string_view stored) {
  Block block = tevtest::BlockOf(stored);
  static_cast<void>(tevtest::TakeLog());
  testing::internal::CaptureStderr();
  const std::string failure = FailureOf([&] { BlockZlibUnCompressor()(block); });
  const std::string message = testing::internal::GetCapturedStderr();
  if (failure != tevtest::kPlainException) {
    return "failed otherwise: " + failure;
  }
  const bool isEmpty = !block.HasBuffer() && block.GetCapacity() == 0 && block.GetSize() == 0 &&
                       block.GetPosition() == 0;
  return message + (isEmpty ? "" : "and is not empty") + tevtest::TakeLog();
}

TEST(BlockZlibUnCompressor, Block_IsReplacedByItsContents) {
  EXPECT_EQ(Contents(Uncompressed(Compressed("hello"))), "hello");
}

TEST(BlockZlibUnCompressor, EveryLevel_IsUnderstood) {
  const std::string payload(1000, 'q');
  EXPECT_EQ(Contents(Uncompressed(Compressed(payload, 0))), payload);
  EXPECT_EQ(Contents(Uncompressed(Compressed(payload, 9))), payload);
}

TEST(BlockZlibUnCompressor, Cursor_StandsAtTheEnd) {
  const Block block = Uncompressed(Compressed("hello"));
  EXPECT_EQ(block.GetSize(), 5U);
  EXPECT_EQ(block.GetPosition(), 5U);
}

TEST(BlockZlibUnCompressor, AnyCursorBefore_DoesNotMatter) {
  Block block = tevtest::BlockOf(Compressed("hello"));
  block.SetPosition(3);
  BlockZlibUnCompressor()(block);
  EXPECT_EQ(Contents(std::move(block)), "hello");
}

TEST(BlockZlibUnCompressor, Capacity_IsTheLargerOfContentsAndDefault) {
  const SizeVariables variables;
  EXPECT_EQ(Uncompressed(Compressed("hello")).GetCapacity(), 10485760U);
  SizeVariables::Set(SizeVariables::kDefaultSize, "100");
  EXPECT_EQ(Uncompressed(Compressed("hello")).GetCapacity(), 100U);
  EXPECT_EQ(Uncompressed(Compressed(std::string(300, 'a'))).GetCapacity(), 300U);
  SizeVariables::Set(SizeVariables::kDefaultSize, "0");
  EXPECT_EQ(Uncompressed(Compressed("hello")).GetCapacity(), 5U);
}

TEST(BlockZlibUnCompressor, DefaultSize_IsLookedAtAnew) {
  const SizeVariables variables;
  Block block = tevtest::BlockOf(Compressed("hello"));
  SizeVariables::Set(SizeVariables::kDefaultSize, "200");
  BlockZlibUnCompressor()(block);
  EXPECT_EQ(block.GetCapacity(), 200U);
  EXPECT_EQ(Block::GetDefaultSize(), 200U);
}

TEST(BlockZlibUnCompressor, EmptyContents_AreAnEmptyBlock) {
  const SizeVariables variables;
  EXPECT_EQ(Uncompressed(Compressed("")).GetSize(), 0U);
  SizeVariables::Set(SizeVariables::kDefaultSize, "0");
  EXPECT_EQ(Uncompressed(Compressed("")).GetCapacity(), 0U);
}

TEST(BlockZlibUnCompressor, RecordedLengthAboveTheContents_IsNoError) {
  const Block block = Uncompressed(Recorded(1000, Deflate("hello")));
  EXPECT_EQ(block.GetSize(), 5U);
}

TEST(BlockZlibUnCompressor, AbsurdRecordedLength_TakesNoMemory) {
  const SizeVariables variables;
  SizeVariables::Set(SizeVariables::kDefaultSize, "0");
  const Block block = Uncompressed(Recorded(4294967295U, Deflate("hello")));
  EXPECT_EQ(block.GetSize(), 5U);
  EXPECT_EQ(block.GetCapacity(), 5U);
}

TEST(BlockZlibUnCompressor, AbsurdRecordedLengthOfTheBestRatio_StillFindsRoom) {
  // A run of one byte is what deflate shrinks most, close to 1,030 to 1.
  const std::string payload(5000000, '\0');
  const std::string stored = Recorded(4294967295U, Deflate(payload, 9));
  ASSERT_LT(stored.size(), payload.size() / 1000);
  EXPECT_EQ(Contents(Uncompressed(stored)), payload);
}

TEST(BlockZlibUnCompressor, BytesAfterTheZlibStream_DoNotMatter) {
  EXPECT_EQ(Contents(Uncompressed(Compressed("hello") + "rest")), "hello");
}

TEST(BlockZlibUnCompressor, MoreContentsThanRecorded_FailsWithBufferError) {
  EXPECT_EQ(Refusal(Recorded(4, Deflate("hello"))), kBufferError);
  EXPECT_EQ(Refusal(Recorded(1, Deflate("hello"))), kBufferError);
}

TEST(BlockZlibUnCompressor, ContentsWhereNoneAreRecorded_FailWithDataError) {
  // That is how `uncompress` answers for room of 0 bytes.
  EXPECT_EQ(Refusal(Recorded(0, Deflate("hello"))), kDataError);
}

TEST(BlockZlibUnCompressor, CorruptData_FailsWithDataError) {
  EXPECT_EQ(Refusal(Recorded(5, "no zlib stream")), kDataError);
}

TEST(BlockZlibUnCompressor, WrongChecksum_FailsWithDataError) {
  std::string stored = Compressed("hello");
  stored.back() = static_cast<char>(stored.back() ^ 1);
  EXPECT_EQ(Refusal(stored), kDataError);
}

TEST(BlockZlibUnCompressor, PresetDictionary_FailsWithDataError) {
  EXPECT_EQ(Refusal(Recorded(5, tevtest::Hex("78bb 00000001 00"))), kDataError);
}

TEST(BlockZlibUnCompressor, TruncatedData_FailsWithDataError) {
  const std::string payload = "some text that is long enough to be cut in its middle";
  const std::string stream = Deflate(payload);
  EXPECT_EQ(Refusal(Recorded(tevtest::Narrow(payload.size()), stream.substr(0, stream.size() / 2))),
            kDataError);
}

TEST(BlockZlibUnCompressor, NothingAfterTheLength_FailsWithDataError) {
  EXPECT_EQ(Refusal(Recorded(5, "")), kDataError);
}

TEST(BlockZlibUnCompressor, FewerBytesThanTheLengthField_FailsWithNotEnoughBytes) {
  for (const std::string_view stored : {"", "\1", "\1\1", "\1\1\1"}) {
    Block block = tevtest::BlockOf(stored);
    static_cast<void>(tevtest::TakeErrorLog());
    EXPECT_EQ(FailureOf([&] { BlockZlibUnCompressor()(block); }), tevtest::NotEnoughBytes());
    EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Not enough bytes in the block\n");
    EXPECT_EQ(block.GetSize(), 0U);
    EXPECT_FALSE(block.HasBuffer());
  }
}

}  // namespace
}  // namespace LbtLbf
