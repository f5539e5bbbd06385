#pragma once

#include <string>
#include <vector>

#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"

/// Adds an entry for every text of a modifier record that is not empty, its key
/// followed by "suffix".
void WriteModifierInfo(TevInfo& info, const LbtTev::ModifierInfo& modifier,
                       const std::string& suffix);

/// "names" joined with ", ".
[[nodiscard]] std::string GetNameListAsString(const std::vector<std::string>& names);

namespace LbtTev::Report {

/// Adds all entries of a report, in their order, and the data sets of the facts.
void AddEntries(TevInfo& info, ModelFacts facts);

/// Adds the entries that sum a model up, which end the report.
void AddSummary(TevInfo& info, const SummaryFacts& facts);

}  // namespace LbtTev::Report
