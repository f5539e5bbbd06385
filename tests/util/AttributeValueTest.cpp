// Values of attributes and their texts.

#include <gtest/gtest.h>

#include <limits>

#include "Lbt/Util/AttributeValue.h"

namespace {

using LbtUtil::AttributeMap;
using LbtUtil::AttributeValue;
using Kind = LbtUtil::AttributeValue::Kind;

TEST(AttributeValue, Kinds_AreTheStoredTypeCodes) {
  EXPECT_EQ(static_cast<int>(AttributeValue(7U).GetKind()), 0);
  EXPECT_EQ(static_cast<int>(AttributeValue(0.5F).GetKind()), 1);
  EXPECT_EQ(static_cast<int>(AttributeValue("text").GetKind()), 2);
  EXPECT_EQ(static_cast<int>(AttributeValue(0.5).GetKind()), 3);
}

TEST(AttributeValue, New_IsTheUnsignedIntegerZero) {
  const AttributeValue value;
  EXPECT_EQ(value.GetKind(), Kind::UnsignedInteger);
  EXPECT_EQ(value.GetAttributeString(), "0");
}

TEST(AttributeValue, UnsignedInteger_IsWrittenInFull) {
  EXPECT_EQ(AttributeValue(4294967295U).GetAttributeString(), "4294967295");
  EXPECT_EQ(AttributeValue(1000000U).GetAttributeString(), "1000000");
}

TEST(AttributeValue, Float_HasSixSignificantDigits) {
  EXPECT_EQ(AttributeValue(0.25F).GetAttributeString(), "0.25");
  EXPECT_EQ(AttributeValue(0.1F).GetAttributeString(), "0.1");
  EXPECT_EQ(AttributeValue(1234567.0F).GetAttributeString(), "1.23457e+06");
}

TEST(AttributeValue, Double_HasSixSignificantDigits) {
  EXPECT_EQ(AttributeValue(0.001).GetAttributeString(), "0.001");
  EXPECT_EQ(AttributeValue(3.14159265358979).GetAttributeString(), "3.14159");
  EXPECT_EQ(AttributeValue(1e300).GetAttributeString(), "1e+300");
  EXPECT_EQ(AttributeValue(std::numeric_limits<double>::infinity()).GetAttributeString(), "inf");
}

TEST(AttributeValue, Text_IsKeptAsItIs) {
  EXPECT_EQ(AttributeValue("a <b> & \xc3\xa9").GetAttributeString(), "a <b> & \xc3\xa9");
  EXPECT_EQ(AttributeValue("").GetAttributeString(), "");
}

TEST(AttributeValue, LongText_KeepsItsFirst256Characters) {
  const std::string first(256, 'a');
  EXPECT_EQ(AttributeValue(first).GetAttributeString(), first);
  EXPECT_EQ(AttributeValue(first + "b").GetAttributeString(), first);
  EXPECT_EQ(AttributeValue(first + std::string(100000, 'b')).GetAttributeString(), first);
}

TEST(AttributeValue, TextWithANul_EndsThere) {
  EXPECT_EQ(AttributeValue(std::string("ab\0cd", 5)).GetAttributeString(), "ab");
  EXPECT_EQ(AttributeValue(std::string("\0cd", 3)).GetAttributeString(), "");
}

TEST(AttributeValue, IsText_ComparesTheKeptTextOfTheTextKindOnly) {
  EXPECT_TRUE(AttributeValue("7").IsText("7"));
  EXPECT_FALSE(AttributeValue("7").IsText("77"));
  EXPECT_FALSE(AttributeValue(7U).IsText("7"));
  EXPECT_FALSE(AttributeValue("").IsText("7"));
  EXPECT_TRUE(AttributeValue("").IsText(""));
  EXPECT_TRUE(AttributeValue(std::string(300, 'a')).IsText(std::string(256, 'a')));
}

TEST(AttributeValue, Assignment_ChangesTheKind) {
  AttributeValue value("text");
  value = AttributeValue(1.5);
  EXPECT_EQ(value.GetKind(), Kind::Double);
  EXPECT_EQ(value.GetAttributeString(), "1.5");
}

TEST(AttributeMap, Names_AreInByteOrder) {
  AttributeMap attributes;
  attributes["b"] = AttributeValue(1U);
  attributes["a"] = AttributeValue(2U);
  attributes["B"] = AttributeValue(3U);
  attributes["b"] = AttributeValue(4U);
  std::string order;
  for (const auto& [name, value] : attributes) {
    order += name + value.GetAttributeString();
  }
  EXPECT_EQ(order, "B3a2b4");
}

}  // namespace
