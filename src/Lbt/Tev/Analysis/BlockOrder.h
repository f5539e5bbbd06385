#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace LbtTev::Analysis {

/// The order in which blocks are visited, each once: that of the file, but a block comes after
/// those that it requires. Where some require one another, the one that comes first in the file
/// waits.
class BlockOrder {
 public:
  explicit BlockOrder(std::size_t count) : required_(count) {}

  void Require(std::size_t block, std::size_t required) {
    if (block != required) {
      required_[block].push_back(required);
    }
  }

  /// By block, its place in the order.
  [[nodiscard]] std::vector<std::size_t> Ranks() const {
    constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
    std::vector<std::size_t> ranks(required_.size(), kNone);
    std::vector<std::size_t> seen(required_.size());  // how many of a block's required ones
    std::vector<std::size_t> open;                    // each is required by the one before it
    std::vector<bool> isOpen(required_.size());
    std::size_t next = 0;
    for (std::size_t start = 0; start < required_.size(); ++start) {
      open.push_back(start);
      while (!open.empty()) {
        const std::size_t block = open.back();
        isOpen[block] = true;
        if (ranks[block] == kNone && seen[block] < required_[block].size()) {
          const std::size_t required = required_[block][seen[block]++];
          if (!isOpen[required]) {
            open.push_back(required);
          }
          continue;
        }
        ranks[block] = ranks[block] == kNone ? next++ : ranks[block];
        open.pop_back();
      }
    }
    return ranks;
  }

 private:
  std::vector<std::vector<std::size_t>> required_;
};

}  // namespace LbtTev::Analysis
