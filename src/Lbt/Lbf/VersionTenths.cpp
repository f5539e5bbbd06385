#include "Lbt/Lbf/VersionTenths.h"

#include <cmath>
#include <cstdlib>
#include <limits>

namespace LbtLbf {

std::uint32_t VersionTenths(const std::string& version) {
  constexpr auto kUnsupported = std::numeric_limits<std::uint32_t>::max();
  constexpr double kAgainstRounding = 0.001;
  const double number = std::strtod(version.c_str(), nullptr);
  // Four characters can hold "1e99", which no float can.
  if (!std::isfinite(number) || number < 0 || number > std::numeric_limits<float>::max()) {
    return kUnsupported;
  }
  const double tenths = (static_cast<double>(static_cast<float>(number)) + kAgainstRounding) * 10.0;
  return tenths < static_cast<double>(kUnsupported) ? static_cast<std::uint32_t>(tenths)
                                                    : kUnsupported;
}

}  // namespace LbtLbf
