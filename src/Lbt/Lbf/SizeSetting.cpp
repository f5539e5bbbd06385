#include "SizeSetting.h"

#include <cstdlib>
#include <limits>

namespace LbtLbf {

std::optional<std::uint32_t> SizeSetting(const char* variable) {
  const char* text = std::getenv(variable);
  if (text == nullptr) {
    return std::nullopt;
  }
  const unsigned long value = std::strtoul(text, nullptr, 10);
  if (value >= std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(value);
}

}  // namespace LbtLbf
