#pragma once

#include "Lbt/Tev/Check/Finding.h"
#include "StreamMap.h"
#include "TreeRecords.h"

namespace LbtTev::Check {

/// Checks how the records refer to each other. What a missing record could mend is not looked
/// at where not all are there. "map" is that of their stream.
void CheckStructure(const TreeRecords& records, const StreamMap& map, const FindingSink& sink);

}  // namespace LbtTev::Check
