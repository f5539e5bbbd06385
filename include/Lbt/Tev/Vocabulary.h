#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace LbtTev {

/// The names of the streams that a model consists of.
struct StreamNames {
  std::string tree = "Tev Tree";
  std::string light = "Light Data";
  std::string heavy = "Heavy Data";
  std::string attributes = "Attributes";
  std::string resources = "Resources";
  std::string global = "Global Information";

  /// All of them, that of the tree first.
  [[nodiscard]] std::array<std::string, 6> All() const {
    return {tree, attributes, heavy, global, resources, light};
  }
};

/// What tree records call the kinds of nodes.
namespace NodeType {
inline constexpr std::string_view kGroup = "Group";
inline constexpr std::string_view kShape = "Shape";
inline constexpr std::string_view kGeometry = "Geometry";
inline constexpr std::string_view kNodeSets = "NodeSets";
}  // namespace NodeType

/// What records hold in some versions only. Versions are compared as texts; a version that nobody
/// knows is one of "all others".
enum class RecordPart : std::uint8_t {
  RecordSize,  // of materials and modifiers, by the version of the container
  MaterialFactor,
  MaterialFlag,
  ShapeMaterial,
  GroupTransform,
  GroupAttributes,
  GroupByte,
  GeometryLinks,          // the layout in which variables may be linked
  GeometryDataAtOnce,     // data is read together with the record
  GeometryWidePositions,  // 64 bits
  GeometryFlags,          // of the layout without links, as the next two
  GeometryFurtherFlag,
  GeometryAttributes,
};

namespace Detail {

/// Which versions have a part: those named, or all others.
struct PartVersions {
  enum class Rule : std::uint8_t { Only, AllBut };

  RecordPart part{};
  Rule rule{};
  std::array<std::string_view, 4> versions;  // empty where there are fewer
};

using Rule = PartVersions::Rule;

inline constexpr std::array kPartVersions{
    PartVersions{RecordPart::RecordSize, Rule::AllBut, {"0.1", "0.1a", "0.1b", "0.2"}},
    PartVersions{RecordPart::MaterialFactor, Rule::AllBut, {"0.1"}},
    PartVersions{RecordPart::MaterialFlag, Rule::AllBut, {"0.1", "0.2"}},
    PartVersions{RecordPart::ShapeMaterial, Rule::AllBut, {"0.0a", "0.1"}},
    PartVersions{RecordPart::GroupTransform, Rule::AllBut, {"0.0a", "0.1"}},
    PartVersions{RecordPart::GroupAttributes, Rule::AllBut, {"0.0a", "0.1", "0.2"}},
    PartVersions{RecordPart::GroupByte, Rule::AllBut, {"0.0a", "0.1", "0.2", "0.3"}},
    PartVersions{RecordPart::GeometryLinks, Rule::Only, {"0.5", "0.6", "0.7"}},
    PartVersions{RecordPart::GeometryDataAtOnce, Rule::Only, {"0.5"}},
    PartVersions{RecordPart::GeometryWidePositions, Rule::Only, {"0.7"}},
    PartVersions{RecordPart::GeometryFlags, Rule::AllBut, {"0.0a", "0.1"}},
    PartVersions{RecordPart::GeometryFurtherFlag, Rule::AllBut, {"0.0a", "0.1", "0.2"}},
    PartVersions{RecordPart::GeometryAttributes, Rule::AllBut, {"0.0a", "0.1", "0.2", "0.3"}},
};

}  // namespace Detail

/// Whether records of "version" hold "part".
[[nodiscard]] constexpr bool Holds(std::string_view version, RecordPart part) {
  const Detail::PartVersions& row = Detail::kPartVersions[static_cast<std::size_t>(part)];
  const bool isNamed =
      !version.empty() && std::ranges::find(row.versions, version) != row.versions.end();
  return isNamed == (row.rule == Detail::Rule::Only);
}

/// What separates a result name from an instance name inside a variable's name: the ASCII record
/// separator.
inline constexpr char kRecordSeparator = '\x1e';

/// What stands before the value in an instance name: "Time = 0.5".
inline constexpr std::string_view kBeforeValue = " = ";

/// The two parts of a variable's name: what stands before the first record separator, and what
/// stands after it. They are views of the name.
struct VariableName {
  explicit VariableName(std::string_view name)
      : result(name.substr(0, name.find(kRecordSeparator))) {
    if (result.size() < name.size()) {
      instance = name.substr(result.size() + 1);
    }
  }

  std::string_view result;
  std::string_view instance;
};

/// Result names that describe a mesh and are no results. Writers spell the ids of elements in two
/// ways.
namespace MeshName {
inline constexpr std::string_view kNodeIds = "Node Ids";
inline constexpr std::string_view kCoordinates = "Coordinates";
inline constexpr std::string_view kConnectivity = "Connectivity";
inline constexpr std::string_view kPolylength = "Polylength";
inline constexpr std::string_view kElementIds = "Element Ids";
inline constexpr std::string_view kElementIndices = "Element Indices";
inline constexpr std::string_view kElementIdsInCapitals = "Element IDs";
}  // namespace MeshName

/// Names of groups that say what the shapes below them are.
namespace GroupName {
inline constexpr std::string_view kParts = "Geometry";
inline constexpr std::string_view kCutSections = "Cut-Sections";
inline constexpr std::string_view kIsoSurfaces = "Iso-Surfaces";
inline constexpr std::string_view kIsoVolumes = "Iso-Volumes";
inline constexpr std::string_view kFlowLines = "Flow Lines";
}  // namespace GroupName

/// Attributes of the root: the solver's files that a model was made from, and what these counted.
namespace RootAttribute {
inline constexpr std::string_view kModelFile = "Model File";
inline constexpr std::string_view kModelFileSize = "Model File Size";
inline constexpr std::string_view kResultsFile = "Results File";
inline constexpr std::string_view kResultsFileSize = "Results File Size";
inline constexpr std::string_view kNodeCount = "Number of Nodes in the Model";
inline constexpr std::string_view kElementCount = "Number of Elements in the Model";
}  // namespace RootAttribute

/// Attributes of a result variable.
namespace ResultAttribute {
inline constexpr std::string_view kResultName = "Result Name";
inline constexpr std::string_view kInstanceName = "Instance Name";
inline constexpr std::string_view kTitle = "Title";
inline constexpr std::string_view kCategory = "Category";
inline constexpr std::string_view kFrequency = "Frequency";
inline constexpr std::string_view kTime = "Time";
inline constexpr std::string_view kMode = "Mode";
inline constexpr std::string_view kLoadCase = "LoadCase";
inline constexpr std::string_view kStructure = "Structure";  ///< whether it is of nodes or elements
}  // namespace ResultAttribute

}  // namespace LbtTev
