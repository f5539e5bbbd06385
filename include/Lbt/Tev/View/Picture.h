#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/View/Colours.h"
#include "Lbt/Tev/View/Projection.h"
#include "Lbt/Tev/View/Scene.h"

/// Pictures of a model, which need no display.
namespace LbtTev::View {

/// Why no picture can be drawn: it takes cairo. Empty where it can.
[[nodiscard]] std::string PictureFault();

/// In pixels.
struct PictureSize {
  static constexpr std::size_t kMost = 16384;  ///< of either
  static constexpr std::size_t kMostInAll = std::size_t{8192} * 8192;

  std::size_t width = 1200;
  std::size_t height = 900;
};

/// How a scene is drawn.
struct PictureStyle {
  PictureSize size{};
  Side side = Side::Iso;
  Colours colours = Colours::Viridis;
};

/// Where a scene lies in a picture: its projection stands in the middle of this box and takes
/// kFilled of its width or of its height. Small pictures have no texts.
struct PictureFrame {
  static constexpr double kFilled = 0.92;

  double letters = 0;  ///< their size; 0 without texts
  double left = 0;
  double top = 0;
  double width = 0;
  double height = 0;
};

[[nodiscard]] PictureFrame FrameOf(const PictureSize& size, bool hasLegend);

/// What stands above a scene and beside its colours.
struct PictureTexts {
  std::string title{};
  std::string caption{};            ///< result, component and step
  std::vector<std::string> ends{};  ///< "max 12.5 at node 7": the greatest number first
};

/// The title of a model, or "name" where it has none, and what a shot of it shows.
[[nodiscard]] PictureTexts TextsOf(const Analysis::Model& model, const Shot& shot,
                                   const Scene& scene, const std::string& name);

/// Draws a scene as a file of PNG. Faces are shaded by how they are turned towards who sees them; a
/// face that one looks at straight has the colour of its numbers. Numbers of nodes are
/// interpolated, those of elements are flat. Throws "Write Error" where cairo fails.
[[nodiscard]] std::string PngOf(const Scene& scene, const PictureTexts& texts,
                                const PictureStyle& style);

}  // namespace LbtTev::View
