#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Lbt::Util {

/// A character of UTF-8.
struct Utf8Character {
  std::size_t length = 0;   ///< in bytes; 0 where there is no valid one
  std::uint32_t point = 0;  ///< its code point
};

/// The character that "text", which is not empty, begins with; of length 0 where it begins with no
/// valid UTF-8.
[[nodiscard]] Utf8Character FirstOfUtf8(std::string_view text);

/// "text" with U+FFFD for each byte that is no valid UTF-8.
[[nodiscard]] std::string ValidUtf8(std::string_view text);

}  // namespace Lbt::Util
