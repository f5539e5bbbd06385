// The data of all variables: whether it can be loaded, and what the numbers are.

#include "DataCheck.h"

#include <algorithm>
#include <numeric>

#include "ContainerCheck.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

using LbtTev::Geometry;
using Variable = Geometry::VarStruct;
namespace MeshName = LbtTev::MeshName;

namespace {

constexpr const char* kBlockLost = "the data cannot be loaded, since its block cannot";

/// Whether the numbers of a variable are coordinates or a field's. Those of ids say nothing, NaN
/// included.
bool HasMeasures(const Variable& variable) {
  const std::string_view result = VariableName(variable.name).result;
  return !Geometry::IsConnectivity(variable.variableType) && result != MeshName::kNodeIds &&
         result != MeshName::kElementIds && result != MeshName::kElementIdsInCapitals &&
         result != MeshName::kElementIndices;
}

/// Whether these are the bits of a float that is NaN or infinite.
bool IsNotFinite(unsigned int bits) {
  constexpr unsigned int kExponent = 0x7F800000;
  return (bits & kExponent) == kExponent;
}

}  // namespace

Finding PlacedVariable::FindingOn(Finding::Kind kind, std::string text) const {
  return {.kind = kind,
          .text = std::move(text),
          .node = NumberedName{nodeId, geometry->name},
          .variable = NumberedName{index, Get().name}};
}

std::uint32_t DataCheck::Reasons::Add(const std::string& text) {
  const auto [place, isNew] = places_.try_emplace(text, texts_.size());
  if (isNew) {
    texts_.push_back(&place->first);
  }
  return static_cast<std::uint32_t>(place->second);
}

void DataCheck::Add(const PlacedVariable& variable) {
  if (!HasNumbers(variable.Array())) {
    return;
  }
  variables_.push_back(variable);
  if (firsts_.empty() || firsts_.back().geometry != variable.geometry) {
    firsts_.push_back(variable);
  }
}

void DataCheck::Run() {
  std::ranges::stable_sort(variables_, {}, &PlacedVariable::Range);
  for (auto first = variables_.begin(); first != variables_.end();) {
    const auto next = std::find_if(first, variables_.end(), [&](const PlacedVariable& other) {
      return other.Range() != first->Range();
    });
    Check({first, next});
    first = next;
  }
  std::ranges::for_each(firsts_, [this](const PlacedVariable& each) { CheckMeshesOf(each); });
  std::ranges::stable_sort(faults_, {}, &Fault::Order);
}

void DataCheck::Tell(const PlacedVariable& variable, FindingLog& log) {
  const std::pair place(variable.nodeId, static_cast<std::uint32_t>(variable.index));
  for (; told_ < faults_.size() && faults_[told_].Order() == place; ++told_) {
    const Fault& fault = faults_[told_];
    Finding finding = variable.FindingOn(fault.kind, TextOf(fault, variable));
    if (fault.kind != Finding::Kind::NotFinite) {
      finding.claimed = fault.claimed;
      finding.found = fault.found;
    }
    map_->Place(variable.Position(), finding);
    log.Add(std::move(finding));
  }
}

void DataCheck::TellOfSkipped(FindingLog& log) const {
  if (skipped_ != 0) {
    log.Add({.kind = Finding::Kind::OverlappingData,
             .text = "variables share their data so often that the data of " +
                     std::to_string(skipped_) + " was not loaded",
             .claimed = claimed_,
             .found = map_->Length()});
  }
}

void DataCheck::Check(Group group) {
  if (group.front().Array().loader == nullptr) {
    group.front().Array().CopyStoredTo(values_);
    CheckValues(group);
    return;
  }
  const LbtTev::DataLoader loader = group.front().Array().OwnLoader();
  claimed_ += loader.GetByteSize();
  const CheckedBlock* block = map_->BlockAt(loader.GetPosition());
  if (!map_->Knows(loader.GetPosition())) {
    AddUnreadable(
        group, "the data cannot be loaded, since the length of an earlier block is unknown", false);
  } else if (block != nullptr && block->isLost) {
    AddUnreadable(group, kBlockLost, false);
  } else if (!heavy_->Allows(CostOf(loader))) {
    skipped_ += group.size();
  } else {
    Load(group, loader);
  }
}

/// What is missing costs nothing.
std::uint64_t DataCheck::CostOf(const LbtTev::DataLoader& loader) const {
  const std::uint64_t size = loader.GetByteSize();
  return size <= map_->BytesAt(loader.GetPosition()) ? size : 0;
}

