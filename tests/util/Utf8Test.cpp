// Text that need not be UTF-8, as what reads nothing else gets it.
#include <gtest/gtest.h>

#include "Lbt/Util/Utf8.h"

namespace Lbt::Util {
namespace {

TEST(ValidUtf8, EachByteThatIsNone_IsReplaced) {
  EXPECT_EQ(ValidUtf8(""), "");
  EXPECT_EQ(ValidUtf8("a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"),
            "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
  EXPECT_EQ(ValidUtf8("\xff\xfex"), "\xef\xbf\xbd\xef\xbf\xbdx");
  EXPECT_EQ(ValidUtf8("\xe2\x82"), "\xef\xbf\xbd\xef\xbf\xbd") << "cut off";
  EXPECT_EQ(ValidUtf8("\xed\xa0\x80"), "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd") << "half a pair";
}

}  // namespace
}  // namespace Lbt::Util
