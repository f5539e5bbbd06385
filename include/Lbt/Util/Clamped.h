#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace Lbt::Util {

/// "value" truncated toward zero and limited to what T can hold; NaN is 0. The
/// conversion is defined for every float.
template <std::integral T>
[[nodiscard]] T Clamped(float value) {
  if (std::isnan(value)) {
    return 0;
  }
  // In double precision both limits of a 32-bit type are exact.
  const double wide = value;
  if (wide <= static_cast<double>(std::numeric_limits<T>::min())) {
    return std::numeric_limits<T>::min();
  }
  if (wide >= static_cast<double>(std::numeric_limits<T>::max())) {
    return std::numeric_limits<T>::max();
  }
  return static_cast<T>(wide);
}

}  // namespace Lbt::Util
