#pragma once

#include <string>

#include "Lbt/Tev/ModelStreams.h"

namespace LbtTev {

/// A tree record as it is stored: the links of a node by id (0: none), what it is called and
/// what it is, and where its light data lies (0: where that of the one before ended).
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

/// A link to a node of a grafted file, whose ids are shifted; a link to nothing stays one.
[[nodiscard]] constexpr unsigned int ShiftedLink(unsigned int link, unsigned int idOffset) {
  return link == 0 ? 0 : link + idOffset;
}

/// Reads how many records a stream claims, from its start; none where it is missing. Throws what
/// reading a stream throws.
[[nodiscard]] int ReadTreeRecordCount(ModelStream& tree);

/// Bytes of that count.
inline constexpr std::uint64_t kTreeRecordCountSize = 4;

/// Reads the next record: its id first, and all that comes after the id then; "wideOffsets" for a
/// position of 64 bits. Throw what reading a stream throws.
void ReadTreeRecordId(ModelStream& tree, TreeRecord& record);
void ReadAfterTreeRecordId(ModelStream& tree, bool wideOffsets, TreeRecord& record);

}  // namespace LbtTev
