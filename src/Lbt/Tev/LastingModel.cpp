// Loads a model for a program that ends with it: into large pages, and never freed.

#include "Lbt/Tev/LastingModel.h"

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <forward_list>
#include <utility>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Util/MemoryUsage.h"

namespace LbtTev {

namespace {

/// Trees that are never destroyed, in static storage, so that leak checkers see them in use.
union LastingTrees {
  LastingTrees() : trees() {}
  // NOLINTNEXTLINE(modernize-use-equals-default): a defaulted one would be deleted
  ~LastingTrees() {}
  LastingTrees(const LastingTrees&) = delete;
  LastingTrees& operator=(const LastingTrees&) = delete;

  std::forward_list<Tree> trees;
};

Tree& NewLastingTree() {
  static LastingTrees lasting;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): its only member, and always alive
  return lasting.trees.emplace_front();
}

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

/// Asks the system for large pages after the heap once a model's tree turns out to be large:
/// its nodes would else cost a page fault for every 4 KiB. It is a request only; small models
/// and runs under a memory limit never come to it.
class HeapWatch final : public LoadObserver {
 public:
  HeapWatch() : asked_(HeapEnd()) {}

  void OnRecord(const TreeRecord& /*record*/) override {}
  void OnNode() override;

 private:
  void TakeStep(std::uintptr_t heapEnd);
  void AskForLargePages(std::uintptr_t heapEnd);

  std::uint32_t nodes_ = 0;
  bool isWatching_ = false;
  std::uintptr_t asked_;  // up to where; at first where the heap ended before the load
};

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

}  // namespace

LastingModel::LastingModel() : tree_(&NewLastingTree()) {}

void LastingModel::Open(const std::string& path) {
  HeapWatch heapWatch;
  OpenModel(*tree_, path, &heapWatch);
}

}  // namespace LbtTev
