// Values as text through a stream, and back.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "Lbt/Util/NumberText.h"

namespace {

using Lbt::Util::FromString;
using Lbt::Util::ToString;

template <class Number>
std::string FromStream(Number value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}

template <class Number>
void ExpectTextsOfAStream() {
  using Limits = std::numeric_limits<Number>;
  for (const Number value :
       {Number{0}, -Number{0}, Number{1} / 3, Number{-2} / 3, static_cast<Number>(123456.5),
        static_cast<Number>(1234567.5), static_cast<Number>(0.00001234567), Limits::min(),
        Limits::max(), Limits::lowest(), Limits::denorm_min(), Limits::epsilon(),
        Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
        std::copysign(Limits::quiet_NaN(), Number{-1})}) {
    EXPECT_EQ(ToString(value), FromStream(value));
  }
}

TEST(ToString, Numbers_ReadAsFromAStream) {
  ExpectTextsOfAStream<float>();
  ExpectTextsOfAStream<double>();
  for (const unsigned int value : {0U, 9U, 1000000U, 4294967295U}) {
    EXPECT_EQ(ToString(value), FromStream(value));
  }
  for (const int value : {0, -1, 1000000, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(ToString(value), FromStream(value));
  }
}

TEST(ToString, Numbers_HaveSixSignificantDigitsWithoutTrailingZeros) {
  EXPECT_EQ(ToString(12.5F), "12.5");
  EXPECT_EQ(ToString(1025.0F / 1024.0F), "1.00098");
  EXPECT_EQ(ToString(1048576.0), "1.04858e+06");
  EXPECT_EQ(ToString(4000000000U), "4000000000");
}

TEST(ToString, Text_StaysAsItIs) {
  EXPECT_EQ(ToString(std::string()), "");
  const std::string text(" a\0b\n", 5);
  EXPECT_EQ(ToString(text), text);
}

TEST(FromString, Number_IsReadUpToWhereItEnds) {
  EXPECT_EQ(FromString<float>("0.5"), 0.5F);
  EXPECT_EQ(FromString<float>("-1.25e3 s"), -1250.0F);
  EXPECT_EQ(FromString<float>(" \t\n7abc"), 7.0F);
  EXPECT_EQ(FromString<float>("+.5"), 0.5F);
}

TEST(FromString, NoNumber_IsZero) {
  for (const char* text : {"", " ", "abc", "-", ".", "nan", "inf"}) {
    EXPECT_EQ(FromString<float>(text), 0.0F) << text;
  }
}

TEST(FromString, NumberBeyondTheRange_IsTheLargestOfItsSign) {
  EXPECT_EQ(FromString<float>("1e60"), std::numeric_limits<float>::max());
  EXPECT_EQ(FromString<float>("-1e60"), std::numeric_limits<float>::lowest());
}

}  // namespace
