#include "Lbt/Lbf/PrefixSums.h"

#include <bit>

namespace LbtLbf {

namespace {

std::size_t LowestBit(std::size_t value) { return value & (~value + 1); }

}  // namespace

void PrefixSums::Append(std::uint64_t length) {
  const std::size_t node = tree_.size() + 1;
  for (std::size_t part = 1; part < LowestBit(node); part <<= 1U) {
    length += tree_[node - part - 1];
  }
  tree_.push_back(length);
}

void PrefixSums::Change(std::size_t index, std::uint64_t from, std::uint64_t to) {
  for (std::size_t node = index + 1; node <= tree_.size(); node += LowestBit(node)) {
    tree_[node - 1] += to - from;  // modulo 2^64, right in either direction
  }
}

std::uint64_t PrefixSums::Sum(std::size_t count) const {
  std::uint64_t sum = 0;
  for (std::size_t node = count; node > 0; node -= LowestBit(node)) {
    sum += tree_[node - 1];
  }
  return sum;
}

std::size_t PrefixSums::Find(std::uint64_t offset) const {
  std::size_t found = 0;
  for (std::size_t step = std::bit_floor(tree_.size()); step > 0; step >>= 1U) {
    const std::size_t node = found + step;
    if (node <= tree_.size() && tree_[node - 1] <= offset) {
      offset -= tree_[node - 1];
      found = node;
    }
  }
  return found;
}

}  // namespace LbtLbf
