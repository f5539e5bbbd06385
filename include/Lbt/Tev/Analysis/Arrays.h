#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/BlocksAhead.h"
#include "Lbt/Tev/Analysis/FloatTuples.h"
#include "Lbt/Tev/NumericArray.h"
#include "Lbt/Tev/Tree.h"

namespace LbtTev::Analysis {

/// Which stored numbers an array has: arrays with equal keys have the same ones. In the order of
/// the file; numbers that the tree holds come first.
struct ArrayKey {
  ArrayKey() = default;
  explicit ArrayKey(const NumericArray& array);

  std::uintptr_t held = 0;  ///< where the tree holds them
  unsigned long position = 0;
  unsigned long byteSize = 0;
  unsigned char width = 1;
  bool isShuffled = false;

  // The checks take what the compiler makes of it for conversions.
  // NOLINTNEXTLINE(readability-implicit-bool-conversion, modernize-use-nullptr)
  friend auto operator<=>(const ArrayKey&, const ArrayKey&) = default;
};

/// Loads all elements of an array, wherever its record keeps them, from a block that was inflated
/// ahead where there is one; none for an array without data. T is float or unsigned int. Throws
/// what DataLoader::LoadTo does, and "Model Error" where there are fewer numbers than the array
/// promises.
template <class T>
[[nodiscard]] std::vector<T> LoadArray(const NumericArray& array, BlocksAhead& ahead);

/// The floats of an array as they are stored, where that is in a block that was inflated here and
/// is not much larger; else null. Throws what LoadArray does.
[[nodiscard]] std::shared_ptr<const StoredFloats> FindStored(const NumericArray& array,
                                                             BlocksAhead& ahead);

extern template std::vector<float> LoadArray<float>(const NumericArray& array, BlocksAhead& ahead);
extern template std::vector<unsigned int> LoadArray<unsigned int>(const NumericArray& array,
                                                                  BlocksAhead& ahead);

/// Runs "load", which loads from "tree", and returns why it failed; null where it did not. In place
/// of what zlib leaves that names the block. Throws on a lack of memory.
[[nodiscard]] std::exception_ptr FailureOfLoad(const Tree& tree, const std::function<void()>& load);

/// The nodes that the faces of a part use, as ranges of indices in ascending order.
class UsedNodes {
 public:
  /// Half open.
  using Range = std::pair<std::size_t, std::size_t>;

  /// All of "points" nodes.
  explicit UsedNodes(std::size_t points);

  /// Those of "points" nodes that "faces" name. Throws "Model Error" where "lengths" do not
  /// make up the faces, or where a face names a node that there is none of.
  UsedNodes(std::span<const unsigned int> faces, std::span<const unsigned int> lengths,
            std::size_t points);

  [[nodiscard]] const std::vector<Range>& Ranges() const { return ranges_; }
  [[nodiscard]] std::size_t Count() const { return count_; }

  /// Throws "Model Error" where one of them is none of "points" nodes.
  void RequireWithin(std::size_t points) const;

 private:
  void Add(std::size_t node);

  std::vector<Range> ranges_;
  std::size_t count_ = 0;
};

/// Throws "Model Error" where the sum of the lengths of faces is not the number of their nodes.
void CheckLengths(std::size_t sum, std::size_t nodes);

/// What faces ask of their mesh.
struct FaceExtent {
  std::size_t listed = 0;    ///< nodes in their list
  std::size_t sum = 0;       ///< of their lengths
  std::size_t points = 0;    ///< one more than the highest node that the list names
  unsigned int longest = 0;  ///< of the lengths, but for those that the list cannot hold
};
[[nodiscard]] FaceExtent ExtentOf(std::span<const unsigned int> faces,
                                  std::span<const unsigned int> lengths);

/// Throws "Model Error" where the lengths of faces do not make up the list of their nodes, or
/// where it names a node at or above "points".
void CheckFaces(const FaceExtent& faces, std::size_t points);

}  // namespace LbtTev::Analysis
