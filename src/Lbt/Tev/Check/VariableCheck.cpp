// The variables of all geometries: byte counts, links and data.

#include "VariableCheck.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "ContainerCheck.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

using LbtTev::Geometry;
using Variable = Geometry::VarStruct;

namespace {

constexpr std::uint64_t kElementSize = 4;

/// A variable at its place in the tree.
struct PlacedVariable {
  unsigned int nodeId = 0;
  const Geometry* geometry = nullptr;
  std::size_t index = 0;

  [[nodiscard]] const Variable& Get() const { return geometry->variables[index]; }
  [[nodiscard]] const LbtTev::NumericArray& Array() const { return Get().array; }

  [[nodiscard]] Finding FindingOn(Finding::Kind kind, std::string text) const {
    return {.kind = kind,
            .text = std::move(text),
            .node = NumberedName{nodeId, geometry->name},
            .variable = NumberedName{index, Get().name}};
  }

  /// What decides about the success of loading it.
  [[nodiscard]] auto Range() const {
    return std::tuple(Array().loader->GetPosition(), Array().loader->GetByteSize(),
                      Array().GetWidth(), Array().loader->IsShuffled());
  }
};

/// How many nodes a geometry has, where that is certain.
std::optional<std::uint64_t> NodeCountOf(const Geometry& geometry) {
  std::optional<std::uint64_t> count;
  for (const Variable& variable : geometry.variables) {
    const std::string_view result = VariableName(variable.name).result;
    if (variable.variableType != Geometry::VariableType::Coordinates && result != "Coordinates" &&
        result != "Node Ids") {
      continue;
    }
    const LbtTev::NumericArray& array = variable.array;
    if (array.GetWidth() == 0 || (variable.isLinked && array.loader == nullptr)) {
      return std::nullopt;
    }
    count = std::max(count.value_or(0), array.GetNumElements() / array.GetWidth());
  }
  return count;
}

bool RefersToNodes(const Variable& variable) {
  return Geometry::IsConnectivity(variable.variableType) &&
         variable.variableType != Geometry::VariableType::VerticesPerFace;
}

/// What is wrong with the data of a variable, in little room: there may be very many. The
/// findings are made when they are told.
struct DataFault {
  std::uint32_t nodeId = 0;
  std::uint32_t index = 0;
  Finding::Kind kind{};
  std::uint32_t reason = 0;   ///< the place of its text, for data that cannot be loaded
  std::uint64_t element = 0;  ///< of the data, for one that is no node
  std::uint64_t claimed = 0;
  std::uint64_t found = 0;

  /// The order in which the tree has the variables.
  [[nodiscard]] auto Order() const { return std::pair(nodeId, index); }
};

/// Texts, each kept once.
class Reasons {
 public:
  [[nodiscard]] std::uint32_t Add(const std::string& text) {
    const auto [place, isNew] = places_.try_emplace(text, texts_.size());
    if (isNew) {
      texts_.push_back(&place->first);
    }
    return static_cast<std::uint32_t>(place->second);
  }
  [[nodiscard]] const std::string& At(std::uint32_t place) const { return *texts_[place]; }

 private:
  std::map<std::string, std::size_t> places_;
  std::vector<const std::string*> texts_;  // nodes of the map do not move
};

/// Loads data in the order of the stream, so that each block is read once, and the same data
/// once for all variables that share it.
class DataCheck {
 public:
  DataCheck(const LbtTev::Tree& tree, const StreamMap& map)
      : file_(&tree.GetFile()), map_(&map), allowance_(kMost * map.Length() + kSpare) {}

  void Add(const PlacedVariable& variable) {
    if (variable.Array().loader != nullptr) {
      variables_.push_back(variable);
    }
  }

  void Run() {
    std::ranges::stable_sort(variables_, {}, &PlacedVariable::Range);
    for (auto first = variables_.begin(); first != variables_.end();) {
      const auto next = std::find_if(first, variables_.end(), [&](const PlacedVariable& other) {
        return other.Range() != first->Range();
      });
      Check({first, next});
      first = next;
    }
    std::ranges::stable_sort(faults_, {}, &DataFault::Order);
  }

  /// Tells what is wrong with the data of "variable". To be asked for one variable after another,
  /// in their order.
  void Tell(const PlacedVariable& variable, const FindingSink& sink) {
    for (; told_ < faults_.size() && IsOf(faults_[told_], variable); ++told_) {
      sink(FindingOf(faults_[told_], variable));
    }
  }

