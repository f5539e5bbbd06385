#pragma once

#include <memory>
#include <vector>

#include "Lbt/Tev/Analysis/Statistics.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "tev/JsonWriter.h"

/// How many elements have how many nodes, for each part that it could be read for; null for any
/// other.
using PartCounts = std::vector<std::shared_ptr<const LbtTev::Analysis::ElementCounts>>;

/// Writes the members "parts" and "steps" of a model, the same for every verb that tells of them.
/// Parts have their exact counts where there are any.
void WriteParts(const LbtTev::Analysis::Model& model, JsonWriter& json,
                const PartCounts* counts = nullptr);
void WriteSteps(const LbtTev::Analysis::Model& model, JsonWriter& json);

/// The text of a field's step; null for none.
[[nodiscard]] Json StepJson(const LbtTev::Analysis::Model& model,
                            const LbtTev::Analysis::Field& field);
