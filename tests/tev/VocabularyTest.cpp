// The names that a model is made of, and the parts of records by version.

#include <gtest/gtest.h>

#include "Lbt/Tev/Vocabulary.h"

namespace {

using LbtTev::VariableName;

TEST(VariableName, FirstSeparator_Splits) {
  const VariableName name("Stress\x1eTime = 1\x1eTop");
  EXPECT_EQ(name.result, "Stress");
  EXPECT_EQ(name.instance, "Time = 1\x1eTop");
}

TEST(VariableName, SeparatorMissingOrLast_GivesNoInstance) {
  EXPECT_EQ(VariableName("Stress").result, "Stress");
  EXPECT_EQ(VariableName("Stress").instance, "");
  EXPECT_EQ(VariableName("Stress\x1e").result, "Stress");
  EXPECT_EQ(VariableName("Stress\x1e").instance, "");
  EXPECT_EQ(VariableName("\x1eTop").result, "");
  EXPECT_EQ(VariableName("\x1eTop").instance, "Top");
  EXPECT_EQ(VariableName("").result, "");
}

}  // namespace
