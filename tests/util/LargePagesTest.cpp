#include <gtest/gtest.h>

#include <vector>

#include "Lbt/Util/LargePages.h"

namespace Lbt::Util {
namespace {

TEST(LargePages, Request_LeavesTheBytesAsTheyAre) {
  constexpr std::size_t kSize = std::size_t{9} * 1024 * 1024 + 123;
  std::vector<unsigned char> bytes(kSize, 7);
  AskForLargePages(bytes.data() + 5, bytes.size() - 5);
  EXPECT_EQ(bytes, std::vector<unsigned char>(kSize, 7));
}

TEST(LargePages, LittleOrNoMemory_IsLeftAlone) {
  AskForLargePages(nullptr, 0);
  unsigned char byte = 7;
  AskForLargePages(&byte, 1);
  EXPECT_EQ(byte, 7);
}

}  // namespace
}  // namespace Lbt::Util
