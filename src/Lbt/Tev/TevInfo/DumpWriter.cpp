#include "DumpWriter.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "Clamp.h"

namespace {

constexpr std::string_view kIndent = "    ";
constexpr std::size_t kValueWidth = 10;
constexpr std::size_t kLengthWidth = 6;
constexpr std::size_t kIndexWidth = 8;

bool DescribesMesh(const std::string& result) {
  static constexpr std::array<std::string_view, 4> kNames{"Connectivity", "Coordinates",
                                                          "Polylength", "Node Ids"};
  return std::ranges::find(kNames, result) != kNames.end();
}

template <class T>
std::span<const T> ValuesOf(const std::vector<T> TevDataset::*values, const TevDataset* dataset) {
  return dataset == nullptr ? std::span<const T>() : std::span<const T>(dataset->*values);
}

}  // namespace

void DumpWriter::WriteAll() {
  Listing groups;
  for (std::size_t i = 0; i < datasets_->size(); ++i) {
    groups[At(i).group].push_back(i);
  }
  for (const auto& [group, positions] : groups) {
    WriteAnalysis(group, positions);
  }
}

void DumpWriter::WriteAnalysis(const std::string& group, const Positions& positions) {
  text_.Add("Analysis : \n").Add(kIndent).Add(group).Add("\n\n");
  text_.Add("Element Sets : \n");
  WriteLines(positions.empty() ? std::vector<std::string>() : At(positions.front()).names);
  text_.Add("\n");

  Listing byResult;
  Listing byInstance;
  for (const std::size_t position : positions) {
    if (!DescribesMesh(At(position).result)) {
      byResult[At(position).result].push_back(position);
      byInstance[At(position).instance].push_back(position);
    }
  }
  // Every set of node ids becomes the last column so far; the last set counts the nodes.
  Positions nodeIds;
  for (const std::size_t position : positions) {
    if (At(position).result == "Node Ids" && At(position).instance.empty()) {
      nodeIds.push_back(position);
    }
  }
  const std::size_t nodeCount = nodeIds.empty() ? 0 : At(nodeIds.back()).size();
  WriteOverview(byResult, byInstance, nodeCount);
  WriteMesh(positions);
  WriteResults(byInstance, nodeIds, nodeCount);
}

void DumpWriter::WriteLines(const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    text_.Add(kIndent).Add(name).Add("\n");
  }
}

void DumpWriter::WriteOverview(const Listing& byResult, const Listing& byInstance,
                               std::size_t nodeCount) {
  if (nodeCount == 0) {
    return;
  }
  text_.Add("Results : \n");
  for (const auto& [result, positions] : byResult) {
    text_.Add(kIndent).Add(result).Add(kIndent);
    text_.AddNumber(std::uint64_t{At(positions.front()).size() / nodeCount}).Add("\n");
  }
  text_.Add("\nInstances : \n");
  for (const auto& [instance, positions] : byInstance) {
    text_.Add(kIndent).Add(instance).Add("\n");
  }
  text_.Add("\n");
}

void DumpWriter::WriteMesh(const Positions& positions) {
  const Mesh mesh = FindMesh(positions);
  text_.Add("    Coordinates : \n");
  WriteNodes(mesh);
  text_.Add("\n    Connectivity : \n");
  WriteElements(mesh);
  text_.Add("\n");
}

/// Of several sets of one name the last one counts. Elements are counted by their
/// lengths or by their ids, whichever comes later.
DumpWriter::Mesh DumpWriter::FindMesh(const Positions& positions) const {
  Mesh mesh;
  for (const std::size_t position : positions) {
    const TevDataset& dataset = At(position);
    if (dataset.result == "Node Ids") {
      mesh.nodeIds = &dataset;
      mesh.nodeCount = dataset.size();
    } else if (dataset.result == "Coordinates") {
      mesh.coordinates = &dataset;
    } else if (dataset.result == "Connectivity") {
      mesh.connectivity = &dataset;
    } else if (dataset.result == "Polylength") {
      mesh.polylength = &dataset;
      mesh.elementCount = dataset.size();
    } else if (dataset.result == "Element Ids") {
      mesh.elementCount = dataset.size();
    }
  }
  return mesh;
}

