// Reads tuples of floats, which may still be as their block stores them.

#include "Lbt/Tev/Analysis/FloatTuples.h"

#include <cstring>

#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Analysis {

FloatTuples::FloatTuples(const StoredFloats& stored, std::size_t width)
    : planes_(stored.bytes),
      width_(width),
      count_(width == 0 ? 0 : stored.bytes.size() / sizeof(float) / width) {}

void FloatTuples::ReadComponent(std::size_t component, std::size_t first,
                                std::span<float> out) const {
  if (!planes_.empty()) {
    LbtUtil::UnShuffleRange(Plane(component), first, out.size(), std::as_writable_bytes(out).data(),
                            1);
    return;
  }
  const std::span<const float> numbers = ordered_.subspan(first * width_, out.size() * width_);
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = numbers[i * width_ + component];
  }
}

std::span<const float> FloatTuples::Read(std::size_t first, std::size_t count,
                                         std::vector<float>& room) const {
  if (planes_.empty()) {
    return ordered_.subspan(first * width_, count * width_);
  }
  room.resize(count * width_);
  for (std::size_t component = 0; component < width_; ++component) {
    const auto from = std::as_writable_bytes(std::span(room).subspan(component));
    LbtUtil::UnShuffleRange(Plane(component), first, count, from.data(), width_);
  }
  return room;
}

bool FloatTuples::HasSameBytes(std::size_t first, const FloatTuples& other,
                               std::size_t firstOfOther, std::size_t count) const {
  if (count == 0 || planes_.empty() != other.planes_.empty() || width_ != other.width_) {
    return count == 0;
  }
  if (planes_.empty()) {
    return std::memcmp(&ordered_[first * width_], &other.ordered_[firstOfOther * width_],
                       count * width_ * sizeof(float)) == 0;
  }
  for (std::size_t place = 0; place < width_ * sizeof(float); ++place) {
    if (std::memcmp(&planes_[place * count_ + first],
                    &other.planes_[place * other.count_ + firstOfOther], count) != 0) {
      return false;
    }
  }
  return true;
}

}  // namespace LbtTev::Analysis
