#pragma once

#include <cstdint>

#include "Lbt/Tev/LoadObserver.h"

/// Asks the system for large pages behind the heap once a model's tree has made it grow: the
/// nodes of a large tree would else cost a page fault for every 4 KiB. It is a request only,
/// and small models never come to it.
class HeapWatch final : public LbtTev::LoadObserver {
 public:
  HeapWatch();

  void OnRecord(const LbtTev::TreeRecord& /*record*/) override {}
  void OnNode() override;

 private:
  void AskForLargePages(std::uintptr_t heapEnd);

  std::uintptr_t start_;  // the heap's end before the load
  std::uintptr_t asked_;  // up to where
};
