// Pictures, by their pixels: where a model is seen, and in which colours.
#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Lbt/Tev/View/Picture.h"

namespace LbtTev::View {
namespace {

using Colour = std::array<int, 3>;

constexpr Colour kWhite{255, 255, 255};
// The ends and the middle of both scales, as they are published.
constexpr Colour kViridisLow{68, 1, 84};
constexpr Colour kViridisHigh{253, 231, 37};
constexpr Colour kViridisMiddle{33, 145, 140};
constexpr Colour kCividisLow{0, 34, 78};

/// The pixels of a PNG of 8 bits for red, green and blue, without interlacing.
class Png {
 public:
  explicit Png(const std::string& file) {
    std::string packed;
    for (std::size_t at = 8; at + 12 <= file.size();) {
      const std::size_t length = NumberAt(file, at);
      const std::string type = file.substr(at + 4, 4);
      if (type == "IHDR") {
        width = NumberAt(file, at + 8);
        height = NumberAt(file, at + 12);
        EXPECT_EQ(file.substr(at + 16, 5), std::string("\x08\x02\0\0\0", 5));
      } else if (type == "IDAT") {
        packed += file.substr(at + 8, length);
      }
      at += length + 12;
    }
    rows_.resize((width * 3 + 1) * height);
    uLongf size = rows_.size();
    EXPECT_EQ(uncompress(rows_.data(), &size, reinterpret_cast<const Bytef*>(packed.data()),
                         packed.size()),
              Z_OK);
    EXPECT_EQ(size, rows_.size());
    Unfilter();
  }

  [[nodiscard]] Colour At(std::size_t x, std::size_t y) const {
    const std::size_t place = y * (width * 3 + 1) + 1 + x * 3;
    return {rows_[place], rows_[place + 1], rows_[place + 2]};
  }

  std::size_t width = 0;
  std::size_t height = 0;

 private:
  static std::size_t NumberAt(const std::string& file, std::size_t at) {
    std::size_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      number = number * 256 + static_cast<unsigned char>(file.at(at + i));
    }
    return number;
  }

  /// Each byte is stored as its difference to what stands on its left and above.
  void Unfilter() {
    const std::size_t row = width * 3 + 1;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (i % row == 0) {
        continue;
      }
      const bool hasLeft = i % row > 3;
      const int left = hasLeft ? rows_[i - 3] : 0;
      const int above = i >= row ? rows_[i - row] : 0;
      const int corner = hasLeft && i >= row ? rows_[i - row - 3] : 0;
      const int guess = left + above - corner;
      const int paeth = std::abs(guess - left) <= std::abs(guess - above) &&
                                std::abs(guess - left) <= std::abs(guess - corner)
                            ? left
                        : std::abs(guess - above) <= std::abs(guess - corner) ? above
                                                                              : corner;
      const std::array<int, 5> added{0, left, above, (left + above) / 2, paeth};
      rows_[i] = static_cast<unsigned char>(rows_[i] + added.at(rows_[i / row * row]));
    }
  }

  std::vector<unsigned char> rows_;
};

/// A part of given faces, with numbers of its nodes or of its elements.
ShownPart PartOf(std::vector<float> coordinates,
                 const std::vector<std::vector<unsigned int>>& faces,
                 std::vector<float> values = {},
                 Analysis::Location location = Analysis::Location::Node) {
  auto skin = std::make_shared<Skin>();
  for (std::size_t i = 0; i < faces.size(); ++i) {
    skin->Add(i, faces[i], false, coordinates);
  }
  ShownPart part{.location = location,
                 .values = std::make_shared<const std::vector<float>>(std::move(values))};
  part.skin.coordinates = std::make_shared<const std::vector<float>>(std::move(coordinates));
  part.skin.skin = std::move(skin);
  return part;
}

Range RangeOf(double min, double max) {
  Range range;
  range.min.extreme.value = min;
  range.max.extreme.value = max;
  return range;
}

/// A square from (0, 0) to (4, 4) at z = 0, of two quads; it fills the height of a small picture.
const std::vector<float> kSquare{0, 0, 0, 2, 0, 0, 4, 0, 0, 0, 4, 0, 2, 4, 0, 4, 4, 0};
const std::vector<std::vector<unsigned int>> kHalves{{0, 1, 4, 3}, {1, 2, 5, 4}};

Png Drawn(const Scene& scene, const PictureStyle& style, const PictureTexts& texts = {}) {
  return Png(PngOf(scene, texts, style));
}

PictureStyle Small(Side side, Colours colours = Colours::Viridis) {
  return {.size = {100, 100}, .side = side, .colours = colours};
}

