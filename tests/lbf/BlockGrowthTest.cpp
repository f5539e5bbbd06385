// How a block's buffer grows, and the environment variables that set the sizes.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

#include "LbfSupport.h"
#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Lbf/NamedStream.h"
#include "support/ByteWriter.h"
#include "support/Process.h"

// There only where AddressSanitizer is, which takes the address space for itself.
extern "C" void __asan_init() __attribute__((weak));

namespace LbtLbf {
namespace {

using tevtest::FailureOf;
using tevtest::OpenBytes;
using tevtest::SizeVariables;

bool CanLimitAddressSpace() { return &__asan_init == nullptr; }

class BlockGrowth : public testing::Test {
 protected:
  static void SetDefault(std::string_view value) {
    SizeVariables::Set(SizeVariables::kDefaultSize, value);
  }

  static std::uint64_t CapacityAfterReading(unsigned int length) {
    const OpenBytes file(std::string(length, 'x'));
    Block block;
    block.Read(file.Stream(), length);
    return block.GetCapacity();
  }

  /// The default size that a read leaves.
  static std::uint32_t DefaultAfterReading(std::string_view value) {
    SetDefault(value);
    static_cast<void>(CapacityAfterReading(1));
    return Block::GetDefaultSize();
  }

  const SizeVariables variables_;
};

TEST_F(BlockGrowth, DefaultSize_IsTenMebibytes) {
  EXPECT_EQ(Block::GetDefaultSize(), 10485760U);
  EXPECT_EQ(CapacityAfterReading(100), 10485760U);
}

TEST_F(BlockGrowth, MoreThanTheDefault_GrowsByExactlyThat) {
  SetDefault("64");
  EXPECT_EQ(CapacityAfterReading(65), 65U);
}

TEST_F(BlockGrowth, DefaultOfZero_GrowsByExactlyTheLength) {
  SetDefault("0");
  EXPECT_EQ(CapacityAfterReading(100), 100U);
}

TEST_F(BlockGrowth, ReadThatFits_DoesNotGrow) {
  SetDefault("16");
  const OpenBytes file("abcdefghijklmnop");
  Block block;
  block.Read(file.Stream(), 8);
  block.SetPosition(8);
  block.Read(file.Stream(), 7);
  EXPECT_EQ(block.GetCapacity(), 16U);
}

TEST_F(BlockGrowth, ReadThatWouldFillTheBuffer_GrowsAllTheSame) {
  SetDefault("16");
  const OpenBytes file("abcdefghijklmnop");
  Block block;
  block.Read(file.Stream(), 8);
  block.SetPosition(8);
  block.Read(file.Stream(), 8);
  EXPECT_EQ(block.GetCapacity(), 32U);
  block.SetPosition(0);
  const auto bytes = block.Get(std::uint32_t{16});
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "abcdefghijklmnop");
}

TEST_F(BlockGrowth, CheckFreeSpace_GrowsByTheLargerOfLengthAndDefault) {
  SetDefault("10");
  Block::RefreshDefaultSize();
  Block block;
  unsigned int start = 0;
  block.CheckFreeSpaceAndAllocateMemory(start, 9);
  EXPECT_EQ(block.GetCapacity(), 10U);
  block.CheckFreeSpaceAndAllocateMemory(start, 9);
  EXPECT_EQ(block.GetCapacity(), 10U);
  block.CheckFreeSpaceAndAllocateMemory(start, 10);
  EXPECT_EQ(block.GetCapacity(), 20U);
  block.CheckFreeSpaceAndAllocateMemory(start, 25);
  EXPECT_EQ(block.GetCapacity(), 45U);
}

TEST_F(BlockGrowth, CheckFreeSpace_WhoseEndWrapsIn32Bits_FailsInsteadOfFitting) {
  Block block = tevtest::BlockOf("abc");
  unsigned int position = 16;
  EXPECT_EQ(FailureOf([&] { block.CheckFreeSpaceAndAllocateMemory(position, UINT32_MAX - 10); }),
            tevtest::NoMemory());
  EXPECT_EQ(block.GetCapacity(), 10485760U);
}

TEST_F(BlockGrowth, AllocateAdditionalMemory_AddsToTheCapacityAndKeepsTheBytes) {
  Block block = tevtest::BlockOf("abc");
  block.AllocateAdditionalMemory(5);
  EXPECT_EQ(block.GetCapacity(), 10485765U);
  const auto bytes = block.Get(std::uint32_t{3});
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "abc");
}

