#pragma once

#include <string>

#include "Lbt/Lbf/LbFile.h"

namespace LbtTev {

/// A tree record as it is stored.
struct TreeRecord {
  unsigned int id = 0;
  unsigned int parent = 0;
  unsigned int previousSibling = 0;
  unsigned int nextSibling = 0;
  unsigned int firstChild = 0;
  unsigned int lastChild = 0;
  std::string name;
  std::string type;
  std::string version;
  unsigned long lightDataPosition = 0;
};

/// Reads the next record of stream "name"; "wideOffsets" for a 64-bit position.
[[nodiscard]] TreeRecord ReadTreeRecord(LbtLbf::LbFile& file, const std::string& name,
                                        bool wideOffsets);

}  // namespace LbtTev
