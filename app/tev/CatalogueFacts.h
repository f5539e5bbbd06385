#pragma once

#include <string>

#include "tev/Catalogue.h"
#include "tev/Inputs.h"

/// Reads what a catalogue has of one file, which is known there as "path". What cannot be read is
/// the failure of the file, as other verbs tell it. Throws nothing but a lack of memory to tell
/// that.
[[nodiscard]] CataloguedModel GatherCatalogued(const Input& input, std::string path,
                                               const ScanDepth& depth);
