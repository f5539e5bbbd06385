// What no index can bring about. The rest of the class is tested through the index: IndexReadTest,
// IndexSeekTest and StreamRulesTest.

#include <gtest/gtest.h>

#include "LbfSupport.h"
#include "Lbt/Lbf/BlockCache.h"
#include "Lbt/Lbf/NamedStream.h"

namespace LbtLbf {
namespace {

TEST(NamedStream, StreamWithoutBlocks_IsNotFound) {
  const tevtest::OpenBytes file("");
  BlockCache cache;
  NamedStream stream;
  EXPECT_EQ(tevtest::FailureOf([&] { static_cast<void>(stream.Choose(cache, file.Stream())); }),
            tevtest::NotFound());
  EXPECT_EQ(tevtest::FailureOf([&] { static_cast<void>(stream.ChooseInMemory(cache)); }),
            tevtest::NotFound());
}

}  // namespace
}  // namespace LbtLbf
