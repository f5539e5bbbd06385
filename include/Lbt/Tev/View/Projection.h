#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace LbtTev::View {

/// Where a model is seen from: the corner of the three positive axes, or along one of them.
enum class Side : std::uint8_t { Iso, PlusX, MinusX, PlusY, MinusY, PlusZ, MinusZ };

/// "iso", "+x", "-x" and so on; none for any other text.
[[nodiscard]] std::optional<Side> SideOf(std::string_view name);

using Direction = std::array<double, 3>;

/// What of a model goes to the right, up and toward who sees it, of length 1 each. The axis z
/// points up, but y where it is z that one looks along.
struct Directions {
  Direction right;
  Direction up;
  Direction toward;
};
[[nodiscard]] Directions DirectionsOf(Side side);

}  // namespace LbtTev::View
