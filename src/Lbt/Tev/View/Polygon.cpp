// Cuts polygons into triangles.

#include "Polygon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numeric>
#include <utility>

namespace LbtTev::View {

namespace {

using Corners = std::array<unsigned int, 3>;
using Spot = std::array<double, 2>;

constexpr std::size_t kMostOfConcave = 100;  // nodes
constexpr double kNothing = 1e-6;            // of a polygon's area, which nobody sees
constexpr std::size_t kTriesOfNode = 8;

/// A fan from one node; with middles, corners are cut off first, and the fan is of what is left.
void AddFan(std::span<const unsigned int> around, bool hasMiddles,
            std::vector<Corners>& triangles) {
  const std::size_t step = hasMiddles ? 2 : 1;
  for (std::size_t i = 0; hasMiddles && i < around.size(); i += step) {
    const std::size_t before = (i == 0 ? around.size() : i) - 1;
    triangles.push_back({around[before], around[i], around[i + 1]});
  }
  const std::size_t first = step - 1;
  for (std::size_t i = first + step; i + step < around.size(); i += step) {
    triangles.push_back({around[first], around[i], around[i + step]});
  }
}

/// Whether some triangle goes around the other way than its polygon does.
bool AnyTurnsBack(std::span<const Corners> triangles, const std::array<double, 3>& normal,
                  std::span<const float> coordinates) {
  const auto along = [&normal](const std::array<double, 3>& other) {
    return std::inner_product(normal.begin(), normal.end(), other.begin(), 0.0);
  };
  const double least = -kNothing * along(normal);
  return std::ranges::any_of(
      triangles, [&](const Corners& each) { return along(NormalOf(each, coordinates)) < least; });
}

/// Twice the area of a triangle, below 0 where it goes around clockwise.
double TwiceAreaOf(const Spot& a, const Spot& b, const Spot& c) {
  return (b[0] - a[0]) * (c[1] - a[1]) - (c[0] - a[0]) * (b[1] - a[1]);
}

/// A polygon as it is seen along its normal, on the plane of two axes.
class FlatPolygon {
 public:
  FlatPolygon(std::span<const unsigned int> around, std::span<const float> coordinates)
      : around_(around) {
    const std::array<double, 3> normal = NormalOf(around, coordinates);
    const auto axis = static_cast<std::size_t>(
        std::distance(normal.begin(),
                      std::ranges::max_element(normal, {}, [](double x) { return std::abs(x); })));
    std::array<std::size_t, 2> axes{(axis + 1) % 3, (axis + 2) % 3};
    if (normal.at(axis) < 0) {
      std::swap(axes[0], axes[1]);
    }
    nothing_ = kNothing * std::abs(normal.at(axis));
    spots_.reserve(around.size());
    for (const unsigned int node : around) {
      const std::span<const float> point = coordinates.subspan(std::size_t{node} * 3, 3);
      spots_.push_back({static_cast<double>(point[axes[0]]), static_cast<double>(point[axes[1]])});
    }
  }

  /// Cuts off one corner after the other that no other node is within; nothing where the polygon
  /// crosses itself, or where that takes too long.
  [[nodiscard]] std::vector<Corners> Cut() const {
    std::vector<Corners> triangles;
    std::vector<std::size_t> left(around_.size());
    std::iota(left.begin(), left.end(), std::size_t{0});
    std::size_t place = 0;
    std::size_t failures = 0;
    for (std::size_t tries = kTriesOfNode * left.size(); left.size() >= 3; --tries) {
      if (tries == 0) {
        return {};
      }
      const std::size_t before = left[(place + left.size() - 1) % left.size()];
      const std::size_t next = left[(place + 1) % left.size()];
      // Corners on a line are cut off where there is nothing else.
      if (IsEar(left, {before, left[place], next}, failures >= left.size())) {
        triangles.push_back({around_[before], around_[left[place]], around_[next]});
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(place));
        failures = 0;
      } else {
        ++failures;
        ++place;
      }
      place %= left.size();
    }
    return triangles;
  }

 private:
  [[nodiscard]] bool IsEar(std::span<const std::size_t> left,
                           const std::array<std::size_t, 3>& corner, bool mayBeFlat) const {
    const Spot& a = spots_[corner[0]];
    const Spot& b = spots_[corner[1]];
    const Spot& c = spots_[corner[2]];
    const double area = TwiceAreaOf(a, b, c);
    if (mayBeFlat && std::abs(area) <= nothing_) {
      return true;
    }
    return area > nothing_ && std::ranges::none_of(left, [&](std::size_t other) {
             const Spot& spot = spots_[other];
             return spot != a && spot != b && spot != c && TwiceAreaOf(a, b, spot) >= 0 &&
                    TwiceAreaOf(b, c, spot) >= 0 && TwiceAreaOf(c, a, spot) >= 0;
           });
  }

  std::span<const unsigned int> around_;
  std::vector<Spot> spots_;
  double nothing_ = 0;
};

}  // namespace

std::array<double, 3> NormalOf(std::span<const unsigned int> around,
                               std::span<const float> coordinates) {
  const auto at = [coordinates](unsigned int node, std::size_t axis) {
    return static_cast<double>(coordinates[std::size_t{node} * 3 + axis]);
  };
  std::array<double, 3> normal{};
  unsigned int last = around.back();
  for (const unsigned int node : around) {
    for (std::size_t axis = 0; axis < normal.size(); ++axis) {
      const std::size_t y = (axis + 1) % 3;
      const std::size_t z = (axis + 2) % 3;
      normal.at(axis) += (at(last, y) - at(node, y)) * (at(last, z) + at(node, z));
    }
    last = node;
  }
  return normal;
}

void AddTriangles(std::span<const unsigned int> around, bool hasMiddles,
                  std::span<const float> coordinates, std::vector<Corners>& triangles) {
  const std::size_t first = triangles.size();
  AddFan(around, hasMiddles, triangles);
  if (around.size() <= 3 || around.size() > kMostOfConcave ||
      !AnyTurnsBack(std::span(triangles).subspan(first), NormalOf(around, coordinates),
                    coordinates)) {
    return;
  }
  const std::vector<Corners> cut = FlatPolygon(around, coordinates).Cut();
  if (!cut.empty()) {
    triangles.resize(first);
    triangles.insert(triangles.end(), cut.begin(), cut.end());
  }
}

}  // namespace LbtTev::View
