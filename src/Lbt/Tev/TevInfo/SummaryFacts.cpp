#include <algorithm>

#include "Lbt/Tev/TevInfo/Summary.h"

namespace {

constexpr char kRecordSeparator = '\x1e';

std::size_t ListingSize(const GroupListing& groups, const std::string& name) {
  const auto found = groups.find(name);
  return found == groups.end() ? 0 : found->second.size();
}

/// In ascending byte order.
template <class Texts>
std::vector<std::string> Sorted(const Texts& texts) {
  std::vector<std::string> sorted(texts.begin(), texts.end());
  std::ranges::sort(sorted);
  return sorted;
}

}  // namespace

void SummaryCollector::Insert(Texts& texts, std::string_view text) {
  if (!texts.contains(text)) {
    texts.emplace(text);
  }
}

void SummaryCollector::Insert(Texts& texts, const LbtUtil::AttributeValue& value) {
  value.WithText([&texts](std::string_view text) { Insert(texts, text); });
}

/// Instance names are shown with blanks in place of separators.
void SummaryCollector::InsertInstance(Texts& texts, std::string_view name) {
  if (name.find(kRecordSeparator) == std::string_view::npos) {
    Insert(texts, name);
    return;
  }
  std::string shown(name);
  std::ranges::replace(shown, kRecordSeparator, ' ');
  Insert(texts, std::string_view(shown));
}

void SummaryCollector::Add(const LbtUtil::AttributeMap& attributes) {
  if (const auto name = attributes.find("Result Name"); name != attributes.end()) {
    Insert(resultNames_, name->second);
  }
  AddAll(attributes, false);
}

void SummaryCollector::Add(const LbtTev::Geometry::VarStruct& variable, const VariableName& name) {
  // As an attribute value would keep them, which is what cuts a long name.
  Insert(resultNames_, LbtUtil::AttributeValue::KeptText(name.result));
  if (!name.instance.empty()) {
    InsertInstance(instanceNames_, LbtUtil::AttributeValue::KeptText(name.instance));
  }
  AddAll(variable.attributes, !name.instance.empty());
}

/// "hasInstance" where an instance name came with the variable and hides the attribute.
void SummaryCollector::AddAll(const LbtUtil::AttributeMap& attributes, bool hasInstance) {
  for (const auto& [name, value] : attributes) {
    if (name == "Title") {
      Insert(titles_, value);
    } else if (name == "Category") {
      Insert(categories_, value);
    } else if (name == "Frequency") {
      Insert(frequencies_, value);
    } else if (name == "Time") {
      Insert(times_, value);
    } else if (name == "Instance Name" && !hasInstance) {
      value.WithText([this](std::string_view text) { InsertInstance(instanceNames_, text); });
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
