#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tevfuzz {

/// What one fuzz target does with a file. Each target's source defines it; whatever it
/// throws that is no std::exception and no GeometryAssertion is a finding.
void TryFile(const std::string& path, std::span<const std::uint8_t> bytes);

/// Runs TryFile on a file of these bytes and absorbs the failures that are allowed.
void TryBytes(std::span<const std::uint8_t> bytes);

/// Silences standard error, where refused blocks are named, and lets blocks have just the
/// size that they need, so that the sanitizer sees every read beyond one.
void SetUp();

}  // namespace tevfuzz
