// A program of somebody else that links the installed library.

#include <iostream>
#include <string>
#include <vector>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/Entries.h"

int main(int, char** argv) {
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, argv[1]);  // throws Lbt::Util::Exception, std::exception

  // Facts first: what failed on the way is one of them.
  const LbtTev::Report::ModelFacts facts = LbtTev::Report::GatherModelFacts(tree);
  for (const std::string& part : facts.summary.parts.value_or(std::vector<std::string>())) {
    std::cout << part << '\n';
  }
  // Then text, as the program writes it.
  TevInfo info;
  info.setFormat(TevInfo::NativeMetaData);
  LbtTev::Report::AddEntries(info, facts);
  std::cout << info.getMetadataString();
  return facts.failures.empty() ? 0 : 2;
}
