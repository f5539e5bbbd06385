// The data dump.

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/Entries.h"
#include "NullStream.h"
#include "Target.h"

void tevfuzz::TryFile(const std::string& path, std::span<const std::uint8_t> /*bytes*/) {
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, path);
  TevInfo info;
  info.setFormat(TevInfo::ExtractData);
  LbtTev::Report::AddEntries(
      info, LbtTev::Report::GatherModelFacts(tree, LbtTev::Report::Numbers::Wanted));
  NullStream stream;
  info.printData(stream);
}
