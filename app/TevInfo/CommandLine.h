#pragma once

#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/TevInfo.h"

/// What the arguments of a run say.
struct CommandLine {
  TevInfo::Format format = TevInfo::NativeMetaData;
  std::vector<std::string> positional;  ///< the model, then the output file
};

/// Reads the arguments after the program's name. Of "--ekm-meta-data" and
/// "--extract-data" the later one wins; any other argument that begins with "--" is
/// passed over; all else, "-" and "-v" included, is positional.
[[nodiscard]] CommandLine ParseCommandLine(int count, char** args);

/// All "count" arguments, each followed by a blank.
[[nodiscard]] std::string ArgumentList(int count, char** args);
