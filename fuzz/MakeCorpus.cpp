// Writes the files that fuzzing starts from: make_corpus DIRECTORY. With --hostile before it,
// writes the full-sized hostile files instead, for measurements by hand, or only those that are
// named after.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/HostileRows.h"
#include "support/VariedModels.h"

namespace {

void Write(const std::filesystem::path& directory, const std::string& name,
           const std::string& bytes) {
  std::filesystem::create_directories(directory);
  std::ofstream(directory / (name + ".tev"), std::ios::binary) << bytes;
}

void WriteCorpus(const std::filesystem::path& directory) {
  for (const tevtest::VariedModel& model : tevtest::VariedModels()) {
    Write(directory, model.name, model.bytes);
  }
  for (const tevtest::HostileRow& row : tevtest::HostileRows()) {
    Write(directory, row.name, row.small().bytes);
  }
}

void WriteHostile(const std::filesystem::path& directory, const std::vector<std::string>& names) {
  for (const tevtest::HostileRow& row : tevtest::HostileRows()) {
    if (names.empty() || std::find(names.begin(), names.end(), row.name) != names.end()) {
      Write(directory, row.name, row.full().bytes);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 1) {
    WriteCorpus(arguments[0]);
  } else if (arguments.size() > 1 && arguments[0] == "--hostile") {
    WriteHostile(arguments[1], {arguments.begin() + 2, arguments.end()});
  } else {
    return 1;
  }
  return 0;
}
