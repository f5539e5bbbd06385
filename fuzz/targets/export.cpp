// The CDF export of every geometry.

#include <set>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/CdfExport.h"
#include "NullStream.h"
#include "Target.h"

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> /*bytes*/) {
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, path);
  std::set<std::string> names;
  for (const auto& [id, entry] : tree.GetNodes()) {
    if (dynamic_cast<const LbtTev::Geometry*>(entry.data) != nullptr) {
      names.insert(entry.data->name);
    }
  }
  NullStream stream;
  for (const std::string& name : names) {
    try {
      LbtTev::Report::WriteCdf(tree, name, stream);
    } catch (const std::exception&) {
      continue;  // the other geometries are written all the same
    }
  }
}
