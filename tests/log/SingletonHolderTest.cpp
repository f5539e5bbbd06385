// The holder of the one object of a type.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "Lbt/Log/Manager.h"
#include "support/Process.h"

namespace {

using Lbt::Util::SingletonHolder;

struct Counted {
  Counted() { ++made; }
  static inline int made = 0;
};

TEST(SingletonHolder, GetInstance_MakesOneAtTheFirstCall) {
  EXPECT_EQ(Counted::made, 0);
  const Counted& first = SingletonHolder<Counted>::getInstance();
  EXPECT_EQ(Counted::made, 1);
  EXPECT_EQ(&SingletonHolder<Counted>::getInstance(), &first);
  EXPECT_EQ(Counted::made, 1);
}

struct Loud {
  ~Loud() { static_cast<void>(!write(STDOUT_FILENO, "gone", 4)); }
};

TEST(SingletonHolder, Instance_IsNotDestroyedAtTheEndOfTheProcess) {
  const auto result = tevtest::RunForked([]() -> int {
    static_cast<void>(SingletonHolder<Loud>::getInstance());
    std::exit(7);
  });
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.output, "");
}

}  // namespace
