#include <gtest/gtest.h>

#include "Lbt/Log/Filter.h"

namespace {

using Lbt::Util::LogRecord;

template <std::uint16_t N>
bool Passes(std::uint16_t level) {
  Lbt::Log::LevelFilter<N> filter;
  return filter(LogRecord(level, "a/b", 1));
}

TEST(LevelFilter, RecordBelowItsLevel_DoesNotPass) {
  EXPECT_FALSE(Passes<1000>(0));
  EXPECT_FALSE(Passes<1000>(999));
  EXPECT_FALSE(Passes<2000>(1000));
  EXPECT_FALSE(Passes<2000>(1999));
}

TEST(LevelFilter, RecordOfItsLevelOrAbove_Passes) {
  EXPECT_TRUE(Passes<1000>(1000));
  EXPECT_TRUE(Passes<1000>(2000));
  EXPECT_TRUE(Passes<2000>(2000));
  EXPECT_TRUE(Passes<2000>(65535));
}

}  // namespace
