#pragma once

#include <array>
#include <cstdint>

namespace LbtTev::View {

/// Colours that stand for numbers, from the least to the greatest. Both can be told apart by people
/// who see fewer colours, and in print without any.
enum class Colours : std::uint8_t { Viridis, Cividis };

using ColourTable = std::array<std::uint32_t, 256>;  ///< 0xRRGGBB

[[nodiscard]] const ColourTable& TableOf(Colours colours);

/// The colour at a fraction of the way from the least number to the greatest. Not for NaN.
[[nodiscard]] std::uint32_t ColourAt(Colours colours, double fraction);

/// Where a number lies between two; in the middle where these are the same.
[[nodiscard]] double FractionOf(double value, double min, double max);

}  // namespace LbtTev::View
