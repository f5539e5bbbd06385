#pragma once

#include <cstdint>

#include "Lbt/Tev/LoadObserver.h"

/// Asks the system for large pages behind the heap once a model's tree turns out to be large:
/// its nodes would else cost a page fault for every 4 KiB. It is a request only; small models
/// and runs under a memory limit never come to it.
class HeapWatch final : public LbtTev::LoadObserver {
 public:
  HeapWatch();

  void OnRecord(const LbtTev::TreeRecord& /*record*/) override {}
  void OnNode() override;

 private:
  void TakeStep(std::uintptr_t heapEnd);
  void AskForLargePages(std::uintptr_t heapEnd);

  std::uint32_t nodes_ = 0;
  bool isWatching_ = false;
  std::uintptr_t asked_;  // up to where; at first where the heap ended before the load
};
