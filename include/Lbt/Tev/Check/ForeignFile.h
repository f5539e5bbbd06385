#pragma once

#include <cstddef>
#include <string_view>

namespace LbtTev::Check {

/// How many bytes of a file tell what it looks like.
inline constexpr std::size_t kLookedAt = 512;

/// What a file without the signature looks like by its first bytes, in words that end a sentence
/// ("a gzip file"); empty where nobody knows.
[[nodiscard]] std::string_view LookOf(std::string_view start);

}  // namespace LbtTev::Check
