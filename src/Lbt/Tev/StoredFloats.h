#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/LittleEndian.h"

namespace LbtTev {

/// Decodes the first values of "floats" from bytes; all of them lie in one value.
inline void DecodeFloats(std::span<const unsigned char> bytes, std::span<float> floats) {
  for (std::size_t i = 0; i < bytes.size() / sizeof(float); ++i) {
    floats[i] = Lbt::Util::FromLittleEndian<float>(bytes.data() + i * sizeof(float));
  }
}

/// Reads N floats that are stored as one value. A missing stream changes nothing.
template <std::size_t N>
void ReadStoredFloats(LbtLbf::LbFile& file, std::string_view name, std::array<float, N>& floats) {
  DecodeFloats(file.GetBytes(name, N * sizeof(float)), floats);
}

}  // namespace LbtTev
