#include <algorithm>

#include "Lbt/Tev/TevInfo/Summary.h"

namespace {

constexpr char kRecordSeparator = '\x1e';

std::size_t ListingSize(const GroupListing& groups, const std::string& name) {
  const auto found = groups.find(name);
  return found == groups.end() ? 0 : found->second.size();
}

/// In ascending byte order.
std::vector<std::string> Sorted(const std::unordered_set<std::string>& texts) {
  std::vector<std::string> sorted(texts.begin(), texts.end());
  std::ranges::sort(sorted);
  return sorted;
}

std::string WithBlanks(std::string instanceName) {
  std::ranges::replace(instanceName, kRecordSeparator, ' ');
  return instanceName;
}

}  // namespace

void SummaryCollector::Add(const LbtUtil::AttributeMap& attributes) {
  if (const auto name = attributes.find("Result Name"); name != attributes.end()) {
    resultNames_.insert(name->second.GetAttributeString());
  }
  AddAll(attributes, false);
}

void SummaryCollector::Add(const LbtTev::Geometry::VarStruct& variable, const VariableName& name) {
  // Through an attribute value, since that is what cuts a long name.
  resultNames_.insert(LbtUtil::AttributeValue(name.result).GetAttributeString());
  if (!name.instance.empty()) {
    instanceNames_.insert(WithBlanks(LbtUtil::AttributeValue(name.instance).GetAttributeString()));
  }
  AddAll(variable.attributes, !name.instance.empty());
}

/// "hasInstance" where an instance name came with the variable and hides the attribute.
void SummaryCollector::AddAll(const LbtUtil::AttributeMap& attributes, bool hasInstance) {
  for (const auto& [name, value] : attributes) {
    if (name == "Title") {
      titles_.insert(value.GetAttributeString());
    } else if (name == "Category") {
      categories_.insert(value.GetAttributeString());
    } else if (name == "Frequency") {
      frequencies_.insert(value.GetAttributeString());
    } else if (name == "Time") {
      times_.insert(value.GetAttributeString());
    } else if (name == "Instance Name" && !hasInstance) {
      instanceNames_.insert(WithBlanks(value.GetAttributeString()));
    }
    hasMode_ = hasMode_ || name == "Mode";
    hasLoadCase_ = hasLoadCase_ || name == "LoadCase";
  }
}

/// An explicit category wins; else the first kind of step that any result has names the
/// analysis. "Frequency" is no name of an analysis, and what users see all the same.
std::string SummaryCollector::Category() const {
  if (!categories_.empty()) {
    return *std::ranges::min_element(categories_);
  }
  if (hasLoadCase_) {
    return "Structural";
  }
  if (hasMode_) {
    return "Modal";
  }
  if (!frequencies_.empty()) {
    return "Frequency";
  }
  return times_.empty() ? "Unknown" : "Transient";
}

SummaryFacts SummaryCollector::Facts(const GroupListing& groups) const {
  SummaryFacts facts;
  if (!titles_.empty()) {
    facts.title = *std::ranges::min_element(titles_);
  }
  facts.category = Category();
  facts.numberOfCutSections = ListingSize(groups, "Cut-Sections");
  facts.numberOfIsoSurfaces = ListingSize(groups, "Iso-Surfaces");
  facts.numberOfIsoVolumes = ListingSize(groups, "Iso-Volumes");
  facts.numberOfFlowLines = ListingSize(groups, "Flow Lines");
  if (const auto parts = groups.find("Geometry"); parts != groups.end()) {
    facts.parts = parts->second;
  }
  facts.results = Sorted(resultNames_);
  facts.instances = Sorted(instanceNames_);
  facts.timeSteps = Sorted(times_);
  facts.frequencies = Sorted(frequencies_);
  return facts;
}

SummaryFacts GatherSummaryFacts(const GroupListing& groups, const ResultAttributeList& results) {
  SummaryCollector collector;
  for (const LbtUtil::AttributeMap& attributes : results) {
    collector.Add(attributes);
  }
  return collector.Facts(groups);
}
