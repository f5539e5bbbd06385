#pragma once

#include "Lbt/Tev/TreeRecord.h"

namespace LbtTev {

/// Who wants to know how far the loading of a tree is derives from this.
class LoadObserver {
 public:
  LoadObserver() = default;
  virtual ~LoadObserver() = default;
  LoadObserver(const LoadObserver&) = delete;
  LoadObserver& operator=(const LoadObserver&) = delete;

  /// A tree record has been read; the data of its node comes next.
  virtual void OnRecord(const TreeRecord& record) = 0;

  /// The data of that record's node has been read, and the node is in the tree.
  virtual void OnNode() = 0;
};

}  // namespace LbtTev
