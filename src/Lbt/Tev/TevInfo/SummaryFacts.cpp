#include <algorithm>

#include "Lbt/Tev/TevInfo/Summary.h"

namespace {

using namespace std::string_view_literals;

using LbtTev::kRecordSeparator;

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
  const auto isText = [text](const std::string* recent) {
    return recent != nullptr && *recent == text;
  };
  if (std::ranges::any_of(texts.recent, isText)) {
    return;
  }
  auto found = texts.all.find(text);
  if (found == texts.all.end()) {
    found = texts.all.emplace(text).first;
  }
  texts.recent[texts.nextRecent++ % texts.recent.size()] = &*found;
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
  const bool hasInstance = !name.instance.empty();
  const bool isKnown =
      variable.attributes.IsSharedWith(last_) && (hasInstance || !lastHadInstance_);
  if (!isKnown) {
    AddAll(variable.attributes, hasInstance);
    last_ = variable.attributes;
    lastHadInstance_ = hasInstance;
  }
}

/// "hasInstance" where an instance name came with the variable and hides the attribute.
void SummaryCollector::AddAll(const LbtUtil::AttributeMap& attributes, bool hasInstance) {
  for (const auto& [key, value] : attributes) {
    const std::string_view name = key;
    if (name == "Title"sv) {
      Insert(titles_, value);
    } else if (name == "Category"sv) {
      Insert(categories_, value);
    } else if (name == "Frequency"sv) {
      Insert(frequencies_, value);
    } else if (name == "Time"sv) {
      Insert(times_, value);
    } else if (name == "Instance Name"sv && !hasInstance) {
      value.WithText([this](std::string_view text) { InsertInstance(instanceNames_, text); });
    }
    hasMode_ = hasMode_ || name == "Mode"sv;
    hasLoadCase_ = hasLoadCase_ || name == "LoadCase"sv;
  }
}

/// An explicit category wins; else the first kind of step that any result has names the
/// analysis. "Frequency" is no name of an analysis, and what users see all the same.
std::string SummaryCollector::Category() const {
  if (!categories_.all.empty()) {
    return *std::ranges::min_element(categories_.all);
  }
  if (hasLoadCase_) {
    return "Structural";
  }
  if (hasMode_) {
    return "Modal";
  }
  if (!frequencies_.all.empty()) {
    return "Frequency";
  }
  return times_.all.empty() ? "Unknown" : "Transient";
}

SummaryFacts SummaryCollector::Facts(const GroupListing& groups) const {
  SummaryFacts facts;
  if (!titles_.all.empty()) {
    facts.title = *std::ranges::min_element(titles_.all);
  }
  facts.category = Category();
  facts.numberOfCutSections = ListingSize(groups, "Cut-Sections");
  facts.numberOfIsoSurfaces = ListingSize(groups, "Iso-Surfaces");
  facts.numberOfIsoVolumes = ListingSize(groups, "Iso-Volumes");
  facts.numberOfFlowLines = ListingSize(groups, "Flow Lines");
  if (const auto parts = groups.find("Geometry"); parts != groups.end()) {
    facts.parts = parts->second;
  }
  facts.results = Sorted(resultNames_.all);
  facts.instances = Sorted(instanceNames_.all);
  facts.timeSteps = Sorted(times_.all);
  facts.frequencies = Sorted(frequencies_.all);
  return facts;
}

SummaryFacts GatherSummaryFacts(const GroupListing& groups, const ResultAttributeList& results) {
  SummaryCollector collector;
  for (const LbtUtil::AttributeMap& attributes : results) {
    collector.Add(attributes);
  }
  return collector.Facts(groups);
}
