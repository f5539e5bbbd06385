#include "Lbt/Util/MemoryUsage.h"

#include <unistd.h>

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
