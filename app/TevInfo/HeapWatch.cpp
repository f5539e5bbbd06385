#include "TevInfo/HeapWatch.h"

#include <malloc.h>
#include <unistd.h>

#include <bit>

#include "Lbt/Util/LargePages.h"

namespace {

constexpr std::uintptr_t kMebibyte = 1024 * 1024;
constexpr std::uintptr_t kSmallHeap = 4 * kMebibyte;
constexpr int kGrowth = 16 * kMebibyte;

std::uintptr_t HeapEnd() { return std::bit_cast<std::uintptr_t>(sbrk(0)); }

}  // namespace

HeapWatch::HeapWatch() : start_(HeapEnd()), asked_(start_) {}

void HeapWatch::OnNode() {
  const std::uintptr_t heapEnd = HeapEnd();
  if (heapEnd > asked_ && heapEnd - start_ > kSmallHeap) {
    AskForLargePages(heapEnd);
  }
}

void HeapWatch::AskForLargePages(std::uintptr_t heapEnd) {
  // From now on the heap grows in steps that are worth a request.
  static_cast<void>(mallopt(M_TOP_PAD, kGrowth));
  Lbt::Util::AskForLargePages(std::bit_cast<void*>(asked_), heapEnd - asked_);
  asked_ = heapEnd;
}
