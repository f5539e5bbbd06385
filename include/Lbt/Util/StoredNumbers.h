#pragma once

#include <bit>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <type_traits>
#include <vector>

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

/// "value" truncated toward zero and limited to what T can hold; NaN is 0. The
/// conversion is defined for every float.
template <std::integral T>
[[nodiscard]] T Clamped(float value) {
  if (std::isnan(value)) {
    return 0;
  }
  // In double precision both limits of a 32-bit type are exact.
  const double wide = value;
  if (wide <= static_cast<double>(std::numeric_limits<T>::min())) {
    return std::numeric_limits<T>::min();
  }
  if (wide >= static_cast<double>(std::numeric_limits<T>::max())) {
    return std::numeric_limits<T>::max();
  }
  return static_cast<T>(wide);
}

}  // namespace Lbt::Util

namespace LbtUtil {

/// Bytes of an element of numeric data.
inline constexpr std::size_t kElementSize = 4;

/// Undoes byte shuffling in place. For n elements of 4 bytes the stored bytes
/// hold byte 0 of every element, then byte 1 of every element, and so on: byte j
/// of element i is stored byte i + j * n.
template <class T>
void UnShuffleVectorBytes(std::vector<T>& v);

extern template void UnShuffleVectorBytes<float>(std::vector<float>& v);
extern template void UnShuffleVectorBytes<unsigned int>(std::vector<unsigned int>& v);

/// Writes the elements of one shuffled plane of 4 * n bytes to every
/// "stride"-th element of 4 bytes from "first" on: n elements in all.
void UnShufflePlane(std::span<const unsigned char> plane, std::byte* first, std::size_t stride);

/// The same for "count" elements of the plane from "from" on.
void UnShuffleRange(std::span<const unsigned char> plane, std::size_t from, std::size_t count,
                    std::byte* first, std::size_t stride);

}  // namespace LbtUtil
