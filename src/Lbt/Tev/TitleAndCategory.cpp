// Works out what a model is called and what kind of analysis it holds.
#include "Lbt/Tev/TitleAndCategory.h"

#include <string_view>

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

void TitleAndCategory::Add(const LbtUtil::AttributeMap& attributes) {
  for (const auto& [name, value] : attributes) {
    if (name == "Title") {
      KeepSmallest(title_, value);
    } else if (name == "Category") {
      KeepSmallest(category_, value);
    }
    hasLoadCase_ = hasLoadCase_ || name == "LoadCase";
    hasMode_ = hasMode_ || name == "Mode";
    hasFrequency_ = hasFrequency_ || name == "Frequency";
    hasTime_ = hasTime_ || name == "Time";
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
