// Numbers as text, character for character as a stream writes them.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>

#include "Lbt/Util/NumberText.h"

namespace {

using Lbt::Util::NumberText;

template <class Number>
std::string TextOf(Number value) {
  return std::string(NumberText(value).View());
}

/// Compares texts with what a C++ output stream writes by default, and keeps the first difference.
class Comparison {
 public:
  template <class Number>
  void Check(Number value) {
    stream_.str(std::string());
    stream_ << value;
    const NumberText text(value);
    ++count_;
    if (text.View() != stream_.view() && difference_.empty()) {
      std::ostringstream exact;
      exact << std::hexfloat << value << " reads " << text.View() << ", not " << stream_.view();
      difference_ = exact.str();
    }
  }

  template <class Number>
  void CheckBothSigns(Number value) {
    Check(value);
    Check(-value);
  }

  /// A value and the next ones of its type on both sides.
  template <class Number>
  void CheckNeighbours(Number value) {
    constexpr Number kInfinity = std::numeric_limits<Number>::infinity();
    CheckBothSigns(std::nextafter(value, Number{0}));
    CheckBothSigns(value);
    CheckBothSigns(std::nextafter(value, kInfinity));
  }

  [[nodiscard]] const std::string& Difference() const { return difference_; }
  [[nodiscard]] int Count() const { return count_; }

 private:
  std::ostringstream stream_;
  std::string difference_;
  int count_ = 0;
};

/// The extent of a floating-point type.
template <class Number>
struct Range {
  using Limits = std::numeric_limits<Number>;
  using Bits = std::conditional_t<sizeof(Number) == 4, std::uint32_t, std::uint64_t>;
  static constexpr int kMantissaBits = Limits::digits - 1;
  static constexpr Bits kMantissa = (Bits{1} << kMantissaBits) - 1;
  static constexpr int kBinaryExponents = 2 * Limits::max_exponent;
  /// Of the powers of ten, from one below the smallest denormal on.
  static constexpr int kLeastExponent = Limits::min_exponent10 - Limits::digits10 - 3;
  static constexpr int kLargestExponent = Limits::max_exponent10;
};

float Parsed(const std::string& text, float) { return std::strtof(text.c_str(), nullptr); }
double Parsed(const std::string& text, double) { return std::strtod(text.c_str(), nullptr); }

template <class Number>
class FloatingText : public testing::Test {
 protected:
  /// "digits" times the power of ten, correctly rounded.
  static Number Decimal(const std::string& digits, int exponent) {
    return Parsed(digits + "e" + std::to_string(exponent), Number{});
  }

  void ExpectNoDifference(int leastCount) const {
    EXPECT_EQ(comparison_.Difference(), "");
    EXPECT_GE(comparison_.Count(), leastCount);
  }

