#pragma once

#include <ostream>

#include "Lbt/Tev/Analysis/Model.h"
#include "tev/PartsJson.h"

/// Writes what a model holds in sections for people. Sections without anything in them are left
/// out. "counts" may be null.
void WriteInfoText(const LbtTev::Analysis::Model& model, const PartCounts* counts,
                   std::ostream& stream);
