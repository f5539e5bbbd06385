#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// Damages "file" in every systematic way and hands each result to "take":
///
///   - cut at every length;
///   - every byte set to 0x00, 0xFF, its value plus one, its value with the top bit flipped;
///   - every 32-bit word after the version, at any alignment, set to 0, 1, 0x7FFFFFFF,
///     0x80000000, 0xFFFFFFFF and the size of the file.
///
/// Of all these only every "stride"-th is made. Returns how many were.
std::size_t ForEachMutant(const std::string& file, std::size_t stride,
                          const std::function<void(const std::string&)>& take);
