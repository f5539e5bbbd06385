// Bytes become numbers.

#include <gtest/gtest.h>

#include <string>

#include "Lbt/Util/StoredNumbers.h"
#include "support/Hex.h"

namespace {

using Lbt::Util::FromLittleEndian;

/// The number in bytes given as hexadecimal digits, at an odd address.
template <class T>
T Decoded(const std::string& digits) {
  const std::string shifted = "?" + tevtest::Hex(digits);
  return FromLittleEndian<T>(reinterpret_cast<const unsigned char*>(shifted.data()) + 1);
}

TEST(LittleEndian, UnsignedIntegers_HaveTheirLowByteFirst) {
  EXPECT_EQ(Decoded<unsigned char>("fe"), 254U);
  EXPECT_EQ(Decoded<std::uint32_t>("01020384"), 0x84030201U);
  EXPECT_EQ(Decoded<std::uint64_t>("0102030405060788"), 0x8807060504030201U);
}

TEST(LittleEndian, SignedIntegers_AreTwosComplement) {
  EXPECT_EQ(Decoded<std::int8_t>("fe"), -2);
  EXPECT_EQ(Decoded<std::int32_t>("feffffff"), -2);
  EXPECT_EQ(Decoded<std::int64_t>("feffffffffffffff"), -2);
}

TEST(LittleEndian, Floats_AreIeee754) {
  EXPECT_EQ(Decoded<float>("0000c03f"), 1.5F);
  EXPECT_EQ(Decoded<float>("01000080"), -0x1p-149F);
  EXPECT_EQ(Decoded<double>("000000000000f8bf"), -1.5);
  EXPECT_EQ(Decoded<double>("9a9999999999b93f"), 0.1);
}

}  // namespace
