#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Lbt/Tev/ModifierInfo.h"
#include "Lbt/Tev/TevInfo/PartsAndResults.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"

/// What a model holds, in sum.
struct SummaryFacts {
  std::optional<std::string> title;
  std::string category;  ///< the analysis, as the model says or as its results show
  std::size_t numberOfCutSections = 0;
  std::size_t numberOfIsoSurfaces = 0;
  std::size_t numberOfIsoVolumes = 0;
  std::size_t numberOfFlowLines = 0;
  /// Names of parts in tree order, as often as they occur; none where no shape lies
  /// under a group "Geometry".
  std::optional<std::vector<std::string>> parts;
  // Distinct texts in ascending byte order.
  std::vector<std::string> results;
  std::vector<std::string> instances;
  std::vector<std::string> timeSteps;
  std::vector<std::string> frequencies;
};

/// Works the facts out from what GatherPartsAndResults has found.
[[nodiscard]] SummaryFacts GatherSummaryFacts(const GroupListing& groups,
                                              const ResultAttributeList& results);

/// Copies the attributes of the root, where it is a group. A failure becomes a line
/// "Exception: " with its text on standard error.
void extractRootNodeAttributes(LbtTev::Tree& tree, LbtUtil::AttributeMap& attributes);

/// Gathers parts and results, and with the format ExtractData the data sets. A failure
/// becomes a line as above; what was gathered before it stays.
void extractPartsAndResults(LbtTev::Tree& tree, TevInfo& info, GroupListing& groups,
                            ResultAttributeList& results);

/// Adds an entry for every text of a modifier record that is not empty, its key
/// followed by "suffix".
void WriteModifierInfo(TevInfo& info, const LbtTev::ModifierInfo& modifier,
                       const std::string& suffix);

/// Adds the summary entries.
void addMiscAttributes(TevInfo& info, const GroupListing& groups,
                       const ResultAttributeList& results);

/// "names" joined with ", ".
[[nodiscard]] std::string GetNameListAsString(const std::vector<std::string>& names);
