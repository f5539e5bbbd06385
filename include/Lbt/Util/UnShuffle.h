#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace LbtUtil {

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

}  // namespace LbtUtil
