// Values that several variables claim, which are kept once.

#include <gtest/gtest.h>

#include <numeric>
#include <span>
#include <stdexcept>
#include <vector>

#include "Lbt/Tev/TevInfo/TevDataset.h"

namespace {

using Values = LbtTev::Report::SharedValues<int>;

TEST(SharedValues, New_IsEmpty) {
  const Values values;
  EXPECT_TRUE(values.empty());
  EXPECT_EQ(values.size(), 0U);
  EXPECT_EQ(values.begin(), values.end());
  EXPECT_EQ(values, std::vector<int>());
  EXPECT_THROW(static_cast<void>(values.at(0)), std::out_of_range);
}

TEST(SharedValues, ReadsLikeItsVector) {
  const Values values{3, 1, 2};
  const std::vector<int>& vector = values;
  EXPECT_EQ(vector, (std::vector<int>{3, 1, 2}));
  EXPECT_EQ(std::accumulate(values.begin(), values.end(), 0), 6);
  EXPECT_EQ(values[0] + values.at(2), 5);
  EXPECT_THROW(static_cast<void>(values.at(3)), std::out_of_range);
  EXPECT_EQ(std::span<const int>(values).data(), values.data());
}

TEST(SharedValues, Copies_ShareUntilOneIsChanged) {
  const Values first{1, 2};
  Values second = first;
  EXPECT_TRUE(second.IsSharedWith(first));
  second.push_back(3);
  EXPECT_FALSE(second.IsSharedWith(first));
  EXPECT_EQ(first, (Values{1, 2}));
  EXPECT_EQ(second, (Values{1, 2, 3}));
}

TEST(SharedValues, Changes_AreThoseOfAVector) {
  Values values;
  values.reserve(10);
  values.push_back(1);
  values.resize(3, 7);
  values.Change()[1] = 5;
  EXPECT_EQ(values, (Values{1, 5, 7}));
  const int* before = values.data();
  values.Change()[1] = 6;
  EXPECT_EQ(values.data(), before) << "nobody shares them, so nothing is copied";
  values = std::vector<int>{8};
  EXPECT_EQ(values, Values{8});
  values.clear();
  EXPECT_TRUE(values.empty());
}

TEST(SharedValues, EqualOnes_NeedNotBeShared) {
  EXPECT_EQ((Values{1, 2}), (Values{1, 2}));
  EXPECT_FALSE((Values{1, 2}).IsSharedWith(Values{1, 2}));
  EXPECT_NE((Values{1, 2}), (Values{2, 1}));
}

}  // namespace
