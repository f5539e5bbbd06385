#include "Lbt/Tev/Group.h"

#include "Lbt/Tev/Attributes.h"
#include "StoredFloats.h"

namespace LbtTev {

void Group::ReadVc(LbtLbf::LbFile& file, std::string_view lightDataBlockName,
                   std::string_view attributesBlockName, std::string_view version) {
  if (version == "0.0a" || version == "0.1") {
    return;
  }
  ReadStoredFloats(file, lightDataBlockName, translation);
  ReadStoredFloats(file, lightDataBlockName, rotation);
  ReadStoredFloats(file, lightDataBlockName, scale);
  if (version == "0.2") {
    return;
  }
  LbtUtil::ReadAttributesFromLbf(file, attributesBlockName, attributes);
  if (version == "0.3") {
    return;
  }
  file.Get(lightDataBlockName, groupByte);
}

}  // namespace LbtTev
