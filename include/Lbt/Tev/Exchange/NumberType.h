#pragma once

#include <cstddef>
#include <cstdint>

namespace LbtTev::Exchange {

/// What numbers are written as, little-endian.
enum class NumberType : std::uint8_t { Float32, Int32, Int64, UInt8, UInt32 };

[[nodiscard]] constexpr std::size_t BytesOf(NumberType type) {
  switch (type) {
    case NumberType::Int64:
      return sizeof(std::int64_t);
    case NumberType::UInt8:
      return sizeof(std::uint8_t);
    default:
      return sizeof(float);
  }
}

}  // namespace LbtTev::Exchange
