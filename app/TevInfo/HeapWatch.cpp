// Asks for large pages where a model has a large tree.

#include "TevInfo/HeapWatch.h"

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "Lbt/Util/MemoryUsage.h"

namespace {

constexpr std::uint32_t kLargeTree = 2048;  // nodes
constexpr int kGrowth = 16 * 1024 * 1024;

std::uintptr_t HeapEnd() { return std::bit_cast<std::uintptr_t>(sbrk(0)); }

/// Under a limit, memory that is taken ahead may be what is missing in the end.
bool IsMemoryLimited() {
  rlimit space{};
  rlimit data{};
  return getrlimit(RLIMIT_AS, &space) != 0 || getrlimit(RLIMIT_DATA, &data) != 0 ||
         space.rlim_cur != RLIM_INFINITY || data.rlim_cur != RLIM_INFINITY;
}

}  // namespace

HeapWatch::HeapWatch() : asked_(HeapEnd()) {}

void HeapWatch::OnNode() {
  ++nodes_;
  if (nodes_ == kLargeTree && !IsMemoryLimited()) {
    isWatching_ = true;
    // From now on the heap grows in steps that are worth a request.
    static_cast<void>(mallopt(M_TOP_PAD, kGrowth));
    AskForLargePages(HeapEnd());
  } else if (isWatching_) {
    TakeStep(HeapEnd());
  }
}

/// A step of more than the tree takes is for the buffer of a block, most of which may never be
/// touched: one byte of it would cost a whole page.
void HeapWatch::TakeStep(std::uintptr_t heapEnd) {
  constexpr std::uintptr_t kLargestStep = kGrowth + kGrowth / 16;
  if (heapEnd > asked_ && heapEnd - asked_ <= kLargestStep) {
    AskForLargePages(heapEnd);
  }
  asked_ = std::max(asked_, heapEnd);
}

void HeapWatch::AskForLargePages(std::uintptr_t heapEnd) {
  const std::uintptr_t from = std::exchange(asked_, heapEnd);
  Lbt::Util::AskForLargePages(std::bit_cast<void*>(from), heapEnd - from);
}
