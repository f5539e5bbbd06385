#pragma once

#include <cstddef>
#include <vector>

#include "Lbt/Tev/Tree.h"

namespace LbtTev::Report {

/// One entry of a tree at its place in a drawing.
struct OutlineItem {
  const LbtAdt::TreeNode<Node*>* entry;
  std::size_t depth;  ///< 0 for the root, and for the first of those that no parent reaches
};

/// All entries of a tree in the order in which they are drawn: each one before its
/// children, and each one once, however the links of a damaged model run.
struct TreeOutline {
  std::vector<OutlineItem> reached;    ///< from the root through the lists of children
  std::vector<OutlineItem> unreached;  ///< the others, with what lies below them
};

/// Makes the outline of a tree, whose entries it points into. Takes time and memory in
/// proportion to their number.
[[nodiscard]] TreeOutline OutlineOf(const Tree& tree);

}  // namespace LbtTev::Report
