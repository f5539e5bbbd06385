#pragma once

#include <string>
#include <string_view>

namespace Lbt::Util {

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
