#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Facts.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/RootFacts.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"
#include "tev/Answers.h"
#include "tev/Json.h"

/// What the attributes of a model's root tell.
struct RootFacts {
  std::optional<double> nodes;
  std::optional<double> elements;
  LbtTev::Analysis::Units units;
  LbtTev::NativeFile modelFile;
  LbtTev::NativeFile resultsFile;
  LbtUtil::AttributeMap others;  ///< those that tell none of the above
};

[[nodiscard]] RootFacts RootFactsOf(const LbtTev::Tree& tree);

/// The bytes that a size like "12.5 MB" stands for; none for any other text.
[[nodiscard]] std::optional<std::uint64_t> BytesOfSize(const std::string& size);

/// How many elements have how many nodes, for each part that it could be read for; null for any
/// other.
using PartCounts = std::vector<std::shared_ptr<const LbtTev::Analysis::ElementCounts>>;

/// A name of the model as text for people shows it: empty ones in quotes, or nobody would see them.
[[nodiscard]] std::string NameText(std::string_view name);

/// "value", which tells of "count" things: nothing, where there may have been some.
template <class T>
[[nodiscard]] std::optional<T> UnlessLost(bool isAnyLost, std::size_t count, T value) {
  return isAnyLost && count == 0 ? std::nullopt : std::optional(std::move(value));
}

/// The category; none where it is unknown since something is lost.
[[nodiscard]] std::optional<std::string> CategoryOf(const LbtTev::Analysis::Model& model,
                                                    const LostData& lost);

/// Writes the members "parts" and "steps" of a model, the same for every verb that tells of them.
/// Parts have their exact counts where there are any.
void WriteParts(const LbtTev::Analysis::Model& model, const LostData& lost, JsonWriter& json,
                const PartCounts* counts = nullptr);
void WriteSteps(const LbtTev::Analysis::Model& model, JsonWriter& json);

/// Writes a field as one object, with its statistics where "statistics" is not null.
void WriteFieldJson(const LbtTev::Analysis::Model& model, const LbtTev::Analysis::FieldOfPart& each,
                    const LbtTev::Analysis::FieldStatistics* statistics, JsonWriter& json);

/// The text of a field's step; null for none.
[[nodiscard]] Json StepJson(const LbtTev::Analysis::Model& model,
                            const LbtTev::Analysis::Field& field);

/// Writes what a model holds as members of an object. "counts" may be null. Throws "Out of Bounds"
/// where names are repeated too often.
void WriteInfoJson(const LbtTev::Analysis::Model& model, const LostData& lost,
                   const PartCounts* counts, JsonWriter& json);

/// Writes what a model holds in sections for people. Sections without anything in them are left
/// out. "counts" may be null.
void WriteInfoText(const LbtTev::Analysis::Model& model, const LostData& lost,
                   const PartCounts* counts, std::ostream& stream);
