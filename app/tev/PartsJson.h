#pragma once

#include "Lbt/Tev/Analysis/Model.h"
#include "tev/JsonWriter.h"

/// Writes the members "parts" and "steps" of a model, the same for every verb that tells of them.
void WriteParts(const LbtTev::Analysis::Model& model, JsonWriter& json);
void WriteSteps(const LbtTev::Analysis::Model& model, JsonWriter& json);

/// The text of a field's step; null for none.
[[nodiscard]] Json StepJson(const LbtTev::Analysis::Model& model,
                            const LbtTev::Analysis::Field& field);
