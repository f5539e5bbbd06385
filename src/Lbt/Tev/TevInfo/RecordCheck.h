#pragma once

#include <string>
#include <vector>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/TevInfo/ModelCheck.h"
#include "Lbt/Tev/TreeRecord.h"
#include "StreamMap.h"

/// The tree records of a file, as far as they can be read.
struct TreeRecords {
  std::vector<LbtTev::TreeRecord> records;  ///< in the order of the file
  bool areAll = true;                       ///< false where one could not be read
};

/// Reads all tree records. "map" is that of their stream.
[[nodiscard]] TreeRecords ReadTreeRecords(LbtLbf::LbFile& file, bool wideOffsets,
                                          const StreamMap& map, const FindingSink& sink);

/// Checks how the records refer to each other. What a missing record could mend is not looked
/// at where not all are there.
void CheckStructure(const TreeRecords& records, const FindingSink& sink);
