// The sides from which a model is seen.

#include "Lbt/Tev/View/Projection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace LbtTev::View {

namespace {

constexpr std::array<std::string_view, 7> kNames{"iso", "+x", "-x", "+y", "-y", "+z", "-z"};

Direction Cross(const Direction& a, const Direction& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Direction Normed(const Direction& a) {
  const double length = std::hypot(a[0], a[1], a[2]);
  return {a[0] / length, a[1] / length, a[2] / length};
}

Direction TowardFrom(Side side) {
  if (side == Side::Iso) {
    return Normed({1, 1, 1});
  }
  const std::size_t place = static_cast<std::size_t>(side) - 1;
  Direction toward{};
  toward.at(place / 2) = place % 2 == 0 ? 1 : -1;
  return toward;
}

}  // namespace

std::optional<Side> SideOf(std::string_view name) {
  const auto* found = std::ranges::find(kNames, name);
  return found == kNames.end() ? std::nullopt
                               : std::optional(static_cast<Side>(found - kNames.begin()));
}

Directions DirectionsOf(Side side) {
  const Direction toward = TowardFrom(side);
  const bool isAlongZ = side == Side::PlusZ || side == Side::MinusZ;
  const Direction right = Normed(Cross(isAlongZ ? Direction{0, 1, 0} : Direction{0, 0, 1}, toward));
  return {right, Cross(toward, right), toward};
}

}  // namespace LbtTev::View