  void TellOfSkipped(const FindingSink& sink) const {
    if (skipped_ != 0) {
      sink({.kind = Finding::Kind::OverlappingData,
            .text = "variables share their data so often that the data of " +
                    std::to_string(skipped_) + " was not loaded",
            .claimed = claimed_,
            .found = map_->Length()});
    }
  }

 private:
  using Group = std::span<const PlacedVariable>;

  // No sound model has data that overlaps in part. A hostile one may claim all of a large block
  // for each of very many variables.
  static constexpr std::uint64_t kMost = 4;
  static constexpr std::uint64_t kSpare = std::uint64_t{16} * 1024 * 1024;

  [[nodiscard]] static bool IsOf(const DataFault& fault, const PlacedVariable& variable) {
    return fault.nodeId == variable.nodeId && fault.index == variable.index;
  }

  void Check(Group group) {
    const LbtTev::DataLoader& loader = *group.front().Array().loader;
    claimed_ += loader.GetByteSize();
    const CheckedBlock* block = map_->BlockAt(loader.GetPosition());
    if (!map_->Knows(loader.GetPosition())) {
      AddUnreadable(group,
                    "the data cannot be loaded, since the length of an earlier block is unknown",
                    false);
    } else if (block != nullptr && !block->IsGood()) {
      AddUnreadable(group, "the data cannot be loaded, since its block cannot", false);
    } else if (CostOf(loader) > allowance_) {
      skipped_ += group.size();
    } else {
      Load(group, loader);
    }
  }

  /// What is not there costs nothing.
  [[nodiscard]] std::uint64_t CostOf(const LbtTev::DataLoader& loader) const {
    const std::uint64_t size = loader.GetByteSize();
    return size <= map_->BytesAt(loader.GetPosition()) ? size : 0;
  }

  void Load(Group group, const LbtTev::DataLoader& loader) {
    try {
      values_.clear();
      loader.LoadTo(values_);
    } catch (const std::exception& exception) {
      AddUnreadable(group, "the data cannot be loaded: " + ReasonOf(exception, *file_), true);
      return;
    }
    allowance_ -= CostOf(loader);
    CheckNodeRange(group);
  }

  /// Variables that have it through a link are left out: the one linked to is there, too.
  void AddUnreadable(Group group, const std::string& text, bool isBlockGood) {
    const std::uint32_t reason = reasons_.Add(text);
    for (const PlacedVariable& variable : group) {
      if (!variable.Get().isLinked) {
        const LbtTev::DataLoader& loader = *variable.Array().loader;
        DataFault& fault = AddFault(variable, Finding::Kind::UnreadableData);
        fault.reason = reason;
        fault.claimed = loader.GetByteSize();
        fault.found = isBlockGood ? std::min<std::uint64_t>(map_->BytesAt(loader.GetPosition()),
                                                            loader.GetByteSize())
                                  : 0;
      }
    }
  }

  void CheckNodeRange(Group group) {
    const auto highest = std::ranges::max_element(values_);
    if (highest == values_.end()) {
      return;
    }
    for (const PlacedVariable& variable : group) {
      const auto nodes = RefersToNodes(variable.Get()) ? NodeCount(*variable.geometry)
                                                       : std::optional<std::uint64_t>();
      if (nodes && *highest >= *nodes) {
        DataFault& fault = AddFault(variable, Finding::Kind::NodeRange);
        fault.element = static_cast<std::uint64_t>(highest - values_.begin());
        fault.claimed = *highest;
        fault.found = *nodes;
      }
    }
  }

  DataFault& AddFault(const PlacedVariable& variable, Finding::Kind kind) {
    DataFault& fault = faults_.emplace_back();
    fault.nodeId = variable.nodeId;
    fault.index = static_cast<std::uint32_t>(variable.index);
    fault.kind = kind;
    return fault;
  }

  [[nodiscard]] Finding FindingOf(const DataFault& fault, const PlacedVariable& variable) const {
    Finding finding = variable.FindingOn(
        fault.kind,
        fault.kind == Finding::Kind::NodeRange
            ? "element " + std::to_string(fault.element) +
                  " of the data is no index of a node; the nodes of the geometry count from 0"
            : reasons_.At(fault.reason));
    finding.claimed = fault.claimed;
    finding.found = fault.found;
    map_->Place(variable.Array().loader->GetPosition(), finding);
    return finding;
  }

