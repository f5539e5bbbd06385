// Makes names that a hash table puts in one place.

#include "ByteWriter.h"
#include "HostileModels.h"

namespace tevtest {

std::vector<std::string> StringsOfOneHash(std::size_t count) {
  // The library's hash of 16 bytes takes two words w into its state h by h = (h ^ mix(w)) * kMul.
  // Both steps can be undone, so that the second word brings any first one to the same state.
  constexpr std::uint64_t kMul = 0xC6A4A7935BD1E995U;
  constexpr std::uint64_t kInverse = 0x5F7A0EA7E59B19BDU;
  constexpr std::uint64_t kState = 0x123456789ABCDEFU;
  constexpr std::uint64_t kStart = 0xC70F6907U ^ (2 * sizeof(std::uint64_t) * kMul);
  static_assert(kMul * kInverse == 1);
  const auto fold = [](std::uint64_t word) { return word ^ (word >> 47U); };
  std::vector<std::string> strings;
  for (std::uint64_t first = 0x4141414141414141U; strings.size() < count; ++first) {
    const std::uint64_t state = (kStart ^ (fold(first * kMul) * kMul)) * kMul;
    const std::uint64_t second = fold((state ^ kState) * kInverse) * kInverse;
    const std::string text = ByteWriter().U64(first).U64(second).Bytes();
    const bool isName =
        text.find('\0') == std::string::npos && text.find('\x1e') == std::string::npos;
    if (isName)
      strings.push_back(text);
  }
  return strings;
}

}  // namespace tevtest
