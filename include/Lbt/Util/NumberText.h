#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Lbt::Util {

/// The text of one number, held in place. Every number of the report, the dump
/// and the export gets its characters here: those that a C++ output stream with
/// default formatting writes (six significant digits, the shorter of fixed and
/// exponent notation, "inf", "nan").
class NumberText {
 public:
  /// A float reads as the double of the same value.
  explicit NumberText(float value);
  explicit NumberText(double value);
  explicit NumberText(std::uint32_t value) : NumberText(static_cast<std::uint64_t>(value)) {}
  explicit NumberText(std::int32_t value) : NumberText(static_cast<std::int64_t>(value)) {}
  explicit NumberText(std::uint64_t value);
  explicit NumberText(std::int64_t value);

  /// Bytes that may be copied from where View() starts, whatever its size.
  static constexpr std::size_t kRoom = 24;

  /// The characters; valid while this object lives.
  [[nodiscard]] std::string_view View() const { return {text_.data(), size_}; }

 private:
  std::array<char, kRoom> text_{};  // holds a 64-bit integer with its sign
  std::size_t size_;
};

/// The text that a C++ output stream with default formatting writes for
/// "value": a number with at most six significant digits, a string as it is.
template <class T>
[[nodiscard]] std::string ToString(const T& value);

template <>
std::string ToString<unsigned int>(const unsigned int& value);
template <>
std::string ToString<int>(const int& value);
template <>
std::string ToString<std::string>(const std::string& value);
template <>
std::string ToString<float>(const float& value);
template <>
std::string ToString<double>(const double& value);

/// One value read from "text" by the default extraction of a C++ input stream;
/// what that extraction leaves (0) where the text holds none.
template <class T>
[[nodiscard]] T FromString(const std::string& text);

template <>
float FromString<float>(const std::string& text);

}  // namespace Lbt::Util