bool IsNear(const Colour& a, const Colour& b, int by) {
  return std::abs(a[0] - b[0]) <= by && std::abs(a[1] - b[1]) <= by && std::abs(a[2] - b[2]) <= by;
}

TEST(Picture, OfElementNumbers_HasFlatColoursOfTheScale) {
  Scene scene{.range = RangeOf(10, 20)};
  scene.parts = {PartOf(kSquare, kHalves, {10, 20}, Analysis::Location::Element)};
  const Png png = Drawn(scene, Small(Side::PlusZ));
  EXPECT_EQ(png.width, 100U);
  EXPECT_EQ(png.height, 100U);
  EXPECT_EQ(png.At(1, 50), kWhite);
  for (const std::size_t y : {10U, 50U, 90U}) {
    for (const std::size_t x : {10U, 30U, 45U}) {
      EXPECT_EQ(png.At(x, y), kViridisLow);
      EXPECT_EQ(png.At(100 - x, y), kViridisHigh);
    }
  }
  const Png other = Drawn(scene, Small(Side::PlusZ, Colours::Cividis));
  EXPECT_EQ(other.At(20, 50), kCividisLow);
}

TEST(Picture, OfNodeNumbers_GoesFromOneToTheOther) {
  Scene scene{.range = RangeOf(-3, 5)};
  scene.parts = {PartOf(kSquare, kHalves, {-3, 1, 5, -3, 1, 5})};
  const Png png = Drawn(scene, Small(Side::PlusZ));
  // The square goes from 4 to 96: its second pixel is 1.6 % of the way, four of 256 colours on.
  EXPECT_TRUE(IsNear(png.At(5, 50), kViridisLow, 10));
  EXPECT_TRUE(IsNear(png.At(50, 50), kViridisMiddle, 3));
  EXPECT_TRUE(IsNear(png.At(94, 50), kViridisHigh, 10));
}

TEST(Picture, OfNumbersThatAreNone_IsGrey) {
  constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
  Scene scene{.range = RangeOf(0, 1)};
  scene.parts = {PartOf(kSquare, kHalves, {kNone, 0}, Analysis::Location::Element)};
  const Colour grey = Drawn(scene, Small(Side::PlusZ)).At(20, 50);
  EXPECT_EQ(grey, (Colour{180, 188, 196}));
  scene.parts = {PartOf(kSquare, kHalves)};
  scene.range.reset();
  EXPECT_EQ(Drawn(scene, Small(Side::PlusZ)).At(80, 50), grey);
}

TEST(Picture, OfOneNumberAlone_HasTheMiddleColour) {
  Scene scene{.range = RangeOf(7, 7)};
  scene.parts = {PartOf(kSquare, kHalves, {7, 7}, Analysis::Location::Element)};
  EXPECT_EQ(Drawn(scene, Small(Side::PlusZ)).At(50, 50), kViridisMiddle);
}

TEST(Picture, OfWhatLiesBehind_ShowsTheNearer) {
  Scene scene{.range = RangeOf(0, 1)};
  std::vector<float> coordinates = kSquare;
  for (const float number : kSquare) {  // the same again, nearer to +z
    coordinates.push_back(number);
  }
  for (std::size_t node = 6; node < 12; ++node) {
    coordinates[node * 3 + 2] = 1;
  }
  const std::vector<std::vector<unsigned int>> faces{
      {0, 1, 4, 3}, {1, 2, 5, 4}, {6, 7, 10, 9}, {7, 8, 11, 10}};
  scene.parts = {PartOf(coordinates, faces, {0, 0, 1, 1}, Analysis::Location::Element)};
  EXPECT_EQ(Drawn(scene, Small(Side::PlusZ)).At(50, 50), kViridisHigh);
  EXPECT_EQ(Drawn(scene, Small(Side::MinusZ)).At(50, 50), kViridisLow);
}

/// A tetrahedron that looks different from all sides.
const std::vector<float> kTetra{0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1};
const std::vector<std::vector<unsigned int>> kTetraFaces{
    {0, 1, 2}, {0, 1, 3}, {0, 2, 3}, {1, 2, 3}};

/// Right and up in the picture, by hand.
using Axes = std::array<std::array<double, 3>, 2>;

const std::map<Side, Axes>& AxesBySide() {
  static const double half = std::sqrt(0.5);
  static const double sixth = std::sqrt(1.0 / 6);
  static const std::map<Side, Axes> axes{
      {Side::Iso, {{{-half, half, 0}, {-sixth, -sixth, 2 * sixth}}}},
      {Side::PlusX, {{{0, 1, 0}, {0, 0, 1}}}},
      {Side::MinusX, {{{0, -1, 0}, {0, 0, 1}}}},
      {Side::PlusY, {{{-1, 0, 0}, {0, 0, 1}}}},
      {Side::MinusY, {{{1, 0, 0}, {0, 0, 1}}}},
      {Side::PlusZ, {{{1, 0, 0}, {0, 1, 0}}}},
      {Side::MinusZ, {{{-1, 0, 0}, {0, 1, 0}}}}};
  return axes;
}

