// Takes names of steps apart and puts steps in order.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

#include "Lbt/Tev/Analysis/Model.h"

namespace LbtTev::Analysis {

namespace {

constexpr std::string_view kBeforeValue = " = ";

/// The number that a text begins with, perhaps after blanks.
std::optional<double> NumberAtStartOf(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (text.starts_with('+') && !text.starts_with("+-")) {
    text.remove_prefix(1);
  }
  double value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isNumber = read.ec == std::errc() && std::isfinite(value);
  return isNumber ? std::optional(value) : std::nullopt;
}

/// None comes last.
std::weak_ordering CompareValues(const std::optional<double>& left,
                                 const std::optional<double>& right) {
  if (!left || !right) {
    if (left.has_value() == right.has_value()) {
      return std::weak_ordering::equivalent;
    }
    return left ? std::weak_ordering::less : std::weak_ordering::greater;
  }
  if (*left == *right) {
    return std::weak_ordering::equivalent;
  }
  return *left < *right ? std::weak_ordering::less : std::weak_ordering::greater;
}

}  // namespace

Step::Step(std::string_view instance) : text(ShownName(instance)) {
  const std::size_t separator = text.find(kBeforeValue);
  label = text.substr(0, separator);
  if (separator != std::string::npos) {
    value = NumberAtStartOf(std::string_view(text).substr(separator + kBeforeValue.size()));
  }
}

std::weak_ordering operator<=>(const Step& left, const Step& right) {
  if (const int order = left.label.compare(right.label); order != 0) {
    return order <=> 0;
  }
  const std::weak_ordering order = CompareValues(left.value, right.value);
  return order != std::weak_ordering::equivalent ? order : left.text.compare(right.text) <=> 0;
}

bool operator==(const Step& left, const Step& right) { return left.text == right.text; }

}  // namespace LbtTev::Analysis
