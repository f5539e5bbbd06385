// Writes one step as an unstructured grid of VTKHDF.

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "Hdf5File.h"
#include "Lbt/Tev/Exchange/Hdf5Formats.h"
#include "Lbt/Tev/Exchange/MergedGrid.h"
#include "Lbt/Tev/Exchange/ReplacedFile.h"
#include "Lbt/Util/Utf8.h"

namespace LbtTev::Exchange {

namespace {

/// A place in the group that all stands in; without more, the group.
std::string InRoot(const std::string& place = "") { return "/VTKHDF" + place; }

/// A slash in a name would be a group of its own, a zero the end, and "." the group itself.
std::string NameInGroup(const std::string& name) {
  std::string valid = Lbt::Util::ValidUtf8(name);
  std::ranges::replace(valid, '/', '|');
  std::ranges::replace(valid, '\0', '|');
  return valid.empty() || valid == "." ? "(" + valid + ")" : valid;
}

/// Data sets take a grid's numbers as they come.
class VtkHdfSink : public GridSink {
 public:
  explicit VtkHdfSink(Hdf5File& file) : file_(&file) {}

  void Begin(const GridLayout& layout) override {
    file_->MakeGroup(InRoot());
    file_->SetNumbers(InRoot(), "Version", {1, 0});
    file_->SetText(InRoot(), "Type", "UnstructuredGrid");
    for (const char* group : {"/PointData", "/CellData"}) {
      file_->MakeGroup(InRoot(group));
    }
    for (const GridArray& array : layout.arrays) {
      Make(array);
      if (array.role == ArrayRole::Connectivity) {
        WriteNumber("/NumberOfConnectivityIds", array.tuples);
      } else if (array.role == ArrayRole::PartIds) {
        NameParts(layout, names_.back());
      }
    }
    WriteNumber("/NumberOfPoints", layout.points);
    WriteNumber("/NumberOfCells", layout.cells);
    if (!layout.step.empty()) {
      file_->SetTexts(InRoot(), "Step", {layout.step});
    }
  }

  void Write(std::size_t array, std::uint64_t first, std::span<const std::byte> tuples) override {
    file_->Write(names_[array], first + (array == offsets_ ? 1 : 0), tuples);
  }

 private:
  void Make(const GridArray& array) {
    names_.push_back(NameOf(array));
    const bool areOffsets = array.role == ArrayRole::Offsets;
    // Scalars have one dimension: readers take a second one for vectors.
    file_->MakeDataset(names_.back(), array.type, array.tuples + (areOffsets ? 1 : 0),
                       array.components == 1 ? 0 : array.components);
    if (areOffsets) {
      offsets_ = names_.size() - 1;
      constexpr std::int64_t kStart = 0;
      file_->Write(names_.back(), 0, std::as_bytes(std::span(&kStart, 1)));
    }
  }

  std::string NameOf(const GridArray& array) {
    const std::string name = NameInGroup(array.name);
    switch (array.role) {
      case ArrayRole::Points:
        return InRoot("/Points");
      case ArrayRole::Connectivity:
        return InRoot("/Connectivity");
      case ArrayRole::Offsets:
        return InRoot("/Offsets");
      case ArrayRole::Types:
        return InRoot("/Types");
      case ArrayRole::PointData:
        return InRoot("/PointData/" + UniqueName(name, pointNames_));
      default:
        return InRoot("/CellData/" + UniqueName(name, cellNames_));
    }
  }

  void WriteNumber(const std::string& name, std::uint64_t number) {
    const auto value = static_cast<std::int64_t>(number);
    file_->MakeDataset(InRoot(name), NumberType::Int64, 1);
    file_->Write(InRoot(name), 0, std::as_bytes(std::span(&value, 1)));
  }

  void NameParts(const GridLayout& layout, const std::string& dataset) {
    std::vector<std::int64_t> ids;
    std::vector<std::string> names;
    for (const auto& [id, name] : layout.parts) {
      ids.push_back(id);
      names.push_back(name);
    }
    file_->SetNumbers(dataset, "ids", ids);
    file_->SetTexts(dataset, "names", names);
  }

  Hdf5File* file_;
  std::vector<std::string> names_;
  std::size_t offsets_ = 0;
  std::map<std::string, int> pointNames_;
  std::map<std::string, int> cellNames_;
};

}  // namespace

void WriteVtkHdf(const Contents& contents, std::size_t placeAmongSteps, const CellRules& rules,
                 const std::string& path, const Listener& listener) {
  ReplacedFile replaced(path);
  Hdf5File file(replaced.Path());
  VtkHdfSink sink(file);
  WriteMergedGrid(contents, placeAmongSteps, rules, sink, listener);
  file.Close();
  replaced.Finish();
  replaced.Commit();
}

}  // namespace LbtTev::Exchange
