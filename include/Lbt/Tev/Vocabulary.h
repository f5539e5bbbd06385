#pragma once

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
};

/// What separates a result name from an instance name inside a variable's name: the ASCII record
/// separator.
inline constexpr char kRecordSeparator = '\x1e';

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
}  // namespace ResultAttribute

}  // namespace LbtTev