void DataCheck::Load(Group group, const LbtTev::DataLoader& loader) {
  try {
    values_.clear();
    loader.LoadTo(values_);
  } catch (const std::exception& exception) {
    const std::string reason = ReasonOf(exception, *file_);
    const CheckedBlock* failed = survey_->FailedBlock(RefusedBlock(exception, *file_));
    if (failed != nullptr && failed->isLost) {
      AddUnreadable(group, kBlockLost, false);
    } else {
      AddUnreadable(group, "the data cannot be loaded: " + reason, true);
    }
    return;
  }
  CheckValues(group);
}

void DataCheck::CheckValues(Group group) {
  KeepWholeNumbers(group);
  CheckNumbers(group);
}

/// Variables that have it through a link are left out: the one linked to is there, too.
void DataCheck::AddUnreadable(Group group, const std::string& text, bool isBlockGood) {
  const std::uint32_t reason = reasons_.Add(text);
  for (const PlacedVariable& variable : group) {
    if (!variable.Get().isLinked) {
      const std::uint64_t size = variable.Array().loader->GetByteSize();
      Fault& fault = AddFault(variable, Finding::Kind::UnreadableData);
      fault.reason = reason;
      fault.claimed = size;
      fault.found =
          isBlockGood ? std::min<std::uint64_t>(map_->BytesAt(variable.Position()), size) : 0;
    }
  }
}

/// What the meshes are checked by, once all is loaded.
void DataCheck::KeepWholeNumbers(Group group) {
  const auto isOfFaces = [](const PlacedVariable& variable) {
    return Geometry::IsConnectivity(variable.Get().variableType);
  };
  if (std::ranges::none_of(group, isOfFaces)) {
    return;
  }
  WholeNumbers& numbers = wholes_[group.front().Range()];
  numbers.count = values_.size();
  numbers.sum = std::accumulate(values_.begin(), values_.end(), std::uint64_t{0});
  if (const auto highest = std::ranges::max_element(values_); highest != values_.end()) {
    numbers.highest = *highest;
    numbers.highestAt = static_cast<std::uint64_t>(highest - values_.begin());
  }
}

void DataCheck::CheckMeshesOf(const PlacedVariable& first) {
  CheckMeshes(
      *first.geometry,
      [this](const LbtTev::NumericArray& array) {
        const auto known = HasNumbers(array) ? wholes_.find(RangeOf(array)) : wholes_.end();
        return known == wholes_.end() ? nullptr : &known->second;
      },
      [&](const MeshFault& told) {
        Fault& fault = AddFault({first.nodeId, first.geometry, told.variable}, told.kind);
        fault.element = told.element;
        fault.claimed = told.claimed;
        fault.found = told.found;
      });
}

/// Links are left out: what they lead to is told of.
void DataCheck::CheckNumbers(Group group) {
  const auto count = static_cast<std::uint64_t>(std::ranges::count_if(values_, IsNotFinite));
  if (count == 0) {
    return;
  }
  const auto first = std::ranges::find_if(values_, IsNotFinite) - values_.begin();
  for (const PlacedVariable& variable : group) {
    if (!variable.Get().isLinked && HasMeasures(variable.Get())) {
      Fault& fault = AddFault(variable, Finding::Kind::NotFinite);
      fault.element = static_cast<std::uint64_t>(first);
      fault.found = count;
    }
  }
}

DataCheck::Fault& DataCheck::AddFault(const PlacedVariable& variable, Finding::Kind kind) {
  Fault& fault = faults_.emplace_back();
  fault.nodeId = variable.nodeId;
  fault.index = static_cast<std::uint32_t>(variable.index);
  fault.kind = kind;
  return fault;
}

std::string DataCheck::TextOf(const Fault& fault, const PlacedVariable& variable) const {
  const std::string element = std::to_string(fault.element);
  if (fault.kind == Finding::Kind::NodeRange) {
    return "element " + element +
           " of the data is no index of a node; the nodes of the geometry count from 0";
  }
  if (fault.kind == Finding::Kind::FaceLengths) {
    return "the lengths of the faces do not make up the list of their nodes";
  }
  if (fault.kind == Finding::Kind::NotFinite) {
    const std::uint64_t width = std::max<std::uint64_t>(variable.Array().GetWidth(), 1);
    return std::to_string(fault.found) + (fault.found == 1 ? " number is" : " numbers are") +
           " NaN or infinite, the first one component " + std::to_string(fault.element % width) +
           " of tuple " + std::to_string(fault.element / width);
  }
  return reasons_.At(fault.reason);
}

}  // namespace LbtTev::Check
