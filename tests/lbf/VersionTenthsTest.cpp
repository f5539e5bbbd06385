// Versions of files as counts of tenths.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "Lbt/Lbf/LbFile.h"

namespace LbtLbf {
namespace {

constexpr std::uint32_t kUnsupported = 4294967295U;

TEST(VersionTenths, PlainVersions_AreCountedInTenths) {
  EXPECT_EQ(VersionTenths("1.3"), 13U);
  EXPECT_EQ(VersionTenths("0.7"), 7U);
  EXPECT_EQ(VersionTenths("0.6"), 6U);
  EXPECT_EQ(VersionTenths("1.4"), 14U);
  EXPECT_EQ(VersionTenths("2.0"), 20U);
  EXPECT_EQ(VersionTenths("10"), 100U);
}

TEST(VersionTenths, EveryTenthUpToTwenty_SurvivesTheRoundingToSinglePrecision) {
  for (std::uint32_t tenths = 0; tenths <= 200; ++tenths) {
    const std::string text = std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10);
    EXPECT_EQ(VersionTenths(text), tenths) << text;
  }
}

TEST(VersionTenths, HundredthsAreDropped) {
  EXPECT_EQ(VersionTenths("1.25"), 12U);
  EXPECT_EQ(VersionTenths("1.29"), 12U);
}

// 0.299 as a single-precision number is a little less, so that 0.001 more is not yet 0.3.
TEST(VersionTenths, Number_IsRoundedToSinglePrecisionFirst) {
  EXPECT_EQ(VersionTenths(".299"), 2U);
  EXPECT_EQ(VersionTenths(".399"), 3U);
  EXPECT_EQ(VersionTenths(".199"), 2U);
}

TEST(VersionTenths, JustBelowATenth_CountsAsIt) {
  EXPECT_EQ(VersionTenths("1.3995"), 14U);
  EXPECT_EQ(VersionTenths("1.398"), 13U);
}

TEST(VersionTenths, TrailingLetters_DoNotCount) {
  EXPECT_EQ(VersionTenths("0.1a"), 1U);
  EXPECT_EQ(VersionTenths("0.0a"), 0U);
  EXPECT_EQ(VersionTenths("1.3a"), 13U);
}

TEST(VersionTenths, TextWithoutANumber_IsZero) {
  EXPECT_EQ(VersionTenths(""), 0U);
  EXPECT_EQ(VersionTenths("abc"), 0U);
}

TEST(VersionTenths, LeadingBlanksAndExponents_AreReadAsNumbersAre) {
  EXPECT_EQ(VersionTenths(" 1.2"), 12U);
  EXPECT_EQ(VersionTenths("1e1"), 100U);
}

TEST(VersionTenths, NotFinite_IsUnsupported) {
  EXPECT_EQ(VersionTenths("nan"), kUnsupported);
  EXPECT_EQ(VersionTenths("inf"), kUnsupported);
  EXPECT_EQ(VersionTenths("-inf"), kUnsupported);
}

TEST(VersionTenths, Negative_IsUnsupported) {
  EXPECT_EQ(VersionTenths("-1"), kUnsupported);
  EXPECT_EQ(VersionTenths("-0.5"), kUnsupported);
}

TEST(VersionTenths, Beyond32Bits_IsUnsupported) {
  EXPECT_EQ(VersionTenths("1e99"), kUnsupported);
  EXPECT_EQ(VersionTenths("1e999"), kUnsupported);
  EXPECT_EQ(VersionTenths("1e9"), kUnsupported);
  EXPECT_EQ(VersionTenths("4e38"), kUnsupported);
}

TEST(VersionTenths, JustWithin32Bits_IsANumberOfTenths) {
  EXPECT_EQ(VersionTenths("4e8"), 4000000000U);
}

}  // namespace
}  // namespace LbtLbf
