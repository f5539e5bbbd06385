#include "TevInfo/HeapWatch.h"

#include <malloc.h>
#include <unistd.h>

#include <bit>

#include "Lbt/Util/LargePages.h"

namespace {

constexpr std::uint32_t kLargeTree = 2048;  // nodes
constexpr int kGrowth = 16 * 1024 * 1024;

std::uintptr_t HeapEnd() { return std::bit_cast<std::uintptr_t>(sbrk(0)); }

}  // namespace

HeapWatch::HeapWatch() : asked_(HeapEnd()) {}

void HeapWatch::OnNode() {
  ++nodes_;
  if (nodes_ == kLargeTree) {
    // From now on the heap grows in steps that are worth a request.
    static_cast<void>(mallopt(M_TOP_PAD, kGrowth));
  }
  if (nodes_ >= kLargeTree) {
    AskForLargePages(HeapEnd());
  }
}

void HeapWatch::AskForLargePages(std::uintptr_t heapEnd) {
  if (heapEnd > asked_) {
    Lbt::Util::AskForLargePages(std::bit_cast<void*>(asked_), heapEnd - asked_);
    asked_ = heapEnd;
  }
}
