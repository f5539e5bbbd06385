#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Lbt/Tev/ModifierInfo.h"
#include "Lbt/Tev/TevInfo/Summary.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"

/// One of the solver's files that a model was made from, as the model tells of it.
struct NativeFileFacts {
  std::optional<std::string> path;
  std::optional<std::string> type;  ///< the format that the path's name indicates
  std::optional<std::string> size;  ///< with its unit, as text
};

/// All that a report tells of a model, before it is written in one form or another.
struct ModelFacts {
  std::string version;                    ///< of the container
  std::optional<std::uint64_t> fileSize;  ///< in bytes
  std::vector<LbtTev::ModifierInfo> modifiers;
  LbtUtil::AttributeMap rootAttributes;
  NativeFileFacts modelFile;
  NativeFileFacts resultsFile;
  std::optional<LbtUtil::AttributeValue> numberOfNodes;
  std::optional<LbtUtil::AttributeValue> numberOfElements;
  SummaryFacts summary;
};

/// Puts the facts together from what was gathered of a loaded model. Never throws for
/// what a model may hold.
[[nodiscard]] ModelFacts MakeModelFacts(const LbtTev::Tree& tree,
                                        LbtUtil::AttributeMap rootAttributes, SummaryFacts summary);

/// Gathers the facts of a loaded model. Throws what GatherPartsAndResults does,
/// GeometryAssertion included.
[[nodiscard]] ModelFacts GatherModelFacts(const LbtTev::Tree& tree);
