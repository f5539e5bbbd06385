#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Hdf5File.h"
#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Exchange/Contents.h"
#include "Lbt/Tev/Exchange/NumberType.h"
#include "PartMesh.h"

namespace LbtTev::Exchange {

/// A data set, and how the XML tells of it.
struct XdmfArray {
  std::string path{};  ///< empty where it could not be read
  NumberType type = NumberType::Float32;
  std::uint64_t tuples = 0;
  std::size_t width = 0;  ///< 0: one dimension
};

/// The mesh of a grid. Elements are all of one shape and number of nodes, or the list has each
/// one's code before its nodes.
struct XdmfMesh {
  XdmfArray points{};
  XdmfArray cells{};
  CellShape shape = CellShape::Polygon;
  bool isMixed = false;
  std::uint64_t count = 0;  ///< of cells
  std::size_t nodes = 0;    ///< of each, where it is not mixed
};

/// The arrays of all grids of an export, each once however many grids have it.
class XdmfArrays {
 public:
  XdmfArrays(const Contents& contents, const CellRules& rules, const Listener& listener);

  /// Loads all arrays in the order of the file, and writes them. Throws "Model Error" where there
  /// are meshes and none can be read.
  void WriteTo(Hdf5File& file);

  /// What a grid has, after WriteTo; null where it lacks it, or where it could not be read.
  [[nodiscard]] const XdmfMesh* MeshOf(const Analysis::MeshVariables& mesh) const;
  [[nodiscard]] const XdmfArray* IdsOf(const Analysis::MeshVariables& mesh,
                                       Analysis::Location of) const;
  [[nodiscard]] const XdmfArray* ValuesOf(const Analysis::Field& field) const;
  /// The indices of the nodes of each set, where IdsOf has node ids; of sets that have none
  /// nothing.
  [[nodiscard]] const std::vector<std::pair<std::string, XdmfArray>>& SetsOf(
      const Analysis::MeshVariables& mesh) const;

 private:
  using Key = Analysis::ArrayKey;
  using MeshKey = std::tuple<Key, Key, Key>;
  using IdsKey = std::pair<Key, std::size_t>;  // with how many of them a mesh takes
  struct MeshUse {
    Analysis::MeshVariables mesh{};
    XdmfMesh written{};
    std::map<std::size_t, PlaceInTime> users{};  // parts, with the first step of each
  };
  struct FieldUse {
    XdmfArray written{};
    std::vector<Analysis::FieldOfPart> users{};
  };
  struct IdsUse {
    const Geometry::VarStruct* variable = nullptr;
    bool areOfNodes = false;
    XdmfArray written{};
    std::vector<std::pair<std::string, XdmfArray>> sets{};
    std::map<std::size_t, PlaceInTime> users{};  // parts, with the first step of each
  };

  [[nodiscard]] static MeshKey KeyOf(const Analysis::MeshVariables& mesh);
  [[nodiscard]] static IdsKey KeyOfIds(const Analysis::MeshVariables& mesh, Analysis::Location of);
  void AddGrid(std::size_t part, PlaceInTime step);
  void AddIds(const Analysis::MeshVariables& mesh, Analysis::Location of, std::size_t part,
              PlaceInTime step);
  void WriteMesh(Hdf5File& file, MeshUse& use, const Analysis::LoadedGroup& loaded);
  void WriteCells(Hdf5File& file, XdmfMesh& written, const LoadedMesh& mesh);
  void WriteIds(Hdf5File& file, std::size_t count, IdsUse& use,
                const Analysis::LoadedArray& loaded);
  void WriteSets(Hdf5File& file, IdsUse& use, std::span<const std::int32_t> ids);
  void WriteField(Hdf5File& file, FieldUse& use, const Analysis::LoadedArray& loaded);
  XdmfArray WriteArray(Hdf5File& file, const char* group, XdmfArray array,
                       std::span<const std::byte> bytes);

  const Contents* contents_;
  const CellRules* rules_;
  const Listener* listener_;
  std::vector<SortedSet> sets_;
  std::map<MeshKey, MeshUse> meshes_;
  std::map<Key, XdmfArray> points_;
  std::map<IdsKey, IdsUse> ids_;
  std::map<Key, FieldUse> fields_;
  std::set<std::pair<std::size_t, const Analysis::Field*>> seen_;
  std::map<std::string, std::size_t> numbers_;  // of the data sets of each group
};

}  // namespace LbtTev::Exchange