using Flat = std::array<double, 2>;

/// The four corners in pixels: the box around them in the middle, over 92 % of the tighter side.
std::array<Flat, 4> Projected(const Axes& axes, const PictureFrame& frame) {
  std::array<Flat, 4> seen{};
  Flat low{1e9, 1e9};
  Flat high{-1e9, -1e9};
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t way = 0; way < 2; ++way) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        seen[i][way] += axes[way][axis] * static_cast<double>(kTetra[i * 3 + axis]);
      }
      low[way] = std::min(low[way], seen[i][way]);
      high[way] = std::max(high[way], seen[i][way]);
    }
  }
  const double scale =
      0.92 * std::min(frame.width / (high[0] - low[0]), frame.height / (high[1] - low[1]));
  for (Flat& corner : seen) {
    corner = {frame.left + frame.width / 2 + (corner[0] - (low[0] + high[0]) / 2) * scale,
              frame.top + frame.height / 2 - (corner[1] - (low[1] + high[1]) / 2) * scale};
  }
  return seen;
}

/// How far a point lies inside of a triangle, in pixels; negative outside.
double Depth(const Flat& p, Flat a, Flat b, const Flat& c) {
  const auto area = [](const Flat& u, const Flat& v, const Flat& w) {
    return (v[0] - u[0]) * (w[1] - u[1]) - (v[1] - u[1]) * (w[0] - u[0]);
  };
  if (area(a, b, c) == 0) {
    return -1e9;
  }
  if (area(a, b, c) < 0) {
    std::swap(a, b);
  }
  const auto from = [&](const Flat& u, const Flat& v) {
    return area(u, v, p) / std::hypot(v[0] - u[0], v[1] - u[1]);
  };
  return std::min({from(a, b), from(b, c), from(c, a)});
}

TEST(Picture, FromEachSide_HasTheSilhouetteOfItsProjection) {
  Scene scene;
  scene.parts = {PartOf(kTetra, kTetraFaces)};
  std::set<std::string> pictures;
  for (const auto& [side, axes] : AxesBySide()) {
    const PictureStyle style{.size = {240, 180}, .side = side};
    const auto seen = Projected(axes, FrameOf(style.size, false));
    const std::string file = PngOf(scene, {}, style);
    const Png png(file);
    std::size_t inside = 0;
    for (std::size_t y = 0; y < png.height; ++y) {
      for (std::size_t x = 0; x < png.width; ++x) {
        const Flat p{static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5};
        double depth = -1e9;
        for (const auto& face : kTetraFaces) {
          depth = std::max(depth, Depth(p, seen.at(face[0]), seen.at(face[1]), seen.at(face[2])));
        }
        // What is a pixel away from an edge is certain.
        if (std::abs(depth) > 1) {
          ASSERT_EQ(png.At(x, y) != kWhite, depth > 0)
              << static_cast<int>(side) << ' ' << x << ' ' << y;
          inside += depth > 0 ? 1 : 0;
        }
      }
    }
    EXPECT_GT(inside, 5000U);
    pictures.insert(file);
  }
  EXPECT_EQ(pictures.size(), AxesBySide().size());
}

TEST(Picture, OfLinesAndPoints_ShowsThem) {
  Scene scene{.range = RangeOf(0, 1)};
  scene.parts = {PartOf({0, 0, 0, 4, 4, 0}, {{0, 1}}, {1}, Analysis::Location::Element)};
  EXPECT_EQ(Drawn(scene, Small(Side::PlusZ)).At(50, 49), kViridisHigh);
  scene.parts = {PartOf({0, 0, 0}, {{0}}, {1})};
  const Png png = Drawn(scene, Small(Side::PlusZ));
  EXPECT_EQ(png.At(50, 50), kViridisHigh);
  EXPECT_EQ(png.At(60, 50), kWhite);
}

TEST(Picture, OfDamagedCoordinates_LeavesOutWhatHasThem) {
  std::vector<float> coordinates = kSquare;
  coordinates[0] = std::numeric_limits<float>::infinity();
  coordinates[10] = std::numeric_limits<float>::quiet_NaN();
  Scene scene{.range = RangeOf(0, 1)};
  scene.parts = {PartOf(coordinates, kHalves, {0, 1}, Analysis::Location::Element)};
  EXPECT_EQ(Drawn(scene, Small(Side::PlusZ)).At(50, 50), kViridisHigh);
  scene.parts = {PartOf({NAN, NAN, NAN}, {{0}})};
  EXPECT_EQ(Drawn(scene, Small(Side::Iso)).At(50, 50), kWhite);
}

