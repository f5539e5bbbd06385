#include "Lbt/Tev/TreeRecord.h"

#include "Lbt/Util/LittleEndian.h"

namespace LbtTev {

int ReadTreeRecordCount(LbtLbf::LbFile& file, const std::string& name) {
  const auto stored = file.GetBytes(name, sizeof(int));
  return stored.empty() ? 0 : Lbt::Util::FromLittleEndian<int>(stored.data());
}

TreeRecord ReadTreeRecord(LbtLbf::LbFile& file, const std::string& name, bool wideOffsets) {
  TreeRecord record;
  file.Get(name, record.id);
  file.Get(name, record.parent);
  file.Get(name, record.previousSibling);
  file.Get(name, record.nextSibling);
  file.Get(name, record.firstChild);
  file.Get(name, record.lastChild);
  file.Get(name, record.name);
  file.Get(name, record.type);
  file.Get(name, record.version);
  if (wideOffsets) {
    file.Get(name, record.lightDataPosition);
  } else {
    unsigned int position = 0;
    file.Get(name, position);
    record.lightDataPosition = position;
  }
  return record;
}

}  // namespace LbtTev
