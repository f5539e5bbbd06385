// The variables of all geometries: byte counts, links and data.

#include "VariableCheck.h"

#include <cstdint>
#include <optional>

#include "DataCheck.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Check {

using LbtTev::Geometry;
using Variable = Geometry::VarStruct;

namespace {

/// What is wrong with the byte count of a variable's own data, if anything.
std::optional<Finding> ByteCountFault(const PlacedVariable& placed) {
  const LbtTev::NumericArray& array = placed.Array();
  const std::uint64_t item = std::uint64_t{LbtUtil::kElementSize} * array.GetWidth();
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
void ForEachVariable(const LbtTev::Tree& tree, const LoadedNodes& nodes, Visit visit) {
  for (const auto& [id, entry] : tree.GetNodes()) {
    const auto* geometry = dynamic_cast<const Geometry*>(entry.data);
    const bool isWhole = geometry != nullptr && !nodes.mayBeUnread(id);
    const std::size_t count = isWhole ? geometry->variables.size() : 0;
    for (std::size_t index = 0; index < count; ++index) {
      visit(PlacedVariable{id, geometry, index});
    }
  }
}

}  // namespace

std::vector<std::pair<std::uint64_t, std::uint64_t>> CheckVariables(const LbtTev::Tree& tree,
                                                                    const StreamMap& map,
                                                                    BlockSurvey& survey,
                                                                    const LoadedNodes& nodes,
                                                                    FindingLog& log) {
  DataCheck data(tree, map, survey);
  ForEachVariable(tree, nodes, [&](const PlacedVariable& variable) { data.Add(variable); });
  data.Run();
  std::vector<std::pair<std::uint64_t, std::uint64_t>> used;
  ForEachVariable(tree, nodes, [&](const PlacedVariable& variable) {
    const bool hasOwnNumbers = !variable.Get().isLinked && HasNumbers(variable.Array());
    if (hasOwnNumbers) {
      used.emplace_back(variable.Position(), variable.Position() + variable.Array().byteSize);
    }
    auto fault = variable.Get().isLinked ? LinkFault(variable, tree, nodes.mayBeUnread)
                                         : ByteCountFault(variable);
    if (fault) {
      nodes.place(variable.nodeId, *fault);
      if (hasOwnNumbers) {
        map.Place(variable.Position(), *fault);
      }
      log.Add(*std::move(fault));
    }
    data.Tell(variable, log);
  });
  data.TellOfSkipped(log);
  return used;
}

}  // namespace LbtTev::Check
