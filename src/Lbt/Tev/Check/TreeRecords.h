#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Check/Finding.h"
#include "Lbt/Tev/TreeRecord.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// A tree record and where it begins in its stream.
struct PlacedRecord : LbtTev::TreeRecord {
  std::optional<std::uint64_t> position;  ///< none for one that the file does not have
};

/// The tree records of a file, as far as they can be read.
struct TreeRecords {
  std::vector<PlacedRecord> records;  ///< in the order of the file
  bool areAll = true;                 ///< false where one could not be read
};

/// Reads all tree records. "map" is that of their stream.
[[nodiscard]] TreeRecords ReadTreeRecords(LbtLbf::LbFile& file, bool wideOffsets,
                                          const StreamMap& map, const FindingSink& sink);

}  // namespace LbtTev::Check
