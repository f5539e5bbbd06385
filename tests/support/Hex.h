#pragma once

#include <string>
#include <string_view>

namespace tevtest {

/// Bytes from pairs of hexadecimal digits; blanks are skipped, and text between apostrophes stands
/// for itself: "0300 'abc' ff". Throws std::invalid_argument on anything else.
[[nodiscard]] std::string Hex(std::string_view text);

}  // namespace tevtest
