#pragma once

#include "FindingLog.h"
#include "LoadFollower.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// The tree records of a file, as far as they could be read.
struct TreeRecords {
  const std::vector<PlacedRecord>& records;  ///< in the order of the file
  bool areAll = true;                        ///< false where one could not be read
};

/// Checks how the records refer to each other. What a missing record could mend is not looked
/// at where not all are there. "map" is that of their stream.
void CheckStructure(const TreeRecords& records, const StreamMap& map, FindingLog& log);

}  // namespace LbtTev::Check
