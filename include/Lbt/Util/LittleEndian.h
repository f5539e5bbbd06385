#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Lbt::Util {

namespace Detail {

template <std::size_t Width>
struct UnsignedOf;
template <>
struct UnsignedOf<1> {
  using Type = std::uint8_t;
};
template <>
struct UnsignedOf<4> {
  using Type = std::uint32_t;
};
template <>
struct UnsignedOf<8> {
  using Type = std::uint64_t;
};

}  // namespace Detail

/// A number of 1, 4 or 8 bytes as it is stored: little-endian; floats as
/// IEEE 754 single and double precision.
template <class T>
concept StoredNumber = std::is_arithmetic_v<T> && !std::same_as<T, bool> &&
                       (sizeof(T) == 1 || sizeof(T) == 4 || sizeof(T) == 8);

/// The number in the sizeof(T) bytes at "bytes", which need no alignment.
template <StoredNumber T>
[[nodiscard]] T FromLittleEndian(const unsigned char* bytes) {
  using Bits = typename Detail::UnsignedOf<sizeof(T)>::Type;
  Bits bits = 0;
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(&bits, bytes, sizeof bits);
  } else {
    for (std::size_t i = sizeof bits; i-- > 0;) {
      bits = static_cast<Bits>((bits << 8U) | bytes[i]);
    }
  }
  return std::bit_cast<T>(bits);
}

}  // namespace Lbt::Util
