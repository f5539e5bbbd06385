#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <utility>

#include "Lbt/Tev/Analysis/FileOrder.h"

/// Remembers what work on loaded numbers came to: a file may have very many fields and meshes
/// refer to the same few arrays, in any turn.
namespace LbtTev::Analysis {

/// Knows an object again, and does not keep it. Objects that are gone are never taken for new ones.
class Identity {
 public:
  Identity() = default;
  explicit Identity(const std::shared_ptr<const void>& object) : object_(object) {}
  explicit Identity(const LoadedArray& array)
      : object_(array.floats != nullptr   ? std::shared_ptr<const void>(array.floats)
                : array.stored != nullptr ? std::shared_ptr<const void>(array.stored)
                                          : array.wholes) {}

  friend bool operator<(const Identity& a, const Identity& b) {
    return a.object_.owner_before(b.object_);
  }

 private:
  std::weak_ptr<const void> object_;
};

/// Remembers results by what they were made of, 64 MiB of them or the last one.
template <class Key, class Value>
class Remembered {
 public:
  /// The result for "key", from "make" where it is not known; "bytes" is what it holds beside
  /// itself. It stands until the next call.
  template <class Make>
  const Value& Of(const Key& key, std::size_t bytes, const Make& make) {
    constexpr std::size_t kMost = std::size_t{64} * 1024 * 1024;
    if (const auto found = known_.find(key); found != known_.end()) {
      return found->second;
    }
    Value value = make();
    size_ += bytes + sizeof(std::pair<Key, Value>);
    if (size_ > kMost) {
      known_.clear();
      size_ = bytes + sizeof(std::pair<Key, Value>);
    }
    return known_.emplace(key, std::move(value)).first->second;
  }

 private:
  std::map<Key, Value> known_;
  std::size_t size_ = 0;
};

}  // namespace LbtTev::Analysis
