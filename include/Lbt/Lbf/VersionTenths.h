#pragma once

#include <cstdint>
#include <string>

namespace LbtLbf {

/// A version text as a count of tenths: 13 for "1.3", 1 for "0.1a", 12 for "1.25".
/// The number is read as `strtod` reads it. One that is not finite, is negative or
/// does not fit counts as 4294967295, which nothing supports.
[[nodiscard]] std::uint32_t VersionTenths(const std::string& version);

}  // namespace LbtLbf
