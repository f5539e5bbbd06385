#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Lbt/Tev/View/Colours.h"

namespace LbtTev::View {

/// A corner in pixels from the upper left, with its height towards who sees it and its number: a
/// fraction of the way through the colours, or NaN for none.
struct RasterCorner {
  double x = 0;
  double y = 0;
  double height = 0;
  double fraction = 0;
};

/// A picture of triangles of which the highest is seen in each pixel.
class Raster {
 public:
  static constexpr std::uint32_t kBackground = 0xffffff;
  static constexpr std::uint32_t kPlain = 0xb4bcc4;  ///< what has no number

  Raster(std::size_t width, std::size_t height, Colours colours);

  /// Draws a triangle, in the pixels whose middle it has. "shade" is from 0, black, to 1. Numbers
  /// are interpolated; where a corner has none, the triangle has none.
  void Fill(const std::array<RasterCorner, 3>& corners, double shade);

  /// A line of a breadth in pixels.
  void FillLine(const RasterCorner& from, const RasterCorner& to, double breadth);

  /// A square of an edge in pixels.
  void FillPoint(const RasterCorner& center, double edge);

  /// How many pixels are drawn for one that is seen, in each direction.
  enum class Samples : std::uint8_t { One = 1, Two = 2 };

  /// The picture of the means of these, as 0xffRRGGBB.
  [[nodiscard]] std::vector<std::uint32_t> Shrunk(Samples samples) const;

 private:
  void Set(std::size_t place, float height, double fraction, std::uint32_t shade);

  std::size_t width_;
  std::size_t height_;
  const ColourTable* colours_;
  std::vector<std::uint32_t> pixels_;
  std::vector<float> heights_;
};

}  // namespace LbtTev::View
