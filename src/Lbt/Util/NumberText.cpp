// Numbers as the text that an output stream writes, and back.

#include "Lbt/Util/NumberText.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>

// A float has 24 significant bits. Times a power of ten, rounded once in the table and
// once in the product, it is off by less than 2^-51 of itself: the six digits before
// the point are right unless what follows is nearer to one half than that.

namespace Lbt::Util {

namespace {

constexpr int kDigits = 6;
constexpr int kLeastPower = -33;
constexpr std::array<double, 85> kPowersOfTen{
    1e-33, 1e-32, 1e-31, 1e-30, 1e-29, 1e-28, 1e-27, 1e-26, 1e-25, 1e-24, 1e-23, 1e-22, 1e-21,
    1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9,  1e-8,
    1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,   1e3,   1e4,   1e5,
    1e6,   1e7,   1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,
    1e19,  1e20,  1e21,  1e22,  1e23,  1e24,  1e25,  1e26,  1e27,  1e28,  1e29,  1e30,  1e31,
    1e32,  1e33,  1e34,  1e35,  1e36,  1e37,  1e38,  1e39,  1e40,  1e41,  1e42,  1e43,  1e44,
    1e45,  1e46,  1e47,  1e48,  1e49,  1e50,  1e51};

/// Twice what the product of a value below 10^7 can be off by, and more.
constexpr double kDoubt = 1e-8;

double PowerOfTen(int exponent) {
  return kPowersOfTen[static_cast<std::size_t>(exponent - kLeastPower)];
}

/// The exponent of the power of ten at or just below 2^binary.
int DecimalExponent(int binary) {
  constexpr int kLog10Of2 = 78913;  // times 2^18
  return (binary * kLog10Of2) >> 18;
}

/// Six decimal digits d.ddddd times ten to an exponent.
struct Decimal {
  std::uint32_t digits;
  int exponent;
  bool isSure;
};

Decimal ToDecimal(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const int binary = static_cast<int>(bits >> 52U) - 1023;
  int exponent = DecimalExponent(binary);
  double scaled = value * PowerOfTen(kDigits - 1 - exponent);
  if (scaled >= 999999.5) {  // the estimate may be one too low
    ++exponent;
    scaled = value * PowerOfTen(kDigits - 1 - exponent);
  }
  auto digits = static_cast<std::uint32_t>(scaled);
  const double rest = scaled - digits;
  digits += rest > 0.5 ? 1 : 0;
  return {digits, exponent, std::abs(rest - 0.5) > kDoubt};
}

/// "00" to "99".
constexpr auto kPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

void WritePair(std::uint32_t pair, char* text) {
  std::memcpy(text, &kPairs[std::size_t{2} * pair], 2);
}

void WriteDigits(std::uint32_t digits, char* text) {
  WritePair(digits / 10000, text);
  WritePair(digits / 100 % 100, text + 2);
  WritePair(digits % 100, text + 4);
}

std::size_t WithoutTrailingZeros(const char* digits) {
  std::size_t count = kDigits;
  while (digits[count - 1] == '0') {
    --count;
  }
  return count;
}

/// d.ddddde+XX
std::size_t WriteScientific(const char* digits, std::size_t count, int exponent, char* text) {
  char* end = text;
  *end++ = digits[0];
  if (count > 1) {
    *end++ = '.';
    std::memcpy(end, digits + 1, kDigits - 1);
    end += count - 1;
  }
  *end++ = 'e';
  *end++ = exponent < 0 ? '-' : '+';
  WritePair(static_cast<std::uint32_t>(std::abs(exponent)), end);
  return static_cast<std::size_t>(end + 2 - text);
}

/// 0.000ddd
std::size_t WriteSmall(const char* digits, std::size_t count, int exponent, char* text) {
  std::memcpy(text, "0.0000", kDigits);
  const auto zeros = static_cast<std::size_t>(1 - exponent);
  std::memcpy(text + zeros, digits, kDigits);
  return zeros + count;
}

/// ddd.ddd
std::size_t WriteFixed(const char* digits, std::size_t count, int exponent, char* text) {
  const std::size_t whole = static_cast<std::size_t>(exponent) + 1;
  std::memcpy(text, digits, kDigits);
  if (count <= whole) {
    return whole;
  }
  text[whole] = '.';
  std::memcpy(text + whole + 1, digits + whole, kDigits);
  return count + 1;
}

/// Writes "value" as `printf("%g")` does and returns how many characters that took, or
/// 0 where that is not sure: for infinities, NaN, and values so close to the middle
/// between two texts that double precision cannot tell the sides apart. May write up to
/// 16 characters.
std::size_t WriteFloat(float value, char* text) {
  const std::size_t sign = std::signbit(value) ? 1 : 0;
  *text = '-';
  text += sign;
  if (value == 0) {
    *text = '0';
    return sign + 1;
  }
  if (!std::isfinite(value)) {
    return 0;
  }
  const Decimal decimal = ToDecimal(std::abs(static_cast<double>(value)));
  if (!decimal.isSure) {
    return 0;
  }
  constexpr std::size_t kReadAhead = 12;
  char digits[kReadAhead] = {};  // read in pieces of fixed size
  WriteDigits(decimal.digits, digits);
  const std::size_t count = WithoutTrailingZeros(digits);
  if (decimal.exponent < -4 || decimal.exponent >= kDigits) {
    return sign + WriteScientific(digits, count, decimal.exponent, text);
  }
  if (decimal.exponent < 0) {
    return sign + WriteSmall(digits, count, decimal.exponent, text);
  }
  return sign + WriteFixed(digits, count, decimal.exponent, text);
}

constexpr int kSignificantDigits = 6;

std::size_t Length(const std::to_chars_result& result, const char* first) {
  return static_cast<std::size_t>(result.ptr - first);
}

}  // namespace

NumberText::NumberText(float value) : size_(WriteFloat(value, text_.data())) {
  if (size_ == 0) {
    *this = NumberText(static_cast<double>(value));
  }
}

NumberText::NumberText(double value)
    : size_(Length(std::to_chars(text_.data(), text_.data() + kRoom, value,
                                 std::chars_format::general, kSignificantDigits),
                   text_.data())) {}

NumberText::NumberText(std::uint64_t value)
    : size_(Length(std::to_chars(text_.data(), text_.data() + kRoom, value), text_.data())) {}

NumberText::NumberText(std::int64_t value)
    : size_(Length(std::to_chars(text_.data(), text_.data() + kRoom, value), text_.data())) {}

namespace {

template <class Number>
std::string TextOf(Number value) {
  return std::string(NumberText(value).View());
}

}  // namespace

template <>
std::string ToString<unsigned int>(const unsigned int& value) {
  return TextOf(value);
}

template <>
std::string ToString<int>(const int& value) {
  return TextOf(value);
}

template <>
std::string ToString<std::string>(const std::string& value) {
  return value;
}

template <>
std::string ToString<float>(const float& value) {
  return TextOf(value);
}

template <>
std::string ToString<double>(const double& value) {
  return TextOf(value);
}

template <>
float FromString<float>(const std::string& text) {
  std::istringstream stream(text);
  stream.exceptions(std::ios::badbit);  // else a lack of memory would read as no number
  float value = 0.0F;
  stream >> value;
  return value;
}

}  // namespace Lbt::Util
