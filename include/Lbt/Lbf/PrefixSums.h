#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace LbtLbf {

/// A growing list of lengths with the sums of its beginnings: a binary indexed
/// (Fenwick) tree. Appending, changing, summing and finding take O(log n) steps, so
/// that seeking stays cheap in a stream of very many blocks.
class PrefixSums {
 public:
  /// How many lengths there are.
  [[nodiscard]] std::size_t Count() const { return tree_.size(); }

  /// Adds a length at the end.
  void Append(std::uint64_t length);

  /// Changes the length at "index".
  void Change(std::size_t index, std::uint64_t from, std::uint64_t to);

  /// The sum of the first "count" lengths.
  [[nodiscard]] std::uint64_t Sum(std::size_t count) const;

  /// The number of lengths, from the first on, whose sum is at most "offset": the
  /// index of the length that "offset" lies in, or Count() beyond them all.
  [[nodiscard]] std::size_t Find(std::uint64_t offset) const;

 private:
  std::vector<std::uint64_t> tree_;  // node i covers the lowbit(i + 1) lengths up to i
};

}  // namespace LbtLbf
