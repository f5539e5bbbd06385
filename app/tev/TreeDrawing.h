#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <vector>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/TevInfo/TreeOutline.h"
#include "Lbt/Tev/Tree.h"

/// What of a tree is wanted.
struct TreeOptions {
  std::size_t depth = std::numeric_limits<std::size_t>::max();  ///< of the deepest nodes
  bool isVerbose = false;
  bool withStorage = false;  ///< where the data of variables is stored; verbose, too
};

/// Where in a container data is stored.
struct StoragePlace {
  std::size_t block = 0;     ///< its number
  std::uint64_t offset = 0;  ///< in the contents of that block
};

/// Finds the places of variables by the lengths that the blocks have by the file's own word.
class Storage {
 public:
  /// Reads the length fields of the blocks. Throws "Read Error".
  explicit Storage(LbtLbf::LbFile& file);

  /// None for a variable without data of its own, and beyond the blocks.
  [[nodiscard]] std::optional<StoragePlace> PlaceOf(
      const LbtTev::Geometry::VarStruct& variable) const;

 private:
  struct Start {
    std::uint64_t position;  ///< in the stream
    std::size_t block;
  };

  std::vector<Start> starts_;  // of the blocks of the heavy data
  std::uint64_t end_ = 0;
};

/// Draws a tree in full: a line for each node, indented by its depth, with lines below
/// it for what it holds. Deeper than 40 levels the indent stays and the depth is told.
/// "storage" may be null.
void DrawInFull(const LbtTev::Report::TreeOutline& outline, const TreeOptions& options,
                const Storage* storage, std::ostream& stream);

/// Draws a tree with lines, each shape with its mesh and results on one line. Lines are cut to
/// "limit" columns.
void DrawCompact(const LbtTev::Tree& tree, const LbtTev::Report::TreeOutline& outline,
                 const TreeOptions& options, std::optional<std::size_t> limit,
                 std::ostream& stream);
