// Writes the data dump.

#include "DumpWriter.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Report {

namespace {

using Lbt::Util::Clamped;

constexpr std::string_view kIndent = "    ";
constexpr std::size_t kValueWidth = 10;
constexpr std::size_t kLengthWidth = 6;
constexpr std::size_t kIndexWidth = 8;

bool DescribesMesh(const std::string& result) {
  static constexpr std::array kNames{MeshName::kConnectivity, MeshName::kCoordinates,
                                     MeshName::kPolylength, MeshName::kNodeIds};
  return std::ranges::find(kNames, result) != kNames.end();
}

template <class T>
std::span<const T> ValuesOf(const SharedValues<T> TevDataset::*values, const TevDataset* dataset) {
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
    if (At(position).result == MeshName::kNodeIds && At(position).instance.empty()) {
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
    if (dataset.result == MeshName::kNodeIds) {
      mesh.nodeIds = &dataset;
      mesh.nodeCount = dataset.size();
    } else if (dataset.result == MeshName::kCoordinates) {
      mesh.coordinates = &dataset;
    } else if (dataset.result == MeshName::kConnectivity) {
      mesh.connectivity = &dataset;
    } else if (dataset.result == MeshName::kPolylength) {
      mesh.polylength = &dataset;
      mesh.elementCount = dataset.size();
    } else if (dataset.result == MeshName::kElementIds) {
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

/// Data sets of integers have no columns, like those with fewer values than nodes.
void DumpWriter::WriteRows(const Positions& positions, std::size_t nodeCount) {
  std::vector<Columns> columns;
  for (const std::size_t position : positions) {
    const TevDataset& dataset = At(position);
    const std::size_t components = dataset.size() / nodeCount;
    if (dataset.kind == TevDataset::kFloats && components != 0) {
      columns.push_back({{.dataset = position, .components = components, .component = 0},
                         dataset.floatValues,
                         dataset.result == MeshName::kNodeIds});
    }
  }
  for (std::size_t node = 0; node < nodeCount; ++node) {
    for (const Columns& ofDataset : columns) {
      WriteComponents(ofDataset, node);
    }
    text_.Add("\n");
  }
}

void DumpWriter::WriteComponents(const Columns& columns, std::size_t node) {
  TevInfo::DimenInfo column = columns.first;
  for (; column.component < column.components; ++column.component) {
    if (columns.isNodeId) {
      text_.AddColumn(Clamped<std::int32_t>(columns.values[node]), kValueWidth);
    } else {
      text_.AddColumn(columns.values[column.component + column.components * node], kValueWidth);
    }
  }
}

}  // namespace LbtTev::Report

using LbtTev::Report::DumpWriter;

void TevInfo::printData(std::ostream& os) const {
  DumpWriter writer(datasets, os);
  writer.WriteAll();
  writer.Finish();
}

void TevInfo::printAnalysis(std::ostream& os, const std::string& group,
                            const std::vector<std::size_t>& indices) const {
  DumpWriter writer(datasets, os);
  writer.WriteAnalysis(group, indices);
  writer.Finish();
}

void TevInfo::printMesh(std::ostream& os, const std::vector<std::size_t>& indices) const {
  DumpWriter writer(datasets, os);
  writer.WriteMesh(indices);
  writer.Finish();
}

void TevInfo::printResults(std::ostream& os,
                           const std::map<std::string, std::vector<std::size_t>>& /*byResult*/,
                           const std::map<std::string, std::vector<std::size_t>>& byInstance,
                           std::size_t nodeCount) const {
  DumpWriter writer(datasets, os);
  writer.WriteResults(byInstance, {}, nodeCount);
  writer.Finish();
}
