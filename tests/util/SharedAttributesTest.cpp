// Attributes that variables share.

#include <gtest/gtest.h>

#include <stdexcept>

#include "Lbt/Util/SharedAttributes.h"

namespace LbtUtil {
namespace {

TEST(SharedAttributes, Default_IsEmpty) {
  const SharedAttributes none;
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(none.size(), 0U);
  EXPECT_EQ(none.begin(), none.end());
  EXPECT_FALSE(none.contains("a"));
  EXPECT_THROW(static_cast<void>(none.at("a")), std::out_of_range);
}

TEST(SharedAttributes, Map_IsReadLikeTheOneThatWasGiven) {
  const SharedAttributes attributes{{"b", 2U}, {"a", "text"}};
  EXPECT_EQ(attributes.size(), 2U);
  EXPECT_EQ(attributes.begin()->first, "a");
  EXPECT_TRUE(attributes.at("a").IsText("text"));
  EXPECT_EQ(attributes.find("b")->second.GetAttributeString(), "2");
  EXPECT_EQ(attributes.find("c"), attributes.end());
  const AttributeMap& map = attributes;
  EXPECT_EQ(map.size(), 2U);
}

TEST(SharedAttributes, CopiesShare_AndEqualOnesNeedNot) {
  const SharedAttributes attributes{{"a", 1U}};
  const SharedAttributes copy = attributes;
  EXPECT_TRUE(copy.IsSharedWith(attributes));
  EXPECT_EQ(&copy.Map(), &attributes.Map());
  EXPECT_FALSE(SharedAttributes({{"a", 1U}}).IsSharedWith(attributes));
  EXPECT_TRUE(SharedAttributes(AttributeMap()).IsSharedWith(SharedAttributes()));
}

TEST(SharedAttributes, ClearedCopy_LeavesTheOthers) {
  const SharedAttributes attributes{{"a", 1U}};
  SharedAttributes copy = attributes;
  copy.clear();
  EXPECT_TRUE(copy.empty());
  EXPECT_EQ(attributes.size(), 1U);
}

}  // namespace
}  // namespace LbtUtil
