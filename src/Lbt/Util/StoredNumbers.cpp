// Puts shuffled bytes of numbers in order.

#include "Lbt/Util/StoredNumbers.h"

#include <cstdint>
#include <cstring>

namespace LbtUtil {

void UnShufflePlane(std::span<const unsigned char> plane, std::byte* first, std::size_t stride) {
  UnShuffleRange(plane, 0, plane.size() / kElementSize, first, stride);
}

void UnShuffleRange(std::span<const unsigned char> plane, std::size_t from, std::size_t count,
                    std::byte* first, std::size_t stride) {
  const std::size_t all = plane.size() / kElementSize;
  const unsigned char* byte0 = plane.data() + from;
  const unsigned char* byte1 = byte0 + all;
  const unsigned char* byte2 = byte1 + all;
  const unsigned char* byte3 = byte2 + all;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char element[kElementSize] = {byte0[i], byte1[i], byte2[i], byte3[i]};
    std::memcpy(first + i * stride * kElementSize, element, kElementSize);
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
