#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "Lbt/Tev/Analysis/Cells.h"

namespace LbtTev::View {

/// A face of a solid by its corners, as places in the element's list of nodes. The normal points
/// outward where the element is numbered as its shape wants it.
struct SolidFace {
  std::uint8_t corners = 0;
  std::array<std::uint8_t, 4> corner{};

  [[nodiscard]] std::span<const std::uint8_t> Corners() const {
    return std::span(corner).first(corners);
  }
};

/// The faces of a solid; none for other shapes.
[[nodiscard]] std::span<const SolidFace> FacesOf(Analysis::CellShape shape);

/// Whether the shape has nodes in the middle of its edges.
[[nodiscard]] bool HasMiddles(Analysis::CellShape shape);

/// The place of the node in the middle of an edge between two corners of a shape that has them.
[[nodiscard]] std::size_t MiddleOf(Analysis::CellShape shape, std::size_t a, std::size_t b);

/// How many corners a shape with nodes in the middle of its edges has.
[[nodiscard]] std::size_t CornersOf(Analysis::CellShape shape);

}  // namespace LbtTev::View