  Comparison comparison_;
};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(FloatingText, FloatingTypes);

TYPED_TEST(FloatingText, PowersOfTenAndTheirNeighbours_ReadAsFromAStream) {
  using R = Range<TypeParam>;
  for (int exponent = R::kLeastExponent; exponent <= R::kLargestExponent; ++exponent) {
    this->comparison_.CheckNeighbours(this->Decimal("1", exponent));
  }
  this->ExpectNoDifference(6 * (R::kLargestExponent - R::kLeastExponent));
}

TYPED_TEST(FloatingText, NinesBelowPowersOfTen_ReadAsFromAStream) {
  using R = Range<TypeParam>;
  for (int exponent = R::kLeastExponent; exponent < R::kLargestExponent; ++exponent) {
    for (const char* nines : {"9.99999", "9.999994", "9.999995", "9.999996", "9.9999999"}) {
      this->comparison_.CheckNeighbours(this->Decimal(nines, exponent));
    }
  }
  this->ExpectNoDifference(30 * (R::kLargestExponent - R::kLeastExponent));
}

TYPED_TEST(FloatingText, AllBinaryExponents_ReadAsFromAStream) {
  using R = Range<TypeParam>;
  using Bits = typename R::Bits;
  for (int exponent = 0; exponent < R::kBinaryExponents; ++exponent) {
    for (const Bits mantissa :
         {Bits{0}, Bits{1}, R::kMantissa / 3, R::kMantissa / 2 + 1, R::kMantissa}) {
      const Bits bits = (static_cast<Bits>(exponent) << R::kMantissaBits) | mantissa;
      this->comparison_.CheckBothSigns(std::bit_cast<TypeParam>(bits));
    }
  }
  this->ExpectNoDifference(10 * R::kBinaryExponents);
}

TYPED_TEST(FloatingText, Denormals_ReadAsFromAStream) {
  using R = Range<TypeParam>;
  for (typename R::Bits bits = 1; bits <= R::kMantissa; bits += bits / 50 + 1) {
    this->comparison_.CheckBothSigns(std::bit_cast<TypeParam>(bits));
  }
  this->ExpectNoDifference(1000);
}

// Of m / 2^j with m odd the decimal digits are those of m * 5^j, so with seven of them the last is
// a 5: a value exactly in the middle between two texts.
TYPED_TEST(FloatingText, FractionsInTheMiddleBetweenTwoTexts_ReadAsFromAStream) {
  constexpr std::uint64_t kLeast = 1000000;
  std::uint64_t powerOf5 = 1;
  for (int j = 1; j <= 10; ++j) {
    powerOf5 *= 5;
    const std::uint64_t step = 10000000 / powerOf5 / 3000 + 1;
    for (std::uint64_t m = kLeast / powerOf5 | 1U; m * powerOf5 < 10 * kLeast; m += 2 * step) {
      this->comparison_.CheckNeighbours(std::ldexp(static_cast<TypeParam>(m), -j));
    }
  }
  this->ExpectNoDifference(10000);
}

TYPED_TEST(FloatingText, IntegersInTheMiddleBetweenTwoTexts_ReadAsFromAStream) {
  for (std::uint32_t digits = 1000005; digits < 10000000; digits += 970) {
    TypeParam value = static_cast<TypeParam>(digits);
    for (int zeros = 0; zeros < 12; ++zeros) {
      this->comparison_.CheckNeighbours(value);
      value *= 10;
    }
  }
  this->ExpectNoDifference(500000);
}

TYPED_TEST(FloatingText, ValuesNearTheMiddleBetweenTwoTexts_ReadAsFromAStream) {
  using R = Range<TypeParam>;
  const int perExponent = 100000 / (R::kLargestExponent - R::kLeastExponent);
  std::mt19937 random(20240304);
  for (int exponent = R::kLeastExponent; exponent < R::kLargestExponent; ++exponent) {
    for (int i = 0; i < perExponent; ++i) {
      const auto digits = 1000005 + random() % 900000 * 10;
      this->comparison_.CheckNeighbours(this->Decimal(std::to_string(digits), exponent - 6));
    }
  }
  this->ExpectNoDifference(500000);
}

// Of all floats that are not exactly in the middle between two texts, these come closest to it: to
// less than 3e-9 of the sixth digit.
TEST(NumberText, FloatsClosestToTheMiddleBetweenTwoTexts_ReadAsFromAStream) {
  Comparison comparison;
  for (const std::uint32_t bits :
       {0x6ee5ca5bU, 0x0269fa95U, 0x1b0f8e43U, 0x77d09555U, 0x147eb11aU}) {
    comparison.CheckNeighbours(std::bit_cast<float>(bits));
  }
  EXPECT_EQ(comparison.Difference(), "");
}

TEST(NumberText, TenMillionFloatBitPatterns_ReadAsFromAStream) {
  std::mt19937 random(1);
  Comparison comparison;
  for (int i = 0; i < 10000000; ++i) {
    comparison.Check(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
  }
  EXPECT_EQ(comparison.Difference(), "");
}

TEST(NumberText, AMillionDoubleBitPatterns_ReadAsFromAStream) {
  std::mt19937_64 random(1);
  Comparison comparison;
  for (int i = 0; i < 1000000; ++i) {
    comparison.Check(std::bit_cast<double>(static_cast<std::uint64_t>(random())));
  }
  EXPECT_EQ(comparison.Difference(), "");
}

TEST(NumberText, Floats_HaveSixSignificantDigitsOfTheirExactValue) {
  EXPECT_EQ(TextOf(0.1F), "0.1");
  EXPECT_EQ(TextOf(123.456F), "123.456");
  EXPECT_EQ(TextOf(16777216.0F), "1.67772e+07");
  EXPECT_EQ(TextOf(std::numeric_limits<float>::max()), "3.40282e+38");
  EXPECT_EQ(TextOf(std::numeric_limits<float>::min()), "1.17549e-38");
  EXPECT_EQ(TextOf(std::numeric_limits<float>::denorm_min()), "1.4013e-45");
}

TEST(NumberText, Doubles_HaveSixSignificantDigits) {
  EXPECT_EQ(TextOf(3.14159265358979), "3.14159");
  EXPECT_EQ(TextOf(100000.0), "100000");
  EXPECT_EQ(TextOf(999999.0), "999999");
  EXPECT_EQ(TextOf(std::numeric_limits<double>::max()), "1.79769e+308");
  EXPECT_EQ(TextOf(std::numeric_limits<double>::denorm_min()), "4.94066e-324");
}

template <class Number>
void ExpectNotations() {
  EXPECT_EQ(TextOf(static_cast<Number>(0.0001)), "0.0001");
  EXPECT_EQ(TextOf(static_cast<Number>(0.000123456)), "0.000123456");
  EXPECT_EQ(TextOf(static_cast<Number>(0.0000999999)), "9.99999e-05");
  EXPECT_EQ(TextOf(static_cast<Number>(0.00001)), "1e-05");
  EXPECT_EQ(TextOf(static_cast<Number>(999999.375)), "999999");
  EXPECT_EQ(TextOf(static_cast<Number>(999999.5)), "1e+06");
  EXPECT_EQ(TextOf(static_cast<Number>(1000000.0)), "1e+06");
  EXPECT_EQ(TextOf(static_cast<Number>(1.25e20)), "1.25e+20");
}

TEST(NumberText, Notation_HasAnExponentBelowATenThousandthAndFromAMillionOn) {
  ExpectNotations<float>();
  ExpectNotations<double>();
  EXPECT_EQ(TextOf(0.00009999995), "0.0001");
  EXPECT_EQ(TextOf(1e100), "1e+100");
}

TEST(NumberText, Middle_RoundsToTheEvenDigit) {
  EXPECT_EQ(TextOf(123.0625F), "123.062");
  EXPECT_EQ(TextOf(123.1875F), "123.188");
  EXPECT_EQ(TextOf(100000.5F), "100000");
  EXPECT_EQ(TextOf(100001.5F), "100002");
}

template <class Number>
void ExpectSpecialTexts() {
  constexpr Number kInfinity = std::numeric_limits<Number>::infinity();
  constexpr Number kNaN = std::numeric_limits<Number>::quiet_NaN();
  EXPECT_EQ(TextOf(Number{0}), "0");
  EXPECT_EQ(TextOf(-Number{0}), "-0");
  EXPECT_EQ(TextOf(kInfinity), "inf");
  EXPECT_EQ(TextOf(-kInfinity), "-inf");
  EXPECT_EQ(TextOf(std::copysign(kNaN, Number{1})), "nan");
  EXPECT_EQ(TextOf(std::copysign(kNaN, Number{-1})), "-nan");
}

TEST(NumberText, ZerosInfinitiesAndNaN_HaveTheirSign) {
  ExpectSpecialTexts<float>();
  ExpectSpecialTexts<double>();
}

TEST(NumberText, SpecialValues_ReadAsFromAStream) {
  Comparison comparison;
  for (const float value :
       {0.0F, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
        std::numeric_limits<float>::signaling_NaN()}) {
    comparison.CheckBothSigns(value);
    comparison.CheckBothSigns(static_cast<double>(value));
  }
  EXPECT_EQ(comparison.Difference(), "");
}

TEST(NumberText, Integers_AreWrittenInFull) {
  EXPECT_EQ(TextOf(std::uint32_t{0}), "0");
  EXPECT_EQ(TextOf(std::numeric_limits<std::uint32_t>::max()), "4294967295");
  EXPECT_EQ(TextOf(std::numeric_limits<std::int32_t>::min()), "-2147483648");
  EXPECT_EQ(TextOf(std::numeric_limits<std::int32_t>::max()), "2147483647");
  EXPECT_EQ(TextOf(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(TextOf(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(NumberText, RandomIntegers_ReadAsFromAStream) {
  std::mt19937_64 random(7);
  Comparison comparison;
  for (int i = 0; i < 100000; ++i) {
    const std::uint64_t bits = random() >> (random() % 64);
    comparison.Check(bits);
    comparison.Check(static_cast<std::int64_t>(bits));
    comparison.Check(static_cast<std::uint32_t>(bits));
    comparison.Check(static_cast<std::int32_t>(bits));
  }
  EXPECT_EQ(comparison.Difference(), "");
}

TEST(NumberText, Copy_HoldsItsOwnText) {
  NumberText first(1.5F);
  const NumberText copy = first;
  first = NumberText(2.5F);
  EXPECT_EQ(copy.View(), "1.5");
  EXPECT_EQ(first.View(), "2.5");
}

}  // namespace
