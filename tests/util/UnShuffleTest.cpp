// Bytes that are stored plane by plane.

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>

#include "Lbt/Util/StoredNumbers.h"
#include "support/Hex.h"

namespace {

/// Elements whose bytes in memory are the given ones.
template <class T>
std::vector<T> FromBytes(const std::string& bytes) {
  std::vector<T> elements(bytes.size() / sizeof(T));
  bytes.copy(reinterpret_cast<char*>(elements.data()), bytes.size());
  return elements;
}

template <class T>
std::string BytesOf(const std::vector<T>& elements) {
  return {reinterpret_cast<const char*>(elements.data()), elements.size() * sizeof(T)};
}

template <class T>
class UnShuffle : public testing::Test {
 protected:
  /// The bytes that stored ones become.
  static std::string UnShuffled(const std::string& stored) {
    std::vector<T> elements = FromBytes<T>(stored);
    LbtUtil::UnShuffleVectorBytes(elements);
    return BytesOf(elements);
  }
};
using ElementTypes = testing::Types<float, unsigned int>;
TYPED_TEST_SUITE(UnShuffle, ElementTypes);

TYPED_TEST(UnShuffle, TwoElements_TakeEverySecondByte) {
  EXPECT_EQ(this->UnShuffled(tevtest::Hex("0102030405060708")), tevtest::Hex("0103050702040608"));
}

TYPED_TEST(UnShuffle, OneElement_KeepsItsBytes) {
  EXPECT_EQ(this->UnShuffled(tevtest::Hex("01020304")), tevtest::Hex("01020304"));
}

TYPED_TEST(UnShuffle, EmptyVector_IsLeftAlone) { EXPECT_EQ(this->UnShuffled(""), ""); }

TYPED_TEST(UnShuffle, ByteJOfElementI_IsStoredByteIPlusJTimesN) {
  for (const std::size_t n : {3U, 16U, 17U, 1000U, 4099U}) {
    std::string stored(4 * n, '\0');
    for (std::size_t k = 0; k < stored.size(); ++k) {
      stored[k] = static_cast<char>((k * 2654435761U) >> 13U);
    }
    std::string expected(4 * n, '\0');
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t j = 0; j < 4; ++j) {
        expected[4 * i + j] = stored[i + j * n];
      }
    }
    EXPECT_TRUE(this->UnShuffled(stored) == expected) << n << " elements";
  }
}

TEST(UnShuffleVectorBytes, FloatsWithAllBytesInUse_KeepTheirBits) {
  // Signalling NaN among them: elements must not pass through a register of the wrong kind.
  std::vector<float> elements = FromBytes<float>(tevtest::Hex("0102 0304 a05a 7f7f"));
  LbtUtil::UnShuffleVectorBytes(elements);
  EXPECT_EQ(BytesOf(elements), tevtest::Hex("0103a07f 02045a7f"));
}

std::vector<unsigned char> Plane(const std::string& digits) {
  const std::string bytes = tevtest::Hex(digits);
  return {bytes.begin(), bytes.end()};
}

std::byte* BytesOf(std::vector<unsigned char>& target) {
  return std::as_writable_bytes(std::span(target)).data();
}

TEST(UnShufflePlane, Stride_LeavesTheElementsBetweenAlone) {
  std::vector<unsigned char> target(6 * 4, 0xee);
  LbtUtil::UnShufflePlane(Plane("0102030405060708"), BytesOf(target) + 4, 3);
  EXPECT_EQ(target, Plane("eeeeeeee 01030507 eeeeeeee eeeeeeee 02040608 eeeeeeee"));
}

TEST(UnShufflePlane, ThreePlanes_BecomeInterleaved) {
  std::vector<unsigned char> target(6 * 4, 0xee);
  const std::vector<unsigned char> planes[] = {
      Plane("0a1a 0000 0000 0000"), Plane("0b1b 0000 0000 0000"), Plane("0c1c 0000 0000 0000")};
  for (std::size_t c = 0; c < 3; ++c) {
    LbtUtil::UnShufflePlane(planes[c], BytesOf(target) + 4 * c, 3);
  }
  EXPECT_EQ(target, Plane("0a000000 0b000000 0c000000 1a000000 1b000000 1c000000"));
}

TEST(UnShufflePlane, EmptyPlane_WritesNothing) {
  std::vector<unsigned char> target(4, 0xee);
  LbtUtil::UnShufflePlane({}, BytesOf(target), 1);
  EXPECT_EQ(target, Plane("eeeeeeee"));
}

}  // namespace
