#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace LbtTev::Analysis {

/// Floats that are left as their block stores them: for each component a plane of shuffled bytes.
struct StoredFloats {
  std::shared_ptr<const void> block{};  ///< has the bytes
  std::span<const unsigned char> bytes;
};

/// Tuples of floats, in order in memory or as they are stored. Who looks at each number once puts
/// them in order piece by piece, which costs no memory that is touched for the first time.
class FloatTuples {
 public:
  FloatTuples() = default;
  FloatTuples(std::span<const float> ordered, std::size_t width)
      : ordered_(ordered), width_(width), count_(width == 0 ? 0 : ordered.size() / width) {}
  FloatTuples(const StoredFloats& stored, std::size_t width);

  [[nodiscard]] std::size_t Width() const { return width_; }
  [[nodiscard]] std::size_t Count() const { return count_; }
  [[nodiscard]] std::size_t Bytes() const { return count_ * width_ * sizeof(float); }

  /// One component of as many tuples as "out" has room for, from "first" on; they must be there.
  void ReadComponent(std::size_t component, std::size_t first, std::span<float> out) const;

  /// The numbers of "count" tuples from "first" on; "room" serves where they are not in order.
  [[nodiscard]] std::span<const float> Read(std::size_t first, std::size_t count,
                                            std::vector<float>& room) const;

  /// Whether so many tuples are stored in the same bytes as those of "other". False says nothing.
  [[nodiscard]] bool HasSameBytes(std::size_t first, const FloatTuples& other,
                                  std::size_t firstOfOther, std::size_t count) const;

 private:
  [[nodiscard]] std::span<const unsigned char> Plane(std::size_t component) const {
    return planes_.subspan(component * count_ * sizeof(float), count_ * sizeof(float));
  }

  std::span<const float> ordered_;
  std::span<const unsigned char> planes_;  // used where they are not empty
  std::size_t width_ = 1;
  std::size_t count_ = 0;
};

}  // namespace LbtTev::Analysis
