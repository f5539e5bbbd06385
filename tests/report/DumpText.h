#pragma once

#include <cstddef>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/TevInfo/TevInfo.h"

namespace tevtest {

/// Indices of data sets by a name that they share.
using Listing = std::map<std::string, std::vector<std::size_t>>;

/// A data set of floats of the group "Part", owned by the geometry "mesh".
inline TevDataset Floats(std::string result, std::vector<float> values, std::string instance = "") {
  TevDataset dataset;
  dataset.group = "Part";
  dataset.result = std::move(result);
  dataset.instance = std::move(instance);
  dataset.floatValues = std::move(values);
  dataset.names = {"mesh"};
  return dataset;
}

inline TevDataset Integers(std::string result, std::vector<unsigned int> values,
                           std::string instance = "") {
  TevDataset dataset = Floats(std::move(result), {}, std::move(instance));
  dataset.kind = TevDataset::kIntegers;
  dataset.intValues = std::move(values);
  return dataset;
}

inline TevDataset Named(TevDataset dataset, std::string group, std::vector<std::string> names) {
  dataset.group = std::move(group);
  dataset.names = std::move(names);
  return dataset;
}

inline TevInfo InfoOf(std::vector<TevDataset> datasets) {
  TevInfo info;
  info.datasets = std::move(datasets);
  return info;
}

inline std::string Dump(std::vector<TevDataset> datasets) {
  std::ostringstream stream;
  InfoOf(std::move(datasets)).printData(stream);
  return stream.str();
}

/// The node and element blocks of data sets that are one group.
inline std::string Mesh(std::vector<TevDataset> datasets) {
  std::vector<std::size_t> positions(datasets.size());
  for (std::size_t i = 0; i < positions.size(); ++i) {
    positions[i] = i;
  }
  std::ostringstream stream;
  InfoOf(std::move(datasets)).printMesh(stream, positions);
  return stream.str();
}

/// What the dump of one group has after its node and element blocks.
inline std::string Tables(std::vector<TevDataset> datasets) {
  const std::string dump = Dump(std::move(datasets));
  const std::size_t first = dump.find("Data : ");
  return first == std::string::npos ? "" : dump.substr(first);
}

/// What the dump of one group has before its node and element blocks.
inline std::string Overview(std::vector<TevDataset> datasets) {
  const std::string dump = Dump(std::move(datasets));
  return dump.substr(0, dump.find("    Coordinates : \n"));
}

inline const std::string kEmptyMesh = "    Coordinates : \n\n    Connectivity : \n\n";

}  // namespace tevtest
