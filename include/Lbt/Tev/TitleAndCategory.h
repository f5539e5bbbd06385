#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Lbt/Util/AttributeValue.h"

namespace LbtTev {

/// Title and category of a model, which it has none of itself: they are worked out from the
/// attributes of its results.
class TitleAndCategory {
 public:
  /// Takes the attributes of one result.
  void Add(const LbtUtil::AttributeMap& attributes);

  /// Takes one attribute of a result.
  void Add(std::string_view name, const LbtUtil::AttributeValue& value);

  /// The smallest of the results' titles, in byte order; none where none has one.
  [[nodiscard]] const std::optional<std::string>& Title() const { return title_; }

  /// The smallest category that a result names. Where none does, the first kind of step that
  /// any result has names the analysis: "Structural" (a load case), "Modal" (a mode),
  /// "Frequency" (no name of an analysis, and what users see all the same), "Transient" (a
  /// time); else "Unknown".
  [[nodiscard]] std::string Category() const;

 private:
  std::optional<std::string> title_;
  std::optional<std::string> category_;
  bool hasLoadCase_ = false;
  bool hasMode_ = false;
  bool hasFrequency_ = false;
  bool hasTime_ = false;
};

}  // namespace LbtTev