TEST(Picture, OfTheLargestFloats_HasThem) {
  constexpr float kMost = std::numeric_limits<float>::max();
  Scene scene{.range = RangeOf(-static_cast<double>(kMost), static_cast<double>(kMost))};
  scene.parts = {PartOf({-kMost, -kMost, 0, kMost, -kMost, 0, kMost, kMost, 0, -kMost, kMost, 0},
                        {{0, 1, 2, 3}}, {kMost}, Analysis::Location::Element)};
  EXPECT_EQ(Drawn(scene, Small(Side::PlusZ)).At(50, 50), kViridisHigh);
}

TEST(Picture, WithLegend_HasItsEndsInTheScalesColours) {
  Scene scene{.range = RangeOf(0, 1)};
  scene.parts = {PartOf(kSquare, kHalves, {0, 1}, Analysis::Location::Element)};
  const PictureStyle style{.size = {600, 600}, .side = Side::PlusZ};
  const PictureFrame frame = FrameOf(style.size, true);
  const Png png = Drawn(scene, style);
  const auto x = static_cast<std::size_t>(frame.left + frame.width + 1.7 * frame.letters);
  const auto expectNear = [&](double y, const Colour& colour) {
    const Colour found = png.At(x, static_cast<std::size_t>(y));
    EXPECT_TRUE(IsNear(found, colour, 3)) << ::testing::PrintToString(found);
  };
  expectNear(frame.top + frame.letters + 2, kViridisHigh);
  expectNear(frame.top + frame.height - frame.letters - 2, kViridisLow);
  expectNear(frame.top + frame.height / 2, kViridisMiddle);
}

TEST(Picture, WithMarks_HasRingsAroundTheirPlaces) {
  Scene scene{.range = RangeOf(0, 1)};
  scene.parts = {PartOf(kSquare, kHalves, {0, 1}, Analysis::Location::Element)};
  const PictureStyle style{.size = {600, 600}, .side = Side::PlusZ};
  const Png without = Drawn(scene, style);
  scene.max = Mark{.point = {2, 2, -7}};
  const Png with = Drawn(scene, style);
  const PictureFrame frame = FrameOf(style.size, true);
  const auto x = static_cast<std::size_t>(frame.left + frame.width / 2);
  const auto y = static_cast<std::size_t>(frame.top + frame.height / 2);
  std::size_t changed = 0;
  for (std::size_t row = 0; row < with.height; ++row) {
    for (std::size_t column = 0; column < with.width; ++column) {
      if (with.At(column, row) != without.At(column, row)) {
        ++changed;
        EXPECT_LT(std::hypot(static_cast<double>(column) - static_cast<double>(x),
                             static_cast<double>(row) - static_cast<double>(y)),
                  frame.letters);
      }
    }
  }
  EXPECT_GT(changed, 20U);
}

TEST(Picture, OfHostileNames_IsDrawn) {
  Scene scene;
  scene.parts = {PartOf(kSquare, kHalves)};
  const PictureStyle style{.size = {300, 200}, .side = Side::PlusZ};
  const std::string plain = PngOf(scene, {}, style);
  for (const std::string& name :
       {std::string("</script><img onerror=alert(1)>"), std::string("\xff\xfe\xc3("),
        std::string("a\0b\x1b[31m\n\t", 9), std::string(1U << 20U, 'W'),
        std::string("\xe2\x80\xae\xf0\x9f\x92\xa9\xcc\x81")}) {
    const std::string file =
        PngOf(scene, {.title = name, .caption = name, .ends = {name, name}}, style);
    EXPECT_NE(file, plain);
    const Png png(file);
    // Texts stay within their lines: the model is seen as without them.
    const PictureFrame frame = FrameOf(style.size, false);
    EXPECT_NE(png.At(150, static_cast<std::size_t>(frame.top + frame.height / 2)), kWhite);
  }
}

TEST(Picture, OfOnePixel_IsOne) {
  Scene scene{.range = RangeOf(0, 1)};
  scene.parts = {PartOf(kSquare, kHalves, {0, 1}, Analysis::Location::Element)};
  const Png png = Drawn(scene, {.size = {1, 1}});
  EXPECT_EQ(png.width * png.height, 1U);
}

}  // namespace
}  // namespace LbtTev::View
