// Makes steps of a range of values.

#include "StepRange.h"

#include <algorithm>
#include <cmath>

namespace LbtTev::View {

void StepRange::Take(std::span<const float> values) {
  for (const float value : values) {
    if (std::isfinite(value)) {
      min_ = std::min(min_, static_cast<double>(value));
      max_ = std::max(max_, static_cast<double>(value));
    }
  }
}

void StepRange::Take(const StepRange& values) {
  min_ = std::min(min_, values.min_);
  max_ = std::max(max_, values.max_);
}

std::vector<std::uint16_t> StepRange::StepsOf(std::span<const float> values) const {
  constexpr double kSteps = 65535;
  const double scale = max_ > min_ ? kSteps / (max_ - min_) : 0;
  std::vector<std::uint16_t> steps(values.size());
  std::ranges::transform(values, steps.begin(), [&](float value) {
    return static_cast<std::uint16_t>(
        std::isfinite(value) ? std::lround((static_cast<double>(value) - min_) * scale) : 0);
  });
  return steps;
}

}  // namespace LbtTev::View
