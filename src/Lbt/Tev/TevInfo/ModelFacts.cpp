// Gathers what a report tells of a model.

#include "Lbt/Tev/TevInfo/ModelFacts.h"

#include <span>
#include <string_view>
#include <utility>

#include "DatasetGatherer.h"
#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/RootFacts.h"
#include "Lbt/Util/FileAccess.h"
#include "PartWalk.h"
#include "SummaryCollector.h"

namespace LbtTev::Report {

namespace {

using LbtUtil::AttributeMap;
using LbtUtil::AttributeValue;

/// Takes the facts of the parts.
class FactsSink final : public PartSink {
 public:
  explicit FactsSink(DatasetGatherer* numbers) : numbers_(numbers) {}

  void List(const std::string& group, const std::string& shape) override {
    summary_.List(group, std::span(&shape, 1));
  }

  /// What a geometry tells does not change with the shapes that have it.
  void Take(const Part& part) override {
    if (part.isRepeated && numbers_ == nullptr) {
      return;
    }
    for (std::size_t i = 0; i < part.geometry.variables.size(); ++i) {
      const Geometry::VarStruct& variable = part.geometry.variables[i];
      const VariableName name(variable.name);
      if (IsResult(variable, name)) {
        summary_.Add(variable, name);
      }
      if (numbers_ != nullptr) {
        numbers_->Gather(part, i, name);
      }
    }
  }

  [[nodiscard]] SummaryFacts TakeFacts() { return summary_.TakeFacts(); }

 private:
  SummaryCollector summary_;
  DatasetGatherer* numbers_;  // null where they are left
};

/// Runs one step of the gathering. The report goes on with what there is.
template <class Step>
void KeepFailure(const Tree& tree, ModelFacts& facts, Step step) {
  try {
    step();
  } catch (const std::exception& exception) {
    facts.failures.push_back(std::current_exception());
    facts.isMachineAtFault = facts.isMachineAtFault || LbtLbf::IsLackOfMemory(exception) ||
                             tree.GetFile().HasRefusedRead();
  }
}

std::optional<AttributeValue> Find(const AttributeMap& attributes, std::string_view name) {
  const auto found = attributes.find(std::string(name));
  return found == attributes.end() ? std::nullopt : std::optional(found->second);
}

void TakeRootAttributes(const AttributeMap& attributes, ModelFacts& facts) {
  facts.modelFile = NativeFileOf(attributes, RootAttribute::kModelFile,
                                 RootAttribute::kModelFileSize, GetModelFileFormat);
  facts.resultsFile = NativeFileOf(attributes, RootAttribute::kResultsFile,
                                   RootAttribute::kResultsFileSize, GetResultsFileFormat);
  facts.numberOfNodes = Find(attributes, RootAttribute::kNodeCount);
  facts.numberOfElements = Find(attributes, RootAttribute::kElementCount);
}

}  // namespace

ModelFacts GatherModelFacts(const Tree& tree, Numbers numbers) {
  ModelFacts facts;
  facts.failures.reserve(2);  // so that the lack of memory can be kept, too
  KeepFailure(tree, facts, [&] { GatherRootAttributes(tree, facts.rootAttributes); });
  std::optional<DatasetGatherer> datasets;
  if (numbers == Numbers::Wanted) {
    datasets.emplace(tree, facts.datasets);
  }
  FactsSink sink(datasets ? &*datasets : nullptr);
  KeepFailure(tree, facts, [&] { WalkParts(tree, sink); });

  TakeRootAttributes(facts.rootAttributes, facts);
  facts.summary = sink.TakeFacts();
  facts.version = tree.GetContainerVersion();
  facts.modifiers = tree.modifierInfos;
  facts.fileBytes = tree.GetFile().GetSize();
  if (facts.fileBytes) {
    facts.fileSize = LbtUtil::FileSizeText(static_cast<std::int64_t>(*facts.fileBytes));
  }
  return facts;
}

}  // namespace LbtTev::Report
