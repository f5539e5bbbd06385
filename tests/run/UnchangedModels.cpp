// Models with their bytes, names and times, to be found unchanged after a run.

#include "run/UnchangedModels.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace tevtest {

namespace fs = std::filesystem;

UnchangedModels::UnchangedModels(const std::vector<std::string>& arguments,
                                 const fs::path& directory) {
  for (const std::string& argument : arguments) {
    const fs::path path = directory / argument;
    std::error_code failure;
    if (!fs::is_regular_file(path, failure)) {
      continue;
    }
    std::string bytes = ReadFile(path);
    if (bytes.starts_with("\x89LBF")) {
      models_.push_back({path, std::move(bytes), fs::last_write_time(path)});
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
