#pragma once

#include <cstddef>

namespace Lbt::Util {

/// Writes "value" as `printf("%g")` does and returns how many characters that took, or
/// 0 where that is not sure: for infinities, NaN, and values so close to the middle
/// between two texts that double precision cannot tell the sides apart. May write up to
/// 16 characters.
[[nodiscard]] std::size_t WriteFloat(float value, char* text);

}  // namespace Lbt::Util
