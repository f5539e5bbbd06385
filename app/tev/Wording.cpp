// Words and numbers for people, as several verbs have them.

#include "tev/Wording.h"

#include <array>
#include <charconv>
#include <cmath>

std::string Counted(std::uint64_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string NumberText(double number) {
  constexpr double kMostWithoutExponent = 1e15;
  if (std::trunc(number) == number && std::fabs(number) < kMostWithoutExponent) {
    return std::to_string(static_cast<std::int64_t>(number));
  }
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string NumberOrDash(const std::optional<double>& number) {
  return number ? NumberText(*number) : "-";
}

std::string MeanText(double mean) {
  constexpr double kHundredths = 100;
  return NumberText(std::round(mean * kHundredths) / kHundredths);
}