  std::optional<std::uint64_t> NodeCount(const Geometry& geometry) {
    const auto known = nodeCounts_.find(&geometry);
    return known != nodeCounts_.end()
               ? known->second
               : nodeCounts_.emplace(&geometry, NodeCountOf(geometry)).first->second;
  }

  const LbtLbf::LbFile* file_;
  const StreamMap* map_;
  std::vector<PlacedVariable> variables_;
  std::vector<DataFault> faults_;
  std::size_t told_ = 0;
  Reasons reasons_;
  std::unordered_map<const Geometry*, std::optional<std::uint64_t>> nodeCounts_;
  std::vector<unsigned int> values_;
  std::uint64_t allowance_;
  std::uint64_t claimed_ = 0;
  std::size_t skipped_ = 0;
};

/// What is wrong with the byte count of a variable's own data, if anything.
std::optional<Finding> ByteCountFault(const PlacedVariable& placed) {
  const LbtTev::NumericArray& array = placed.Array();
  const std::uint64_t item = kElementSize * array.GetWidth();
  const std::uint64_t whole = item == 0 ? 0 : array.byteSize / item * item;
  if (whole == array.byteSize) {
    return std::nullopt;
  }
  Finding finding = placed.FindingOn(
      Finding::Kind::ByteCount, "its byte count does not fit items of " +
                                    std::to_string(array.GetWidth()) + " components, 4 bytes each");
  finding.claimed = array.byteSize;
  finding.found = whole;
  return finding;
}

Finding LinkFinding(const PlacedVariable& placed, const std::string& text, std::uint64_t claimed) {
  Finding finding = placed.FindingOn(Finding::Kind::LinkToNothing, "it is linked to " + text);
  finding.claimed = claimed;
  return finding;
}

/// What is wrong with a variable's link to a variable of "target", if anything.
std::optional<Finding> LinkFault(const PlacedVariable& placed, const Geometry& target) {
  const Variable& variable = placed.Get();
  const std::string node = "node " + std::to_string(variable.linkNodeId);
  if (variable.linkVariableIndex >= target.variables.size()) {
    Finding finding = LinkFinding(placed, "a variable that " + node + " does not have",
                                  variable.linkVariableIndex);
    finding.found = target.variables.size();
    return finding;
  }
  if (target.variables[variable.linkVariableIndex].isLinked) {
    return LinkFinding(placed,
                       "a variable of " + node + " that is a link itself, and so has no data",
                       variable.linkVariableIndex);
  }
  return std::nullopt;
}

/// What is wrong with a variable's link, if anything.
std::optional<Finding> LinkFault(const PlacedVariable& placed, const LbtTev::Tree& tree,
                                 const std::function<bool(unsigned int)>& mayBeUnread) {
  const unsigned int id = placed.Get().linkNodeId;
  if (mayBeUnread(id)) {
    return std::nullopt;
  }
  const auto* entry = tree.FindNode(id);
  if (entry == nullptr) {
    return LinkFinding(placed, "a node that does not exist", id);
  }
  const auto* target = dynamic_cast<const Geometry*>(entry->data);
  return target == nullptr ? LinkFinding(placed, "a node that is no geometry", id)
                           : LinkFault(placed, *target);
}

template <class Visit>
void ForEachVariable(const LbtTev::Tree& tree, Visit visit) {
  for (const auto& [id, entry] : tree.GetNodes()) {
    const auto* geometry = dynamic_cast<const Geometry*>(entry.data);
    const std::size_t count = geometry == nullptr ? 0 : geometry->variables.size();
    for (std::size_t index = 0; index < count; ++index) {
      visit(PlacedVariable{id, geometry, index});
    }
  }
}

}  // namespace

void CheckVariables(const LbtTev::Tree& tree, const StreamMap& map, const LoadedNodes& nodes,
                    const FindingSink& sink) {
  DataCheck data(tree, map);
  ForEachVariable(tree, [&](const PlacedVariable& variable) { data.Add(variable); });
  data.Run();
  ForEachVariable(tree, [&](const PlacedVariable& variable) {
    auto fault = variable.Get().isLinked ? LinkFault(variable, tree, nodes.mayBeUnread)
                                         : ByteCountFault(variable);
    if (fault) {
      nodes.place(variable.nodeId, *fault);
      if (!variable.Get().isLinked && variable.Array().loader != nullptr) {
        map.Place(variable.Array().loader->GetPosition(), *fault);
      }
      sink(*fault);
    }
    data.Tell(variable, sink);
  });
  data.TellOfSkipped(sink);
}

}  // namespace LbtTev::Check
