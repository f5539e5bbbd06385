// Reads the arguments of TevInfo.

#include "TevInfo/CommandLine.h"

#include <string_view>

CommandLine ParseCommandLine(int count, char** args) {
  CommandLine commandLine;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = args[i];
    if (argument == "--ekm-meta-data") {
      commandLine.format = TevInfo::EkmMetaData;
    } else if (argument == "--extract-data") {
      commandLine.format = TevInfo::ExtractData;
    } else if (!argument.starts_with("--")) {
      commandLine.positional.emplace_back(argument);
    }
  }
  return commandLine;
}

std::string ArgumentList(int count, char** args) {
  std::string list;
  for (int i = 0; i < count; ++i) {
    list += args[i];
    list += ' ';
  }
  return list;
}