TEST_F(BlockGrowth, AllocateAdditionalMemory_OfTooMuch_FailsWithTheBlockUnchanged) {
  Block block = tevtest::BlockOf("abc");
  static_cast<void>(tevtest::TakeErrorLog());
  EXPECT_EQ(FailureOf([&] { block.AllocateAdditionalMemory(1UL << 62U); }), tevtest::NoMemory());
  EXPECT_EQ(tevtest::TakeErrorLog(), "Block : # @ Memory Allocation Error\n");
  EXPECT_EQ(block.GetCapacity(), 10485760U);
  const auto bytes = block.Get(std::uint32_t{3});
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "abc");
}

TEST_F(BlockGrowth, AllocateAdditionalMemory_WhoseSumWraps_FailsWithTheBlockUnchanged) {
  Block block = tevtest::BlockOf("abc");
  const unsigned long extra = std::numeric_limits<unsigned long>::max();
  EXPECT_EQ(FailureOf([&] { block.AllocateAdditionalMemory(extra); }), tevtest::NoMemory());
  EXPECT_EQ(block.GetCapacity(), 10485760U);
}

/// Runs "fails" on a file of "bytes" that is "size" bytes long, with little address space; whether
/// it fails by the memory error.
bool FailsForLackOfMemory(const std::string& bytes, std::uint64_t size,
                          void (*fails)(std::FILE* stream)) {
  const OpenBytes file(bytes);
  const std::string path = file.Path();
  std::filesystem::resize_file(path, size);
  const auto body = [&path, fails] {
    std::FILE* stream = std::fopen(path.c_str(), "rb");
    const bool isRight = FailureOf([&] { fails(stream); }) == tevtest::NoMemory();
    std::fclose(stream);
    return isRight ? 0 : 1;
  };
  const auto result =
      tevtest::RunForked(body, {.hooks = {tevtest::Limit(RLIMIT_AS, rlim_t{1} << 30U)}});
  return result.status == 0;
}

constexpr std::uint32_t kTooMuch = std::uint32_t{1} << 31U;
constexpr std::uint32_t kStored = 4000000;

TEST_F(BlockGrowth, Read_WithoutMemory_FailsWithMemoryAllocationError) {
  if (!CanLimitAddressSpace()) {
    GTEST_SKIP() << "the address space cannot be limited under AddressSanitizer";
  }
  EXPECT_TRUE(FailsForLackOfMemory("", kTooMuch,
                                   [](std::FILE* stream) { Block().Read(stream, kTooMuch); }));
}

// As many stored bytes could hold what is recorded, so that room has to be made for it.
TEST_F(BlockGrowth, Decompression_WithoutMemory_FailsWithMemoryAllocationError) {
  if (!CanLimitAddressSpace()) {
    GTEST_SKIP() << "the address space cannot be limited under AddressSanitizer";
  }
  const std::string length = tevtest::ByteWriter().U32(kTooMuch).Bytes();
  EXPECT_TRUE(FailsForLackOfMemory(length, kStored, [](std::FILE* stream) {
    Block block;
    block.Read(stream, kStored);
    BlockZlibUnCompressor()(block);
  }));
}

TEST_F(BlockGrowth, CapacityBeyondAllMemory_IsANumberUntilRoomIsAskedFor) {
  if (!CanLimitAddressSpace()) {
    GTEST_SKIP() << "the address space cannot be limited under AddressSanitizer";
  }
  EXPECT_TRUE(FailsForLackOfMemory("abc", 3, [](std::FILE* stream) {
    SizeVariables::Set(SizeVariables::kDefaultSize, "4294967294");
    Block block;
    block.Read(stream, 3);
    if (block.GetCapacity() == 4294967294U && block.GetText(3) == "abc") {
      static_cast<void>(block.Room());
    }
  }));
}

