// The whole report, in both forms.

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/Summary.h"
#include "Target.h"

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> /*bytes*/) {
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, path);
  for (const TevInfo::Format format : {TevInfo::NativeMetaData, TevInfo::EkmMetaData}) {
    TevInfo info;
    info.setFormat(format);
    LbtUtil::AttributeMap rootAttributes;
    GroupListing groups;
    ResultAttributeList results;
    extractRootNodeAttributes(tree, rootAttributes);
    extractPartsAndResults(tree, info, groups, results);
    for (const LbtTev::ModifierInfo& modifier : tree.modifierInfos) {
      WriteModifierInfo(info, modifier, " (x)");
    }
    addMiscAttributes(info, groups, results);
    static_cast<void>(info.getMetadataString());
  }
}
