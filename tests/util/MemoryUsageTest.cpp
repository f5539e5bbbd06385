// The memory that the process takes, by its own word.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Lbt/Util/MemoryUsage.h"

namespace {

using Usage = std::pair<unsigned long, unsigned long>;

constexpr const char* kBeforeSizes =
    "4711 (TevInfo) R 1 4711 4711 34816 4711 4194304 95 0 0 0 1 2 3 4 20 0 1 0 123456 ";

Usage Parse(const std::string& text, long pageSize = 4096) {
  std::istringstream status(text);
  return LbtUtil::ParseMemoryUsage(status, pageSize);
}

TEST(MemoryUsage, Parse_TakesTheWords23And24) {
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "104857600 3000 18446744073709551615 1 1\n"),
            (Usage{100, 11}));
}

TEST(MemoryUsage, Parse_RoundsDown) {
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "1048575 255"), (Usage{0, 0}));
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "1048576 256"), (Usage{1, 1}));
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "2097151 511"), (Usage{1, 1}));
}

TEST(MemoryUsage, Parse_SizesBeyond32Bits_AreKept) {
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "21990232555520 4294967296"),
            (Usage{20971520, 16777216}));
}

TEST(MemoryUsage, Parse_CountsPagesInWholeKibibytes) {
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "0 1024", 65536), (Usage{0, 64}));
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "0 1024", 1535), (Usage{0, 1}));
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "0 1048576", 512), (Usage{0, 0}));
}

TEST(MemoryUsage, Parse_BlankInTheCommandName_ShiftsTheFields) {
  std::string text = std::string(kBeforeSizes) + "1048576 3000";
  text.replace(text.find("TevInfo"), 7, "Tev Info");
  EXPECT_EQ(Parse(text), (Usage{0, 4096})) << "start time and virtual size";
}

TEST(MemoryUsage, Parse_WhatCannotBeRead_IsZeroForBoth) {
  EXPECT_EQ(Parse(""), (Usage{0, 0}));
  EXPECT_EQ(Parse(kBeforeSizes), (Usage{0, 0}));
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "104857600"), (Usage{0, 0}));
  EXPECT_EQ(Parse(std::string(kBeforeSizes) + "104857600 many"), (Usage{0, 0}));
  std::ifstream missing("/nonexistent/stat");
  EXPECT_EQ(LbtUtil::ParseMemoryUsage(missing, 4096), (Usage{0, 0}));
}

/// The same two sizes from the kernel's other, shorter table, in mebibytes.
Usage FromStatm() {
  std::ifstream file("/proc/self/statm");
  unsigned long virtualPages = 0;
  unsigned long residentPages = 0;
  file >> virtualPages >> residentPages;
  const auto pageSize = static_cast<unsigned long>(sysconf(_SC_PAGESIZE));
  return {virtualPages * pageSize / 1048576, residentPages * pageSize / 1048576};
}

TEST(MemoryUsage, GetLinuxMemoryUsage_IsWhatTheKernelCountsForThisProcess) {
  const Usage usage = LbtUtil::GetLinuxMemoryUsage();
  const Usage expected = FromStatm();
  EXPECT_GT(expected.second, 0U);
  EXPECT_LE(usage.first, expected.first + 2);
  EXPECT_LE(expected.first, usage.first + 2);
  EXPECT_LE(usage.second, expected.second + 2);
  EXPECT_LE(expected.second, usage.second + 2);
}

TEST(MemoryUsage, GetLinuxMemoryUsage_AfterTouching64Mebibytes_HasGrownByThem) {
  const Usage before = LbtUtil::GetLinuxMemoryUsage();
  const std::vector<char> touched(std::size_t{64} * 1024 * 1024, 'x');
  const Usage after = LbtUtil::GetLinuxMemoryUsage();
  ASSERT_EQ(touched.back(), 'x');
  EXPECT_GE(after.second, before.second + 62);
  EXPECT_LE(after.second, before.second + 80);
}

}  // namespace
