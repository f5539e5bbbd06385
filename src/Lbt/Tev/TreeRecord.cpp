// Reads the records of a tree.

#include "Lbt/Tev/TreeRecord.h"

#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev {

int ReadTreeRecordCount(ModelStream& tree) {
  const auto stored = tree.GetBytes(kTreeRecordCountSize);
  return stored.empty() ? 0 : Lbt::Util::FromLittleEndian<int>(stored.data());
}

void ReadTreeRecordId(ModelStream& tree, TreeRecord& record) { tree.Get(record.id); }

void ReadAfterTreeRecordId(ModelStream& tree, bool wideOffsets, TreeRecord& record) {
  tree.Get(record.parent, record.previousSibling, record.nextSibling, record.firstChild,
           record.lastChild, record.name, record.type, record.version);
  if (wideOffsets) {
    tree.Get(record.lightDataPosition);
  } else {
    unsigned int position = 0;
    tree.Get(position);
    record.lightDataPosition = position;
  }
}

}  // namespace LbtTev
