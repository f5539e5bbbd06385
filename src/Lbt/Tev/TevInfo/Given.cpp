// The report in steps that print and swallow what fails, on top of what the programs call.

#include "Lbt/Tev/TevInfo/Given.h"

#include <exception>
#include <iostream>
#include <optional>

#include "DatasetGatherer.h"
#include "Lbt/Tev/TevInfo/CdfExport.h"
#include "Lbt/Tev/TevInfo/Entries.h"
#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/OutputStream.h"
#include "PartWalk.h"
#include "SummaryCollector.h"

namespace {

using LbtTev::Geometry;
using LbtTev::VariableName;
using namespace LbtTev::Report;  // NOLINT(google-build-using-namespace): of these functions' own

/// Runs one step of the gathering. The report goes on with what there is.
template <class Step>
void TellFailure(Step step) {
  try {
    step();
  } catch (const std::exception& exception) {
    std::cerr << "Exception: " << exception.what() << std::endl;
  }
}

/// The attributes of a result variable with the parts of its name added.
LbtUtil::AttributeMap AttributesOf(const Geometry::VarStruct& variable, const VariableName& name) {
  LbtUtil::AttributeMap attributes = variable.attributes;
  attributes.insert_or_assign(std::string(LbtTev::ResultAttribute::kResultName), name.result);
  if (!name.instance.empty()) {
    attributes.insert_or_assign(std::string(LbtTev::ResultAttribute::kInstanceName), name.instance);
  }
  return attributes;
}

/// Lists shapes, results and, where they are wanted, data sets.
class ListingSink final : public PartSink {
 public:
  ListingSink(GroupListing& groups, ResultAttributeList& results, DatasetGatherer* datasets)
      : groups_(&groups), results_(&results), datasets_(datasets) {}

  void List(const std::string& group, const std::string& shape) override {
    (*groups_)[group].push_back(shape);
  }

  void Take(const Part& part) override {
    for (std::size_t i = 0; i < part.geometry.variables.size(); ++i) {
      const Geometry::VarStruct& variable = part.geometry.variables[i];
      const VariableName name(variable.name);
      if (IsResult(variable, name)) {
        results_->push_back(AttributesOf(variable, name));
      }
      if (datasets_ != nullptr) {
        datasets_->Gather(part, i, name);
      }
    }
  }

 private:
  GroupListing* groups_;
  ResultAttributeList* results_;
  DatasetGatherer* datasets_;
};

}  // namespace

void extractRootNodeAttributes(LbtTev::Tree& tree, LbtUtil::AttributeMap& attributes) {
  TellFailure([&] { GatherRootAttributes(tree, attributes); });
}

void extractPartsAndResults(LbtTev::Tree& tree, TevInfo& info, GroupListing& groups,
                            ResultAttributeList& results) {
  DatasetGatherer datasets(tree, info.datasets);
  ListingSink sink(groups, results, info.format == TevInfo::ExtractData ? &datasets : nullptr);
  TellFailure([&] { WalkParts(tree, sink); });
}

void addMiscAttributes(TevInfo& info, const GroupListing& groups,
                       const ResultAttributeList& results) {
  SummaryCollector summary;
  for (const auto& [group, shapes] : groups) {
    summary.List(group, shapes);
  }
  for (const LbtUtil::AttributeMap& attributes : results) {
    summary.Add(attributes);
  }
  AddSummary(info, summary.TakeFacts());
}

void exportCDF(LbtTev::Tree& tree, const std::string& geometryName, const std::string& outputPath) {
  try {
    const auto descriptor = Lbt::Util::OpenForReplacing(outputPath, tree.GetFile().GetIdentity());
    if (!descriptor) {
      return;
    }
    Lbt::Util::DescriptorStream file(*descriptor, Lbt::Util::DescriptorStream::Ownership::Owned);
    WriteCdf(tree, geometryName, file);
  } catch (...) {
    // The file keeps what was written; who wants to know more calls WriteCdf.
    return;
  }
}
