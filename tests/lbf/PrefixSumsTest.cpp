#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "Lbt/Lbf/PrefixSums.h"

namespace LbtLbf {
namespace {

PrefixSums SumsOf(const std::vector<std::uint64_t>& lengths) {
  PrefixSums sums;
  for (const std::uint64_t length : lengths) {
    sums.Append(length);
  }
  return sums;
}

/// The sum of the first "count" lengths, added up one by one.
std::uint64_t AddedUp(const std::vector<std::uint64_t>& lengths, std::size_t count) {
  return std::accumulate(lengths.begin(), lengths.begin() + static_cast<std::ptrdiff_t>(count),
                         std::uint64_t{0});
}

/// Walks the lengths as long as their sum is at most "offset".
std::size_t WalkedTo(const std::vector<std::uint64_t>& lengths, std::uint64_t offset) {
  std::size_t index = 0;
  while (index < lengths.size() && lengths[index] <= offset) {
    offset -= lengths[index++];
  }
  return index;
}

TEST(PrefixSums, WithoutLengths_EverythingIsAtTheBeginning) {
  const PrefixSums sums;
  EXPECT_EQ(sums.Count(), 0U);
  EXPECT_EQ(sums.Sum(0), 0U);
  EXPECT_EQ(sums.Find(0), 0U);
  EXPECT_EQ(sums.Find(7), 0U);
}

TEST(PrefixSums, Sum_IsThatOfTheFirstLengths) {
  const PrefixSums sums = SumsOf({5, 0, 3, 10});
  EXPECT_EQ(sums.Count(), 4U);
  EXPECT_EQ(sums.Sum(0), 0U);
  EXPECT_EQ(sums.Sum(1), 5U);
  EXPECT_EQ(sums.Sum(2), 5U);
  EXPECT_EQ(sums.Sum(3), 8U);
  EXPECT_EQ(sums.Sum(4), 18U);
}

TEST(PrefixSums, Find_IsTheLengthThatTheOffsetLiesIn) {
  const PrefixSums sums = SumsOf({5, 3, 10});
  EXPECT_EQ(sums.Find(0), 0U);
  EXPECT_EQ(sums.Find(4), 0U);
  EXPECT_EQ(sums.Find(5), 1U);
  EXPECT_EQ(sums.Find(7), 1U);
  EXPECT_EQ(sums.Find(8), 2U);
  EXPECT_EQ(sums.Find(17), 2U);
}

TEST(PrefixSums, Find_PastTheEnd_IsTheCount) {
  const PrefixSums sums = SumsOf({5, 3});
  EXPECT_EQ(sums.Find(8), 2U);
  EXPECT_EQ(sums.Find(UINT64_MAX), 2U);
}

TEST(PrefixSums, Find_StepsOverLengthsOfZero) {
  const PrefixSums sums = SumsOf({0, 5, 0, 0, 3, 0});
  EXPECT_EQ(sums.Find(0), 1U);
  EXPECT_EQ(sums.Find(5), 4U);
  EXPECT_EQ(sums.Find(8), 6U);
}

TEST(PrefixSums, Change_MovesWhatComesAfter) {
  PrefixSums sums = SumsOf({5, 3, 10});
  sums.Change(1, 3, 1);
  EXPECT_EQ(sums.Sum(1), 5U);
  EXPECT_EQ(sums.Sum(2), 6U);
  EXPECT_EQ(sums.Sum(3), 16U);
  sums.Change(0, 5, 50);
  EXPECT_EQ(sums.Sum(3), 61U);
  EXPECT_EQ(sums.Find(50), 1U);
}

TEST(PrefixSums, LengthsOf32Bits_SumWithoutWrapping) {
  const PrefixSums sums = SumsOf({UINT32_MAX, UINT32_MAX, UINT32_MAX});
  EXPECT_EQ(sums.Sum(3), 12884901885U);
  EXPECT_EQ(sums.Find(12884901884U), 2U);
}

TEST(PrefixSums, RandomLengths_AgreeWithAddingUp) {
  std::mt19937 random(20240611);
  for (int round = 0; round < 50; ++round) {
    PrefixSums sums;
    std::vector<std::uint64_t> lengths;
    for (int step = 0; step < 70; ++step) {
      const std::uint64_t length = random() % 4 == 0 ? 0 : random() % 9;
      if (!lengths.empty() && random() % 3 == 0) {
        const std::size_t index = random() % lengths.size();
        sums.Change(index, lengths[index], length);
        lengths[index] = length;
      } else {
        sums.Append(length);
        lengths.push_back(length);
      }
      const std::size_t count = random() % (lengths.size() + 1);
      ASSERT_EQ(sums.Sum(count), AddedUp(lengths, count));
      const std::uint64_t offset = random() % (AddedUp(lengths, lengths.size()) + 2);
      ASSERT_EQ(sums.Find(offset), WalkedTo(lengths, offset));
    }
  }
}

}  // namespace
}  // namespace LbtLbf
