// Draws a scene with its title and its legend.

#include "Lbt/Tev/View/Picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

#include "Canvas.h"
#include "Lbt/Util/NumberText.h"
#include "Raster.h"

namespace LbtTev::View {

using Analysis::Location;
using Analysis::Model;

namespace {

using Point = std::array<double, 3>;

double Dot(const Point& a, const Direction& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Point PointOf(const ShownPart& shown, unsigned int node) {
  const std::span<const float> point =
      std::span(*shown.skin.coordinates).subspan(std::size_t{node} * 3, 3);
  return {static_cast<double>(point[0]), static_cast<double>(point[1]),
          static_cast<double>(point[2])};
}

/// From a model to pixels.
class Camera {
 public:
  Camera(const Scene& scene, Side side, const PictureFrame& frame)
      : directions_(DirectionsOf(side)) {
    for (const ShownPart& shown : scene.parts) {
      for (std::size_t face = 0; face < shown.skin.skin->Faces(); ++face) {
        for (const unsigned int node : shown.skin.skin->OutlineOf(face)) {
          Widen(Turned(PointOf(shown, node)));
        }
      }
    }
    if (!IsEmpty()) {
      Fit(frame);
    }
  }

  [[nodiscard]] RasterCorner See(const Point& point) const {
    const Point turned = Turned(point);
    return {.x = centerX_ + (turned[0] - middle_[0]) * scale_,
            .y = centerY_ - (turned[1] - middle_[1]) * scale_,
            .height = (turned[2] - middle_[2]) * scale_};
  }

  [[nodiscard]] bool IsEmpty() const { return low_[0] > high_[0]; }

 private:
  [[nodiscard]] Point Turned(const Point& point) const {
    return {Dot(point, directions_.right), Dot(point, directions_.up),
            Dot(point, directions_.toward)};
  }

  void Widen(const Point& turned) {
    if (!std::ranges::all_of(turned, [](double number) { return std::isfinite(number); })) {
      return;
    }
    for (std::size_t axis = 0; axis < turned.size(); ++axis) {
      low_.at(axis) = std::min(low_.at(axis), turned.at(axis));
      high_.at(axis) = std::max(high_.at(axis), turned.at(axis));
    }
  }

  void Fit(const PictureFrame& frame) {
    const double width = high_[0] - low_[0];
    const double height = high_[1] - low_[1];
    if (width > 0 || height > 0) {
      scale_ = PictureFrame::kFilled * std::min(frame.width / width, frame.height / height);
    }
    for (std::size_t axis = 0; axis < middle_.size(); ++axis) {
      middle_.at(axis) = low_.at(axis) + (high_.at(axis) - low_.at(axis)) / 2;
    }
    centerX_ = frame.left + frame.width / 2;
    centerY_ = frame.top + frame.height / 2;
  }

  static constexpr double kFar = std::numeric_limits<double>::infinity();

  Directions directions_;
  Point low_{kFar, kFar, kFar};
  Point high_{-kFar, -kFar, -kFar};
  Point middle_{};
  double scale_ = 1;
  double centerX_ = 0;
  double centerY_ = 0;
};

/// How bright a triangle is by its turn towards a light that comes from who sees it, but from above
/// and the left: of a box seen from a corner all sides differ.
double ShadeOf(const std::array<RasterCorner, 3>& corners) {
  constexpr double kDarkest = 0.45;
  constexpr Point kLight{-0.28, -0.39, 1};  // as in pixels, up is negative
  const auto& [a, b, c] = corners;
  const Point u{b.x - a.x, b.y - a.y, b.height - a.height};
  const Point v{c.x - a.x, c.y - a.y, c.height - a.height};
  const Point normal{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                     u[0] * v[1] - u[1] * v[0]};
  const double length = std::hypot(normal[0], normal[1], normal[2]);
  if (!(length > 0)) {
    return 1;
  }
  const double turn = Dot(normal, kLight) / (normal[2] < 0 ? -length : length);
  return kDarkest + (1 - kDarkest) * std::clamp(turn, 0.0, 1.0);
}

/// Draws the faces of one part after another.
class SceneDrawing {
 public:
  SceneDrawing(const Scene& scene, const Camera& camera, double samples, Raster& raster)
      : scene_(&scene), camera_(&camera), samples_(samples), raster_(&raster) {}

  void Draw(const ShownPart& shown) {
    const Skin& skin = *shown.skin.skin;
    for (std::size_t face = 0; face < skin.Faces(); ++face) {
      const std::size_t element = skin.ElementOf(face);
      const std::span<const unsigned int> outline = skin.OutlineOf(face);
      for (const Skin::Triangle& triangle : skin.TrianglesOf(face)) {
        const std::array corners{See(shown, triangle[0], element), See(shown, triangle[1], element),
                                 See(shown, triangle[2], element)};
        raster_->Fill(corners, ShadeOf(corners));
      }
      if (outline.size() == 2) {
        raster_->FillLine(See(shown, outline[0], element), See(shown, outline[1], element),
                          2 * samples_);
      } else if (outline.size() == 1) {
        raster_->FillPoint(See(shown, outline[0], element), 3 * samples_);
      }
    }
  }

 private:
  [[nodiscard]] RasterCorner See(const ShownPart& shown, unsigned int node,
                                 std::size_t element) const {
    RasterCorner corner = camera_->See(PointOf(shown, node));
    corner.x *= samples_;
    corner.y *= samples_;
    corner.height *= samples_;
    const std::size_t place = shown.location == Location::Node ? node : element;
    corner.fraction = shown.values != nullptr && place < shown.values->size()
                          ? Fraction((*shown.values)[place])
                          : std::numeric_limits<double>::quiet_NaN();
    return corner;
  }

  [[nodiscard]] double Fraction(float value) const {
    return scene_->range && std::isfinite(value)
               ? FractionOf(static_cast<double>(value), scene_->range->min.extreme.value,
                            scene_->range->max.extreme.value)
               : std::numeric_limits<double>::quiet_NaN();
  }

  const Scene* scene_;
  const Camera* camera_;
  double samples_;
  Raster* raster_;
};

/// How many samples a pixel has in each direction: fewer where the picture is large.
Raster::Samples SamplesOf(const PictureSize& size) {
  constexpr std::size_t kManyPixels = std::size_t{2400} * 2400;
  return size.width * size.height <= kManyPixels ? Raster::Samples::Two : Raster::Samples::One;
}

constexpr std::uint32_t kMinColour = 0x1668c7;
constexpr std::uint32_t kMaxColour = 0xd62828;

/// The colours from the least number, below, to the greatest, with the numbers of five of them.
void DrawLegend(Canvas& canvas, const Range& range, const PictureStyle& style,
                const PictureFrame& frame) {
  constexpr std::size_t kMarks = 5;
  // Whole rows of pixels: of parts of them the background would shine through.
  const double left = std::round(frame.left + frame.width + frame.letters);
  const double top = std::round(frame.top + frame.letters);
  const double height = std::max(std::round(frame.height - 2 * frame.letters), 2.0);
  const double breadth = std::round(frame.letters * 1.4);
  const auto rows = static_cast<std::size_t>(height);
  for (std::size_t row = 0; row < rows; ++row) {
    const auto down = static_cast<double>(row);
    canvas.FillBox(left, top + down, breadth, 1, ColourAt(style.colours, 1 - down / (height - 1)));
  }
  const double min = range.min.extreme.value;
  const double max = range.max.extreme.value;
  const std::size_t marks = max > min ? kMarks : 1;
  for (std::size_t i = 0; i < marks; ++i) {
    const double fraction = marks == 1 ? 0.5 : static_cast<double>(i) / (kMarks - 1);
    const double value = i == 0 ? min : (i + 1 == kMarks ? max : min + (max - min) * fraction);
    canvas.Write(Lbt::Util::ToString(value), left + breadth + frame.letters * 0.4,
                 top + height * (1 - fraction) + frame.letters * 0.35, frame.letters * 8,
                 {.size = frame.letters});
  }
}

void DrawMark(Canvas& canvas, const Camera& camera, const std::optional<Mark>& mark, double radius,
              std::uint32_t colour) {
  if (mark) {
    const RasterCorner seen = camera.See(mark->point);
    if (std::isfinite(seen.x) && std::isfinite(seen.y)) {
      canvas.DrawRing(seen.x, seen.y, radius, colour);
    }
  }
}

void DrawTexts(Canvas& canvas, const PictureTexts& texts, const PictureSize& size, double letters) {
  const double room = static_cast<double>(size.width) - 2 * letters;
  canvas.Write(texts.title, letters, 1.9 * letters, room, {.size = letters * 1.3, .isBold = true});
  canvas.Write(texts.caption, letters, 3.4 * letters, room, {.size = letters});
  const std::array colours{kMaxColour, kMinColour};
  for (std::size_t i = 0; i < std::min(texts.ends.size(), colours.size()); ++i) {
    const double left = letters + static_cast<double>(i) * room / 2;
    canvas.DrawRing(left + letters * 0.4, static_cast<double>(size.height) - 1.15 * letters,
                    letters * 0.35, colours.at(i));
    canvas.Write(texts.ends[i], left + letters * 1.3,
                 static_cast<double>(size.height) - 0.8 * letters, room / 2 - letters * 1.8,
                 {.size = letters});
  }
}

/// "max 12.5 at node 7 of Arm".
std::string TextOfEnd(const Model& model, const char* name, const Mark& mark) {
  const auto& extreme = mark.end.extreme;
  const auto& part = model.Parts()[mark.end.field.part];
  const bool isElement = mark.end.field.field->location == Location::Element;
  const std::string place =
      extreme.id ? std::to_string(*extreme.id) : '[' + std::to_string(extreme.index) + ']';
  return std::string(name) + ' ' + Lbt::Util::ToString(extreme.value) + " at " +
         (isElement ? "element " : "node ") + place + " of " + part.name +
         (part.hasNamesake ? " (id " + std::to_string(part.id) + ')' : "");
}

}  // namespace

PictureFrame FrameOf(const PictureSize& size, bool hasLegend) {
  constexpr double kLeastForTexts = 160;
  const auto width = static_cast<double>(size.width);
  const auto height = static_cast<double>(size.height);
  if (std::min(width, height) < kLeastForTexts) {
    return {.width = width, .height = height};
  }
  const double letters = std::max(std::min(width, height) / 55, 9.0);
  return {.letters = letters,
          .left = 0,
          .top = 4 * letters,
          .width = width - (hasLegend ? 11 * letters : 0),
          .height = height - (hasLegend ? 6.5 : 4.5) * letters};
}

PictureTexts TextsOf(const Model& model, const Shot& shot, const Scene& scene,
                     const std::string& name) {
  PictureTexts texts{.title = model.Title().value_or(name)};
  if (shot.result) {
    texts.caption =
        *shot.result + ", " + (shot.component ? "component " : "") + NameOf(shot.component);
  }
  if (shot.step) {
    texts.caption += (texts.caption.empty() ? "" : ", ") + model.Steps()[*shot.step].text;
  }
  if (scene.min && scene.max) {
    texts.ends = {TextOfEnd(model, "max", *scene.max), TextOfEnd(model, "min", *scene.min)};
  }
  return texts;
}

std::string PngOf(const Scene& scene, const PictureTexts& texts, const PictureStyle& style) {
  const PictureSize& size = style.size;
  const PictureFrame frame = FrameOf(size, scene.range.has_value());
  const Camera camera(scene, style.side, frame);
  const Raster::Samples samples = SamplesOf(size);
  const auto each = static_cast<std::size_t>(samples);
  std::vector<std::uint32_t> pixels;
  {
    Raster raster(size.width * each, size.height * each, style.colours);
    SceneDrawing drawing(scene, camera, static_cast<double>(each), raster);
    for (const ShownPart& shown : scene.parts) {
      drawing.Draw(shown);
    }
    pixels = raster.Shrunk(samples);
  }
  Canvas canvas(pixels, size.width, size.height);
  if (frame.letters > 0) {
    DrawTexts(canvas, texts, size, frame.letters);
    if (scene.range) {
      DrawLegend(canvas, *scene.range, style, frame);
    }
    DrawMark(canvas, camera, scene.min, frame.letters * 0.4, kMinColour);
    DrawMark(canvas, camera, scene.max, frame.letters * 0.4, kMaxColour);
  }
  return canvas.Png();
}

}  // namespace LbtTev::View
