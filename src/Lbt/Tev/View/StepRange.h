#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace LbtTev::View {

/// Values as 16-bit steps of their range. What is not finite does not count, and is the first step.
class StepRange {
 public:
  /// Has the range span these values, too.
  void Take(std::span<const float> values);
  void Take(const StepRange& values);

  [[nodiscard]] double Min() const { return min_ <= max_ ? min_ : 0; }
  [[nodiscard]] double Max() const { return min_ <= max_ ? max_ : 0; }

  /// Of values that were taken.
  [[nodiscard]] std::vector<std::uint16_t> StepsOf(std::span<const float> values) const;

 private:
  double min_ = std::numeric_limits<double>::infinity();
  double max_ = -std::numeric_limits<double>::infinity();
};

}  // namespace LbtTev::View
