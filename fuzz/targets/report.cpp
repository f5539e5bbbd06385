// The whole report, in both forms.

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/Entries.h"
#include "Target.h"

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> /*bytes*/) {
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, path);
  const auto facts = LbtTev::Report::GatherModelFacts(tree);
  for (const TevInfo::Format format : {TevInfo::NativeMetaData, TevInfo::EkmMetaData}) {
    TevInfo info;
    info.setFormat(format);
    LbtTev::Report::AddEntries(info, facts);
    static_cast<void>(info.getMetadataString());
  }
}
