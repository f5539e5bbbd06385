// Checks that the hostile files are what their makers promise.

#include <gtest/gtest.h>
#include <zlib.h>

#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "support/ByteWriter.h"
#include "support/HostileRows.h"

namespace tevtest {
namespace {

/// How often "part" stands in "bytes".
std::size_t CountOf(std::string_view bytes, std::string_view part) {
  std::size_t count = 0;
  for (auto at = bytes.find(part); at != std::string_view::npos; at = bytes.find(part, at + 1))
    ++count;
  return count;
}

TEST(HostileModels, StringsOfOneHash_DifferAndHaveOneHash) {
  const std::vector<std::string> strings = StringsOfOneHash(1000);
  const std::set<std::string> different(strings.begin(), strings.end());
  EXPECT_EQ(different.size(), 1000U);
  std::set<std::size_t> hashes;
  for (const std::string& text : strings) {
    hashes.insert(std::hash<std::string>()(text));
    EXPECT_EQ(text.size(), 16U);
    EXPECT_EQ(text.find('\0'), std::string::npos);
    EXPECT_EQ(text.find('\x1e'), std::string::npos);
  }
  EXPECT_EQ(hashes.size(), 1U);
}

TEST(HostileModels, BlocksOfZeros_InflateToTheLengthThatTheyRecord) {
  constexpr std::uint32_t kSize = 100000;
  const std::string bytes = LightDataToAndFro(kSize, 2).bytes;
  const std::string recorded = ByteWriter().U32(kSize).U8(0x78).Bytes();
  ASSERT_EQ(CountOf(bytes, recorded), 2U);
  const std::size_t at = bytes.rfind(recorded) + sizeof kSize;
  std::string inflated(kSize, 'x');
  uLongf size = kSize;
  ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(inflated.data()), &size,
                       reinterpret_cast<const Bytef*>(bytes.data()) + at, bytes.size() - at),
            Z_OK);
  EXPECT_EQ(size, kSize);
  EXPECT_EQ(inflated, std::string(kSize, '\0'));
}

TEST(HostileModels, InflatedSize_CountsWhatBlocksRecord) {
  const HostileModel few = ReadAtOnceOnSameBytes(1, 1000);
  const HostileModel many = ReadAtOnceOnSameBytes(1, 5001000);
  EXPECT_EQ(many.inflated - many.bytes.size(), few.inflated - few.bytes.size() + 5000000);
}

TEST(HostileModels, SmallOnes_AreSmall) {
  EXPECT_GT(HostileRows().size(), 15U);
  for (const HostileRow& row : HostileRows()) {
    const HostileModel model = row.small();
    EXPECT_LT(model.bytes.size(), 2048U) << row.name;
    EXPECT_LT(model.inflated, 16384U) << row.name;
    EXPECT_GT(model.inflated, model.bytes.size()) << row.name;
  }
}

}  // namespace
}  // namespace tevtest
