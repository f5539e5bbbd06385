#include "Lbt/Tev/TevInfo/ModelFacts.h"

#include <utility>

#include "Lbt/Tev/TevInfo/PartsAndResults.h"
#include "Lbt/Tev/TevInfo/SolverFileTypes.h"

namespace {

using LbtUtil::AttributeMap;
using LbtUtil::AttributeValue;

std::optional<AttributeValue> Find(const AttributeMap& attributes, const std::string& name) {
  const auto found = attributes.find(name);
  return found == attributes.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> FindText(const AttributeMap& attributes, const std::string& name) {
  const std::optional<AttributeValue> value = Find(attributes, name);
  return value ? std::optional(value->GetAttributeString()) : std::nullopt;
}

NativeFileFacts NativeFileOf(const AttributeMap& attributes, const std::string& kind,
                             std::string (*formatOf)(const std::string&)) {
  NativeFileFacts facts;
  facts.path = FindText(attributes, kind);
  facts.size = FindText(attributes, kind + " Size");
  if (facts.path) {
    facts.type = formatOf(*facts.path);
  }
  return facts;
}

}  // namespace

ModelFacts MakeModelFacts(const LbtTev::Tree& tree, AttributeMap rootAttributes,
                          SummaryFacts summary) {
  ModelFacts facts;
  facts.version = tree.GetVersion();
  facts.fileSize = tree.GetFile().GetSize();
  facts.modifiers = tree.modifierInfos;
  facts.modelFile = NativeFileOf(rootAttributes, "Model File", GetModelFileFormat);
  facts.resultsFile = NativeFileOf(rootAttributes, "Results File", GetResultsFileFormat);
  facts.numberOfNodes = Find(rootAttributes, "Number of Nodes in the Model");
  facts.numberOfElements = Find(rootAttributes, "Number of Elements in the Model");
  facts.rootAttributes = std::move(rootAttributes);
  facts.summary = std::move(summary);
  return facts;
}

ModelFacts GatherModelFacts(const LbtTev::Tree& tree) {
  AttributeMap rootAttributes;
  GroupListing groups;
  SummaryCollector results;
  GatherRootAttributes(tree, rootAttributes);
  GatherPartsAndResults(
      tree, groups,
      [&results](const auto& variable, const VariableName& name) { results.Add(variable, name); },
      nullptr);
  return MakeModelFacts(tree, std::move(rootAttributes), results.Facts(groups));
}
