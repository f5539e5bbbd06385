// Puts shuffled bytes of numbers in order.

#include "Lbt/Util/StoredNumbers.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace LbtUtil {

void UnShufflePlane(std::span<const unsigned char> plane, std::byte* first, std::size_t stride) {
  UnShuffleRange(plane, 0, plane.size() / kElementSize, first, stride);
}

namespace {

constexpr std::uint32_t ElementOf(unsigned char byte0, unsigned char byte1, unsigned char byte2,
                                  unsigned char byte3) {
  return byte0 | std::uint32_t{byte1} << 8U | std::uint32_t{byte2} << 16U |
         std::uint32_t{byte3} << 24U;
}

/// So many elements at a time are a few instructions of the processor.
constexpr std::size_t kAtOnce = 16;

/// The elements of which the first bytes stand at "bytes", and others so many bytes later.
std::array<std::uint32_t, kAtOnce> ElementsAt(const unsigned char* bytes, std::size_t all) {
  std::array<std::array<unsigned char, kAtOnce>, kElementSize> planes{};
  for (std::array<unsigned char, kAtOnce>& plane : planes) {
    std::memcpy(plane.data(), bytes, kAtOnce);
    bytes += all;
  }
  std::array<std::uint32_t, kAtOnce> elements{};
  for (std::size_t i = 0; i < kAtOnce; ++i) {
    elements[i] = ElementOf(planes[0][i], planes[1][i], planes[2][i], planes[3][i]);
  }
  return elements;
}

}  // namespace

void UnShuffleRange(std::span<const unsigned char> plane, std::size_t from, std::size_t count,
                    std::byte* first, std::size_t stride) {
  const std::size_t all = plane.size() / kElementSize;
  const unsigned char* bytes = plane.data() + from;
  std::size_t i = 0;
  for (; i + kAtOnce <= count; i += kAtOnce) {
    const auto elements = ElementsAt(bytes + i, all);
    if (stride == 1) {
      std::memcpy(first + i * kElementSize, elements.data(), sizeof elements);
      continue;
    }
    for (std::size_t k = 0; k < kAtOnce; ++k) {
      std::memcpy(first + (i + k) * stride * kElementSize, &elements[k], kElementSize);
    }
  }
  for (; i < count; ++i) {
    const std::uint32_t element =
        ElementOf(bytes[i], bytes[i + all], bytes[i + 2 * all], bytes[i + 3 * all]);
    std::memcpy(first + i * stride * kElementSize, &element, kElementSize);
  }
}

template <class T>
void UnShuffleVectorBytes(std::vector<T>& v) {
  static_assert(sizeof(T) == kElementSize);
  if (v.empty()) {
    return;
  }
  std::vector<unsigned char> stored(v.size() * kElementSize);
  std::memcpy(stored.data(), v.data(), stored.size());
  UnShufflePlane(stored, std::as_writable_bytes(std::span(v)).data(), 1);
}

template void UnShuffleVectorBytes<float>(std::vector<float>& v);
template void UnShuffleVectorBytes<unsigned int>(std::vector<unsigned int>& v);

}  // namespace LbtUtil
