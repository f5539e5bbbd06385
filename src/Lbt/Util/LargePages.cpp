#include "Lbt/Util/LargePages.h"

#include <sys/mman.h>

#include <bit>
#include <cstdint>

namespace Lbt::Util {

void AskForLargePages(void* start, std::size_t size) {
  constexpr std::size_t kWorthAsking = std::size_t{2} * 1024 * 1024;
  constexpr std::uintptr_t kPage = 4096;
  if (size < kWorthAsking) {
    return;
  }
  const auto address = std::bit_cast<std::uintptr_t>(start);
  const std::uintptr_t from = (address + kPage - 1) / kPage * kPage;
  const std::uintptr_t to = (address + size) / kPage * kPage;
  static_cast<void>(madvise(std::bit_cast<void*>(from), to - from, MADV_HUGEPAGE));
}

}  // namespace Lbt::Util
