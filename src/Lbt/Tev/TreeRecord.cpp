#include "Lbt/Tev/TreeRecord.h"

#include "Lbt/Lbf/StreamReader.h"
#include "Lbt/Util/LittleEndian.h"

namespace LbtTev {

int ReadTreeRecordCount(LbtLbf::LbFile& file, const std::string& name) {
  const auto stored = file.GetBytes(name, sizeof(int));
  return stored.empty() ? 0 : Lbt::Util::FromLittleEndian<int>(stored.data());
}

TreeRecord ReadTreeRecord(LbtLbf::LbFile& file, const std::string& name, bool wideOffsets) {
  TreeRecord record;
  LbtLbf::StreamReader tree(file, name);
  tree.Get(record.id, record.parent, record.previousSibling, record.nextSibling, record.firstChild,
           record.lastChild, record.name, record.type, record.version);
  if (wideOffsets) {
    tree.Get(record.lightDataPosition);
  } else {
    unsigned int position = 0;
    tree.Get(position);
    record.lightDataPosition = position;
  }
  return record;
}

}  // namespace LbtTev
