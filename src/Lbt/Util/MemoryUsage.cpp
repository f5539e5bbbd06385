// The memory of this process: how much it has, and in which pages.

#include "Lbt/Util/MemoryUsage.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <bit>
#include <cstdint>
#include <fstream>
#include <string>

namespace LbtUtil {

std::pair<unsigned long, unsigned long> GetLinuxMemoryUsage() {
  std::ifstream status("/proc/self/stat");
  return ParseMemoryUsage(status, sysconf(_SC_PAGESIZE));
}

std::pair<unsigned long, unsigned long> ParseMemoryUsage(std::istream& status, long pageSize) {
  constexpr int kWordsBeforeVirtualSize = 22;
  std::string word;
  for (int i = 0; i < kWordsBeforeVirtualSize; ++i) {
    status >> word;
  }
  unsigned long virtualBytes = 0;
  long residentPages = 0;
  if (!(status >> virtualBytes >> residentPages)) {
    return {0, 0};
  }
  const auto pageKibibytes = static_cast<unsigned long>(pageSize / 1024);
  return {virtualBytes >> 20U, (pageKibibytes * static_cast<unsigned long>(residentPages)) >> 10U};
}

}  // namespace LbtUtil

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

void ReturnLargePieces() {
  constexpr int kLarge = 4 * 1024 * 1024;
  mallopt(M_MMAP_THRESHOLD, kLarge);
  mallopt(M_TRIM_THRESHOLD, 2 * kLarge);
}

}  // namespace Lbt::Util
