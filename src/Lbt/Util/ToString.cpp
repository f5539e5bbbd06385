// Values to text and back.

#include "Lbt/Util/ToString.h"

#include <sstream>

#include "Lbt/Util/NumberText.h"

namespace Lbt::Util {

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