TEST_F(BlockGrowth, Room_ReachesToTheCapacityAndKeepsTheBytes) {
  SetDefault("64");
  const OpenBytes file("abc");
  Block block;
  block.Read(file.Stream(), 3);
  block.SetPosition(3);
  ASSERT_EQ(block.Room().size(), 61U);
  for (unsigned char& byte : block.Room()) {
    byte = 'x';
  }
  block.Append(61);
  block.SetPosition(0);
  EXPECT_EQ(block.GetText(64), "abc" + std::string(61, 'x'));
}

TEST_F(BlockGrowth, RoomFor_IsOfThatLengthAtTheCursor) {
  Block block = tevtest::BlockOf("abc");
  block.SetPosition(2);
  const auto room = block.RoomFor(2);
  ASSERT_EQ(room.size(), 2U);
  room[0] = 'x';
  room[1] = 'y';
  block.Append(2);
  block.SetPosition(0);
  EXPECT_EQ(block.GetText(4), "abxy");
  EXPECT_EQ(block.GetCapacity(), 10485760U);
}

TEST_F(BlockGrowth, LargestAcceptedDefault_IsOneBelowThe32BitMaximum) {
  SetDefault("4294967294");
  Block::RefreshDefaultSize();
  EXPECT_EQ(Block::GetDefaultSize(), 4294967294U);
}

TEST_F(BlockGrowth, DefaultOutOfRange_LeavesThePreviousOne) {
  EXPECT_EQ(DefaultAfterReading("500"), 500U);
  EXPECT_EQ(DefaultAfterReading("4294967295"), 500U);
  EXPECT_EQ(DefaultAfterReading("4294967296"), 500U);
  EXPECT_EQ(DefaultAfterReading("99999999999999999999999"), 500U);
  EXPECT_EQ(DefaultAfterReading("-1"), 500U);
}

TEST_F(BlockGrowth, DefaultThatIsNoNumber_IsZero) {
  EXPECT_EQ(DefaultAfterReading("abc"), 0U);
  EXPECT_EQ(DefaultAfterReading("7"), 7U);
  EXPECT_EQ(DefaultAfterReading(""), 0U);
}

TEST_F(BlockGrowth, DefaultWithTrailingText_IsItsNumber) {
  EXPECT_EQ(DefaultAfterReading("  300 bytes"), 300U);
  EXPECT_EQ(DefaultAfterReading("0x20"), 0U);
}

TEST_F(BlockGrowth, Default_StaysWhenTheVariableIsRemoved) {
  EXPECT_EQ(DefaultAfterReading("500"), 500U);
  SizeVariables::Unset(SizeVariables::kDefaultSize);
  EXPECT_EQ(CapacityAfterReading(1), 500U);
  EXPECT_EQ(Block::GetDefaultSize(), 500U);
}

TEST_F(BlockGrowth, Default_IsLookedAtWithEveryRead) {
  SetDefault("500");
  EXPECT_EQ(CapacityAfterReading(1), 500U);
  SetDefault("600");
  EXPECT_EQ(CapacityAfterReading(1), 600U);
}

class MaxBlockSize : public testing::Test {
 protected:
  static std::uint32_t With(std::string_view value) {
    SizeVariables::Set(SizeVariables::kMaxSize, value);
    return BlockSizeLimiter().maxBlockSize;
  }

  const SizeVariables variables_;
};

TEST_F(MaxBlockSize, WithoutTheVariable_IsTwoHundredMebibytes) {
  EXPECT_EQ(BlockSizeLimiter().maxBlockSize, 209715200U);
}

TEST_F(MaxBlockSize, Variable_SetsIt) {
  EXPECT_EQ(With("1234"), 1234U);
  EXPECT_EQ(With("0"), 0U);
  EXPECT_EQ(With("4294967294"), 4294967294U);
}

TEST_F(MaxBlockSize, OutOfRange_IsTheDefaultAndNotThePreviousOne) {
  EXPECT_EQ(With("1234"), 1234U);
  EXPECT_EQ(With("4294967295"), 209715200U);
  EXPECT_EQ(With("99999999999999999999999"), 209715200U);
  EXPECT_EQ(With("-1"), 209715200U);
}

TEST_F(MaxBlockSize, NoNumber_IsZero) {
  EXPECT_EQ(With("abc"), 0U);
  EXPECT_EQ(With(""), 0U);
}

}  // namespace
}  // namespace LbtLbf
