// Models with their bytes, names and times, to be found unchanged after a run.

#include "run/UnchangedModels.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/TempDir.h"

namespace tevtest {

namespace fs = std::filesystem;

namespace {

/// The program itself is among the arguments, and large.
bool IsModel(const fs::path& path) {
  std::string start(4, '\0');
  std::ifstream(path, std::ios::binary).read(start.data(), 4);
  return start == "\x89LBF";
}

}  // namespace

UnchangedModels::UnchangedModels(const std::vector<std::string>& arguments,
                                 const fs::path& directory) {
  for (const std::string& argument : arguments) {
    const fs::path path = directory / argument;
    std::error_code failure;
    if (fs::is_regular_file(path, failure) && IsModel(path)) {
      models_.push_back({path, ReadFile(path), fs::last_write_time(path)});
    }
  }
}

UnchangedModels::~UnchangedModels() {
  for (const Model& model : models_) {
    EXPECT_TRUE(ReadFile(model.path) == model.bytes) << model.path << " has other bytes";
    EXPECT_EQ(fs::last_write_time(model.path), model.written) << model.path;
  }
}

}  // namespace tevtest