void DumpWriter::WriteNodes(const Mesh& mesh) {
  constexpr std::size_t kDimensions = 3;
  const auto ids = ValuesOf(&TevDataset::floatValues, mesh.nodeIds);
  const auto coordinates = ValuesOf(&TevDataset::floatValues, mesh.coordinates);
  for (std::size_t node = 0; node < std::min(mesh.nodeCount, ids.size()); ++node) {
    text_.AddColumn(Clamped<std::int32_t>(ids[node]), kValueWidth);
    const std::size_t first = std::min(kDimensions * node, coordinates.size());
    const auto point =
        coordinates.subspan(first, std::min(kDimensions, coordinates.size() - first));
    for (const float coordinate : point) {
      text_.AddColumn(coordinate, kValueWidth);
    }
    text_.Add("\n");
    if (point.size() < kDimensions) {
      return;
    }
  }
}

void DumpWriter::WriteElements(const Mesh& mesh) {
  const auto lengths = ValuesOf(&TevDataset::intValues, mesh.polylength);
  auto indices = ValuesOf(&TevDataset::intValues, mesh.connectivity);
  for (std::size_t element = 0; element < std::min(mesh.elementCount, lengths.size()); ++element) {
    const std::size_t length = lengths[element];
    text_.AddColumn(lengths[element], kLengthWidth);
    const auto nodes = indices.first(std::min(length, indices.size()));
    for (const unsigned int node : nodes) {
      text_.AddColumn(node, kIndexWidth);
    }
    text_.Add("\n");
    if (nodes.size() < length) {
      return;
    }
    indices = indices.subspan(length);
  }
}

void DumpWriter::WriteResults(const Listing& byInstance, const Positions& nodeIds,
                              std::size_t nodeCount) {
  if (nodeCount == 0) {
    return;
  }
  for (const auto& [instance, positions] : byInstance) {
    WriteTable(instance, positions, nodeIds, nodeCount);
  }
}

void DumpWriter::WriteTable(const std::string& instance, const Positions& results,
                            const Positions& nodeIds, std::size_t nodeCount) {
  text_.Add("Data : \n");
  if (!instance.empty()) {
    text_.Add("    Instance : ").Add(instance).Add("\n");
  }
  Positions positions = results;
  positions.insert(positions.end(), nodeIds.begin(), nodeIds.end());
  text_.Add("    Results: ");
  for (std::size_t i = 0; i < positions.size(); ++i) {
    text_.Add(i == 0 ? "" : ", ").Add(At(positions[i]).result);
  }
  text_.Add("\n    Values : \n");
  WriteRows(positions, nodeCount);
  text_.Add("\n");
}

void DumpWriter::WriteRows(const Positions& positions, std::size_t nodeCount) {
  std::vector<Columns> columns;
  for (const std::size_t position : positions) {
    const std::size_t components = At(position).size() / nodeCount;
    if (components != 0) {
      columns.push_back({At(position).floatValues, components, At(position).result == "Node Ids"});
    }
  }
  for (std::size_t node = 0; node < nodeCount; ++node) {
    for (const Columns& dataset : columns) {
      const std::size_t written = WriteComponents(dataset, node);
      if (written < dataset.components) {
        text_.Add(&dataset == columns.data() && written == 0 ? "" : "\n");
        return;
      }
    }
    text_.Add("\n");
  }
}

/// Writes what there is of a node's values and returns how many they are.
std::size_t DumpWriter::WriteComponents(const Columns& dataset, std::size_t node) {
  for (std::size_t k = 0; k < dataset.components; ++k) {
    const std::size_t index = dataset.isNodeId ? node : k + dataset.components * node;
    if (index >= dataset.values.size()) {
      return k;
    }
    if (dataset.isNodeId) {
      text_.AddColumn(Clamped<std::int32_t>(dataset.values[index]), kValueWidth);
    } else {
      text_.AddColumn(dataset.values[index], kValueWidth);
    }
  }
  return dataset.components;
}
