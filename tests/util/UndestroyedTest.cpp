// An object that is left to the end of the process.

#include <gtest/gtest.h>

#include "Lbt/Util/Undestroyed.h"

namespace Lbt::Util {
namespace {

struct Counted {
  Counted() { ++made; }
  ~Counted() { ++destroyed; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  int value = 5;
  inline static int made = 0;
  inline static int destroyed = 0;
};

TEST(Undestroyed, Value_IsMadeOnceAndNeverDestroyed) {
  {
    Undestroyed<Counted> kept;
    EXPECT_EQ(kept.Get().value, 5);
    kept.Get().value = 6;
    EXPECT_EQ(kept.Get().value, 6);
  }
  EXPECT_EQ(Counted::made, 1);
  EXPECT_EQ(Counted::destroyed, 0);
}

}  // namespace
}  // namespace Lbt::Util
