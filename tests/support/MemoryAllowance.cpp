// Does work in a child whose memory may grow by so much and no more.

#include "MemoryAllowance.h"

#include <malloc.h>
#include <sys/resource.h>

#include <cstdlib>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string>

#include "Process.h"

namespace tevtest {
namespace {

constexpr int kDone = 40;
constexpr int kNoMemory = 41;

/// What RLIMIT_DATA counts, in bytes.
rlim_t DataSize() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    rlim_t kibibytes = 0;
    if (word == "VmData:" && status >> kibibytes)
      return kibibytes * 1024;
  }
  throw std::runtime_error("/proc/self/status has no VmData");
}

/// Gives back what the heap keeps, so that growth is seen from its first page on.
void LimitGrowth(std::size_t bytes) {
  ::malloc_trim(0);
  Limit(RLIMIT_DATA, DataSize() + bytes)();
}

}  // namespace

Allowed DoWithin(std::size_t bytes, const std::function<void()>& work) {
  const RunResult result = RunForked([&] {
    LimitGrowth(bytes);
    try {
      work();
    } catch (const std::bad_alloc&) {
      return kNoMemory;
    }
    return kDone;
  });
  if (result.status != kDone && result.status != kNoMemory)
    throw std::runtime_error("the work failed: " + result.error);
  return result.status == kDone ? Allowed::Enough : Allowed::TooLittle;
}

void TakeAllPiecesFrom(std::size_t bytes) {
  for (std::size_t size = std::size_t{1024} * 1024; size >= bytes; size /= 2) {
    // Kept until the child ends; seen by the compiler as used.
    const void* volatile taken = nullptr;
    do {
      taken = std::malloc(size);
    } while (taken != nullptr);
  }
}

}  // namespace tevtest
