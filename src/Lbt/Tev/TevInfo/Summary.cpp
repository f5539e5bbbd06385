#include "Lbt/Tev/TevInfo/Summary.h"

#include <array>
#include <exception>
#include <iostream>
#include <utility>

namespace {

/// Runs one step of the gathering. The report goes on with what there is.
template <class Step>
void ReportFailure(Step step) {
  try {
    step();
  } catch (const std::exception& exception) {
    std::cerr << "Exception: " << exception.what() << std::endl;
  }
}

/// Where the numbers go; null where the format needs none.
std::vector<TevDataset>* DatasetsOf(TevInfo& info) {
  return info.format == TevInfo::ExtractData ? &info.datasets : nullptr;
}

void AddCount(TevInfo& info, const char* key, std::size_t count) {
  AddStreamMetaData(info, key, static_cast<unsigned int>(count));
}

void AddCountOfAny(TevInfo& info, const char* key, const std::vector<std::string>& names) {
  if (!names.empty()) {
    AddCount(info, key, names.size());
  }
}

void AddJoined(TevInfo& info, const char* key, const std::vector<std::string>& names) {
  if (const std::string joined = GetNameListAsString(names); !joined.empty()) {
    AddStreamMetaData(info, key, joined);
  }
}

}  // namespace

void addSummary(TevInfo& info, const SummaryFacts& facts) {
  if (facts.title) {
    AddStreamMetaData(info, "Title", *facts.title);
  }
  AddStreamMetaData(info, "Category", facts.category);
  AddCount(info, "Number of Parts", facts.parts ? facts.parts->size() : 0);
  AddCount(info, "Number of Cut-sections", facts.numberOfCutSections);
  AddCount(info, "Number of Iso-surfaces", facts.numberOfIsoSurfaces);
  AddCount(info, "Number of Iso-volumes", facts.numberOfIsoVolumes);
  AddCount(info, "Number of Flow-lines", facts.numberOfFlowLines);
  AddCountOfAny(info, "Number of Results", facts.results);
  AddCountOfAny(info, "Number of Instances", facts.instances);
  if (facts.parts) {
    AddStreamMetaData(info, "Parts", GetNameListAsString(*facts.parts));
  }
  AddJoined(info, "Results", facts.results);
  AddJoined(info, "Instances", facts.instances);
  AddJoined(info, "Time Steps", facts.timeSteps);
  AddJoined(info, "Frequencies", facts.frequencies);
}

void extractRootNodeAttributes(LbtTev::Tree& tree, LbtUtil::AttributeMap& attributes) {
  ReportFailure([&] { GatherRootAttributes(tree, attributes); });
}

void extractPartsAndResults(LbtTev::Tree& tree, TevInfo& info, GroupListing& groups,
                            ResultAttributeList& results) {
  ReportFailure([&] { GatherPartsAndResults(tree, groups, results, DatasetsOf(info)); });
}

void extractPartsAndResults(LbtTev::Tree& tree, TevInfo& info, GroupListing& groups,
                            SummaryCollector& results) {
  const ResultSink addResult = [&results](const auto& variable, const VariableName& name) {
    results.Add(variable, name);
  };
  ReportFailure([&] { GatherPartsAndResults(tree, groups, addResult, DatasetsOf(info)); });
}

void WriteModifierInfo(TevInfo& info, const LbtTev::ModifierInfo& modifier,
                       const std::string& suffix) {
  const std::array<std::pair<const char*, const std::string&>, 6> texts{{
      {"Application name", modifier.applicationName},
      {"Application version", modifier.applicationVersion},
      {"Tev version", modifier.tevVersion},
      {"User name", modifier.userName},
      {"Date", modifier.date},
      {"Comment", modifier.comment},
  }};
  for (const auto& [label, text] : texts) {
    if (!text.empty()) {
      AddStreamMetaData(info, label + suffix, text);
    }
  }
}

void addMiscAttributes(TevInfo& info, const GroupListing& groups,
                       const ResultAttributeList& results) {
  addSummary(info, GatherSummaryFacts(groups, results));
}

std::string GetNameListAsString(const std::vector<std::string>& names) {
  std::string joined;
  for (const std::string& name : names) {
    if (&name != &names.front()) {
      joined += ", ";
    }
    joined += name;
  }
  return joined;
}
