// Works out what a model is called and what kind of analysis it holds.

#include "Lbt/Tev/TitleAndCategory.h"

#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev {

namespace {

void KeepSmallest(std::optional<std::string>& smallest, const LbtUtil::AttributeValue& value) {
  value.WithText([&smallest](std::string_view text) {
    if (!smallest || text < *smallest) {
      smallest = std::string(text);
    }
  });
}

}  // namespace

void TitleAndCategory::Add(std::string_view name, const LbtUtil::AttributeValue& value) {
  if (name == ResultAttribute::kTitle) {
    KeepSmallest(title_, value);
  } else if (name == ResultAttribute::kCategory) {
    KeepSmallest(category_, value);
  }
  hasLoadCase_ = hasLoadCase_ || name == ResultAttribute::kLoadCase;
  hasMode_ = hasMode_ || name == ResultAttribute::kMode;
  hasFrequency_ = hasFrequency_ || name == ResultAttribute::kFrequency;
  hasTime_ = hasTime_ || name == ResultAttribute::kTime;
}

void TitleAndCategory::Add(const LbtUtil::AttributeMap& attributes) {
  for (const auto& [name, value] : attributes) {
    Add(name, value);
  }
}

std::string TitleAndCategory::Category() const {
  if (category_) {
    return *category_;
  }
  if (hasLoadCase_) {
    return "Structural";
  }
  if (hasMode_) {
    return "Modal";
  }
  if (hasFrequency_) {
    return "Frequency";
  }
  return hasTime_ ? "Transient" : "Unknown";
}

}  // namespace LbtTev
