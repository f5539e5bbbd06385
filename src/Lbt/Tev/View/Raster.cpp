// Draws triangles into pixels.

#include "Raster.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace LbtTev::View {

namespace {

bool IsDrawn(const RasterCorner& corner) {
  return std::isfinite(corner.x) && std::isfinite(corner.y) && std::isfinite(corner.height);
}

/// Twice the area on the left of the way from a to b to a point.
double AreaOf(const RasterCorner& a, const RasterCorner& b, double x, double y) {
  return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

/// The pixels, of "size", whose middles lie from "low" to "high"; half open.
std::array<std::size_t, 2> PixelsWithin(double low, double high, std::size_t size) {
  const auto most = static_cast<double>(size);
  const double first = std::clamp(std::ceil(low - 0.5), 0.0, most);
  const double end = std::clamp(std::floor(high - 0.5) + 1, first, most);
  return {static_cast<std::size_t>(first), static_cast<std::size_t>(end)};
}

constexpr std::uint32_t kFullShade = 256;

/// Each part of a colour times a shade of 256.
std::uint32_t Shaded(std::uint32_t colour, std::uint32_t shade) {
  std::uint32_t shaded = 0;
  for (const unsigned int shift : {16U, 8U, 0U}) {
    shaded |= ((colour >> shift & 0xffU) * shade + kFullShade / 2) / kFullShade << shift;
  }
  return shaded;
}

}  // namespace

Raster::Raster(std::size_t width, std::size_t height, Colours colours)
    : width_(width),
      height_(height),
      colours_(&TableOf(colours)),
      pixels_(width * height, kBackground),
      heights_(width * height, -std::numeric_limits<float>::infinity()) {}

void Raster::Set(std::size_t place, float height, double fraction, std::uint32_t shade) {
  heights_[place] = height;
  constexpr double kLast = 255;
  const bool hasNumber = !std::isnan(fraction);
  const double entry = hasNumber ? std::clamp(fraction, 0.0, 1.0) * kLast + 0.5 : 0;
  const std::uint32_t colour =
      hasNumber ? (*colours_)[static_cast<std::size_t>(entry)] : std::uint32_t{kPlain};
  pixels_[place] = Shaded(colour, shade);
}

void Raster::Fill(const std::array<RasterCorner, 3>& corners, double shade) {
  const auto& [a, b, c] = corners;
  const double area = AreaOf(a, b, c.x, c.y);
  if (!IsDrawn(a) || !IsDrawn(b) || !IsDrawn(c) || area == 0) {
    return;
  }
  const auto [firstX, endX] =
      PixelsWithin(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}), width_);
  const auto [firstY, endY] =
      PixelsWithin(std::min({a.y, b.y, c.y}), std::max({a.y, b.y, c.y}), height_);
  const auto parts = static_cast<std::uint32_t>(std::lround(shade * kFullShade));
  // What is on the edge of two triangles is in both, whatever rounding makes of it.
  constexpr double kLeast = -1e-9;
  const double x = static_cast<double>(firstX) + 0.5;
  const double stepA = (b.y - c.y) / area;
  const double stepB = (c.y - a.y) / area;
  for (std::size_t row = firstY; row < endY; ++row) {
    const double y = static_cast<double>(row) + 0.5;
    const double rowA = AreaOf(b, c, x, y) / area;
    const double rowB = AreaOf(c, a, x, y) / area;
    for (std::size_t column = firstX; column < endX; ++column) {
      const auto along = static_cast<double>(column - firstX);
      const double ofA = rowA + stepA * along;
      const double ofB = rowB + stepB * along;
      const double ofC = 1 - ofA - ofB;
      if (ofA >= kLeast && ofB >= kLeast && ofC >= kLeast) {
        const auto height = static_cast<float>(ofA * a.height + ofB * b.height + ofC * c.height);
        if (height > heights_[row * width_ + column]) {
          Set(row * width_ + column, height, ofA * a.fraction + ofB * b.fraction + ofC * c.fraction,
              parts);
        }
      }
    }
  }
}

void Raster::FillLine(const RasterCorner& from, const RasterCorner& to, double breadth) {
  const double length = std::hypot(to.x - from.x, to.y - from.y);
  if (!(length > 0)) {
    FillPoint(from, breadth);
    return;
  }
  const double aside = breadth / 2 / length;
  const auto moved = [&](RasterCorner corner, double by) {
    corner.x += (to.y - from.y) * by;
    corner.y -= (to.x - from.x) * by;
    return corner;
  };
  Fill({moved(from, aside), moved(from, -aside), moved(to, aside)}, 1);
  Fill({moved(to, aside), moved(to, -aside), moved(from, -aside)}, 1);
}

void Raster::FillPoint(const RasterCorner& center, double edge) {
  if (!IsDrawn(center)) {
    return;
  }
  const auto height = static_cast<float>(center.height);
  const auto [firstX, endX] = PixelsWithin(center.x - edge / 2, center.x + edge / 2, width_);
  const auto [firstY, endY] = PixelsWithin(center.y - edge / 2, center.y + edge / 2, height_);
  for (std::size_t row = firstY; row < endY; ++row) {
    for (std::size_t column = firstX; column < endX; ++column) {
      if (height > heights_[row * width_ + column]) {
        Set(row * width_ + column, height, center.fraction, kFullShade);
      }
    }
  }
}

std::vector<std::uint32_t> Raster::Shrunk(Samples samples) const {
  constexpr std::uint32_t kOpaque = 0xff000000;
  constexpr std::uint32_t kOuter = 0xff00ff;  // red and blue, with room for sums between them
  constexpr std::uint32_t kHalves = 0x020002;
  if (samples == Samples::One) {
    std::vector<std::uint32_t> same = pixels_;
    std::ranges::for_each(same, [](std::uint32_t& pixel) { pixel |= kOpaque; });
    return same;
  }
  const std::size_t width = width_ / 2;
  std::vector<std::uint32_t> shrunk(width * (height_ / 2));
  for (std::size_t place = 0; place < shrunk.size(); ++place) {
    const std::size_t first = place / width * 2 * width_ + place % width * 2;
    std::uint32_t outer = kHalves;
    std::uint32_t green = kHalves;
    for (const std::size_t next : {first, first + 1, first + width_, first + width_ + 1}) {
      outer += pixels_[next] & kOuter;
      green += pixels_[next] >> 8 & kOuter;
    }
    shrunk[place] = kOpaque | (outer >> 2 & kOuter) | (green >> 2 & kOuter) << 8;
  }
  return shrunk;
}

}  // namespace LbtTev::View
