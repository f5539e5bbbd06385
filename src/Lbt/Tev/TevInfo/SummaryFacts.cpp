#include <algorithm>
#include <iterator>

#include "Lbt/Tev/TevInfo/Summary.h"

namespace {

constexpr char kRecordSeparator = '\x1e';

std::size_t ListingSize(const GroupListing& groups, const std::string& name) {
  const auto found = groups.find(name);
  return found == groups.end() ? 0 : found->second.size();
}

/// The texts of one attribute over all results, in ascending byte order, each once.
std::vector<std::string> DistinctTexts(const ResultAttributeList& results,
                                       const std::string& attribute) {
  std::vector<std::string> texts;
  for (const LbtUtil::AttributeMap& attributes : results) {
    if (const auto found = attributes.find(attribute); found != attributes.end()) {
      texts.push_back(found->second.GetAttributeString());
    }
  }
  if (attribute == "Instance Name") {
    for (std::string& text : texts) {
      std::ranges::replace(text, kRecordSeparator, ' ');
    }
  }
  std::ranges::sort(texts);
  texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
  return texts;
}

/// An explicit category wins; else the first kind of step that any result has names the
/// analysis. "Frequency" is no name of an analysis, and what users see all the same.
std::string CategoryOf(const ResultAttributeList& results) {
  const auto has = [&results](const std::string& attribute) {
    return std::ranges::any_of(
        results, [&](const auto& attributes) { return attributes.contains(attribute); });
  };
  const std::vector<std::string> categories = DistinctTexts(results, "Category");
  if (!categories.empty()) {
    return categories.front();
  }
  if (has("LoadCase")) {
    return "Structural";
  }
  if (has("Mode")) {
    return "Modal";
  }
  if (has("Frequency")) {
    return "Frequency";
  }
  return has("Time") ? "Transient" : "Unknown";
}

}  // namespace

SummaryFacts GatherSummaryFacts(const GroupListing& groups, const ResultAttributeList& results) {
  SummaryFacts facts;
  if (const auto titles = DistinctTexts(results, "Title"); !titles.empty()) {
    facts.title = titles.front();
  }
  facts.category = CategoryOf(results);
  facts.numberOfCutSections = ListingSize(groups, "Cut-Sections");
  facts.numberOfIsoSurfaces = ListingSize(groups, "Iso-Surfaces");
  facts.numberOfIsoVolumes = ListingSize(groups, "Iso-Volumes");
  facts.numberOfFlowLines = ListingSize(groups, "Flow Lines");
  if (const auto parts = groups.find("Geometry"); parts != groups.end()) {
    facts.parts = parts->second;
  }
  facts.results = DistinctTexts(results, "Result Name");
  facts.instances = DistinctTexts(results, "Instance Name");
  facts.timeSteps = DistinctTexts(results, "Time");
  facts.frequencies = DistinctTexts(results, "Frequency");
  return facts;
}
