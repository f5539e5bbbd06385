#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

namespace bench {

using Point = std::array<double, 3>;

/// A bent grid of "side" nodes in each direction. Nodes and elements are numbered along it only
/// roughly and no node stands quite in its place, as with a mesh generator: numbers in order would
/// deflate to next to nothing.
class BentGrid {
 public:
  explicit BentGrid(std::size_t side) : side_(side), placeOf_(side * side * side) {
    std::iota(placeOf_.begin(), placeOf_.end(), std::size_t{0});
    Mix(placeOf_);
    numberAt_.resize(placeOf_.size());
    for (std::size_t node = 0; node < placeOf_.size(); ++node) {
      numberAt_[placeOf_[node]] = static_cast<std::uint32_t>(node);
    }
  }

  [[nodiscard]] std::vector<Point> Points() const {
    std::mt19937 random(1);
    const auto offset = [&random] { return 0.3 * (static_cast<double>(random()) / 4294967296.0); };
    std::vector<Point> points;
    for (const std::size_t place : placeOf_) {
      const double x = static_cast<double>(place % side_) + offset();
      const double y = static_cast<double>(place / side_ % side_) + offset();
      const double z = static_cast<double>(place / side_ / side_) + offset();
      points.push_back({x + 4 * std::sin(0.05 * y + 0.02 * z), y + 3 * std::sin(0.05 * z), z});
    }
    return points;
  }

  /// Four nodes each. Six to a cube, all around its diagonal, so that neighbours share whole faces;
  /// all are turned alike.
  [[nodiscard]] std::vector<std::uint32_t> Tetrahedra() const {
    std::vector<std::array<std::uint32_t, 4>> elements;
    for (std::size_t place = 0; place < side_ * side_ * (side_ - 1); ++place) {
      if (place % side_ != side_ - 1 && place / side_ % side_ != side_ - 1) {
        AddCube(place, elements);
      }
    }
    Mix(elements);
    std::vector<std::uint32_t> corners;
    for (const auto& element : elements) {
      corners.insert(corners.end(), element.begin(), element.end());
    }
    return corners;
  }

 private:
  /// Changes the order among neighbours.
  template <class Items>
  static void Mix(Items& items) {
    constexpr std::size_t kRun = 256;
    std::mt19937 random(1);
    for (std::size_t first = 0; first < items.size(); first += kRun) {
      const auto begin = items.begin() + static_cast<std::ptrdiff_t>(first);
      const std::size_t count = std::min(kRun, items.size() - first);
      std::shuffle(begin, begin + static_cast<std::ptrdiff_t>(count), random);
    }
  }

  void AddCube(std::size_t place, std::vector<std::array<std::uint32_t, 4>>& elements) const {
    const std::array<std::size_t, 3> strides{1, side_, side_ * side_};
    constexpr std::array<std::array<std::size_t, 3>, 3> kTurns{{{0, 1, 2}, {1, 2, 0}, {2, 0, 1}}};
    const std::uint32_t first = numberAt_[place];
    const std::uint32_t last = numberAt_[place + strides[0] + strides[1] + strides[2]];
    for (const auto& [a, b, c] : kTurns) {
      const std::uint32_t along = numberAt_[place + strides.at(a)];
      const std::uint32_t across = numberAt_[place + strides.at(a) + strides.at(b)];
      elements.push_back({first, along, across, last});
      elements.push_back({first, numberAt_[place + strides.at(a) + strides.at(c)], along, last});
    }
  }

  std::size_t side_;
  std::vector<std::size_t> placeOf_;     ///< by node
  std::vector<std::uint32_t> numberAt_;  ///< by place
};

}  // namespace bench
