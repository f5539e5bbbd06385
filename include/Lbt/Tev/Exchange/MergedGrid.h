#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Exchange/Contents.h"
#include "Lbt/Tev/Exchange/NumberType.h"

/// All parts of one step as one grid.
namespace LbtTev::Exchange {

/// What an array of a grid is.
enum class ArrayRole : std::uint8_t {
  Points,
  Connectivity,  ///< points of all cells, one after another
  Offsets,       ///< of each cell, where its points end in that list
  Types,         ///< a CellShape for each cell
  PartIds,       ///< of cells
  PointData,
  CellData,
};

struct GridArray {
  ArrayRole role = ArrayRole::PointData;
  std::string name;
  NumberType type = NumberType::Float32;
  std::size_t components = 1;
  std::uint64_t tuples = 0;

  [[nodiscard]] std::size_t TupleBytes() const { return components * BytesOf(type); }
};

/// A grid as a whole. Names of arrays are unique among those of points and those of cells.
struct GridLayout {
  std::uint64_t points = 0;
  std::uint64_t cells = 0;
  std::vector<GridArray> arrays{};
  std::vector<std::pair<unsigned int, std::string>> parts{};  ///< their ids and names
  double time = 0;
  std::string step{};  ///< its text; empty for none
};

/// Takes the numbers of a grid.
class GridSink {
 public:
  GridSink() = default;
  virtual ~GridSink() = default;
  GridSink(const GridSink&) = delete;
  GridSink& operator=(const GridSink&) = delete;

  /// Called once, before anything is written.
  virtual void Begin(const GridLayout& layout) = 0;

  /// Whole tuples of an array, by its place in the layout, from the tuple "first" on. Each tuple
  /// comes once, in any order.
  virtual void Write(std::size_t array, std::uint64_t first, std::span<const std::byte> tuples) = 0;
};

/// Writes the grid of a step, with these arrays beside the mesh and "Part Ids": "Node Ids" and
/// "Element Ids" (-1 where a part has none), a mask of points for each node set, and the fields;
/// what a part lacks is NaN. Each part brings the points that its elements use; of a part without
/// elements each node is a vertex.
///
/// Loads in the order of the file, one array at a time. Throws "Model Error" where there are meshes
/// and none can be read, "Out of Bounds" ("The model refers to its data too often"), what "sink"
/// does, and on a lack of memory.
void WriteMergedGrid(const Contents& contents, std::size_t placeAmongSteps, const CellRules& rules,
                     GridSink& sink, const Listener& listener);

}  // namespace LbtTev::Exchange
