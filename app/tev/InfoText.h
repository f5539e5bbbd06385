#pragma once

#include <ostream>

#include "Lbt/Tev/Analysis/Model.h"

/// Writes what a model holds in sections for people. Sections without anything in them are left
/// out.
void WriteInfoText(const LbtTev::Analysis::Model& model, std::ostream& stream);
