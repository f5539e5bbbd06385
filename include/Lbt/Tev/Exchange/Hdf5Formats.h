#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Exchange/Contents.h"

/// What is written through HDF5, which is loaded when it is wanted: other work needs not wait for
/// it.
namespace LbtTev::Exchange {

/// Why HDF5 cannot be used here; empty where it can.
[[nodiscard]] std::string Hdf5Fault();

/// The end of the name of what goes beside a ".xdmf".
inline constexpr std::string_view kXdmfNumbers = ".h5";

/// Writes all steps to "path", which ends in ".xdmf", with the numbers in a file that ends in ".h5"
/// beside it. Both replace files there when they are complete. A step is a collection of grids, one
/// for each part, with the points and elements that the part has; an array that parts or steps
/// share is stored once.
///
/// Loads in the order of the file, one array at a time. Throws "Write Error", "Model Error" where
/// there are meshes and none can be read, and on a lack of memory.
void WriteXdmf(const Contents& contents, const CellRules& rules, const std::string& path,
               const Listener& listener);

/// Writes one step to "path" as VTKHDF, an unstructured grid of version 1.0. It replaces a file
/// there when it is complete. Throws what WriteMergedGrid does, and "Write Error".
void WriteVtkHdf(const Contents& contents, std::size_t placeAmongSteps, const CellRules& rules,
                 const std::string& path, const Listener& listener);

}  // namespace LbtTev::Exchange
