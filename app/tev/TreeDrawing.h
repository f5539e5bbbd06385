#pragma once

#include <cstddef>
#include <limits>
#include <string>

#include "Lbt/Tev/TevInfo/TreeOutline.h"

/// What of a tree is wanted.
struct TreeOptions {
  std::size_t depth = std::numeric_limits<std::size_t>::max();  ///< of the deepest nodes
  bool attributes = false;
};

/// The drawing of a tree: a line for each node, indented by its depth, with lines below
/// it for what it holds. Deeper than 40 levels the indent stays and the depth is told.
[[nodiscard]] std::string TreeDrawingText(const LbtTev::Report::TreeOutline& outline,
                                          const TreeOptions& options);
