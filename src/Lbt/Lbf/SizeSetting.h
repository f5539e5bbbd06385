#pragma once

#include <cstdint>
#include <optional>

namespace LbtLbf {

/// The byte count that an environment variable sets, read as `strtoul` reads it:
/// text that is no number counts as 0. None where the variable is unset or its
/// value is not within 0 to 4294967294.
[[nodiscard]] std::optional<std::uint32_t> SizeSetting(const char* variable);

}  // namespace LbtLbf
