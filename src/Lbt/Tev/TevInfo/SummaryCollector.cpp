// Sums a model up: counts of shapes, and each text of the results once.

#include "SummaryCollector.h"

#include <algorithm>
#include <utility>

namespace LbtTev::Report {

void SummaryCollector::List(std::string_view group, std::span<const std::string> shapes) {
  if (group == GroupName::kParts) {
    auto& parts = facts_.parts ? *facts_.parts : facts_.parts.emplace();
    parts.insert(parts.end(), shapes.begin(), shapes.end());
  } else if (group == GroupName::kCutSections) {
    facts_.numberOfCutSections += shapes.size();
  } else if (group == GroupName::kIsoSurfaces) {
    facts_.numberOfIsoSurfaces += shapes.size();
  } else if (group == GroupName::kIsoVolumes) {
    facts_.numberOfIsoVolumes += shapes.size();
  } else if (group == GroupName::kFlowLines) {
    facts_.numberOfFlowLines += shapes.size();
  }
}

void SummaryCollector::Insert(Texts& texts, std::string_view text) {
  const auto place = texts.lower_bound(text);
  if (place == texts.end() || *place != text) {
    texts.emplace_hint(place, text);
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
  const auto name = attributes.find(std::string(ResultAttribute::kResultName));
  if (name != attributes.end()) {
    Insert(resultNames_, name->second);
  }
  AddAll(attributes, false);
}

void SummaryCollector::Add(const Geometry::VarStruct& variable, const VariableName& name) {
  // As an attribute value would keep them, which is what cuts a long name.
  Insert(resultNames_, LbtUtil::AttributeValue::KeptText(name.result));
  if (!name.instance.empty()) {
    InsertInstance(instanceNames_, LbtUtil::AttributeValue::KeptText(name.instance));
  }
  const bool hasInstance = !name.instance.empty();
  const bool isKnown =
      variable.attributes.IsSharedWith(former_) && (hasInstance || !formerHadInstance_);
  if (!isKnown) {
    AddAll(variable.attributes, hasInstance);
    former_ = variable.attributes;
    formerHadInstance_ = hasInstance;
  }
}

/// "hasInstance" where an instance name came with the variable and hides the attribute.
void SummaryCollector::AddAll(const LbtUtil::AttributeMap& attributes, bool hasInstance) {
  for (const auto& [key, value] : attributes) {
    const std::string_view name = key;
    titleAndCategory_.Add(name, value);
    if (name == ResultAttribute::kFrequency) {
      Insert(frequencies_, value);
    } else if (name == ResultAttribute::kTime) {
      Insert(times_, value);
    } else if (name == ResultAttribute::kInstanceName && !hasInstance) {
      value.WithText([this](std::string_view text) { InsertInstance(instanceNames_, text); });
    }
  }
}

SummaryFacts SummaryCollector::TakeFacts() {
  facts_.title = titleAndCategory_.Title();
  facts_.category = titleAndCategory_.Category();
  facts_.results.assign(resultNames_.begin(), resultNames_.end());
  facts_.instances.assign(instanceNames_.begin(), instanceNames_.end());
  facts_.timeSteps.assign(times_.begin(), times_.end());
  facts_.frequencies.assign(frequencies_.begin(), frequencies_.end());
  return std::move(facts_);
}

}  // namespace LbtTev::Report
