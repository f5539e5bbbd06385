#pragma once

#include <cstddef>
#include <string>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Exchange/Contents.h"

/// XML files of VTK, of unstructured grids: each array stands inline as base64 of zlib-compressed
/// blocks.
namespace LbtTev::Exchange {

/// Writes one step to "path", which ends in ".vtu". It replaces a file there when it is complete.
/// Throws what WriteMergedGrid does, and "Write Error".
void WriteVtu(const Contents& contents, std::size_t placeAmongSteps, const CellRules& rules,
              const std::string& path, const Listener& listener);

/// Writes all steps: "path", which ends in ".pvd", lists files in a folder of its name beside it.
/// Throws as above, also where that folder has other files.
void WritePvd(const Contents& contents, const CellRules& rules, const std::string& path,
              const Listener& listener);

}  // namespace LbtTev::Exchange
